#include "update/downloaddialogsizes.h"

namespace {

constexpr double standardDensity = 1.0;
constexpr double maxDensity = 1.6; // above it the sizes stay the same

} // namespace

double downloadDialogPointSize(std::optional<double> density)
{
    const double scale = density.value_or(standardDensity);
    if (scale > maxDensity) {
        return 11.0;
    }
    return scale > standardDensity ? qMin(scale * 10.0, 11.0) : 10.0;
}

QSize downloadDialogSize(std::optional<double> density)
{
    const double scale = density.value_or(standardDensity);
    if (scale > maxDensity) {
        return {768, 928};
    }
    return scale > standardDensity ? QSize(int(480 * scale), int(580 * scale)) : QSize(480, 580);
}

int downloadDialogMargin(std::optional<double> density)
{
    const double scale = density.value_or(standardDensity);
    if (scale > maxDensity) {
        return 48;
    }
    return scale > standardDensity ? int(scale * 30) : 30;
}
