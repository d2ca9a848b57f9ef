#include "ui/leftview.h"

#include "ui/viewstyle.h"

#include <QResizeEvent>

namespace {

constexpr double fitRatio = 0.8;

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
    const double scale = width * fitRatio / scene()->sceneRect().width();
    setTransform(QTransform::fromScale(scale, scale), false);
}

void LeftView::showScrollBars()
{
    setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
}

void LeftView::resizeEvent(QResizeEvent *event)
{
    fitToWidth(event->size().width());
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
