#pragma once

#include <QPixmap>
#include <QRect>
#include <QRectF>

class QPainter;
class RowConverter;

/// Draws the part \a band of \a pixmap stretched to \a target. The result is that
/// of `painter->drawPixmap(target, pixmap.copy(band), QRectF(QPointF(), size))`,
/// where \a size is the unrounded size of the band, except that the colors of a
/// palette image, which such a copy would lose, are kept.
///
/// Rows of the band outside the pixmap leave their share of \a target
/// untouched. Pixels are read in place if the painter supports their format, and
/// otherwise converted by \a converter; on a raster device, only visible rows are.
void drawBand(QPainter *painter, const QRectF &target, const QPixmap &pixmap, const QRect &band, const QSizeF &size,
              RowConverter &converter);
