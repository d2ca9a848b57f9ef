#pragma once

#include <QRect>

/// The rectangle in which a command's icon is drawn: \a outer without \a margin
/// pixels on each side. An even width or height is reduced by one, so that there is
/// a true center pixel.
[[nodiscard]] QRect iconFrame(const QRect &outer, int margin);
