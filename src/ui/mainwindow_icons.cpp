#include "app/mainwindow.h"

#include "ui/commandicons.h"

void MainWindow::drawIcon(QPixmap &pixmap, const QColor &color, int margin,
                          std::function<void(QPainter &, const QRect &)> draw) const
{
    drawCommandIcon(pixmap, color, margin, draw);
}

QIcon MainWindow::createOpenIcon() const
{
    return openIcon();
}

QIcon MainWindow::createExportPdfIcon() const
{
    return exportPdfIcon();
}

QIcon MainWindow::createPrintIcon() const
{
    return printIcon();
}

QIcon MainWindow::createHelpIcon() const
{
    return helpIcon();
}

QIcon MainWindow::createDecreaseMarginIcon() const
{
    return decreaseMarginIcon();
}

QIcon MainWindow::createIncreaseMarginIcon() const
{
    return increaseMarginIcon();
}

QIcon MainWindow::createZoomInIcon() const
{
    return zoomInIcon();
}

QIcon MainWindow::createZoomOutIcon() const
{
    return zoomOutIcon();
}

QIcon MainWindow::createTwoColsIcon() const
{
    return twoColsIcon();
}

QIcon MainWindow::createAutoTrimIcon() const
{
    return autoTrimIcon();
}

QIcon MainWindow::createPageNumIcon() const
{
    return pageNumIcon();
}

QIcon MainWindow::createUpdateIcon() const
{
    return updateIcon();
}
