#include "decodecomparison.h"
#include "support/pngbytes.h"
#include "support/testmain.h"

#include <QRandomGenerator>

using namespace Qt::StringLiterals;

namespace {

const QSize smallSize(19, 12);

/// Small files of each kind that the decoder takes, one with many chunks.
QByteArrayList smallFiles()
{
    QByteArrayList files;
    for (const int type : {0, 2, 3, 6}) {
        files.append(randomPng(smallSize, {.colorType = type}));
    }
    const QByteArray text = pngChunk("tEXt", QByteArray("Title\0a text", 12));
    files.append(randomPng(smallSize, {}, pngChunk("gAMA", bigEndian32(45455)) + text, text));
    return files;
}

/// A file of RGB whose packed rows are \a packed.
QByteArray packedFile(const QByteArray &packed, qsizetype piece = 8192)
{
    return pngOf(pngHeader(smallSize, {}), {}, packed, {}, piece);
}

/// The zlib stream of \a rows in stored blocks of \a piece bytes.
QByteArray stored(const QByteArray &rows, qsizetype piece)
{
    QByteArray stream("\x78\x01", 2);
    for (qsizetype at = 0; at < rows.size(); at += piece) {
        const QByteArray part = rows.mid(at, piece);
        const auto length = quint16(part.size());
        stream += char(at + piece >= rows.size());
        stream +=
            QByteArray(1, char(length & 0xff)) + char(length >> 8) + char(~length & 0xff) + char((~length >> 8) & 0xff);
        stream += part;
    }
    return stream + zlibOf(rows).right(4); // the checksum
}

} // namespace

class TestPngDamage : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { silenceWarnings(); }

    void truncated_data() { addFiles(); }
    void truncated();
    void everyByteChanged_data() { addFiles(); }
    void everyByteChanged();
    void everyByteChangedUnderRightChecksums_data() { addFiles(); }
    void everyByteChangedUnderRightChecksums();
    void randomBits_data() { addFiles(); }
    void randomBits();
    void randomBitsUnderRightChecksums_data() { addFiles(); }
    void randomBitsUnderRightChecksums();
    void chunksMovedAround_data() { addFiles(); }
    void chunksMovedAround();
    void wrongData_data();
    void wrongData();
    void largeFileDamagedNearItsEnd_data();
    void largeFileDamagedNearItsEnd();

private:
    static void addFiles();
};

void TestPngDamage::addFiles()
{
    QTest::addColumn<QByteArray>("file");
    const QByteArrayList files = smallFiles();
    for (qsizetype i = 0; i < files.size(); ++i) {
        QTest::addRow("file %lld", static_cast<long long>(i)) << files.at(i);
    }
}

void TestPngDamage::truncated()
{
    QFETCH(QByteArray, file);
    QVERIFY(!readByDecoder(file, "png").isNull());
    for (qsizetype length = 0; length < file.size(); ++length) {
        QVERIFY(readByDecoder(file.left(length), "png").isNull());
    }
}

void TestPngDamage::everyByteChanged()
{
    QFETCH(QByteArray, file);
    for (qsizetype at = 0; at < file.size(); ++at) {
        for (const int change : {0x01, 0x20, 0x80, 0xff}) {
            QByteArray changed = file;
            changed[at] = char(uchar(file.at(at)) ^ change);
            QVERIFY2(readByDecoder(changed, "png").isNull(), qPrintable(QString::number(at)));
        }
    }
}

void TestPngDamage::everyByteChangedUnderRightChecksums()
{
    QFETCH(QByteArray, file);
    for (qsizetype at = 0; at < file.size(); ++at) {
        for (const int change : {0x01, 0x02, 0x20, 0x80, 0xff}) {
            QByteArray changed = file;
            changed[at] = char(uchar(file.at(at)) ^ change);
            QCOMPARE(differenceFromQt(withRightChecksums(changed), "png"), QString());
        }
    }
}

void TestPngDamage::randomBits()
{
    QFETCH(QByteArray, file);
    QRandomGenerator random(2);
    for (int i = 0; i < 2000; ++i) {
        QCOMPARE(differenceFromQt(withFlippedBits(file, random, 4), "png"), QString());
    }
}

void TestPngDamage::randomBitsUnderRightChecksums()
{
    QFETCH(QByteArray, file);
    QRandomGenerator random(3);
    for (int i = 0; i < 2000; ++i) {
        QCOMPARE(differenceFromQt(withRightChecksums(withFlippedBits(file, random, 4)), "png"), QString());
    }
}

/// Each chunk left out, doubled, and moved to each other place.
void TestPngDamage::chunksMovedAround()
{
    QFETCH(QByteArray, file);
    const QByteArrayList chunks = pngChunksOf(file);
    for (qsizetype from = 0; from < chunks.size(); ++from) {
        QByteArrayList fewer = chunks;
        const QByteArray moved = fewer.takeAt(from);
        QCOMPARE(differenceFromQt(pngSignature + fewer.join(), "png"), QString());
        for (qsizetype to = 0; to <= fewer.size(); ++to) {
            QByteArrayList others = fewer;
            others.insert(to, moved);
            QCOMPARE(differenceFromQt(pngSignature + others.join(), "png"), QString());
            others.insert(from, moved);
            QCOMPARE(differenceFromQt(pngSignature + others.join(), "png"), QString());
        }
    }
}

