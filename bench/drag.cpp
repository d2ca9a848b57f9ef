#include "page/pageitem.h"
#include "shownwindow.h"
#include "steps.h"
#include "ui/mainview.h"
#include "viewdrawing.h"

#include <QCoreApplication>
#include <QGraphicsEffect>
#include <QMouseEvent>
#include <QPainter>

namespace {

constexpr int dragDistance = 20; // to and fro, in pixels of the screen

/// Counts how often the item that it is set on is painted.
class PaintCounter : public QGraphicsEffect
{
public:
    explicit PaintCounter(int &counted)
        : count(counted)
    {
    }

protected:
    void draw(QPainter *painter) override
    {
        ++count;
        drawSource(painter);
    }

private:
    int &count;
};

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

    /// One move of the pointer and what it paints.
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

/// How many strips other than \a strip and the next one are painted by moves,
/// in a view so narrow that it shows more of them.
int paintsOutsidePair(ShownWindow &shown)
{
    const QRect usual = shown.window.geometry();
    shown.window.setGeometry(0, 0, usual.width() / 3, usual.height());
    QCoreApplication::processEvents();

    const PageItem *strip = shown.showMiddleCut();
    int outside = 0;
    const QList<PageItem *> strips = shown.strips();
    for (PageItem *each : strips) {
        if (each != strip && each != strip->nextItem()) {
            each->setGraphicsEffect(new PaintCounter(outside)); // the item takes it
        }
    }
    QCoreApplication::processEvents();
    {
        RunningDrag drag(shown, *strip);
        drag.step();
        outside = 0;
        drag.step();
        drag.step();
    }
    const int found = outside;
    for (PageItem *each : strips) {
        each->setGraphicsEffect(nullptr);
    }
    shown.window.setGeometry(usual);
    QCoreApplication::processEvents();
    return found;
}

void dragProgram(benchmark::State &state, const OpenImagePtr &image)
{
    ShownWindow &shown = *image->shown;
    if (paintsOutsidePair(shown) > 0) {
        state.SkipWithError("a strip outside the pair is painted");
        return;
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
        state.SkipWithError("a move was not painted");
    }
}

void dragFloor(benchmark::State &state, const OpenImagePtr &image)
{
    const PageItem *strip = image->shown->showMiddleCut();
    const MainView &view = *image->shown->mainView;
    const QRectF pair = strip->sceneBoundingRect() | strip->nextItem()->sceneBoundingRect();
    const QRect exposed = view.mapFromScene(pair).boundingRect() & view.viewport()->rect();
    const ViewDrawing drawing = stripDrawing(*image);
    QImage canvas(drawing.size, QImage::Format_RGB32);
    for (auto _ : state) {
        draw(drawing, canvas, exposed);
    }
}

} // namespace

std::vector<Comparison> dragComparisons(const OpenImagePtr &image)
{
    return {{"drag a cut", image->file.name, 1.2, [image](benchmark::State &state) { dragProgram(state, image); },
             [image](benchmark::State &state) { dragFloor(state, image); }}};
}
