#pragma once

#include <QImage>
#include <QString>

/// Empty if both images have the same size and no channel of any pixel differs
/// by more than \a tolerance. Otherwise the first different pixel, by rows, and
/// both values as #AARRGGBB.
[[nodiscard]] QString firstDifference(const QImage &actual, const QImage &expected, int tolerance = 0);

/// Whether every pixel is white.
[[nodiscard]] bool isBlank(const QImage &image);
