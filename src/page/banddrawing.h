#pragma once

#include <QPixmap>
#include <QRect>
#include <QRectF>

class QPainter;
class RowConverter;

/// Draws the part \a band of \a pixmap into \a target, stretched to it: the
/// pixels that `painter->drawPixmap(target, pixmap.copy(band), source)` gives,
/// where \a source is at (0, 0) and of the unrounded size \a size. The colors of
/// a palette image, which such a copy would lose, are kept.
///
/// Rows of the band outside the pixmap leave their share of \a target
/// untouched. Pixels of the pixmap are read in place where the painter takes
/// their format, and converted by \a converter elsewhere; on a raster device
/// only the rows that show there.
void drawBand(QPainter *painter, const QRectF &target, const QPixmap &pixmap, const QRect &band, const QSizeF &size,
              RowConverter &converter);
