#include "batch/truncation.h"

#include <QSet>

#include <algorithm>
#include <cstdlib>
#include <optional>

namespace {

uchar byteAt(const QByteArray &bytes, qsizetype index)
{
    return index < bytes.size() ? uchar(bytes.at(index)) : 0;
}

/// The number in the \a size bytes from \a at on; those after the end of \a bytes are 0.
quint64 numberAt(const QByteArray &bytes, qsizetype at, int size, bool isBigEndian = false)
{
    quint64 number = 0;
    for (int i = 0; i < size; ++i) {
        number = number << 8 | byteAt(bytes, at + (isBigEndian ? i : size - 1 - i));
    }
    return number;
}

/// The rows of pixels in a BMP file.
struct BmpRows
{
    quint64 start = 0; // in bytes from the start of the file
    quint64 length = 0; // of a row in bytes; 0 if it is compressed
    quint64 count = 0;
};

/// The rows that the header of the file states: a BITMAPCOREHEADER, or a BITMAPINFOHEADER
/// or one of its successors, in which a negative height says that the upper row is first.
BmpRows bmpRows(const QByteArray &bytes)
{
    constexpr quint64 fileHeaderSize = 14;
    const quint64 headerSize = numberAt(bytes, fileHeaderSize, 4);
    const bool isCore = headerSize == 12;
    const quint64 width = isCore ? numberAt(bytes, 18, 2) : numberAt(bytes, 18, 4);
    const auto height = isCore ? qint64(numberAt(bytes, 20, 2)) : qint64(qint32(numberAt(bytes, 22, 4)));
    const quint64 depth = numberAt(bytes, isCore ? 24 : 28, 2);
    const quint64 compression = isCore ? 0 : numberAt(bytes, 30, 4);
    const bool isPlain = compression == 0 || compression == 3; // BI_RGB or BI_BITFIELDS
    return {std::max(numberAt(bytes, 10, 4), fileHeaderSize + headerSize), isPlain ? (width * depth + 31) / 32 * 4 : 0,
            quint64(std::abs(height))};
}

/// The size of the file in its header may be 0 or wrong, so the rows are compared, too.
bool isBmpTruncated(const QByteArray &bytes)
{
    const auto size = quint64(bytes.size());
    const BmpRows rows = bmpRows(bytes);
    if (size < numberAt(bytes, 2, 4) || size < rows.start) {
        return true;
    }
    return rows.length > 0 && rows.count > (size - rows.start) / rows.length;
}

/// The bytes of the color table that the flags \a flags of a GIF file announce.
qsizetype colorTableSize(uchar flags)
{
    return (flags & 0x80) != 0 ? qsizetype(3) << ((flags & 7) + 1) : 0;
}

/// What follows the blocks of data from \a at on. The last one is empty; if it is missing,
/// that is behind the end of \a bytes.
qsizetype afterBlocks(const QByteArray &bytes, qsizetype at)
{
    while (at < bytes.size() && bytes.at(at) != 0) {
        at += 1 + uchar(bytes.at(at));
    }
    return at + 1;
}

bool isGifTruncated(const QByteArray &bytes)
{
    constexpr qsizetype headerSize = 13;
    constexpr qsizetype descriptorSize = 10;
    constexpr uchar extension = 0x21;
    qsizetype at = headerSize + colorTableSize(byteAt(bytes, headerSize - 3));
    while (byteAt(bytes, at) == extension) {
        at = afterBlocks(bytes, at + 2);
    }
    const uchar flags = byteAt(bytes, at + descriptorSize - 1);
    at += descriptorSize + colorTableSize(flags) + 1; // the size of the first code
    return at >= bytes.size() || afterBlocks(bytes, at) > bytes.size();
}

} // namespace

bool isTruncated(const QByteArray &bytes, const QByteArray &format)
{
    if (format == "bmp") {
        return isBmpTruncated(bytes);
    }
    if (format == "gif") {
        return isGifTruncated(bytes);
    }
    return format == "xbm" && !bytes.contains('}');
}
