#pragma once

#include <QImage>
#include <QList>
#include <QPixmap>
#include <QRectF>
#include <QString>

class QPainter;

/// Every format that an image can have, without the palette formats.
QList<QImage::Format> directFormats();

/// "Format_RGB32" and so on.
const char *formatName(QImage::Format format);

/// Random colours, with random alpha where \a format has alpha.
QImage noiseImage(QSize size, QImage::Format format, quint32 seed);

/// White paper with lines of dark marks, which stand for text, as RGB32.
QImage textImage(QSize size, quint32 seed);

/// Eight bits a pixel with a full table of random colours, opaque or not.
QImage paletteImage(QSize size, bool opaque, quint32 seed);

/// A pixmap that keeps the format of \a image.
QPixmap keptPixmap(const QImage &image);

/// The row with the most pixels whose red is at least 192, the upper one of
/// equals, by a plain loop; the oracle for the fast scan.
int plainBrightestRow(const QImage &image);

/// The part \a band of \a source stretched to \a target by the plain way of a
/// copy; the oracle for the drawing of strips.
void plainDrawBand(QPainter *painter, const QPixmap &source, const QRectF &band, const QRectF &target);

/// Empty if both images have the same size and pixels. Otherwise tells the
/// first different pixel and both values.
QString firstDifference(const QImage &actual, const QImage &expected);
