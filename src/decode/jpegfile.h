#pragma once

#include <QByteArray>
#include <QSize>

#include <optional>

class SharedDevice;

/// What the segments of a JPEG file say.
struct JpegFile
{
    QSize size; ///< as stored
    int channels = 0; ///< 1 or 3
    bool isSequential = true; ///< otherwise progressive
    int scans = 0;
    QByteArray segments; ///< application data and comments before the first scan
};

/// The segments of the JPEG file \a device. Nothing if one of them is out of
/// place or of a rare kind, or the end of the image is missing.
std::optional<JpegFile> parseJpeg(SharedDevice &device);

/// A JPEG file of 1 x 1 pixels with the segments of \a file, so that
/// QImageReader tells from it what it makes of them.
QByteArray jpegStandIn(const JpegFile &file);
