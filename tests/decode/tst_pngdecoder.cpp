#include "decodecomparison.h"
#include "support/pngbytes.h"
#include "support/testmain.h"

#include <QBuffer>
#include <QColorSpace>
#include <QImageReader>
#include <QRandomGenerator>

using namespace Qt::StringLiterals;

namespace {

const QList<int> decodedTypes{0, 2, 3, 6};

QByteArray chunkOfNumbers(const QByteArray &type, const QList<quint32> &numbers)
{
    QByteArray data;
    for (const quint32 number : numbers) {
        data += bigEndian32(number);
    }
    return pngChunk(type, data);
}

/// Rows of gray pixels, 1024 bytes each: random ones, and \a repeated of 256 that
/// equal the row 31 above, nearly the largest distance of zlib.
QByteArray rowsWithRepeats(int rows, quint32 repeated)
{
    constexpr qsizetype distance = qsizetype(31) * 1024;
    QRandomGenerator random(repeated);
    QByteArray all;
    for (int y = 0; y < rows; ++y) {
        const bool isRepeated = all.size() >= distance && random.bounded(256U) < repeated;
        if (isRepeated) {
            all += all.sliced(all.size() - distance, 1024);
            continue;
        }
        all += '\0'; // filter
        for (int x = 1; x < 1024; ++x) {
            all += char(random.bounded(200U));
        }
    }
    return all;
}

QByteArray profileChunk(const QByteArray &profile)
{
    return pngChunk("iCCP", QByteArray("profile\0\0", 9) + zlibOf(profile));
}

} // namespace

class TestPngDecoder : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { silenceWarnings(); }
    void cleanup() { QImageReader::setAllocationLimit(256); }

    void decodesAsQt_data();
    void decodesAsQt();
    void decodesAnyPieces_data();
    void decodesAnyPieces();
    void decodesAnyPacking_data();
    void decodesAnyPacking();
    void decodesDistancesAcrossBlocks_data();
    void decodesDistancesAcrossBlocks();
    void keepsChunksAsQt_data();
    void keepsChunksAsQt();
    void leavesToQt_data();
    void leavesToQt();
    void leavesShortPalettesToQt();
    void statesTheSize();
    void knowsTheLongestSide_data();
    void knowsTheLongestSide();
    void keepsToTheAllocationLimit();
};

void TestPngDecoder::decodesAsQt_data()
{
    QTest::addColumn<int>("colorType");
    QTest::addColumn<int>("filter");
    QTest::addColumn<QSize>("size");
    const QList<QSize> small{{1, 1}, {3, 2}, {11, 11}, {16, 5}, {17, 33}, {253, 37}, {1023, 9}};
    for (const int type : decodedTypes) {
        for (int filter = 0; filter < 5; ++filter) {
            for (const QSize size : small) {
                QTest::addRow("type %d, filter %d, %dx%d", type, filter, size.width(), size.height())
                    << type << filter << size;
            }
        }
        // The large ones are unpacked ahead.
        for (const QSize size : {QSize(11, 70000), QSize(70000, 11), QSize(701, 4099)}) {
            QTest::addRow("type %d, all filters, %dx%d", type, size.width(), size.height()) << type << -1 << size;
        }
    }
}

void TestPngDecoder::decodesAsQt()
{
    QFETCH(int, colorType);
    QFETCH(int, filter);
    QFETCH(QSize, size);
    const QByteArray file = randomPng(size, {.colorType = colorType, .filter = filter});
    const QImage expected = readByQt(file, "png");
    QVERIFY(!expected.isNull());
    for (const DecodeThreads threads : {DecodeThreads::One, DecodeThreads::Two}) {
        QCOMPARE(differenceBetween(readByDecoder(file, "png", threads), expected), QString());
    }
}

void TestPngDecoder::decodesAnyPieces_data()
{
    QTest::addColumn<qsizetype>("piece");
    for (const qsizetype piece : {1, 2, 3, 4, 100, 8191, 8192, 65536, 131072, 1 << 30}) {
        QTest::addRow("%lld", static_cast<long long>(piece)) << piece;
    }
}

