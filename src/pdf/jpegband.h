#pragma once

#include "pdf/packedband.h"

#include <QImage>

/// Whether packJpeg() should take \a image: it is not too large for JPEG, and has more
/// than one bit a pixel, which are smaller and sharper without loss.
[[nodiscard]] bool isForJpeg(const QImage &image);

/// Whether a band of \a rows rows may be JPEG.
[[nodiscard]] bool isForJpeg(int rows);

/// The rows of \a image from \a first to before \a end as JPEG of \a quality, 1 to 100.
///
/// Gray pictures get one channel. Colors are stored as Qt stores them, with half of the
/// resolution for their hue, whatever their alpha; the alpha channel is left out.
[[nodiscard]] PackedImage packJpeg(const QImage &image, int first, int end, int quality);
