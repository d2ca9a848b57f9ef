#pragma once

#include "pdf/pdfsheet.h"

#include <QByteArray>

// The content of a page. All coordinates are rounded to 1/10000 point first and then
// only added and subtracted, so that bands that share an edge have equal numbers there.

/// \a length in points, as a PDF file has it.
[[nodiscard]] QByteArray pointsText(double length);

/// Draws the image \a name, which holds the rows \a firstRow to before \a endRow of a
/// picture, so that those of \a strip fill its place on \a sheet. Hides the others; those
/// below the strip are shown if \a next, which is drawn after it, covers them.
[[nodiscard]] QByteArray bandContent(const PdfSheet &sheet, const PlacedStrip &strip, const PlacedStrip *next,
                                     const QByteArray &name, int firstRow, int endRow);

/// Writes the number of \a sheet with the font \a name, which is Times-Roman; empty
/// if it has none.
[[nodiscard]] QByteArray numberContent(const PdfSheet &sheet, const QByteArray &name);