void TestPngDecoder::decodesAnyPieces()
{
    QFETCH(qsizetype, piece);
    const QSize size = piece < 100 ? QSize(50, 60) : QSize(700, 1100);
    const QByteArray file = pngOf(pngHeader(size, {}), {}, zlibOf(pngRows(size, {})), {}, piece);
    const QImage expected = readByQt(file, "png");
    QVERIFY(!expected.isNull());
    for (const DecodeThreads threads : {DecodeThreads::One, DecodeThreads::Two}) {
        QCOMPARE(differenceBetween(readByDecoder(file, "png", threads), expected), QString());
    }
}

void TestPngDecoder::decodesAnyPacking_data()
{
    QTest::addColumn<int>("level"); // of zlib
    QTest::addColumn<int>("window"); // as stated
    for (int level = 0; level <= 9; ++level) {
        QTest::addRow("level %d", level) << level << 15;
    }
    for (int window = 8; window <= 15; ++window) {
        QTest::addRow("window of %d bits", window) << 6 << window;
    }
}

void TestPngDecoder::decodesAnyPacking()
{
    QFETCH(int, level);
    QFETCH(int, window);
    const QSize size(300, 300);
    QByteArray packed = zlibOf(pngRows(size, {.filter = 4}), level);
    const int method = (window - 8) << 4 | 8;
    packed[0] = char(method);
    packed[1] = char(31 - method * 256 % 31);
    const QByteArray file = pngOf(pngHeader(size, {}), {}, packed);
    const QImage expected = readByQt(file, "png");
    QVERIFY(!expected.isNull());
    const QImage actual = readByDecoder(file, "png");
    QVERIFY(!actual.isNull() || window < 15); // a window too small for the distances is left to Qt
    QCOMPARE(actual.isNull() ? QString() : differenceBetween(actual, expected), QString());
}

void TestPngDecoder::decodesDistancesAcrossBlocks_data()
{
    QTest::addColumn<quint32>("repeated");
    for (const quint32 repeated : {0U, 16U, 64U, 128U, 192U, 224U, 240U, 250U, 256U}) {
        QTest::addRow("%u of 256", repeated) << repeated;
    }
}

void TestPngDecoder::decodesDistancesAcrossBlocks()
{
    QFETCH(quint32, repeated);
    const QSize size(1023, 1500);
    const QByteArray packed = zlibOf(rowsWithRepeats(size.height(), repeated));
    const QByteArray file = pngOf(pngHeader(size, {.colorType = 0}), {}, packed);
    const QImage expected = readByQt(file, "png");
    QVERIFY(!expected.isNull());
    QCOMPARE(differenceBetween(readByDecoder(file, "png"), expected), QString());
}

