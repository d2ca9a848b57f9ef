#include "batch/truncation.h"

#include <QSet>

#include <algorithm>
#include <cstdlib>
#include <optional>

namespace {

constexpr qsizetype mostTiffPages = 1 << 20; // as of libtiff

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

/// The numbers of a TIFF file: TIFF, revision 6.0 (Adobe, 1992), or BigTIFF, whose places and
/// counts take 8 bytes. A directory is the count of its entries, these, and the place of the
/// next directory, or 0.
struct TiffForm
{
    bool isBigEndian = false;
    bool isBig = false; // BigTIFF

    int linkSize() const { return isBig ? 8 : 4; }
    qsizetype headerLink() const { return isBig ? 8 : 4; }
    int countSize() const { return isBig ? 8 : 2; }
    quint64 entrySize() const { return isBig ? 20 : 12; }
};

std::optional<TiffForm> tiffForm(const QByteArray &bytes)
{
    const bool isBigEndian = bytes.startsWith("MM");
    const quint64 version = numberAt(bytes, 2, 2, isBigEndian);
    if ((!isBigEndian && !bytes.startsWith("II")) || (version != 42 && version != 43)) {
        return {};
    }
    return TiffForm{isBigEndian, version == 43};
}

/// Where the directory at \a place has the place of the next one; nothing if it has no
/// entries, or if they are not inside the file.
std::optional<qsizetype> tiffLink(const QByteArray &bytes, const TiffForm &form, quint64 place)
{
    const auto size = quint64(bytes.size());
    const auto countSize = quint64(form.countSize());
    if (size < countSize || place > size - countSize) {
        return {};
    }
    const quint64 count = numberAt(bytes, qsizetype(place), form.countSize(), form.isBigEndian);
    const quint64 entries = place + countSize;
    if (count == 0 || count > (size - entries) / form.entrySize()) {
        return {};
    }
    return qsizetype(entries + count * form.entrySize());
}

/// The place of a directory that is written at \a link, 0 at the end of the chain; nothing if
/// \a link is not inside the file.
std::optional<quint64> tiffPlace(const QByteArray &bytes, const TiffForm &form, qsizetype link)
{
    const bool isInside = link + form.linkSize() <= bytes.size();
    return isInside ? std::optional(numberAt(bytes, link, form.linkSize(), form.isBigEndian)) : std::nullopt;
}

/// Writes \a place at \a link, the link from the header or from a directory of a TIFF file.
void setTiffLink(QByteArray &bytes, const TiffForm &form, qsizetype link, qsizetype place)
{
    for (int i = 0; i < form.linkSize(); ++i) {
        bytes[link + (form.isBigEndian ? form.linkSize() - 1 - i : i)] = char(quint64(place) >> (8 * i));
    }
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

TiffPages tiffPages(const QByteArray &bytes)
{
    const std::optional<TiffForm> form = tiffForm(bytes);
    if (!form) {
        return {};
    }
    TiffPages pages;
    QSet<quint64> known;
    qsizetype link = form->headerLink();
    while (pages.places.size() < mostTiffPages) {
        const std::optional<quint64> place = tiffPlace(bytes, *form, link);
        const auto next = place && !known.contains(*place) ? tiffLink(bytes, *form, *place) : std::nullopt;
        pages.isChainSound = place == quint64(0);
        if (pages.isChainSound || !next) {
            return pages;
        }
        known.insert(*place);
        pages.places.append(qsizetype(*place));
        link = *next;
    }
    return pages;
}

void beginTiffAt(QByteArray &bytes, qsizetype place)
{
    const std::optional<TiffForm> form = tiffForm(bytes);
    if (form && tiffPlace(bytes, *form, form->headerLink())) {
        setTiffLink(bytes, *form, form->headerLink(), place);
    }
}

void keepTiffPages(QByteArray &bytes, const QList<qsizetype> &places)
{
    const std::optional<TiffForm> form = tiffForm(bytes);
    if (!form) {
        return;
    }
    bytes.append(form->linkSize(), '\0'); // the last link may be missing
    qsizetype link = form->headerLink();
    for (const qsizetype place : places) {
        if (const std::optional<qsizetype> next = tiffLink(bytes, *form, quint64(place))) {
            setTiffLink(bytes, *form, link, place);
            link = *next;
        }
    }
    setTiffLink(bytes, *form, link, 0);
}
