#include "update/downloaddialogsizes.h"

#include "ui/screendensity.h"

double downloadDialogPointSize(std::optional<double> density)
{
    return scaledToDensity(10.0, 11.0, density);
}

QSize downloadDialogSize(std::optional<double> density)
{
    return {int(scaledToDensity(480, 768, density)), int(scaledToDensity(580, 928, density))};
}

int downloadDialogMargin(std::optional<double> density)
{
    return int(scaledToDensity(30, 48, density));
}
