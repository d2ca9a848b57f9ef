// When linked into a program, ends it after the first paint of its first window.

#include <QCoreApplication>
#include <QEvent>

#include <cstdlib>

namespace {

class FirstPaint : public QObject
{
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Paint && !painted) {
            painted = true;
            // The painted contents reach the screen before the next event.
            QMetaObject::invokeMethod(
                this, [] { std::_Exit(EXIT_SUCCESS); }, Qt::QueuedConnection);
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
