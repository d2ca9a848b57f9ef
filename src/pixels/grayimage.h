#pragma once

#include <QImage>

/// \a image as QImage converts it to gray; null if memory runs out.
///
/// Premultiplied colors that exceed their alpha, which only faulty files have, count as
/// high as it: Qt would look for their gray levels beyond the end of a table.
[[nodiscard]] QImage grayImage(const QImage &image);
