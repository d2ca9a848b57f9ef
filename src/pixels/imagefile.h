#pragma once

#include <QPixmap>
#include <QSize>
#include <QString>

/// The image in the file \a path, upright, in the pixel format of the file.
/// Null for a file that cannot be read, and for every file whose name ends in
/// ".pdf".
///
/// Sets the allocation limit of the image reader, which is one for the whole
/// process, to what an image of the stated size needs.
QPixmap decodeImageFile(const QString &path);

/// Whether an image of \a size can be cut into pages: both sides must be
/// longer than 10 pixels.
bool isLargeEnough(const QSize &size);
