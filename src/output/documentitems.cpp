#include "output/documentitems.h"

#include "output/previewitem.h"
#include "page/pageitem.h"

#include <QPixmap>

#include <cmath>

namespace {

// The width-to-height ratio of a strip between regular cuts.
constexpr double stripAspect = 0.7;

constexpr int stripsPerTwoColumnPage = 4;

QList<PageItem *> makeStrips(const QPixmap &source)
{
    const double width = source.width();
    const double pageHeight = width / stripAspect;
    const auto count = int(unsigned(source.height()) / unsigned(pageHeight) + 1);

    QList<PageItem *> strips;
    for (int i = 0; i < count; ++i) {
        const QRectF band(0, std::trunc(i * pageHeight), std::trunc(width), std::trunc(pageHeight));
        auto *strip = new PageItem(source, band); // the caller takes ownership
        strip->setPageIndex(i);
        if (!strips.isEmpty()) {
            strips.last()->linkNext(strip);
        }
        strips.append(strip);
    }
    return strips;
}

/// Appends a page whose first strip is \a strip to \a pages.
void appendPage(QList<PreviewItem *> &pages, PageItem *strip, unsigned int kind, unsigned int marginPercent)
{
    auto *page = new PreviewItem(strip, kind); // the caller takes ownership
    page->setMarginPercent(marginPercent);
    page->setPageNumber(int(pages.size()));
    if (!pages.isEmpty()) {
        pages.last()->setNextPage(page);
    }
    pages.append(page);
}

} // namespace

DocumentItems makeDocumentItems(const QPixmap &source, unsigned int marginPercent)
{
    DocumentItems items;
    items.strips = makeStrips(source);
    for (PageItem *strip : std::as_const(items.strips)) {
        appendPage(items.oneColumnPages, strip, 1, marginPercent);
        if (strip->pageIndex() % stripsPerTwoColumnPage == 0) {
            appendPage(items.twoColumnPages, strip, 4, marginPercent);
        } else {
            items.twoColumnPages.last()->addStrip(strip);
        }
    }
    return items;
}
