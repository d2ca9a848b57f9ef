#include "support/exifbytes.h"

QByteArray exifOf(int orientation, bool bigEndian)
{
    const QByteArray big =
        QByteArray("MM\0\x2a\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01\0", 19) + char(orientation) + QByteArray(6, '\0');
    const QByteArray little =
        QByteArray("II\x2a\0\x08\0\0\0\x01\0\x12\x01\x03\0\x01\0\0\0", 18) + char(orientation) + QByteArray(7, '\0');
    return QByteArray("Exif\0\0", 6) + (bigEndian ? big : little);
}
