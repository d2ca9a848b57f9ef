#include "../decode/jpegbytes.h"
#include "pdf/entropybits.h"
#include "pdf/jpegbits.h"
#include "pdf/optimaltable.h"
#include "support/pictures.h"
#include "support/testmain.h"
#include "writtenpdf.h"

#include <QBuffer>
#include <QPainter>
#include <QRandomGenerator>
#include <QtEndian>

#include <algorithm>
#include <set>

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

/// Gray that grows lighter from left to right, step by step, so that only the first block
/// of a row differs much from the one before it.
QImage rampPicture()
{
    QImage image(1024, 32, QImage::Format_Grayscale8);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            // The second row of blocks goes back from light to dark.
            const int block = y / 8 % 2 == 0 ? x / 8 : 127 - x / 8;
            image.scanLine(y)[x] = uchar(128 + block * 2 / 3);
        }
    }
    return image;
}

/// \a jpeg with two more 0xff before each marker of a segment.
QByteArray withPadding(const QByteArray &jpeg)
{
    QByteArray padded = jpeg.left(2);
    qsizetype at = 2;
    while (uchar(jpeg.at(at + 1)) != 0xda) { // the scan
        const qsizetype size = 2 + qFromBigEndian<quint16>(jpeg.constData() + at + 2);
        padded += "\xff\xff" + jpeg.mid(at, size);
        at += size;
    }
    return padded + "\xff\xff" + jpeg.mid(at);
}

/// What \a band shows of the rows from \a first to before \a end.
QImage rowsOf(const PackedBand &band, int first, int end)
{
    const QImage image = QImage::fromData(band.colors.bytes, "jpeg");
    return image.copy(0, first - band.firstRow, image.width(), end - first);
}

/// \a file with some bytes of its header or its scan changed, or its end missing.
QByteArray damaged(QByteArray file, QRandomGenerator &random)
{
    const int changes = random.bounded(1, 4);
    for (int i = 0; i < changes; ++i) {
        const bool isInHeader = random.bounded(3) == 0;
        const qsizetype at = random.bounded(2, int(isInHeader ? 640 : file.size()));
        file[at] = char(random.bounded(256));
    }
    return random.bounded(8) == 0 ? file.left(random.bounded(int(file.size()))) : file;
}

QByteArray savedByQt(const QImage &image, int quality)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "JPEG", quality);
    return bytes;
}

/// The bits of all symbols in the shortest code: each joining of two subtrees adds a bit
/// to all of their symbols.
quint64 leastBits(const SymbolCounts &counts)
{
    std::multiset<quint64> trees{1}; // for the code that is not used
    std::copy_if(counts.begin(), counts.end(), std::inserter(trees, trees.end()), [](quint32 n) { return n > 0; });
    quint64 bits = 0;
    while (trees.size() > 1) {
        const quint64 sum = *trees.begin() + *std::next(trees.begin());
        trees.erase(trees.begin(), std::next(trees.begin(), 2));
        trees.insert(sum);
        bits += sum;
    }
    return bits;
}

} // namespace

