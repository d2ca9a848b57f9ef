#include "../decode/jpegbytes.h"
#include "support/pictures.h"
#include "support/testmain.h"
#include "writtenpdf.h"

#include <QBuffer>

using namespace Qt::StringLiterals;

namespace {

constexpr QSize pictureSize(93, 250); // no multiple of a block
const QList<int> cuts{0, 1, 15, 16, 17, 31, 32, 64, 99, 128, 200, 249, 250};

PdfOptions lossless()
{
    PdfOptions options;
    options.lossless = true;
    return options;
}

/// The rows of \a band that the page shows, which is as high as they are.
QImage shownRows(const WrittenPage &page, const PdfSheet &sheet)
{
    const QList<QByteArray> words = page.content.simplified().split(' ');
    const qsizetype at = words.indexOf("cm");
    const double rowHeight = sheet.size.height() / (sheet.strips.at(0).endRow - sheet.strips.at(0).firstRow);
    const double top = words.at(at - 1).toDouble() + words.at(at - 3).toDouble();
    const int rowsAbove = qRound((top - sheet.size.height()) / rowHeight);
    const QImage image = QImage::fromData(page.bands.at(0).colors.bytes, "jpeg");
    return image.copy(0, rowsAbove, image.width(), sheet.strips.at(0).endRow - sheet.strips.at(0).firstRow);
}

QList<PdfSheet> highSheets()
{
    QList<PdfSheet> sheets = sheetsBetween(cuts, pictureSize.width());
    for (PdfSheet &sheet : sheets) { // a single row is less than the smallest page
        sheet.size = QSizeF(93, 10.0 * (sheet.strips.at(0).endRow - sheet.strips.at(0).firstRow));
        sheet.strips[0].place = QRectF(QPointF(), sheet.size);
    }
    return sheets;
}

} // namespace

/// JPEG input: its bands, decoded, are the rows of the decoded file.
class TestPdfJpeg : public QObject
{
    Q_OBJECT

private slots:
    void copiesBands_data();
    void copiesBands();
    void isHardlyLargerThanTheFile_data();
    void isHardlyLargerThanTheFile();
    void keepsPixelsOfOtherFiles_data();
    void keepsPixelsOfOtherFiles();
    void packsGrayAsOneChannel_data();
    void packsGrayAsOneChannel();
    void halvesTheResolutionOfHue();
};

void TestPdfJpeg::copiesBands_data()
{
    QTest::addColumn<JpegKind>("kind");
    for (const bool isProgressive : {false, true}) {
        const auto row = [isProgressive](const char *name, JpegKind kind) {
            kind.isProgressive = isProgressive;
            QTest::addRow("%s, %s", isProgressive ? "progressive" : "baseline", name) << kind;
        };
        for (const auto &[horizontal, vertical] : {std::pair(1, 1), {2, 1}, {1, 2}, {2, 2}, {4, 1}, {4, 2}}) {
            JpegKind kind;
            kind.horizontal = horizontal;
            kind.vertical = vertical;
            row(qPrintable(u"%1x%2"_s.arg(horizontal).arg(vertical)), kind);
        }
        JpegKind gray;
        gray.channels = 1;
        row("gray", gray);
        JpegKind rgb;
        rgb.isRgb = true;
        row("RGB", rgb);
        JpegKind restarts;
        restarts.restartRows = 1;
        row("restart markers", restarts);
        JpegKind scans;
        scans.hasOneScanAChannel = true;
        row("a scan for each channel", scans);
    }
    JpegKind coarse;
    coarse.quality = 5;
    QTest::addRow("low quality") << coarse;
    JpegKind fine;
    fine.quality = 100;
    QTest::addRow("high quality") << fine;
}

void TestPdfJpeg::copiesBands()
{
    QFETCH(const JpegKind, kind);
    const QByteArray file = jpegOf(jpegPicture(pictureSize), kind);
    const QImage image = QImage::fromData(file, "jpeg");
    QCOMPARE(image.size(), pictureSize);
    const QList<PdfSheet> sheets = highSheets();
    const WrittenPdf pdf = readPdf(pdfOf({image, file, {}}, sheets, lossless()));
    QCOMPARE(pdf.errors, QByteArray());
    for (qsizetype i = 0; i < sheets.size(); ++i) {
        QCOMPARE(pdf.pages.at(i).bands.at(0).colors.filter, QByteArray("/DCTDecode"));
        QCOMPARE(pdf.pages.at(i).bands.at(0).colors.channels, kind.channels);
        const PlacedStrip &strip = sheets.at(i).strips.at(0);
        const QImage expected = image.copy(0, strip.firstRow, image.width(), strip.endRow - strip.firstRow);
        QVERIFY2(shownRows(pdf.pages.at(i), sheets.at(i)) == expected, qPrintable(u"strip %1"_s.arg(i)));
    }
}

