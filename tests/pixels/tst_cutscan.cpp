#include "pixels/cutscan.h"
#include "support/pictures.h"
#include "support/plainbrightestrow.h"
#include "support/testmain.h"

#include <QHash>
#include <QRandomGenerator>

#include <algorithm>
#include <array>
#include <cstring>
#include <numeric>

using namespace Qt::StringLiterals;

namespace {

const QList<QImage::Format> allFormats =
    directFormats() + QList{QImage::Format_Mono, QImage::Format_MonoLSB, QImage::Format_Indexed8};

const QStringList kinds{u"text"_s,  u"noise"_s,     u"dark"_s, u"light"_s,       u"gradient"_s,
                        u"alpha"_s, u"near ties"_s, u"ties"_s, u"bright tail"_s, u"one pixel"_s};

const std::array widths{1, 2, 63, 64, 65, 255, 256, 257, 511, 512, 513, 700};

/// Every row has the same number of white pixels, at random positions. Row
/// \a winner, unless negative, has one more if there is room for it.
QImage tiedRows(QSize size, int winner, QRandomGenerator &random)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::black);
    QList<int> places(size.width());
    std::iota(places.begin(), places.end(), 0);
    for (int y = 0; y < size.height(); ++y) {
        std::shuffle(places.begin(), places.end(), random);
        const int count = std::min(size.width() / 2 + (y == winner ? 1 : 0), size.width());
        for (int i = 0; i < count; ++i) {
            image.setPixel(places.at(i), y, 0xffffffffU);
        }
    }
    return image;
}

/// The lower the row, the more bright pixels it has, all at its end: a scan must
/// read whole rows to compare them.
QImage brightTail(QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::black);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = size.width() - y * size.width() / size.height(); x < size.width(); ++x) {
            image.setPixel(x, y, 0xffc00000U);
        }
    }
    return image;
}

QImage gradient(QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            const int level = (x + 3 * y) % 256;
            image.setPixel(x, y, qRgb(level, 255 - level, level / 2));
        }
    }
    return image;
}

QImage evenNoise(QSize size, int lowest, int highest, QRandomGenerator &random)
{
    QImage image(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            image.setPixel(x, y, qRgb(random.bounded(lowest, highest), random.bounded(256), random.bounded(256)));
        }
    }
    return image;
}

QImage paintSample(const QString &kind, QSize size, quint32 seed)
{
    QRandomGenerator random(seed);
    if (kind == "text"_L1) {
        return randomTextPicture(size.expandedTo(QSize(2, 1)), seed);
    }
    if (kind == "noise"_L1) {
        return noisePicture(size, QImage::Format_RGBX64, seed);
    }
    if (kind == "dark"_L1) {
        return evenNoise(size, 0, 192, random);
    }
    if (kind == "light"_L1) {
        return evenNoise(size, 180, 256, random);
    }
    if (kind == "gradient"_L1) {
        return gradient(size);
    }
    if (kind == "alpha"_L1) {
        return noisePicture(size, QImage::Format_RGBA64, seed);
    }
    if (kind == "near ties"_L1) {
        return tiedRows(size, size.height() * 2 / 3, random);
    }
    if (kind == "ties"_L1) {
        return tiedRows(size, -1, random);
    }
    if (kind == "bright tail"_L1) {
        return brightTail(size);
    }
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::black);
    image.setPixel(size.width() - 1, size.height() - 1, 0xffffffffU);
    return image;
}

/// Paints each sample only once for all data rows.
QImage sample(const QString &kind, QSize size, quint32 seed)
{
    static QHash<QString, QImage> painted;
    QImage &image = painted[u"%1 %2 %3 %4"_s.arg(kind).arg(size.width()).arg(size.height()).arg(seed)];
    if (image.isNull()) {
        image = paintSample(kind, size, seed);
    }
    return image;
}

QImage onePixel(QImage::Format format, quint64 bytes)
{
    QImage image(1, 2, format);
    image.fill(Qt::black);
    memcpy(image.scanLine(1), &bytes, size_t(image.depth() / 8));
    return image;
}

} // namespace

class TestCutScan : public QObject
{
    Q_OBJECT

private slots:
    void findsTheRowOfTheOracle_data();
    void findsTheRowOfTheOracle();
    void findsTheRowInAWindow_data();
    void findsTheRowInAWindow();
    void findsRowsInPalettes_data();
    void findsRowsInPalettes();
    void doesNotConfuseIndexesWithLevels();
    void indexesBeyondThePaletteAreDark();
    void checksEachPairOfAlphaAndRed_data();
    void checksEachPairOfAlphaAndRed();
    void checksDeepChannels_data();
    void checksDeepChannels();
    void countsOnePixel_data();
    void countsOnePixel();
    void takesTheUpperOfEqualRows();
    void isZeroWithoutRows();
    void isZeroWithoutBrightPixels_data();
    void isZeroWithoutBrightPixels();
    void countsFromTheTopOfACutOffWindow();
    void isZeroOutsideTheSource_data();
    void isZeroOutsideTheSource();
};

