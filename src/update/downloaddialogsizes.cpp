#include "update/downloaddialogsizes.h"

namespace {

constexpr double usualDensity = 1.0;
constexpr double largestDensity = 1.6; // sizes are fixed above it

} // namespace

double downloadDialogPointSize(std::optional<double> density)
{
    const double scale = density.value_or(usualDensity);
    if (scale > largestDensity) {
        return 11.0;
    }
    return scale > usualDensity ? qMin(scale * 10.0, 11.0) : 10.0;
}

QSize downloadDialogSize(std::optional<double> density)
{
    const double scale = density.value_or(usualDensity);
    if (scale > largestDensity) {
        return {768, 928};
    }
    return scale > usualDensity ? QSize(int(480 * scale), int(580 * scale)) : QSize(480, 580);
}

int downloadDialogMargin(std::optional<double> density)
{
    const double scale = density.value_or(usualDensity);
    if (scale > largestDensity) {
        return 48;
    }
    return scale > usualDensity ? int(scale * 30) : 30;
}
