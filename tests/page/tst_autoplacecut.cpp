#include "app/mainwindow.h"
#include "page/stripdocument.h"
#include "support/plainbrightestrow.h"
#include "support/testmain.h"
#include "support/windowprobe.h"
#include "ui/mainview.h"

#include <QGraphicsRectItem>

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

/// A dark image with the given bright rows.
QImage darkImage(QSize size, const QList<int> &brightRows)
{
    QImage image = plainPicture(size.width(), size.height(), QColor(30, 30, 30));
    for (const int y : brightRows) {
        for (int x = 0; x < size.width(); ++x) {
            image.setPixel(x, y, qRgb(250, 240, 230));
        }
    }
    return image;
}

QImage whiteImage(QSize size)
{
    return plainPicture(size.width(), size.height(), Qt::white);
}

struct Document : StripDocument
{
    Document(const QImage &image, const QList<QRectF> &bands)
        : StripDocument(keptPixmap(image), bands)
    {
    }

    double upperHeight() const { return upper()->bodyRect().height(); }

    void placeAll()
    {
        for (PageItem *strip : std::as_const(strips)) {
            strip->autoPlaceCut();
        }
    }
};

/// The strip height at which half the search window is exactly \a half, a small
/// number; 0 if there is none.
double heightOfHalfWindow(double half)
{
    double height = half / 0.15 * (1 - 1e-13);
    for (int step = 0; step < 5000; ++step) {
        if (std::equal_to<>()(0.5 * (0.3 * height), half)) {
            return height;
        }
        height = std::nextafter(height, 1.0);
    }
    return 0.0;
}

/// A window that loads images from a file.
class Window
{
public:
    void load(const QImage &image) { window.loadImageFile(savedPicture(image, u"image.png"_s)); }
    QGraphicsScene *scene() const { return mainViewOf(window)->scene(); }
    PageItem *first() const { return dynamic_cast<PageItem *>(scene()->itemAt(QPointF(10, 10), QTransform())); }

    MainWindow window;
};

/// The initial bands of a document.
QList<QRectF> documentBands(const QImage &image)
{
    const double pageHeight = image.width() / 0.7;
    QList<QRectF> bands;
    for (int i = 0; i < image.height() / int(pageHeight) + 1; ++i) {
        bands.append(QRectF(0, int(i * pageHeight), image.width(), int(pageHeight)));
    }
    return bands;
}

} // namespace

class TestAutoPlaceCut : public QObject
{
    Q_OBJECT

private slots:
    void movesTheCutToTheBrightestRow_data();
    void movesTheCutToTheBrightestRow();
    void placesLikeTheOracle_data();
    void placesLikeTheOracle();
    void searchesTheWholeWindow_data();
    void searchesTheWholeWindow();
    void takesTheTopmostRowOfAWhiteImage();
    void usesTheChangedBandOfThePreviousStrip();
    void doesNotMoveTheLastStrip();
    void countsRowsOfAWindowThatReachesBelow();
    void movesUpByHalfTheWindowBelowTheImage();
    void togglesBetweenTwoPlaces();
    void undoesTheShiftAfterADrag();
    void searchesAgainAfterATinyShift_data();
    void searchesAgainAfterATinyShift();
    void searchesAgainAfterAShiftOfTheTolerance();
    void findsRowsOfTheGivenImage();
    void windowPlacesCutsOnLoading_data();
    void windowPlacesCutsOnLoading();
    void windowTogglesAndResetsOnLoading();
    void windowKeepsRegularCutsIfConfigured();
    void windowWithOneStripOrNone();
    void windowNeedsAStripAtTheStart();
    void sceneFindsHandlesAtTheirPosition_data();
    void sceneFindsHandlesAtTheirPosition();
};

void TestAutoPlaceCut::movesTheCutToTheBrightestRow_data()
{
    QTest::addColumn<int>("row");
    for (const int row : {850, 851, 949, 999, 1000, 1001, 1040, 1149}) {
        QTest::addRow("%d", row) << row;
    }
}

void TestAutoPlaceCut::movesTheCutToTheBrightestRow()
{
    QFETCH(int, row);
    Document document(darkImage({70, 2000}, {row}), equalBands(2, 70, 1000));
    document.upper()->autoPlaceCut();
    QCOMPARE(document.upper()->sourceRect(), QRectF(0, 0, 70, row));
    QCOMPARE(document.strips.last()->sourceRect(), QRectF(0, row, 70, 2000 - row));
}

