#pragma once

#include <QSize>
#include <QStringList>

class MainWindow;

/// What must hold for the document of \a window whenever no event is being
/// handled: the chain of strips is closed and covers the image, the rectangles
/// of each strip agree, every strip is on one page of each layout, and the
/// scenes and views fit them. One line for each thing that does not hold.
///
/// \a image is the size of the source image; an invalid one is not looked at.
QStringList brokenInvariants(const MainWindow &window, QSize image = QSize());

/// Whether each strip of \a window is higher than zero. That is so after every
/// placement of the cuts and, where two neighbours are more than 50 pixels high
/// together, after every drag.
bool allStripsAreHigherThanZero(const MainWindow &window);
