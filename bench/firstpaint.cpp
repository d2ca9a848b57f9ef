// Linked into a program, this ends it when its first window has been painted.

#include <QCoreApplication>
#include <QEvent>
#include <QTimer>

#include <cstdlib>

namespace {

class FirstPaint : public QObject
{
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        painted = painted || event->type() == QEvent::Paint;
        if (event->type() == QEvent::Expose) {
            // The window paints within the event, so that all is on the screen
            // when it has been handled.
            QMetaObject::invokeMethod(
                this, [this] { std::_Exit(painted ? EXIT_SUCCESS : EXIT_FAILURE); }, Qt::QueuedConnection);
        }
        return QObject::eventFilter(watched, event);
    }

private:
    bool painted = false;
};

void watchForFirstPaint()
{
    QCoreApplication *app = QCoreApplication::instance();
    app->installEventFilter(new FirstPaint(app));
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(watchForFirstPaint)
