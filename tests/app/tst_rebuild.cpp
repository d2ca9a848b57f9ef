#include "app/mainwindow.h"
#include "app/settings.h"
#include "output/previewitem.h"
#include "page/pageitem.h"
#include "support/configvalues.h"
#include "support/imagecomparison.h"
#include "support/pdffacts.h"
#include "support/pictures.h"
#include "support/testmain.h"
#include "support/windowprobe.h"
#include "ui/customsplitter.h"
#include "ui/leftview.h"
#include "ui/mainview.h"

#include <QAction>
#include <QGraphicsScene>
#include <QPageSize>
#include <QPainter>
#include <QPrinter>
#include <QScrollBar>
#include <QSet>

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

const QStringList documentActionNames{u"exportPdfAction"_s,      u"printAction"_s,   u"decreaseMarginAction"_s,
                                      u"increaseMarginAction"_s, u"zoomInAction"_s,  u"zoomOutAction"_s,
                                      u"twoColsAction"_s,        u"pageNumAction"_s, u"autoTrimAction"_s};

QList<double> bandTops(const MainWindow &window)
{
    QList<double> tops;
    const QList<PageItem *> strips = stripsOf(window);
    for (const PageItem *strip : strips) {
        tops.append(strip->sourceRect().y());
    }
    return tops;
}

/// The margin of \a page in percent of the width of its strips.
double percentOf(const PreviewItem *page, double stripWidth)
{
    return page->margins().x() * 100 / stripWidth;
}

QImage pagePicture(PreviewItem *page)
{
    const QSizeF size = page->boundingRect().size();
    QImage image(int(std::ceil(size.width())), int(std::ceil(size.height())), QImage::Format_RGB32);
    image.fill(Qt::magenta);
    QPainter painter(&image);
    page->renderPage(&painter);
    return image;
}

QSet<QRgb> colorsOf(const QImage &image)
{
    QSet<QRgb> colors;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            colors.insert(image.pixel(x, y));
        }
    }
    return colors;
}

} // namespace

class TestRebuild : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void startsEmpty();
    void cutsAtTruncatedMultiples();
    void leavesARowBetweenBands();
    void lastBandReachesBeyondTheImage();
    void countsStrips_data();
    void countsStrips();
    void linksTheStrips();
    void linksThePages();
    void sharesPagesByFour_data();
    void sharesPagesByFour();
    void numbersThePages();
    void stripsKnowTheirPages();
    void setsTheSceneRects();
    void placesCutsUnlessDisabled();
    void repeatedRebuildPlacesCutsAfresh();
    void resetsTheSharedValues();
    void enablesTheDocumentActions();
    void showsTheScrollBarsWithoutADocumentToo();
    void readsTheMargin_data();
    void readsTheMargin();

    void blankStripIsBlankOnScreen();
    void blankStripIsBlankOnItsPage();
    void blankStripIsBlankInTheFile();

    void secondOpenReplacesStripsAndPages();
    void secondOpenKeepsTheLayout();
    void secondOpenKeepsPageNumbers();
    void secondOpenKeepsTheMargin();
    void secondOpenKeepsTheZoomAndTheSplitter();
    void secondOpenKeepsTheCutChoice();
};

void TestRebuild::init()
{
    clearConfigValues();
}

void TestRebuild::startsEmpty()
{
    const MainWindow window;
    const MainView *mainView = mainViewOf(window);
    const LeftView *leftView = leftViewOf(window);
    QVERIFY(mainView->scene()->items().isEmpty());
    QVERIFY(leftView->scene()->items().isEmpty());
    for (const QGraphicsView *view : std::initializer_list<const QGraphicsView *>{mainView, leftView}) {
        QCOMPARE(view->scene()->sceneRect(), QRectF(QPointF(), view->viewport()->size()));
        QCOMPARE(view->scene()->backgroundBrush(), QBrush(QColor(150, 150, 150)));
        QCOMPARE(view->renderHints(),
                 QPainter::Antialiasing | QPainter::TextAntialiasing | QPainter::SmoothPixmapTransform);
        QVERIFY(view->acceptDrops());
    }
    QVERIFY(window.acceptDrops());
    QCOMPARE(window.windowTitle(), u"墨舟卷轴翻页器"_s);
    QCOMPARE(window.findChild<CustomSplitter *>()->widget(0), leftView);
    QCOMPARE(window.findChild<CustomSplitter *>()->widget(1), mainView);
    QCOMPARE(window.centralWidget(), window.findChild<CustomSplitter *>());
}

