#pragma once

#include <QByteArray>
#include <QSize>

#include <optional>
#include <vector>

class SharedDevice;

/// The data of one IDAT chunk.
struct PngSegment
{
    qint64 at = 0; ///< position in the file
    qsizetype length = 0;
};

/// What the chunks of a PNG file say.
struct PngFile
{
    QSize size;
    QByteArray header; ///< the data of IHDR
    int channels = 0; ///< bytes a pixel
    QByteArray chunksBefore; ///< whole chunks between IHDR and IDAT
    QByteArray chunksAfter; ///< whole chunks between IDAT and IEND
    std::vector<PngSegment> data;
};

/// The chunks of the PNG file \a device. Nothing if one of them is damaged or
/// out of place, or the image is not one of 8 bits a channel in gray, RGB,
/// palette or RGBA, stored row by row.
std::optional<PngFile> parsePng(SharedDevice &device);

/// A PNG file of 1 x 1 pixels with all else that \a file has, so that
/// QImageReader tells from it what it makes of the chunks.
QByteArray pngStandIn(const PngFile &file);
