#pragma once

#include <QList>
#include <QRectF>
#include <QSizeF>
#include <QString>

/// Rows of a picture, and where they are on a sheet.
struct PlacedStrip
{
    int firstRow = 0; ///< of the picture, counted from 0
    int endRow = 0; ///< the row after the last one
    QRectF place; ///< in points, from the top left corner of the sheet, y downward
};

/// One page of a PDF file. Lengths are in points, 1/72 inch.
struct PdfSheet
{
    QSizeF size; ///< 3 to 14400 points on each side
    QList<PlacedStrip> strips;

    /// The page number: digits, spaces and "/", "-", "."; any other character
    /// becomes "?". No number if empty.
    QString number;

    /// The box in which the number is centered. The size of its letters and the
    /// space between them follow from its height, as in the window.
    QRectF numberPlace;
};

/// Throws std::invalid_argument unless \a sheet shows rows of a picture of \a rows rows
/// and its lengths are in range.
void checkSheet(const PdfSheet &sheet, int rows);
