#pragma once

#include <QString>

#include <functional>

class PreviewItem;
class QPainter;
class QPrinter;

/// Makes \a printer, one of QPrinter::HighResolution, write a PDF file \a path
/// in A4.
void setUpForPdf(QPrinter &printer, const QString &path);

/// Draws \a first and the pages that follow it on \a painter, which works on
/// \a printer, within the printer's range of pages. Each page fits the
/// painter's viewport, at its top left. \a drawn, if there is one, is told the
/// zero-based number of each page that has been drawn. \a first may be null.
void renderPages(PreviewItem *first, QPainter *painter, QPrinter *printer,
                 const std::function<void(int)> &drawn = nullptr);