void TestPngDamage::wrongData_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<bool>("decoded");
    const QByteArray rows = pngRows(smallSize, {});
    const QByteArray packed = zlibOf(rows);
    const auto cut = [&packed](qsizetype count) { return packed.chopped(count); };
    QByteArray wrongSum = packed;
    wrongSum.back() = char(wrongSum.back() ^ 1);
    QByteArray wrongFilter = rows;
    wrongFilter[0] = 5;
    const qsizetype rowLength = 1 + 3 * qsizetype(smallSize.width());

    QTest::newRow("right") << packedFile(packed) << true;
    QTest::newRow("stored") << packedFile(stored(rows, 65535)) << true;
    QTest::newRow("stored in small blocks") << packedFile(stored(rows, 10)) << true;
    QTest::newRow("wrong checksum") << packedFile(wrongSum) << false;
    QTest::newRow("wrong checksum of its own") << packedFile(wrongSum, packed.size() - 1) << false;
    for (qsizetype count = 1; count < 12; ++count) {
        QTest::addRow("%lld bytes missing", static_cast<long long>(count)) << packedFile(cut(count)) << false;
    }
    QTest::newRow("no data") << packedFile({}) << false;
    QTest::newRow("a byte more") << packedFile(packed + 'x') << false;
    QTest::newRow("bytes more") << packedFile(packed + QByteArray(20, 'x')) << false;
    QTest::newRow("a chunk more") << packedFile(packed + QByteArray(packed.size(), 'x'), packed.size()) << false;
    QTest::newRow("two streams") << packedFile(packed + packed) << false;
    QTest::newRow("a row more") << packedFile(zlibOf(rows + rows.left(rowLength))) << false;
    QTest::newRow("a sample more") << packedFile(zlibOf(rows + 'x')) << false;
    QTest::newRow("a row less") << packedFile(zlibOf(rows.chopped(rowLength))) << false;
    QTest::newRow("a sample less") << packedFile(zlibOf(rows.chopped(1))) << false;
    QTest::newRow("unknown filter") << packedFile(zlibOf(wrongFilter)) << false;
    QTest::newRow("dictionary wanted") << packedFile("\x78\xbb" + packed.mid(2)) << false;
    QTest::newRow("window of 16 bits") << packedFile(QByteArray("\x88\x1c", 2) + packed.mid(2)) << false;
    QTest::newRow("no zlib") << packedFile(packed.mid(2)) << false;

    const QByteArrayList chunks = pngChunksOf(packedFile(packed, 100));
    const auto joined = [](const QByteArrayList &list) { return pngSignature + list.join(); };
    const auto with = [&](qsizetype at, const QByteArray &chunk) {
        QByteArrayList more = chunks;
        more.insert(at, chunk);
        return joined(more);
    };
    QTest::newRow("text between data") << with(2, pngChunk("tEXt", QByteArray("a\0b", 3))) << false;
    QTest::newRow("empty data") << with(2, pngChunk("IDAT", {})) << false;
    QTest::newRow("empty data at the end") << with(chunks.size() - 1, pngChunk("IDAT", {})) << false;
    QTest::newRow("unknown critical chunk") << with(1, pngChunk("ABCD", "x")) << false;
    QTest::newRow("no letters") << with(1, pngChunk("a1cd", "x")) << false;
    QTest::newRow("chunk before IHDR") << with(0, pngChunk("quIl", "x")) << false;
    QTest::newRow("two ends") << with(chunks.size(), pngChunk("IEND", {})) << false;
    QTest::newRow("end with data") << joined(chunks.mid(0, chunks.size() - 1)) + pngChunk("IEND", "x") << false;
    for (const int count : {0, 1, 255, 256}) {
        const PngKind kind{.colorType = 3, .filter = 0};
        const QByteArray zeros(qsizetype(1 + smallSize.width()) * smallSize.height(), '\0');
        QTest::addRow("palette of %d", count)
            << pngOf(pngHeader(smallSize, kind), pngPalette(count), zlibOf(zeros)) << (count > 0);
    }
}

void TestPngDamage::wrongData()
{
    QFETCH(QByteArray, file);
    QFETCH(bool, decoded);
    for (const DecodeThreads threads : {DecodeThreads::One, DecodeThreads::Two}) {
        QCOMPARE(!readByDecoder(file, "png", threads).isNull(), decoded);
        QCOMPARE(differenceFromQt(file, "png", threads), QString());
    }
}

void TestPngDamage::largeFileDamagedNearItsEnd_data()
{
    QTest::addColumn<qsizetype>("changed"); // byte of the rows, from the end
    QTest::addColumn<bool>("isFilter");
    QTest::newRow("unknown filter in the last row") << qsizetype(3 * 1000 + 1) << true;
    QTest::newRow("unknown filter in the middle") << qsizetype(500 * (3 * 1000 + 1)) << true;
    QTest::newRow("checksum") << qsizetype(1) << false;
    QTest::newRow("packed data") << qsizetype(100'000) << false;
}

/// The thread that unpacks ahead ends wherever the rows do.
void TestPngDamage::largeFileDamagedNearItsEnd()
{
    QFETCH(qsizetype, changed);
    QFETCH(bool, isFilter);
    const QSize size(1000, 1000);
    QByteArray rows = pngRows(size, {});
    if (isFilter) {
        rows[rows.size() - changed] = 9;
    }
    QByteArray packed = zlibOf(rows, 1);
    if (!isFilter) {
        packed[packed.size() - changed] = char(packed.at(packed.size() - changed) ^ 0x10);
    }
    const QByteArray file = pngOf(pngHeader(size, {}), {}, packed);
    for (const DecodeThreads threads : {DecodeThreads::One, DecodeThreads::Two}) {
        QVERIFY(readByDecoder(file, "png", threads).isNull());
    }
}

QUILLMARCH_TEST_MAIN(TestPngDamage)
#include "tst_pngdamage.moc"
