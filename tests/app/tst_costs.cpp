// Costs of commands that can be counted instead of timed: repaints, and large
// allocations, each of which is a copy of pixels.

#include "app/mainwindow.h"
#include "output/previewitem.h"
#include "page/pageitem.h"
#include "pixels/blankborders.h"
#include "pixels/cutscan.h"
#include "support/configvalues.h"
#include "support/pictures.h"
#include "support/testmain.h"
#include "support/windowprobe.h"
#include "ui/leftview.h"
#include "ui/mainview.h"

#include <QGraphicsScene>
#include <QImageReader>
#include <QPainter>
#include <QPaintEvent>
#include <QPrinter>
#include <QTemporaryDir>

#include <atomic>
#include <dlfcn.h>

using namespace Qt::StringLiterals;

namespace {

constexpr size_t large = size_t(1) << 20;
std::atomic<int> largeAllocations = 0;

void *(*realMalloc)(size_t) = nullptr;
void *(*realRealloc)(void *, size_t) = nullptr;

void count(size_t size)
{
    if (size >= large) {
        ++largeAllocations;
    }
}

} // namespace

extern "C" void *malloc(size_t size)
{
    if (realMalloc == nullptr) {
        realMalloc = reinterpret_cast<void *(*)(size_t)>(dlsym(RTLD_NEXT, "malloc"));
    }
    count(size);
    return realMalloc(size);
}

extern "C" void *realloc(void *ptr, size_t size)
{
    if (realRealloc == nullptr) {
        realRealloc = reinterpret_cast<void *(*)(void *, size_t)>(dlsym(RTLD_NEXT, "realloc"));
    }
    count(size);
    return realRealloc(ptr, size);
}

namespace {

constexpr int width = 900;
constexpr int height = 9000; // 31 MiB at four bytes a pixel

int allocationsDuring(const std::function<void()> &work)
{
    const int before = largeAllocations;
    work();
    return largeAllocations - before;
}

/// Counts the paint events of a view's viewport and joins their regions.
class PaintCounter : public QObject
{
public:
    explicit PaintCounter(QGraphicsView *view)
        : viewport(view->viewport())
    {
        viewport->installEventFilter(this);
    }

    int count = 0;
    QRegion region;

    bool eventFilter(QObject *object, QEvent *event) override
    {
        if (object == viewport && event->type() == QEvent::Paint) {
            ++count;
            region += static_cast<QPaintEvent *>(event)->region();
        }
        return false;
    }

private:
    QWidget *viewport;
};

/// Handles all pending paint events.
void settle()
{
    for (int i = 0; i < 5; ++i) {
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents();
    }
}

} // namespace

class TestCosts : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void countsCopies();
    void openKeepsOneCopyOfThePixels_data();
    void openKeepsOneCopyOfThePixels();
    void rebuildCopiesNothing();
    void cutSearchCopiesNothing_data();
    void cutSearchCopiesNothing();
    void trimNeedsNoGrayImage();
    void repaintCopiesNothing();
    void exportCopiesNoBand();
    void commandsPaintOnce_data();
    void commandsPaintOnce();
    void dragPaintsThePairAlone();

private:
    QString picture;
};

void TestCosts::initTestCase()
{
    picture = savedPicture(textPicture(width, height), u"costs.png"_s);
}

void TestCosts::countsCopies()
{
    const QImage image(width, height, QImage::Format_RGB32);
    QCOMPARE(allocationsDuring([&] { QVERIFY(!image.copy().isNull()); }), 1);
    QCOMPARE(allocationsDuring([&] { QVERIFY(!QImage(image).isNull()); }), 0);
}

