#include "app/mainwindow.h"
#include "output/previewitem.h"
#include "page/pageitem.h"
#include "support/imagecomparison.h"
#include "support/pdffacts.h"
#include "support/pictures.h"
#include "support/testmain.h"
#include "support/windowprobe.h"

#include <QDir>
#include <QFile>
#include <QPainter>
#include <QPrinter>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// The sheets that \a window prints for the range \a first to \a last, rendered;
/// all pages if \a first is 0.
QList<QImage> printedSheets(MainWindow &window, int first, int last)
{
    const QString path = QDir::current().absoluteFilePath(u"printed.pdf"_s);
    QFile::remove(path);
    QPrinter printer(QPrinter::HighResolution);
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(path);
    if (first != 0) {
        printer.setFromTo(first, last);
    }
    QPainter painter(&printer);
    window.renderDocument(&painter, &printer);
    painter.end();
    const QList<QImage> pictures = pdfPictures(path, 36);
    return pictures.size() == pdfFacts(path).pages ? pictures : QList<QImage>();
}

} // namespace

class TestRenderDocument : public QObject
{
    Q_OBJECT

private slots:
    void printsSheets_data();
    void printsSheets();
    void printsTheCurrentLayout();
    void fitsThePageAtTheTopLeft_data();
    void fitsThePageAtTheTopLeft();
    void eachPageHasItsOwnScale();
    void restoresTheScale();
    void laterPageOfTwoColumnsCanBeSmaller();
    void emptySceneDrawsNothing();
    void inactivePainterIsHarmless();
};

void TestRenderDocument::printsSheets_data()
{
    QTest::addColumn<int>("strips");
    QTest::addColumn<bool>("twoColumns");
    QTest::addColumn<int>("first");
    QTest::addColumn<int>("last");
    QTest::addColumn<int>("drawn");
    QTest::addColumn<int>("blank"); // blank sheets after the drawn ones
    const auto add = [](int strips, bool twoColumns, int first, int last, int drawn, int blank) {
        QTest::addRow("%d strips in %s, %d to %d", strips, twoColumns ? "two columns" : "one column", first, last)
            << strips << twoColumns << first << last << drawn << blank;
    };
    add(5, false, 0, 0, 5, 0);
    add(5, false, 2, 3, 2, 1);
    add(5, false, 1, 1, 1, 1);
    add(5, false, 1, 4, 4, 1);
    add(5, false, 1, 5, 5, 0);
    add(5, false, 3, 5, 3, 0);
    add(5, false, 5, 5, 1, 0);
    add(5, false, 4, 99, 2, 0);
    add(5, false, 6, 9, 0, 1); // every print job starts with a sheet
    add(1, false, 0, 0, 1, 0);
    add(1, false, 1, 1, 1, 0);
    add(5, true, 0, 0, 2, 0);
    add(9, true, 2, 2, 1, 1);
    add(9, true, 2, 3, 2, 0);
    add(4, true, 0, 0, 1, 0);
}

void TestRenderDocument::printsSheets()
{
    QFETCH(int, strips);
    QFETCH(bool, twoColumns);
    QFETCH(int, first);
    QFETCH(int, last);
    QFETCH(int, drawn);
    QFETCH(int, blank);
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(savedStrips(strips));
    if (twoColumns) {
        trigger(window, "twoColsAction");
    }
    const QList<QImage> all = printedSheets(window, 0, 0);
    const QList<QImage> sheets = printedSheets(window, first, last);
    QCOMPARE(sheets.size(), drawn + blank);
    for (int i = 0; i < sheets.size(); ++i) {
        QCOMPARE(isBlank(sheets.at(i)), i >= drawn);
        if (i < drawn) {
            const QImage &wanted = all.at(std::max(first, 1) - 1 + i);
            QCOMPARE(firstDifference(sheets.at(i), wanted), QString());
        }
    }
}

void TestRenderDocument::printsTheCurrentLayout()
{
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(savedStrips(9));
    QCOMPARE(printedSheets(window, 0, 0).size(), 9);
    trigger(window, "twoColsAction");
    QCOMPARE(printedSheets(window, 0, 0).size(), 3);
    trigger(window, "twoColsAction");
    QCOMPARE(printedSheets(window, 0, 0).size(), 9);
}

