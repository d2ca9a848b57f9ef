#include "page/pageitem.h"

#include "output/previewitem.h"
#include "page/banddrawing.h"
#include "pixels/calmrow.h"
#include "pixels/cutscan.h"
#include "pixels/rowconverter.h"

#include <QPainter>

namespace {

constexpr double initialMinAspect = 0.70707071; // 210 / 297, an A4 page
double smallestAspect = initialMinAspect;

// How much of a strip's height the search window of its cut covers.
constexpr double windowShare = 0.3;

// The least height of a strip beside a calm cut, in regular heights.
constexpr double leastHeightShare = 0.4;

// A shift of at most this size in either direction counts as none.
constexpr double shiftTolerance = 0.01;

void lowerMinAspect(double width, double height)
{
    if (height > 0.0 && smallestAspect > width / height) {
        smallestAspect = width / height;
    }
}

} // namespace

double minAspect()
{
    return smallestAspect;
}

void resetMinAspect()
{
    smallestAspect = initialMinAspect;
}

PageItem::PageItem(const QPixmap &pixmap, const QRectF &band)
    : sourcePixmap(pixmap)
    , initialRect(band)
    , m_sourceRect(band)
    , converter(std::make_shared<RowConverter>())
{
    setPos(band.x(), band.y());
    setAcceptHoverEvents(true);
    m_bodyRect = QRectF(0, 0, band.width(), band.height());
    m_handleRect = QRectF(0, band.height(), band.width(), m_handleHeight);
}

PageItem::~PageItem() = default;

QRectF PageItem::boundingRect() const
{
    return m_bodyRect | m_handleRect;
}

void PageItem::paint(QPainter *painter, const QStyleOptionGraphicsItem *, QWidget *)
{
    drawSource(painter, QRectF(0, 0, m_sourceRect.width(), m_sourceRect.height()));
    painter->setRenderHint(QPainter::Antialiasing);
    if (dragging) {
        paintDragHandle(painter);
    } else if (hovering) {
        paintHoverHandle(painter);
    } else {
        paintIdleHandle(painter);
    }
}

void PageItem::linkNext(PageItem *other)
{
    m_nextItem = other;
    other->m_prevItem = this;
    other->converter = converter;
    other->setPos(x(), y() + boundingRect().height());
}

void PageItem::moveCut(double delta)
{
    m_handleRect.moveLeft(0);
    m_dragRect.moveLeft(0);

    const double height = (m_bodyRect.height() + m_bodyRect.y() + delta) - m_bodyRect.y();
    m_bodyRect.setHeight(height);
    m_sourceRect.setHeight(height);
    m_handleRect.moveTop(m_bodyRect.y() + height);
    m_dragRect = QRectF(m_dragRect.x(), m_handleRect.y(), m_handleRect.width(), m_handleRect.height());
    lowerMinAspect(m_sourceRect.width(), height);

    if (m_nextItem != nullptr) {
        PageItem &next = *m_nextItem;
        const double taken = (next.m_sourceRect.y() + delta) - next.m_sourceRect.y();
        const double nextHeight = next.m_sourceRect.height() - taken;
        lowerMinAspect(next.m_sourceRect.width(), nextHeight);
        next.m_sourceRect.moveTop(next.m_sourceRect.y() + taken);
        next.m_sourceRect.setHeight(nextHeight);
        next.m_bodyRect = QRectF(0, 0, next.m_sourceRect.width(), nextHeight);
        next.m_handleRect.moveTo(0, nextHeight);
        next.m_dragRect = next.m_handleRect;
        next.dragging = false;
        next.setPos(next.x(), next.y() + delta);
    }

    for (PreviewItem *preview : std::as_const(previews)) {
        preview->refresh();
    }
}

void PageItem::drawSource(QPainter *painter, const QRectF &target)
{
    if (m_sourceRect.isEmpty()) {
        return;
    }
    drawBand(painter, target, sourcePixmap, m_sourceRect.toRect(), m_sourceRect.size(), *converter);
}

void PageItem::freeConvertedRows()
{
    converter->clear();
}

void PageItem::drawSourceFitted(QPainter *painter, const QRectF &target)
{
    if (m_sourceRect.isEmpty()) {
        return;
    }
    const double width = smallestAspect * target.height();
    const double height = width * m_sourceRect.height() / m_sourceRect.width();
    drawSource(painter,
               QRectF(target.x() + (target.width() - width) * 0.5, target.y() + (target.height() - height) * 0.5, width,
                      height));
}

double PageItem::shiftToBrightestRow() const
{
    const double height = m_sourceRect.height();
    const double windowHeight = windowShare * height;
    const QRectF window(m_sourceRect.x(), (m_sourceRect.y() + height) - windowHeight * 0.5, m_sourceRect.width(),
                        windowHeight);

    return brightestRow(sourcePixmap, window.toAlignedRect()) - 0.5 * windowHeight;
}

/// Goes by the regular band, so that no cut moves because of the cut above it.
double PageItem::shiftToCalmRow()
{
    const CalmRow calm = calmRow(sourcePixmap.toImage(), cutPlace(initialRect.bottom(), initialRect.height()));
    const double shift = calm.row - m_sourceRect.bottom();
    const double leastHeight = leastHeightShare * initialRect.height();
    cutThroughContent = calm.ground == CalmRow::Content;
    const bool isTooLow =
        m_sourceRect.height() + shift < leastHeight || m_nextItem->m_sourceRect.height() - shift < leastHeight;
    return isTooLow ? 0.0 : shift;
}

void PageItem::autoPlaceCut(CutRule rule)
{
    if (m_nextItem == nullptr) {
        return;
    }
    const double found = rule == CutRule::Calm ? shiftToCalmRow() : shiftToBrightestRow();
    double shift = 0.0 - lastShift;
    if (!(lastShift > shiftTolerance || -shiftTolerance > lastShift)) {
        shift = found;
        lastMinAspect = smallestAspect;
    }
    lastShift = shift;
    prepareGeometryChange(); // or the scene would look for the handle at its old place
    moveCut(shift);
    update();
}

void placeCuts(PageItem *strip, CutRule rule)
{
    // Top to bottom: a placement changes the band of the next strip.
    for (; strip != nullptr; strip = strip->nextItem()) {
        strip->autoPlaceCut(rule);
    }
}

int PageItem::findBrightestRow(const QImage &window) const
{
    return brightestRow(window);
}