/// JPEG input: its bands, decoded, are the rows of the decoded file.
class TestPdfJpeg : public QObject
{
    Q_OBJECT

private slots:
    void copiesBands_data();
    void copiesBands();
    void copiesBitsOfPlainFiles_data();
    void copiesBitsOfPlainFiles();
    void writesBitsAsTheyAre();
    void copiesRowsThatTheTablesCannotBegin();
    void copiesTheGreatestCoefficients_data();
    void copiesTheGreatestCoefficients();
    void copiesDamagedFilesExactlyOrNot_data();
    void copiesDamagedFilesExactlyOrNot();
    void keepsTheProfileOfAFileWithoutAnImage();
    void isHardlyLargerThanTheFile_data();
    void isHardlyLargerThanTheFile();
    void keepsPixelsOfOtherFiles_data();
    void keepsPixelsOfOtherFiles();
    void packsGrayAsOneChannel_data();
    void packsGrayAsOneChannel();
    void halvesTheResolutionOfHue();
    void packsWhatTheSampleLacks_data();
    void packsWhatTheSampleLacks();
    void isSmallerThanByQt_data();
    void isSmallerThanByQt();
    void makesOptimalTables_data();
    void makesOptimalTables();
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
    const WrittenPdf pdf = readPdf(pdfOf({image, JpegBands::read(file), {}}, sheets, lossless()));
    QCOMPARE(pdf.errors, QByteArray());
    for (qsizetype i = 0; i < sheets.size(); ++i) {
        QCOMPARE(pdf.pages.at(i).bands.at(0).colors.filter, QByteArray("/DCTDecode"));
        QCOMPARE(pdf.pages.at(i).bands.at(0).colors.channels, kind.channels);
        const PlacedStrip &strip = sheets.at(i).strips.at(0);
        const QImage expected = image.copy(0, strip.firstRow, image.width(), strip.endRow - strip.firstRow);
        QVERIFY2(shownRows(pdf.pages.at(i), sheets.at(i)) == expected, qPrintable(u"strip %1"_s.arg(i)));
    }
}

void TestPdfJpeg::copiesBitsOfPlainFiles_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<bool>("areBitsCopied");
    const QImage picture = jpegPicture(pictureSize);
    const QByteArray plain = jpegOf(picture, {});
    QTest::addRow("color") << plain << true;
    QTest::addRow("gray") << jpegOf(picture, {.channels = 1, .horizontal = 1, .vertical = 1}) << true;
    QTest::addRow("RGB") << jpegOf(picture, {.horizontal = 1, .vertical = 1, .isRgb = true}) << true;
    QTest::addRow("tables of its own") << jpegOf(picture, {.hasOwnTables = true}) << true;
    QTest::addRow("more after the end") << plain + "more" << true;
    QTest::addRow("padded markers") << withPadding(plain) << true;
    QTest::addRow("an Exif segment") << withSegment(plain, 0xe1, exifOf(1)) << true;
    QTest::addRow("gray, 2x2 samples") << jpegOf(picture, {.channels = 1}) << false;
    QTest::addRow("progressive") << jpegOf(picture, {.isProgressive = true}) << false;
    QTest::addRow("restart markers") << jpegOf(picture, {.restartRows = 1}) << false;
    QTest::addRow("a scan for each channel") << jpegOf(picture, {.hasOneScanAChannel = true}) << false;
    QTest::addRow("tables that cannot begin a row")
        << jpegOf(rampPicture(), {.channels = 1, .horizontal = 1, .vertical = 1, .hasOwnTables = true}) << false;
    QTest::addRow("truncated") << plain.left(plain.size() / 2) << false;
    QTest::addRow("without an end") << plain.chopped(2) << false;
    QTest::addRow("bytes before the end") << plain.chopped(2) + "more\xff\xd9" << false;
    QTest::addRow("the header alone") << plain.left(640) << false;
    QTest::addRow("no JPEG file") << QByteArray("no JPEG file") << false;
    QTest::addRow("empty") << QByteArray() << false;
}

void TestPdfJpeg::copiesBitsOfPlainFiles()
{
    QFETCH(const QByteArray, file);
    QFETCH(const bool, areBitsCopied);
    const auto bits = JpegBits::read(file);
    QCOMPARE(bits != nullptr, areBitsCopied);
    if (bits) {
        QCOMPARE(bits->size(), pictureSize);
        QCOMPARE(rowsOf(bits->pack(0, 250), 0, 250), QImage::fromData(file, "jpeg"));
        QCOMPARE(rowsOf(bits->pack(99, 128), 99, 128), QImage::fromData(file, "jpeg").copy(0, 99, 93, 29));
    }
}