void TestAutoPlaceCut::placesLikeTheOracle_data()
{
    QTest::addColumn<QImage>("image");
    QTest::addColumn<double>("height");
    for (const int width : {21, 70, 133, 257}) {
        const QSize size(width, 10 * width);
        for (const double height : {width / 0.7, std::floor(width / 0.7), width * 2.345}) {
            QTest::addRow("text %d by %g", width, height) << randomTextPicture(size, quint32(width)) << height;
            QTest::addRow("noise %d by %g", width, height) << noisePicture(size, QImage::Format_RGB32, 5) << height;
            QTest::addRow("noise with alpha %d by %g", width, height)
                << noisePicture(size, QImage::Format_ARGB32, 6) << height;
            QTest::addRow("gray text %d by %g", width, height)
                << randomTextPicture(size, quint32(width)).convertToFormat(QImage::Format_Grayscale8) << height;
            QTest::addRow("dark %d by %g", width, height) << darkImage(size, {}) << height;
            QTest::addRow("white %d by %g", width, height) << whiteImage(size) << height;
        }
    }
}

void TestAutoPlaceCut::placesLikeTheOracle()
{
    QFETCH(QImage, image);
    QFETCH(double, height);
    const QList<QRectF> bands = equalBands(int(image.height() / height) + 1, image.width(), height);
    Document document(image, bands);
    PlainChain plain(keptPixmap(image), bands);
    for (int run = 0; run < 4; ++run) {
        document.placeAll();
        plain.autoPlaceAll();
        QCOMPARE(firstDifference(document.upper(), plain), QString());
    }
}

void TestAutoPlaceCut::searchesTheWholeWindow_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<double>("height");
    // The search window of a strip 1001.3 high is 850 to 1152, rounded to whole rows.
    QTest::newRow("above the window") << 850 << 1001.3 - 150.195;
    QTest::newRow("first row") << 851 << 1001.3 - 150.195;
    QTest::newRow("second row") << 852 << 1001.3 - 150.195 + 1;
    QTest::newRow("last row") << 1151 << 1001.3 - 150.195 + 300;
    QTest::newRow("below the window") << 1152 << 1001.3 - 150.195;
}

void TestAutoPlaceCut::searchesTheWholeWindow()
{
    QFETCH(int, row);
    QFETCH(double, height);
    Document document(darkImage({20, 2100}, {row}), equalBands(2, 20, 1001.3));
    document.upper()->autoPlaceCut();
    QVERIFY(qAbs(document.upperHeight() - height) < 1e-9);
}

void TestAutoPlaceCut::takesTheTopmostRowOfAWhiteImage()
{
    Document document(whiteImage({70, 3000}), equalBands(3, 70, 1000));
    document.upper()->autoPlaceCut();
    QCOMPARE(document.upper()->sourceRect(), QRectF(0, 0, 70, 850));
    QCOMPARE(document.strips.at(1)->sourceRect(), QRectF(0, 850, 70, 1150));
    QCOMPARE(document.strips.at(2)->sourceRect(), QRectF(0, 2000, 70, 1000));
}

void TestAutoPlaceCut::usesTheChangedBandOfThePreviousStrip()
{
    // The second search window is 0.3 of 1150 rows, not of 1000.
    Document document(whiteImage({70, 3000}), equalBands(3, 70, 1000));
    document.placeAll();
    QCOMPARE(document.strips.at(1)->sourceRect(), QRectF(0, 850, 70, 1150 - 172.5));
    QCOMPARE(document.strips.at(2)->sourceRect(), QRectF(0, 1827.5, 70, 1172.5));
    QCOMPARE(document.strips.at(1)->pos(), QPointF(0, 870));
    QCOMPARE(document.strips.at(2)->pos(), QPointF(0, 1867.5));
}

void TestAutoPlaceCut::doesNotMoveTheLastStrip()
{
    Document document(whiteImage({70, 2000}), equalBands(2, 70, 1000));
    document.strips.last()->autoPlaceCut();
    QCOMPARE(document.strips.last()->sourceRect(), QRectF(0, 1000, 70, 1000));
    QCOMPARE(document.upper()->sourceRect(), QRectF(0, 0, 70, 1000));
    QCOMPARE(minAspect(), 0.70707071);
}

void TestAutoPlaceCut::countsRowsOfAWindowThatReachesBelow()
{
    Document document(darkImage({70, 1045}, {1040}), equalBands(2, 70, 1000));
    document.upper()->autoPlaceCut();
    QCOMPARE(document.upperHeight(), 1040.0);
}

void TestAutoPlaceCut::movesUpByHalfTheWindowBelowTheImage()
{
    Document document(whiteImage({70, 850}), equalBands(2, 70, 1000));
    document.upper()->autoPlaceCut();
    QCOMPARE(document.upperHeight(), 850.0);
}

