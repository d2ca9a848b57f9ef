#include "page/samples.h"
#include "pixels/rowviews.h"
#include "support/testmain.h"

#include <memory>

namespace {

constexpr QSize sourceSize(37, 29); // odd, so that rows of narrow formats are padded

struct NamedRect
{
    const char *name;
    QRect rect;
};

const QList<NamedRect> touchingRects{
    {"whole", QRect(0, 0, 37, 29)},          {"inside", QRect(4, 5, 20, 11)},
    {"odd left", QRect(3, 5, 21, 11)},       {"full rows", QRect(0, 7, 37, 9)},
    {"one pixel", QRect(36, 28, 1, 1)},      {"first column", QRect(0, 0, 1, 29)},
    {"over the left", QRect(-6, 3, 20, 8)},  {"over the top", QRect(2, -7, 20, 12)},
    {"over the right", QRect(30, 3, 20, 8)}, {"over the bottom", QRect(2, 25, 20, 40)},
    {"over a corner", QRect(-3, -4, 9, 9)},  {"over all edges", QRect(-3, -4, 90, 90)},
};

const QList<NamedRect> emptyRects{
    {"above", QRect(0, -10, 37, 10)},         {"below", QRect(0, 29, 37, 10)},
    {"left of it", QRect(-5, 0, 5, 29)},      {"right of it", QRect(37, 0, 5, 29)},
    {"far below", QRect(0, 5000, 37, 10)},    {"null", QRect()},
    {"no width", QRect(5, 5, 0, 3)},          {"no height", QRect(5, 5, 3, 0)},
    {"negative width", QRect(20, 5, -10, 5)}, {"negative height", QRect(5, 20, 5, -10)},
};

} // namespace

class TestRowViews : public QObject
{
    Q_OBJECT

private slots:
    void equalsTheCopy_data();
    void equalsTheCopy();
    void isNullWhereNothingIsCovered_data();
    void isNullWhereNothingIsCovered();
    void keepsColorsOfAPalette_data();
    void keepsColorsOfAPalette();
    void rowsViewReadsInPlace_data();
    void rowsViewReadsInPlace();
    void outlivesTheSource_data();
    void outlivesTheSource();
    void writingIntoAViewLeavesTheSource();
};

void TestRowViews::equalsTheCopy_data()
{
    QTest::addColumn<QImage::Format>("format");
    QTest::addColumn<QRect>("rect");
    for (const QImage::Format format : directFormats() + QList{QImage::Format_Mono, QImage::Format_MonoLSB}) {
        for (const auto &[name, rect] : touchingRects) {
            QTest::addRow("%s, %s", formatName(format), name) << format << rect;
        }
    }
}

void TestRowViews::equalsTheCopy()
{
    QFETCH(QImage::Format, format);
    QFETCH(QRect, rect);
    const QImage image = noiseImage(sourceSize, format, 11);
    const QImage view = rowsView(image, rect);
    QCOMPARE(view.format(), format);
    QCOMPARE(firstDifference(view, image.copy(rect & image.rect())), QString());
}

void TestRowViews::isNullWhereNothingIsCovered_data()
{
    QTest::addColumn<QImage::Format>("format");
    QTest::addColumn<QRect>("rect");
    for (const QImage::Format format : {QImage::Format_RGB32, QImage::Format_ARGB32, QImage::Format_Grayscale8,
                                        QImage::Format_RGB888, QImage::Format_Mono, QImage::Format_Indexed8}) {
        for (const auto &[name, rect] : emptyRects) {
            QTest::addRow("%s, %s", formatName(format), name) << format << rect;
        }
    }
}

void TestRowViews::isNullWhereNothingIsCovered()
{
    QFETCH(QImage::Format, format);
    QFETCH(QRect, rect);
    const QImage image = noiseImage(sourceSize, format, 13);
    QVERIFY(rowsView(image, rect).isNull());
    QVERIFY(rowsView(QImage(), rect).isNull());
}

void TestRowViews::keepsColorsOfAPalette_data()
{
    QTest::addColumn<bool>("opaque");
    QTest::addColumn<QRect>("rect");
    for (const auto &[name, rect] : touchingRects) {
        QTest::addRow("opaque, %s", name) << true << rect;
        QTest::addRow("with alpha, %s", name) << false << rect;
    }
}

void TestRowViews::keepsColorsOfAPalette()
{
    QFETCH(bool, opaque);
    QFETCH(QRect, rect);
    const QImage image = paletteImage(sourceSize, opaque, 14);
    const QImage rows = rowsView(image, rect);
    QCOMPARE(rows.format(), QImage::Format_Indexed8);
    QCOMPARE(rows.colorTable(), image.colorTable());
    QCOMPARE(firstDifference(rows, image.copy(rect & image.rect())), QString());
}

void TestRowViews::rowsViewReadsInPlace_data()
{
    QTest::addColumn<QImage::Format>("format");
    for (const QImage::Format format : directFormats()) {
        QTest::newRow(formatName(format)) << format;
    }
    QTest::newRow("Format_Indexed8") << QImage::Format_Indexed8;
}

void TestRowViews::rowsViewReadsInPlace()
{
    QFETCH(QImage::Format, format);
    const QImage image = noiseImage(sourceSize, format, 17);
    for (const auto &[name, rect] : touchingRects) {
        const QRect part = rect & image.rect();
        const QImage view = rowsView(image, rect);
        QCOMPARE(view.format(), format);
        QCOMPARE(view.constBits(), image.constScanLine(part.top()) + qsizetype(part.left()) * (image.depth() / 8));
        QVERIFY2(firstDifference(view, image.copy(part)).isEmpty(), name);
    }
}

void TestRowViews::outlivesTheSource_data()
{
    QTest::addColumn<QImage::Format>("format");
    QTest::newRow("shared") << QImage::Format_RGB32;
    QTest::newRow("shared with alpha") << QImage::Format_ARGB32_Premultiplied;
    QTest::newRow("three bytes") << QImage::Format_RGB888;
    QTest::newRow("palette") << QImage::Format_Indexed8;
}

void TestRowViews::outlivesTheSource()
{
    QFETCH(QImage::Format, format);
    const QRect rect(3, 5, 30, 20);
    QImage view;
    QImage viewOfView;
    QImage expected;
    {
        auto image = std::make_unique<QImage>(noiseImage(sourceSize, format, 18));
        view = rowsView(*image, rect);
        viewOfView = rowsView(view, QRect(2, 2, 10, 10));
        expected = image->copy(rect);
    }
    // Whoever gets the memory of a source that went away overwrites it.
    QList<QImage> others;
    for (int i = 0; i < 20; ++i) {
        others.append(noiseImage(sourceSize, format, quint32(100 + i)));
    }
    QCOMPARE(firstDifference(view, expected), QString());
    view = QImage();
    QCOMPARE(firstDifference(viewOfView, expected.copy(2, 2, 10, 10)), QString());
}

void TestRowViews::writingIntoAViewLeavesTheSource()
{
    const QImage image = noiseImage(sourceSize, QImage::Format_RGB32, 19);
    const QImage before = image.copy();
    for (const auto &[name, rect] : touchingRects) {
        QImage view = rowsView(image, rect);
        view.fill(Qt::green);
        QVERIFY2(firstDifference(image, before).isEmpty(), name);
    }
}

QUILLMARCH_TEST_MAIN(TestRowViews)
#include "tst_rowviews.moc"