void TestPdfJpeg::writesBitsAsTheyAre()
{
    QRandomGenerator random(7);
    for (int round = 0; round < 300; ++round) {
        QByteArray file;
        EntropyWriter writer(file);
        QByteArray digits;
        const auto add = [&](unsigned value, int count) {
            writer.append(value, count);
            digits += QByteArray::number(qulonglong(value), 2).rightJustified(count, '0');
        };
        for (int i = 0; i < round % 23; ++i) {
            const int count = random.bounded(1, 33);
            const unsigned mask = count == 32 ? ~0U : (1U << unsigned(count)) - 1;
            add(random.bounded(4) == 0 ? mask : random.generate() & mask, count); // often 0xff
        }
        add(0, 1 + round % 8);
        writer.finish();

        digits += QByteArray((8 - digits.size() % 8) % 8, '1');
        QByteArray expected;
        for (qsizetype i = 0; i < digits.size(); i += 8) {
            const char byte = char(digits.mid(i, 8).toInt(nullptr, 2));
            expected += byte == '\xff' ? QByteArray("\xff\0", 2) : QByteArray(1, byte);
        }
        QCOMPARE(file, expected);
    }
}

void TestPdfJpeg::copiesRowsThatTheTablesCannotBegin()
{
    const QImage ramp = rampPicture();
    const QByteArray file = jpegOf(ramp, {.channels = 1, .horizontal = 1, .vertical = 1, .hasOwnTables = true});
    const auto bands = JpegBands::read(file);
    QVERIFY(bands != nullptr);
    for (int y = 0; y < ramp.height(); y += 8) {
        QCOMPARE(rowsOf(bands->pack(y, y + 8), y, y + 8), QImage::fromData(file, "jpeg").copy(0, y, ramp.width(), 8));
    }
}

void TestPdfJpeg::copiesTheGreatestCoefficients_data()
{
    QTest::addColumn<bool>("isProgressive");
    QTest::addRow("baseline") << false;
    QTest::addRow("progressive") << true;
}

void TestPdfJpeg::copiesTheGreatestCoefficients()
{
    QFETCH(const bool, isProgressive);
    QImage picture = noisePicture(QSize(64, 64)).convertToFormat(QImage::Format_RGB32);
    for (int i = 0; i < 8; ++i) { // black and white: blocks, columns, rows and single pixels
        QPainter(&picture).fillRect(i % 4 * 16, i / 4 * 16, 8, 8, i % 2 == 0 ? Qt::black : Qt::white);
        QPainter(&picture).fillRect(i, 32, 1, 8, i % 2 == 0 ? Qt::black : Qt::white);
        QPainter(&picture).fillRect(32, 32 + i, 8, 1, i % 2 == 0 ? Qt::black : Qt::white);
    }
    const QByteArray file =
        jpegOf(picture, {.horizontal = 1, .vertical = 1, .isProgressive = isProgressive, .quality = 100});
    const auto bands = JpegBands::read(file);
    QVERIFY(bands != nullptr);
    QCOMPARE(rowsOf(bands->pack(16, 64), 16, 64), QImage::fromData(file, "jpeg").copy(0, 16, 64, 48));
}

void TestPdfJpeg::copiesDamagedFilesExactlyOrNot_data()
{
    QTest::addColumn<QByteArray>("file");
    const QImage picture = jpegPicture(pictureSize);
    QTest::addRow("4:2:0") << jpegOf(picture, {});
    QTest::addRow("4:4:4") << jpegOf(picture, {.horizontal = 1, .vertical = 1, .quality = 98});
    QTest::addRow("4:1:1, own tables") << jpegOf(picture, {.horizontal = 4, .vertical = 1, .hasOwnTables = true});
    QTest::addRow("gray") << jpegOf(picture, {.channels = 1, .horizontal = 1, .vertical = 1});
    QTest::addRow("progressive") << jpegOf(picture, {.isProgressive = true});
}

