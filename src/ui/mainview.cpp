#include "ui/mainview.h"

#include "ui/scrollbarloop.h"
#include "ui/viewstyle.h"

#include <QResizeEvent>

MainView::MainView(QWidget *parent)
    : QGraphicsView(parent)
{
    setAcceptDrops(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setStyleSheet(viewStyleSheet());
}

void MainView::fitToWidth(double width)
{
    if (scene() == nullptr) {
        return;
    }
    const double scale = fittedScale(width);
    const QTransform fitted = QTransform::fromScale(scale, scale);
    if (fitted != transform()) {
        setTransform(fitted, false);
    }
}

void MainView::showScrollBars()
{
    setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
}

void MainView::resizeEvent(QResizeEvent *event)
{
    QGraphicsView::resizeEvent(event);
    if (scene() == nullptr || event->size() == event->oldSize()) {
        return;
    }
    const double width = event->size().width();
    if (!bringsScrollBarBack(this, event, fittedScale(width))) {
        fitToWidth(width);
    }
}

void MainView::dragEnterEvent(QDragEnterEvent *)
{
    // Left to the window, and kept from the scene.
}

void MainView::dropEvent(QDropEvent *)
{
    // Left to the window, and kept from the scene.
}

void MainView::drawBackground(QPainter *painter, const QRectF &exposed)
{
    if (!fillBackground(this, painter, exposed)) {
        QGraphicsView::drawBackground(painter, exposed);
    }
}

double MainView::fittedScale(double width) const
{
    return width * m_fitRatio / scene()->sceneRect().width();
}
