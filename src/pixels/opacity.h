#pragma once

#include <QImage>

/// Whether every pixel of \a image is opaque. Looks at the pixels of
/// Format_ARGB32, Format_ARGB32_Premultiplied and Format_Indexed8; of the other
/// formats only those without an alpha channel count as opaque.
[[nodiscard]] bool isOpaque(const QImage &image);

/// Whether any pixel of \a image is partly transparent, or fully transparent with
/// a color. Without one, the pixels are the same in every 32-bit format with
/// alpha. For Format_ARGB32 and Format_ARGB32_Premultiplied.
[[nodiscard]] bool hasPartlyTransparent(const QImage &image);
