#include "batch/sheetlayout.h"

#include "output/pagelayout.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr double columnGap = 12;

constexpr double pointsPerPixel = 0.75; // at 96 dots per inch
constexpr double longestSide = 14400; // that readers of PDF files accept
constexpr QSizeF shortestSides(3, 3); // as well

// The printer of the window, for A4: 1200 dots per inch inside margins of 10 points.
constexpr double pointsPerDot = 0.06;
constexpr QSizeF windowPaper(595, 842);
constexpr QPointF windowOrigin(10.02, 10.02);
constexpr QSizeF windowArea(9583, 13699);
constexpr int stripsPerColumn = 2;

double columnWidth(const ColumnSheet &sheet)
{
    const double content = sheet.paper.width() - 2 * sheet.margin;
    return (content - (sheet.columns - 1) * columnGap) / sheet.columns;
}

double columnHeight(const ColumnSheet &sheet)
{
    return sheet.paper.height() - 2 * sheet.margin;
}

/// Column \a index of \a sheet.
QRectF columnOf(const ColumnSheet &sheet, int index)
{
    const double left = sheet.margin + index * (columnWidth(sheet) + columnGap);
    return {left, sheet.margin, columnWidth(sheet), columnHeight(sheet)};
}

/// Where a strip of \a width x \a rows pixels is drawn in \a column.
QRectF placeIn(const QRectF &column, int width, int rows)
{
    const double height = column.width() / width * rows;
    // Not for the part of a row by which the full number of rows can miss the height.
    if (height <= column.height() * (1 + 1e-9)) {
        return {column.topLeft(), QSizeF(column.width(), height)};
    }
    const double narrower = column.height() / rows * width;
    return {column.x() + (column.width() - narrower) / 2, column.y(), narrower, column.height()};
}

/// \a rect of a page of the window as points of the sheet.
QRectF onWindowPaper(const QRectF &rect, double scale)
{
    return {windowOrigin + rect.topLeft() * scale, rect.size() * scale};
}

/// The place of a strip of \a rows rows with the band \a band, in the middle of the page.
QRectF fittedPlace(const WindowPages &pages, const QRectF &band, int rows)
{
    const double width = pages.minAspect * pages.content.height();
    const double scale = width / band.width();
    return {pages.content.x() + (pages.content.width() - width) * 0.5,
            pages.content.y() + (pages.content.height() - scale * band.height()) * 0.5, width, scale * rows};
}

/// The places of strips with the bands \a bands on a page of two columns, where they share
/// their edges. \a tallest is the tallest column up to this page, as when the pages are
/// drawn one after the other.
QList<QRectF> twoColumnPlaces(const WindowPages &pages, const QList<QRectF> &bands, const QList<StripRows> &strips,
                              double &tallest)
{
    QList<double> heights;
    QList<QSizeF> sizes;
    for (const QRectF &band : bands) {
        heights.append(band.height());
        sizes.append(band.size());
    }
    tallest = tallestColumn(heights, tallest);
    const double scale = columnScale(pages.content.height(), tallest);
    QList<QRectF> places = columnPlaces(pages.content, sizes, scale);
    for (qsizetype i = 0; i < places.size(); ++i) {
        if (strips.at(i).count() < bands.at(i).height() - 1) { // the picture ends in it
            places[i].setHeight(scale * strips.at(i).count());
        }
    }
    return places;
}

PdfSheet windowSheet(const WindowPages &pages, const QList<StripRows> &strips, const QList<QRectF> &places)
{
    const double scale = fitScale(pages.page, windowArea) * pointsPerDot;
    PdfSheet sheet{windowPaper, {}, {}, onWindowPaper(pageNumberBox(pages.page), scale)};
    for (qsizetype i = 0; i < strips.size(); ++i) {
        if (strips.at(i).count() > 0) { // not the blank end of the picture
            sheet.strips.append({strips.at(i).first, strips.at(i).end, onWindowPaper(places.at(i), scale)});
        }
    }
    return sheet;
}

} // namespace

QList<StripRows> stripsOf(const CutPicture &picture)
{
    QList<StripRows> strips;
    int first = 0;
    for (const int cut : picture.cuts) {
        strips.append({first, cut});
        first = cut;
    }
    strips.append({first, picture.size.height()});
    return strips;
}

double columnScale(const ColumnSheet &sheet, int width)
{
    return columnWidth(sheet) / width;
}

int rowsPerColumn(const ColumnSheet &sheet, int width)
{
    return std::max(1, int(columnHeight(sheet) / columnScale(sheet, width) + 1e-6));
}

QList<PdfSheet> columnSheets(const CutPicture &picture, const ColumnSheet &sheet)
{
    QList<PdfSheet> sheets;
    int column = 0;
    for (const StripRows &strip : stripsOf(picture)) {
        if (column == 0) {
            sheets.append(PdfSheet{sheet.paper, {}, {}, {}});
        }
        const QRectF place = placeIn(columnOf(sheet, column), picture.size.width(), strip.count());
        sheets.last().strips.append({strip.first, strip.end, place});
        column = (column + 1) % sheet.columns;
    }
    return sheets;
}

double stripScale(const CutPicture &picture)
{
    int longest = picture.size.width();
    for (const StripRows &strip : stripsOf(picture)) {
        longest = std::max(longest, strip.count());
    }
    return std::min(pointsPerPixel, longestSide / longest);
}

QList<PdfSheet> stripSheets(const CutPicture &picture)
{
    const double scale = stripScale(picture);
    QList<PdfSheet> sheets;
    for (const StripRows &strip : stripsOf(picture)) {
        const QSizeF size(picture.size.width() * scale, strip.count() * scale);
        sheets.append(
            PdfSheet{size.expandedTo(shortestSides), {{strip.first, strip.end, QRectF(QPointF(), size)}}, {}, {}});
    }
    return sheets;
}

QList<PdfSheet> windowSheets(const CutPicture &picture, const WindowPages &pages, int columns)
{
    const QList<StripRows> strips = stripsOf(picture);
    const qsizetype perPage = columns == 1 ? 1 : 2 * stripsPerColumn;
    QList<PdfSheet> sheets;
    double tallest = 0;
    for (qsizetype i = 0; i < strips.size(); i += perPage) {
        const QList<StripRows> shown = strips.mid(i, perPage);
        const QList<QRectF> bands = pages.bands.mid(i, perPage);
        const QList<QRectF> places = columns == 1
            ? QList<QRectF>{fittedPlace(pages, bands.first(), shown.first().count())}
            : twoColumnPlaces(pages, bands, shown, tallest);
        sheets.append(windowSheet(pages, shown, places));
    }
    return sheets;
}

void numberSheets(QList<PdfSheet> &sheets, int first)
{
    for (PdfSheet &sheet : sheets) {
        sheet.number = QString::number(first++);
        if (sheet.numberPlace.isEmpty()) {
            const QSizeF box(sheet.size.width() / 5, sheet.size.width() / 15);
            sheet.numberPlace =
                QRectF(QPointF(sheet.size.width() - box.width(), sheet.size.height() - box.height()), box);
        }
    }
}
