#include "decode/pngrows.h"
#include "support/testmain.h"

#include <QRandomGenerator>
#include <QSysInfo>

#include <cstdlib>
#include <vector>

using Bytes = std::vector<uchar>;

namespace {

constexpr int readableBehind = 16; // what a decoder may read beyond a row

/// The predictor as ISO/IEC 15948 (PNG) defines it.
int predictor(int filter, int left, int above, int corner)
{
    const int estimate = left + above - corner;
    const int toLeft = std::abs(estimate - left);
    const int toAbove = std::abs(estimate - above);
    const int toCorner = std::abs(estimate - corner);
    const int nearest = toLeft <= toAbove && toLeft <= toCorner ? left : toAbove <= toCorner ? above : corner;
    const int predictors[] = {0, left, above, (left + above) / 2, nearest};
    return predictors[filter];
}

/// A row without its filter, in the order of the file. \a above is in it, too.
Bytes unfiltered(int filter, const Bytes &row, const Bytes &above, size_t samples)
{
    Bytes result(above.size());
    for (size_t i = 0; i < result.size(); ++i) {
        const bool isFirst = i < samples;
        const int left = isFirst ? 0 : result[i - samples];
        const int corner = isFirst ? 0 : above[i - samples];
        result[i] = uchar(row[i] + predictor(filter, left, above[i], corner));
    }
    return result;
}

/// Pixels of \a samples bytes each as they lie in an image.
Bytes asImageRow(const Bytes &stored, size_t samples)
{
    if (samples == 1) {
        return stored;
    }
    Bytes row;
    for (size_t i = 0; i < stored.size(); i += samples) {
        const uchar alpha = samples == 4 ? stored[i + 3] : 0xff;
        const quint32 word =
            quint32(alpha) << 24 | quint32(stored[i]) << 16 | quint32(stored[i + 1]) << 8 | stored[i + 2];
        const auto *bytes = reinterpret_cast<const uchar *>(&word);
        row.insert(row.end(), bytes, bytes + 4);
    }
    return row;
}

Bytes randomBytes(size_t count, QRandomGenerator &random)
{
    Bytes bytes(count);
    const quint32 mask = random.bounded(2U) == 0 ? 0xff : 0x81; // the second makes many ties of the predictors
    for (uchar &byte : bytes) {
        byte = uchar(random.generate() & mask);
    }
    return bytes;
}

/// Zeros with some other bytes, as where rows repeat.
Bytes mostlyZeros(size_t count, QRandomGenerator &random)
{
    Bytes bytes(count);
    for (uchar &byte : bytes) {
        byte = random.bounded(40U) == 0 ? uchar(random.generate() & 0x81) : uchar(0);
    }
    return bytes;
}

PngRowDecoder decoderOf(const PngRowDecoders &decoders, size_t samples)
{
    return samples == 1 ? decoders.bytes : samples == 3 ? decoders.rgb : decoders.rgba;
}

} // namespace

class TestPngRows : public QObject
{
    Q_OBJECT

private slots:
    void undoesTheFilter_data();
    void undoesTheFilter();
    void predictsAsSpecified();
    void refusesUnknownFilters();
};

void TestPngRows::undoesTheFilter_data()
{
    QTest::addColumn<int>("decoder");
    QTest::addColumn<int>("samples");
    QTest::addColumn<int>("filter");
    const QList<PngRowDecoders> all = pngRowDecoders();
    for (int decoder = 0; decoder < all.size(); ++decoder) {
        for (const int samples : {1, 3, 4}) {
            for (int filter = 0; filter < 5; ++filter) {
                QTest::addRow("%s, %d samples, filter %d", all.at(decoder).name, samples, filter)
                    << decoder << samples << filter;
            }
        }
    }
}

void TestPngRows::undoesTheFilter()
{
    QFETCH(int, decoder);
    QFETCH(int, samples);
    QFETCH(int, filter);
    const PngRowDecoder decode = decoderOf(pngRowDecoders().at(decoder), size_t(samples));
    QRandomGenerator random(1);
    for (int i = 0; i < 280; ++i) {
        const int width = 1 + i / 2;
        const auto length = size_t(width) * size_t(samples);
        const Bytes above = randomBytes(length, random);
        const Bytes aboveInImage = asImageRow(above, size_t(samples));
        const auto storedLike = i % 2 == 0 ? randomBytes : mostlyZeros;
        const Bytes stored = storedLike(length + readableBehind, random);
        Bytes written(aboveInImage.size() + 1, 0x5a);
        QVERIFY(decode(filter, stored.data(), written.data(), aboveInImage.data(), width));
        QCOMPARE(written.back(), uchar(0x5a));
        written.pop_back();
        QCOMPARE(written, asImageRow(unfiltered(filter, stored, above, size_t(samples)), size_t(samples)));
    }
}

/// Every value on the left and above, with corners in steps, by pixels that
/// follow on one of zeros.
void TestPngRows::predictsAsSpecified()
{
    constexpr int paeth = 4;
    const QList<PngRowDecoders> all = pngRowDecoders();
    for (int corner = 0; corner < 256; corner += 15) {
        for (int above = 0; above < 256; ++above) {
            Bytes aboveRow;
            Bytes stored;
            for (int left = 0; left < 256; ++left) {
                // The first pixel becomes `left` below `corner`; the second is predicted from both.
                const int first = left - predictor(paeth, 0, corner, 0);
                aboveRow.insert(aboveRow.end(), {uchar(corner), uchar(above)});
                stored.insert(stored.end(), {uchar(first), 0});
            }
            Bytes four;
            Bytes aboveFour;
            for (size_t i = 0; i < stored.size(); i += 2) {
                four.insert(four.end(), {stored[i], stored[i], stored[i], 0, stored[i + 1], stored[i + 1], 0, 0});
                aboveFour.insert(aboveFour.end(),
                                 {aboveRow[i], aboveRow[i], aboveRow[i], 0, aboveRow[i + 1], aboveRow[i + 1], 0, 0});
            }
            four.resize(four.size() + readableBehind);
            for (const PngRowDecoders &decoders : all) {
                Bytes written(8);
                for (size_t i = 0; i < aboveFour.size(); i += 8) {
                    const Bytes above2(aboveFour.begin() + qsizetype(i), aboveFour.begin() + qsizetype(i) + 8);
                    QVERIFY(decoders.rgba(paeth, four.data() + i, written.data(), above2.data(), 2));
                    const int expected = predictor(paeth, int(i / 8), above, corner);
                    QCOMPARE(int(written[5]), expected);
                }
            }
        }
    }
}

void TestPngRows::refusesUnknownFilters()
{
    const QList<PngRowDecoders> all = pngRowDecoders();
    for (const PngRowDecoders &decoders : all) {
        for (const int filter : {5, 6, 127, 255}) {
            Bytes row(64);
            const Bytes zeros(64);
            QVERIFY(!decoders.bytes(filter, zeros.data(), row.data(), zeros.data(), 8));
            QVERIFY(!decoders.rgb(filter, zeros.data(), row.data(), zeros.data(), 8));
            QVERIFY(!decoders.rgba(filter, zeros.data(), row.data(), zeros.data(), 8));
            QCOMPARE(row, zeros);
        }
    }
}

QUILLMARCH_TEST_MAIN(TestPngRows)
#include "tst_pngrows.moc"
