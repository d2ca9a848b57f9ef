#include "decodecomparison.h"
#include "support/pngbytes.h"
#include "support/testmain.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

const QSize pictureSize(23, 17);
constexpr int endOfBlock = 256;

/// Code lengths by symbol.
using Lengths = QList<int>;

/// Writes bits as deflate stores them, the lowest of a byte first.
class BitWriter
{
public:
    void add(int value, int count)
    {
        for (int i = 0; i < count; ++i) {
            if (used % 8 == 0) {
                bytes.append('\0');
            }
            bytes.back() = char(bytes.back() | ((value >> i) & 1) << used % 8);
            ++used;
        }
    }

    /// The code of \a symbol: the canonical codes count upward by length, then
    /// by symbol, and are stored from the highest bit on.
    void addSymbol(const Lengths &lengths, int symbol)
    {
        int code = 0;
        for (int length = 1; length <= lengths.at(symbol); ++length) {
            code <<= 1;
            const qsizetype end = length < lengths.at(symbol) ? lengths.size() : symbol;
            code += int(std::count(lengths.begin(), lengths.begin() + end, length));
        }
        for (int bit = lengths.at(symbol) - 1; bit >= 0; --bit) {
            add(code >> bit, 1);
        }
    }

    QByteArray result() const { return bytes; }

private:
    QByteArray bytes;
    int used = 0;
};

/// Complete: 255 codes of 8 bits and two of 9 bits.
Lengths literalLengths()
{
    Lengths lengths(257, 8);
    lengths[255] = lengths[endOfBlock] = 9;
    return lengths;
}

/// The codes of one block with dynamic codes.
struct Codes
{
    Lengths literals = literalLengths();
    Lengths distances = {1, 1};
    int lengthBits = 4; ///< of each code of a code length: with 4 bits, 16 codes are complete
    bool repeatsBeforeFirst = false;
};

void addHeader(BitWriter &writer, const Codes &codes)
{
    Lengths ofLengths(16, codes.lengthBits);
    if (codes.repeatsBeforeFirst) {
        ofLengths[14] = ofLengths[15] = 5; // room for the codes that repeat
        ofLengths += {5, 5};
    }
    ofLengths.resize(19, 0);
    writer.add(int(codes.literals.size()) - 257, 5);
    writer.add(int(codes.distances.size()) - 1, 5);
    writer.add(19 - 4, 4);
    for (const int symbol : {16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15}) {
        writer.add(ofLengths.at(symbol), 3);
    }
    if (codes.repeatsBeforeFirst) {
        writer.addSymbol(ofLengths, 16);
        writer.add(0, 2);
    }
    const Lengths all = codes.literals + codes.distances;
    for (const int length : all) {
        writer.addSymbol(ofLengths, length);
    }
}

void addBlock(BitWriter &writer, const Codes &codes, const QByteArray &bytes, bool isLast)
{
    writer.add(isLast ? 1 : 0, 1);
    writer.add(2, 2);
    addHeader(writer, codes);
    for (const char byte : bytes) {
        writer.addSymbol(codes.literals, uchar(byte));
    }
    writer.addSymbol(codes.literals, endOfBlock);
}

/// A file whose rows are in \a before blocks with right codes, a block with
/// \a codes and \a after blocks with right codes.
QByteArray fileWith(const Codes &codes, int before, int after)
{
    const QByteArray rows = pngRows(pictureSize, {});
    const int blocks = before + 1 + after;
    const qsizetype piece = rows.size() / blocks;
    BitWriter writer;
    for (int i = 0; i < blocks; ++i) {
        const bool isLast = i + 1 == blocks;
        const QByteArray part = isLast ? rows.mid(i * piece) : rows.mid(i * piece, piece);
        addBlock(writer, i == before ? codes : Codes(), part, isLast);
    }
    return pngOf(pngHeader(pictureSize, {}), {}, "\x78\x9c" + writer.result() + zlibOf(rows).right(4), {}, 100);
}

Lengths changed(Lengths lengths, int symbol, int length)
{
    lengths[symbol] = length;
    return lengths;
}

} // namespace

