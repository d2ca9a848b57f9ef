#include "batch/pagecuts.h"

#include "output/documentitems.h"
#include "output/previewitem.h"
#include "page/pageitem.h"
#include "pixels/calmrow.h"
#include "pixels/cutscan.h"

#include <QPixmap>

#include <algorithm>

namespace {

// The gap of a cut is looked for in so many windows of a strip, the lowest first; each
// is this share of the strip high, which is a few lines of text.
constexpr int windowCount = 3;
constexpr double windowShare = 0.1;

int reachOf(int capacity)
{
    return std::max(1, int(capacity * windowShare / 2));
}

CalmRow calmRowIn(const PictureRows &picture, int top, int bottom)
{
    const int reach = (bottom - top) / 2;
    const int context = calmContext(picture.size().width());
    const int first = std::max(0, top - context) / calmAlignment * calmAlignment;
    const QImage rows = picture.rows(first, std::min(picture.size().height(), bottom + context));
    CalmRow found = calmRow(rows, {bottom - reach - first, reach, reach});
    found.row += first;
    return found;
}

/// The calm row of the lowest window above \a bottom with a gap: in plain ground, or
/// else in ground with a pattern, or else an edge of a picture.
CalmRow lastCalmRow(const PictureRows &picture, int bottom, int capacity)
{
    const int window = 2 * reachOf(capacity);
    std::optional<CalmRow> best;
    for (int i = 0; i < windowCount; ++i) {
        const CalmRow found = calmRowIn(picture, bottom - (i + 1) * window, bottom - i * window);
        if (found.ground == CalmRow::Clear) {
            return found;
        }
        if (!best || found.ground < best->ground) {
            best = found;
        }
    }
    // What no window shows may show in all of them together.
    return best->ground == CalmRow::Content ? calmRowIn(picture, bottom - windowCount * window, bottom) : *best;
}

int lastBrightRow(const PictureRows &picture, int bottom, int capacity)
{
    const int height = std::min(bottom, windowCount * 2 * reachOf(capacity));
    const QImage rows = picture.rows(bottom - height, bottom);
    return bottom - height + brightestRow(QPixmap::fromImage(rows, Qt::NoFormatConversion), rows.rect());
}

int cutBelow(const PageItem *strip)
{
    return qRound(strip->nextItem()->sourceRect().top());
}

/// The cuts below \a strips. The last strips may begin below the picture.
PlacedCuts cutsOf(const QList<PageItem *> &strips, int height, bool isCalm)
{
    PlacedCuts cuts;
    QList<int> through;
    for (const PageItem *strip : strips.first(strips.size() - 1)) {
        cuts.rows.append(std::min(cutBelow(strip), height));
        if (strip->isCutThroughContent()) {
            through.append(cuts.rows.last());
        }
    }
    cuts.through = isCalm ? std::optional(through) : std::nullopt;
    return cuts;
}

} // namespace

PlacedCuts cutsForFlow(const PictureRows &picture, int capacity, std::optional<CutRule> rule)
{
    PlacedCuts cuts;
    QList<int> through;
    for (int top = 0; picture.size().height() - top > capacity; top = cuts.rows.last()) {
        int row = top + capacity;
        if (rule == CutRule::Bright) {
            row = lastBrightRow(picture, row, capacity);
        } else if (rule == CutRule::Calm) {
            const CalmRow calm = lastCalmRow(picture, row, capacity);
            row = std::max(calm.row, top + 1); // where a strip is only some rows high
            through.append(calm.ground == CalmRow::Content ? QList<int>{row} : QList<int>());
        }
        cuts.rows.append(std::max(row, top + 1));
    }
    cuts.through = rule == CutRule::Calm ? std::optional(through) : std::nullopt;
    return cuts;
}

WindowCuts cutsOfWindow(const QImage &image, int marginPercent, std::optional<CutRule> rule)
{
    resetMinAspect();
    const QPixmap pixmap = QPixmap::fromImage(image, Qt::NoFormatConversion);
    const OwnedDocumentItems items(makeDocumentItems(pixmap, unsigned(marginPercent)));
    if (rule) {
        placeCuts(items->strips.first(), *rule);
    }
    const PreviewItem *page = items->oneColumnPages.first();
    WindowCuts result{cutsOf(items->strips, image.height(), rule == CutRule::Calm),
                      {page->boundingRect().size(), page->innerRect(), minAspect(), {}}};
    for (const PageItem *strip : items->strips) {
        result.pages.bands.append(strip->sourceRect());
    }
    return result;
}
