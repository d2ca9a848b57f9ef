#pragma once

#include <QByteArray>

#include <optional>

/// Samples as a PDF file stores them. The color space, if it is neither gray nor
/// RGB, comes from the picture.
struct PackedImage
{
    enum class Coding { Jpeg, Flate, PredictedFlate };

    int width = 0;
    int height = 0;
    int channels = 1; ///< 1 or 3
    int bits = 8; ///< of a sample: 1, 2, 4, 8 or 16
    Coding coding = Coding::Flate;
    QByteArray bytes;
    QByteArray palette; ///< three bytes for each color, if the samples are indexes
};

/// An image without bytes.
[[nodiscard]] PackedImage packedImage(int width, int height, int channels, int bits);

/// An image of a PDF file, with its alpha channel if it is not opaque throughout.
struct PackedBand
{
    PackedImage colors;
    std::optional<PackedImage> alpha;
    int firstRow = 0; ///< of the picture; may be above the rows that were wanted
};
