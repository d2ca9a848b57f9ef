#include "pixels/brightcount.h"
#include "pixels/cutscan.h"
#include "pixels/processor.h"
#include "support/testmain.h"

#include <QRandomGenerator>

#include <algorithm>
#include <array>
#include <functional>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

const std::array widths{1, 2, 7, 8, 9, 31, 32, 33, 63, 64, 65, 255, 256, 257, 319, 511, 512, 513, 520, 1080, 2049};

// One pixel in this many is bright.
const std::array shares{1, 2, 5, 64};

std::vector<QRgb> randomColors(int width, int share, QRandomGenerator &random)
{
    std::vector<QRgb> row(static_cast<size_t>(width));
    for (QRgb &pixel : row) {
        const bool bright = random.bounded(share) == 0;
        const int red = bright ? random.bounded(192, 256) : random.bounded(192);
        const int alpha = random.bounded(3) == 0 ? random.bounded(256) : 255;
        pixel = qRgba(red, random.bounded(256), random.bounded(256), alpha);
    }
    return row;
}

std::vector<uchar> randomLevels(int width, int share, QRandomGenerator &random)
{
    std::vector<uchar> row(static_cast<size_t>(width));
    for (uchar &level : row) {
        level = uchar(random.bounded(share) == 0 ? random.bounded(192, 256) : random.bounded(192));
    }
    return row;
}

template <typename Pixel, typename IsBright>
quint32 plainCount(const std::vector<Pixel> &row, IsBright isBright)
{
    return quint32(std::count_if(row.cbegin(), row.cend(), isBright));
}

/// Compares \a count with \a exact, the number of bright pixels in a row of
/// \a width pixels, for best counts around it.
void compareCounts(const std::function<quint32(quint32 best)> &count, quint32 exact, int width)
{
    const std::array<qint64, 8> bests{0, 1, qint64(exact) - 2, qint64(exact) - 1, exact, exact + 1, exact / 2, width};
    for (const qint64 best : bests) {
        if (best < 0) {
            continue;
        }
        const quint32 counted = count(quint32(best));
        if (exact > best) {
            QCOMPARE(counted, exact);
        } else {
            QVERIFY2(counted <= best, qPrintable(u"%1 above %2"_s.arg(counted).arg(best)));
        }
    }
}

} // namespace

class TestBrightCount : public QObject
{
    Q_OBJECT

private slots:
    void startsWithTheSimplest();
    void portableRunHasNoVectors();
    void countsRows_data();
    void countsRows();
    void multipliesRedByAlpha_data() { counters_data(); }
    void multipliesRedByAlpha();
    void knowsEveryIndex_data() { counters_data(); }
    void knowsEveryIndex();
    void countsEveryRedAndLevel_data() { counters_data(); }
    void countsEveryRedAndLevel();

private:
    static void counters_data();
};

void TestBrightCount::counters_data()
{
    QTest::addColumn<int>("counter");
    const QList<BrightCounter> counters = brightCounters();
    for (int i = 0; i < counters.size(); ++i) {
        QTest::newRow(counters.at(i).instructions) << i;
    }
}

void TestBrightCount::startsWithTheSimplest()
{
    const QList<BrightCounter> counters = brightCounters();
    QCOMPARE(QByteArray(counters.first().instructions), QByteArray("any"));
    QCOMPARE(QByteArray(fastestBrightCounter().instructions), QByteArray(counters.last().instructions));
}

void TestBrightCount::portableRunHasNoVectors()
{
    if (qEnvironmentVariableIsSet("QUILLMARCH_TEST_PORTABLE")) {
        QVERIFY(!hasAvx2() && !hasAvx512());
        QCOMPARE(brightCounters().size(), 1);
    }
}

void TestBrightCount::countsRows_data()
{
    QTest::addColumn<int>("counter");
    QTest::addColumn<int>("width");
    const QList<BrightCounter> counters = brightCounters();
    for (int i = 0; i < counters.size(); ++i) {
        for (const int width : widths) {
            QTest::addRow("%s, %d wide", counters.at(i).instructions, width) << i << width;
        }
    }
}

void TestBrightCount::countsRows()
{
    QFETCH(int, counter);
    QFETCH(int, width);
    const BrightCounter count = brightCounters().at(counter);
    auto random = QRandomGenerator(quint32(width));
    std::array<bool, 256> set{};
    std::generate(set.begin(), set.end(), [&random] { return random.bounded(4) == 0; });
    const IndexSet indexes(set);
    for (const int share : shares) {
        const std::vector<QRgb> colors = randomColors(width, share, random);
        const std::vector<uchar> levels = randomLevels(width, share, random);
        compareCounts([&](quint32 best) { return count.reds(colors.data(), width, best); },
                      plainCount(colors, [](QRgb pixel) { return qRed(pixel) >= 192; }), width);
        compareCounts([&](quint32 best) { return count.products(colors.data(), width, best); },
                      plainCount(colors, [](QRgb pixel) { return qRed(qPremultiply(pixel)) >= 192; }), width);
        compareCounts([&](quint32 best) { return count.grays(levels.data(), width, best); },
                      plainCount(levels, [](uchar level) { return level >= 192; }), width);
        compareCounts([&](quint32 best) { return count.indexes(levels.data(), width, best, indexes); },
                      plainCount(levels, [&set](uchar index) { return set[index]; }), width);
    }
}

void TestBrightCount::multipliesRedByAlpha()
{
    QFETCH(int, counter);
    const BrightCounter count = brightCounters().at(counter);
    for (int alpha = 0; alpha < 256; ++alpha) {
        for (int red = 0; red < 256; ++red) {
            const std::vector<QRgb> row(9, qRgba(red, 255 - red, red / 2, alpha));
            const bool bright = qRed(qPremultiply(row.front())) >= 192;
            const quint32 counted = count.products(row.data(), int(row.size()), 0);
            QVERIFY2(counted == (bright ? row.size() : 0U), qPrintable(u"alpha %1, red %2"_s.arg(alpha).arg(red)));
        }
    }
}

void TestBrightCount::knowsEveryIndex()
{
    QFETCH(int, counter);
    const BrightCounter count = brightCounters().at(counter);
    for (size_t index = 0; index < 256; ++index) {
        std::array<bool, 256> set{};
        set[index] = true;
        std::vector<uchar> row; // each index once, the bright one twice
        for (size_t i = 0; i < 256; ++i) {
            row.push_back(uchar(i));
        }
        row.push_back(uchar(index));
        QCOMPARE(count.indexes(row.data(), int(row.size()), 0, IndexSet(set)), 2U);
    }
}

void TestBrightCount::countsEveryRedAndLevel()
{
    QFETCH(int, counter);
    const BrightCounter count = brightCounters().at(counter);
    for (int level = 0; level < 256; ++level) {
        const std::vector<QRgb> colors(65, qRgba(level, 255 - level, 255 - level, 0));
        const std::vector<uchar> grays(65, uchar(level));
        const quint32 expected = level >= brightLevel ? 65U : 0U;
        QCOMPARE(count.reds(colors.data(), 65, 0), expected);
        QCOMPARE(count.grays(grays.data(), 65, 0), expected);
    }
}

QUILLMARCH_TEST_MAIN(TestBrightCount)
#include "tst_brightcount.moc"
