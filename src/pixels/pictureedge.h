#pragma once

#include "pixels/rowruns.h"

// All of them compare pixels of \a source, of which \a profile is one; \a y is
// counted from the top of the window.

/// Whether another picture begins at row \a y, all across the image. Not at the
/// ends of the window, where too few rows are known.
bool isPictureEdge(const ChannelRows &source, const RowProfile &profile, int y);

/// The row of the window nearest to the regular one of those that \a pull allows at
/// which another picture begins; -1 if there is none.
int nearestPictureEdge(const ChannelRows &source, const RowProfile &profile, const RowPull &pull);

/// Whether a straight edge runs at row \a y along at least a fifth of the width, between
/// rows of at most the level \a busiest: a picture, or a part of the page, begins there.
bool isSeam(const ChannelRows &source, const RowProfile &profile, int y, int busiest);

/// The nearest such row of those that \a pull allows; -1 if there is none.
int nearestSeam(const ChannelRows &source, const RowProfile &profile, const RowPull &pull, int busiest);

/// Whether row \a y is a line one row thick: unlike the rows beside it, which are
/// alike.
bool isHairline(const ChannelRows &source, const RowProfile &profile, int y);
