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
int brightestRow(const QImage &image);

/// The same for the part \a window of \a source: exactly the row that
/// `brightestRow(source.copy(window).toImage())` finds, counted from the top
/// of the window as it is cut off at the edges of the source, with the colours
/// of a palette, which such a copy would lose. 0 if the window lies wholly
/// outside the source.
int brightestRow(const QPixmap &source, const QRect &window);
