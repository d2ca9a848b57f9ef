#include <QApplication>
#include <QMainWindow>
#include <QMenuBar>
#include <QNetworkAccessManager>
#include <QNetworkRequest>
#include <QScreen>
#include <QStatusBar>
#include <QToolBar>

/// Shows an empty window of the size that the program's window has at its first
/// start. With an argument, a text, it has a menu bar, a tool bar and a status bar
/// with one entry each: the first text and the first bar take Qt most of the time.
/// With a second one, an address, it first requests that, like the program's check
/// for updates: the first request loads the TLS libraries.
int main(int argc, char *argv[])
{
    const QApplication app(argc, argv);
    QNetworkAccessManager network;
    if (argc > 2) {
        network.get(QNetworkRequest(QUrl(QString::fromLocal8Bit(argv[2]))));
    }
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
