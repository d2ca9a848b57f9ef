#include "ui/mainview.h"

#include <QResizeEvent>

MainView::MainView(QWidget *parent)
    : DocumentView(parent)
{
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

void MainView::resizeEvent(QResizeEvent *event)
{
    DocumentView::resizeEvent(event);
    if (scene() == nullptr || event->size() == event->oldSize()) {
        return;
    }
    const double width = event->size().width();
    if (!wouldShowScrollBarAgain(event, fittedScale(width))) {
        fitToWidth(width);
    }
}

double MainView::fittedScale(double width) const
{
    return width * m_fitRatio / scene()->sceneRect().width();
}
