#pragma once

#include <QImage>

/// Memory for an image of \a size in \a format, not initialised. Null where the
/// allocation limit of QImageReader or the memory does not allow it; prints no
/// warning, since QImageReader will do so.
QImage allocatedImage(QSize size, QImage::Format format);

/// Sets all of \a image but its size, format and pixels to what \a model has. Returns
/// false if that is impossible, for a text without a key.
[[nodiscard]] bool copyMetadata(const QImage &model, QImage &image);

/// What QImageReader reads from \a file, a file of \a format, turned upright.
QImage readByQt(const QByteArray &file, const QByteArray &format);
