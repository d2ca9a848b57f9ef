#include <QApplication>
#include <QMainWindow>
#include <QMenuBar>
#include <QNetworkAccessManager>
#include <QNetworkRequest>
#include <QScreen>
#include <QStatusBar>
#include <QToolBar>

/// Shows an empty window of the size that the program's has at its first start.
/// With an argument it has a menu bar, a tool bar and a status bar of one entry
/// each: the first text and the first bar cost the toolkit most. With a second
/// one, an address, that is asked for before, as the program looks for an
/// update: the first request loads the libraries of the encryption.
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