void TestCutScan::findsTheRowOfTheOracle_data()
{
    QTest::addColumn<QImage::Format>("format");
    QTest::addColumn<QString>("kind");
    for (const QImage::Format format : allFormats) {
        for (const QString &kind : kinds) {
            QTest::addRow("%s, %s", formatName(format), qPrintable(kind)) << format << kind;
        }
    }
}

void TestCutScan::findsTheRowOfTheOracle()
{
    QFETCH(QImage::Format, format);
    QFETCH(QString, kind);
    quint32 seed = 1;
    for (const int width : widths) {
        for (const int height : {1, 2, 17, 65}) {
            const QImage image = sample(kind, QSize(width, height), ++seed).convertToFormat(format);
            const int row = brightestRow(image);
            const int expected = plainBrightestRow(image);
            QVERIFY2(row == expected,
                     qPrintable(u"%1x%2: row %3 instead of %4"_s.arg(width).arg(height).arg(row).arg(expected)));
        }
    }
}

void TestCutScan::findsTheRowInAWindow_data()
{
    findsTheRowOfTheOracle_data();
}

void TestCutScan::findsTheRowInAWindow()
{
    QFETCH(QImage::Format, format);
    QFETCH(QString, kind);
    QRandomGenerator random(77);
    for (const QSize size : {QSize(2, 3), QSize(70, 90), QSize(300, 40), QSize(529, 140)}) {
        const QImage image = sample(kind, size, random.generate()).convertToFormat(format);
        const QPixmap pixmap = keptPixmap(image);
        const QPixmap copied = withoutPalette(pixmap);
        QList<QRect> windows{image.rect(), image.rect().adjusted(-5, -5, 5, 5), image.rect().adjusted(1, 1, 0, 0)};
        for (int i = 0; i < 4; ++i) {
            // Contains at least one pixel of the image; may extend beyond every edge.
            const QPoint in(random.bounded(size.width()), random.bounded(size.height()));
            windows.append(QRect(in - QPoint(random.bounded(size.width()), random.bounded(size.height())),
                                 in + QPoint(random.bounded(size.width()), random.bounded(size.height()))));
        }
        for (const QRect &window : std::as_const(windows)) {
            const int row = brightestRow(pixmap, window);
            const int expected = plainBrightestRow(copied.copy(window).toImage());
            QVERIFY2(row == expected,
                     qPrintable(u"%1x%2+%3+%4: row %5 instead of %6"_s.arg(window.width())
                                    .arg(window.height())
                                    .arg(window.x())
                                    .arg(window.y())
                                    .arg(row)
                                    .arg(expected)));
        }
    }
}

void TestCutScan::findsRowsInPalettes_data()
{
    QTest::addColumn<bool>("opaque");
    QTest::newRow("opaque") << true;
    QTest::newRow("with alpha") << false;
}

void TestCutScan::findsRowsInPalettes()
{
    QFETCH(bool, opaque);
    for (const int width : widths) {
        const QImage image = palettePicture(QSize(width, 150), opaque, quint32(width));
        QCOMPARE(brightestRow(image), plainBrightestRow(image));
        const QRect window(0, 20, width, 100);
        QCOMPARE(brightestRow(keptPixmap(image), window),
                 plainBrightestRow(withoutPalette(keptPixmap(image)).copy(window).toImage()));
    }
}

void TestCutScan::doesNotConfuseIndexesWithLevels()
{
    QImage image(70, 9, QImage::Format_Indexed8); // without any color
    image.fill(100);
    std::memset(image.scanLine(5), 250, 70);
    QCOMPARE(plainBrightestRow(image), 0);
    QCOMPARE(brightestRow(image), 0);

    // A copied part of a pixmap has gray levels instead of indexes.
    const QPixmap pixmap = keptPixmap(image);
    for (const QRect &window : {image.rect(), QRect(0, 2, 70, 6), QRect(3, 2, 9, 6), QRect(4, 2, 9, 6)}) {
        const int expected = plainBrightestRow(pixmap.copy(window).toImage());
        QCOMPARE(expected, 5 - window.top());
        QCOMPARE(brightestRow(pixmap, window), expected);
    }
}

