#pragma once

#include <QtGlobal>

#include <algorithm>
#include <span>

/// Reads a deflate stream bit by bit, the lowest bit of a byte first.
class BitReader
{
public:
    /// Starts with \a count bits of \a first, then come \a bytes.
    BitReader(quint64 first, int count, std::span<const uchar> bytes)
        : bits(count < 64 ? first & ((quint64(1) << count) - 1) : first)
        , bitCount(count)
        , rest(bytes)
    {
    }

    /// The next \a count bits, at most 16; zeros beyond the end.
    unsigned peek(int count)
    {
        if (bitCount < count) {
            refill();
        }
        return unsigned(bits & ((quint64(1) << count) - 1));
    }

    void drop(int count)
    {
        m_isBeyondEnd = m_isBeyondEnd || count > bitCount;
        bits >>= count;
        bitCount = std::max(0, bitCount - count);
    }

    unsigned take(int count)
    {
        const unsigned taken = peek(count);
        drop(count);
        return taken;
    }

    void skipToByte();

    bool isBeyondEnd() const { return m_isBeyondEnd; }
    bool isAtEnd() const { return bitCount == 0 && rest.empty() && !m_isBeyondEnd; }

private:
    void refill();

    quint64 bits;
    int bitCount;
    std::span<const uchar> rest;
    bool m_isBeyondEnd = false;
};

/// What the header of a deflate block says.
struct DeflateHeader
{
    bool isLast = false;

    /// Whether zlib accepts the block type and the Huffman codes. ISA-L also
    /// accepts incomplete codes.
    bool isValid = false;
};

/// The header at which \a reader is.
DeflateHeader deflateHeader(BitReader reader);
