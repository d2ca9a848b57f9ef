#include "pixels/rowruns.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace {

// Each row more makes a run worth more: the most up to the first share of the
// width, less from there to the second, and nothing beyond.
constexpr int plainGapShare = 45;
constexpr int fullGapShare = 18;

constexpr qint64 taken = std::numeric_limits<qint64>::min();

/// Whether row \a y belongs to the run that began at \a first.
bool follows(const RowProfile &profile, RowJoin join, int level, int first, int y)
{
    if (join == RowJoin::Equal) {
        return profile.down.data()[y] == 0;
    }
    return profile.seam.data()[y] <= level && (y - first < profile.span || profile.drift.data()[y] <= level);
}

/// Calls \a visit for each run of rows of at most \a level that \a join joins.
template <typename Visit>
void visitRuns(const RowProfile &profile, RowJoin join, int level, Visit visit)
{
    const int *row = profile.row.data(); // without the checks of a vector: this is done for each level
    for (int y = 0; y < profile.height;) {
        const int first = y++;
        if (row[first] > level) {
            continue;
        }
        while (y < profile.height && row[y] <= level && follows(profile, join, level, first, y)) {
            ++y;
        }
        visit(RowRun{first, y});
    }
}

/// What runs of 0 to \a height rows are worth at one level.
std::vector<int> worthOfLengths(int height, int width)
{
    const int plain = std::max(3, width / plainGapShare);
    const int full = std::max(plain, width / fullGapShare);
    const auto worth = [](int rows) { return logarithm(quint64(rows) + 1); };
    std::vector<int> worths;
    for (int length = 0; length <= height; ++length) {
        const int more = worth(std::clamp(length, plain, full)) - worth(plain);
        worths.push_back(worth(std::min(length, plain)) + more * 3 / 10);
    }
    return worths;
}

/// The levels from \a lowest to \a highest at which runs begin, end or join, in
/// ascending order, and the one above the highest.
std::vector<int> levelsOfRuns(const RowProfile &profile, RowJoin join, int lowest, int highest)
{
    std::vector<bool> isLevel(size_t(highest) + 1);
    const auto mark = [&](const std::vector<int> &levels) {
        for (const int level : levels) {
            isLevel[size_t(std::clamp(level, lowest, highest))] = true;
        }
    };
    mark(profile.row);
    if (join == RowJoin::Alike) {
        mark(profile.seam);
        mark(profile.drift);
    }
    std::vector<int> levels;
    for (int level = lowest; level <= highest; ++level) {
        if (isLevel[size_t(level)]) {
            levels.push_back(level);
        }
    }
    levels.push_back(highest + 1);
    return levels;
}

/// For each row the worth of the runs that it lies in, added up over all levels:
/// the longer the run and the busier the rows beside it, the more.
std::vector<int> worthOfRows(const RowProfile &profile, RowJoin join)
{
    const std::vector<int> worthOf = worthOfLengths(profile.height, profile.width);
    const auto [lowest, highest] = std::minmax_element(profile.row.begin(), profile.row.end());
    const std::vector<int> levels = levelsOfRuns(profile, join, *lowest, *highest);
    std::vector<int> worth(size_t(profile.height) + 1); // first the differences from row to row
    for (size_t i = 0; i + 1 < levels.size(); ++i) {
        visitRuns(profile, join, levels[i], [&](RowRun run) {
            const int gain = worthOf[size_t(run.length())] * (levels[i + 1] - levels[i]);
            worth[size_t(run.first)] += gain;
            worth[size_t(run.end)] -= gain;
        });
    }
    for (size_t y = 1; y < worth.size(); ++y) {
        worth[y] += worth[y - 1];
    }
    return worth;
}

/// What each row is worth as a cut, in units of the reach and the loss of \a pull.
std::vector<qint64> valueOfRows(const RowProfile &profile, RowJoin join, const RowPull &pull)
{
    const std::vector<int> worth = worthOfRows(profile, join);
    const qint64 greatest = *std::max_element(worth.begin(), worth.end());
    std::vector<qint64> values;
    values.reserve(profile.row.size());
    for (int y = 0; y < profile.height; ++y) {
        const int row = profile.top + y;
        const qint64 value =
            qint64(worth[size_t(y)]) * pull.loss * std::max(1, pull.reach) - greatest * std::abs(row - pull.regular);
        values.push_back(pull.allows(row) ? value : taken);
    }
    return values;
}

} // namespace

std::vector<RowRun> bestGaps(const RowProfile &profile, RowJoin join, const RowPull &pull)
{
    constexpr int count = 6;
    std::vector<qint64> values = valueOfRows(profile, join, pull);
    std::vector<RowRun> gaps;
    for (int i = 0; i < count; ++i) {
        const auto best = std::max_element(values.begin(), values.end());
        if (*best == taken) {
            break;
        }
        gaps.push_back(gapAround(profile, join, int(best - values.begin())));
        std::fill(values.begin() + gaps.back().first, values.begin() + gaps.back().end, taken);
    }
    return gaps;
}

RowRun gapAround(const RowProfile &profile, RowJoin join, int y)
{
    RowRun gap{y, y + 1};
    const int level = profile.row[size_t(y)] + RowProfile::octave;
    visitRuns(profile, join, level, [&](RowRun run) { gap = run.holds(y) ? run : gap; });
    return gap;
}

int lowestLevel(const RowProfile &profile, const RowRun &gap)
{
    return *std::min_element(profile.row.begin() + gap.first, profile.row.begin() + gap.end);
}
