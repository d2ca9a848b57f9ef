#include "page/samples.h"
#include "pixels/opacity.h"
#include "support/testmain.h"

namespace {

constexpr QSize size(333, 3); // no multiple of a vector

constexpr QRgb opaqueRed = 0xffff0000;
constexpr QRgb halfRed = 0x807f0000;
constexpr QRgb colorWithoutAlpha = 0x00000001;
constexpr QRgb nothing = 0x00000000;

} // namespace

class TestOpacity : public QObject
{
    Q_OBJECT

private slots:
    void findsOnePixel_data();
    void findsOnePixel();
    void findsColorsThatAreUsed_data();
    void findsColorsThatAreUsed();
    void takesOtherFormatsByTheirAlphaChannel_data();
    void takesOtherFormatsByTheirAlphaChannel();
};

void TestOpacity::findsOnePixel_data()
{
    QTest::addColumn<QImage::Format>("format");
    QTest::addColumn<QRgb>("pixel");
    QTest::addColumn<QPoint>("place");
    QTest::addColumn<bool>("opaque");
    QTest::addColumn<bool>("partlyTransparent");
    for (const QImage::Format format : {QImage::Format_ARGB32, QImage::Format_ARGB32_Premultiplied}) {
        for (const QPoint place : {QPoint(0, 0), QPoint(332, 0), QPoint(100, 1), QPoint(0, 2), QPoint(332, 2)}) {
            const auto row = [&](const char *name, QRgb pixel, bool opaque, bool partly) {
                QTest::addRow("%s, %s, %d, %d", formatName(format), name, place.x(), place.y())
                    << format << pixel << place << opaque << partly;
            };
            row("opaque", opaqueRed, true, false);
            row("half", halfRed, false, true);
            row("a color without alpha", colorWithoutAlpha, false, true);
            row("nothing", nothing, false, false);
        }
    }
}

void TestOpacity::findsOnePixel()
{
    QFETCH(QImage::Format, format);
    QFETCH(QRgb, pixel);
    QFETCH(QPoint, place);
    QImage image(size, format);
    image.fill(Qt::white);
    reinterpret_cast<QRgb *>(image.scanLine(place.y()))[place.x()] = pixel;
    QTEST(isOpaque(image), "opaque");
    QTEST(hasPartlyTransparent(image), "partlyTransparent");
}

void TestOpacity::findsColorsThatAreUsed_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<bool>("opaque");
    QTest::newRow("opaque") << 1 << true;
    QTest::newRow("transparent") << 2 << false;
    QTest::newRow("beyond the table") << 3 << false;
}

void TestOpacity::findsColorsThatAreUsed()
{
    QFETCH(int, index);
    QImage image(size, QImage::Format_Indexed8);
    image.setColorTable({opaqueRed, qRgb(1, 2, 3), halfRed});
    image.fill(0);
    QVERIFY(isOpaque(image));
    image.scanLine(2)[332] = uchar(index);
    QTEST(isOpaque(image), "opaque");
}

void TestOpacity::takesOtherFormatsByTheirAlphaChannel_data()
{
    QTest::addColumn<QImage::Format>("format");
    QTest::addColumn<bool>("opaque");
    QTest::newRow("RGB32") << QImage::Format_RGB32 << true;
    QTest::newRow("RGB888") << QImage::Format_RGB888 << true;
    QTest::newRow("Grayscale8") << QImage::Format_Grayscale8 << true;
    QTest::newRow("RGBA8888") << QImage::Format_RGBA8888 << false;
    QTest::newRow("RGBA64") << QImage::Format_RGBA64 << false;
}

void TestOpacity::takesOtherFormatsByTheirAlphaChannel()
{
    QFETCH(QImage::Format, format);
    QImage image(size, format);
    image.fill(Qt::white);
    QTEST(isOpaque(image), "opaque");
}

QUILLMARCH_TEST_MAIN(TestOpacity)
#include "tst_opacity.moc"
