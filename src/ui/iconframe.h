#pragma once

#include <QRect>

/// The rectangle that a command's icon is drawn in: \a outer less \a margin
/// pixels on each side. A side that would be even loses its last pixel, so that
/// width and height are odd and there is a true centre pixel.
QRect iconFrame(const QRect &outer, int margin);
