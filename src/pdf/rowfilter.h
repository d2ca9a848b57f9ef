#pragma once

#include <QByteArray>

// The filters of PNG, which a PDF file has, too. A filtered row begins with the number
// of its filter.

/// \a rows, of \a rowBytes bytes each, filtered for photos: of the filters Sub, Up, and
/// Paeth, each row gets the one that leaves the smallest differences. Pixels have
/// \a pixelBytes bytes.
[[nodiscard]] QByteArray filteredForPhotos(const QByteArray &rows, qsizetype rowBytes, int pixelBytes);

/// \a rows, where those that equal the row above become zero; the others stay.
[[nodiscard]] QByteArray filteredForText(const QByteArray &rows, qsizetype rowBytes);
