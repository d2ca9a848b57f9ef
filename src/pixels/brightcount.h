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

    std::array<quint8, 256> flags{}; ///< one byte for each index, 1 or 0
    /// Bit h % 8 of halves[h / 8][l] represents the index 16 h + l.
    std::array<std::array<quint8, 16>, 2> halves{};
    /// Bit q of quarters[i] represents the index 64 q + i.
    std::array<quint8, 64> quarters{};
};

/// Functions that count the bright pixels of a row of \a width pixels. As soon as
/// the row can no longer exceed \a best, they may stop and return any number up to
/// \a best. Counters differ in the processor instructions that they use, not in
/// their results.
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

/// The counters that this machine can run, from the most portable to the fastest.
[[nodiscard]] QList<BrightCounter> brightCounters();

/// The last one of brightCounters().
[[nodiscard]] const BrightCounter &fastestBrightCounter();
