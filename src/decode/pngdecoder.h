#pragma once

#include "decode/imagedecoder.h"

/// A decoder of the PNG file in \a device; null unless the file is sound and of
/// 8 bits a channel in gray, RGB, palette or RGBA, not interlaced.
std::unique_ptr<ImageDecoder> makePngDecoder(QIODevice &device);
