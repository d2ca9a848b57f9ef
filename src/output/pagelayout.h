#pragma once

#include <QList>
#include <QPixmap>
#include <QRectF>
#include <QSizeF>

/// Where the parts of an output page stand. All lengths are source-image
/// pixels in the coordinates of the page.

/// The margins of a page of \a percent percent: `height()` of \a strip gives
/// the upper and lower one, `width()` the left and right one.
QSizeF pageMargins(const QSizeF &strip, unsigned int percent);

/// The truncated heights of the columns that strips of the heights \a strips
/// fill, two to a column, also of those that are not full yet: the greatest of
/// them, or \a atLeast if that is greater.
double tallestColumn(const QList<double> &strips, double atLeast);

/// The scale of a two-column page whose content rectangle is \a contentHeight
/// high: \a contentHeight / \a columnHeight, or a fixed half where that is not
/// below 1.
double columnScale(double contentHeight, double columnHeight);

/// The places of strips of the sizes \a strips at \a scale in the two columns
/// of \a content, in order: two in the left column, two in the right one. All
/// are as wide as the first. The left column stands one inset from the left
/// edge, the right column is flush right.
QList<QRectF> columnPlaces(const QRectF &content, const QList<QSizeF> &strips, double scale);

/// The box of the page number in the bottom right corner of a page of the size
/// \a page, three times as wide as high, in whole pixels.
QRectF pageNumberBox(const QSizeF &page);

/// \a number in gray on transparent ground, 180 x 60 pixels.
QPixmap pageNumberPixmap(int number);

/// The scale at which the whole of a page of the size \a page fits \a area.
double fitScale(const QSizeF &page, const QSizeF &area);

/// Whether the page \a number, counted from 1, is to be drawn if the pages
/// \a first to \a last are asked for. 0 and 0 ask for all pages.
bool isPageWanted(int number, int first, int last);
