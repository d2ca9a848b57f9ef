#include "shownwindow.h"
#include "steps.h"
#include "ui/leftview.h"
#include "ui/mainview.h"
#include "viewdrawing.h"

namespace {

constexpr int exposedRows = 40;

QRect paintedRect(const QWidget &viewport, int rows)
{
    return rows == 0 ? viewport.rect() : QRect(0, viewport.height() / 3, viewport.width(), rows);
}

/// Repaints both views; only \a rows rows of each unless that is 0.
void paintProgram(benchmark::State &state, const OpenImagePtr &image, int rows)
{
    image->shown->showMiddleCut();
    QWidget *large = image->shown->mainView->viewport();
    QWidget *preview = image->shown->leftView->viewport();
    for (auto _ : state) {
        large->repaint(paintedRect(*large, rows));
        preview->repaint(paintedRect(*preview, rows));
    }
}

void paintFloor(benchmark::State &state, const OpenImagePtr &image, int rows)
{
    image->shown->showMiddleCut();
    const ViewDrawing strips = stripDrawing(*image);
    const ViewDrawing pages = oneColumnDrawing(*image);
    QImage large(strips.size, QImage::Format_RGB32);
    QImage preview(pages.size, QImage::Format_RGB32);
    const QRect largeRect = paintedRect(*image->shown->mainView->viewport(), rows);
    const QRect previewRect = paintedRect(*image->shown->leftView->viewport(), rows);
    for (auto _ : state) {
        draw(strips, large, largeRect);
        draw(pages, preview, previewRect);
    }
}

} // namespace

std::vector<Comparison> paintComparisons(const OpenImagePtr &image)
{
    const std::string &name = image->file.name;
    const auto with = [&image](auto measured, auto... more) {
        return [=](benchmark::State &state) { measured(state, image, more...); };
    };
    return quick({
        {"paint", name, 1.1, with(paintProgram, 0), with(paintFloor, 0)},
        {"paint 40 rows", name, 1.1, with(paintProgram, exposedRows), with(paintFloor, exposedRows)},
    });
}
