#include "ui/scrollbarloop.h"

#include <QGraphicsView>
#include <QResizeEvent>
#include <QScrollBar>

bool bringsScrollBarBack(const QGraphicsView *view, const QResizeEvent *event, double scale)
{
    const QScrollBar *bar = view->verticalScrollBar();
    const int gained = event->size().width() - event->oldSize().width();
    const bool barHasGone = view->verticalScrollBarPolicy() == Qt::ScrollBarAsNeeded && !bar->isVisible()
        && gained == bar->sizeHint().width() && event->size().height() == event->oldSize().height();
    return barHasGone && view->sceneRect().height() * scale > event->size().height();
}
