#include "ui/windowgeometry.h"

#include <QGuiApplication>
#include <QScreen>

namespace {

constexpr int smallestWidth = 400;
constexpr int smallestHeight = 300;

/// In 64 bits, because the sum of stored coordinates can overflow 32.
int middle(int from, int to)
{
    return int((qint64(from) + to) / 2);
}

} // namespace

bool isUsableWindowGeometry(const QRect &rect)
{
    if (rect.width() < smallestWidth || rect.height() < smallestHeight) {
        return false;
    }
    const QPoint center(middle(rect.left(), rect.right()), middle(rect.top(), rect.bottom()));
    const QScreen *screen = QGuiApplication::screenAt(center);
    if (screen == nullptr) {
        screen = QGuiApplication::primaryScreen();
    }
    return screen == nullptr || screen->availableGeometry().intersects(rect);
}

QRect defaultWindowGeometry(const QRect &fallback)
{
    const QScreen *screen = QGuiApplication::primaryScreen();
    if (screen == nullptr) {
        return fallback;
    }
    const QRect available = screen->availableGeometry();
    const int width = 2 * available.width() / 3;
    const int height = 2 * available.height() / 3;
    return {(available.width() - width) / 2 + available.x(), (available.height() - height) / 2 + available.y(), width,
            height};
}
