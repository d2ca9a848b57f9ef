#include "page/pageitem.h"

#include <QCursor>
#include <QGraphicsSceneHoverEvent>
#include <QGraphicsSceneMouseEvent>
#include <QLinearGradient>
#include <QPainter>

namespace {

// Limits of the pointer while a cut is dragged, as shares of the total height of both strips.
constexpr double lowestShare = 0.4;
constexpr double highestShare = 0.6;

QPen handlePen(int alpha, double width, Qt::PenStyle style = Qt::SolidLine)
{
    return QPen(QBrush(QColor(255, 255, 255, alpha), Qt::SolidPattern), width, style, Qt::SquareCap, Qt::BevelJoin);
}

/// Two strokes, from the left foot to the tip and on to the right foot, with
/// coordinates relative to \a center. Positive y points down.
void drawChevron(QPainter *painter, QPointF center, double halfWidth, double footY, double tipY)
{
    const QPointF left(center.x() - halfWidth, center.y() + footY);
    const QPointF tip(center.x(), center.y() + tipY);
    const QPointF right(center.x() + halfWidth, center.y() + footY);
    painter->drawLine(QLineF(left, tip));
    painter->drawLine(QLineF(tip, right));
}

/// A column of \a count dots of \a size by \a size, centered on \a centerY.
void drawDotColumn(QPainter *painter, double left, double centerY, int count, double size)
{
    for (int i = -(count / 2); i <= count / 2; ++i) {
        painter->drawEllipse(QRectF(left, i * size + centerY - size / 2, size, size));
    }
}

} // namespace

void PageItem::hoverMoveEvent(QGraphicsSceneHoverEvent *event)
{
    const bool wasHovering = hovering;
    hovering = m_handleRect.contains(event->pos());
    if (hovering) {
        m_dragRect = m_handleRect;
        setCursor(QCursor(Qt::SplitVCursor));
    } else {
        unsetCursor();
    }
    if (hovering != wasHovering) {
        update();
    }
    if (m_prevItem != nullptr) {
        m_prevItem->unsetCursor(); // still set if the pointer came directly from the handle above
    }
}

void PageItem::mousePressEvent(QGraphicsSceneMouseEvent *event)
{
    if (!hasCursor()) {
        return;
    }
    dragging = true;
    pressOffset = event->pos().y() - m_handleRect.y();
    update();
}

void PageItem::mouseMoveEvent(QGraphicsSceneMouseEvent *event)
{
    if (!dragging || m_nextItem == nullptr) {
        return;
    }
    PageItem &next = *m_nextItem;
    const double y = event->pos().y();
    const double joined = next.m_bodyRect.height() + m_bodyRect.height();
    if (lowestShare > y / joined || y / joined > highestShare) {
        return;
    }
    m_dragRect = QRectF(0, y - pressOffset, m_handleRect.width(), m_handleRect.height());
    next.dragging = true;
    if (y > m_handleRect.y()) {
        next.m_dragRect = QRectF(0, y - (m_handleRect.y() + m_handleRect.height()) - pressOffset, m_handleRect.width(),
                                 m_handleRect.height());
    } else {
        next.m_dragRect = next.m_handleRect;
    }
    next.update();
    update();
}

void PageItem::mouseReleaseEvent(QGraphicsSceneMouseEvent *event)
{
    if (!dragging) {
        return;
    }
    unsetCursor();
    dragging = false;
    if (m_nextItem == nullptr) {
        update(); // the last strip has a handle but no cut
        return;
    }
    m_nextItem->dragging = false;
    const double joined = m_bodyRect.height() + m_nextItem->m_bodyRect.height();
    double y = event->pos().y();
    if (lowestShare > y / joined) {
        y = joined * lowestShare;
    } else if (y / joined > highestShare) {
        y = joined * highestShare;
    }
    moveCut(y - m_handleRect.y() - pressOffset);
    m_nextItem->update(); // a cut that did not move would not repaint it
    update();
    prepareGeometryChange();
}

void PageItem::mouseDoubleClickEvent(QGraphicsSceneMouseEvent *)
{
    // The second press of a double click must not start a drag.
}

void PageItem::paintIdleHandle(QPainter *painter) const
{
    painter->save();
    QLinearGradient gradient(m_handleRect.x(), m_handleRect.y(), m_handleRect.x(),
                             m_handleRect.y() + m_handleRect.height());
    gradient.setColorAt(0.0, QColor(0, 0, 0, 13));
    gradient.setColorAt(0.5, QColor(0, 0, 0, 20));
    gradient.setColorAt(1.0, QColor(0, 0, 0, 13));
    painter->fillRect(m_handleRect, gradient);

    const QPointF center = m_handleRect.center();
    painter->setPen(Qt::NoPen);
    painter->setBrush(QColor(153, 153, 153, 255));
    for (const double x : {center.x() - 8, center.x(), center.x() + 8}) {
        painter->drawEllipse(QRectF(x - 2, center.y() - 2, 4, 4));
    }
    painter->restore();
}

void PageItem::paintHoverHandle(QPainter *painter) const
{
    painter->save();
    painter->fillRect(m_handleRect, QColor(74, 144, 226, 230));

    const QPointF center = m_handleRect.center();
    painter->setPen(handlePen(240, 2.5));
    painter->setBrush(Qt::NoBrush);
    drawChevron(painter, center, 6, 3, -3);
    drawChevron(painter, center, 6, -3, 3);

    painter->setPen(Qt::NoPen);
    painter->setBrush(QColor(255, 255, 255, 180));
    drawDotColumn(painter, 28, center.y(), 3, 4);
    drawDotColumn(painter, m_handleRect.width() - 32, center.y(), 3, 4);
    painter->restore();
}

void PageItem::paintDragHandle(QPainter *painter) const
{
    painter->save();
    painter->fillRect(m_handleRect, QColor(0, 102, 204, 250));

    const QPointF center = m_handleRect.center();
    painter->setPen(handlePen(255, 3.0));
    painter->setBrush(Qt::NoBrush);
    drawChevron(painter, center, 7, 2.5, -4.5);
    drawChevron(painter, center, 7, -2.5, 4.5);

    painter->setPen(Qt::NoPen);
    painter->setBrush(QColor(255, 255, 255, 220));
    drawDotColumn(painter, 22.5, center.y(), 5, 5);
    drawDotColumn(painter, m_handleRect.width() - 27.5, center.y(), 5, 5);

    if (dragging) {
        painter->setPen(handlePen(180, 3.0, Qt::DashLine));
        painter->drawLine(QLineF(m_dragRect.topLeft(), m_dragRect.topRight()));
    }
    painter->restore();
}
