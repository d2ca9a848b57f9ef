#include "app/mainwindow.h"

#include "page/pageitem.h"

#include <QGraphicsScene>

void MainWindow::onAutoCutClicked()
{
    auto *strip = dynamic_cast<PageItem *>(pageScene->itemAt(QPointF(10.0, 10.0), QTransform()));
    // Top to bottom: a placement changes the band of the next strip.
    for (; strip != nullptr; strip = strip->nextItem()) {
        strip->autoPlaceCut();
    }
}
