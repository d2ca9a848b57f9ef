#include "support/testmain.h"
#include "ui/leftview.h"
#include "ui/mainview.h"
#include "ui/windowaccess.h"

#include <QGraphicsItem>
#include <QGraphicsScene>
#include <QMainWindow>
#include <QMimeData>
#include <QRegularExpression>
#include <QScrollBar>
#include <QSplitter>

using namespace Qt::StringLiterals;

namespace {

const QByteArray styleSheet =
    "QGraphicsView {    border: none;}QScrollBar:vertical {    background: rgba(0, 0, 0, 0.03);    width: 10px;    "
    "margin: 0px;    border: none;}QScrollBar::handle:vertical {    background: rgba(0, 0, 0, 0.15);    min-height: "
    "30px;    border-radius: 5px;    margin: 2px;}QScrollBar::handle:vertical:hover {    background: rgba(74, 144, "
    "226, 0.4);}QScrollBar::handle:vertical:pressed {    background: rgba(0, 102, 204, 0.6);}QScrollBar::add-line:"
    "vertical, QScrollBar::sub-line:vertical {    height: 0px;}QScrollBar::add-page:vertical, QScrollBar::sub-page:"
    "vertical {    background: none;}QScrollBar:horizontal {    background: rgba(0, 0, 0, 0.03);    height: 10px;    "
    "margin: 0px;    border: none;}QScrollBar::handle:horizontal {    background: rgba(0, 0, 0, 0.15);    min-width: "
    "30px;    border-radius: 5px;    margin: 2px;}QScrollBar::handle:horizontal:hover {    background: rgba(74, 144, "
    "226, 0.4);}QScrollBar::handle:horizontal:pressed {    background: rgba(0, 102, 204, 0.6);}QScrollBar::add-line:"
    "horizontal, QScrollBar::sub-line:horizontal {    width: 0px;}QScrollBar::add-page:horizontal, QScrollBar::"
    "sub-page:horizontal {    background: none;}";

enum class Kind { Main, Left };

/// A view whose drop handler tests can call. Qt itself calls it only during a
/// drag that was accepted.
template <typename View>
class DroppableView : public View
{
public:
    using View::dropEvent;
    using View::View;
};

std::unique_ptr<QGraphicsView> makeView(Kind kind)
{
    if (kind == Kind::Main) {
        return std::make_unique<DroppableView<MainView>>(nullptr);
    }
    return std::make_unique<DroppableView<LeftView>>(nullptr);
}

void addKinds()
{
    QTest::addColumn<Kind>("kind");
    QTest::newRow("MainView") << Kind::Main;
    QTest::newRow("LeftView") << Kind::Left;
}

void fit(QGraphicsView *view, double width)
{
    if (auto *mainView = qobject_cast<MainView *>(view)) {
        mainView->fitToWidth(width);
    } else {
        qobject_cast<LeftView *>(view)->fitToWidth(width);
    }
}

void sendResize(QGraphicsView *view, QSize size, QSize oldSize)
{
    QResizeEvent event(size, oldSize);
    QApplication::sendEvent(view->viewport(), &event);
}

double mainScale(const MainView *view)
{
    return view->viewport()->width() * view->fitRatio() / view->sceneRect().width();
}

double leftScale(const LeftView *view)
{
    return view->viewport()->width() * 0.8 / view->sceneRect().width();
}

/// Counts the drag events that reach a scene.
class DragCounter : public QObject
{
public:
    bool eventFilter(QObject *, QEvent *event) override
    {
        const QEvent::Type type = event->type();
        count += type == QEvent::GraphicsSceneDragEnter || type == QEvent::GraphicsSceneDrop ? 1 : 0;
        return false;
    }

    int count = 0;
};

} // namespace

Q_DECLARE_METATYPE(Kind)

class TestViews : public QObject
{
    Q_OBJECT

private slots:
    void init() { forgetEverything(); }

