#include "ui/viewstyle.h"

#include <QGraphicsItem>
#include <QGraphicsView>
#include <QPainter>

#include <cmath>

namespace {

/// The pixels inside \a rect, without those at its edges, which are smooth.
QRect innerPixels(const QRectF &rect)
{
    const QPoint topLeft(int(std::ceil(rect.left())) + 1, int(std::ceil(rect.top())) + 1);
    const QPoint bottomRight(int(std::floor(rect.right())) - 2, int(std::floor(rect.bottom())) - 2);
    return {topLeft, bottomRight};
}

/// What the items of \a scene in \a exposed cover for certain, in pixels.
QRegion coveredArea(const QGraphicsScene *scene, const QRectF &exposed, const QTransform &toViewport)
{
    QRegion covered;
    if (toViewport.type() > QTransform::TxScale) {
        return covered;
    }
    const QList<QGraphicsItem *> items = scene->items(exposed, Qt::IntersectsItemBoundingRect);
    for (const QGraphicsItem *item : items) {
        const QRectF opaque = item->mapRectToScene(item->opaqueArea().boundingRect()) & exposed;
        const QRect inner = innerPixels(toViewport.mapRect(opaque));
        if (inner.isValid()) {
            covered += inner;
        }
    }
    return covered;
}

} // namespace

QString viewStyleSheet()
{
    return QString::fromUtf8(
        "QGraphicsView {    border: none;}"
        "QScrollBar:vertical {    background: rgba(0, 0, 0, 0.03);    width: 10px;    margin: 0px;    border: none;}"
        "QScrollBar::handle:vertical {    background: rgba(0, 0, 0, 0.15);    min-height: 30px;    border-radius: 5px; "
        "   margin: 2px;}"
        "QScrollBar::handle:vertical:hover {    background: rgba(74, 144, 226, 0.4);}"
        "QScrollBar::handle:vertical:pressed {    background: rgba(0, 102, 204, 0.6);}"
        "QScrollBar::add-line:vertical, QScrollBar::sub-line:vertical {    height: 0px;}"
        "QScrollBar::add-page:vertical, QScrollBar::sub-page:vertical {    background: none;}"
        "QScrollBar:horizontal {    background: rgba(0, 0, 0, 0.03);    height: 10px;    margin: 0px;    border: none;}"
        "QScrollBar::handle:horizontal {    background: rgba(0, 0, 0, 0.15);    min-width: 30px;    border-radius: "
        "5px;    margin: 2px;}"
        "QScrollBar::handle:horizontal:hover {    background: rgba(74, 144, 226, 0.4);}"
        "QScrollBar::handle:horizontal:pressed {    background: rgba(0, 102, 204, 0.6);}"
        "QScrollBar::add-line:horizontal, QScrollBar::sub-line:horizontal {    width: 0px;}"
        "QScrollBar::add-page:horizontal, QScrollBar::sub-page:horizontal {    background: none;}");
}

void fillBackground(const QGraphicsView *view, QPainter *painter, const QRectF &exposed)
{
    const QTransform toViewport = painter->worldTransform();
    // A pixel more on each side, since a pixel of the window can be a fraction of
    // the screen's.
    const QRect area = toViewport.mapRect(exposed).toAlignedRect().adjusted(-1, -1, 1, 1);
    const QColor color = view->scene()->backgroundBrush().color();
    painter->save();
    painter->resetTransform();
    painter->setRenderHint(QPainter::Antialiasing, false); // or the parts would not join
    for (const QRect &part : QRegion(area) - coveredArea(view->scene(), exposed, toViewport)) {
        painter->fillRect(part, color);
    }
    painter->restore();
}
