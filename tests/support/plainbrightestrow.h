#pragma once

#include <QImage>

/// The row with the most pixels whose red is at least 192, the uppermost of
/// equal ones: the oracle for the fast scan.
[[nodiscard]] int plainBrightestRow(const QImage &image);
