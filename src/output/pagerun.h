#pragma once

#include <QString>

#include <functional>

class PreviewItem;
class QPainter;
class QPrinter;

/// Sets up \a printer, which must have QPrinter::HighResolution, to write an A4 PDF
/// file \a path.
void setUpForPdf(QPrinter &printer, const QString &path);

/// Draws \a first and the pages after it with \a painter, which is active on
/// \a printer, as far as they are in the printer's page range. Each page is scaled
/// to fit the painter's viewport, at its top left. \a drawn, if set, is called with
/// the zero-based number of each page after drawing it. \a first may be null.
void renderPages(PreviewItem *first, QPainter *painter, QPrinter *printer,
                 const std::function<void(int)> &drawn = nullptr);
