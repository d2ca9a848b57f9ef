#include "shownwindow.h"
#include "steps.h"
#include "ui/leftview.h"
#include "ui/mainview.h"

namespace {

using Slot = void (MainWindow::*)();

/// A command and the one that takes it back.
struct CommandPair
{
    Slot forth;
    Slot back;
    bool inLargeView; // or in the preview
};

QWidget *viewportOf(const ShownWindow &shown, const CommandPair &pair)
{
    return pair.inLargeView ? shown.mainView->viewport() : shown.leftView->viewport();
}

void commandProgram(benchmark::State &state, const OpenImagePtr &image, const CommandPair &pair)
{
    ShownWindow &shown = *image->shown;
    shown.showMiddleCut();
    const PaintWatcher watcher(viewportOf(shown, pair));
    int commands = 0;
    for (auto _ : state) {
        for (const Slot slot : {pair.forth, pair.back}) {
            (shown.window.*slot)();
            shown.paintRequested();
            ++commands;
        }
    }
    if (watcher.paints() < commands) {
        state.SetLabel("a command was not painted");
    }
}

/// One repaint of the view after each command, without the command.
void commandFloor(benchmark::State &state, const OpenImagePtr &image, const CommandPair &pair)
{
    ShownWindow &shown = *image->shown;
    shown.showMiddleCut();
    QWidget *viewport = viewportOf(shown, pair);
    for (auto _ : state) {
        for (const Slot slot : {pair.forth, pair.back}) {
            state.PauseTiming();
            (shown.window.*slot)();
            shown.paintRequested();
            state.ResumeTiming();
            viewport->repaint();
        }
    }
}

} // namespace

std::vector<Comparison> commandComparisons(const OpenImagePtr &image)
{
    const auto compare = [&image](const char *step, Slot forth, Slot back, bool inLargeView) {
        const CommandPair pair{forth, back, inLargeView};
        return Comparison{step, image->file.name, 1.1,
                          [=](benchmark::State &state) { commandProgram(state, image, pair); },
                          [=](benchmark::State &state) { commandFloor(state, image, pair); }};
    };
    return {
        compare("switch layout", &MainWindow::onTwoColsClicked, &MainWindow::onTwoColsClicked, false),
        compare("step margin", &MainWindow::onShrinkClicked, &MainWindow::onExtandClicked, false),
        compare("page numbers", &MainWindow::onPageNumClicked, &MainWindow::onPageNumClicked, false),
        compare("zoom", &MainWindow::onZoominClicked, &MainWindow::onZoomoutClicked, true),
    };
}
