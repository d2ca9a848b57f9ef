#pragma once

#include "pdf/pdfsheet.h"

#include <QList>
#include <QSize>

// How the strips of a picture are laid out on sheets. All of this is arithmetic:
// rows are source rows, lengths are points, and rectangles are from the top left
// corner of their sheet.

/// A picture with its cuts: the strips are the rows between them.
struct CutPicture
{
    QSize size;
    QList<int> cuts; ///< the first rows below the cuts; rising, between 0 and the height
};

/// The rows \a index of all strips of \a picture.
struct StripRows
{
    int first = 0;
    int end = 0; ///< exclusive

    int count() const { return end - first; }
};
[[nodiscard]] QList<StripRows> stripsOf(const CutPicture &picture);

/// A sheet with columns, each for one strip.
struct ColumnSheet
{
    QSizeF paper;
    double margin = 0; ///< on all sides
    int columns = 1;
};

/// The points that a pixel of a picture of \a width pixels measures on \a sheet.
[[nodiscard]] double columnScale(const ColumnSheet &sheet, int width);

/// How many rows of a picture of \a width pixels fit into a column, at least 1.
[[nodiscard]] int rowsPerColumn(const ColumnSheet &sheet, int width);

/// Each strip at the full width of a column, at its top; the columns of a sheet from
/// left to right, then the next sheet. A strip that is too high for that is made
/// smaller, in the middle of its column.
[[nodiscard]] QList<PdfSheet> columnSheets(const CutPicture &picture, const ColumnSheet &sheet);

/// The points that a pixel of a picture of \a width pixels measures if each page is as
/// large as its strip: 96 pixels an inch, or more where the page would be too large.
[[nodiscard]] double stripScale(const CutPicture &picture);

/// A sheet for each strip, and as large as that.
[[nodiscard]] QList<PdfSheet> stripSheets(const CutPicture &picture);

/// What the window made of a picture, in source pixels.
struct WindowPages
{
    QSizeF page; ///< the size of an output page
    QRectF content; ///< its content rectangle
    double minAspect = 0; ///< see `minAspect` of src/page/pageitem.h
    QList<QRectF> bands; ///< of the strips
};

/// The A4 sheets that the window exports, with \a columns 1 or 2. Cuts are whole rows:
/// the strips tile the picture, so they end up to a row away from their bands.
[[nodiscard]] QList<PdfSheet> windowSheets(const CutPicture &picture, const WindowPages &pages, int columns);

/// Numbers \a sheets from \a first on, in their lower right corners.
void numberSheets(QList<PdfSheet> &sheets, int first);
