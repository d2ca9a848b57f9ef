#pragma once

#include <QSize>

#include <optional>

// How the download dialog follows the density of the screen, see
// screenDensity(). Without a screen the sizes are those of density 1.0.

double downloadDialogPointSize(std::optional<double> density);

QSize downloadDialogSize(std::optional<double> density);

/// The margin on all four sides of the dialog.
int downloadDialogMargin(std::optional<double> density);
