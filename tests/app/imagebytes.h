#pragma once

#include <QByteArray>
#include <QImage>

/// Image files that Qt cannot write, byte for byte.

/// The CRC-32 of PNG and gzip.
quint32 crc32(const QByteArray &bytes);

/// A PNG file that declares the given size in 8-bit RGB and is truncated after a
/// few bytes of pixel data.
QByteArray brokenPng(quint32 width, quint32 height);

/// Only the header of a PPM file of the given size.
QByteArray headerOfPpm(int width, int height);

/// A GIF file of \a image, an image of Format_Indexed8 with at most 128
/// colors. A color with alpha 0 becomes the transparent one.
QByteArray gifOf(const QImage &image);

/// A TGA file of \a image, 24 bits a pixel.
QByteArray tgaOf(const QImage &image);

/// An MNG file with \a image as its one frame.
QByteArray mngOf(const QImage &image);

/// An SVG drawing of four squares of \a side in the colors \a colors: upper
/// left and right, lower left and right.
QByteArray svgOf(int side, const QList<QRgb> &colors);

/// \a bytes as a gzip file.
QByteArray gzipOf(const QByteArray &bytes);

/// The JPEG file \a jpeg with an EXIF segment that holds the orientation
/// \a orientation, 1 to 8.
QByteArray withOrientation(const QByteArray &jpeg, int orientation);
