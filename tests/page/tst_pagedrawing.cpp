#include "output/previewitem.h"
#include "page/stripdocument.h"
#include "support/imagecomparison.h"
#include "support/plaindrawing.h"
#include "support/testmain.h"

#include <QGraphicsScene>
#include <QHash>
#include <QPainter>
#include <QStyleOptionGraphicsItem>

#include <algorithm>
#include <cfenv>
#include <functional>
#include <memory>
#include <new>

using namespace Qt::StringLiterals;

namespace {

/// An image to draw on, with a pattern that shows which pixels are unchanged.
///
/// Its memory is aligned to 64 bytes. Deep colors with alpha are converted to
/// 32-bit colors that exceed their alpha by one, and how Qt's vector code draws
/// such a pixel depends on its alignment.
QImage canvas(QSize size)
{
    constexpr std::align_val_t alignment{64};
    static QHash<int, QImage> patterns; // by width
    QImage &pattern = patterns[size.width()];
    if (pattern.size() != size) {
        pattern = noisePicture(size, QImage::Format_RGB32, 3);
    }
    auto *pixels = static_cast<uchar *>(::operator new(size_t(pattern.sizeInBytes()), alignment));
    QImage image(
        pixels, size.width(), size.height(), QImage::Format_ARGB32_Premultiplied,
        [](void *memory) { ::operator delete(memory, alignment); }, pixels);
    std::copy_n(pattern.constBits(), pattern.sizeInBytes(), pixels);
    return image;
}

using Draw = std::function<void(QPainter *)>;

QImage drawn(QSize size, double scale, bool smooth, const Draw &draw)
{
    QImage image = canvas(size);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::SmoothPixmapTransform, smooth);
    painter.scale(scale, scale);
    draw(&painter);
    return image;
}

/// The source of the drawing tests, 60 x 200. Format_Invalid stands for a
/// palette with alpha.
QPixmap drawingSource(QImage::Format format)
{
    constexpr QSize size(60, 200);
    if (format == QImage::Format_Indexed8 || format == QImage::Format_Invalid) {
        return keptPixmap(palettePicture(size, format == QImage::Format_Indexed8, 31));
    }
    return keptPixmap(noisePicture(size, format, 32));
}

void addFormatRows()
{
    QTest::addColumn<QImage::Format>("format");
    for (const QImage::Format format : directFormats()) {
        QTest::newRow(formatName(format)) << format;
    }
    QTest::newRow("Format_Mono") << QImage::Format_Mono;
    QTest::newRow("palette") << QImage::Format_Indexed8;
    QTest::newRow("palette with alpha") << QImage::Format_Invalid;
}

const QList<QRectF> drawnBands{
    QRectF(0, 0, 60, 200), // all
    QRectF(0, 0, 60, 80), // at the top
    QRectF(0, 90, 60, 50), // in the middle
    QRectF(0, 40.4, 60, 70.3), // rounded down
    QRectF(0, 40.5, 60, 70.5), // rounded up
    QRectF(0, 99.75, 60, 33.125), // top and bottom rounded differently
    QRectF(0, 150, 60, 90), // beyond the bottom
    QRectF(0, 150.6, 60, 90.7), // beyond the bottom, with fractions
    QRectF(0, 199, 60, 86), // only one row inside
    QRectF(0, 0, 60, 286), // the image is shorter than the strip
    QRectF(0, -20.3, 60, 60), // beyond the top
};

/// Two strips of 700 x 1000.
struct Pair : StripDocument
{
    Pair()
        : StripDocument(2, {700, 1000})
    {
    }
};

} // namespace

class TestPageDrawing : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void drawsBandsLikeACopy_data();
    void drawsBandsLikeACopy();
    void drawsFittedBandsLikeACopy_data();
    void drawsFittedBandsLikeACopy();
    void drawsFittedBandsAtOneScale();
    void drawsNothingOutsideTheSource_data();
    void drawsNothingOutsideTheSource();
    void survivesDegenerateBands_data();
    void survivesDegenerateBands();
    void keepsThePixelsOfItsSource();
    void paintsTheBandAndLeavesAntialiasingOn();
};

void TestPageDrawing::init()
{
    resetMinAspect();
}

void TestPageDrawing::drawsBandsLikeACopy_data()
{
    addFormatRows();
}

void TestPageDrawing::drawsBandsLikeACopy()
{
    QFETCH(QImage::Format, format);
    const QPixmap source = drawingSource(format);
    int changed = 0;
    for (const QRectF &band : drawnBands) {
        PageItem strip(source, band);
        const QList<QRectF> targets{QRectF(0, 0, band.width(), band.height()), QRectF(7.3, 11.8, 31.5, 80.25)};
        for (const QRectF &target : targets) {
            for (const double scale : {1.0, 0.37, 0.6, 2.3}) {
                for (const bool smooth : {false, true}) {
                    const QSize size(100, 150);
                    const QImage actual =
                        drawn(size, scale, smooth, [&](QPainter *painter) { strip.drawSource(painter, target); });
                    const QImage expected = drawn(
                        size, scale, smooth, [&](QPainter *painter) { plainDrawBand(painter, target, source, band); });
                    changed += expected != canvas(size) ? 1 : 0;
                    const QString difference = firstDifference(actual, expected);
                    QVERIFY2(difference.isEmpty(),
                             qPrintable(u"band at %1 of %2, scale %3: %4"_s.arg(band.y())
                                            .arg(band.height())
                                            .arg(scale)
                                            .arg(difference)));
                }
            }
        }
    }
    QVERIFY(changed > 88); // of 176; a band of a single row may be invisible
}