void TestPdfJpeg::isHardlyLargerThanTheFile_data()
{
    QTest::addColumn<bool>("isProgressive");
    QTest::addRow("baseline") << false;
    QTest::addRow("progressive") << true;
}

void TestPdfJpeg::isHardlyLargerThanTheFile()
{
    QFETCH(const bool, isProgressive);
    JpegKind kind;
    kind.isProgressive = isProgressive;
    kind.quality = 90;
    const QImage picture = noisePicture(QSize(600, 4000))
                               .scaled(600, 4000)
                               .scaled(60, 400)
                               .scaled(600, 4000, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    const QByteArray file = jpegOf(picture, kind);
    QList<int> pages;
    for (int y = 0; y <= 4000; y += 800) {
        pages.append(y + (y > 0 && y < 4000 ? 3 : 0));
    }
    const QByteArray pdf = pdfOf({QImage::fromData(file, "jpeg"), file, {}}, sheetsBetween(pages, 600), lossless());
    QVERIFY2(double(pdf.size()) < 1.05 * double(file.size()),
             qPrintable(u"%1 bytes from %2"_s.arg(pdf.size()).arg(file.size())));
}

void TestPdfJpeg::keepsPixelsOfOtherFiles_data()
{
    QTest::addColumn<QByteArray>("file");
    const QByteArray good = jpegOf(jpegPicture(pictureSize), {});
    QTest::addRow("truncated") << good.left(good.size() / 2);
    QTest::addRow("another size") << jpegOf(jpegPicture(QSize(93, 249)), {});
    QTest::addRow("no JPEG file") << QByteArray("no JPEG file");
}

void TestPdfJpeg::keepsPixelsOfOtherFiles()
{
    QFETCH(const QByteArray, file);
    const QImage image = jpegPicture(pictureSize).convertToFormat(QImage::Format_RGB32);
    const WrittenPdf pdf = readPdf(pdfOf({image, file, {}}, sheetsBetween({0, 100, 250}, 93), lossless()));
    QCOMPARE(pdf.pages.at(0).bands.at(0).colors.filter, QByteArray("/FlateDecode"));
    QCOMPARE(firstDeepDifference(joined(pdf), image.convertToFormat(QImage::Format_RGBA64)), QString());
}

void TestPdfJpeg::packsGrayAsOneChannel_data()
{
    QTest::addColumn<QImage>("image");
    QTest::addColumn<int>("channels");
    QTest::addColumn<QByteArray>("filter");
    const QImage picture = textPicture(93, 250);
    QTest::addRow("gray") << picture.convertToFormat(QImage::Format_Grayscale8) << 1 << QByteArray("/DCTDecode");
    QTest::addRow("gray, 16 bits") << picture.convertToFormat(QImage::Format_Grayscale16) << 1
                                   << QByteArray("/DCTDecode");
    QTest::addRow("gray palette")
        << picture.convertToFormat(QImage::Format_Grayscale8).convertToFormat(QImage::Format_Indexed8) << 1
        << QByteArray("/DCTDecode");
    QTest::addRow("palette") << palettePicture(QSize(93, 250), true, 1) << 3 << QByteArray("/DCTDecode");
    QTest::addRow("color") << picture << 3 << QByteArray("/DCTDecode");
    QTest::addRow("bits") << picture.convertToFormat(QImage::Format_Mono) << 1 << QByteArray("/FlateDecode");
}

void TestPdfJpeg::packsGrayAsOneChannel()
{
    QFETCH(const QImage, image);
    QFETCH(const int, channels);
    QFETCH(const QByteArray, filter);
    const WrittenPdf pdf = readPdf(pdfOf({image, {}, {}}, sheetsBetween({0, 100, 250}, 93), {}));
    QCOMPARE(pdf.pages.at(0).bands.at(0).colors.channels, channels);
    QCOMPARE(pdf.pages.at(0).bands.at(0).colors.filter, filter);
}

/// As Qt saves the same rows: nobody sees a difference to the window's files.
void TestPdfJpeg::halvesTheResolutionOfHue()
{
    const QImage image = jpegPicture(QSize(93, 64)).convertToFormat(QImage::Format_RGB32);
    const WrittenPdf pdf = readPdf(pdfOf({image, {}, {}}, sheetsBetween({0, 64}, 93), {}));
    const QByteArray saved = [&image] {
        QByteArray bytes;
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::WriteOnly);
        image.save(&buffer, "JPEG", 94);
        return bytes;
    }();
    QCOMPARE(QImage::fromData(pdf.pages.at(0).bands.at(0).colors.bytes, "jpeg"), QImage::fromData(saved, "jpeg"));
}

QUILLMARCH_TEST_MAIN(TestPdfJpeg)
#include "tst_pdfjpeg.moc"
