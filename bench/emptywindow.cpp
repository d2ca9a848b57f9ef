#include <QApplication>
#include <QMainWindow>
#include <QMenuBar>
#include <QScreen>
#include <QStatusBar>
#include <QToolBar>

/// Shows an empty window of the size that the program's has at its first start.
/// With an argument it has a menu bar, a tool bar and a status bar of one entry
/// each: the first text and the first bar cost the toolkit most.
int main(int argc, char *argv[])
{
    const QApplication app(argc, argv);
    QMainWindow window;
    if (argc > 1) {
        const QString text = QString::fromLocal8Bit(argv[1]);
        window.menuBar()->addMenu(text);
        window.addToolBar(text)->addAction(text);
        window.statusBar()->showMessage(text);
    }
    const QRect available = QGuiApplication::primaryScreen()->availableGeometry();
    const QSize size = available.size() * 2 / 3;
    window.setGeometry(QRect(available.center() - QPoint(size.width(), size.height()) / 2, size));
    window.show();
    return QApplication::exec();
}