void TestRebuild::cutsAtTruncatedMultiples()
{
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(savedPicture(blockPicture(1000, 5000), u"long.png"_s));
    const QList<PageItem *> strips = stripsOf(window);
    QCOMPARE(bandTops(window), QList<double>({0, 1428, 2857, 4285}));
    for (const PageItem *strip : strips) {
        QCOMPARE(strip->sourceRect().x(), 0.0);
        QCOMPARE(strip->sourceRect().size(), QSizeF(1000, 1428));
        QCOMPARE(strip->bodyRect(), QRectF(0, 0, 1000, 1428));
        QCOMPARE(strip->handleRect(), QRectF(0, 1428, 1000, 20));
    }
}

void TestRebuild::leavesARowBetweenBands()
{
    const QImage image = blockPicture(1000, 5000);
    QImage expected = image;
    QPainter(&expected).fillRect(0, 2856, 1000, 1, Qt::magenta);
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(savedPicture(image, u"long.png"_s));
    QCOMPARE(firstDifference(shownPicture(window, image.size()), expected), QString());
}

void TestRebuild::lastBandReachesBeyondTheImage()
{
    const QImage image = blockPicture(1000, 5000);
    QImage expected(1000, 1428, QImage::Format_RGB32);
    expected.fill(Qt::magenta);
    QPainter(&expected).drawImage(0, 0, image, 0, 4285, 1000, 715);
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(savedPicture(image, u"long.png"_s));
    QImage actual(expected.size(), QImage::Format_RGB32);
    actual.fill(Qt::magenta);
    QPainter painter(&actual);
    stripsOf(window).last()->drawSource(&painter, QRectF(0, 0, 1000, 1428));
    painter.end();
    QCOMPARE(firstDifference(actual, expected), QString());
}

void TestRebuild::countsStrips_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QList<double>>("tops");
    QTest::addColumn<double>("height");
    const auto add = [](int width, int height, const QList<double> &tops, double bandHeight) {
        QTest::addRow("%dx%d", width, height) << QSize(width, height) << tops << bandHeight;
    };
    add(1000, 200, {0}, 1428);
    add(1000, 1427, {0}, 1428);
    add(1000, 1428, {0, 1428}, 1428);
    add(1000, 2856, {0, 1428, 2857}, 1428);
    add(700, 999, {0}, 1000);
    add(700, 1000, {0, 1000}, 1000);
    add(700, 3000, {0, 1000, 2000, 3000}, 1000);
    add(99, 1000, {0, 141, 282, 424, 565, 707, 848, 990}, 141); // 141.43 a page
    add(13, 100, {0, 18, 37, 55, 74, 92}, 18); // 18.57 a page
}

void TestRebuild::countsStrips()
{
    QFETCH(QSize, size);
    QFETCH(QList<double>, tops);
    QFETCH(double, height);
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(savedPicture(blockPicture(size.width(), size.height()), u"some.png"_s));
    QCOMPARE(bandTops(window), tops);
    QCOMPARE(pagesOf(window).size(), tops.size());
    const QList<PageItem *> strips = stripsOf(window);
    for (const PageItem *strip : strips) {
        QCOMPARE(strip->sourceRect().size(), QSizeF(size.width(), height));
    }
}

void TestRebuild::linksTheStrips()
{
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(savedPicture(blockPicture(70, 450), u"five.png"_s));
    const QList<PageItem *> strips = stripsOf(window);
    QCOMPARE(strips.size(), 5);
    for (int i = 0; i < 5; ++i) {
        const PageItem *strip = strips.at(i);
        QCOMPARE(strip->pageIndex(), i);
        QCOMPARE(strip->pos(), QPointF(0, 120 * i));
        QCOMPARE(strip->prevItem(), i == 0 ? nullptr : strips.at(i - 1));
        QCOMPARE(strip->nextItem(), i == 4 ? nullptr : strips.at(i + 1));
    }
}

void TestRebuild::linksThePages()
{
    MainWindow window;
    window.loadImageFile(savedPicture(blockPicture(70, 850), u"nine.png"_s));
    for (const int count : {9, 3}) {
        const QList<PreviewItem *> pages = pagesOf(window);
        QCOMPARE(pages.size(), count);
        for (int i = 0; i < count; ++i) {
            QCOMPARE(pages.at(i)->nextPage(), i == count - 1 ? nullptr : pages.at(i + 1));
            QCOMPARE(pages.at(i)->prevPage(), nullptr);
        }
        trigger(window, "twoColsAction");
    }
}

