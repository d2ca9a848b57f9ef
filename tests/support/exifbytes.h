#pragma once

#include <QByteArray>

/// The content of an EXIF segment that holds \a orientation.
QByteArray exifOf(int orientation, bool bigEndian = true);
