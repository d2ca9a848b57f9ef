#include "pixels/rowprofile.h"

#include "pixels/rowchanges.h"

#include <algorithm>
#include <bit>

namespace {

// Changes below four a pixel are no more visible than none.
constexpr quint64 leastChange = 4;

// The drift is looked at in every so many rows: it changes slowly.
constexpr int driftStep = 4;

/// The level of \a halves halves of a squared difference in a row of \a width.
int levelOf(quint64 halves, int width)
{
    return logarithm(halves * 8 / quint64(width) + 16 * leastChange) * RowProfile::octave / 16;
}

void appendRow(RowProfile &profile, const RowChanges &changes, quint64 weight)
{
    profile.row.push_back(levelOf((2 * changes.near + changes.wide) * weight, profile.width));
    profile.seam.push_back(levelOf(2 * changes.down * weight, profile.width));
    profile.drift.push_back(levelOf(2 * changes.drift * weight, profile.width));
    profile.down.push_back(changes.down * weight);
}

/// Adds \a count rows from \a first. Rows above the window are compared with, too.
void appendRows(RowProfile &profile, const ChannelRows &source, int first, int count)
{
    const int above = std::min(first, profile.span);
    const QImage rows = source.rows(first - above, above + count);
    const int bytes = source.pixelBytes();
    for (int y = above; y < above + count; ++y) {
        const bool hasDrift = (first - above + y) % driftStep == 0;
        const ComparedRows compared{rows.constScanLine(y),
                                    rows.constScanLine(std::max(0, y - 1)),
                                    hasDrift ? rows.constScanLine(std::max(0, y - profile.span)) : nullptr,
                                    qsizetype(profile.width) * bytes,
                                    bytes,
                                    qsizetype(profile.span) * bytes};
        appendRow(profile, fastestChangeCounter().count(compared), source.weight());
    }
    profile.height += count;
}

} // namespace

int profileSpan(int width)
{
    return std::max(4, width / 50);
}

RowProfile profileOf(const ChannelRows &source, int top, int bottom)
{
    constexpr int rowsAtATime = 128;
    RowProfile profile;
    profile.top = top;
    profile.width = source.width();
    profile.span = profileSpan(source.width());
    for (int first = top; first < bottom; first += rowsAtATime) {
        appendRows(profile, source, first, std::min(rowsAtATime, bottom - first));
    }
    return profile;
}

void append(RowProfile &profile, const RowProfile &below)
{
    const auto join = [](auto &to, const auto &from) { to.insert(to.end(), from.begin(), from.end()); };
    join(profile.row, below.row);
    join(profile.seam, below.seam);
    join(profile.drift, below.drift);
    join(profile.down, below.down);
    profile.height += below.height;
}

int blankLevel()
{
    return levelOf(0, 1);
}

int logarithm(quint64 value)
{
    const int exponent = int(std::bit_width(value)) - 1;
    return 16 * exponent + int(((value << 4) >> exponent) & 15);
}
