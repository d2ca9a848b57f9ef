#include "pixels/grayscan.h"
#include "support/pictures.h"
#include "support/testmain.h"

#include <QColorSpace>
#include <QPainter>
#include <QRandomGenerator>

#include <algorithm>
#include <array>
#include <cstring>

using namespace Qt::StringLiterals;

namespace {

QImage noise(QSize size)
{
    return noisePicture(size, QImage::Format_ARGB32, 11);
}

/// Noise of at most 256 colors.
QImage noiseOfFewColors(QSize size)
{
    QImage image = noise(size);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            image.setPixel(x, y, image.pixel(x, y) & 0xc0c0c0c0U);
        }
    }
    return image;
}

/// A blank background with slanted strokes, as in a screenshot.
QImage drawing(int width, int height)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(QColor(245, 246, 248));
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    for (int i = 0; i < height / 10; ++i) {
        painter.setPen(QPen(QColor::fromHsv(i * 37 % 360, 200, 150), 2.3));
        painter.drawLine(QPointF(width * 0.1, i * 10.0), QPointF(width * 0.8, i * 10.0 + 7));
    }
    return image;
}

} // namespace

class TestGrayScan : public QObject
{
    Q_OBJECT

private slots:
    void equalsTheConversion_data();
    void equalsTheConversion();
    void limitsColorsToTheirAlpha_data();
    void limitsColorsToTheirAlpha();
    void followsTheColorSpace();
    void countsEachLevel();
};

void TestGrayScan::equalsTheConversion_data()
{
    QTest::addColumn<QImage>("image");
    const auto add = [](const char *name, const QImage &image) {
        for (const QImage::Format format :
             {QImage::Format_RGB32, QImage::Format_ARGB32, QImage::Format_ARGB32_Premultiplied, QImage::Format_RGB888,
              QImage::Format_RGBA8888, QImage::Format_RGBX8888, QImage::Format_RGB30,
              QImage::Format_A2BGR30_Premultiplied, QImage::Format_RGBA64, QImage::Format_RGB16,
              QImage::Format_Grayscale8, QImage::Format_Grayscale16, QImage::Format_Indexed8, QImage::Format_Mono}) {
            QTest::addRow("%s, format %d", name, int(format)) << image.convertToFormat(format);
        }
    };
    add("drawing", drawing(203, 331));
    add("one pixel", drawing(1, 1));
    add("one column", drawing(1, 300));
    add("few colors", noiseOfFewColors({301, 77}));
    QImage palette = noiseOfFewColors({301, 77}).convertToFormat(QImage::Format_Indexed8);
    palette.setColorTable(QList<QRgb>(palette.colorTable()).mid(0, 40));
    for (int y = 0; y < palette.height(); ++y) {
        for (int x = 0; x < palette.width(); ++x) {
            palette.setPixel(x, y, uint(palette.pixelIndex(x, y)) % 40);
        }
    }
    QTest::newRow("short palette") << palette;
    palette.setColor(7, qRgba(200, 90, 30, 100));
    QTest::newRow("palette with alpha") << palette;
    palette.setColorSpace(QColorSpace(QColorSpace::ProPhotoRgb));
    QTest::newRow("palette in a color space") << palette;
    // Too many colors for the color table: the others are converted separately.
    add("all colors", noise({400, 500}));
    QImage mixed = drawing(300, 1400);
    QPainter painter(&mixed);
    painter.drawImage(0, 200, noise({300, 700}));
    painter.end();
    add("colors in the middle", mixed);
}

void TestGrayScan::equalsTheConversion()
{
    QFETCH(QImage, image);
    const QImage expected = image.convertToFormat(QImage::Format_Grayscale8);
    const GrayScan scan(image);
    QCOMPARE(QSize(scan.width(), scan.height()), image.size());
    GrayHistogram histogram{};
    for (int y = 0; y < image.height(); ++y) {
        const uchar *row = expected.constScanLine(y);
        const uchar *scanned = scan.levels(y, 0, image.width());
        const auto difference = std::mismatch(row, row + image.width(), scanned);
        QVERIFY2(difference.first == row + image.width(),
                 qPrintable(u"first difference at (%1, %2)"_s.arg(difference.first - row).arg(y)));
        for (int x = 0; x < image.width(); ++x) {
            ++histogram[row[x]];
        }
        const int from = image.width() / 3;
        const int to = image.width() / 2 + 1;
        QVERIFY(std::memcmp(scan.levels(y, from, to), row + from, size_t(to - from)) == 0);
    }
    QCOMPARE(scan.histogram(), histogram);
}