void TestCutScan::indexesBeyondThePaletteAreDark()
{
    QImage image(70, 9, QImage::Format_Indexed8);
    image.setColorTable({qRgb(0, 0, 0), qRgb(255, 255, 255)});
    image.fill(0);
    std::memset(image.scanLine(3), 2, 70);
    std::memset(image.scanLine(5), 255, 70);
    std::memset(image.scanLine(7), 1, 30);
    QCOMPARE(plainBrightestRow(image), 7);
    QCOMPARE(brightestRow(image), 7);
    QCOMPARE(brightestRow(keptPixmap(image), QRect(0, 1, 70, 8)), 6);
}

void TestCutScan::checksEachPairOfAlphaAndRed_data()
{
    QTest::addColumn<QImage::Format>("format");
    for (const QImage::Format format :
         {QImage::Format_RGB32, QImage::Format_ARGB32, QImage::Format_ARGB32_Premultiplied, QImage::Format_RGBX8888,
          QImage::Format_RGBA8888, QImage::Format_RGBA8888_Premultiplied}) {
        QTest::newRow(formatName(format)) << format;
    }
}

void TestCutScan::checksEachPairOfAlphaAndRed()
{
    QFETCH(QImage::Format, format);
    const bool alphaFirst = format == QImage::Format_RGB32 || format == QImage::Format_ARGB32
        || format == QImage::Format_ARGB32_Premultiplied;
    int brightPairs = 0;
    for (quint32 alpha = 0; alpha < 256; ++alpha) {
        for (quint32 red = 0; red < 256; ++red) {
            const QImage image = onePixel(format, alphaFirst ? (alpha << 24 | red << 16) : (alpha << 24 | red));
            const int row = brightestRow(image);
            const int expected = plainBrightestRow(image);
            const QPixmap pixmap = keptPixmap(image);
            const int pixmapRow = brightestRow(pixmap, image.rect());
            const int pixmapExpected = plainBrightestRow(pixmap.copy(image.rect()).toImage());
            QVERIFY2(row == expected && pixmapRow == pixmapExpected,
                     qPrintable(u"alpha %1, red %2: %3 and %4 instead of %5 and %6"_s.arg(alpha)
                                    .arg(red)
                                    .arg(row)
                                    .arg(pixmapRow)
                                    .arg(expected)
                                    .arg(pixmapExpected)));
            brightPairs += row;
        }
    }
    QVERIFY(brightPairs > 0 && brightPairs < 65536);
}

void TestCutScan::checksDeepChannels_data()
{
    QTest::addColumn<QImage::Format>("format");
    for (const QImage::Format format :
         {QImage::Format_RGBX64, QImage::Format_RGBA64, QImage::Format_RGBA64_Premultiplied, QImage::Format_Grayscale16,
          QImage::Format_RGB30, QImage::Format_BGR30, QImage::Format_A2RGB30_Premultiplied,
          QImage::Format_A2BGR30_Premultiplied, QImage::Format_RGB16, QImage::Format_RGB555, QImage::Format_RGB444,
          QImage::Format_ARGB4444_Premultiplied, QImage::Format_RGBA16FPx4, QImage::Format_RGBA32FPx4_Premultiplied}) {
        QTest::newRow(formatName(format)) << format;
    }
}

void TestCutScan::checksDeepChannels()
{
    QFETCH(QImage::Format, format);
    // All 16-bit reds around the level, with alpha from 0 to full.
    for (const int alpha : {0, 1, 128, 40000, 49000, 49344, 50000, 65000, 65278, 65534, 65535}) {
        for (int red = 48900; red <= 65535; red += red < 49800 ? 13 : 333) {
            QImage deep(1, 2, QImage::Format_RGBA64);
            deep.setPixelColor(0, 0, QColor::fromRgba64(0, 0, 0));
            deep.setPixelColor(0, 1, QColor::fromRgba64(ushort(red), ushort(red), ushort(red), ushort(alpha)));
            const QImage image = deep.convertToFormat(format);
            const QPixmap pixmap = keptPixmap(image);
            const QString pair = u"alpha %1, red %2"_s.arg(alpha).arg(red);
            QVERIFY2(brightestRow(image) == plainBrightestRow(image), qPrintable(pair));
            QVERIFY2(brightestRow(pixmap, image.rect()) == plainBrightestRow(pixmap.copy(image.rect()).toImage()),
                     qPrintable(pair));
        }
    }
}