void TestPageDrawing::drawsFittedBandsLikeACopy_data()
{
    addFormatRows();
}

void TestPageDrawing::drawsFittedBandsLikeACopy()
{
    QFETCH(QImage::Format, format);
    const QPixmap source = drawingSource(format);
    const QRectF target(12, 9, 70, 100);
    int changed = 0;
    for (const QRectF &band : drawnBands) {
        PageItem strip(source, band);
        strip.moveCut(0); // updates the smallest aspect
        const double a = minAspect() * target.height();
        const double b = a * band.height() / band.width();
        const QRectF fitted(target.x() + (target.width() - a) * 0.5, target.y() + (target.height() - b) * 0.5, a, b);
        for (const double scale : {1.0, 0.6, 2.3}) {
            const QSize size(120, 160);
            const QImage actual =
                drawn(size, scale, true, [&](QPainter *painter) { strip.drawSourceFitted(painter, target); });
            const QImage expected =
                drawn(size, scale, true, [&](QPainter *painter) { plainDrawBand(painter, fitted, source, band); });
            changed += expected != canvas(size) ? 1 : 0;
            const QString difference = firstDifference(actual, expected);
            QVERIFY2(difference.isEmpty(), qPrintable(difference));
        }
    }
    QVERIFY(changed > 28); // of 33; a band of a single row may be invisible
}

void TestPageDrawing::drawsFittedBandsAtOneScale()
{
    QImage image(700, 2000, QImage::Format_RGB32);
    image.fill(Qt::red);
    QGraphicsScene scene;
    const QList<PageItem *> strips = addChain(scene, keptPixmap(image), equalBands(2, 700, 1000));
    strips.first()->moveCut(400); // 1400 and 600 high, and the smallest aspect is 0.5

    const auto paintedRect = [](PageItem *strip) {
        QImage page(200, 200, QImage::Format_RGB32);
        page.fill(Qt::white);
        QPainter painter(&page);
        strip->drawSourceFitted(&painter, QRectF(50, 50, 70, 100));
        painter.end();
        QRect painted;
        for (int y = 0; y < page.height(); ++y) {
            for (int x = 0; x < page.width(); ++x) {
                painted |= page.pixel(x, y) == 0xffff0000U ? QRect(x, y, 1, 1) : QRect();
            }
        }
        return painted;
    };
    QCOMPARE(minAspect(), 0.5);
    QCOMPARE(paintedRect(strips.first()), QRect(60, 50, 50, 100));
    // 50 x 42.86 around (85, 100)
    QCOMPARE(paintedRect(strips.last()), QRect(60, 79, 50, 42));
}

void TestPageDrawing::drawsNothingOutsideTheSource_data()
{
    QTest::addColumn<QRectF>("band");
    QTest::newRow("at the bottom edge") << QRectF(0, 200, 60, 85);
    QTest::newRow("far below") << QRectF(0, 5000.7, 60, 85);
    QTest::newRow("above") << QRectF(0, -85, 60, 85);
    QTest::newRow("left") << QRectF(-60, 0, 60, 85);
    QTest::newRow("right") << QRectF(60, 0, 60, 85);
    QTest::newRow("no height") << QRectF(0, 20, 60, 0);
    QTest::newRow("hardly any height") << QRectF(0, 20, 60, 0.3);
    QTest::newRow("negative height") << QRectF(0, 120, 60, -50);
    QTest::newRow("no width") << QRectF(0, 20, 0, 85);
    QTest::newRow("null") << QRectF();
}

void TestPageDrawing::drawsNothingOutsideTheSource()
{
    QFETCH(QRectF, band);
    for (const QImage::Format format : {QImage::Format_RGB32, QImage::Format_ARGB32, QImage::Format_RGB888,
                                        QImage::Format_Grayscale8, QImage::Format_Indexed8, QImage::Format_Mono}) {
        PageItem strip(drawingSource(format), band);
        const QSize size(150, 150);
        const QRectF target(10, 10, 100, 100);
        QCOMPARE(drawn(size, 1.0, true, [&](QPainter *painter) { strip.drawSource(painter, target); }), canvas(size));
        QCOMPARE(drawn(size, 1.0, true, [&](QPainter *painter) { strip.drawSourceFitted(painter, target); }),
                 canvas(size));
    }
    PageItem withoutSource(QPixmap(), QRectF(0, 0, 60, 85));
    QCOMPARE(drawn({150, 150}, 1.0, true,
                   [&](QPainter *painter) {
                       withoutSource.drawSource(painter, {0, 0, 9, 9});
                   }),
             canvas({150, 150}));
}