void TestRebuild::sharesPagesByFour_data()
{
    QTest::addColumn<int>("strips");
    QTest::addColumn<int>("twoColumnPages");
    for (int strips = 1; strips <= 9; ++strips) {
        QTest::addRow("%d strips", strips) << strips << (strips + 3) / 4;
    }
}

void TestRebuild::sharesPagesByFour()
{
    QFETCH(int, strips);
    QFETCH(int, twoColumnPages);
    MainWindow window;
    window.loadImageFile(savedPicture(blockPicture(70, strips * 100 - 50), u"some.png"_s));
    QCOMPARE(stripsOf(window).size(), strips);
    QCOMPARE(pagesOf(window).size(), strips);
    trigger(window, "twoColsAction");
    QCOMPARE(pagesOf(window).size(), twoColumnPages);
}

void TestRebuild::numbersThePages()
{
    MainWindow window;
    window.loadImageFile(savedPicture(blockPicture(70, 450), u"five.png"_s));
    for (const int count : {5, 2}) {
        const QList<PreviewItem *> pages = pagesOf(window);
        QCOMPARE(pages.size(), count);
        for (int i = 0; i < count; ++i) {
            QCOMPARE(pages.at(i)->pageNumber(), i);
            QCOMPARE(pages.at(i)->pos(), QPointF(0, i * (100 + 2 * 12 + 32)));
        }
        trigger(window, "twoColsAction");
    }
}

void TestRebuild::stripsKnowTheirPages()
{
    MainWindow window;
    window.loadImageFile(savedPicture(blockPicture(70, 450), u"five.png"_s));
    const QList<PageItem *> strips = stripsOf(window);
    const QList<PreviewItem *> pages = pagesOf(window);
    for (int i = 0; i < 5; ++i) {
        QCOMPARE(strips.at(i)->firstPreview(), pages.at(i));
    }
}

void TestRebuild::setsTheSceneRects()
{
    MainWindow window;
    window.loadImageFile(savedPicture(blockPicture(70, 450), u"five.png"_s));
    QCOMPARE(mainViewOf(window)->scene()->sceneRect(), QRectF(0, 0, 70, 5 * 120));
    QCOMPARE(leftViewOf(window)->scene()->sceneRect(), QRectF(0, 0, 84, 5 * (124 + 32)));
    trigger(window, "twoColsAction");
    QCOMPARE(leftViewOf(window)->scene()->sceneRect(), QRectF(0, 0, 84, 2 * (124 + 32)));
}

void TestRebuild::placesCutsUnlessDisabled()
{
    QImage image(70, 450, QImage::Format_RGB32);
    image.fill(Qt::black);
    QPainter(&image).fillRect(0, 94, 70, 1, Qt::white); // the first search window is 85 to 115
    const QString path = savedPicture(image, u"bright.png"_s);
    MainWindow window;
    window.loadImageFile(path);
    QCOMPARE(stripsOf(window).first()->sourceRect(), QRectF(0, 0, 70, 94));
    window.setAutoPage(false);
    window.loadImageFile(path);
    QCOMPARE(bandTops(window), QList<double>({0, 100, 200, 300, 400}));
}

void TestRebuild::repeatedRebuildPlacesCutsAfresh()
{
    MainWindow window;
    window.loadImageFile(savedPicture(textPicture(140, 1000, 30), u"text.png"_s));
    const QList<double> tops = bandTops(window);
    QVERIFY(tops.at(1) != 200.0);
    window.rebuildDocument();
    QCOMPARE(bandTops(window), tops);
}

void TestRebuild::resetsTheSharedValues()
{
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(savedPicture(blockPicture(70, 450), u"five.png"_s));
    stripsOf(window).first()->moveCut(40);
    trigger(window, "twoColsAction");
    pagePicture(pagesOf(window).first());
    QCOMPARE(minAspect(), 0.5);
    QCOMPARE(columnMaxHeight(), 200.0);
    window.rebuildDocument();
    QCOMPARE(minAspect(), 0.70707071);
    QCOMPARE(columnMaxHeight(), 0.0);
}

