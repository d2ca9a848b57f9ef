#pragma once

#include <QImage>
#include <QRect>

#include <optional>

/// The trim, pixel by pixel and step by step, to hold the fast one against.

/// The ink threshold of \a gray, an image of Format_Grayscale8.
int plainThreshold(const QImage &gray);

/// The bounds of the content of \a gray; nothing without any, or if it is a
/// single row or column.
std::optional<QRect> plainBounds(const QImage &gray, int threshold);
