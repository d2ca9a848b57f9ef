#include "pixels/pictureedge.h"

#include <algorithm>
#include <cstdlib>

namespace {

// A thicker line than this is a bar, whose edges are good places.
constexpr int thickestHairline = 6;

// From this squared difference on, a pixel is clearly another.
constexpr quint64 clearDifference = 200;

/// The greatest change from one row to the next, of rows \a first to \a last of
/// the window, both included.
quint64 greatestChange(const RowProfile &profile, int first, int last)
{
    quint64 change = 0;
    for (int y = std::max(1, first); y <= std::min(profile.height - 1, last); ++y) {
        change = std::max(change, profile.down[size_t(y)]);
    }
    return change;
}

/// The changes in the three rows above row \a y or in those below it, whichever
/// is calmer: a thin line between two pictures has another edge close by.
quint64 changeBeside(const RowProfile &profile, int y)
{
    return std::min(greatestChange(profile, y - 3, y - 1), greatestChange(profile, y + 1, y + 3));
}

/// Whether most pixels differ at both sides of a line of at most
/// thickestHairline rows that begins or ends at row \a y. In text on plain
/// ground they do not, nor where handwriting runs along a ruled line.
bool differsBeyondHairline(const ChannelRows &source, int y, quint64 least)
{
    const int most = source.width() * 3 / 5;
    for (int distance = 2; distance <= thickestHairline; ++distance) {
        if (source.changedPixels(y - distance, y, least) <= most
            || source.changedPixels(y - 1, y - 1 + distance, least) <= most) {
            return false;
        }
    }
    return true;
}

/// Whether the pixels all across the image change at row \a y by clearly more
/// than by \a usual, a sum over a row.
bool changesAcross(const ChannelRows &source, int y, quint64 usual)
{
    const quint64 least = clearDifference + 3 * usual / quint64(source.width());
    return source.changedPixels(y - 1, y, least) > source.width() * 17 / 20 && differsBeyondHairline(source, y, least);
}

/// The nearest row that \a pull allows of those of which \a isWanted is true; -1 if there is none.
template <typename IsWanted>
int nearestRow(const RowProfile &profile, const RowPull &pull, IsWanted isWanted)
{
    const int regular = pull.regular - profile.top;
    int best = -1;
    for (int y = 1; y < profile.height; ++y) {
        const bool isNearer = best < 0 || std::abs(y - regular) < std::abs(best - regular);
        if (isNearer && pull.allows(profile.top + y) && isWanted(y)) {
            best = y;
        }
    }
    return best;
}

} // namespace

bool isPictureEdge(const ChannelRows &source, const RowProfile &profile, int y)
{
    const int row = profile.top + y;
    if (y <= 3 || y + 3 >= profile.height || row < thickestHairline || row + thickestHairline > source.height()) {
        return false;
    }
    const quint64 beside = changeBeside(profile, y);
    return profile.down[size_t(y)] >= 3 * beside + 64 * quint64(profile.width) && changesAcross(source, row, beside);
}

int nearestPictureEdge(const ChannelRows &source, const RowProfile &profile, const RowPull &pull)
{
    return nearestRow(profile, pull, [&](int y) { return isPictureEdge(source, profile, y); });
}

bool isSeam(const ChannelRows &source, const RowProfile &profile, int y, int busiest)
{
    const int row = profile.top + y;
    if (y <= 3 || y + 3 >= profile.height || row <= stepSurroundings || row + stepSurroundings >= source.height()
        || std::max(profile.row[size_t(y - 1)], profile.row[size_t(y)]) > busiest
        || 5 * profile.down[size_t(y)] < clearDifference * quint64(profile.width)) {
        return false;
    }
    const quint64 beside = std::max(greatestChange(profile, y - 3, y - 1), greatestChange(profile, y + 1, y + 3));
    return 2 * profile.down[size_t(y)] >= 3 * beside
        && 5 * source.steppedPixels(row, clearDifference) >= source.width();
}

int nearestSeam(const ChannelRows &source, const RowProfile &profile, const RowPull &pull, int busiest)
{
    return nearestRow(profile, pull, [&](int y) { return isSeam(source, profile, y, busiest); });
}

bool isHairline(const ChannelRows &source, const RowProfile &profile, int y)
{
    if (y == 0 || y + 1 == profile.height) {
        return false;
    }
    const int row = profile.top + y;
    return source.changedPixels(row - 1, row, clearDifference) > source.width() / 2
        && source.changedPixels(row - 1, row + 1, clearDifference) < source.width() * 2 / 5;
}
