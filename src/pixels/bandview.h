#pragma once

#include <QImage>
#include <QPixmap>
#include <QRect>
#include <QRectF>

class QPainter;

/// The pixels of \a image inside \a rect, without a copy: the result reads the
/// rows of \a image and keeps them alive. \a rect is clipped to the image; a
/// rectangle that is empty or lies wholly outside it gives a null image. Images
/// of less than eight bits a pixel are copied.
QImage rowsView(const QImage &image, const QRect &rect);

/// A row of the 256 values that a pixel of \a image, of eight bits, can have, in
/// its format and with its colours: to convert each of them once.
QImage everyPixelValue(const QImage &image);

/// The format that QPixmap::copy() gives a part of \a pixmap on this screen.
QImage::Format copyFormat(const QPixmap &pixmap);

/// What `pixmap.copy(rect).toImage()` holds, pixel for pixel, but sharing the
/// rows of \a pixmap wherever its format needs no conversion.
///
/// Other than the copy, a rectangle that is empty or lies wholly outside the
/// pixmap gives a null image and not the whole pixmap, and the colours of a
/// palette image survive.
QImage bandView(const QPixmap &pixmap, const QRect &rect);

/// Draws the part \a band of \a pixmap into \a target, stretched to it: the
/// pixels that `painter->drawPixmap(target, pixmap.copy(band), source)` gives,
/// where \a source is at (0, 0) and of the unrounded size \a size.
///
/// Rows of the band outside the pixmap leave their share of \a target
/// untouched. On a raster device only the rows that show there are converted
/// if the format of the pixmap needs it.
void drawBand(QPainter *painter, const QRectF &target, const QPixmap &pixmap, const QRect &band, const QSizeF &size);

/// Frees the memory that drawBand() keeps for converted rows. On a view it is
/// little that was ever written, in a document all of a band.
void dropConvertedRows();
