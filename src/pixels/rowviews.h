#pragma once

#include <QImage>
#include <QRect>

/// The pixels of \a image inside \a rect, without a copy: the result reads the
/// rows of \a image and keeps them alive. \a rect is clipped to the image; if it
/// is empty or wholly outside, the result is null. Images of less than eight
/// bits a pixel are copied.
[[nodiscard]] QImage rowsView(const QImage &image, const QRect &rect);

/// \a view without its alpha channel, without a copy. For Format_ARGB32 and
/// Format_ARGB32_Premultiplied with opaque pixels only.
[[nodiscard]] QImage withoutAlpha(const QImage &view);

/// A row of the 256 values that a pixel of \a image, of eight bits, can have, in
/// its format and with its colors: converts each of them once.
[[nodiscard]] QImage everyPixelValue(const QImage &image);

/// Row \a y of \a image as pixels of the type \a Pixel.
template <typename Pixel>
const Pixel *pixelRow(const QImage &image, int y)
{
    return reinterpret_cast<const Pixel *>(image.constScanLine(y));
}

template <typename Pixel>
Pixel *pixelRow(QImage &image, int y)
{
    return reinterpret_cast<Pixel *>(image.scanLine(y));
}
