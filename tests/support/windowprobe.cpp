#include "support/windowprobe.h"

#include "app/mainwindow.h"
#include "output/previewitem.h"
#include "page/pageitem.h"
#include "ui/leftview.h"
#include "ui/mainview.h"
#include "ui/popup.h"

#include <QAction>
#include <QGraphicsScene>
#include <QLabel>
#include <QPainter>
#include <QSplitter>

#include <algorithm>

namespace {

/// The items of type \a Item in the scene of \a view, sorted by \a number.
template <typename Item>
QList<Item *> sortedItems(const QGraphicsView *view, int (Item::*number)() const)
{
    QList<Item *> found;
    const QList<QGraphicsItem *> items = view->scene()->items();
    for (QGraphicsItem *item : items) {
        if (auto *wanted = dynamic_cast<Item *>(item)) {
            found.append(wanted);
        }
    }
    std::sort(found.begin(), found.end(),
              [number](const Item *a, const Item *b) { return (a->*number)() < (b->*number)(); });
    return found;
}

} // namespace

MainView *mainViewOf(const MainWindow &window)
{
    return childOf<MainView>(window, "mainView");
}

LeftView *leftViewOf(const MainWindow &window)
{
    return childOf<LeftView>(window, "leftView");
}

QSplitter *splitterOf(const MainWindow &window)
{
    return window.findChild<QSplitter *>();
}

PopUp *toastOf(const MainWindow &window)
{
    return window.findChild<PopUp *>();
}

QAction *actionOf(const MainWindow &window, const char *name)
{
    return childOf<QAction>(window, name);
}

void trigger(const MainWindow &window, const char *name)
{
    QAction *action = actionOf(window, name);
    if (action == nullptr || !action->isEnabled()) {
        qFatal("No enabled action %s", name);
    }
    action->trigger();
}

QList<PageItem *> stripsOf(const MainWindow &window)
{
    return sortedItems(mainViewOf(window), &PageItem::pageIndex);
}

QList<PreviewItem *> pagesOf(const MainWindow &window)
{
    return sortedItems(leftViewOf(window), &PreviewItem::pageNumber);
}

QImage shownPicture(const MainWindow &window, QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::magenta);
    QPainter painter(&image);
    const QList<PageItem *> strips = stripsOf(window);
    for (PageItem *strip : strips) {
        strip->drawSource(&painter, strip->sourceRect());
    }
    return image;
}

QString toastText(const MainWindow &window)
{
    const PopUp *toast = toastOf(window);
    return toast->isVisible() ? toast->findChild<QLabel *>()->text() : QString();
}

void hideToast(const MainWindow &window)
{
    toastOf(window)->QWidget::hide();
}
