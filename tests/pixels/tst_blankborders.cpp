#include "pixels/blankborders.h"
#include "pixels/plaintrim.h"
#include "support/documents.h"
#include "support/testmain.h"

#include <QPainter>
#include <QRandomGenerator>

#include <algorithm>
#include <numeric>

using namespace Qt::StringLiterals;

namespace {

QImage grayImage(int width, int height, int level)
{
    QImage image(width, height, QImage::Format_Grayscale8);
    image.fill(QColor(level, level, level));
    return image;
}

void setLevel(QImage &image, int x, int y, int level)
{
    image.scanLine(y)[x] = uchar(level);
}

void fillLevel(QImage &image, const QRect &rect, int level)
{
    for (int y = rect.top(); y <= rect.bottom(); ++y) {
        for (int x = rect.left(); x <= rect.right(); ++x) {
            setLevel(image, x, y, level);
        }
    }
}

QImage imageWith(int width, int height, const QList<QPoint> &ink)
{
    QImage image = grayImage(width, height, 255);
    for (const QPoint &point : ink) {
        setLevel(image, point.x(), point.y(), 0);
    }
    return image;
}

std::optional<QRect> bounds(const QImage &gray)
{
    return contentBounds(GrayScan(gray), inkThreshold(grayHistogram(gray)));
}

QString text(const std::optional<QRect> &rect)
{
    return rect ? u"(%1, %2) to (%3, %4)"_s.arg(rect->left()).arg(rect->top()).arg(rect->right()).arg(rect->bottom())
                : u"nothing"_s;
}

GrayHistogram histogramOf(const QList<std::pair<int, quint32>> &counts)
{
    GrayHistogram histogram{};
    for (const auto &[level, count] : counts) {
        histogram[size_t(level)] = count;
    }
    return histogram;
}

} // namespace

class TestBlankBorders : public QObject
{
    Q_OBJECT

private slots:
    void countsLevels();
    void countsNoPaddingOfRows();
    void findsTheThreshold_data();
    void findsTheThreshold();
    void findsTheBounds_data();
    void findsTheBounds();
    void speckShareFollowsTheLength_data();
    void speckShareFollowsTheLength();
    void thresholdItselfIsInk();
    void agreesWithThePlainTrim_data();
    void agreesWithThePlainTrim();
};

void TestBlankBorders::countsLevels()
{
    QImage image = grayImage(17, 5, 200);
    setLevel(image, 0, 0, 0);
    setLevel(image, 16, 4, 255);
    setLevel(image, 3, 2, 255);
    const GrayHistogram histogram = grayHistogram(image);
    QCOMPARE(histogram[0], 1U);
    QCOMPARE(histogram[200], 82U);
    QCOMPARE(histogram[255], 2U);
    QCOMPARE(std::accumulate(histogram.begin(), histogram.end(), 0U), 85U);
}

void TestBlankBorders::countsNoPaddingOfRows()
{
    for (int width = 1; width <= 9; ++width) {
        const GrayHistogram histogram = grayHistogram(grayImage(width, 3, 7));
        QCOMPARE(histogram[7], quint32(3 * width));
        QCOMPARE(std::accumulate(histogram.begin(), histogram.end(), 0U), quint32(3 * width));
    }
}

void TestBlankBorders::findsTheThreshold_data()
{
    QTest::addColumn<GrayHistogram>("histogram");
    QTest::addColumn<int>("threshold");
    for (const int level : {0, 100, 200, 201, 255}) {
        QTest::addRow("only %d", level) << histogramOf({{level, 1000}}) << 200;
    }
    QTest::newRow("black and white") << histogramOf({{0, 10}, {255, 90}}) << 0; // of many equal ones the lowest
    QTest::newRow("two grays") << histogramOf({{90, 500}, {91, 500}}) << 90;
    QTest::newRow("two and a rare one") << histogramOf({{10, 500}, {20, 500}, {240, 1000}}) << 20;
    QTest::newRow("the rare one is light") << histogramOf({{10, 500}, {230, 500}, {240, 500}}) << 10;
    QTest::newRow("halves of a tie") << histogramOf({{50, 100}, {100, 100}, {150, 100}}) << 50;
    QTest::newRow("no pixels") << GrayHistogram{} << 200;
    QTest::newRow("huge counts") << histogramOf({{0, 4000000000U}, {10, 1}, {255, 4000000000U}}) << 10;
}

