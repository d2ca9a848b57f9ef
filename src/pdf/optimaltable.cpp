#include "pdf/optimaltable.h"

#include <algorithm>
#include <vector>

namespace {

constexpr size_t longestCode = 16;
constexpr size_t reserved = 256; // so that no code has ones only

/// Symbols of one subtree of the code.
struct Subtree
{
    quint32 count;
    std::vector<size_t> symbols;
};

/// Moves the least frequent of \a trees to the end.
void putLeastLast(std::vector<Subtree> &trees)
{
    const auto least = std::min_element(trees.begin(), trees.end(),
                                        [](const Subtree &a, const Subtree &b) { return a.count < b.count; });
    std::iter_swap(least, trees.end() - 1);
}

/// The number of bits of each symbol, without a limit; 0 of those that do not occur.
std::array<size_t, 257> codeLengths(const SymbolCounts &counts)
{
    std::vector<Subtree> trees{{1, {reserved}}};
    for (size_t symbol = counts.size(); symbol-- > 0;) {
        if (counts[symbol] > 0) {
            trees.push_back({counts[symbol], {symbol}});
        }
    }
    std::array<size_t, 257> lengths{};
    lengths[reserved] = trees.size() == 1 ? 1 : 0;
    while (trees.size() > 1) {
        putLeastLast(trees);
        const Subtree least = std::move(trees.back());
        trees.pop_back();
        putLeastLast(trees);
        Subtree &joined = trees.back();
        joined.count += least.count;
        joined.symbols.insert(joined.symbols.end(), least.symbols.begin(), least.symbols.end());
        for (const size_t symbol : joined.symbols) {
            ++lengths[symbol];
        }
    }
    return lengths;
}

/// Shortens the codes of more than 16 bits, of which \a perLength counts those of each
/// length: two of them make room by a shorter one that grows.
void limitLengths(std::array<int, 33> &perLength)
{
    for (size_t length = perLength.size() - 1; length > longestCode; --length) {
        while (perLength[length] > 0) {
            size_t shorter = length - 2;
            while (perLength[shorter] == 0) {
                --shorter;
            }
            perLength[length] -= 2;
            ++perLength[length - 1];
            perLength[shorter + 1] += 2;
            --perLength[shorter];
        }
    }
}

} // namespace

JHUFF_TBL optimalTable(const SymbolCounts &counts)
{
    const std::array<size_t, 257> lengths = codeLengths(counts);
    std::array<int, 33> perLength{};
    for (const size_t length : lengths) {
        ++perLength[length];
    }
    perLength[0] = 0;
    limitLengths(perLength);
    size_t longest = longestCode;
    while (perLength[longest] == 0) {
        --longest;
    }
    --perLength[longest]; // the reserved code

    JHUFF_TBL table{};
    std::copy_n(perLength.begin(), longestCode + 1, std::begin(table.bits));
    UINT8 *next = table.huffval;
    for (size_t length = 1; length < perLength.size(); ++length) {
        for (size_t symbol = 0; symbol < reserved; ++symbol) {
            if (lengths[symbol] == length) {
                *next++ = UINT8(symbol);
            }
        }
    }
    return table;
}
