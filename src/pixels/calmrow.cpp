#include "pixels/calmrow.h"

#include "pixels/pictureedge.h"
#include "pixels/rowruns.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <vector>

namespace {

// What part of the greatest worth a row loses at the end of the near reach:
// enough to choose between similar gaps, or next to nothing.
constexpr int nearLoss = 5;
constexpr int farLoss = 20;

// By so many octaves rows beside a gap must be busier than its calmest one.
constexpr int usualRise = 2;
constexpr int riseOfEqualRows = 4;
constexpr int riseOfSingleRow = 5;

/// Whether one of the rows \a beside a gap, or the change from one row to the
/// next at \a seam, where the gap ends, reaches \a level.
bool isBusy(const RowProfile &profile, const RowRun &beside, int seam, int level)
{
    const auto row = profile.row.begin();
    return profile.seam[size_t(seam)] >= level
        || std::any_of(row + beside.first, row + beside.end, [level](int other) { return other >= level; });
}

/// Whether \a gap ends at both sides where rows become busier by \a rise octaves,
/// or at an end of the window. Inside a photo it does not.
bool hasSharpEnds(const RowProfile &profile, const RowRun &gap, int rise)
{
    constexpr int rowsBeside = 3;
    constexpr int leastAtWindowEnd = 8;
    const bool isAtTop = gap.first == 0;
    const bool isAtBottom = gap.end == profile.height;
    if (gap.length() < leastAtWindowEnd && (isAtTop || isAtBottom)) {
        return false;
    }
    const RowRun above{std::max(0, gap.first - rowsBeside), gap.first};
    const RowRun below{gap.end, std::min(profile.height, gap.end + rowsBeside)};
    const int busy = lowestLevel(profile, gap) + rise * RowProfile::octave;
    return (isAtTop || isBusy(profile, above, gap.first, busy))
        && (isAtBottom || isBusy(profile, below, gap.end, busy));
}

/// Whether the rows of \a gap hardly differ from each other, as those of plain
/// ground do, from top to bottom as well as from one to the next. Gradients of
/// a whole page are as slow as that, those inside a photo are not.
bool isPlain(const ChannelRows &source, const RowProfile &profile, const RowRun &gap)
{
    constexpr quint64 slightChange = 24;
    const auto width = quint64(profile.width);
    const auto down = profile.down.begin();
    if (std::any_of(down + gap.first + 1, down + gap.end, [&](quint64 d) { return d > slightChange * width; })) {
        return false;
    }
    const auto length = quint64(gap.length());
    const int inset = gap.length() / 8;
    const quint64 change = source.difference(profile.top + gap.first + inset, profile.top + gap.end - 1 - inset);
    return change <= width * (4 + length * length / 50);
}

CalmRow throughMiddle(const RowProfile &profile, const RowRun &gap, CalmRow::Ground ground)
{
    return {profile.top + gap.middle(), gap.length(), ground};
}

/// Whether \a gap, a run of equal rows, is no chance of a picture or a ruled
/// line. A single row must be of one color, and not be a hairline.
bool isGapOfEqualRows(const ChannelRows &source, const RowProfile &profile, const RowRun &gap)
{
    if (gap.length() > 1) {
        return hasSharpEnds(profile, gap, riseOfEqualRows);
    }
    return hasSharpEnds(profile, gap, riseOfSingleRow) && lowestLevel(profile, gap) <= blankLevel()
        && !isHairline(source, profile, gap.first);
}

/// The cut in the best gap of equal rows that is hardly busier than the calmest of
/// them.
std::optional<CalmRow> cutInEqualRows(const ChannelRows &source, const RowProfile &profile, const RowPull &pull)
{
    std::vector<RowRun> gaps = bestGaps(profile, RowJoin::Equal, pull);
    std::erase_if(gaps, [&](const RowRun &gap) { return !isGapOfEqualRows(source, profile, gap); });
    if (gaps.empty()) {
        return std::nullopt;
    }
    const auto level = [&](const RowRun &gap) { return lowestLevel(profile, gap); };
    const auto isCalmer = [&](const RowRun &a, const RowRun &b) { return level(a) < level(b); };
    const int busiest = level(*std::min_element(gaps.begin(), gaps.end(), isCalmer)) + 2 * RowProfile::octave;
    const auto best = std::find_if(gaps.begin(), gaps.end(), [&](const RowRun &gap) { return level(gap) <= busiest; });
    return throughMiddle(profile, *best, CalmRow::Clear);
}

/// The cut at \a gap if it goes through nothing: in plain ground, or where one
/// end of the gap is that of a picture.
std::optional<CalmRow> clearCutAt(const ChannelRows &source, const RowProfile &profile, const RowRun &gap)
{
    for (const int end : {gap.first, gap.end}) {
        if (isPictureEdge(source, profile, end)) {
            return CalmRow{profile.top + end, 0, CalmRow::Edge};
        }
    }
    if (hasSharpEnds(profile, gap, usualRise) && isPlain(source, profile, gap)) {
        return throughMiddle(profile, gap, CalmRow::Clear);
    }
    return std::nullopt;
}

struct FoundCut
{
    CalmRow cut;
    bool isClear = false; ///< no need to look further
};

/// The first clear cut, if no better gap is busy; else the one in the best gap.
FoundCut cutInAlikeRows(const ChannelRows &source, const RowProfile &profile, const RowPull &pull)
{
    const std::vector<RowRun> gaps = bestGaps(profile, RowJoin::Alike, pull);
    const auto isGap = [&](const RowRun &gap) {
        return hasSharpEnds(profile, gap, usualRise) && gap.length() < profile.height;
    };
    for (const RowRun &gap : gaps) {
        if (const auto cut = clearCutAt(source, profile, gap)) {
            return {*cut, true};
        }
        if (isGap(gap)) {
            break;
        }
    }
    return {throughMiddle(profile, gaps.front(), isGap(gaps.front()) ? CalmRow::Busy : CalmRow::Content), false};
}

FoundCut findCut(const ChannelRows &source, const RowProfile &profile, const RowPull &pull)
{
    const auto equal = cutInEqualRows(source, profile, pull);
    return equal ? FoundCut{*equal, true} : cutInAlikeRows(source, profile, pull);
}

/// The row of the window with the lowest level, the nearest of several.
int calmestRow(const RowProfile &profile, int regular)
{
    const auto isCalmer = [&](int a, int b) {
        const int difference = profile.row[size_t(a)] - profile.row[size_t(b)];
        const int wanted = regular - profile.top;
        return difference < 0 || (difference == 0 && std::abs(a - wanted) < std::abs(b - wanted));
    };
    int calmest = 0;
    for (int y = 1; y < profile.height; ++y) {
        calmest = isCalmer(y, calmest) ? y : calmest;
    }
    return calmest;
}

/// \a best, or the calmest rows if they are far calmer than that.
CalmRow orCalmestRows(const RowProfile &profile, const CalmRow &best, int regular)
{
    const int calmest = calmestRow(profile, regular);
    const int level = profile.row[size_t(best.row - profile.top)];
    if (profile.row[size_t(calmest)] > level - 2 * RowProfile::octave) {
        return best;
    }
    return throughMiddle(profile, gapAround(profile, RowJoin::Alike, calmest), CalmRow::Busy);
}

/// A clear gap is worth the way; then the edge of a picture; then the best gap,
/// or the calmest rows.
CalmRow cutInFarReach(const ChannelRows &source, const RowProfile &profile, const CutPlace &place)
{
    const FoundCut found = findCut(source, profile, {place.regular, place.near, farLoss});
    if (found.isClear) {
        return found.cut;
    }
    const int edge = nearestPictureEdge(source, profile, place.regular);
    if (edge >= 0) {
        return {profile.top + edge, 0, CalmRow::Edge};
    }
    const FoundCut nearer = findCut(source, profile, {place.regular, place.near, nearLoss});
    return orCalmestRows(profile, nearer.cut, place.regular);
}

/// The rows of an image of \a height rows within \a reach of \a regular.
RowRun rowsAround(int height, int regular, int reach)
{
    return {std::clamp(regular - reach, 0, height), std::clamp(regular + reach, 0, height)};
}

/// \a near and the rows around it that belong to \a window.
RowProfile grown(const ChannelRows &source, const RowProfile &near, const RowRun &window)
{
    RowProfile profile = profileOf(source, window.first, near.top);
    append(profile, near);
    append(profile, profileOf(source, near.top + near.height, window.end));
    return profile;
}

} // namespace

CutPlace cutPlace(double regular, double stripHeight)
{
    return {qRound(regular), int(stripHeight * 0.15), int(stripHeight * 0.2)};
}

CalmRow calmRow(const QImage &source, const CutPlace &place)
{
    const ChannelRows rows(source);
    const RowRun window = rowsAround(source.height(), place.regular, place.near);
    if (window.length() == 0) {
        return {place.regular, 0, CalmRow::Content};
    }
    const RowProfile near = profileOf(rows, window.first, window.end);
    const FoundCut found = findCut(rows, near, {place.regular, place.near, nearLoss});
    if (found.isClear) {
        return found.cut;
    }
    const RowRun reach = rowsAround(source.height(), place.regular, std::max(place.near, place.far));
    return cutInFarReach(rows, grown(rows, near, reach), place);
}
