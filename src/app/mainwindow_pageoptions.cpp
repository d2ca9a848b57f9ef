#include "app/mainwindow.h"

#include "app/settings.h"
#include "output/previewitem.h"

#include <QGraphicsScene>

using namespace Qt::StringLiterals;

namespace {

/// Calls \a step, which changes the margin, on every page of \a scene and stores the
/// last result. The other layout keeps its margins until a rebuild.
void stepMargins(const QGraphicsScene *scene, unsigned int (PreviewItem::*step)())
{
    unsigned int percent = 0;
    const QList<QGraphicsItem *> items = scene->items();
    for (QGraphicsItem *item : items) {
        if (auto *page = dynamic_cast<PreviewItem *>(item)) {
            percent = (page->*step)();
        }
    }
    if (!items.isEmpty()) {
        writeConfigValue(configFilePath(), u"marginsc"_s, u"%1"_s.arg(int(percent)));
    }
}

} // namespace

void MainWindow::onExtandClicked()
{
    stepMargins(currentOutputScene, &PreviewItem::decreaseMargin);
}

void MainWindow::onShrinkClicked()
{
    stepMargins(currentOutputScene, &PreviewItem::increaseMargin);
}

void MainWindow::onPageNumClicked()
{
    const QList<QGraphicsItem *> items = currentOutputScene->items();
    if (items.isEmpty()) {
        return;
    }
    if (auto *first = dynamic_cast<PreviewItem *>(items.first())) {
        first->togglePageNumbers();
    }
    for (QGraphicsItem *item : items) {
        item->update();
    }
}
