#pragma once

#include <QByteArray>
#include <QImage>

/// Image files that no writer of the toolkit makes, byte for byte.

/// The CRC-32 of PNG and gzip.
quint32 crc32(const QByteArray &bytes);

/// A PNG file of the stated size in 8-bit RGB, whose pixel data break off
/// after a few bytes.
QByteArray brokenPng(quint32 width, quint32 height);

/// The header of a PPM file of the stated size, and nothing more.
QByteArray headerOfPpm(int width, int height);

/// A GIF file of \a image, an image of Format_Indexed8 with at most 128
/// colours. A colour with alpha 0 becomes the transparent one.
QByteArray gifOf(const QImage &image);

/// A TGA file of \a image, 24 bits a pixel.
QByteArray tgaOf(const QImage &image);

/// An MNG file with \a image as its one frame.
QByteArray mngOf(const QImage &image);

/// An SVG drawing of four squares of \a side in the colours \a colours: upper
/// left and right, lower left and right.
QByteArray svgOf(int side, const QList<QRgb> &colours);

/// \a bytes as a gzip file.
QByteArray gzipOf(const QByteArray &bytes);

/// The JPEG file \a jpeg with an EXIF segment that holds the orientation
/// \a orientation, 1 to 8.
QByteArray withOrientation(const QByteArray &jpeg, int orientation);
