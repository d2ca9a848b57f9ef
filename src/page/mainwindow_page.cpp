#include "app/mainwindow.h"

#include "page/pageitem.h"

#include <QGraphicsScene>

void MainWindow::onAutoCutClicked()
{
    placeCuts(dynamic_cast<PageItem *>(pageScene->itemAt(QPointF(10.0, 10.0), QTransform())), cutRule);
}
