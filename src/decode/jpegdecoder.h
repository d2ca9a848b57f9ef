#pragma once

#include "decode/imagedecoder.h"

/// A decoder of the JPEG file in \a device; null unless the file is whole and in
/// gray or color.
std::unique_ptr<ImageDecoder> makeJpegDecoder(QIODevice &device);