void TestBlankBorders::findsTheThreshold()
{
    QFETCH(GrayHistogram, histogram);
    QTEST(inkThreshold(histogram), "threshold");
}

void TestBlankBorders::findsTheBounds_data()
{
    QTest::addColumn<QImage>("image");
    QTest::addColumn<QString>("expected");
    const auto add = [](const char *name, const QImage &image, const std::optional<QRect> &expected) {
        QTest::newRow(name) << image << text(expected);
    };
    const auto between = [](int left, int top, int right, int bottom) {
        return QRect(QPoint(left, top), QPoint(right, bottom));
    };
    QImage block = grayImage(100, 80, 255);
    fillLevel(block, QRect(20, 30, 40, 25), 0);
    add("a block", block, QRect(20, 30, 40, 25));
    add("all of one level, dark", grayImage(50, 40, 0), QRect(0, 0, 50, 40));
    add("all of level 200", grayImage(50, 40, 200), QRect(0, 0, 50, 40));
    add("all of level 201", grayImage(50, 40, 201), std::nullopt);
    add("all white", grayImage(50, 40, 255), std::nullopt);
    QImage dark = grayImage(60, 60, 20);
    fillLevel(dark, QRect(20, 20, 10, 10), 250);
    add("light on dark", dark, QRect(0, 0, 60, 60));
    QImage row = grayImage(60, 60, 255);
    fillLevel(row, QRect(0, 30, 60, 1), 0);
    add("a single row", row, std::nullopt); // no column holds two ink pixels
    QImage column = grayImage(60, 60, 255);
    fillLevel(column, QRect(30, 0, 1, 60), 0);
    add("a single column", column, std::nullopt);
    QImage cross = row;
    fillLevel(cross, QRect(30, 0, 1, 60), 0);
    add("a cross of single lines", cross, std::nullopt);
    QImage twoRows = grayImage(60, 60, 255);
    fillLevel(twoRows, QRect(0, 30, 60, 2), 0);
    add("two rows", twoRows, QRect(0, 30, 60, 2));
    add("four corners of a block", imageWith(50, 50, {{10, 12}, {40, 12}, {10, 45}, {40, 45}}),
        between(10, 12, 40, 45));
    QImage specks = block;
    setLevel(specks, 2, 3, 0);
    setLevel(specks, 97, 70, 0);
    add("specks", specks, QRect(20, 30, 40, 25));
    QImage pair = block;
    setLevel(pair, 2, 3, 0);
    setLevel(pair, 90, 3, 0);
    add("two specks in a row", pair, between(20, 3, 59, 54));
    QImage stack = block;
    setLevel(stack, 2, 3, 0);
    setLevel(stack, 2, 70, 0);
    add("two specks in a column", stack, between(2, 30, 59, 54));
    QImage corner = block;
    fillLevel(corner, QRect(0, 0, 2, 2), 0);
    add("a group in the corner", corner, between(0, 0, 59, 54));
    QImage shared = imageWith(50, 50, {{10, 10}, {12, 40}, {30, 10}, {30, 45}});
    add("a row and a column", shared, std::nullopt);
    add("one pixel", grayImage(1, 1, 0), std::nullopt);
    add("two pixels side by side", grayImage(2, 1, 0), std::nullopt);
    add("two by two", grayImage(2, 2, 0), QRect(0, 0, 2, 2));
    add("content at all edges", imageWith(30, 20, {{0, 0}, {29, 0}, {0, 19}, {29, 19}}), QRect(0, 0, 30, 20));
    add("columns count outside the content rows",
        imageWith(30, 30, {{5, 2}, {5, 28}, {9, 10}, {20, 10}, {9, 14}, {20, 14}}), between(5, 10, 20, 14));
}

void TestBlankBorders::findsTheBounds()
{
    QFETCH(QImage, image);
    QTEST(text(bounds(image)), "expected");
    const int threshold = plainThreshold(image);
    QTEST(text(plainBounds(image, threshold)), "expected");
}

