#include "pdf/jpegband.h"
#include "pdf/pdferror.h"
#include "support/pictures.h"
#include "support/testmain.h"
#include "writtenpdf.h"

#include <QColorSpace>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

const QList<int> cuts{0, 1, 8, 40, 41, 97, 150};
constexpr QSize pictureSize(67, 150); // no multiple of anything

PdfOptions lossless()
{
    PdfOptions options;
    options.lossless = true;
    options.created = QDateTime::fromSecsSinceEpoch(0, Qt::UTC);
    return options;
}

/// Pixels that a 16-bit image can have, as the PDF file has them.
QImage expected(const QImage &image)
{
    const bool isDeep = image.pixelFormat().redSize() > 8;
    const QImage::Format plain = image.hasAlphaChannel() ? QImage::Format_ARGB32 : QImage::Format_RGB32;
    const QImage base = isDeep || image.format() == QImage::Format_Grayscale16 ? image : image.convertToFormat(plain);
    const QImage deep = base.convertToFormat(QImage::Format_RGBA64);
    return image.hasAlphaChannel() ? deep : deep.convertToFormat(QImage::Format_RGBX64).convertToFormat(deep.format());
}

QImage monoPicture(QImage::Format format, QRgb zero, QRgb one)
{
    QImage image(pictureSize, format);
    image.setColorTable({zero, one});
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            image.setPixel(x, y, uint((x * x + 3 * y) % 7 < 3));
        }
    }
    return image;
}

/// \a colors colors, of which every other one is partly transparent unless \a isOpaque.
QImage smallPalette(int colors, bool isOpaque)
{
    QImage image(pictureSize, QImage::Format_Indexed8);
    for (int i = 0; i < colors; ++i) {
        image.setColor(i, qRgba(i * 37 % 256, i * 91 % 256, 255 - i % 256, isOpaque || i % 2 == 0 ? 255 : i % 256));
    }
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            image.setPixel(x, y, uint((x / 3 + y * 7) % colors));
        }
    }
    return image;
}

/// Of which every fifth pixel is transparent, and the others are opaque.
QImage pictureWithHoles()
{
    QImage image = noisePicture(pictureSize).convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = y % 5; x < image.width(); x += 5) {
            image.setPixel(x, y, 0);
        }
    }
    return image;
}

/// Whether \a image has just as many bytes as its samples take; of JPEG it is not asked.
bool hasAllBytes(const WrittenImage &image)
{
    const int rowBytes = (image.size.width() * image.channels * image.bits + 7) / 8;
    return image.filter == "/DCTDecode" || image.bytes.size() == qsizetype(rowBytes) * image.size.height();
}

bool hasAllBytes(const WrittenPdf &pdf)
{
    return std::all_of(pdf.pages.begin(), pdf.pages.end(), [](const WrittenPage &page) {
        return std::all_of(page.bands.begin(), page.bands.end(), [](const WrittenBand &band) {
            return hasAllBytes(band.colors) && (band.alpha.size.isEmpty() || hasAllBytes(band.alpha));
        });
    });
}

} // namespace

/// The pixels of all bands, put together, are those of the picture.
class TestPdfPixels : public QObject
{
    Q_OBJECT

private slots:
    void keepsEveryFormat_data();
    void keepsEveryFormat();
    void keepsPalettes_data();
    void keepsPalettes();
    void keepsColorProfiles_data();
    void keepsColorProfiles();
    void compressesEveryFormatAlike_data();
    void compressesEveryFormatAlike();
    void hasNoProfileOfOtherChannels();
    void jpegNeedsRows();
};

void TestPdfPixels::keepsEveryFormat_data()
{
    QTest::addColumn<QImage>("image");
    for (const QImage::Format format : directFormats()) {
        QTest::addRow("%s", formatName(format)) << noisePicture(pictureSize, format);
    }
    QTest::addRow("partly transparent") << translucentPicture(67, 150);
    QTest::addRow("with holes") << pictureWithHoles();
}

void TestPdfPixels::keepsEveryFormat()
{
    QFETCH(const QImage, image);
    const WrittenPdf pdf = readPdf(pdfOf({image, {}, {}}, sheetsBetween(cuts, image.width()), lossless()));
    QCOMPARE(pdf.errors, QByteArray());
    QCOMPARE(pdf.pages.size(), cuts.size() - 1);
    QVERIFY(hasAllBytes(pdf));
    QCOMPARE(firstDeepDifference(joined(pdf), expected(image)), QString());
}

void TestPdfPixels::keepsPalettes_data()
{
    QTest::addColumn<QImage>("image");
    QTest::addColumn<int>("bits");
    QTest::addRow("mono") << monoPicture(QImage::Format_Mono, 0xffffffffU, 0xff000000U) << 1;
    QTest::addRow("mono, lowest bit first") << monoPicture(QImage::Format_MonoLSB, 0xff000000U, 0xffffffffU) << 1;
    QTest::addRow("mono in colors") << monoPicture(QImage::Format_Mono, 0xff102030U, 0xffff8000U) << 1;
    QTest::addRow("mono, transparent") << monoPicture(QImage::Format_MonoLSB, 0x00ffffffU, 0x80123456U) << 1;
    for (const int colors : {2, 3, 4, 5, 16, 17, 200, 256}) {
        const int bits = colors <= 2 ? 1 : colors <= 4 ? 2 : colors <= 16 ? 4 : 8;
        QTest::addRow("%d colors", colors) << smallPalette(colors, true) << bits;
        QTest::addRow("%d colors, transparent", colors) << smallPalette(colors, false) << bits;
    }
    QTest::addRow("random") << palettePicture(pictureSize, true, 3) << 8;
    QTest::addRow("random, transparent") << palettePicture(pictureSize, false, 3) << 8;
}

