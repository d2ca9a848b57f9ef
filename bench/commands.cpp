#include "shownwindow.h"
#include "steps.h"
#include "ui/leftview.h"
#include "ui/mainview.h"

#include <QScrollBar>

namespace {

using Slot = void (MainWindow::*)();

/// A command and the one that undoes it.
struct CommandPair
{
    Slot command;
    Slot undo;
    bool inLargeView; // otherwise in the preview
};

const QGraphicsView &viewOf(const ShownWindow &shown, const CommandPair &pair)
{
    return pair.inLargeView ? static_cast<const QGraphicsView &>(*shown.mainView) : *shown.leftView;
}

/// Measures from the command to the painted frame.
void commandProgram(benchmark::State &state, const OpenImagePtr &image, const CommandPair &pair)
{
    ShownWindow &shown = *image->shown;
    shown.showMiddleCut();
    const PaintWatcher watcher(viewOf(shown, pair).viewport());
    int commands = 0;
    for (auto _ : state) {
        for (const Slot slot : {pair.command, pair.undo}) {
            (shown.window.*slot)();
            shown.paintFrame();
            state.PauseTiming();
            ++commands;
            if (watcher.paints() != commands) {
                state.SetLabel("a command was not painted");
            }
            shown.paintRequested();
            if (watcher.paints() != commands) {
                state.SetLabel("a command was painted twice");
            }
            state.ResumeTiming();
        }
    }
}

/// Measures one repaint of the view after each command, without the command: of its
/// viewport and of those scroll bars that the command changed.
void commandFloor(benchmark::State &state, const OpenImagePtr &image, const CommandPair &pair)
{
    ShownWindow &shown = *image->shown;
    shown.showMiddleCut();
    const QGraphicsView &view = viewOf(shown, pair);
    for (auto _ : state) {
        for (const Slot slot : {pair.command, pair.undo}) {
            state.PauseTiming();
            QList<QScrollBar *> changed;
            {
                const PaintWatcher vertical(view.verticalScrollBar());
                const PaintWatcher horizontal(view.horizontalScrollBar());
                (shown.window.*slot)();
                shown.paintRequested();
                if (vertical.paints() > 0) {
                    changed.append(view.verticalScrollBar());
                }
                if (horizontal.paints() > 0) {
                    changed.append(view.horizontalScrollBar());
                }
            }
            state.ResumeTiming();
            view.viewport()->update();
            for (QScrollBar *bar : changed) {
                bar->update();
            }
            shown.paintFrame();
        }
    }
}

} // namespace

std::vector<Comparison> commandComparisons(const OpenImagePtr &image)
{
    const auto compare = [&image](const char *step, Slot command, Slot undo, bool inLargeView) {
        const CommandPair pair{command, undo, inLargeView};
        return Comparison{step, image->file.name, 1.1,
                          [=](benchmark::State &state) { commandProgram(state, image, pair); },
                          [=](benchmark::State &state) { commandFloor(state, image, pair); }};
    };
    return quick({
        compare("switch layout", &MainWindow::onTwoColsClicked, &MainWindow::onTwoColsClicked, false),
        compare("step margin", &MainWindow::onShrinkClicked, &MainWindow::onExtandClicked, false),
        compare("page numbers", &MainWindow::onPageNumClicked, &MainWindow::onPageNumClicked, false),
        compare("zoom", &MainWindow::onZoominClicked, &MainWindow::onZoomoutClicked, true),
    });
}
