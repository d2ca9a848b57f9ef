#pragma once

#include "support/exifbytes.h"

#include <QByteArray>
#include <QImage>

/// JPEG files byte for byte.

/// How an image is stored.
struct JpegKind
{
    int channels = 3; ///< 1 for gray
    int horizontal = 2; ///< sampling of the first channel
    int vertical = 2;
    bool isProgressive = false;
    bool hasOneScanAChannel = false;
    bool isRgb = false; ///< stored as RGB instead of YCbCr
    int restartRows = 0; ///< rows of blocks between restart markers
    int quality = 80;
    bool hasOwnTables = false; ///< Huffman tables with only those codes that occur
};

/// Soft blocks with some noise, so that all coefficients occur.
QImage jpegPicture(QSize size, quint32 seed = 1);

QByteArray jpegOf(const QImage &image, const JpegKind &kind);

/// \a jpeg with the segment \a marker of \a data at its start, after the JFIF
/// segment.
QByteArray withSegment(const QByteArray &jpeg, int marker, const QByteArray &data);