void TestPdfPixels::keepsPalettes()
{
    QFETCH(const QImage, image);
    QFETCH(const int, bits);
    const WrittenPdf pdf = readPdf(pdfOf({image, {}, {}}, sheetsBetween(cuts, image.width()), lossless()));
    QCOMPARE(pdf.errors, QByteArray());
    QCOMPARE(pdf.pages.at(2).bands.at(0).colors.bits, bits);
    QVERIFY(hasAllBytes(pdf));
    QCOMPARE(firstDeepDifference(joined(pdf), expected(image)), QString());
}

void TestPdfPixels::keepsColorProfiles_data()
{
    QTest::addColumn<QImage>("image");
    QTest::addColumn<bool>("lossless");
    QTest::addColumn<int>("channels");
    for (const bool isLossless : {false, true}) {
        const char *mode = isLossless ? "lossless" : "jpeg";
        QTest::addRow("color, %s", mode) << noisePicture(pictureSize) << isLossless << 3;
        QTest::addRow("palette, %s", mode) << palettePicture(pictureSize, true, 3) << isLossless << 3;
        QTest::addRow("alpha, %s", mode) << noisePicture(pictureSize, QImage::Format_ARGB32) << isLossless << 3;
    }
}

void TestPdfPixels::keepsColorProfiles()
{
    QFETCH(QImage, image);
    QFETCH(const bool, lossless);
    PdfOptions options;
    options.lossless = lossless;
    image.setColorSpace(QColorSpace(QColorSpace::DisplayP3));
    const QByteArray profile = image.colorSpace().iccProfile();
    QVERIFY(!profile.isEmpty());
    const QList<PdfSheet> sheets = sheetsBetween({0, 75, 150}, image.width());
    const WrittenPdf pdf = readPdf(pdfOf({image, {}, {}}, sheets, options));
    QCOMPARE(pdf.pages.at(0).bands.at(0).colors.profile, profile);
    QCOMPARE(pdf.pages.at(1).bands.at(0).colors.profile, profile);
    image.setColorSpace(QColorSpace(QColorSpace::SRgb));
    QCOMPARE(readPdf(pdfOf({image, {}, {}}, sheets, options)).pages.at(0).bands.at(0).colors.profile, QByteArray());
}

void TestPdfPixels::compressesEveryFormatAlike_data()
{
    QTest::addColumn<QImage::Format>("format");
    for (const QImage::Format format :
         {QImage::Format_RGB888, QImage::Format_BGR888, QImage::Format_RGBX8888, QImage::Format_RGBA8888,
          QImage::Format_ARGB32, QImage::Format_ARGB32_Premultiplied, QImage::Format_RGBX64}) {
        QTest::addRow("%s", formatName(format)) << format;
    }
}

void TestPdfPixels::compressesEveryFormatAlike()
{
    QFETCH(const QImage::Format, format);
    const QImage image = noisePicture(pictureSize);
    const auto coded = [](const QImage &picture) {
        const WrittenPdf pdf = readPdf(pdfOf({picture, {}, {}}, sheetsBetween({0, 150}, picture.width()), {}));
        return pdf.pages.at(0).bands.at(0).colors;
    };
    const WrittenImage colors = coded(image.convertToFormat(format));
    QCOMPARE(colors.filter, QByteArray("/DCTDecode"));
    QCOMPARE(colors.bytes, coded(image).bytes);
}

void TestPdfPixels::hasNoProfileOfOtherChannels()
{
    QImage image = noisePicture(pictureSize).convertToFormat(QImage::Format_Grayscale8);
    const QList<PdfSheet> sheets = sheetsBetween({0, 150}, image.width());
    QVERIFY(!pdfOf({image, {}, {}}, sheets, lossless()).contains("/ICCBased"));
    QVERIFY(pdfOf({image, {}, {}, QColorSpace(QColorSpace::DisplayP3)}, sheets, lossless()).contains("/DeviceGray"));
    QVERIFY(!pdfOf({image, {}, {}, QColorSpace(QColorSpace::DisplayP3)}, sheets, lossless()).contains("/ICCBased"));
}

void TestPdfPixels::jpegNeedsRows()
{
    const QImage image = noisePicture(pictureSize);
    const JpegTables tables = jpegTablesFor(image, 94);
    QVERIFY_THROWS_EXCEPTION(PdfError, (void)packJpeg(image, 3, 3, 94, tables));
}

QUILLMARCH_TEST_MAIN(TestPdfPixels)
#include "tst_pdfpixels.moc"
