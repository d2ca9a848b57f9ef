#include "ui/scrollbarloop.h"

#include <QGraphicsView>
#include <QResizeEvent>
#include <QScrollBar>

bool bringsScrollBarBack(const QGraphicsView *view, const QResizeEvent *event, double scale)
{
    const QScrollBar *bar = view->verticalScrollBar();
    const QScrollBar *other = view->horizontalScrollBar();
    const QSize gained = event->size() - event->oldSize();
    // A narrow view shows and hides both at once.
    const bool otherHasGone = !other->isVisible() && gained.height() == other->sizeHint().height();
    const bool barHasGone = view->verticalScrollBarPolicy() == Qt::ScrollBarAsNeeded && !bar->isVisible()
        && gained.width() == bar->sizeHint().width() && (gained.height() == 0 || otherHasGone);
    return barHasGone && view->sceneRect().height() * scale > event->size().height();
}
