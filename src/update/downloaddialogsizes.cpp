#include "update/downloaddialogsizes.h"

#include <QGuiApplication>
#include <QScreen>

namespace {

constexpr double usualScale = 1.0;
constexpr double largestScale = 1.6; // sizes are fixed above it

} // namespace

double primaryScreenScale()
{
    const QScreen *screen = QGuiApplication::primaryScreen();
    return screen ? screen->logicalDotsPerInchX() / 96.0 : usualScale;
}

double downloadDialogPointSize(double scale)
{
    if (scale > largestScale) {
        return 11.0;
    }
    return scale > usualScale ? qMin(scale * 10.0, 11.0) : 10.0;
}

QSize downloadDialogSize(double scale)
{
    if (scale > largestScale) {
        return {768, 928};
    }
    return scale > usualScale ? QSize(int(480 * scale), int(580 * scale)) : QSize(480, 580);
}

int downloadDialogMargin(double scale)
{
    if (scale > largestScale) {
        return 48;
    }
    return scale > usualScale ? int(scale * 30) : 30;
}
