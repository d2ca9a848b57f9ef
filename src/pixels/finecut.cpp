#include "pixels/finecut.h"

#include "pixels/rowruns.h"

#include <algorithm>
#include <cstdlib>

namespace {

/// The calmest row that is at most the thickness of a frame away from the cut above
/// row \a y.
int calmestRowBeside(const RowProfile &profile, int y)
{
    const int thickest = std::max(6, profile.width / 90);
    const auto first = profile.row.begin() + std::max(0, y - thickest - 1);
    const auto end = profile.row.begin() + std::min(profile.height, y + thickest + 1);
    return int(std::min_element(first, end) - profile.row.begin());
}

/// The cut through the gap beyond the frame of a picture, if \a cut is at the inner
/// side of the frame. At the outer side no row close by is calmer.
CalmRow beyondFrame(const RowProfile &profile, const CalmRow &cut, const CutPlace &place)
{
    constexpr int calmer = 2 * RowProfile::octave;
    const int y = cut.row - profile.top;
    const int calmest = calmestRowBeside(profile, y);
    const int beside = std::min(profile.row[size_t(y - 1)], profile.row[size_t(y)]);
    const RowRun gap = gapAround(profile, RowJoin::Alike, calmest);
    const int row = profile.top + gap.middle();
    if (profile.row[size_t(calmest)] > beside - calmer || std::abs(row - place.regular) > place.far) {
        return cut;
    }
    return {row, gap.length(), CalmRow::Clear};
}

/// The cut at that row of \a gap, or at its lower end, across which least goes on;
/// \a cut itself if that is hardly more. Letters of columns that are not level with each
/// other reach into a narrow gap from both sides.
CalmRow betweenLetters(const ChannelRows &source, const RowRun &gap, const CalmRow &cut, const CutPlace &place)
{
    CalmRow best = cut;
    quint64 least = source.continuedChange(cut.row) / 2;
    for (int row = std::max(1, gap.first); row <= std::min(gap.end, source.height() - 1); ++row) {
        const quint64 change = source.continuedChange(row);
        if (change < least && std::abs(row - place.regular) <= place.near) {
            least = change;
            best.row = row;
        }
    }
    return best;
}

} // namespace

CalmRow fineCut(const ChannelRows &source, const RowProfile &profile, const CalmRow &cut, const CutPlace &place)
{
    constexpr int narrow = 3;
    const int y = cut.row - profile.top;
    if (cut.ground == CalmRow::Edge) {
        return beyondFrame(profile, cut, place);
    }
    if (cut.ground == CalmRow::Content || cut.gap > narrow || cut.row < 1 || y >= profile.height) {
        return cut;
    }
    const RowRun gap = gapAround(profile, RowJoin::Alike, y);
    const RowRun rows{profile.top + gap.first, profile.top + gap.end};
    return gap.length() <= narrow ? betweenLetters(source, rows, cut, place) : cut;
}