/// Whatever is copied shows what a decoder makes of the whole file.
void TestPdfJpeg::copiesDamagedFilesExactlyOrNot()
{
    QFETCH(const QByteArray, file);
    QRandomGenerator random(7);
    int copied = 0;
    for (int i = 0; i < 400; ++i) {
        const QByteArray bytes = damaged(file, random);
        const auto bands = JpegBands::read(bytes);
        if (!bands || bands->size().height() > 1000) {
            continue;
        }
        const QImage whole = QImage::fromData(bytes, "jpeg");
        QCOMPARE(bands->size(), whole.size());
        for (int y = 0; y < whole.height(); y += 41) {
            const int end = std::min(whole.height(), y + 41);
            QVERIFY2(rowsOf(bands->pack(y, end), y, end) == whole.copy(0, y, whole.width(), end - y),
                     qPrintable(u"change %1, row %2"_s.arg(i).arg(y)));
        }
        ++copied;
    }
    QVERIFY2(copied > 20, qPrintable(QString::number(copied)));
}

void TestPdfJpeg::keepsTheProfileOfAFileWithoutAnImage()
{
    QImage picture = jpegPicture(pictureSize).convertToFormat(QImage::Format_RGB32);
    picture.setColorSpace(QColorSpace(QColorSpace::AdobeRgb));
    QByteArray file;
    QBuffer buffer(&file);
    buffer.open(QIODevice::WriteOnly);
    QVERIFY(picture.save(&buffer, "JPEG"));
    const QImage image = QImage::fromData(file, "jpeg");
    QVERIFY(image.colorSpace().isValid());
    const auto bits = JpegBits::read(file);
    QVERIFY(bits != nullptr);
    QCOMPARE(bits->colorSpace(), image.colorSpace());
    const QList<PdfSheet> sheets = sheetsBetween({0, 100, 250}, 93);
    const WrittenPdf pdf = readPdf(pdfOf({{}, bits, {}, bits->colorSpace()}, sheets, lossless()));
    const WrittenPdf decoded = readPdf(pdfOf({image, bits, {}}, sheets, lossless()));
    QVERIFY(!pdf.pages.at(0).bands.at(0).colors.profile.isEmpty());
    QCOMPARE(pdf.pages.at(0).bands.at(0).colors.profile, decoded.pages.at(0).bands.at(0).colors.profile);
    QCOMPARE(pdf.pages.at(1).bands.at(0).colors.bytes, decoded.pages.at(1).bands.at(0).colors.bytes);
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
    const QByteArray pdf =
        pdfOf({QImage::fromData(file, "jpeg"), JpegBands::read(file), {}}, sheetsBetween(pages, 600), lossless());
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
    const WrittenPdf pdf =
        readPdf(pdfOf({image, JpegBands::read(file), {}}, sheetsBetween({0, 100, 250}, 93), lossless()));
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
    QCOMPARE(QImage::fromData(pdf.pages.at(0).bands.at(0).colors.bytes, "jpeg"),
             QImage::fromData(savedByQt(image, 94), "jpeg"));
}

void TestPdfJpeg::packsWhatTheSampleLacks_data()
{
    QTest::addColumn<QImage::Format>("format");
    QTest::addColumn<int>("quality");
    for (const int quality : {1, 50, 94, 100}) {
        QTest::addRow("color, quality %d", quality) << QImage::Format_RGB32 << quality;
        QTest::addRow("gray, quality %d", quality) << QImage::Format_Grayscale8 << quality;
    }
}

/// White, but for rows of noise and of black and white that the tables are not made from.
void TestPdfJpeg::packsWhatTheSampleLacks()
{
    QFETCH(const QImage::Format, format);
    QFETCH(const int, quality);
    QImage image = plainPicture(201, 4096, Qt::white);
    QPainter painter(&image);
    painter.drawImage(0, 100, noisePicture(QSize(201, 90)));
    for (int x = 0; x < 201; x += 2) {
        painter.fillRect(x, 300, 1, 60, Qt::black);
        painter.fillRect(0, 620 + x, 201, 1, Qt::black);
    }
    painter.end();
    image.convertTo(format);
    PdfOptions options;
    options.quality = quality;
    const WrittenPdf pdf = readPdf(pdfOf({image, {}, {}}, sheetsBetween({0, 4096}, 201), options));
    QCOMPARE(QImage::fromData(pdf.pages.at(0).bands.at(0).colors.bytes, "jpeg"),
             QImage::fromData(savedByQt(image, quality), "jpeg"));
}

