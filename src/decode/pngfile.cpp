#include "decode/pngfile.h"

#include "decode/filewindow.h"

#include <QtEndian>

#include <libdeflate.h>

namespace {

constexpr char signature[] = "\x89PNG\r\n\x1a\n";
constexpr qsizetype signatureLength = 8;
constexpr qsizetype headerLength = 13;
constexpr qsizetype chunkFrame = 12; // length, type and checksum

constexpr quint32 longestSide = 1'000'000; // of libpng
constexpr quint32 longestChunk = 0x7fffffff;
constexpr qsizetype mostAncillaryBytes = qsizetype(8) << 20;

enum ColorType : uchar { Gray = 0, Rgb = 2, Palette = 3, Rgba = 6 };

struct Chunk
{
    qint64 at = 0; ///< of its length field
    QByteArray type;
    qsizetype length = 0; ///< of its data

    qint64 dataAt() const { return at + 8; }
    qint64 end() const { return at + chunkFrame + length; }
    bool isAncillary() const { return (type.at(0) & 0x20) != 0; }
};

bool isLetter(char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

QByteArray copied(FileWindow &window, qint64 at, qsizetype length)
{
    QByteArray copy;
    while (copy.size() < length) {
        const auto part = window.bytes(at + copy.size(), length - copy.size());
        if (part.empty()) {
            return {};
        }
        copy.append(reinterpret_cast<const char *>(part.data()), qsizetype(part.size()));
    }
    return copy;
}

std::optional<Chunk> chunkAt(FileWindow &window, qint64 at)
{
    const auto head = window.bytes(at, 8);
    if (head.size() < 8) {
        return {};
    }
    const auto length = qFromBigEndian<quint32>(head.data());
    const QByteArray type(reinterpret_cast<const char *>(head.data()) + 4, 4);
    if (length > longestChunk || !std::all_of(type.begin(), type.end(), isLetter)) {
        return {};
    }
    return Chunk{at, type, qsizetype(length)};
}

/// Whether all of \a chunk is there and its checksum is right.
bool isIntact(FileWindow &window, const Chunk &chunk)
{
    quint32 sum = 0;
    const qsizetype checked = chunk.length + 4; // type and data
    for (qsizetype done = 0; done < checked;) {
        const auto part = window.bytes(chunk.at + 4 + done, checked - done);
        if (part.empty()) {
            return false;
        }
        sum = libdeflate_crc32(sum, part.data(), part.size());
        done += qsizetype(part.size());
    }
    const auto stated = window.bytes(chunk.dataAt() + chunk.length, 4);
    return stated.size() == 4 && qFromBigEndian<quint32>(stated.data()) == sum;
}

std::optional<Chunk> intactChunkAt(FileWindow &window, qint64 at)
{
    const std::optional<Chunk> chunk = chunkAt(window, at);
    return chunk && isIntact(window, *chunk) ? chunk : std::nullopt;
}

int channelsOf(uchar colorType)
{
    switch (colorType) {
    case Gray:
    case Palette:
        return 1;
    case Rgb:
        return 3;
    case Rgba:
        return 4;
    default:
        return 0;
    }
}

/// Takes the size and the kind of the image from \a header; false if another
/// decoder must read it.
bool takeHeader(const QByteArray &header, PngFile &file)
{
    if (header.size() != headerLength) {
        return false;
    }
    const auto width = qFromBigEndian<quint32>(header.constData());
    const auto height = qFromBigEndian<quint32>(header.constData() + 4);
    const bool isUsual = header.mid(8, 1) == "\x08" && header.mid(10) == QByteArray(3, '\0');
    file.header = header;
    file.channels = channelsOf(uchar(header.at(9)));
    if (!isUsual || file.channels == 0 || width - 1 >= longestSide || height - 1 >= longestSide) {
        return false;
    }
    file.size = QSize(int(width), int(height));
    return true;
}

/// Walks the chunks from IHDR on and notes them in a PngFile.
class ChunkWalk
{
public:
    explicit ChunkWalk(SharedDevice &device)
        : window(device)
    {
    }

    std::optional<PngFile> walked()
    {
        if (copied(window, 0, signatureLength) != QByteArray(signature, signatureLength) || !takeIhdr()) {
            return {};
        }
        return takeOthers() ? std::optional(file) : std::nullopt;
    }

private:
    bool takeIhdr()
    {
        const std::optional<Chunk> chunk = chunkAt(window, signatureLength);
        if (!chunk || chunk->type != "IHDR" || chunk->length != headerLength || !isIntact(window, *chunk)) {
            return false;
        }
        next = chunk->end();
        return takeHeader(copied(window, chunk->dataAt(), headerLength), file);
    }

    bool takeOthers()
    {
        for (;;) {
            const std::optional<Chunk> chunk = intactChunkAt(window, next);
            if (!chunk) {
                return false;
            }
            next = chunk->end();
            if (chunk->type == "IEND") {
                return chunk->length == 0 && !file.data.empty() && window.bytes(next, 1).empty();
            }
            if (!take(*chunk)) {
                return false;
            }
        }
    }

    bool take(const Chunk &chunk)
    {
        if (chunk.type == "IDAT") {
            if (isPaletteMissing()) {
                return false;
            }
            file.data.push_back({chunk.dataAt(), chunk.length});
            return chunk.length > 0 && file.chunksAfter.isEmpty();
        }
        hasPalette = hasPalette || chunk.type == "PLTE";
        return (chunk.isAncillary() || chunk.type == "PLTE") && keep(chunk);
    }

    bool isPaletteMissing() const { return file.header.at(9) == Palette && !hasPalette; }

    bool keep(const Chunk &chunk)
    {
        const qsizetype kept = file.chunksBefore.size() + file.chunksAfter.size();
        if (chunk.length > mostAncillaryBytes - kept) {
            return false;
        }
        const QByteArray whole = copied(window, chunk.at, chunkFrame + chunk.length);
        (file.data.empty() ? file.chunksBefore : file.chunksAfter).append(whole);
        return !whole.isEmpty();
    }

    FileWindow window;
    qint64 next = signatureLength;
    bool hasPalette = false;
    PngFile file;
};

QByteArray bigEndian(quint32 value)
{
    QByteArray bytes(4, '\0');
    qToBigEndian(value, bytes.data());
    return bytes;
}

QByteArray chunkOf(const QByteArray &type, const QByteArray &data)
{
    const QByteArray checked = type + data;
    const quint32 sum = libdeflate_crc32(0, checked.constData(), size_t(checked.size()));
    return bigEndian(quint32(data.size())) + checked + bigEndian(sum);
}

} // namespace

std::optional<PngFile> parsePng(SharedDevice &device)
{
    return ChunkWalk(device).walked();
}

QByteArray pngStandIn(const PngFile &file)
{
    const QByteArray header = bigEndian(1) + bigEndian(1) + file.header.mid(8);
    const QByteArray row(1 + file.channels, '\0');
    const QByteArray packed = qCompress(row).mid(4); // without Qt's own length field
    return QByteArray(signature, signatureLength) + chunkOf("IHDR", header) + file.chunksBefore
        + chunkOf("IDAT", packed) + file.chunksAfter + chunkOf("IEND", {});
}