void TestRebuild::enablesTheDocumentActions()
{
    MainWindow window;
    window.loadImageFile(savedPicture(blockPicture(10, 100), u"narrow.png"_s));
    for (const QString &name : documentActionNames) {
        QVERIFY2(!window.findChild<QAction *>(name)->isEnabled(), qPrintable(name));
    }
    window.loadImageFile(savedPicture(blockPicture(11, 11), u"small.png"_s));
    for (const QString &name : documentActionNames) {
        QVERIFY2(window.findChild<QAction *>(name)->isEnabled(), qPrintable(name));
    }
}

void TestRebuild::showsTheScrollBarsWithoutADocumentToo()
{
    MainWindow window;
    const QList<QGraphicsView *> views{mainViewOf(window), leftViewOf(window)};
    for (const QGraphicsView *view : views) {
        QCOMPARE(view->horizontalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
        QCOMPARE(view->verticalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
    }
    window.rebuildDocument();
    for (const QGraphicsView *view : views) {
        QCOMPARE(view->horizontalScrollBarPolicy(), Qt::ScrollBarAsNeeded);
        QCOMPARE(view->verticalScrollBarPolicy(), Qt::ScrollBarAsNeeded);
        QVERIFY(view->scene()->items().isEmpty());
    }
}

void TestRebuild::readsTheMargin_data()
{
    QTest::addColumn<QString>("stored");
    QTest::addColumn<double>("percent");
    QTest::newRow("nothing") << QString() << 10.0;
    for (const int percent : {0, 3, 5, 10, 29, 30, 35, 60}) {
        QTest::addRow("%d", percent) << QString::number(percent) << double(percent);
    }
    for (const QString &text : {u"abc"_s, u"7.5"_s, u"5%"_s, u"0x10"_s, u"99999999999"_s, u"2147483648"_s}) {
        QTest::newRow(qPrintable(text)) << text << 0.0;
    }
    QTest::newRow("-2") << u"-2"_s << 4294967294.0;
    QTest::newRow("2147483647") << u"2147483647"_s << 2147483647.0;
}

void TestRebuild::readsTheMargin()
{
    QFETCH(QString, stored);
    QFETCH(double, percent);
    writeConfigValue(configFilePath(), u"marginsc"_s, stored);
    MainWindow window;
    window.loadImageFile(savedPicture(blockPicture(70, 450), u"five.png"_s));
    for (const int count : {5, 2}) {
        const QList<PreviewItem *> pages = pagesOf(window);
        QCOMPARE(pages.size(), count);
        for (const PreviewItem *page : pages) {
            QCOMPARE(percentOf(page, 70), percent);
        }
        trigger(window, "twoColsAction");
    }
}

void TestRebuild::blankStripIsBlankOnScreen()
{
    MainWindow window;
    window.setAutoPage(false);
    window.resize(1000, 800);
    window.show();
    window.loadImageFile(savedPicture(blockPicture(700, 3000), u"blank.png"_s));
    MainView *view = mainViewOf(window);
    PageItem *strip = stripsOf(window).at(3);
    view->centerOn(strip);
    const QRect body = view->mapFromScene(strip->mapRectToScene(strip->bodyRect())).boundingRect();
    const QRect visible = body.adjusted(2, 2, -2, -2) & view->viewport()->rect();
    QVERIFY(visible.width() > 100 && visible.height() > 100);
    QCOMPARE(colorsOf(view->viewport()->grab(visible).toImage()), QSet<QRgb>({qRgb(150, 150, 150)}));
}

void TestRebuild::blankStripIsBlankOnItsPage()
{
    const QImage image = blockPicture(700, 3000);
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(savedPicture(image, u"blank.png"_s));
    QCOMPARE(colorsOf(pagePicture(pagesOf(window).at(3)).copy(0, 0, 840, 1204)), QSet<QRgb>({qRgb(255, 255, 255)}));
    QVERIFY(colorsOf(pagePicture(pagesOf(window).at(2))).size() > 100);

    trigger(window, "twoColsAction");
    const QImage shared = pagePicture(pagesOf(window).first());
    QVERIFY(colorsOf(shared.copy(70, 102, 700, 500)).size() > 100);
    // Two columns of 2000 rows, scaled to 1000: the blank strip is the lower right quarter.
    QCOMPARE(colorsOf(shared.copy(421, 603, 348, 498)), QSet<QRgb>({qRgb(255, 255, 255)}));
}

void TestRebuild::blankStripIsBlankInTheFile()
{
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(savedPicture(blockPicture(700, 3000), u"blank.png"_s));
    QPrinter printer(QPrinter::HighResolution);
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(u"blank.pdf"_s);
    QPainter painter(&printer);
    window.renderDocument(&painter, &printer);
    painter.end();
    const QList<QImage> pictures = pdfPictures(u"blank.pdf"_s, 36);
    QCOMPARE(pictures.size(), 4);
    QCOMPARE(colorsOf(pictures.at(3)), QSet<QRgb>({qRgb(255, 255, 255)}));
    QVERIFY(colorsOf(pictures.at(2)).size() > 100);
}

void TestRebuild::secondOpenReplacesStripsAndPages()
{
    const QImage second = blockPicture(140, 250, 2);
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(savedPicture(blockPicture(70, 450), u"five.png"_s));
    stripsOf(window).first()->moveCut(15);
    window.loadImageFile(savedPicture(second, u"second.png"_s));
    QCOMPARE(bandTops(window), QList<double>({0, 200}));
    QCOMPARE(pagesOf(window).size(), 2);
    QCOMPARE(mainViewOf(window)->scene()->sceneRect(), QRectF(0, 0, 140, 440));
    QCOMPARE(leftViewOf(window)->scene()->sceneRect(), QRectF(0, 0, 168, 2 * (244 + 32)));
    QCOMPARE(firstDifference(shownPicture(window, second.size()), second), QString());
}

void TestRebuild::secondOpenKeepsTheLayout()
{
    MainWindow window;
    window.loadImageFile(savedPicture(blockPicture(70, 850), u"nine.png"_s));
    trigger(window, "twoColsAction");
    const QGraphicsScene *scene = leftViewOf(window)->scene();
    window.loadImageFile(savedPicture(blockPicture(70, 450), u"five.png"_s));
    QCOMPARE(leftViewOf(window)->scene(), scene);
    QCOMPARE(pagesOf(window).size(), 2);
    trigger(window, "twoColsAction");
    QCOMPARE(pagesOf(window).size(), 5);
}

void TestRebuild::secondOpenKeepsPageNumbers()
{
    const QString path = savedPicture(blockPicture(70, 450), u"five.png"_s);
    MainWindow window;
    window.loadImageFile(path);
    QVERIFY(!showPageNumbers());
    trigger(window, "pageNumAction");
    window.loadImageFile(path);
    QVERIFY(showPageNumbers());
    trigger(window, "pageNumAction");
    window.loadImageFile(path);
    QVERIFY(!showPageNumbers());
}

void TestRebuild::secondOpenKeepsTheMargin()
{
    const QString path = savedPicture(blockPicture(70, 450), u"five.png"_s);
    MainWindow window;
    window.loadImageFile(path);
    trigger(window, "increaseMarginAction"); // one column: 15
    trigger(window, "twoColsAction");
    trigger(window, "decreaseMarginAction"); // two columns, the last step: 5
    window.loadImageFile(path);
    QCOMPARE(percentOf(pagesOf(window).first(), 70), 5.0);
    trigger(window, "twoColsAction");
    QCOMPARE(percentOf(pagesOf(window).first(), 70), 5.0);
}

void TestRebuild::secondOpenKeepsTheZoomAndTheSplitter()
{
    MainWindow window;
    window.resize(1000, 700);
    window.show();
    window.loadImageFile(savedPicture(blockPicture(70, 450), u"five.png"_s));
    trigger(window, "zoomOutAction");
    auto *splitter = window.findChild<CustomSplitter *>();
    splitter->setSizes({300, 690});
    const QList<int> sizes = splitter->sizes();
    const double ratio = mainViewOf(window)->fitRatio();
    QVERIFY(ratio != 0.75);
    window.loadImageFile(savedPicture(blockPicture(140, 850), u"other.png"_s));
    QCOMPARE(mainViewOf(window)->fitRatio(), ratio);
    QCOMPARE(splitter->sizes(), sizes);
    QTRY_COMPARE(mainViewOf(window)->transform().m11(), mainViewOf(window)->viewport()->width() * ratio / 140);
}

void TestRebuild::secondOpenKeepsTheCutChoice()
{
    const QString path = savedPicture(textPicture(70, 450, 30), u"text.png"_s);
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(path);
    window.loadImageFile(path);
    QCOMPARE(bandTops(window), QList<double>({0, 100, 200, 300, 400}));
}

QUILLMARCH_TEST_MAIN(TestRebuild)
#include "tst_rebuild.moc"
