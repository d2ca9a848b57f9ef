#include "ui/screendensity.h"

#include <QGuiApplication>
#include <QScreen>

namespace {

constexpr double baseDotsPerInch = 96.0;

} // namespace

std::optional<double> screenDensity()
{
    const QScreen *screen = QGuiApplication::primaryScreen();
    if (screen == nullptr) {
        return std::nullopt;
    }
    return screen->logicalDotsPerInchX() / baseDotsPerInch;
}

int toolBarIconSize(std::optional<double> density)
{
    const double ratio = density.value_or(1.0);
    if (ratio >= 1.4) {
        return 40;
    }
    return ratio >= 1.15 ? 36 : 32;
}