void TestBlankBorders::speckShareFollowsTheLength_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<int>("needed");
    const auto add = [](int length, int needed) { QTest::addRow("%d", length) << length << needed; };
    add(999, 2);
    add(1000, 3);
    add(1999, 3);
    add(2000, 4);
    add(5000, 7);
}

void TestBlankBorders::speckShareFollowsTheLength()
{
    QFETCH(int, length);
    QFETCH(int, needed);
    for (const int ink : {needed - 1, needed}) {
        QImage rows = grayImage(length, 40, 255);
        fillLevel(rows, QRect(100, 20, 50, 10), 0);
        fillLevel(rows, QRect(200, 5, ink, 1), 0); // a line that reaches up, if it counts
        QImage columns = grayImage(40, length, 255);
        fillLevel(columns, QRect(20, 100, 10, 50), 0);
        fillLevel(columns, QRect(5, 200, 1, ink), 0);
        QCOMPARE(bounds(rows)->top(), ink == needed ? 5 : 20);
        QCOMPARE(bounds(columns)->left(), ink == needed ? 5 : 20);
    }
}

void TestBlankBorders::thresholdItselfIsInk()
{
    QImage image = grayImage(40, 40, 120);
    fillLevel(image, QRect(10, 12, 20, 9), 100);
    QCOMPARE(text(contentBounds(GrayScan(image), 99)), text(std::nullopt));
    QCOMPARE(text(contentBounds(GrayScan(image), 100)), text(QRect(10, 12, 20, 9)));
    QCOMPARE(text(contentBounds(GrayScan(image), 119)), text(QRect(10, 12, 20, 9)));
    QCOMPARE(text(contentBounds(GrayScan(image), 120)), text(QRect(0, 0, 40, 40)));
}

void TestBlankBorders::agreesWithThePlainTrim_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<int>("rounds");
    QTest::addRow("tiny") << 5 << 5 << 300;
    QTest::addRow("narrow") << 3 << 40 << 100;
    QTest::addRow("flat") << 40 << 3 << 100;
    QTest::addRow("small") << 37 << 29 << 150;
    QTest::addRow("wide") << 1100 << 50 << 15;
    QTest::addRow("high") << 50 << 2100 << 15;
}

void TestBlankBorders::agreesWithThePlainTrim()
{
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(int, rounds);
    QRandomGenerator random(quint32(width * 10007 + height));
    int found = 0;
    for (int round = 0; round < rounds; ++round) {
        const int paper = random.bounded(150, 256);
        const int ink = random.bounded(0, 200);
        const int noise = random.bounded(0, 30);
        QImage image = grayImage(width, height, paper);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                setLevel(image, x, y, std::max(0, paper - random.bounded(0, noise + 1)));
            }
        }
        const int specks = random.bounded(0, 2 + width * height / 40);
        const QRect inside(random.bounded(0, width), random.bounded(0, height), random.bounded(1, width + 1),
                           random.bounded(1, height + 1));
        const QRect area = inside & image.rect();
        for (int i = 0; i < specks; ++i) {
            setLevel(image, random.bounded(area.left(), area.right() + 1),
                     random.bounded(area.top(), area.bottom() + 1), ink);
        }
        const int threshold = inkThreshold(grayHistogram(image));
        QCOMPARE(threshold, plainThreshold(image));
        const std::optional<QRect> expected = plainBounds(image, threshold);
        QCOMPARE(text(contentBounds(GrayScan(image), threshold)), text(expected));
        found += expected ? 1 : 0;
        for (const int other : {0, 100, 200, 254, 255}) {
            QCOMPARE(text(contentBounds(GrayScan(image), other)), text(plainBounds(image, other)));
        }
        const QImage colors = image.convertToFormat(QImage::Format_RGB32);
        const QImage levels = colors.convertToFormat(QImage::Format_Grayscale8);
        QCOMPARE(text(contentBounds(GrayScan(colors), threshold)), text(plainBounds(levels, threshold)));
    }
    QVERIFY(found > rounds / 10); // so that not only empty answers were compared
}

QUILLMARCH_TEST_MAIN(TestBlankBorders)
#include "tst_blankborders.moc"
