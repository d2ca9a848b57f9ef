#pragma once

#include <optional>

/// The logical dots per inch of the primary screen divided by 96, read afresh
/// at each call; nothing without a primary screen.
std::optional<double> screenDensity();

/// The size of the toolbar's icons at \a density, width and height in pixels:
/// 40 from 1.4 on, 36 from 1.15 on, otherwise and without a density 32.
int toolBarIconSize(std::optional<double> density);
