#include "app/mainwindow.h"

#include "base/keptforever.h"
#include "ui/leftview.h"
#include "ui/mainview.h"
#include "ui/spokenname.h"

#include <QGraphicsScene>

using namespace Qt::StringLiterals;

namespace {

constexpr double zoomStep = 0.05;
constexpr double zoomInBelow = 0.9;
constexpr double zoomOutAbove = 0.45;

/// A scene that nobody owns: the strips and pages in it outlive the window.
QGraphicsScene *createScene()
{
    auto *scene = keepForever(new QGraphicsScene);
    scene->setBackgroundBrush(QColor(150, 150, 150));
    return scene;
}

QRectF viewportRect(const QGraphicsView *view)
{
    return QRectF(QPointF(), view->viewport()->size());
}

} // namespace

void MainWindow::onZoominClicked()
{
    const double ratio = mainView->fitRatio();
    if (zoomInBelow > ratio) {
        mainView->setFitRatio(ratio + zoomStep);
        mainView->fitToWidth(mainView->viewport()->width());
    }
}

void MainWindow::onZoomoutClicked()
{
    const double ratio = mainView->fitRatio();
    if (ratio > zoomOutAbove) {
        mainView->setFitRatio(ratio - zoomStep);
        mainView->fitToWidth(mainView->viewport()->width());
    }
}

void MainWindow::onTwoColsClicked()
{
    currentOutputScene = currentOutputScene == oneColumnScene ? twoColumnScene : oneColumnScene;
    leftView->setScene(currentOutputScene);
    leftView->update();
}

void MainWindow::createViews()
{
    constexpr auto hints = QPainter::Antialiasing | QPainter::TextAntialiasing | QPainter::SmoothPixmapTransform;
    mainView = new MainView(nullptr); // the splitter takes both
    leftView = new LeftView(nullptr);
    mainView->setObjectName("mainView"_L1);
    leftView->setObjectName("leftView"_L1);
    mainView->setAccessibleName(spokenName(u"原图"_s, u"Source image"_s));
    leftView->setAccessibleName(spokenName(u"输出页面"_s, u"Output pages"_s));
    mainView->setRenderHints(hints);
    leftView->setRenderHints(hints);
    setAcceptDrops(true);
    mainView->setAcceptDrops(true);
    leftView->setAcceptDrops(true);
    // The scene's background covers a view, so that the widget's own, painted
    // before it, would never show.
    mainView->viewport()->setAttribute(Qt::WA_OpaquePaintEvent);
    leftView->viewport()->setAttribute(Qt::WA_OpaquePaintEvent);
}

void MainWindow::createScenes()
{
    pageScene = createScene();
    mainView->setScene(pageScene);
    oneColumnScene = createScene();
    twoColumnScene = createScene();
    currentOutputScene = oneColumnScene;
    leftView->setScene(currentOutputScene);
}

void MainWindow::setSceneRectsFromViews()
{
    pageScene->setSceneRect(viewportRect(mainView));
    oneColumnScene->setSceneRect(viewportRect(leftView));
    twoColumnScene->setSceneRect(viewportRect(leftView));
}

void MainWindow::fitViews()
{
    mainView->fitToWidth(mainView->viewport()->width());
    leftView->fitToWidth(leftView->viewport()->width());
}
