#include <QApplication>
#include <QMainWindow>
#include <QScreen>

/// Shows an empty window of the size that the program's has at its first start.
int main(int argc, char *argv[])
{
    const QApplication app(argc, argv);
    QMainWindow window;
    const QRect available = QGuiApplication::primaryScreen()->availableGeometry();
    const QSize size = available.size() * 2 / 3;
    window.setGeometry(QRect(available.center() - QPoint(size.width(), size.height()) / 2, size));
    window.show();
    return QApplication::exec();
}