void TestAutoPlaceCut::togglesBetweenTwoPlaces()
{
    Document document(darkImage({70, 2000}, {1040}), equalBands(2, 70, 1000));
    document.upper()->autoPlaceCut();
    QCOMPARE(document.upperHeight(), 1040.0);
    for (int run = 0; run < 3; ++run) {
        // With this band, a search would find another row.
        document.upper()->setSourceRect(QRectF(0, 300, 70, 800));
        document.upper()->autoPlaceCut();
        QCOMPARE(document.upperHeight(), 1000.0);
        QCOMPARE(document.strips.last()->sourceRect(), QRectF(0, 1000, 70, 1000));
        document.upper()->setSourceRect(QRectF(0, 100, 70, 200));
        document.upper()->autoPlaceCut();
        QCOMPARE(document.upperHeight(), 1040.0);
        QCOMPARE(document.strips.last()->sourceRect(), QRectF(0, 1040, 70, 960));
    }
}

void TestAutoPlaceCut::undoesTheShiftAfterADrag()
{
    Document document(darkImage({70, 2000}, {1040}), equalBands(2, 70, 1000));
    document.upper()->autoPlaceCut();
    document.upper()->moveCut(-333);
    document.upper()->autoPlaceCut();
    QCOMPARE(document.upperHeight(), 667.0);
    document.upper()->moveCut(100);
    document.upper()->autoPlaceCut();
    QCOMPARE(document.upperHeight(), 807.0);
}

void TestAutoPlaceCut::searchesAgainAfterATinyShift_data()
{
    QTest::addColumn<double>("shift");
    QTest::addColumn<bool>("takenBack");
    QTest::newRow("none") << 0.0 << false;
    QTest::newRow("0.0099999") << 0.0099999 << false;
    QTest::newRow("-0.0099999") << -0.0099999 << false;
    QTest::newRow("0.0100001") << 0.0100001 << true;
    QTest::newRow("-0.0100001") << -0.0100001 << true;
    QTest::newRow("0.02") << 0.02 << true;
}

void TestAutoPlaceCut::searchesAgainAfterATinyShift()
{
    QFETCH(double, shift);
    QFETCH(bool, takenBack);
    // The search window starts at row 849 or 850; its row 150 is the bright one.
    const double height = (150 - shift) / 0.15;
    const int bright = int(std::floor(height - 0.15 * height)) + 150;
    Document document(darkImage({20, 2500}, {bright, 1600}), {QRectF(0, 0, 20, height), QRectF(0, height, 20, 1400)});
    document.upper()->autoPlaceCut();
    QVERIFY(qAbs(document.upperHeight() - (height + shift)) < 1e-9);

    // The bright row of this band is 1600, far from the cut.
    document.upper()->setSourceRect(QRectF(0, 500, 20, 1000));
    document.upper()->autoPlaceCut();
    const double expected = takenBack ? height : height + shift + 100;
    QVERIFY2(qAbs(document.upperHeight() - expected) < 1e-9, QByteArray::number(document.upperHeight(), 'g', 17));
}

void TestAutoPlaceCut::searchesAgainAfterAShiftOfTheTolerance()
{
    // Only a strip lower than one row can move by exactly the tolerance.
    const double height = heightOfHalfWindow(0.01);
    QVERIFY(height > 0.0);
    Document document(darkImage({20, 2500}, {1600}), {QRectF(0, 1, 20, height), QRectF(0, 2, 20, 1400)});
    document.upper()->autoPlaceCut();
    QVERIFY(qAbs(document.upperHeight() - (height - 0.01)) < 1e-15);

    document.upper()->setSourceRect(QRectF(0, 500, 20, 1000));
    document.upper()->autoPlaceCut();
    QVERIFY(qAbs(document.upperHeight() - (height - 0.01 + 100)) < 1e-9);
}

void TestAutoPlaceCut::findsRowsOfTheGivenImage()
{
    Document document(darkImage({20, 2000}, {7}), equalBands(2, 20, 1000));
    QCOMPARE(document.upper()->findBrightestRow(darkImage({20, 100}, {42, 43})), 42);
    QCOMPARE(document.upper()->findBrightestRow(darkImage({20, 100}, {})), 0);
    QCOMPARE(document.upper()->findBrightestRow(QImage()), 0);
    const QImage text = randomTextPicture({333, 500}, 9);
    QCOMPARE(document.upper()->findBrightestRow(text), plainBrightestRow(text));
    QCOMPARE(document.upperHeight(), 1000.0);
}

void TestAutoPlaceCut::windowPlacesCutsOnLoading_data()
{
    QTest::addColumn<QImage>("image");
    QTest::newRow("text") << randomTextPicture({210, 6000}, 1);
    QTest::newRow("exact multiple") << randomTextPicture({70, 1000}, 2);
    QTest::newRow("white") << whiteImage({133, 2500});
    QTest::newRow("gray") << randomTextPicture({140, 3000}, 3).convertToFormat(QImage::Format_Grayscale8);
    QTest::newRow("with alpha") << noisePicture({90, 2000}, QImage::Format_ARGB32, 4);
    QTest::newRow("strips beyond the image") << randomTextPicture({20, 28 * 300}, 5);
}

