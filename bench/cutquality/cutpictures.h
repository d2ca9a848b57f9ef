#pragma once

#include "cutquality/kinds.h"

/// Saves a picture of \a kind in \a directory, its pieces marked in color at the
/// left edge, to see whether its painter notes them right.
bool savePainted(const PictureKind &kind, const QString &directory);

/// Paints a cut of each of \a kinds by both rules, the bright one on the left,
/// one pair beside and below the other: the first cut, in the first pictures,
/// by which the bright rule goes deep into content, or any content, or the first.
QImage cutSheet(const QList<PictureKind> &kinds);

/// Likewise all cuts of \a image.
QImage cutSheet(const QImage &image);