    void startsWithDropsAndWithoutScrollBars_data() { addKinds(); }
    void startsWithDropsAndWithoutScrollBars();
    void hasExactlyThisStyleSheet_data() { addKinds(); }
    void hasExactlyThisStyleSheet();
    void keepsTheDefaultsOfTheBaseClass_data() { addKinds(); }
    void keepsTheDefaultsOfTheBaseClass();
    void storesAnyRatio_data();
    void storesAnyRatio();
    void fitsAShareOfTheWidth_data();
    void fitsAShareOfTheWidth();
    void fitsTheRectangleOfTheScene_data() { addKinds(); }
    void fitsTheRectangleOfTheScene();
    void fittingToTheSameWidthKeepsTheScrollPosition_data() { addKinds(); }
    void fittingToTheSameWidthKeepsTheScrollPosition();
    void fitsWhenTheViewportGrows_data() { addKinds(); }
    void fitsWhenTheViewportGrows();
    void resizeToTheSameSizeRefitsOnlyTheLeftView_data() { addKinds(); }
    void resizeToTheSameSizeRefitsOnlyTheLeftView();
    void fitsAfterOrBeforeTheBaseHandler_data();
    void fitsAfterOrBeforeTheBaseHandler();
    void resizesWithoutAScene_data() { addKinds(); }
    void resizesWithoutAScene();
    void showsScrollBarsAsNeeded_data() { addKinds(); }
    void showsScrollBarsAsNeeded();
    void propagatesDragsToTheParent_data() { addKinds(); }
    void propagatesDragsToTheParent();
    void paintsLikeThePlainView_data();
    void paintsLikeThePlainView();

    void windowSetsUpViewsAndScenes();
    void windowTakesSceneRectanglesFromTheViewports();
    void windowResizeFitsBothViews();
    void zoomStepsAreExact();
    void zoomStopsAtTheLimits();
    void zoomKeepsItsShareWhenTheWindowGrows();
    void switchingTheLayoutKeepsTheTransform();
    void rebuildShowsScrollBars_data();
    void rebuildShowsScrollBars();
    void openingFitsBothViews();
    void dropsOnAViewOpenTheFile_data();
    void dropsOnAViewOpenTheFile();
};

