#pragma once

#include "decode/imagedecoder.h"

#include <QByteArray>
#include <QImage>

class QRandomGenerator;

/// What QImageReader reads from \a bytes, turned upright; null if it refuses.
QImage readByQt(const QByteArray &bytes, const char *format);

/// What the decoder reads from \a bytes; null if it leaves them to QImageReader.
QImage readByDecoder(const QByteArray &bytes, const char *format, DecodeThreads threads = DecodeThreads::One);

/// The first difference between two images: size, format, pixels, color table,
/// color space, resolution, offset, texts. Empty if there is none.
QString differenceBetween(const QImage &actual, const QImage &expected);

/// How the decoder's image differs from Qt's; empty if they are equal or the
/// decoder leaves \a bytes to Qt.
QString differenceFromQt(const QByteArray &bytes, const char *format, DecodeThreads threads = DecodeThreads::One);

/// \a file with up to \a most bits changed anywhere.
QByteArray withFlippedBits(QByteArray file, QRandomGenerator &random, int most);

/// Keeps the warnings of Qt about thousands of damaged files out of the output.
void silenceWarnings();
