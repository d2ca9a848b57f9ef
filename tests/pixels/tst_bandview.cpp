#include "page/samples.h"
#include "pixels/bandview.h"
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

class TestBandView : public QObject
{
    Q_OBJECT

private slots:
    void equalsTheCopy_data();
    void equalsTheCopy();
    void isNullWhereNothingIsCovered_data();
    void isNullWhereNothingIsCovered();
    void keepsColoursOfAPalette_data();
    void keepsColoursOfAPalette();
    void copyFormatDoesNotDependOnPixels_data();
    void copyFormatDoesNotDependOnPixels();
    void readsRowsOfThePixmapInPlace_data();
    void readsRowsOfThePixmapInPlace();
    void rowsViewReadsInPlace_data();
    void rowsViewReadsInPlace();
    void outlivesTheSource_data();
    void outlivesTheSource();
    void writingIntoAViewLeavesTheSource();
};

void TestBandView::equalsTheCopy_data()
{
    QTest::addColumn<QImage::Format>("format");
    QTest::addColumn<QRect>("rect");
    for (const QImage::Format format : directFormats() + QList{QImage::Format_Mono, QImage::Format_MonoLSB}) {
        for (const auto &[name, rect] : touchingRects) {
            QTest::addRow("%s, %s", formatName(format), name) << format << rect;
        }
    }
}

void TestBandView::equalsTheCopy()
{
    QFETCH(QImage::Format, format);
    QFETCH(QRect, rect);
    const QPixmap pixmap = keptPixmap(noiseImage(sourceSize, format, 11));
    QCOMPARE(pixmap.toImage().format(), format);

    const QImage expected = pixmap.copy(rect).toImage();
    const QImage view = bandView(pixmap, rect);
    QCOMPARE(view.format(), expected.format());
    QCOMPARE(firstDifference(view, expected), QString());
}

void TestBandView::isNullWhereNothingIsCovered_data()
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

void TestBandView::isNullWhereNothingIsCovered()
{
    QFETCH(QImage::Format, format);
    QFETCH(QRect, rect);
    const QImage image = noiseImage(sourceSize, format, 13);
    QVERIFY(rowsView(image, rect).isNull());
    QVERIFY(bandView(keptPixmap(image), rect).isNull());
    QVERIFY(rowsView(QImage(), rect).isNull());
    QVERIFY(bandView(QPixmap(), rect).isNull());
}

void TestBandView::keepsColoursOfAPalette_data()
{
    QTest::addColumn<bool>("opaque");
    QTest::addColumn<QRect>("rect");
    for (const auto &[name, rect] : touchingRects) {
        QTest::addRow("opaque, %s", name) << true << rect;
        QTest::addRow("with alpha, %s", name) << false << rect;
    }
}

void TestBandView::keepsColoursOfAPalette()
{
    QFETCH(bool, opaque);
    QFETCH(QRect, rect);
    const QImage image = paletteImage(sourceSize, opaque, 14);
    const QImage::Format direct = opaque ? QImage::Format_RGB32 : QImage::Format_ARGB32_Premultiplied;

    const QImage view = bandView(keptPixmap(image), rect);
    QCOMPARE(view.format(), direct);
    QCOMPARE(firstDifference(view, image.convertToFormat(direct).copy(rect & image.rect())), QString());

    const QImage rows = rowsView(image, rect);
    QCOMPARE(rows.format(), QImage::Format_Indexed8);
    QCOMPARE(firstDifference(rows, image.copy(rect & image.rect())), QString());
}

void TestBandView::copyFormatDoesNotDependOnPixels_data()
{
    QTest::addColumn<QImage::Format>("format");
    for (const QImage::Format format : directFormats()) {
        QTest::newRow(formatName(format)) << format;
    }
}

void TestBandView::copyFormatDoesNotDependOnPixels()
{
    QFETCH(QImage::Format, format);
    QImage opaque(sourceSize, format);
    opaque.fill(Qt::white);
    for (const QImage &image : {opaque, noiseImage(sourceSize, format, 15)}) {
        const QPixmap pixmap = keptPixmap(image);
        QCOMPARE(copyFormat(pixmap), pixmap.copy(3, 4, 20, 20).toImage().format());
        QCOMPARE(copyFormat(pixmap), pixmap.copy().toImage().format());
    }
}

void TestBandView::readsRowsOfThePixmapInPlace_data()
{
    QTest::addColumn<QImage::Format>("format");
    QTest::addColumn<QRect>("rect");
    for (const QImage::Format format : {QImage::Format_RGB32, QImage::Format_ARGB32_Premultiplied}) {
        for (const auto &[name, rect] : touchingRects) {
            QTest::addRow("%s, %s", formatName(format), name) << format << rect;
        }
    }
}

void TestBandView::readsRowsOfThePixmapInPlace()
{
    QFETCH(QImage::Format, format);
    QFETCH(QRect, rect);
    const QPixmap pixmap = keptPixmap(noiseImage(sourceSize, format, 16));
    const QImage rows = pixmap.toImage();
    const QPoint first = (rect & rows.rect()).topLeft();
    QCOMPARE(bandView(pixmap, rect).constBits(), rows.constScanLine(first.y()) + qsizetype(first.x()) * 4);
}

void TestBandView::rowsViewReadsInPlace_data()
{
    QTest::addColumn<QImage::Format>("format");
    for (const QImage::Format format : directFormats()) {
        QTest::newRow(formatName(format)) << format;
    }
    QTest::newRow("Format_Indexed8") << QImage::Format_Indexed8;
}

void TestBandView::rowsViewReadsInPlace()
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

void TestBandView::outlivesTheSource_data()
{
    QTest::addColumn<QImage::Format>("format");
    QTest::newRow("shared") << QImage::Format_RGB32;
    QTest::newRow("shared with alpha") << QImage::Format_ARGB32_Premultiplied;
    QTest::newRow("converted") << QImage::Format_RGB888;
    QTest::newRow("palette") << QImage::Format_Indexed8;
}

void TestBandView::outlivesTheSource()
{
    QFETCH(QImage::Format, format);
    const QRect rect(3, 5, 30, 20);
    QImage view;
    QImage viewOfView;
    QImage expected;
    {
        auto pixmap = std::make_unique<QPixmap>(keptPixmap(noiseImage(sourceSize, format, 18)));
        view = bandView(*pixmap, rect);
        viewOfView = rowsView(view, QRect(2, 2, 10, 10));
        expected = QImage(view.constBits(), view.width(), view.height(), view.bytesPerLine(), view.format()).copy();
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

void TestBandView::writingIntoAViewLeavesTheSource()
{
    const QImage image = noiseImage(sourceSize, QImage::Format_RGB32, 19);
    const QImage before = image.copy();
    for (const auto &[name, rect] : touchingRects) {
        QImage view = bandView(keptPixmap(image), rect);
        view.fill(Qt::green);
        QVERIFY2(firstDifference(image, before).isEmpty(), name);
    }
}

QUILLMARCH_TEST_MAIN(TestBandView)
#include "tst_bandview.moc"