void TestPngDecoder::keepsChunksAsQt_data()
{
    QTest::addColumn<int>("colorType");
    QTest::addColumn<QByteArray>("chunk");
    const QByteArray white = chunkOfNumbers("cHRM", {31270, 32900, 64000, 33000, 30000, 60000, 15000, 6000});
    const QByteArray gray("gray\0\0", 6);
    const QList<std::pair<const char *, QByteArray>> chunks{
        {"gamma", chunkOfNumbers("gAMA", {45455})},
        {"gamma of 1", chunkOfNumbers("gAMA", {100000})},
        {"gamma of 0", chunkOfNumbers("gAMA", {0})},
        {"sRGB", pngChunk("sRGB", QByteArray(1, '\0'))},
        {"unknown intent", pngChunk("sRGB", "\x09")},
        {"chromaticities", white},
        {"chromaticities and gamma", white + chunkOfNumbers("gAMA", {45455})},
        {"sRGB and gamma", pngChunk("sRGB", "\x01") + chunkOfNumbers("gAMA", {45455})},
        {"profile", profileChunk(QColorSpace(QColorSpace::AdobeRgb).iccProfile())},
        {"another profile", profileChunk(QColorSpace(QColorSpace::DisplayP3).iccProfile())},
        {"broken profile", profileChunk("no profile at all")},
        {"resolution in meters", pngChunk("pHYs", bigEndian32(11811) + bigEndian32(5906) + '\1')},
        {"resolution without a unit", pngChunk("pHYs", bigEndian32(2) + bigEndian32(1) + '\0')},
        {"resolution of 0", pngChunk("pHYs", bigEndian32(0) + bigEndian32(0) + '\1')},
        {"offset", pngChunk("oFFs", bigEndian32(17) + bigEndian32(4) + '\0')},
        {"text", pngChunk("tEXt", QByteArray("Title\0A  picture\n of\xe4 text", 25))},
        {"text twice", pngChunk("tEXt", QByteArray("Key\0one", 7)) + pngChunk("tEXt", QByteArray("Key\0two", 7))},
        {"packed text", pngChunk("zTXt", QByteArray("Comment\0\0", 9) + zlibOf("packed text"))},
        {"international text", pngChunk("iTXt", QByteArray("Author\0\0\0de\0Autor\0J\xc3\xbcrgen", 24))},
        {"text without an end", pngChunk("tEXt", "NoZero")},
        {"time", pngChunk("tIME", QByteArray("\x07\xe8\x01\x02\x03\x04\x05", 7))},
        {"wrong length", pngChunk("tIME", "x")},
        {"background", pngChunk("bKGD", QByteArray(6, '\x20'))},
        {"significant bits", pngChunk("sBIT", QByteArray(3, '\5'))},
        {"suggested palette", pngChunk("sPLT", QByteArray("name\0\x08\1\2\3\4\0\1", 12))},
        {"EXIF", pngChunk("eXIf", QByteArray("MM\0\x2a\0\0\0\x08\0\1\1\x12\0\3\0\0\0\1\0\6\0\0\0\0\0\0", 26))},
        {"scale",
         pngChunk("sCAL",
                  QByteArray("\1"
                             "1.5\0"
                             "2.5",
                             8))},
        {"unknown", pngChunk("quIl", "anything")},
        {"histogram", pngChunk("hIST", QByteArray(512, '\1'))},
        {"a palette", pngPalette(7)},
        {"transparent colors", pngChunk("tRNS", QByteArray("\0\x40\x80", 3))},
        {"transparent gray", pngChunk("tRNS", QByteArray("\0\x40", 2))},
        {"transparent RGB", pngChunk("tRNS", QByteArray(6, '\0'))},
    };
    for (const int type : decodedTypes) {
        for (const auto &[name, chunk] : chunks) {
            QTest::addRow("type %d, %s", type, name) << type << chunk;
        }
    }
}

void TestPngDecoder::keepsChunksAsQt()
{
    QFETCH(int, colorType);
    QFETCH(QByteArray, chunk);
    const PngKind kind{.colorType = colorType};
    const QSize size(21, 13);
    for (const QByteArray &file :
         {randomPng(size, kind, chunk), randomPng(size, kind, {}, chunk), randomPng(size, kind, chunk, chunk)}) {
        QCOMPARE(differenceFromQt(file, "png"), QString());
        if (chunk.mid(4, 4) == "tEXt" || chunk.mid(4, 4) == "gAMA") {
            QVERIFY(!readByDecoder(file, "png").isNull()); // the comparison has something to compare
        }
    }
}

