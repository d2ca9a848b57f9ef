#include "batch/truncation.h"

#include <QtEndian>

namespace {

bool isBmpTruncated(const QByteArray &bytes)
{
    return bytes.size() >= 6 && qsizetype(qFromLittleEndian<quint32>(bytes.constData() + 2)) > bytes.size();
}

uchar byteAt(const QByteArray &bytes, qsizetype index)
{
    return index < bytes.size() ? uchar(bytes.at(index)) : 0;
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