void TestViews::startsWithDropsAndWithoutScrollBars()
{
    QFETCH(Kind, kind);
    const auto view = makeView(kind);
    QVERIFY(view->acceptDrops());
    QVERIFY(view->viewport()->acceptDrops());
    QCOMPARE(view->horizontalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
    QCOMPARE(view->verticalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
    if (kind == Kind::Main) {
        QCOMPARE(static_cast<MainView *>(view.get())->fitRatio(), 0.75);
    }
    QWidget parent;
    QCOMPARE(MainView(&parent).parentWidget(), &parent);
    QCOMPARE(LeftView(&parent).parentWidget(), &parent);
}

void TestViews::hasExactlyThisStyleSheet()
{
    QFETCH(Kind, kind);
    QCOMPARE(styleSheet.size(), 1146);
    QCOMPARE(makeView(kind)->styleSheet().toUtf8(), styleSheet);
}

void TestViews::keepsTheDefaultsOfTheBaseClass()
{
    QFETCH(Kind, kind);
    const auto view = makeView(kind);
    const QGraphicsView plain;
    QCOMPARE(view->dragMode(), plain.dragMode());
    QCOMPARE(view->alignment(), plain.alignment());
    QCOMPARE(view->alignment(), Qt::AlignCenter);
    QCOMPARE(view->transformationAnchor(), plain.transformationAnchor());
    QCOMPARE(view->resizeAnchor(), plain.resizeAnchor());
    QCOMPARE(view->viewportUpdateMode(), plain.viewportUpdateMode());
    QCOMPARE(view->optimizationFlags(), plain.optimizationFlags());
    QCOMPARE(view->cacheMode(), plain.cacheMode());
    QCOMPARE(view->isInteractive(), plain.isInteractive());
    QCOMPARE(view->backgroundBrush(), plain.backgroundBrush());
    QCOMPARE(view->renderHints(), plain.renderHints());
    QCOMPARE(view->transform(), QTransform());
}

void TestViews::storesAnyRatio_data()
{
    QTest::addColumn<double>("ratio");
    for (const double ratio : {0.75, 0.9000000000000001, 0.0, -3.5, 1e6}) {
        QTest::addRow("%g", ratio) << ratio;
    }
}

void TestViews::storesAnyRatio()
{
    QFETCH(double, ratio);
    MainView view(nullptr);
    view.setFitRatio(ratio);
    QVERIFY(view.fitRatio() == ratio);
}

void TestViews::fitsAShareOfTheWidth_data()
{
    QTest::addColumn<double>("width");
    QTest::addColumn<double>("sceneWidth");
    QTest::addColumn<double>("ratio");
    for (const double width : {0.0, 1.0, 333.0, 640.0, 1001.0}) {
        for (const double sceneWidth : {11.0, 333.0, 700.0, 1080.0}) {
            for (const double ratio : {0.75, 0.44999999999999984, 0.9000000000000001}) {
                QTest::addRow("%g of %g at %.17g", width, sceneWidth, ratio) << width << sceneWidth << ratio;
            }
        }
    }
}

void TestViews::fitsAShareOfTheWidth()
{
    QFETCH(double, width);
    QFETCH(double, sceneWidth);
    QFETCH(double, ratio);
    QGraphicsScene scene(0, 0, sceneWidth, 50);

    MainView mainView(nullptr);
    mainView.setScene(&scene);
    mainView.setFitRatio(ratio);
    mainView.fitToWidth(width);
    const double mainExpected = width * ratio / sceneWidth;
    QCOMPARE(mainView.transform(), QTransform::fromScale(mainExpected, mainExpected));
    QVERIFY(mainView.transform().m11() == mainExpected);
    QVERIFY(mainView.transform().m22() == mainExpected);

    LeftView leftView(nullptr);
    leftView.setScene(&scene);
    leftView.fitToWidth(width);
    const double leftExpected = width * 0.8 / sceneWidth;
    QCOMPARE(leftView.transform(), QTransform::fromScale(leftExpected, leftExpected));
    QVERIFY(leftView.transform().m11() == leftExpected);
    QVERIFY(leftView.transform().m22() == leftExpected);
}

void TestViews::fitsTheRectangleOfTheScene()
{
    QFETCH(Kind, kind);
    const auto view = makeView(kind);
    QGraphicsScene scene(-30, 5, 400, 50);
    view->setScene(&scene);
    view->setSceneRect(0, 0, 1000, 50);
    view->rotate(30);
    fit(view.get(), 200);
    const double expected = 200 * (kind == Kind::Main ? 0.75 : 0.8) / 400;
    QCOMPARE(view->transform(), QTransform::fromScale(expected, expected));
}

void TestViews::fittingToTheSameWidthKeepsTheScrollPosition()
{
    QFETCH(Kind, kind);
    const auto view = makeView(kind);
    QGraphicsScene scene(0, 0, 300, 5000);
    view->setScene(&scene);
    view->resize(331, 207);
    view->show();
    fit(view.get(), view->viewport()->width());
    view->verticalScrollBar()->setValue(433);
    QCOMPARE(view->verticalScrollBar()->value(), 433);
    fit(view.get(), view->viewport()->width());
    QCOMPARE(view->verticalScrollBar()->value(), 433);
}

void TestViews::fitsWhenTheViewportGrows()
{
    QFETCH(Kind, kind);
    const auto view = makeView(kind);
    QGraphicsScene scene(0, 0, 300, 5000);
    view->setScene(&scene);
    view->resize(200, 150);
    view->show();
    const double share = kind == Kind::Main ? 0.75 : 0.8;
    for (const QSize size : {QSize(523, 150), QSize(523, 400), QSize(90, 30), QSize(523, 400)}) {
        view->resize(size);
        QVERIFY(view->transform().m11() == view->viewport()->width() * share / 300);
    }
}

void TestViews::resizeToTheSameSizeRefitsOnlyTheLeftView()
{
    QFETCH(Kind, kind);
    const auto view = makeView(kind);
    QGraphicsScene scene(0, 0, 300, 500);
    view->setScene(&scene);
    const QTransform other = QTransform::fromScale(3, 3);
    view->setTransform(other);
    sendResize(view.get(), QSize(150, 80), QSize(150, 80));
    QCOMPARE(view->transform(), kind == Kind::Main ? other : QTransform::fromScale(0.4, 0.4));

    view->setTransform(other);
    sendResize(view.get(), QSize(150, 81), QSize(150, 80));
    const double expected = 150 * (kind == Kind::Main ? 0.75 : 0.8) / 300;
    QCOMPARE(view->transform(), QTransform::fromScale(expected, expected));
}

void TestViews::fitsAfterOrBeforeTheBaseHandler_data()
{
    QTest::addColumn<Kind>("kind");
    QTest::addColumn<double>("scaleAtFirst");
    QTest::newRow("MainView after the base") << Kind::Main << 200 * 0.75 / 300;
    QTest::newRow("LeftView before the base") << Kind::Left << 500 * 0.8 / 300;
}

void TestViews::fitsAfterOrBeforeTheBaseHandler()
{
    QFETCH(Kind, kind);
    QFETCH(double, scaleAtFirst);
    QList<double> scales;
    const auto view = makeView(kind);
    QGraphicsScene scene(0, 0, 300, 5000);
    view->setScene(&scene);
    view->setFrameShape(QFrame::NoFrame);
    view->resize(200, 100);
    view->show();
    QCOMPARE(view->viewport()->size(), QSize(200, 100));

    // The handler of the base class adapts the scroll range to the height; the
    // scale at that time shows whether the fit came first.
    connect(view->verticalScrollBar(), &QScrollBar::rangeChanged, this,
            [&] { scales.append(view->transform().m11()); });
    view->resize(500, 180);
    QVERIFY(!scales.isEmpty());
    QCOMPARE(scales.first(), scaleAtFirst);
}

void TestViews::resizesWithoutAScene()
{
    QFETCH(Kind, kind);
    const auto view = makeView(kind);
    view->setFrameShape(QFrame::NoFrame);
    view->setSceneRect(0, 0, 100, 1000);
    view->resize(200, 100);
    view->show();
    view->resize(300, 250);
    QCOMPARE(view->transform(), QTransform());
    QCOMPARE(view->verticalScrollBar()->maximum(), 1000 - 250);
    fit(view.get(), 300);
    QCOMPARE(view->transform(), QTransform());
}

void TestViews::showsScrollBarsAsNeeded()
{
    QFETCH(Kind, kind);
    const auto view = makeView(kind);
    for (int times = 0; times < 2; ++times) {
        if (kind == Kind::Main) {
            static_cast<MainView *>(view.get())->showScrollBars();
        } else {
            static_cast<LeftView *>(view.get())->showScrollBars();
        }
        QCOMPARE(view->horizontalScrollBarPolicy(), Qt::ScrollBarAsNeeded);
        QCOMPARE(view->verticalScrollBarPolicy(), Qt::ScrollBarAsNeeded);
    }
}

void TestViews::propagatesDragsToTheParent()
{
    QFETCH(Kind, kind);
    const auto view = makeView(kind);
    QGraphicsScene scene(0, 0, 300, 500);
    auto *item = scene.addRect(0, 0, 300, 500, QPen(), Qt::red);
    item->setAcceptDrops(true);
    DragCounter counter;
    scene.installEventFilter(&counter);
    view->setScene(&scene);
    view->resize(300, 200);

    QMimeData mime;
    mime.setText(u"text"_s);
    QDragEnterEvent enter(QPoint(100, 50), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(view->viewport(), &enter);
    QVERIFY(!enter.isAccepted());
    QDropEvent drop(QPointF(100, 50), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    if (kind == Kind::Main) {
        static_cast<DroppableView<MainView> *>(view.get())->dropEvent(&drop);
    } else {
        static_cast<DroppableView<LeftView> *>(view.get())->dropEvent(&drop);
    }
    QVERIFY(!drop.isAccepted());
    QCOMPARE(counter.count, 0);

    // The same event reaches the scene of a view with the handlers of the base class.
    QGraphicsView plain(&scene);
    plain.resize(300, 200);
    QDragEnterEvent again(QPoint(100, 50), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(plain.viewport(), &again);
    QCOMPARE(counter.count, 1);
}

void TestViews::paintsLikeThePlainView_data()
{
    QTest::addColumn<Kind>("kind");
    QTest::addColumn<double>("scale");
    for (const Kind kind : {Kind::Main, Kind::Left}) {
        for (const double scale : {0.1, 0.37, 1.0, 2.6}) {
            QTest::addRow("%s, %g", kind == Kind::Main ? "MainView" : "LeftView", scale) << kind << scale;
        }
    }
}

void TestViews::paintsLikeThePlainView()
{
    QTest::failOnWarning(QRegularExpression(u"QPainter"_s)); // a saved state that is not restored
    QFETCH(Kind, kind);
    QFETCH(double, scale);
    QGraphicsScene scene(0, 0, 333, 1777);
    scene.setBackgroundBrush(QColor(150, 150, 150));
    scene.addRect(20.3, 30.7, 200.5, 1500.2, QPen(Qt::blue, 3), QColor(0, 200, 0, 120));
    const std::unique_ptr<QGraphicsView> view = makeView(kind);
    QGraphicsView plain;
    plain.setStyleSheet(view->styleSheet());
    const auto show = [&](QGraphicsView *shown) {
        shown->setScene(&scene);
        shown->setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
        shown->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        shown->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        shown->setFixedSize(301, 211);
        shown->show();
        shown->setTransform(QTransform::fromScale(scale, scale));
    };
    show(view.get());
    show(&plain);
    for (const int position : {0, 7, 300, 5000}) {
        view->verticalScrollBar()->setValue(position);
        plain.verticalScrollBar()->setValue(position);
        const QImage painted = view->viewport()->grab().toImage();
        QCOMPARE(painted, plain.viewport()->grab().toImage());
    }
}

void TestViews::windowSetsUpViewsAndScenes()
{
    const MainWindow window;
    auto *mainView = childOf<MainView>(window, "mainView");
    auto *leftView = childOf<LeftView>(window, "leftView");
    QVERIFY(mainView && leftView);
    QCOMPARE(int(mainView->renderHints()), 7);
    QCOMPARE(int(leftView->renderHints()), 7);
    QVERIFY(window.acceptDrops() && mainView->acceptDrops() && leftView->acceptDrops());

    QVERIFY(mainView->scene() && leftView->scene());
    QVERIFY(mainView->scene() != leftView->scene());
    for (QGraphicsScene *scene : {mainView->scene(), leftView->scene()}) {
        QCOMPARE(scene->backgroundBrush(), QBrush(QColor(150, 150, 150, 255), Qt::SolidPattern));
        QCOMPARE(scene->parent(), nullptr);
        QVERIFY(scene->items().isEmpty());
    }

    auto *splitter = qobject_cast<QSplitter *>(window.centralWidget());
    QVERIFY(splitter);
    QCOMPARE(splitter->orientation(), Qt::Horizontal);
    QCOMPARE(splitter->count(), 2);
    QCOMPARE(splitter->widget(0), leftView);
    QCOMPARE(splitter->widget(1), mainView);
}

void TestViews::windowTakesSceneRectanglesFromTheViewports()
{
    MainWindow window;
    auto *mainView = childOf<MainView>(window, "mainView");
    auto *leftView = childOf<LeftView>(window, "leftView");
    QVERIFY(mainView->viewport()->width() > 0 && leftView->viewport()->width() > 0);
    const QRectF mainRect(QPointF(0, 0), QSizeF(mainView->viewport()->size()));
    const QRectF leftRect(QPointF(0, 0), QSizeF(leftView->viewport()->size()));
    QCOMPARE(mainView->scene()->sceneRect(), mainRect);
    QCOMPARE(leftView->scene()->sceneRect(), leftRect);
    window.onTwoColsClicked();
    QCOMPARE(leftView->scene()->sceneRect(), leftRect);
    QCOMPARE(leftView->scene()->backgroundBrush(), QBrush(QColor(150, 150, 150, 255), Qt::SolidPattern));
}

void TestViews::windowResizeFitsBothViews()
{
    MainWindow window;
    auto *mainView = childOf<MainView>(window, "mainView");
    auto *leftView = childOf<LeftView>(window, "leftView");
    const QTransform other = QTransform::fromScale(5, 5);
    mainView->setTransform(other);
    leftView->setTransform(other);
    QResizeEvent event(QSize(700, 500), QSize(700, 500));
    QApplication::sendEvent(&window, &event);
    QVERIFY(mainView->transform().m11() == mainScale(mainView));
    QVERIFY(leftView->transform().m11() == leftScale(leftView));

    window.show();
    for (const QSize size : {QSize(700, 500), QSize(901, 502), QSize(620, 400)}) {
        window.resize(size);
        QTRY_COMPARE(window.size(), size);
        QTRY_VERIFY(mainView->transform().m11() == mainScale(mainView));
        QTRY_VERIFY(leftView->transform().m11() == leftScale(leftView));
    }
}

void TestViews::zoomStepsAreExact()
{
    MainWindow window;
    window.loadImageFile(writePicture(QSize(700, 3000)));
    window.show();
    auto *mainView = childOf<MainView>(window, "mainView");
    auto *leftView = childOf<LeftView>(window, "leftView");
    const QTransform leftTransform = leftView->transform();
    const auto step = [&](const char *name, double expected) {
        actionOf(window, name)->trigger();
        return mainView->fitRatio() == expected && mainView->transform().m11() == mainScale(mainView);
    };
    for (const double expected : {0.8, 0.8500000000000001, 0.9000000000000001, 0.9000000000000001}) {
        QVERIFY2(step("zoomInAction", expected), qPrintable(QString::number(mainView->fitRatio(), 'g', 17)));
    }
    mainView->setFitRatio(0.75);
    for (const double expected :
         {0.7, 0.6499999999999999, 0.5999999999999999, 0.5499999999999998, 0.49999999999999983, 0.44999999999999984}) {
        QVERIFY2(step("zoomOutAction", expected), qPrintable(QString::number(mainView->fitRatio(), 'g', 17)));
    }
    QVERIFY(step("zoomOutAction", 0.44999999999999984));
    QCOMPARE(leftView->transform(), leftTransform);
}

void TestViews::zoomStopsAtTheLimits()
{
    MainWindow window;
    auto *mainView = childOf<MainView>(window, "mainView");
    mainView->setFitRatio(0.9000000000000001);
    const QTransform before = mainView->transform();
    window.onZoominClicked();
    QVERIFY(mainView->fitRatio() == 0.9000000000000001);
    QCOMPARE(mainView->transform(), before);
    window.onZoomoutClicked();
    QVERIFY(mainView->fitRatio() == 0.8500000000000001);
    window.onZoominClicked();
    QVERIFY(mainView->fitRatio() == 0.9000000000000001);
    mainView->setFitRatio(0.9);
    window.onZoominClicked();
    QVERIFY(mainView->fitRatio() == 0.9);
    mainView->setFitRatio(0.45);
    window.onZoomoutClicked();
    QVERIFY(mainView->fitRatio() == 0.45);
}

void TestViews::zoomKeepsItsShareWhenTheWindowGrows()
{
    MainWindow window;
    window.resize(600, 450);
    window.show();
    window.loadImageFile(writePicture(QSize(700, 3000)));
    actionOf(window, "zoomInAction")->trigger();
    window.resize(790, 450);
    auto *mainView = childOf<MainView>(window, "mainView");
    QTRY_VERIFY(mainView->transform().m11() == mainView->viewport()->width() * 0.8 / 700);
    QVERIFY(mainView->fitRatio() == 0.8);
}

void TestViews::switchingTheLayoutKeepsTheTransform()
{
    MainWindow window;
    window.show();
    window.loadImageFile(writePicture(QSize(700, 3000)));
    auto *leftView = childOf<LeftView>(window, "leftView");
    QGraphicsScene *const oneColumn = leftView->scene();
    QCOMPARE(oneColumn->items().size(), 4);
    const QTransform other = QTransform::fromScale(0.123, 0.123);
    leftView->setTransform(other);

    actionOf(window, "twoColsAction")->trigger();
    QGraphicsScene *const twoColumn = leftView->scene();
    QVERIFY(twoColumn != oneColumn);
    QCOMPARE(twoColumn->items().size(), 1);
    QCOMPARE(leftView->transform(), other);

    actionOf(window, "twoColsAction")->trigger();
    QCOMPARE(leftView->scene(), oneColumn);
    QCOMPARE(oneColumn->items().size(), 4);
    QCOMPARE(leftView->transform(), other);
}

void TestViews::rebuildShowsScrollBars_data()
{
    QTest::addColumn<bool>("withDocument");
    QTest::newRow("document") << true;
    QTest::newRow("no source") << false;
}

void TestViews::rebuildShowsScrollBars()
{
    QFETCH(bool, withDocument);
    MainWindow window;
    auto *mainView = childOf<MainView>(window, "mainView");
    auto *leftView = childOf<LeftView>(window, "leftView");
    for (const QGraphicsView *view : std::initializer_list<QGraphicsView *>{mainView, leftView}) {
        QCOMPARE(view->horizontalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
        QCOMPARE(view->verticalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
    }
    if (withDocument) {
        window.loadImageFile(writePicture(QSize(100, 500)));
        window.loadImageFile(u"absent.png"_s);
    } else {
        window.loadImageFile(u"absent.png"_s);
        QCOMPARE(mainView->verticalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
        window.rebuildDocument();
    }
    for (const QGraphicsView *view : std::initializer_list<QGraphicsView *>{mainView, leftView}) {
        QCOMPARE(view->horizontalScrollBarPolicy(), Qt::ScrollBarAsNeeded);
        QCOMPARE(view->verticalScrollBarPolicy(), Qt::ScrollBarAsNeeded);
    }
}

void TestViews::openingFitsBothViews()
{
    MainWindow window;
    window.show();
    auto *mainView = childOf<MainView>(window, "mainView");
    auto *leftView = childOf<LeftView>(window, "leftView");
    for (const QSize size : {QSize(700, 3000), QSize(333, 5000)}) {
        window.loadImageFile(writePicture(size));
        QCOMPARE(mainView->sceneRect().width(), double(size.width()));
        QTRY_VERIFY(mainView->transform().m11() == mainScale(mainView));
        QTRY_VERIFY(leftView->transform().m11() == leftScale(leftView));
    }
}

void TestViews::dropsOnAViewOpenTheFile_data()
{
    QTest::addColumn<QString>("view");
    QTest::newRow("mainView") << u"mainView"_s;
    QTest::newRow("leftView") << u"leftView"_s;
}

void TestViews::dropsOnAViewOpenTheFile()
{
    QFETCH(QString, view);
    MainWindow window;
    window.show();
    auto *target = window.findChild<QGraphicsView *>(view);
    QMimeData mime;
    mime.setUrls({QUrl::fromLocalFile(writePicture(QSize(100, 500)))});

    QDragEnterEvent enter(QPoint(10, 10), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(target->viewport(), &enter);
    QVERIFY(enter.isAccepted());
    QCOMPARE(childOf<MainView>(window, "mainView")->scene()->items().size(), 0);
    QDropEvent drop(QPointF(10, 10), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(target->viewport(), &drop);
    QCOMPARE(childOf<MainView>(window, "mainView")->scene()->items().size(), 4);
}

QUILLMARCH_TEST_MAIN(TestViews)
#include "tst_views.moc"
