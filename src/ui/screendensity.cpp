#include "ui/screendensity.h"

#include <QGuiApplication>
#include <QScreen>

#include <algorithm>

namespace {

constexpr double baseDotsPerInch = 96.0;
constexpr double usualDensity = 1.0;
constexpr double highestDensity = 1.6;

} // namespace

std::optional<double> screenDensity()
{
    const QScreen *screen = QGuiApplication::primaryScreen();
    if (screen == nullptr) {
        return std::nullopt;
    }
    return screen->logicalDotsPerInchX() / baseDotsPerInch;
}

double scaledToDensity(double base, double most, std::optional<double> density)
{
    const double ratio = density.value_or(usualDensity);
    if (ratio > highestDensity) {
        return most;
    }
    return ratio > usualDensity ? std::min(ratio * base, most) : base;
}

int toolBarIconSize(std::optional<double> density)
{
    const double ratio = density.value_or(usualDensity);
    if (ratio >= 1.4) {
        return 40;
    }
    return ratio >= 1.15 ? 36 : 32;
}