void TestPageDrawing::survivesDegenerateBands_data()
{
    QTest::addColumn<double>("delta");
    QTest::newRow("upper without height") << -1000.0;
    QTest::newRow("upper below zero") << -1500.0;
    QTest::newRow("lower without height") << 1000.0;
    QTest::newRow("lower below zero") << 1700.0;
    QTest::newRow("lower far below zero") << 1e9;
    QTest::newRow("upper hardly above zero") << -999.9999999;
}

void TestPageDrawing::survivesDegenerateBands()
{
    QFETCH(double, delta);
    Pair pair;
    QGraphicsScene pages;
    pages.addItem(new PreviewItem(pair.upper(), 1));
    pages.addItem(new PreviewItem(pair.lower(), 1));
    auto *columns = new PreviewItem(pair.upper(), 4); // owned by the scene
    columns->addStrip(pair.lower());
    pages.addItem(columns);

    std::feclearexcept(FE_ALL_EXCEPT);
    pair.upper()->moveCut(delta);
    QVERIFY(!std::fetestexcept(FE_DIVBYZERO | FE_INVALID));
    QVERIFY(minAspect() > 0.0);
    QCOMPARE(pair.upper()->bodyRect().height(), 1000 + delta);
    QCOMPARE(pair.lower()->bodyRect().height(), 1000 - delta);

    for (PageItem *strip : std::as_const(pair.strips)) {
        for (const bool fitted : {false, true}) {
            std::feclearexcept(FE_ALL_EXCEPT);
            const QImage page = drawn({50, 50}, 1.0, false, [&](QPainter *painter) {
                fitted ? strip->drawSourceFitted(painter, QRectF(0, 0, 50, 50))
                       : strip->drawSource(painter, QRectF(0, 0, 50, 50));
            });
            QVERIFY(!std::fetestexcept(FE_DIVBYZERO));
            if (strip->sourceRect().height() < 1) {
                QCOMPARE(page, canvas({50, 50}));
            } else if (strip->sourceRect().height() < 10000) {
                QVERIFY(page != canvas({50, 50}));
            }
        }
    }

    QImage image(300, 300, QImage::Format_RGB32);
    QPainter painter(&image);
    pair.scene.render(&painter);
    pages.render(&painter);
    painter.end();

    pair.upper()->autoPlaceCut();
    pair.upper()->autoPlaceCut();
    pair.upper()->moveCut(-delta);
    QVERIFY(qAbs(pair.upper()->bodyRect().height() - 1000) < 1e-6);
    QVERIFY(qAbs(pair.lower()->sourceRect().y() - 1000) < 1e-6);
}

void TestPageDrawing::keepsThePixelsOfItsSource()
{
    const QImage image = noisePicture({60, 200}, QImage::Format_RGB32, 41);
    auto pixmap = std::make_unique<QPixmap>(keptPixmap(image));
    PageItem strip(*pixmap, QRectF(0, 20, 60, 50));
    pixmap->fill(Qt::red); // the window may load another image
    pixmap.reset();
    QImage page(60, 50, QImage::Format_RGB32);
    QPainter painter(&page);
    strip.drawSource(&painter, QRectF(0, 0, 60, 50));
    painter.end();
    QCOMPARE(firstDifference(page, image.copy(0, 20, 60, 50)), QString());
}

void TestPageDrawing::paintsTheBandAndLeavesAntialiasingOn()
{
    const QImage image = noisePicture({60, 200}, QImage::Format_RGB32, 42);
    PageItem strip(keptPixmap(image), QRectF(0, 20, 60, 50));
    QImage page(80, 90, QImage::Format_RGB32);
    page.fill(Qt::white);
    QPainter painter(&page);
    painter.setPen(Qt::red);
    painter.setBrush(Qt::green);
    const QStyleOptionGraphicsItem option;
    strip.paint(&painter, &option, nullptr);
    QVERIFY(painter.testRenderHint(QPainter::Antialiasing));
    QCOMPARE(painter.pen(), QPen(Qt::red)); // painting the handle restores them
    QCOMPARE(painter.brush(), QBrush(Qt::green));
    painter.end();
    QCOMPARE(firstDifference(page.copy(0, 0, 60, 50), image.copy(0, 20, 60, 50)), QString());
    QVERIFY(page.pixel(30, 60) != 0xffffffffU); // the handle
    QImage beyond = page.copy(60, 0, 20, 90);
    QImage white(beyond.size(), beyond.format());
    white.fill(Qt::white);
    QCOMPARE(beyond, white);

    PageItem again(keptPixmap(image), QRectF(0, 20, 60, 50));
    QImage other(80, 90, QImage::Format_RGB32);
    other.fill(Qt::white);
    QPainter bare(&other);
    again.paint(&bare, nullptr, nullptr); // uses neither option nor widget
    bare.end();
    QCOMPARE(firstDifference(other, page), QString());
}

QUILLMARCH_TEST_MAIN(TestPageDrawing)
#include "tst_pagedrawing.moc"
