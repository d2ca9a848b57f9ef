#include "support/plaindrawing.h"

#include "support/pictures.h"

#include <QFont>
#include <QPainter>

using namespace Qt::StringLiterals;

void plainDrawBand(QPainter *painter, const QRectF &target, const QPixmap &source, const QRect &band,
                   const QSizeF &size)
{
    painter->drawPixmap(target, withoutPalette(source).copy(band), QRectF(QPointF(), size));
}

void plainDrawBand(QPainter *painter, const QRectF &target, const QPixmap &source, const QRectF &band)
{
    plainDrawBand(painter, target, source, band.toRect(), band.size());
}

QPixmap plainPageNumber(const QString &text)
{
    QPixmap pixmap(180, 60);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    QFont font(u"Times New Roman"_s, 16, 100, false);
    font.setLetterSpacing(QFont::AbsoluteSpacing, 2.0);
    painter.setFont(font);
    painter.setPen(QColor(Qt::gray));
    painter.drawText(QRect(0, 0, 180, 60), 132, text);
    return pixmap;
}
