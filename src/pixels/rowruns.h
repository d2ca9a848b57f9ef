#pragma once

#include "pixels/rowprofile.h"

#include <cstdlib>
#include <vector>

/// Rows \a first to \a end, exclusive, counted from the top of the window.
struct RowRun
{
    int first = 0;
    int end = 0;

    int length() const { return end - first; }
    int middle() const { return (first + end) / 2; }
    bool holds(int y) const { return first <= y && y < end; }
};

/// What joins rows to a run.
enum class RowJoin {
    Alike, ///< hardly any change from one to the next and over a span
    Equal, ///< none at all from one to the next
};

/// Which rows a cut may have, and how one loses worth by its distance from the
/// regular one.
struct RowPull
{
    int regular; ///< in source rows
    int farthest; ///< no cut is farther away than so many rows
    int reach; ///< in rows; at this distance
    int loss; ///< this part (1 in so many) of the greatest worth is lost

    bool allows(int row) const { return std::abs(row - regular) <= farthest; }
};

/// The runs of calm rows in busier ones that are worth the most as a place for
/// a cut, the best first. Runs of few rows, or close to as busy as their
/// surroundings, are worth less. None only if \a pull allows no row of the profile.
std::vector<RowRun> bestGaps(const RowProfile &profile, RowJoin join, const RowPull &pull);

/// The run of rows around row \a y of the window that are hardly less calm.
RowRun gapAround(const RowProfile &profile, RowJoin join, int y);

/// The level of the calmest row of \a gap.
int lowestLevel(const RowProfile &profile, const RowRun &gap);