void TestAutoPlaceCut::windowPlacesCutsOnLoading()
{
    QFETCH(QImage, image);
    Window window;
    window.load(image);
    PlainChain plain(keptPixmap(image), documentBands(image));
    plain.autoPlaceAll();
    QVERIFY(window.first() != nullptr);
    QCOMPARE(firstDifference(window.first(), plain), QString());
}

void TestAutoPlaceCut::windowTogglesAndResetsOnLoading()
{
    const QImage image = randomTextPicture({210, 3000}, 6);
    PlainChain plain(keptPixmap(image), documentBands(image));
    Window window;
    window.load(image);
    plain.autoPlaceAll();
    const PlainChain placed = plain;
    for (int run = 0; run < 4; ++run) {
        window.window.onAutoCutClicked();
        plain.autoPlaceAll();
        QCOMPARE(firstDifference(window.first(), plain), QString());
    }
    window.window.onAutoCutClicked(); // undone, but a rebuild places them again
    window.window.rebuildDocument();
    QCOMPARE(firstDifference(window.first(), placed), QString());
}

void TestAutoPlaceCut::windowKeepsRegularCutsIfConfigured()
{
    const QImage image = randomTextPicture({210, 3000}, 7);
    PlainChain plain(keptPixmap(image), documentBands(image));
    for (PlainStrip &strip : plain.strips) {
        strip.drag = QRectF();
    }
    Window window;
    window.window.setAutoPage(false);
    window.load(image);
    QCOMPARE(firstDifference(window.first(), plain), QString());
    window.window.onAutoCutClicked();
    plain.autoPlaceAll();
    QCOMPARE(firstDifference(window.first(), plain), QString());
}

void TestAutoPlaceCut::windowWithOneStripOrNone()
{
    Window window;
    window.window.onAutoCutClicked();
    QVERIFY(window.scene()->items().isEmpty());

    window.load(whiteImage({210, 200}));
    QCOMPARE(window.scene()->items().size(), 1);
    window.window.onAutoCutClicked();
    QCOMPARE(window.first()->sourceRect(), QRectF(0, 0, 210, 300));
    QCOMPARE(minAspect(), 0.70707071);
}

void TestAutoPlaceCut::windowNeedsAStripAtTheStart()
{
    Window window;
    window.window.setAutoPage(false);
    window.load(whiteImage({210, 1000}));
    PageItem *first = window.first();
    QGraphicsRectItem *cover = window.scene()->addRect(0, 0, 20, 20);
    cover->setZValue(1);
    window.window.onAutoCutClicked();
    QCOMPARE(first->sourceRect(), QRectF(0, 0, 210, 300));
    delete cover;
    window.window.onAutoCutClicked();
    QCOMPARE(first->sourceRect(), QRectF(0, 0, 210, 255));
}

void TestAutoPlaceCut::sceneFindsHandlesAtTheirPosition_data()
{
    QTest::addColumn<QImage>("image");
    // With some of these counts, moved cuts cross the edges of the index of
    // the scene.
    for (const int count : {2, 3, 4, 7, 8, 9, 13, 70}) {
        const QSize size(140, count * 200 - 1);
        QList<int> rows;
        for (int i = 1; i < count; ++i) {
            rows.append(i * 200 + 29);
        }
        QTest::addRow("%d strips, cuts move down", count) << darkImage(size, rows);
        QTest::addRow("%d strips, cuts move up", count) << whiteImage(size);
        QTest::addRow("%d strips of text", count) << randomTextPicture(size, 8);
    }
}

void TestAutoPlaceCut::sceneFindsHandlesAtTheirPosition()
{
    QFETCH(QImage, image);
    Window window;
    window.load(image);
    const int count = image.height() / 200 + 1;
    for (int run = 0; run < 4; ++run) {
        for (const bool later : {false, true}) {
            if (later) {
                QCoreApplication::processEvents();
            }
            QCOMPARE(window.scene()->items().size(), count);
            for (PageItem *strip = window.first(); strip != nullptr; strip = strip->nextItem()) {
                const QRectF place = strip->sceneBoundingRect();
                for (const double y : {place.top() + 0.5, place.bottom() - 19.5, place.bottom() - 0.5}) {
                    QCOMPARE(window.scene()->itemAt(QPointF(70, y), QTransform()), strip);
                }
            }
        }
        window.window.onAutoCutClicked();
    }
}

QUILLMARCH_TEST_MAIN(TestAutoPlaceCut)
#include "tst_autoplacecut.moc"
