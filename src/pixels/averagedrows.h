#pragma once

#include <QImage>

/// The side of the squares whose average averagedRows() takes.
constexpr int averagedSide = 8;

/// The averages of all squares of pixels of \a rows, of which each pixel has
/// \a bytes; smaller by averagedSide - 1 both ways, and null if \a rows has no such
/// square, or memory ran out. What dithers or is as noisy comes close to the color that it stands for.
QImage averagedRows(const QImage &rows, int bytes);
