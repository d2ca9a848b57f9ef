#include "pdf/huffmantable.h"

#include <algorithm>

HuffmanTable::HuffmanTable()
    : starts(size_t(1) << unsigned(longestCode))
{
}

std::optional<HuffmanTable> HuffmanTable::read(const JHUFF_TBL &stored, int largest)
{
    HuffmanTable table;
    const UINT8 *symbol = stored.huffval;
    unsigned next = 0;
    for (int length = 1; length <= longestCode; ++length) {
        next <<= 1U;
        for (int i = 0; i < stored.bits[length]; ++i) {
            const bool isAllOnes = next + 1 >= 1U << unsigned(length); // no code may be
            if (isAllOnes || symbol == std::end(stored.huffval) || *symbol > largest) {
                return std::nullopt;
            }
            table.add({next++, length}, *symbol++);
        }
    }
    return table;
}

void HuffmanTable::add(Code code, UINT8 symbol)
{
    const auto otherBits = unsigned(longestCode - code.length);
    std::fill_n(starts.begin() + (code.bits << otherBits), size_t(1) << otherBits, Found{UINT8(code.length), symbol});
    codes[symbol] = code;
}
