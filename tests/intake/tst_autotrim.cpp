#include "app/mainwindow.h"
#include "output/previewitem.h"
#include "page/pageitem.h"
#include "pixels/plaintrim.h"
#include "support/documents.h"
#include "support/testmain.h"
#include "ui/mainview.h"

#include <QAction>
#include <QGraphicsScene>
#include <QPainter>

using namespace Qt::StringLiterals;

namespace {

const QString message = u"未检测到可裁剪的空白边"_s;
constexpr QRect content(30, 20, 140, 120);

/// Blocks of colour within a border of \a border, 200 x 160 pixels.
QImage bordered(const QColor &border)
{
    QImage image(200, 160, QImage::Format_ARGB32);
    image.fill(border);
    QPainter painter(&image);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    const QList<QColor> colours{QColor(200, 20, 30), QColor(20, 90, 30), QColor(30, 40, 160), QColor(90, 60, 20)};
    for (int i = 0; i < 4; ++i) {
        painter.fillRect(content.left() + i % 2 * 70, content.top() + i / 2 * 60, 70, 60, colours.at(i));
    }
    return image;
}

QSizeF sourceSize(const MainWindow &window)
{
    return {mainViewOf(window)->scene()->sceneRect().width(), stripsOf(window).last()->sourceRect().bottom()};
}

} // namespace

class TestAutoTrim : public QObject
{
    Q_OBJECT

private slots:
    void cropsToTheContent_data();
    void cropsToTheContent();
    void keepsTransparencyInTheContent();
    void imageWithoutABorderIsRebuilt();
    void darkImageIsKeptWhole();
    void showsTheMessage_data();
    void showsTheMessage();
    void cropsPixelForPixelLikeThePlainTrim();
    void secondTrimCanTakeMore();
    void tinyContentLeavesThePages();
    void replacesCutsAndKeepsSettings();
    void doesNothingWithoutADocument();
};

void TestAutoTrim::cropsToTheContent_data()
{
    QTest::addColumn<QImage>("image");
    const QImage onWhite = bordered(Qt::white);
    QTest::newRow("RGB32") << onWhite.convertToFormat(QImage::Format_RGB32);
    QTest::newRow("RGB888") << onWhite.convertToFormat(QImage::Format_RGB888);
    QTest::newRow("opaque alpha") << onWhite;
    QTest::newRow("transparent white border") << bordered(QColor(255, 255, 255, 0));
    QTest::newRow("gray") << onWhite.convertToFormat(QImage::Format_Grayscale8);
    QTest::newRow("palette") << onWhite.convertToFormat(QImage::Format_Indexed8);
    QTest::newRow("two colours") << onWhite.convertToFormat(QImage::Format_Mono, Qt::ThresholdDither);
    QTest::newRow("cream border") << bordered(QColor(250, 245, 220));
}

void TestAutoTrim::cropsToTheContent()
{
    QFETCH(QImage, image);
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(savedPicture(image, u"bordered.png"_s));
    const QList<PageItem *> before = stripsOf(window);
    trigger(window, "autoTrimAction");
    QCOMPARE(toastText(window), QString());
    QCOMPARE(mainViewOf(window)->scene()->sceneRect().width(), 140.0);
    const QImage expected = image.copy(content).convertToFormat(QImage::Format_RGB32);
    QCOMPARE(firstDifference(shownPicture(window, content.size()), expected), QString());
    QImage beyond = shownPicture(window, QSize(140, 160)).copy(0, 120, 140, 40);
    QImage blank = beyond;
    blank.fill(Qt::magenta);
    QCOMPARE(firstDifference(beyond, blank), QString());
}

void TestAutoTrim::keepsTransparencyInTheContent()
{
    QImage image = bordered(Qt::white);
    for (int y = 60; y < 80; ++y) {
        for (int x = 60; x < 90; ++x) {
            image.setPixel(x, y, qRgba(0, 0, 0, 0));
        }
    }
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(savedPicture(image, u"hole.png"_s));
    trigger(window, "autoTrimAction");
    QImage expected = image.copy(content).convertToFormat(QImage::Format_RGB32);
    QPainter(&expected).fillRect(30, 40, 30, 20, Qt::magenta); // the ground shows
    QCOMPARE(firstDifference(shownPicture(window, content.size()), expected), QString());
}

void TestAutoTrim::imageWithoutABorderIsRebuilt()
{
    const QImage image = blockPicture(140, 600);
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(savedPicture(image, u"full.png"_s));
    stripsOf(window).first()->moveCut(25);
    trigger(window, "autoTrimAction");
    QCOMPARE(toastText(window), QString());
    QCOMPARE(stripsOf(window).first()->sourceRect(), QRectF(0, 0, 140, 200)); // the dragged cut is lost
    QCOMPARE(firstDifference(shownPicture(window, image.size()), image), QString());
}

void TestAutoTrim::darkImageIsKeptWhole()
{
    QImage image(140, 150, QImage::Format_RGB32);
    image.fill(QColor(10, 10, 20));
    QPainter(&image).fillRect(50, 60, 30, 20, Qt::white);
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(savedPicture(image, u"dark.png"_s));
    trigger(window, "autoTrimAction");
    QCOMPARE(toastText(window), QString());
    QCOMPARE(firstDifference(shownPicture(window, image.size()), image), QString());

    image.fill(QColor(200, 200, 200)); // one level, the last that counts as ink
    window.loadImageFile(savedPicture(image, u"level.png"_s));
    trigger(window, "autoTrimAction");
    QCOMPARE(toastText(window), QString());
    QCOMPARE(firstDifference(shownPicture(window, image.size()), image), QString());
}

