#include "app/mainwindow.h"
#include "support/documents.h"
#include "support/testmain.h"
#include "ui/leftview.h"
#include "ui/mainview.h"

#include <QPainter>
#include <QScrollBar>

using namespace Qt::StringLiterals;

namespace {

constexpr QSize pictureSize(211, 1900);

QImage withAlpha(QImage image, const std::function<int(int x, int y)> &alpha)
{
    image = image.convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            QColor color = image.pixelColor(x, y);
            color.setAlpha(alpha(x, y));
            image.setPixelColor(x, y, color);
        }
    }
    return image;
}

QImage palettePicture(bool seeThrough)
{
    QImage image = blockPicture(pictureSize.width(), pictureSize.height()).convertToFormat(QImage::Format_Indexed8);
    if (seeThrough) {
        image.setColor(image.pixelIndex(100, 800), qRgba(0, 0, 0, 0));
    }
    return image;
}

/// What \a view paints of \a region, on \a ground, at \a ratio pixels a point.
QImage painted(const QGraphicsView &view, const QRect &region, double ratio, const QColor &ground)
{
    const QSize wholePixels(int(region.width() * ratio), int(region.height() * ratio));
    QImage image(wholePixels, QImage::Format_RGB32);
    image.setDevicePixelRatio(ratio);
    image.fill(ground);
    view.viewport()->render(&image, QPoint(), region, QWidget::DrawChildren);
    return image;
}

/// A view of the toolkit that shows what \a view does.
std::unique_ptr<QGraphicsView> plainViewLike(const QGraphicsView &view)
{
    auto plain = std::make_unique<QGraphicsView>(view.scene());
    plain->setStyleSheet(view.styleSheet());
    plain->setRenderHints(view.renderHints());
    plain->viewport()->setAttribute(Qt::WA_OpaquePaintEvent);
    plain->setHorizontalScrollBarPolicy(view.horizontalScrollBarPolicy());
    plain->setVerticalScrollBarPolicy(view.verticalScrollBarPolicy());
    plain->setFixedSize(view.size());
    plain->setTransform(view.transform());
    plain->show();
    QCoreApplication::processEvents();
    plain->horizontalScrollBar()->setValue(view.horizontalScrollBar()->value());
    plain->verticalScrollBar()->setValue(view.verticalScrollBar()->value());
    return plain;
}

void comparePaintings(const QGraphicsView &view)
{
    const std::unique_ptr<QGraphicsView> plain = plainViewLike(view);
    QCOMPARE(plain->viewportTransform(), view.viewportTransform());
    const QRect all = view.viewport()->rect();
    const QRect someRows(0, all.height() / 3, all.width(), 40);
    for (const QRect &region : {all, someRows, QRect(7, 5, 60, 92)}) {
        for (const double ratio : {1.0, 1.25, 1.5, 2.0}) {
            // The toolkit's smooth edges must meet the same colour.
            const QImage expected = painted(*plain, region, ratio, view.scene()->backgroundBrush().color());
            const QString difference = firstDifference(painted(view, region, ratio, Qt::magenta), expected);
            QVERIFY2(difference.isEmpty(),
                     qPrintable(u"%1, at %2 pixels a point, from row %3"_s.arg(difference).arg(ratio).arg(region.y())));
        }
    }
}

} // namespace

class TestBackground : public QObject
{
    Q_OBJECT

private slots:
    void leavesNoPixelUnpainted_data();
    void leavesNoPixelUnpainted();
    void paintsOtherBackgroundsAsThePlainView_data();
    void paintsOtherBackgroundsAsThePlainView();
};

void TestBackground::leavesNoPixelUnpainted_data()
{
    QTest::addColumn<QImage>("picture");
    const QImage blocks = blockPicture(pictureSize.width(), pictureSize.height());
    QTest::newRow("RGB32") << blocks;
    QTest::newRow("gray") << blocks.convertToFormat(QImage::Format_Grayscale8);
    QTest::newRow("palette") << palettePicture(false);
    QTest::newRow("palette with a hole") << palettePicture(true);
    QTest::newRow("opaque alpha") << withAlpha(blocks, [](int, int) { return 255; });
    QTest::newRow("transparent") << withAlpha(blocks, [](int x, int y) { return (x + y) % 256; });
}

void TestBackground::leavesNoPixelUnpainted()
{
    QFETCH(QImage, picture);
    MainWindow window;
    window.setGeometry(0, 0, 717, 533);
    window.show();
    window.loadImageFile(savedPicture(picture, u"picture.png"_s));
    QCoreApplication::processEvents();
    for (const char *step : {"", "zoomOutAction", "twoColsAction", "increaseMarginAction", "zoomInAction"}) {
        if (*step != '\0') {
            trigger(window, step);
        }
        for (QGraphicsView *view : QList<QGraphicsView *>{mainViewOf(window), leftViewOf(window)}) {
            for (const int position : {0, 171, 100000}) {
                view->verticalScrollBar()->setValue(position);
                comparePaintings(*view);
            }
        }
    }
}

void TestBackground::paintsOtherBackgroundsAsThePlainView_data()
{
    QTest::addColumn<QBrush>("ofScene");
    QTest::addColumn<QBrush>("ofView");
    QLinearGradient gradient(0, 0, 300, 900);
    gradient.setColorAt(0, Qt::red);
    gradient.setColorAt(1, Qt::blue);
    const QBrush none;
    const QBrush gray(QColor(150, 150, 150));
    const QBrush glass(QColor(20, 60, 200, 90));
    const QBrush pattern(Qt::darkGreen, Qt::Dense5Pattern);
    QTest::newRow("none at all") << none << none;
    QTest::newRow("scene: pattern") << pattern << none;
    QTest::newRow("scene: gradient") << QBrush(gradient) << none;
    QTest::newRow("scene: transparent color") << glass << none;
    QTest::newRow("view: color") << gray << QBrush(Qt::darkRed);
    QTest::newRow("view: pattern") << gray << pattern;
    QTest::newRow("view: transparent color") << gray << glass;
    QTest::newRow("view: color, scene: none") << none << QBrush(Qt::darkRed);
}

void TestBackground::paintsOtherBackgroundsAsThePlainView()
{
    QFETCH(QBrush, ofScene);
    QFETCH(QBrush, ofView);
    MainWindow window;
    window.setGeometry(0, 0, 717, 533);
    window.show();
    window.loadImageFile(savedPicture(blockPicture(pictureSize.width(), pictureSize.height()), u"picture.png"_s));
    QCoreApplication::processEvents();
    for (QGraphicsView *view : QList<QGraphicsView *>{mainViewOf(window), leftViewOf(window)}) {
        view->scene()->setBackgroundBrush(ofScene);
        view->setBackgroundBrush(ofView);
        const std::unique_ptr<QGraphicsView> plain = plainViewLike(*view);
        plain->setBackgroundBrush(ofView);
        plain->viewport()->setAttribute(Qt::WA_OpaquePaintEvent, false);
        const QRect all = view->viewport()->rect();
        QCOMPARE(firstDifference(painted(*view, all, 1.0, Qt::magenta), painted(*plain, all, 1.0, Qt::magenta)),
                 QString());
    }
}

QUILLMARCH_TEST_MAIN(TestBackground)
#include "tst_background.moc"
