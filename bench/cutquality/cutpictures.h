#pragma once

#include "cutquality/kinds.h"

/// Saves a picture of \a kind in \a directory, its pieces marked in color at the
/// left edge, to see whether its painter notes them right.
bool savePainted(const PictureKind &kind, const QString &directory);