void TestGrayScan::limitsColorsToTheirAlpha_data()
{
    QTest::addColumn<QImage::Format>("format");
    QTest::addColumn<QSize>("size");
    for (const QSize size : {QSize(30, 40), QSize(400, 500)}) { // few colors, and too many for the table
        const auto row = [&](const char *name, QImage::Format format) {
            QTest::addRow("%s, %d x %d", name, size.width(), size.height()) << format << size;
        };
        row("ARGB", QImage::Format_ARGB32_Premultiplied);
        row("RGBA", QImage::Format_RGBA8888_Premultiplied);
        row("16 bits", QImage::Format_RGBA64_Premultiplied);
    }
}

/// Files can hold premultiplied colors above their alpha, for which Qt has no gray level.
void TestGrayScan::limitsColorsToTheirAlpha()
{
    QFETCH(QImage::Format, format);
    QFETCH(QSize, size);
    QImage image(size, format);
    QImage limited(size, format);
    QRandomGenerator random(5);
    const bool isDeep = image.depth() == 64;
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < 4 * size.width(); x += 4) {
            std::array<quint16, 4> pixel{};
            std::generate(pixel.begin(), pixel.end(), [&] { return quint16(random.bounded(isDeep ? 65536 : 256)); });
            for (int i = 0; i < 4; ++i) {
                const quint16 channel = std::min(pixel[size_t(i)], pixel[3]);
                if (isDeep) {
                    reinterpret_cast<quint16 *>(image.scanLine(y))[x + i] = pixel[size_t(i)];
                    reinterpret_cast<quint16 *>(limited.scanLine(y))[x + i] = channel;
                } else {
                    image.scanLine(y)[x + i] = uchar(pixel[size_t(i)]);
                    limited.scanLine(y)[x + i] = uchar(channel);
                }
            }
        }
    }
    const QImage expected = limited.convertToFormat(QImage::Format_Grayscale8);
    const QImage before = image.copy();
    const GrayScan scan(image);
    for (int y = 0; y < size.height(); ++y) {
        const uchar *levels = scan.levels(y, 0, size.width());
        QVERIFY2(std::equal(levels, levels + size.width(), expected.constScanLine(y)), qPrintable(QString::number(y)));
    }
    QCOMPARE(scan.histogram(), grayHistogram(expected));
    QVERIFY(image == before);
}

void TestGrayScan::followsTheColorSpace()
{
    QImage image = noise({400, 500});
    const QImage plain = image.convertToFormat(QImage::Format_Grayscale8);
    image.setColorSpace(QColorSpace(QColorSpace::ProPhotoRgb));
    const QImage expected = image.convertToFormat(QImage::Format_Grayscale8);
    QVERIFY(std::memcmp(plain.constBits(), expected.constBits(), size_t(expected.sizeInBytes())) != 0);
    const GrayScan scan(image);
    for (int y = 0; y < image.height(); ++y) {
        QVERIFY(std::memcmp(scan.levels(y, 0, image.width()), expected.constScanLine(y), size_t(image.width())) == 0);
    }
}

void TestGrayScan::countsEachLevel()
{
    for (const int width : {1, 7, 63, 64, 65, 200}) {
        QImage gray(width, 256, QImage::Format_Grayscale8);
        for (int y = 0; y < 256; ++y) {
            std::memset(gray.scanLine(y), y, size_t(width));
            gray.scanLine(y)[width / 2] = 3;
        }
        GrayHistogram expected;
        expected.fill(quint32(width - 1));
        expected[3] = quint32(width - 1 + 256);
        QCOMPARE(grayHistogram(gray), expected);
    }
}

QUILLMARCH_TEST_MAIN(TestGrayScan)
#include "tst_grayscan.moc"
