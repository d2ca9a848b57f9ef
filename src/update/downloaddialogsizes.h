#pragma once

#include <QSize>

// How the download dialog follows the density of the screen. The scale is the
// logical resolution of the screen divided by 96 dots per inch.

/// The scale of the primary screen, 1.0 if there is none.
double primaryScreenScale();

double downloadDialogPointSize(double scale);

QSize downloadDialogSize(double scale);

/// The margin on all four sides of the dialog.
int downloadDialogMargin(double scale);
