#pragma once

#include <array>
#include <cstdio>
#include <jpeglib.h>
#include <optional>
#include <vector>

/// A Huffman table of a JPEG file (ITU-T T.81, annex C).
class HuffmanTable
{
public:
    static constexpr int longestCode = 16;

    /// What the next bits of a scan are.
    struct Found
    {
        UINT8 length = 0; ///< of the code; 0 if the bits begin no code
        UINT8 symbol = 0;
    };

    struct Code
    {
        unsigned bits = 0;
        int length = 0; ///< 0 if there is no code
    };

    /// The table that a file holds as \a stored; nothing if its codes are too many for
    /// their lengths, or a symbol is above \a largest.
    static std::optional<HuffmanTable> read(const JHUFF_TBL &stored, int largest);

    /// The code with which \a next begins, the next 16 bits.
    Found find(unsigned next) const { return starts[next]; }

    Code codeOf(int symbol) const { return codes[size_t(symbol)]; }

private:
    HuffmanTable();

    void add(Code code, UINT8 symbol);

    std::vector<Found> starts; // for each value of 16 bits
    std::array<Code, 256> codes; // for each symbol
};
