#pragma once

#include <QRect>

/// Whether a window at \a rect is at least 400 x 300 and overlaps the available
/// area of the screen that its center is on, or of the primary screen if the
/// center is on none.
[[nodiscard]] bool isUsableWindowGeometry(const QRect &rect);

/// Two thirds of the available area of the primary screen, in its center;
/// \a fallback without a screen.
[[nodiscard]] QRect defaultWindowGeometry(const QRect &fallback);