void TestRenderDocument::fitsThePageAtTheTopLeft_data()
{
    QTest::addColumn<QSize>("area");
    QTest::addColumn<double>("scale"); // of a page of 84 x 124
    QTest::newRow("wide") << QSize(500, 248) << 2.0;
    QTest::newRow("high") << QSize(252, 1000) << 3.0;
    QTest::newRow("small") << QSize(42, 200) << 0.5;
}

void TestRenderDocument::fitsThePageAtTheTopLeft()
{
    QFETCH(QSize, area);
    QFETCH(double, scale);
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(savedStrips(1));
    QImage actual(area, QImage::Format_RGB32);
    actual.fill(Qt::magenta);
    QImage expected = actual;
    QPrinter printer;
    QPainter painter(&actual);
    window.renderDocument(&painter, &printer);
    painter.end();
    painter.begin(&expected);
    painter.scale(scale, scale);
    pagesOf(window).first()->renderPage(&painter);
    painter.end();
    QCOMPARE(firstDifference(actual, expected), QString());
    QCOMPARE(actual.pixel(area.width() - 1, area.height() - 1), QColor(Qt::magenta).rgb());
}

void TestRenderDocument::eachPageHasItsOwnScale()
{
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(savedStrips(3));
    PreviewItem *second = pagesOf(window).at(1);
    second->setMargins(QRectF(7, 12, 91, 136)); // twice as wide and as high
    QCOMPARE(second->boundingRect(), QRectF(0, 0, 168, 248));
    QImage actual(840, 1240, QImage::Format_RGB32);
    actual.fill(Qt::magenta);
    QImage expected = actual;
    QPrinter printer;
    printer.setFromTo(2, 2);
    QPainter painter(&actual);
    window.renderDocument(&painter, &printer);
    painter.end();
    painter.begin(&expected);
    painter.scale(10, 10); // undoes the scale of the first page
    painter.scale(0.1, 0.1);
    painter.scale(5, 5);
    second->renderPage(&painter);
    painter.end();
    QCOMPARE(firstDifference(actual, expected), QString());
}

void TestRenderDocument::restoresTheScale()
{
    MainWindow window;
    window.loadImageFile(savedStrips(5));
    QImage image(840, 1240, QImage::Format_RGB32);
    QPrinter printer;
    QPainter painter(&image);
    window.renderDocument(&painter, &printer);
    QVERIFY(qFuzzyCompare(painter.transform().m11(), 1.0));
    QVERIFY(qFuzzyCompare(painter.transform().m22(), 1.0));
    QCOMPARE(painter.transform().dx(), 0.0);
    QCOMPARE(painter.transform().dy(), 0.0);
}

void TestRenderDocument::laterPageOfTwoColumnsCanBeSmaller()
{
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(savedStrips(8));
    trigger(window, "twoColsAction");
    stripsOf(window).at(5)->moveCut(30); // the left column of the second page: 230
    resetColumnMaxHeight();
    const QList<QImage> first = printedSheets(window, 0, 0);
    QCOMPARE(columnMaxHeight(), 230.0);
    const QList<QImage> second = printedSheets(window, 0, 0);
    QCOMPARE(first.size(), 2);
    QVERIFY(!firstDifference(first.at(0), second.at(0)).isEmpty());
    QCOMPARE(firstDifference(first.at(1), second.at(1)), QString());
}

void TestRenderDocument::emptySceneDrawsNothing()
{
    MainWindow window;
    QImage image(100, 100, QImage::Format_RGB32);
    image.fill(Qt::magenta);
    const QImage before = image;
    QPrinter printer;
    QPainter painter(&image);
    window.renderDocument(&painter, &printer);
    painter.end();
    QCOMPARE(firstDifference(image, before), QString());
}

void TestRenderDocument::inactivePainterIsHarmless()
{
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(savedStrips(5));
    const QList<PreviewItem *> pages = pagesOf(window);
    QPrinter printer;
    QPainter painter;
    for (const char *layout : {"one column", "two columns"}) {
        window.renderDocument(&painter, &printer);
        QVERIFY2(!painter.isActive(), layout);
        trigger(window, "twoColsAction");
    }
    QCOMPARE(pagesOf(window), pages);
    QCOMPARE(printedSheets(window, 0, 0).size(), 5); // the pages still draw
}

QUILLMARCH_TEST_MAIN(TestRenderDocument)
#include "tst_renderdocument.moc"
