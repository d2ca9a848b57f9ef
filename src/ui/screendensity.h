#pragma once

#include <optional>

/// The logical dots per inch of the primary screen divided by 96, read at each
/// call; nothing without a primary screen.
[[nodiscard]] std::optional<double> screenDensity();

/// A size that grows with \a density: \a base up to 1.0, \a base times \a density,
/// but at most \a most, up to 1.6, and \a most above that. \a base without a density.
[[nodiscard]] double scaledToDensity(double base, double most, std::optional<double> density);

/// The width and height of the tool bar's icons at \a density, in pixels: 40 from
/// 1.4 on, 36 from 1.15 on, and 32 below that and without a density.
[[nodiscard]] int toolBarIconSize(std::optional<double> density);
