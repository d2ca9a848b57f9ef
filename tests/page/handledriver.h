#pragma once

#include "page/pageitem.h"

#include <QCursor>
#include <QGraphicsScene>
#include <QGraphicsSceneHoverEvent>
#include <QGraphicsSceneMouseEvent>

/// Sends pointer events directly to strips, at points in item coordinates.
namespace handledriver {

inline void hover(PageItem *strip, QPointF point)
{
    QGraphicsSceneHoverEvent event(QEvent::GraphicsSceneHoverMove);
    event.setPos(point);
    strip->scene()->sendEvent(strip, &event);
}

/// Returns whether the strip left the accepted flag of the event at \a accepted.
inline bool send(PageItem *strip, QEvent::Type type, QPointF point, Qt::MouseButton button = Qt::LeftButton,
                 bool accepted = true)
{
    QGraphicsSceneMouseEvent event(type);
    event.setPos(point);
    event.setButton(button);
    event.setAccepted(accepted);
    strip->scene()->sendEvent(strip, &event);
    return event.isAccepted() == accepted;
}

inline void press(PageItem *strip, QPointF point, Qt::MouseButton button = Qt::LeftButton)
{
    send(strip, QEvent::GraphicsSceneMousePress, point, button);
}

inline void move(PageItem *strip, QPointF point)
{
    send(strip, QEvent::GraphicsSceneMouseMove, point, Qt::NoButton);
}

inline void release(PageItem *strip, QPointF point, Qt::MouseButton button = Qt::LeftButton)
{
    send(strip, QEvent::GraphicsSceneMouseRelease, point, button);
}

[[nodiscard]] inline bool hasSplitCursor(const PageItem *strip)
{
    return strip->hasCursor() && strip->cursor().shape() == Qt::SplitVCursor;
}

} // namespace handledriver
