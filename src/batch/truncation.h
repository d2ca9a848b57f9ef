#pragma once

#include <QByteArray>

/// Whether \a bytes, an image file of \a format, end before the end of its first picture.
///
/// For the formats whose decoders fill in what is missing and say nothing of it: BMP, GIF
/// and XBM. False for all others. \a format is as QImageReader names it.
[[nodiscard]] bool isTruncated(const QByteArray &bytes, const QByteArray &format);
