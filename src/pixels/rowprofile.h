#pragma once

#include "pixels/channelrows.h"

#include <vector>

/// How much the rows of a window of an image change. Changes are sums of squared
/// differences; a level is a logarithm of their average over the row.
struct RowProfile
{
    /// Levels for each doubling of the changes.
    static constexpr int octave = 4;

    int top = 0; ///< the first row of the window, in source rows
    int width = 0; ///< of the image
    int height = 0; ///< of the window
    int span = 0; ///< the wide distance in pixels and rows
    std::vector<int> row; ///< the level of the changes along each row
    std::vector<int> seam; ///< the level of the changes from the row above
    std::vector<int> drift; ///< the level of the changes from the row a span above
    std::vector<quint64> down; ///< the changes from the row above
};

/// The wide distance in an image of \a width pixels.
int profileSpan(int width);

/// The profile of the rows of \a source from \a top to \a bottom, exclusive.
/// What it holds of a row does not depend on the window.
RowProfile profileOf(const ChannelRows &source, int top, int bottom);

/// Adds the rows of \a below, which begin where \a profile ends.
void append(RowProfile &profile, const RowProfile &below);

/// The level of a row without any change.
int blankLevel();

/// Sixteen times the binary logarithm of \a value, which is not 0, interpolated
/// linearly between powers of two.
int logarithm(quint64 value);
