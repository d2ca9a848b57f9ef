#pragma once

#include "decode/pngrows.h"

/// Appends the decoders that use the vector units of this processor.
void addVectorPngRowDecoders(QList<PngRowDecoders> &decoders);
