#include "output/previewitem.h"

#include "output/pagelayout.h"
#include "page/pageitem.h"

#include <QGraphicsScene>
#include <QGraphicsView>
#include <QPainter>
#include <QPen>

namespace {

constexpr unsigned int marginStep = 5;
constexpr unsigned int highestSteppedMargin = 29;
constexpr unsigned int oneStrip = 1;
constexpr unsigned int fourStrips = 4;

double greatestColumnHeight = 0.0;
bool pageNumbersShown = false;

void drawFrame(QPainter *painter, const QColor &color, const QRectF &rect)
{
    QPen pen;
    pen.setWidth(2);
    pen.setBrush(QBrush(color, Qt::SolidPattern));
    painter->setPen(pen);
    painter->setBrush(Qt::NoBrush);
    painter->drawRects(&rect, 1);
}

} // namespace

double columnMaxHeight()
{
    return greatestColumnHeight;
}

void resetColumnMaxHeight()
{
    greatestColumnHeight = 0.0;
}

bool showPageNumbers()
{
    return pageNumbersShown;
}

PreviewItem::PreviewItem(PageItem *strip, unsigned int kind)
    : strips{strip}
    , layoutKind(kind)
{
    const QSizeF margin = pageMargins(strip->boundingRect().size(), marginPercent);
    marginTop = marginBottom = margin.height();
    marginLeft = marginRight = margin.width();
    m_innerRect = strip->bodyRect();
    const double pitch = m_innerRect.height() + marginTop + marginBottom + m_pageGap;
    setPos(0, pitch * (unsigned(strip->pageIndex()) / kind));
    strip->addPreview(this);
    setFlags(QGraphicsItem::ItemIsSelectable);
}

PreviewItem::~PreviewItem() = default;

QRectF PreviewItem::boundingRect() const
{
    return {0, 0, m_innerRect.width() + marginLeft + marginRight, m_innerRect.height() + marginTop + marginBottom};
}

void PreviewItem::paint(QPainter *painter, const QStyleOptionGraphicsItem *, QWidget *)
{
    renderPage(painter);
    if (isSelected()) {
        const QRectF sheet = boundingRect();
        drawFrame(painter, Qt::black, sheet);
        drawFrame(painter, Qt::lightGray,
                  QRectF(sheet.x() - 2, sheet.y() - 2, sheet.width() + 2 + 2, sheet.height() + 2 + 2));
    }
}

void PreviewItem::setMargins(QRectF margins)
{
    marginLeft = margins.x();
    marginTop = margins.y();
    marginRight = margins.width();
    marginBottom = margins.height();
}

void PreviewItem::setMarginPercent(unsigned int percent)
{
    marginPercent = percent;
    const QRectF sheet = boundingRect();
    const QSizeF margin = pageMargins(strips.first()->boundingRect().size(), marginPercent);
    marginTop = marginBottom = margin.height();
    marginLeft = marginRight = margin.width();
    m_innerRect =
        QRectF(sheet.x() + margin.width(), sheet.y() + margin.height(), sheet.width() - margin.width() - margin.width(),
               sheet.height() - margin.height() - margin.height());
}

unsigned int PreviewItem::decreaseMargin()
{
    if (marginPercent == 0) {
        return 0;
    }
    setMarginPercent(marginPercent - marginStep); // wraps around from 1 to 4 percent
    update();
    return marginPercent;
}

unsigned int PreviewItem::increaseMargin()
{
    if (marginPercent > highestSteppedMargin) {
        return marginPercent;
    }
    setMarginPercent(marginPercent + marginStep);
    update();
    return marginPercent;
}

void PreviewItem::addStrip(PageItem *strip)
{
    strips.append(strip);
    strip->addPreview(this);
}

void PreviewItem::togglePageNumbers()
{
    pageNumbersShown = !pageNumbersShown;
    update();
    if (m_nextPage != nullptr) {
        m_nextPage->update();
    }
}

void PreviewItem::refresh()
{
    update();
    if (m_nextPage != nullptr) {
        m_nextPage->update();
    }
    prepareGeometryChange();
}

void PreviewItem::renderPage(QPainter *painter)
{
    const QRectF sheet = boundingRect();
    painter->fillRect(sheet, QColor(255, 255, 255));
    if (layoutKind == oneStrip) {
        strips.first()->drawSourceFitted(painter, contentRect());
    } else if (layoutKind == fourStrips) {
        renderColumns(painter, contentRect());
    }
    if (pageNumbersShown) {
        const QPixmap number = pageNumberPixmap(m_pageNumber + 1);
        painter->drawPixmap(pageNumberBox(sheet.size()), number, QRectF(number.rect()));
    }
}

void PreviewItem::mouseReleaseEvent(QGraphicsSceneMouseEvent *)
{
    PageItem *strip = strips.first();
    const QGraphicsScene *scene = strip->scene();
    const QList<QGraphicsView *> views = scene != nullptr ? scene->views() : QList<QGraphicsView *>();
    if (!views.isEmpty()) {
        views.first()->centerOn(strip);
    }
}

void PreviewItem::mouseDoubleClickEvent(QGraphicsSceneMouseEvent *)
{
    togglePageNumbers();
}

QRectF PreviewItem::contentRect() const
{
    const QRectF sheet = boundingRect();
    return {marginLeft, marginTop, sheet.width() - marginLeft - marginRight, sheet.height() - marginTop - marginBottom};
}

void PreviewItem::renderColumns(QPainter *painter, const QRectF &content)
{
    QList<double> heights;
    QList<QSizeF> sizes;
    for (const PageItem *strip : std::as_const(strips)) {
        heights.append(strip->bodyRect().height());
        sizes.append(strip->bodyRect().size());
    }
    greatestColumnHeight = tallestColumn(heights, greatestColumnHeight);
    const QList<QRectF> places = columnPlaces(content, sizes, columnScale(content.height(), greatestColumnHeight));
    for (qsizetype i = 0; i < strips.size(); ++i) {
        strips.at(i)->drawSource(painter, places.at(i));
    }
}
