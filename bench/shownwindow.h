#pragma once

#include "app/mainwindow.h"

#include <QImage>
#include <QRegion>

class LeftView;
class MainView;
class PageItem;
class QGraphicsView;

/// Notes the paint events of a widget.
class PaintWatcher : public QObject
{
public:
    explicit PaintWatcher(QWidget *widget);

    int paints() const { return count; }

    /// What the paint events since the last call asked for.
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

    /// Delivers what is posted, which paints what was asked for.
    void paintRequested();

    /// The same up to the painting; what comes behind it stays posted.
    void paintFrame();

    /// Writes the shown layout to the PDF file \a path, as the window does.
    void exportPdf(const QString &path);

    /// Makes the document anew, with the cuts at their regular places.
    void resetCuts();

    /// Brings the cut in the middle of the document to the middle of the large
    /// view, and its page into the preview. Returns the strip above the cut.
    PageItem *showMiddleCut();

    /// The strips, top to bottom.
    QList<PageItem *> strips() const;

    MainWindow window;
    MainView *mainView = nullptr;
    LeftView *leftView = nullptr;
};

/// The pixels of the file \a path as the window holds them.
QImage windowPixels(const QString &path);
