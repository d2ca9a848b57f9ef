#include "decode/deflateheader.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace {

constexpr int bitsPerByte = 8;
constexpr int longestCode = 15; // in bits
constexpr size_t lengthSymbols = 19; // of the code in which the lengths of the others are stored
constexpr size_t mostLiteralSymbols = 286;
constexpr size_t mostDistanceSymbols = 30;
constexpr size_t endOfBlock = 256;

enum BlockType { Stored, FixedCodes, DynamicCodes };

using Lengths = std::span<const uchar>; // of the codes of all symbols, in bits; 0 for an unused symbol
using Counts = std::array<int, longestCode + 1>; // of the codes of each length

Counts countsOf(Lengths lengths)
{
    Counts counts{};
    for (const uchar length : lengths) {
        ++counts[length];
    }
    counts[0] = 0;
    return counts;
}

/// How much of the code space is unused, in codes of the longest length;
/// negative if the codes do not fit.
int unusedSpace(const Counts &counts)
{
    int unused = 1 << longestCode;
    for (int length = 1; length <= longestCode; ++length) {
        unused -= counts[size_t(length)] << (longestCode - length);
    }
    return unused;
}

bool isComplete(Lengths lengths)
{
    return unusedSpace(countsOf(lengths)) == 0;
}

/// Whether zlib accepts a code of literals or distances: complete, a single code
/// of one bit, or empty.
bool isAccepted(Lengths lengths)
{
    const Counts counts = countsOf(lengths);
    const bool isShort = std::all_of(counts.begin() + 2, counts.end(), [](int count) { return count == 0; });
    const int unused = unusedSpace(counts);
    return unused == 0 || (unused > 0 && isShort);
}

/// Decodes the symbols of one complete code by a table of all bits that a code may
/// have.
class SymbolReader
{
public:
    explicit SymbolReader(Lengths lengths)
    {
        unsigned code = 0;
        for (int length = 1; length <= longest; ++length) {
            for (size_t symbol = 0; symbol < lengths.size(); ++symbol) {
                if (lengths[symbol] == length) {
                    enter(reversed(code++, length), {uchar(symbol), uchar(length)});
                }
            }
            code <<= 1;
        }
    }

    int next(BitReader &reader) const
    {
        const Entry entry = entries[reader.peek(longest)];
        reader.drop(entry.length);
        return entry.symbol;
    }

private:
    static constexpr int longest = 7;

    struct Entry
    {
        uchar symbol = 0;
        uchar length = 0;
    };

    /// A code begins with its highest bit, the lowest one in the table.
    static size_t reversed(unsigned code, int length)
    {
        size_t bits = 0;
        for (int i = 0; i < length; ++i) {
            bits = bits << 1 | (code >> i & 1U);
        }
        return bits;
    }

    void enter(size_t bits, Entry entry)
    {
        for (size_t i = bits; i < entries.size(); i += size_t(1) << entry.length) {
            entries[i] = entry;
        }
    }

    std::array<Entry, 1 << longest> entries{};
};

/// Reads code lengths, of which the last symbols stand for repetitions.
bool readLengths(BitReader &reader, const SymbolReader &symbols, std::span<uchar> lengths)
{
    for (size_t at = 0; at < lengths.size();) {
        const int symbol = symbols.next(reader);
        if (symbol < 16) {
            lengths[at++] = uchar(symbol);
            continue;
        }
        if (symbol == 16 && at == 0) {
            return false;
        }
        const uchar repeated = symbol == 16 ? lengths[at - 1] : uchar(0);
        const size_t count = symbol == 16 ? 3 + reader.take(2)
            : symbol == 17                ? 3 + reader.take(3)
                                          : 11 + reader.take(7);
        if (count > lengths.size() - at) {
            return false;
        }
        std::fill_n(lengths.begin() + std::ptrdiff_t(at), count, repeated);
        at += count;
    }
    return true;
}

bool areDynamicCodesAccepted(BitReader &reader)
{
    constexpr std::array<uchar, lengthSymbols> order{16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15};
    const size_t literals = 257 + reader.take(5);
    const size_t distances = 1 + reader.take(5);
    const size_t stored = 4 + reader.take(4);
    if (literals > mostLiteralSymbols || distances > mostDistanceSymbols) {
        return false;
    }
    std::array<uchar, lengthSymbols> ofLengths{};
    for (size_t i = 0; i < stored; ++i) {
        ofLengths[order[i]] = uchar(reader.take(3));
    }
    std::array<uchar, mostLiteralSymbols + mostDistanceSymbols> all{};
    const std::span<uchar> lengths(all.data(), literals + distances);
    return isComplete(ofLengths) && readLengths(reader, SymbolReader(ofLengths), lengths) && lengths[endOfBlock] > 0
        && isAccepted(lengths.first(literals)) && isAccepted(lengths.subspan(literals)) && !reader.isBeyondEnd();
}

} // namespace

void BitReader::refill()
{
    constexpr int most = 64 - bitsPerByte;
    for (; bitCount <= most && !rest.empty(); rest = rest.subspan(1)) {
        bits |= quint64(rest.front()) << bitCount;
        bitCount += bitsPerByte;
    }
}

void BitReader::skipToByte()
{
    take(bitCount % bitsPerByte);
}

DeflateHeader deflateHeader(BitReader reader)
{
    const bool isLast = reader.take(1) != 0;
    const unsigned type = reader.take(2);
    return {isLast, type == DynamicCodes ? areDynamicCodesAccepted(reader) : type < DynamicCodes};
}
