#pragma once

#include <QList>
#include <QRgb>

#include <array>

/// The lowest value of the red channel, 0 to 255, at which a pixel is bright.
inline constexpr int brightLevel = 192;

/// A set of the 256 indexes of a palette.
class IndexSet
{
public:
    explicit IndexSet(const std::array<bool, 256> &contained);

    std::array<quint8, 256> flags{}; ///< a byte an index, 1 or 0
    /// Bit h % 8 of byte l of half h / 8 stands for the index of the high half h and the low half l.
    std::array<std::array<quint8, 16>, 2> halves{};
    /// Bit q of byte i stands for the index 64 q + i.
    std::array<quint8, 64> quarters{};
};

/// Functions that count the bright pixels of a row of \a width pixels, or return
/// some number not above \a best as soon as the row can no longer exceed it.
/// They differ in the instructions that they use, not in what they find.
struct BrightCounter
{
    const char *instructions;

    /// Pixels with a red of at least `brightLevel`.
    quint32 (*reds)(const QRgb *row, int width, quint32 best);
    /// Pixels with a red of at least `brightLevel` after premultiplication by their alpha.
    quint32 (*products)(const QRgb *row, int width, quint32 best);
    /// Gray levels of at least `brightLevel`.
    quint32 (*grays)(const uchar *row, int width, quint32 best);
    /// Indexes in \a wanted.
    quint32 (*indexes)(const uchar *row, int width, quint32 best, const IndexSet &wanted);
};

/// The counters that this machine can run, from the plainest to the fastest.
QList<BrightCounter> brightCounters();

/// The last of them.
const BrightCounter &fastestBrightCounter();
