#include "pixels/calmrow.h"

#include "pixels/averagedrows.h"
#include "pixels/finecut.h"
#include "pixels/pictureedge.h"
#include "pixels/rowruns.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <optional>
#include <vector>

namespace {

// What part of the greatest worth a row loses at the end of the near reach:
// enough to choose between similar gaps, or next to nothing.
constexpr int nearLoss = 5;
constexpr int farLoss = 20;

// So many rows beyond the reach tell what ends there.
constexpr int rowsBeyond = 8;

// So many rows beside a gap tell whether it ends where they become busier.
constexpr int rowsBeside = 3;

// By so many octaves rows beside a gap must be busier than its calmest one.
constexpr int usualRise = 2;
constexpr int riseOfEqualRows = 4;
constexpr int riseOfSingleRow = 5;

constexpr int anyLevel = std::numeric_limits<int>::max();

/// Whether one of the rows \a beside a gap, or the change from one row to the
/// next at \a seam, where the gap ends, reaches \a level.
bool isBusy(const RowProfile &profile, const RowRun &beside, int seam, int level)
{
    const auto row = profile.row.begin();
    return profile.seam[size_t(seam)] >= level
        || std::any_of(row + beside.first, row + beside.end, [level](int other) { return other >= level; });
}

/// Whether rows close above and below row \a y are busier by \a rise octaves. In a sky
/// that gets lighter from row to row they are not.
bool isBetweenBusyRows(const RowProfile &profile, int y, int rise)
{
    const auto row = profile.row.begin();
    const int busy = row[y] + rise * RowProfile::octave;
    const auto areBusy = [&](int first, int end) {
        return first == end || std::any_of(row + first, row + end, [busy](int level) { return level >= busy; });
    };
    return areBusy(std::max(0, y - rowsBeside), y) && areBusy(y + 1, std::min(profile.height, y + 1 + rowsBeside));
}

/// Whether \a gap ends at both sides where rows become busier by \a rise octaves,
/// or at an end of the window. Inside a photo it does not.
bool hasSharpEnds(const RowProfile &profile, const RowRun &gap, int rise)
{
    if (gap.length() == 1) {
        return isBetweenBusyRows(profile, gap.first, rise);
    }
    const bool isAtTop = gap.first == 0;
    const bool isAtBottom = gap.end == profile.height;
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

/// The cut through the middle of \a gap, or of those of its rows that \a pull allows.
CalmRow throughMiddle(const RowProfile &profile, const RowRun &gap, const RowPull &pull, CalmRow::Ground ground)
{
    const int row = std::clamp(profile.top + gap.middle(), pull.regular - pull.farthest, pull.regular + pull.farthest);
    return {row, gap.length(), ground};
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

/// The level of the rows across the end of \a gap at row \a y.
int levelBeyond(const RowProfile &profile, const RowRun &gap, int y)
{
    return profile.row[size_t(y == gap.end ? y + 1 : y - 2)]; // not the row of the change itself
}

/// The cut where one end of \a gap is the edge of a picture, with rows of at most
/// the level \a busiest beyond it.
std::optional<CalmRow> edgeAt(const ChannelRows &source, const RowProfile &profile, const RowRun &gap,
                              const RowPull &pull, int busiest)
{
    for (const int end : {gap.first, gap.end}) {
        if (pull.allows(profile.top + end) && isPictureEdge(source, profile, end)
            && levelBeyond(profile, gap, end) <= busiest) {
            return CalmRow{profile.top + end, 0, CalmRow::Edge};
        }
    }
    return std::nullopt;
}

/// The first gap of equal rows that is hardly busier than the calmest of them.
std::optional<RowRun> gapOfEqualRows(const ChannelRows &source, const RowProfile &profile, const RowPull &pull)
{
    std::vector<RowRun> gaps = bestGaps(profile, RowJoin::Equal, pull);
    std::erase_if(gaps, [&](const RowRun &gap) { return !isGapOfEqualRows(source, profile, gap); });
    if (gaps.empty()) {
        return std::nullopt;
    }
    const auto level = [&](const RowRun &gap) { return lowestLevel(profile, gap); };
    const auto isCalmer = [&](const RowRun &a, const RowRun &b) { return level(a) < level(b); };
    const int busiest = level(*std::min_element(gaps.begin(), gaps.end(), isCalmer)) + 2 * RowProfile::octave;
    return *std::find_if(gaps.begin(), gaps.end(), [&](const RowRun &gap) { return level(gap) <= busiest; });
}

/// The cut through the best gap of equal rows. If rows as calm begin at one of its
/// ends, both may be parts of pictures, and the cut goes there.
std::optional<CalmRow> cutInEqualRows(const ChannelRows &source, const RowProfile &profile, const RowPull &pull)
{
    const auto gap = gapOfEqualRows(source, profile, pull);
    if (!gap) {
        return std::nullopt;
    }
    const int calm = lowestLevel(profile, *gap) + usualRise * RowProfile::octave;
    const auto edge = edgeAt(source, profile, *gap, pull, calm);
    return edge ? edge : throughMiddle(profile, *gap, pull, CalmRow::Clear);
}

/// Whether \a gap begins or ends at the edge of a picture beyond which rows are calmer:
/// it is a plain part of that picture, such as its sky.
bool isInPicture(const ChannelRows &source, const RowProfile &profile, const RowRun &gap)
{
    const int calmer = lowestLevel(profile, gap) - RowProfile::octave;
    const auto isEdge = [&](int end) {
        return isPictureEdge(source, profile, end) && levelBeyond(profile, gap, end) < calmer;
    };
    return isEdge(gap.first) || isEdge(gap.end);
}

/// Whether \a gap is ground between pieces of content. A single row must be blank.
bool isGround(const ChannelRows &source, const RowProfile &profile, const RowRun &gap)
{
    return (gap.length() > 1 || lowestLevel(profile, gap) <= blankLevel()) && hasSharpEnds(profile, gap, usualRise)
        && isPlain(source, profile, gap) && !isInPicture(source, profile, gap);
}

/// The cut at \a gap if it goes through nothing: in plain ground, or where one
/// end of the gap is that of a picture.
std::optional<CalmRow> clearCutAt(const ChannelRows &source, const RowProfile &profile, const RowRun &gap,
                                  const RowPull &pull)
{
    if (const auto edge = edgeAt(source, profile, gap, pull, anyLevel)) {
        return edge;
    }
    if (!isGround(source, profile, gap)) {
        return std::nullopt;
    }
    return throughMiddle(profile, gap, pull, CalmRow::Clear);
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
    if (gaps.empty()) {
        return {{pull.regular, 0, CalmRow::Content}, false};
    }
    const auto isGap = [&](const RowRun &gap) {
        return hasSharpEnds(profile, gap, usualRise) && gap.length() < profile.height;
    };
    for (const RowRun &gap : gaps) {
        if (const auto cut = clearCutAt(source, profile, gap, pull)) {
            return {*cut, true};
        }
        if (isGap(gap)) {
            break;
        }
    }
    return {throughMiddle(profile, gaps.front(), pull, isGap(gaps.front()) ? CalmRow::Busy : CalmRow::Content), false};
}

FoundCut findCut(const ChannelRows &source, const RowProfile &profile, const RowPull &pull)
{
    const auto equal = cutInEqualRows(source, profile, pull);
    return equal ? FoundCut{*equal, true} : cutInAlikeRows(source, profile, pull);
}

/// The allowed row with the lowest level, the nearest of several.
int calmestRow(const RowProfile &profile, const RowPull &pull)
{
    const auto isCalmer = [&](int a, int b) {
        const int difference = profile.row[size_t(a)] - profile.row[size_t(b)];
        const int wanted = pull.regular - profile.top;
        return difference < 0 || (difference == 0 && std::abs(a - wanted) < std::abs(b - wanted));
    };
    int calmest = -1;
    for (int y = 0; y < profile.height; ++y) {
        const bool isBest = pull.allows(profile.top + y) && (calmest < 0 || isCalmer(y, calmest));
        calmest = isBest ? y : calmest;
    }
    return calmest;
}

/// \a best, or the calmest rows if they are far calmer than that.
CalmRow orCalmestRows(const RowProfile &profile, const CalmRow &best, const RowPull &pull)
{
    const int calmest = calmestRow(profile, pull);
    const int level = profile.row[size_t(best.row - profile.top)];
    if (profile.row[size_t(calmest)] > level - 2 * RowProfile::octave) {
        return best;
    }
    return throughMiddle(profile, gapAround(profile, RowJoin::Alike, calmest), pull, CalmRow::Busy);
}

/// Whether even the calmest rows are full of noise, as after dithering.
bool isNoiseEverywhere(const RowProfile &profile)
{
    constexpr int octavesOfNoise = 8;
    return lowestLevel(profile, {0, profile.height}) >= blankLevel() + octavesOfNoise * RowProfile::octave;
}

/// The clear gap that shows when the noise of the rows of \a profile is averaged out.
std::optional<CalmRow> cutBelowNoise(const ChannelRows &source, const RowProfile &profile, const RowPull &pull)
{
    if (!isNoiseEverywhere(profile) || pull.farthest <= averagedSide) {
        return std::nullopt;
    }
    const QImage averages = averagedRows(source.rows(profile.top, profile.height), source.pixelBytes());
    if (averages.isNull()) {
        return std::nullopt;
    }
    const int shift = profile.top + averagedSide / 2;
    const RowPull shifted{pull.regular - shift, pull.farthest - averagedSide, pull.reach, pull.loss};
    const ChannelRows rows(averages);
    const CalmRow cut = findCut(rows, profileOf(rows, 0, averages.height()), shifted).cut;
    if (cut.ground != CalmRow::Clear) {
        return std::nullopt;
    }
    return CalmRow{cut.row + shift, cut.gap + averagedSide - 1, CalmRow::Clear};
}

/// The seam at the end of \a gap at row \a y, or next to it; -1 if there is none.
int seamAt(const ChannelRows &source, const RowProfile &profile, int y)
{
    for (const int row : {y, y - 1, y + 1, y - 2, y + 2}) {
        if (isSeam(source, profile, row, anyLevel)) {
            return row;
        }
    }
    return -1;
}

/// \a best, which may go through a plain part of a picture, or the seam that its gap ends
/// at, or the nearest one. A gap between two seams is no part of a picture.
CalmRow orSeam(const ChannelRows &source, const RowProfile &profile, const CalmRow &best, const RowPull &pull)
{
    const int y = std::clamp(best.row - profile.top, 0, profile.height - 1);
    const int seam = nearestSeam(source, profile, pull, profile.row[size_t(y)] + 3 * RowProfile::octave);
    if (seam < 0) {
        return best;
    }
    const RowRun gap = gapAround(profile, RowJoin::Alike, y);
    const int above = best.ground == CalmRow::Content ? -1 : seamAt(source, profile, gap.first);
    const int below = best.ground == CalmRow::Content ? -1 : seamAt(source, profile, gap.end);
    if (above >= 0 && below >= 0) {
        return best;
    }
    const int end = std::max(above, below);
    const bool isAllowed = end >= 0 && pull.allows(profile.top + end);
    return {profile.top + (isAllowed ? end : seam), 0, CalmRow::Edge};
}

/// A clear gap is worth the way; then the edge of a picture; then a gap below noise; then
/// a seam; then the best gap, or the calmest rows.
CalmRow cutInFarReach(const ChannelRows &source, const RowProfile &profile, const CutPlace &place)
{
    const RowPull pull{place.regular, std::max(place.near, place.far), place.near, farLoss};
    const FoundCut found = findCut(source, profile, pull);
    if (found.isClear) {
        return found.cut;
    }
    const int edge = nearestPictureEdge(source, profile, pull);
    if (edge >= 0) {
        return {profile.top + edge, 0, CalmRow::Edge};
    }
    if (const auto cut = cutBelowNoise(source, profile, pull)) {
        return *cut;
    }
    const RowPull nearer{place.regular, pull.farthest, place.near, nearLoss};
    const CalmRow best = orCalmestRows(profile, findCut(source, profile, nearer).cut, nearer);
    return orSeam(source, profile, best, nearer);
}

/// Whether \a cut is in a gap of a ground that is plain but not blank, such as paper or
/// a flat part of a picture.
bool isInTexture(const RowProfile &profile, const CalmRow &cut)
{
    const int y = std::min(cut.row - profile.top, profile.height - 1);
    return cut.ground == CalmRow::Clear && profile.row[size_t(y)] > blankLevel() + 2 * RowProfile::octave;
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

int calmContext(int width)
{
    return rowsBeyond + profileSpan(width);
}

CalmRow calmRow(const QImage &source, const CutPlace &place)
{
    const ChannelRows rows(source);
    if (rowsAround(source.height(), place.regular, place.near).length() == 0) {
        return {place.regular, 0, CalmRow::Content};
    }
    const RowRun window = rowsAround(source.height(), place.regular, place.near + rowsBeyond);
    const RowProfile near = profileOf(rows, window.first, window.end);
    const FoundCut found = findCut(rows, near, {place.regular, place.near, place.near, nearLoss});
    if (found.isClear && !isInTexture(near, found.cut)) {
        return fineCut(rows, near, found.cut, place);
    }
    const RowRun reach = rowsAround(source.height(), place.regular, std::max(place.near, place.far) + rowsBeyond);
    const RowProfile wide = grown(rows, near, reach);
    const RowPull pull{place.regular, std::max(place.near, place.far), place.near, farLoss};
    const CalmRow cut = found.isClear ? orSeam(rows, wide, found.cut, pull) : cutInFarReach(rows, wide, place);
    return fineCut(rows, wide, cut, place);
}
