#pragma once

#include "pixels/grayscan.h"

#include <QPixmap>
#include <QRect>

#include <optional>

/// The gray level, 0 to 255, up to which a pixel is ink and not paper, by
/// N. Otsu's method ("A threshold selection method from gray-level
/// histograms", 1979): the level whose two classes lie furthest apart, the
/// lowest of several. 200 if only one level occurs.
int inkThreshold(const GrayHistogram &histogram);

/// The bounds of the content of a scanned image, where pixels up to \a threshold
/// are ink.
///
/// A row is content if it holds at least width / 1000 + 2 ink pixels, a column
/// if it holds at least height / 1000 + 2. The rectangle reaches from the
/// first content row and column to the last ones. Nothing without content, and
/// if that is only a single row or a single column.
std::optional<QRect> contentBounds(const GrayScan &scan, int threshold);

/// \a source without its blank borders, also if it has none. Nothing if it has
/// no content, or if the memory does not suffice. Otherwise \a topRow, if it is
/// given, becomes the first row of \a source that is kept.
std::optional<QPixmap> withoutBlankBorders(const QPixmap &source, int *topRow = nullptr);
