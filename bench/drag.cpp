#include "page/pageitem.h"
#include "shownwindow.h"
#include "steps.h"
#include "ui/mainview.h"
#include "viewdrawing.h"

#include <QCoreApplication>
#include <QMouseEvent>

namespace {

constexpr int dragDistance = 20; // up and down, in screen pixels

/// The rectangle of \a strip and the next one in the viewport of \a view.
QRect pairRect(const MainView &view, const PageItem &strip)
{
    return view.mapFromScene(strip.sceneBoundingRect() | strip.nextItem()->sceneBoundingRect()).boundingRect();
}

void sendMouse(QWidget *viewport, QEvent::Type type, QPoint position, Qt::MouseButton button, Qt::MouseButtons buttons)
{
    QMouseEvent event(type, QPointF(position), QPointF(viewport->mapToGlobal(position)), button, buttons,
                      Qt::NoModifier);
    QCoreApplication::sendEvent(viewport, &event);
}

/// A drag of the cut below a strip, from press to release.
class RunningDrag
{
public:
    RunningDrag(ShownWindow &window, const PageItem &strip)
        : shown(window)
        , viewport(window.mainView->viewport())
        , start(window.mainView->mapFromScene(strip.mapToScene(strip.handleRect().center())))
    {
        sendMouse(viewport, QEvent::MouseMove, start, Qt::NoButton, Qt::NoButton);
        sendMouse(viewport, QEvent::MouseButtonPress, start, Qt::LeftButton, Qt::LeftButton);
        QCoreApplication::processEvents();
    }

    ~RunningDrag()
    {
        sendMouse(viewport, QEvent::MouseButtonRelease, start, Qt::LeftButton, Qt::NoButton);
        QCoreApplication::processEvents();
    }

    RunningDrag(const RunningDrag &) = delete;
    RunningDrag &operator=(const RunningDrag &) = delete;

    /// Moves the pointer once and paints what that changes.
    void step()
    {
        forward = !forward;
        const QPoint position = start + QPoint(0, forward ? dragDistance : -dragDistance);
        sendMouse(viewport, QEvent::MouseMove, position, Qt::NoButton, Qt::LeftButton);
        shown.paintRequested();
    }

private:
    ShownWindow &shown;
    QWidget *viewport;
    QPoint start;
    bool forward = false;
};

/// Whether moves repaint only the two strips of the cut, in a view so narrow that
/// more strips are visible.
bool paintsPairAlone(ShownWindow &shown)
{
    constexpr int margin = 3; // which Qt adds around the update of an item
    const QRect usual = shown.window.geometry();
    shown.window.setGeometry(0, 0, usual.width() / 2, usual.height());
    QCoreApplication::processEvents();

    const PageItem *strip = shown.showMiddleCut();
    const QRect pair = pairRect(*shown.mainView, *strip);
    const bool showsMore = shown.mainView->viewport()->height() > pair.height() + 2 * margin;
    QRect painted;
    {
        PaintWatcher watcher(shown.mainView->viewport());
        RunningDrag drag(shown, *strip);
        watcher.takeRegion();
        drag.step();
        drag.step();
        painted = watcher.takeRegion().boundingRect();
    }
    shown.window.setGeometry(usual);
    QCoreApplication::processEvents();
    return showsMore && pair.adjusted(-margin, -margin, margin, margin).contains(painted);
}

void dragProgram(benchmark::State &state, const OpenImagePtr &image)
{
    ShownWindow &shown = *image->shown;
    shown.resetCuts(); // so that there is room to drag up and down
    if (!paintsPairAlone(shown)) {
        state.SetLabel("more than the two strips of the cut was painted");
    }
    const PageItem *strip = shown.showMiddleCut();
    const PaintWatcher watcher(shown.mainView->viewport());
    int moves = 0;
    RunningDrag drag(shown, *strip);
    for (auto _ : state) {
        drag.step();
        ++moves;
    }
    if (watcher.paints() < moves) {
        state.SetLabel("a move was not painted");
    }
}

void dragFloor(benchmark::State &state, const OpenImagePtr &image)
{
    image->shown->resetCuts();
    const PageItem *strip = image->shown->showMiddleCut();
    const MainView &view = *image->shown->mainView;
    const QRect exposed = pairRect(view, *strip) & view.viewport()->rect();
    const ViewDrawing drawing = stripDrawing(*image);
    QImage canvas(drawing.size, QImage::Format_RGB32);
    for (auto _ : state) {
        draw(drawing, canvas, exposed);
    }
}

} // namespace

std::vector<Comparison> dragComparisons(const OpenImagePtr &image)
{
    return quick({{"drag a cut", image->file.name, 1.2, [image](benchmark::State &state) { dragProgram(state, image); },
                   [image](benchmark::State &state) { dragFloor(state, image); }}});
}
