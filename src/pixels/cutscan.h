#pragma once

#include <QImage>
#include <QPixmap>
#include <QRect>

/// The row of \a image, counted from its top, with the most bright pixels.
///
/// A pixel is bright if QImage::pixel() gives it a red of at least
/// `brightLevel`; the other channels play no part. Of rows with the same
/// number the upper one is taken. Row 0 if no pixel is bright, and for a null
/// image.
[[nodiscard]] int brightestRow(const QImage &image);

/// The same for the part \a window of \a source, which is clipped to the source;
/// rows are counted from the top of the clipped window. This is the row that
/// `brightestRow(source.copy(window).toImage())` finds, except that the colors of
/// a palette, which such a copy would lose, are kept. 0 if the window is entirely
/// outside the source.
[[nodiscard]] int brightestRow(const QPixmap &source, const QRect &window);
