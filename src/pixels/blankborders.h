#pragma once

#include "pixels/grayscan.h"

#include <QPixmap>
#include <QRect>

#include <optional>

/// The gray level, 0 to 255, up to which a pixel is ink and not paper, by
/// N. Otsu's method ("A threshold selection method from gray-level
/// histograms", 1979): the level with the largest variance between the two
/// classes, the lowest one of several. 200 if only one level occurs.
[[nodiscard]] int inkThreshold(const GrayHistogram &histogram);

/// The bounds of the content of a scanned image, where pixels up to \a threshold
/// are ink.
///
/// A row is content if it holds at least width / 1000 + 2 ink pixels, a column
/// if it holds at least height / 1000 + 2. The rectangle reaches from the
/// first content row and column to the last ones. Nothing if there is no content,
/// or only a single row or column of it.
[[nodiscard]] std::optional<QRect> contentBounds(const GrayScan &scan, int threshold);

/// \a source without its blank borders; the same image if it has none. Nothing
/// if it has no content, or if memory runs out. Otherwise \a topRow, if given,
/// becomes the first row of \a source that is kept.
[[nodiscard]] std::optional<QPixmap> withoutBlankBorders(const QPixmap &source, int *topRow = nullptr);