void TestCutScan::countsOnePixel_data()
{
    QTest::addColumn<QRgb>("pixel");
    QTest::addColumn<int>("row");
    QTest::newRow("red 191") << qRgb(191, 255, 255) << 0;
    QTest::newRow("red 192") << qRgb(192, 0, 0) << 1;
    QTest::newRow("pure red") << qRgb(255, 0, 0) << 1;
    QTest::newRow("pure cyan") << qRgb(0, 255, 255) << 0;
    QTest::newRow("white") << qRgb(255, 255, 255) << 1;
    QTest::newRow("black") << qRgb(0, 0, 0) << 0;
}

void TestCutScan::countsOnePixel()
{
    QFETCH(QRgb, pixel);
    QFETCH(int, row);
    for (const int width : {1, 255, 256, 300}) {
        for (const QImage::Format format :
             {QImage::Format_RGB32, QImage::Format_ARGB32, QImage::Format_RGB888, QImage::Format_RGBA64}) {
            QImage image(width, 3, format);
            image.fill(Qt::black);
            image.setPixel(width - 1, 1, pixel);
            QCOMPARE(brightestRow(image), row);
            QCOMPARE(brightestRow(keptPixmap(image), image.rect()), row);
        }
    }
}

void TestCutScan::takesTheUpperOfEqualRows()
{
    QImage image(300, 9, QImage::Format_RGB32);
    image.fill(Qt::black);
    for (int x = 0; x < 100; ++x) {
        image.setPixel(x, 3, qRgb(192, 0, 0)); // scores as much as white
        image.setPixel(299 - x, 5, qRgb(255, 255, 255));
        image.setPixel(2 * x, 8, qRgb(200, 200, 200));
    }
    QCOMPARE(brightestRow(image), 3);
    QCOMPARE(brightestRow(keptPixmap(image), image.rect()), 3);
    QCOMPARE(brightestRow(keptPixmap(image), QRect(0, 4, 300, 5)), 1);

    image.fill(Qt::white);
    QCOMPARE(brightestRow(image), 0);
    QCOMPARE(brightestRow(keptPixmap(image), QRect(0, 4, 300, 5)), 0);
}

void TestCutScan::isZeroWithoutRows()
{
    QCOMPARE(brightestRow(QImage()), 0);
    QCOMPARE(brightestRow(QPixmap(), QRect()), 0);
    QCOMPARE(brightestRow(QPixmap(), QRect(0, 0, 10, 10)), 0);
}

void TestCutScan::isZeroWithoutBrightPixels_data()
{
    QTest::addColumn<QImage::Format>("format");
    for (const QImage::Format format : allFormats) {
        QTest::newRow(formatName(format)) << format;
    }
}

void TestCutScan::isZeroWithoutBrightPixels()
{
    QFETCH(QImage::Format, format);
    QImage image(300, 70, QImage::Format_RGB32);
    image.fill(qRgb(100, 100, 100));
    image = image.convertToFormat(format, Qt::ThresholdDither);
    if (format == QImage::Format_Alpha8) {
        image.fill(Qt::transparent);
    }
    QCOMPARE(brightestRow(image), 0);
    QCOMPARE(brightestRow(keptPixmap(image), image.rect()), 0);
}

void TestCutScan::countsFromTheTopOfACutOffWindow()
{
    QImage image(20, 100, QImage::Format_RGB32);
    image.fill(Qt::black);
    for (int x = 0; x < 20; ++x) {
        image.setPixel(x, 90, 0xffffffffU);
    }
    const QPixmap pixmap = keptPixmap(image);
    QCOMPARE(brightestRow(pixmap, QRect(0, 70, 20, 500)), 20); // no rows below the image
    QCOMPARE(brightestRow(pixmap, QRect(0, -30, 20, 500)), 90); // the window is cut at the top edge
}

void TestCutScan::isZeroOutsideTheSource_data()
{
    QTest::addColumn<QRect>("window");
    QTest::newRow("below") << QRect(0, 100, 20, 50);
    QTest::newRow("above") << QRect(0, -50, 20, 50);
    QTest::newRow("left") << QRect(-20, 0, 20, 100);
    QTest::newRow("right") << QRect(20, 0, 20, 100);
    QTest::newRow("empty") << QRect(0, 50, 20, 0);
    QTest::newRow("negative height") << QRect(0, 95, 20, -10);
}

void TestCutScan::isZeroOutsideTheSource()
{
    QFETCH(QRect, window);
    QImage image(20, 100, QImage::Format_RGB32);
    image.fill(Qt::black);
    for (int x = 0; x < 20; ++x) {
        image.setPixel(x, 90, 0xffffffffU);
    }
    QCOMPARE(brightestRow(keptPixmap(image), window), 0);
}

QUILLMARCH_TEST_MAIN(TestCutScan)
#include "tst_cutscan.moc"
