#include "ui/documentview.h"

#include <QPainter>
#include <QResizeEvent>
#include <QScrollBar>

#include <utility>

namespace {

/// No frame, and slim scroll bars with a rounded handle.
QString styleSheetOfViews()
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

/// Fills \a exposed, which is in the coordinates of \a painter, in whole device
/// pixels.
void fillWholePixels(QPainter *painter, const QRectF &exposed, const QBrush &brush)
{
    const QRect area = painter->worldTransform().mapRect(exposed).toAlignedRect();
    painter->save();
    painter->resetTransform();
    // One pixel more on each side: with a fractional scale factor of the screen, a
    // smooth edge would let old contents shine through.
    painter->fillRect(area.adjusted(-1, -1, 1, 1), brush);
    painter->restore();
}

} // namespace

DocumentView::DocumentView(QWidget *parent)
    : QGraphicsView(parent)
{
    setAcceptDrops(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setStyleSheet(styleSheetOfViews());
}

void DocumentView::showScrollBars()
{
    setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
}

void DocumentView::scrollToTop()
{
    verticalScrollBar()->setValue(verticalScrollBar()->minimum());
}

bool DocumentView::wouldShowScrollBarAgain(const QResizeEvent *event, double scale)
{
    if (std::exchange(knownSize, size()) != size()) {
        return false; // the view itself was resized, perhaps by the width of a bar
    }
    const QScrollBar *bar = verticalScrollBar();
    const QScrollBar *other = horizontalScrollBar();
    const QSize gained = event->size() - event->oldSize();
    // A narrow view shows and hides both bars at once.
    const bool otherDisappeared = !other->isVisible() && gained.height() == other->sizeHint().height();
    const bool barDisappeared = verticalScrollBarPolicy() == Qt::ScrollBarAsNeeded && !bar->isVisible()
        && gained.width() == bar->sizeHint().width() && (gained.height() == 0 || otherDisappeared);
    return barDisappeared && sceneRect().height() * scale > event->size().height();
}

void DocumentView::dragEnterEvent(QDragEnterEvent *)
{
    // Left to the window; the scene must not handle it.
}

void DocumentView::dropEvent(QDropEvent *)
{
    // Left to the window; the scene must not handle it.
}

/// Fills a plain background in whole pixels: Qt would antialias its edges, which
/// takes time and reaches beyond the exposed area.
void DocumentView::drawBackground(QPainter *painter, const QRectF &exposed)
{
    if (hasPlainBackground()) {
        fillWholePixels(painter, exposed, scene()->backgroundBrush());
        return;
    }
    if (viewport()->testAttribute(Qt::WA_OpaquePaintEvent)) {
        // The brush with which Qt fills other widgets before they are painted.
        fillWholePixels(painter, exposed, viewport()->palette().brush(viewport()->backgroundRole()));
    }
    QGraphicsView::drawBackground(painter, exposed);
}

/// Whether the background is an opaque color that the scene sets.
bool DocumentView::hasPlainBackground() const
{
    const QBrush brush = scene()->backgroundBrush();
    return backgroundBrush().style() == Qt::NoBrush && brush.style() == Qt::SolidPattern
        && brush.color().alpha() == 255;
}
