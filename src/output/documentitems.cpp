#include "output/documentitems.h"

#include "output/previewitem.h"
#include "page/pageitem.h"

#include <QPixmap>

#include <cmath>
#include <memory>

namespace {

// The width-to-height ratio of a strip between regular cuts.
constexpr double stripAspect = 0.7;

constexpr int stripsPerTwoColumnPage = 4;

/// Appends \a item to \a items, which take it.
template <typename Item>
void append(QList<Item *> &items, std::unique_ptr<Item> item)
{
    items.append(item.get());
    static_cast<void>(item.release()); // not before: the list may find no memory
}

void makeStrips(const QPixmap &source, QList<PageItem *> &strips)
{
    const double width = source.width();
    const double pageHeight = width / stripAspect;
    const auto count = int(unsigned(source.height()) / unsigned(pageHeight) + 1);

    for (int i = 0; i < count; ++i) {
        const QRectF band(0, std::trunc(i * pageHeight), std::trunc(width), std::trunc(pageHeight));
        auto strip = std::make_unique<PageItem>(source, band);
        strip->setPageIndex(i);
        if (!strips.isEmpty()) {
            strips.last()->linkNext(strip.get());
        }
        append(strips, std::move(strip));
    }
}

/// Appends a page whose first strip is \a strip to \a pages.
void appendPage(QList<PreviewItem *> &pages, PageItem *strip, unsigned int kind, unsigned int marginPercent)
{
    auto page = std::make_unique<PreviewItem>(strip, kind);
    page->setMarginPercent(marginPercent);
    page->setPageNumber(int(pages.size()));
    if (!pages.isEmpty()) {
        pages.last()->setNextPage(page.get());
    }
    append(pages, std::move(page));
}

} // namespace

OwnedDocumentItems::~OwnedDocumentItems()
{
    qDeleteAll(items.oneColumnPages);
    qDeleteAll(items.twoColumnPages);
    qDeleteAll(items.strips);
}

DocumentItems makeDocumentItems(const QPixmap &source, unsigned int marginPercent)
{
    OwnedDocumentItems items;
    makeStrips(source, items->strips);
    for (PageItem *strip : std::as_const(items->strips)) {
        appendPage(items->oneColumnPages, strip, 1, marginPercent);
        if (strip->pageIndex() % stripsPerTwoColumnPage == 0) {
            appendPage(items->twoColumnPages, strip, 4, marginPercent);
        } else {
            items->twoColumnPages.last()->addStrip(strip);
        }
    }
    return items.release();
}
