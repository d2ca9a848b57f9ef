#pragma once

#include <QList>
#include <QPixmap>
#include <QRectF>
#include <QSizeF>

// The layout of an output page. All lengths are source-image pixels in page
// coordinates.

/// Margins of \a percent percent of the size \a strip: the height is that of the
/// top and bottom margins, the width that of the left and right ones.
[[nodiscard]] QSizeF pageMargins(const QSizeF &strip, unsigned int percent);

/// The greatest truncated height of the columns that strips of the heights
/// \a strips fill, two in each, incomplete columns included; at least \a atLeast.
[[nodiscard]] double tallestColumn(const QList<double> &strips, double atLeast);

/// The scale of a two-column page whose content rectangle is \a contentHeight high:
/// \a contentHeight / \a columnHeight, or 0.5 if that is 1 or more.
[[nodiscard]] double columnScale(double contentHeight, double columnHeight);

/// The rectangles of strips of the sizes \a strips, scaled by \a scale, in the two
/// columns of \a content: two strips in the left column, then two in the right one.
/// All are as wide as the first. The left column is inset from the left edge, the
/// right column is flush right.
[[nodiscard]] QList<QRectF> columnPlaces(const QRectF &content, const QList<QSizeF> &strips, double scale);

/// The rectangle of the page number, in the bottom right corner of a page of the
/// size \a page: three times as wide as high, in whole pixels.
[[nodiscard]] QRectF pageNumberBox(const QSizeF &page);

/// \a number in gray on a transparent background, 180 x 60 pixels.
[[nodiscard]] QPixmap pageNumberPixmap(int number);

/// The largest scale at which a page of the size \a page fits into \a area.
[[nodiscard]] double fitScale(const QSizeF &page, const QSizeF &area);

/// Whether page \a number, counted from 1, is among the requested pages \a first
/// to \a last. If both are 0, all pages are requested.
[[nodiscard]] bool isPageWanted(int number, int first, int last);