void TestCosts::openKeepsOneCopyOfThePixels_data()
{
    QTest::addColumn<int>("format");
    QTest::addColumn<QString>("name");
    QTest::newRow("RGB32 PNG") << int(QImage::Format_RGB32) << u"open.png"_s;
    QTest::newRow("ARGB32 PNG") << int(QImage::Format_ARGB32) << u"openalpha.png"_s;
    QTest::newRow("Grayscale8 PNG") << int(QImage::Format_Grayscale8) << u"opengray.png"_s;
    QTest::newRow("Indexed8 PNG") << int(QImage::Format_Indexed8) << u"openpalette.png"_s;
    QTest::newRow("JPEG") << int(QImage::Format_RGB32) << u"open.jpg"_s;
    QTest::newRow("BMP") << int(QImage::Format_RGB32) << u"open.bmp"_s;
}

void TestCosts::openKeepsOneCopyOfThePixels()
{
    QFETCH(int, format);
    QFETCH(QString, name);
    const QString path = savedPicture(textPicture(width, height).convertToFormat(QImage::Format(format)), name);
    const auto decode = [&path] {
        QImageReader reader(path);
        reader.setAutoTransform(true);
        QVERIFY(!reader.read().isNull());
    };
    const int decoding = allocationsDuring(decode);
    QVERIFY(decoding >= 1);
    MainWindow window;
    QCOMPARE(allocationsDuring([&] { window.loadImageFile(path); }), decoding);
    QVERIFY(!stripsOf(window).isEmpty());
}

void TestCosts::rebuildCopiesNothing()
{
    MainWindow window;
    window.loadImageFile(picture);
    QCOMPARE(allocationsDuring([&] { window.rebuildDocument(); }), 0);
    QCOMPARE(allocationsDuring([&] { window.onAutoCutClicked(); }), 0);
}

void TestCosts::cutSearchCopiesNothing_data()
{
    QTest::addColumn<int>("format");
    for (const QImage::Format format :
         {QImage::Format_RGB32, QImage::Format_ARGB32, QImage::Format_ARGB32_Premultiplied, QImage::Format_Grayscale8,
          QImage::Format_RGB888, QImage::Format_RGBA64, QImage::Format_Indexed8}) {
        QTest::addRow("format %d", int(format)) << int(format);
    }
}

void TestCosts::cutSearchCopiesNothing()
{
    QFETCH(int, format);
    const QPixmap pixmap = keptPixmap(textPicture(width, height).convertToFormat(QImage::Format(format)));
    int row = -1;
    const QRect window(0, 100, width, height - 200);
    QCOMPARE(allocationsDuring([&] { row = brightestRow(pixmap, window); }), 0);
    QVERIFY(row >= 0);
}

void TestCosts::trimNeedsNoGrayImage()
{
    const QImage image = textPicture(width, height);
    QCOMPARE(allocationsDuring([&] {
                 const GrayScan scan(image);
                 QVERIFY(contentBounds(scan, inkThreshold(scan.histogram())).has_value());
             }),
             1); // the color table
}

void TestCosts::repaintCopiesNothing()
{
    MainWindow window;
    window.resize(2600, 900); // wide: below a scale of one half, Qt allocates memory
    window.loadImageFile(picture);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    settle();
    QCOMPARE(allocationsDuring([&] {
                 mainViewOf(window)->viewport()->repaint();
                 leftViewOf(window)->viewport()->repaint();
             }),
             0);
}

void TestCosts::exportCopiesNoBand()
{
    MainWindow window;
    window.loadImageFile(picture);
    const QImage source = textPicture(width, height);
    const QList<PageItem *> strips = stripsOf(window);
    QTemporaryDir dir;
    const auto print = [&dir](const QString &name, const std::function<void(QPainter *, QPrinter *)> &draw) {
        QPrinter printer(QPrinter::HighResolution);
        printer.setOutputFormat(QPrinter::PdfFormat);
        printer.setOutputFileName(dir.filePath(name));
        QPainter painter(&printer);
        draw(&painter, &printer);
    };
    // Qt allocates memory for each image that it encodes. Drawing the same
    // bands from existing images must allocate as much.
    QList<QImage> bands;
    for (const PageItem *strip : strips) {
        bands.append(source.copy(strip->sourceRect().toRect() & source.rect()));
    }
    const int plain = allocationsDuring([&] {
        print(u"plain.pdf"_s, [&](QPainter *painter, QPrinter *printer) {
            for (const QImage &band : bands) {
                if (!band.isNull()) {
                    painter->drawImage(QRectF(0, 0, 100, 100), band);
                }
                printer->newPage();
            }
        });
    });
    const int ours = allocationsDuring([&] {
        print(u"ours.pdf"_s, [&](QPainter *painter, QPrinter *printer) { window.renderDocument(painter, printer); });
    });
    QVERIFY2(ours <= plain, qPrintable(u"%1 instead of %2"_s.arg(ours).arg(plain)));
}

