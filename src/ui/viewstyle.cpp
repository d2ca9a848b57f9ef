#include "ui/viewstyle.h"

#include <QGraphicsView>
#include <QPainter>

namespace {

/// Fills \a exposed, in the units of \a painter, in device pixels.
void fillWholePixels(QPainter *painter, const QRectF &exposed, const QBrush &brush)
{
    const QRect area = painter->worldTransform().mapRect(exposed).toAlignedRect();
    painter->save();
    painter->resetTransform();
    // A pixel more on each side, so that no edge is smoothed into what was there
    // before where a pixel of the window is a fraction of the screen's.
    painter->fillRect(area.adjusted(-1, -1, 1, 1), brush);
    painter->restore();
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

bool fillBackground(const QGraphicsView *view, QPainter *painter, const QRectF &exposed)
{
    const QBrush brush = view->scene()->backgroundBrush();
    const bool isPlain = view->backgroundBrush().style() == Qt::NoBrush && brush.style() == Qt::SolidPattern
        && brush.color().alpha() == 255;
    if (isPlain) {
        fillWholePixels(painter, exposed, brush);
    } else if (view->viewport()->testAttribute(Qt::WA_OpaquePaintEvent)) {
        fillWholePixels(painter, exposed, view->viewport()->palette().brush(view->viewport()->backgroundRole()));
    }
    return isPlain;
}
