#include "ui/leftview.h"

#include "ui/scrollbarloop.h"
#include "ui/viewstyle.h"

#include <QGraphicsScene>
#include <QResizeEvent>

namespace {

constexpr double fitRatio = 0.8;

double fittedScale(const QGraphicsScene *scene, double width)
{
    return width * fitRatio / scene->sceneRect().width();
}

} // namespace

LeftView::LeftView(QWidget *parent)
    : QGraphicsView(parent)
{
    setAcceptDrops(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setStyleSheet(viewStyleSheet());
}

void LeftView::fitToWidth(double width)
{
    if (scene() == nullptr) {
        return;
    }
    const double scale = fittedScale(scene(), width);
    setTransform(QTransform::fromScale(scale, scale), false);
}

void LeftView::showScrollBars()
{
    setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
}

void LeftView::resizeEvent(QResizeEvent *event)
{
    const double width = event->size().width();
    if (scene() != nullptr && !bringsScrollBarBack(this, event, fittedScale(scene(), width))) {
        fitToWidth(width);
    }
    QGraphicsView::resizeEvent(event);
}

void LeftView::dragEnterEvent(QDragEnterEvent *)
{
    // Left to the window, and kept from the scene.
}

void LeftView::dropEvent(QDropEvent *)
{
    // Left to the window, and kept from the scene.
}

void LeftView::drawBackground(QPainter *painter, const QRectF &exposed)
{
    if (!fillBackground(this, painter, exposed)) {
        QGraphicsView::drawBackground(painter, exposed);
    }
}