void TestCosts::commandsPaintOnce_data()
{
    QTest::addColumn<QByteArray>("action");
    QTest::addColumn<int>("mainPaints");
    QTest::addColumn<int>("leftPaints");
    QTest::newRow("margin down") << QByteArray("decreaseMarginAction") << 0 << 1;
    QTest::newRow("margin up") << QByteArray("increaseMarginAction") << 0 << 1;
    QTest::newRow("page numbers") << QByteArray("pageNumAction") << 0 << 1;
    QTest::newRow("layout") << QByteArray("twoColsAction") << 0 << 1;
    QTest::newRow("zoom in") << QByteArray("zoomInAction") << 1 << 0;
    QTest::newRow("zoom out") << QByteArray("zoomOutAction") << 1 << 0;
}

void TestCosts::commandsPaintOnce()
{
    QFETCH(QByteArray, action);
    QFETCH(int, mainPaints);
    QFETCH(int, leftPaints);
    clearConfigValues();
    MainWindow window;
    window.loadImageFile(picture);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    settle();
    PaintCounter main(mainViewOf(window));
    PaintCounter left(leftViewOf(window));
    trigger(window, action.constData());
    settle();
    QCOMPARE(main.count, mainPaints);
    QCOMPARE(left.count, leftPaints);
    if (showPageNumbers()) {
        trigger(window, "pageNumAction"); // the flag outlives the window
    }
}

void TestCosts::dragPaintsThePairAlone()
{
    MainWindow window;
    window.resize(1000, 900);
    window.loadImageFile(picture);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    MainView *view = mainViewOf(window);
    const QList<PageItem *> strips = stripsOf(window);
    PageItem *upper = strips.at(0); // its page is visible
    view->centerOn(upper->mapToScene(upper->handleRect().center()));
    settle();

    const auto send = [view](QEvent::Type type, QPoint at, Qt::MouseButtons buttons) {
        QMouseEvent event(type, QPointF(at), view->viewport()->mapToGlobal(QPointF(at)),
                          type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton, buttons, Qt::NoModifier);
        QCoreApplication::sendEvent(view->viewport(), &event);
    };
    const QPoint grip = view->mapFromScene(upper->mapToScene(upper->handleRect().center()));
    send(QEvent::MouseMove, grip, Qt::NoButton);
    send(QEvent::MouseButtonPress, grip, Qt::LeftButton);
    settle();
    QVERIFY(upper->isDragging());

    PaintCounter main(view);
    PaintCounter left(leftViewOf(window));
    send(QEvent::MouseMove, grip + QPoint(0, 12), Qt::LeftButton);
    settle();
    QCOMPARE(main.count, 1);
    QCOMPARE(left.count, 0); // pages are updated on release
    const QRectF pair = upper->sceneBoundingRect() | upper->nextItem()->sceneBoundingRect();
    const QRect allowed = view->mapFromScene(pair).boundingRect().adjusted(-4, -4, 4, 4);
    QVERIFY(allowed.contains(main.region.boundingRect() & view->viewport()->rect()));
    send(QEvent::MouseButtonRelease, grip + QPoint(0, 12), Qt::NoButton);
    settle();
    QVERIFY(left.count >= 1);
}

QUILLMARCH_TEST_MAIN(TestCosts)
#include "tst_costs.moc"