void TestAutoTrim::showsTheMessage_data()
{
    QTest::addColumn<QImage>("image");
    QImage white(140, 150, QImage::Format_RGB32);
    white.fill(Qt::white);
    QTest::newRow("white") << white;
    QImage level = white;
    level.fill(QColor(201, 201, 201));
    QTest::newRow("one light level") << level;
    QImage row = white;
    QPainter(&row).fillRect(0, 70, 140, 1, Qt::black);
    QTest::newRow("a row") << row;
    QImage column = white;
    QPainter(&column).fillRect(70, 0, 1, 150, Qt::black);
    QTest::newRow("a column") << column;
    QImage speck = white;
    speck.setPixel(50, 60, qRgb(0, 0, 0));
    QTest::newRow("a speck") << speck;
}

void TestAutoTrim::showsTheMessage()
{
    QFETCH(QImage, image);
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(savedPicture(image, u"blank.png"_s));
    const QList<PageItem *> strips = stripsOf(window);
    trigger(window, "autoTrimAction");
    QCOMPARE(toastText(window), message);
    QCOMPARE(stripsOf(window), strips);
    QCOMPARE(firstDifference(shownPicture(window, image.size()), image), QString());
    window.rebuildDocument(); // from the source, which stays
    QCOMPARE(firstDifference(shownPicture(window, image.size()), image), QString());
}

void TestAutoTrim::cropsPixelForPixelLikeThePlainTrim()
{
    QImage image(1100, 1500, QImage::Format_RGB32); // long enough for a line to hold two specks
    image.fill(QColor(245, 250, 255));
    QPainter painter(&image);
    for (int y = 310; y < 1200; y += 37) {
        painter.fillRect(123 + y % 50, y, 700, 18, QColor(40, y % 200, 80));
    }
    painter.fillRect(20, 100, 2, 1, Qt::black);
    painter.fillRect(30, 200, 3, 1, Qt::black);
    painter.fillRect(1000, 400, 1, 2, Qt::black);
    painter.end();
    const QImage gray = image.convertToFormat(QImage::Format_Grayscale8);
    const std::optional<QRect> expected = plainBounds(gray, plainThreshold(gray));
    QVERIFY(expected);
    QCOMPARE(expected->top(), 200);
    QVERIFY(expected->right() < 1000);
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(savedPicture(image, u"specks.png"_s));
    trigger(window, "autoTrimAction");
    QCOMPARE(sourceSize(window).width(), double(expected->width()));
    QCOMPARE(firstDifference(shownPicture(window, expected->size()), image.copy(*expected)), QString());
}

void TestAutoTrim::secondTrimCanTakeMore()
{
    QImage image(600, 600, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.fillRect(200, 200, 200, 200, QColor(120, 120, 120)); // a halo
    painter.fillRect(240, 250, 110, 90, Qt::black);
    painter.end();
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(savedPicture(image, u"halo.png"_s));
    trigger(window, "autoTrimAction");
    QCOMPARE(mainViewOf(window)->scene()->sceneRect().width(), 200.0);
    QCOMPARE(firstDifference(shownPicture(window, QSize(200, 200)), image.copy(200, 200, 200, 200)), QString());
    trigger(window, "autoTrimAction");
    QCOMPARE(mainViewOf(window)->scene()->sceneRect().width(), 110.0);
    QCOMPARE(firstDifference(shownPicture(window, QSize(110, 90)), image.copy(240, 250, 110, 90)), QString());
}

void TestAutoTrim::tinyContentLeavesThePages()
{
    QImage image(140, 150, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter(&image).fillRect(50, 60, 10, 40, Qt::black);
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(savedPicture(image, u"tiny.png"_s));
    const QList<PageItem *> strips = stripsOf(window);
    for (int i = 0; i < 2; ++i) {
        trigger(window, "autoTrimAction"); // the source is 10 x 40 then, too small for a document
        QCOMPARE(toastText(window), QString());
        QCOMPARE(stripsOf(window), strips);
        QCOMPARE(firstDifference(shownPicture(window, image.size()), image), QString());
    }
}

void TestAutoTrim::replacesCutsAndKeepsSettings()
{
    QImage image(200, 700, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter(&image).drawImage(30, 20, blockPicture(140, 650));
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(savedPicture(image, u"bordered.png"_s));
    trigger(window, "twoColsAction");
    trigger(window, "increaseMarginAction");
    trigger(window, "zoomOutAction");
    const double ratio = mainViewOf(window)->fitRatio();
    trigger(window, "autoTrimAction");
    QCOMPARE(stripsOf(window).size(), 4);
    QCOMPARE(stripsOf(window).first()->sourceRect(), QRectF(0, 0, 140, 200));
    QCOMPARE(pagesOf(window).size(), 1);
    QCOMPARE(pagesOf(window).first()->margins().x(), 21.0); // 15 percent of 140
    QCOMPARE(mainViewOf(window)->fitRatio(), ratio);
    QCOMPARE(firstDifference(shownPicture(window, QSize(140, 650)), blockPicture(140, 650)), QString());
}

void TestAutoTrim::doesNothingWithoutADocument()
{
    MainWindow window;
    QVERIFY(!window.findChild<QAction *>(u"autoTrimAction"_s)->isEnabled());
    window.onAutoTrimClicked();
    QCOMPARE(toastText(window), QString());
    QVERIFY(stripsOf(window).isEmpty());
}

QUILLMARCH_TEST_MAIN(TestAutoTrim)
#include "tst_autotrim.moc"