void TestPdfJpeg::isSmallerThanByQt_data()
{
    QTest::addColumn<QImage>("image");
    QTest::addRow("text") << textPicture(400, 2000).convertToFormat(QImage::Format_RGB32);
    QTest::addRow("gray text") << textPicture(400, 2000).convertToFormat(QImage::Format_Grayscale8);
    QTest::addRow("soft blocks") << jpegPicture(QSize(400, 2000));
    QTest::addRow("noise") << noisePicture(QSize(400, 2000)).convertToFormat(QImage::Format_Grayscale8);
}

void TestPdfJpeg::isSmallerThanByQt()
{
    QFETCH(const QImage, image);
    const WrittenPdf pdf = readPdf(pdfOf({image, {}, {}}, sheetsBetween({0, 2000}, 400), {}));
    const qsizetype size = pdf.pages.at(0).bands.at(0).colors.bytes.size();
    const qsizetype byQt = savedByQt(image, 94).size();
    QVERIFY2(size * 100 < byQt * 99, qPrintable(u"%1 bytes, by Qt %2"_s.arg(size).arg(byQt)));
}

void TestPdfJpeg::makesOptimalTables_data()
{
    QTest::addColumn<SymbolCounts>("counts");
    QTest::addColumn<bool>("isLimited"); // some codes would be longer than 16 bits
    SymbolCounts counts{};
    QTest::addRow("none") << counts << false;
    counts[7] = 1;
    QTest::addRow("one") << counts << false;
    counts[255] = 1000;
    QTest::addRow("two") << counts << false;
    counts.fill(1);
    QTest::addRow("all alike") << counts << false;
    for (size_t i = 0; i < 32; ++i) {
        counts[i] = i < 2 ? 1 : counts[i - 1] + counts[i - 2]; // the longest codes
    }
    std::fill(counts.begin() + 32, counts.end(), 0);
    QTest::addRow("Fibonacci numbers") << counts << true;
    QRandomGenerator random(3);
    for (int i = 0; i < 50; ++i) {
        std::generate(counts.begin(), counts.end(),
                      [&] { return random.bounded(3) == 0 ? 0 : 1U << random.bounded(i % 2 == 0 ? 9 : 16); });
        QTest::addRow("random %d", i) << counts << (i % 2 != 0);
    }
}

void TestPdfJpeg::makesOptimalTables()
{
    QFETCH(const SymbolCounts, counts);
    QFETCH(const bool, isLimited);
    const JHUFF_TBL table = optimalTable(counts);
    std::set<int> symbols;
    quint64 bits = 0;
    int space = 1 << 16; // codes of 16 bits that are free
    const UINT8 *symbol = table.huffval;
    for (int length = 1; length <= 16; ++length) {
        for (int i = 0; i < table.bits[length]; ++i) {
            bits += quint64(length) * counts[*symbol];
            QVERIFY(counts[*symbol] > 0);
            QVERIFY(symbols.insert(*symbol++).second);
            space -= 1 << (16 - length);
        }
    }
    QVERIFY(space > 0); // the code of ones
    QCOMPARE(qsizetype(symbols.size()), std::count_if(counts.begin(), counts.end(), [](quint32 n) { return n > 0; }));
    if (!isLimited) {
        int longest = 16;
        while (longest > 1 && table.bits[longest] == 0) {
            --longest;
        }
        QVERIFY(bits + quint64(longest) >= leastBits(counts));
        QVERIFY(bits <= leastBits(counts));
    }
}

QUILLMARCH_TEST_MAIN(TestPdfJpeg)
#include "tst_pdfjpeg.moc"