void TestPngDecoder::leavesToQt_data()
{
    QTest::addColumn<QByteArray>("file");
    const QSize size(21, 13);
    for (const int depth : {1, 2, 4, 16}) {
        QTest::addRow("gray of %d bits", depth) << randomPng(size, {.colorType = 0, .depth = depth});
    }
    for (const int depth : {1, 2, 4}) {
        QTest::addRow("palette of %d bits", depth) << randomPng(size, {.colorType = 3, .depth = depth});
    }
    for (const int type : {2, 4, 6}) {
        QTest::addRow("type %d of 16 bits", type) << randomPng(size, {.colorType = type, .depth = 16});
    }
    QTest::newRow("gray with alpha") << randomPng(size, {.colorType = 4});
    QTest::newRow("text without a key") << randomPng(size, {}, pngChunk("tEXt", QByteArray("\0text", 5)));
    for (const int type : {0, 2, 3, 4, 6}) {
        QTest::addRow("type %d, interlaced", type) << randomPng({1, 1}, {.colorType = type, .interlace = 1});
    }
    QTest::newRow("color key") << randomPng(size, {}, pngChunk("tRNS", QByteArray(6, '\0')));
    QTest::newRow("bytes behind the end") << randomPng(size, {}) + "more";
}

void TestPngDecoder::leavesToQt()
{
    QFETCH(QByteArray, file);
    QVERIFY(!readByQt(file, "png").isNull());
    QVERIFY(readByDecoder(file, "png").isNull());
}

void TestPngDecoder::leavesShortPalettesToQt()
{
    const QSize size(20, 20);
    const PngKind kind{.colorType = 3, .filter = 0};
    QByteArray rows = pngRows(size, kind);
    for (qsizetype i = 0; i < rows.size(); ++i) {
        rows[i] = char(i % 21 == 0 ? 0 : uchar(rows.at(i)) % 7);
    }
    const auto fileOf = [&](int colors) { return pngOf(pngHeader(size, kind), pngPalette(colors), zlibOf(rows)); };
    QVERIFY(!readByDecoder(fileOf(7), "png").isNull());
    QCOMPARE(differenceFromQt(fileOf(7), "png"), QString());
    QVERIFY(readByDecoder(fileOf(6), "png").isNull()); // the highest index has no color
    QVERIFY(!readByQt(fileOf(6), "png").isNull());
}

void TestPngDecoder::statesTheSize()
{
    QByteArray file = randomPng({123, 45}, {});
    QBuffer buffer(&file);
    QVERIFY(buffer.open(QIODevice::ReadOnly));
    const auto decoder = makeImageDecoder(buffer, "png");
    QVERIFY(decoder);
    QCOMPARE(decoder->size(), QSize(123, 45));
    QVERIFY(!makeImageDecoder(buffer, "jpeg"));
    QVERIFY(!makeImageDecoder(buffer, "bmp"));
}

void TestPngDecoder::knowsTheLongestSide_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<bool>("readable");
    QTest::newRow("wide") << QSize(1'000'000, 1) << true;
    QTest::newRow("too wide") << QSize(1'000'001, 1) << false;
    QTest::newRow("high") << QSize(1, 1'000'000) << true;
    QTest::newRow("too high") << QSize(1, 1'000'001) << false;
}

void TestPngDecoder::knowsTheLongestSide()
{
    QFETCH(QSize, size);
    QFETCH(bool, readable);
    const QByteArray file = randomPng(size, {.colorType = 0, .filter = 0});
    QCOMPARE(!readByQt(file, "png").isNull(), readable);
    QCOMPARE(!readByDecoder(file, "png").isNull(), readable);
}

/// Qt counts four bytes a pixel whatever the depth is.
void TestPngDecoder::keepsToTheAllocationLimit()
{
    for (const int type : decodedTypes) {
        const QByteArray fitting = randomPng({512, 512}, {.colorType = type, .filter = 0});
        const QByteArray larger = randomPng({512, 513}, {.colorType = type, .filter = 0});
        QImageReader::setAllocationLimit(1);
        QVERIFY(!readByDecoder(fitting, "png").isNull());
        QVERIFY(readByDecoder(larger, "png").isNull());
        QVERIFY(readByQt(larger, "png").isNull());
        QImageReader::setAllocationLimit(0);
        QVERIFY(!readByDecoder(larger, "png").isNull());
    }
}

QUILLMARCH_TEST_MAIN(TestPngDecoder)
#include "tst_pngdecoder.moc"
