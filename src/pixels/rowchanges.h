#pragma once

#include <QList>

/// Sums of squared differences between the channels of the pixels of a row and
/// those of other pixels.
struct RowChanges
{
    quint64 near = 0; ///< their left neighbors
    quint64 wide = 0; ///< the pixels a span to the left
    quint64 down = 0; ///< the pixels above
    quint64 drift = 0; ///< the pixels a span above
};

/// Rows of equal length; all lengths in bytes, a channel each.
struct ComparedRows
{
    const uchar *row;
    const uchar *above;
    const uchar *farAbove; ///< null if the drift is not wanted; it is 0 then
    qsizetype length;
    qsizetype pixel; ///< the length of a pixel
    qsizetype span; ///< the wide distance along the row, at least a pixel
};

/// Functions that differ in the instructions that they use, not in what they find.
struct ChangeCounter
{
    const char *instructions;
    RowChanges (*count)(const ComparedRows &rows);
};

/// The counters that this machine can run, from the plainest to the fastest.
QList<ChangeCounter> changeCounters();

/// The last of them.
const ChangeCounter &fastestChangeCounter();
