#pragma once

#include "app/mainwindow.h"

#include <QImage>
#include <QRegion>

class LeftView;
class MainView;
class PageItem;
class QGraphicsView;

/// Records the paint events of a widget.
class PaintWatcher : public QObject
{
public:
    explicit PaintWatcher(QWidget *widget);

    int paints() const { return count; }

    /// The total region of the paint events since the last call.
    QRegion takeRegion();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    int count = 0;
    QRegion painted;
};

/// The program's window, shown at a fixed size.
class ShownWindow
{
public:
    ShownWindow();
    ~ShownWindow();
    ShownWindow(const ShownWindow &) = delete;
    ShownWindow &operator=(const ShownWindow &) = delete;

    /// Opens \a path and paints it.
    void open(const QString &path);

    /// Delivers all posted events, which includes the requested paint events.
    void paintRequested();

    /// Delivers the posted events up to the paint events; later ones stay posted.
    void paintFrame();

    /// Writes the shown layout to the PDF file \a path, as the window does.
    void exportPdf(const QString &path);

    /// Rebuilds the document with the regular cuts.
    void resetCuts();

    /// Scrolls the large view to the cut in the middle of the document and the
    /// preview to its page. Returns the strip above the cut.
    PageItem *showMiddleCut();

    /// The strips, top to bottom.
    QList<PageItem *> strips() const;

    MainWindow window;
    MainView *mainView = nullptr;
    LeftView *leftView = nullptr;
};

/// The pixels of the file \a path as the window stores them.
QImage windowPixels(const QString &path);
