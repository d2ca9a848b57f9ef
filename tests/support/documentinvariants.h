#pragma once

#include <QSize>
#include <QStringList>

class MainWindow;

/// The broken invariants of the document of \a window, one line each. Between two
/// events, the chain of strips covers the image without gaps, the rectangles of
/// each strip agree, every strip is on one page of each layout, and the scenes
/// and views fit them.
///
/// \a image is the size of the source image; it is not checked if invalid.
QStringList brokenInvariants(const MainWindow &window, QSize image = QSize());

/// Whether each strip of \a window is higher than zero. This holds after every
/// placement of the cuts, and after every drag if the two strips are together
/// more than 50 pixels high.
bool allStripsAreHigherThanZero(const MainWindow &window);