/// Qt's zlib refuses some Huffman codes that could be decoded.
class TestHuffmanCodes : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { silenceWarnings(); }

    void accepted_data();
    void accepted();
    void windowOfDistances_data();
    void windowOfDistances();
};

void TestHuffmanCodes::accepted_data()
{
    QTest::addColumn<Codes>("codes");
    QTest::addColumn<bool>("isAccepted");
    const Lengths literals = literalLengths();
    QTest::newRow("complete") << Codes{} << true;
    QTest::newRow("no distances") << Codes{.distances = {0}} << true;
    QTest::newRow("one distance") << Codes{.distances = {1}} << true;
    QTest::newRow("a later distance alone") << Codes{.distances = {0, 0, 1}} << true;
    QTest::newRow("three distances") << Codes{.distances = {1, 2, 2}} << true;
    QTest::newRow("30 distances") << Codes{.distances = Lengths(28, 5) + Lengths{4, 4}} << true;
    QTest::newRow("286 literals") << Codes{.literals = literals + Lengths(29, 0)} << true;
    QTest::newRow("one distance of two bits") << Codes{.distances = {2}} << false;
    QTest::newRow("two distances of two bits") << Codes{.distances = {2, 2}} << false;
    QTest::newRow("incomplete distances") << Codes{.distances = {1, 2}} << false;
    QTest::newRow("incomplete distances of 15 bits") << Codes{.distances = {1, 15}} << false;
    QTest::newRow("too many distances") << Codes{.distances = {1, 1, 1}} << false;
    QTest::newRow("31 distances") << Codes{.distances = Lengths(30, 5) + Lengths{4}} << false;
    QTest::newRow("287 literals") << Codes{.literals = literals + Lengths(30, 0)} << false;
    QTest::newRow("incomplete literals") << Codes{.literals = changed(literals, endOfBlock, 10)} << false;
    QTest::newRow("too many literals") << Codes{.literals = literals + Lengths{9}} << false;
    QTest::newRow("incomplete code of lengths") << Codes{.lengthBits = 5} << false;
    QTest::newRow("repeats the length before the first") << Codes{.repeatsBeforeFirst = true} << false;
}

void TestHuffmanCodes::accepted()
{
    QFETCH(Codes, codes);
    QFETCH(bool, isAccepted);
    for (const int before : {0, 1, 2}) {
        for (const int after : {0, 1}) {
            const QByteArray file = fileWith(codes, before, after);
            QCOMPARE(!readByQt(file, "png").isNull(), isAccepted);
            QCOMPARE(!readByDecoder(file, "png").isNull(), isAccepted);
            QCOMPARE(differenceFromQt(file, "png"), QString());
        }
    }
}

void TestHuffmanCodes::windowOfDistances_data()
{
    QTest::addColumn<int>("stated"); // 0: a window of 256 bytes, 1: twice that, and so on
    QTest::addColumn<bool>("isAccepted");
    QTest::newRow("less than the distance") << 0 << true;
    QTest::newRow("less than the rows") << 5 << true;
    QTest::newRow("largest") << 7 << true;
    QTest::newRow("too large") << 8 << false;
}

/// The rows, 9220 bytes, repeat those 4610 bytes before.
void TestHuffmanCodes::windowOfDistances()
{
    QFETCH(int, stated);
    QFETCH(bool, isAccepted);
    const QByteArray half = pngRows({307, 5}, {});
    QByteArray packed = zlibOf(half + half);
    const int first = stated << 4 | 8;
    packed[0] = char(first);
    packed[1] = char(31 - (first << 8) % 31);
    const QByteArray file = pngOf(pngHeader({307, 10}, {}), {}, packed);
    QCOMPARE(!readByQt(file, "png").isNull(), isAccepted);
    QCOMPARE(!readByDecoder(file, "png").isNull(), isAccepted);
    QCOMPARE(differenceFromQt(file, "png"), QString());
}

QUILLMARCH_TEST_MAIN(TestHuffmanCodes)
#include "tst_huffmancodes.moc"
