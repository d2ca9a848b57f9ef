#pragma once

#include <QImage>

#include <array>

/// The number of pixels of each gray level.
using GrayHistogram = std::array<quint32, 256>;

/// The histogram of \a gray, an image of Format_Grayscale8.
GrayHistogram grayHistogram(const QImage &gray);

/// An image in 8-bit gray and its histogram.
struct GrayScan
{
    QImage gray; // Format_Grayscale8
    GrayHistogram histogram{};
};

/// Turns \a image to gray and counts its levels. The pixels are those of
/// `image.convertToFormat(QImage::Format_Grayscale8)`.
///
/// That conversion works in linear light and is slow; an image of up to some
/// ten thousand colours, as most screenshots are, needs it only once for each
/// of them.
GrayScan scanGray(const QImage &image);
