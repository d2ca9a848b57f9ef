#include "batch/picturelayout.h"

#include "batch/pagecuts.h"
#include "batch/sheetlayout.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr double stripAspect = 0.7; // of a strip that is a page

/// A picture on its sheets, and its cuts.
struct Division
{
    PlacedCuts cuts;
    QList<PdfSheet> sheets;
    double scale = 0;
};

Division inFlow(const FilePicture &source, const PageOptions &options, const std::optional<QList<int>> &wanted)
{
    const Paper &paper = options.paper;
    const QSize size = source.size();
    const ColumnSheet sheet{paper.size, marginOn(paper.size, options.margin), options.columns};
    const int capacity =
        paper.isStrip() ? std::max(1, int(size.width() / stripAspect)) : rowsPerColumn(sheet, size.width());
    const PlacedCuts cuts = wanted ? PlacedCuts{*wanted, {}} : cutsForFlow(source.rows(), capacity, options.cutRule);
    const CutPicture picture{size, cuts.rows};
    return paper.isStrip() ? Division{cuts, stripSheets(picture), stripScale(picture)}
                           : Division{cuts, columnSheets(picture, sheet), columnScale(sheet, size.width())};
}

/// The scale of the last strip: in two columns the first pages can be larger.
double lastScale(const QList<PdfSheet> &sheets)
{
    double scale = 0;
    for (const PdfSheet &sheet : sheets) {
        for (const PlacedStrip &strip : sheet.strips) {
            scale = strip.place.height() / (strip.endRow - strip.firstRow);
        }
    }
    return scale;
}

/// \a window with the cuts \a wanted in the place of its own.
void replaceCuts(WindowCuts &window, const QList<int> &wanted, const QSize &size)
{
    window.cuts = {wanted, {}};
    window.pages.bands.clear();
    for (const StripRows &strip : stripsOf({size, wanted})) {
        window.pages.bands.append(QRectF(0, strip.first, size.width(), strip.count()));
        window.pages.minAspect = std::min(window.pages.minAspect, double(size.width()) / std::max(1, strip.count()));
    }
}

Division inWindow(const QImage &image, const PageOptions &options, const std::optional<QList<int>> &wanted)
{
    WindowCuts window = cutsOfWindow(image, int(options.margin.value), wanted ? std::nullopt : options.cutRule);
    if (wanted) {
        replaceCuts(window, *wanted, image.size());
    }
    const QList<PdfSheet> sheets = windowSheets({image.size(), window.cuts.rows}, window.pages, options.columns);
    return {window.cuts, sheets, lastScale(sheets)};
}

/// Refuses \a cuts below the last row of \a height; the window can have a blank strip at
/// the end.
void check(const QList<int> &cuts, int height, PageLayout layout)
{
    const int last = layout == PageLayout::Window ? height : height - 1;
    if (!cuts.isEmpty() && cuts.last() > last) {
        throw BatchError(BatchFailure::Unreadable,
                         u"the cut at row %1 is not inside the image of %2 rows"_s.arg(cuts.last()).arg(height));
    }
}

} // namespace

LaidOutPicture layOut(const FilePicture &picture, const PageOptions &options, const std::optional<QList<int>> &wanted,
                      int firstPage)
{
    check(wanted.value_or(QList<int>()), picture.size().height(), options.layout);
    Division division = options.layout == PageLayout::Flow ? inFlow(picture, options, wanted)
                                                           : inWindow(picture.image, options, wanted);
    if (options.pageNumbers) {
        numberSheets(division.sheets, firstPage);
    }
    LaidOutPicture result{division.sheets, {}};
    result.facts.pages = int(division.sheets.size());
    result.facts.scale = division.scale;
    result.facts.cuts = division.cuts.rows;
    result.facts.through = division.cuts.through;
    return result;
}
