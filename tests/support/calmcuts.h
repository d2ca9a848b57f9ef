#pragma once

#include "pixels/calmrow.h"

#include <QString>

/// \a image with \a step added to the three channels of each pixel, opaque. No channel
/// may pass its range.
QImage brightened(const QImage &image, int step);

/// All of \a cut as text, for messages.
QString described(const CalmRow &cut);
