#pragma once

#include "pixels/rowprofile.h"

#include <QImage>

/// The sum of the squared differences between \a a and \a b from \a first to \a end,
/// exclusive.
[[nodiscard]] quint64 plainSquares(const uchar *a, const uchar *b, qsizetype first, qsizetype end);

/// The profile of the rows of \a image from \a top to \a bottom, exclusive, row by row
/// and pixel by pixel: the oracle for the fast one.
[[nodiscard]] RowProfile plainProfile(const QImage &image, int top, int bottom);
