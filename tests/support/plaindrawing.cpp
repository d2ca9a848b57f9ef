#include "support/plaindrawing.h"

#include <QPainter>

void plainDrawBand(QPainter *painter, const QPixmap &source, const QRectF &band, const QRectF &target)
{
    painter->drawPixmap(target, source.copy(band.toRect()), QRectF(QPointF(), band.size()));
}
