#include "app/mainwindow.h"

#include "ui/customsplitter.h"
#include "ui/windowgeometry.h"

#include <QMoveEvent>
#include <QSettings>
#include <QTimer>
#include <QToolBar>

using namespace Qt::StringLiterals;

namespace {

constexpr auto organization = "Quillmarch"_L1;
constexpr auto application = "Settings"_L1;
constexpr auto geometryKey = "windowGeometry"_L1;
constexpr auto stateKey = "windowState"_L1;
constexpr auto splitterKey = "splitterState"_L1;

} // namespace

void MainWindow::showEvent(QShowEvent *event)
{
    QMainWindow::showEvent(event);
    if (mainToolBar->testAttribute(Qt::WA_DontShowOnScreen)) {
        QTimer::singleShot(0, this, [this] { showFloatingToolBar(); }); // when the window is on the screen
    }
}

void MainWindow::moveEvent(QMoveEvent *event)
{
    QWidget::moveEvent(event);
    saveWindowState();
}

void MainWindow::resizeEvent(QResizeEvent *event)
{
    fitViews();
    saveWindowState();
    QWidget::resizeEvent(event);
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    saveWindowState();
    saveSplitterState();
    QWidget::closeEvent(event);
}

void MainWindow::saveWindowState()
{
    QSettings settings(organization, application);
    settings.setValue(geometryKey, saveGeometry());
    settings.setValue(stateKey, saveState(0));
}

bool MainWindow::restoreWindowState()
{
    const QSettings settings(organization, application);
    const QByteArray geometryBytes = settings.value(geometryKey).toByteArray();
    const QByteArray stateBytes = settings.value(stateKey).toByteArray();
    if (geometryBytes.isEmpty()) {
        return false;
    }
    restoreGeometry(geometryBytes);
    // A bar that floats would come up at once, before the window that it belongs
    // to, and then lie behind it.
    mainToolBar->setAttribute(Qt::WA_DontShowOnScreen);
    restoreState(stateBytes, 0);
    mainToolBar->setAttribute(Qt::WA_DontShowOnScreen, mainToolBar->isFloating());
    if (!isGeometryUsable(geometry())) {
        setGeometry(defaultGeometry());
    }
    return true;
}

void MainWindow::showFloatingToolBar()
{
    const bool isWanted = mainToolBar->isVisible();
    mainToolBar->hide();
    mainToolBar->setAttribute(Qt::WA_DontShowOnScreen, false);
    mainToolBar->setVisible(isWanted);
}

void MainWindow::saveSplitterState()
{
    QSettings settings(organization, application);
    settings.setValue(splitterKey, splitter->saveState());
}

void MainWindow::restoreSplitterState()
{
    const QSettings settings(organization, application);
    const QByteArray bytes = settings.value(splitterKey).toByteArray();
    if (bytes.isEmpty()) {
        splitter->setSizes({width() / 2, width() / 2});
    } else {
        splitter->restoreState(bytes);
    }
}

bool MainWindow::isGeometryUsable(const QRect &rect) const
{
    return isUsableWindowGeometry(rect);
}

QRect MainWindow::defaultGeometry()
{
    return defaultWindowGeometry(geometry());
}
