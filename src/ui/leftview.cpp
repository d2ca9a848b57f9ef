#include "ui/leftview.h"

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
    : DocumentView(parent)
{
}

void LeftView::fitToWidth(double width)
{
    if (scene() == nullptr) {
        return;
    }
    const double scale = fittedScale(scene(), width);
    setTransform(QTransform::fromScale(scale, scale), false);
}

void LeftView::resizeEvent(QResizeEvent *event)
{
    const double width = event->size().width();
    if (scene() != nullptr && !wouldShowScrollBarAgain(event, fittedScale(scene(), width))) {
        fitToWidth(width);
    }
    DocumentView::resizeEvent(event);
}
