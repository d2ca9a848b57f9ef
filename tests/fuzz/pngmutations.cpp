#include "pngmutations.h"

#include "mutations.h"
#include "support/exifbytes.h"
#include "support/pngbytes.h"

#include <QtEndian>

#include <algorithm>
#include <array>
#include <iterator>

namespace {

constexpr qsizetype mostPackedBytes = 1 << 16; // longer pixel data would take too long to pack anew

struct Chunk
{
    QByteArray type;
    QByteArray data;
};

QList<Chunk> chunksOf(const QByteArray &png)
{
    QList<Chunk> chunks;
    const QByteArrayList whole = pngChunksOf(png);
    for (const QByteArray &chunk : whole) {
        chunks.append({chunk.mid(4, 4), chunk.mid(8, std::max<qsizetype>(0, chunk.size() - 12))});
    }
    return chunks;
}

QByteArray fileOf(const QList<Chunk> &chunks)
{
    QByteArray png = pngSignature;
    for (const Chunk &chunk : chunks) {
        png += pngChunk(chunk.type, chunk.data);
    }
    return png;
}

Chunk &anyOf(QList<Chunk> &chunks, std::mt19937 &random)
{
    return chunks[below(random, chunks.size())];
}

Chunk *firstOf(QList<Chunk> &chunks, const char *type)
{
    const auto found =
        std::find_if(chunks.begin(), chunks.end(), [=](const Chunk &chunk) { return chunk.type == type; });
    return found == chunks.end() ? nullptr : &*found;
}

quint32 anyNumber(std::mt19937 &random)
{
    constexpr std::array<quint32, 10> numbers{0, 1, 2, 7, 255, 2835, 45455, 100000, 0x7fffffff, 0xffffffff};
    return below(random, 4) == 0 ? quint32(random()) : numbers.at(size_t(below(random, numbers.size())));
}

QByteArray numbers(int count, std::mt19937 &random)
{
    QByteArray bytes;
    for (int i = 0; i < count; ++i) {
        bytes += bigEndian32(anyNumber(random));
    }
    return bytes;
}

QByteArray anyText(std::mt19937 &random)
{
    const QByteArray key = std::array{"Title", "a b", "", "\xe9"}.at(size_t(below(random, 4)));
    return key + '\0' + anyBytes(random, 20);
}

Chunk newChunk(std::mt19937 &random)
{
    switch (below(random, 18)) {
    case 0:
        return {"gAMA", numbers(1, random)};
    case 1:
        return {"pHYs", numbers(2, random) + char(below(random, 3))};
    case 2:
        return {"cHRM", numbers(8, random)};
    case 3:
        return {"tRNS", anyBytes(random, 300)};
    case 4:
        return {"PLTE", anyBytes(random, 780)};
    case 5:
        return {"PLTE", anyBytes(random, 780).left(3 * below(random, 257))};
    case 6:
        return {"iCCP", QByteArray("p\0\0", 3) + zlibOf(anyBytes(random, 200))};
    case 7:
        return {"eXIf", exifOf(int(below(random, 10)), below(random, 2) == 0).mid(6)};
    case 8:
        return {"sRGB", QByteArray(1, char(below(random, 5)))};
    case 9:
        return {"bKGD", anyBytes(random, 7)};
    case 10:
        return {"tEXt", anyText(random)};
    case 11:
        return {"zTXt", QByteArray("k\0\0", 3) + zlibOf(anyBytes(random, 50))};
    case 12:
        return {"iTXt", QByteArray("k\0\0\0\0\0", 6) + anyBytes(random, 20)};
    case 13:
        return {"sBIT", anyBytes(random, 5)};
    case 14:
        return {"oFFs", numbers(2, random) + char(below(random, 3))};
    case 15:
        return {"IDAT", {}};
    case 16:
        return {"IEND", {}};
    default:
        return {below(random, 2) == 0 ? "abCd" : "ABCD", anyBytes(random, 30)};
    }
}

void changeHeader(QByteArray &header, std::mt19937 &random)
{
    if (header.size() < 13) {
        return;
    }
    const qsizetype field = below(random, 7);
    if (field < 2) {
        const quint32 length = qFromBigEndian<quint32>(header.constData() + 4 * field);
        const quint32 near = length + quint32(below(random, 5)) - 2;
        header.replace(4 * field, 4, bigEndian32(below(random, 4) == 0 ? anyNumber(random) : near));
        return;
    }
    constexpr std::array<char, 8> values{0, 1, 2, 3, 4, 6, 8, 16};
    header[6 + field] = values.at(size_t(below(random, values.size())));
}

void changeBytes(QByteArray &data, std::mt19937 &random)
{
    const qsizetype at = below(random, data.size());
    switch (data.isEmpty() ? 3 : below(random, 4)) {
    case 0:
        data[at] = char(data[at] ^ (1 << below(random, 8)));
        break;
    case 1:
        data.truncate(at);
        break;
    case 2:
        data.replace(at, 4, bigEndian32(anyNumber(random)));
        break;
    default:
        data.insert(at, anyBytes(random, 8));
        break;
    }
}

/// The data of all chunks IDAT; replaces them by one, which is empty.
QByteArray takePixels(QList<Chunk> &chunks)
{
    QByteArray packed;
    for (Chunk &chunk : chunks) {
        packed += chunk.type == "IDAT" ? chunk.data : QByteArray();
    }
    qsizetype seen = 0;
    chunks.removeIf([&seen](const Chunk &chunk) { return chunk.type == "IDAT" && seen++ > 0; });
    if (Chunk *first = firstOf(chunks, "IDAT")) {
        first->data.clear();
    }
    return packed;
}

/// Puts \a packed into chunks, in pieces of one or different lengths.
void putPixels(QList<Chunk> &chunks, const QByteArray &packed, std::mt19937 &random)
{
    Chunk *first = firstOf(chunks, "IDAT");
    if (first == nullptr) {
        return;
    }
    const qsizetype most = below(random, 3) == 0 ? packed.size() + 1 : below(random, 40) + packed.size() / 50 + 1;
    qsizetype at = below(random, most + 1);
    first->data = packed.left(at);
    qsizetype place = std::distance(chunks.data(), first) + 1;
    while (at < packed.size()) {
        const qsizetype length = below(random, most + 1);
        chunks.insert(place++, {"IDAT", packed.mid(at, length)});
        at += length;
    }
}

/// The bytes of a row with its filter; 1 if the header makes no sense.
qsizetype rowLength(const QByteArray &header)
{
    if (header.size() < 13) {
        return 1;
    }
    const PngKind kind{header.at(9), header.at(8)};
    const auto width = qsizetype(qFromBigEndian<quint32>(header.constData()) & 0xffff);
    return 1 + (width * samplesOf(kind) * std::max(1, kind.depth) + 7) / 8;
}

void changeRows(QByteArray &rows, qsizetype length, std::mt19937 &random)
{
    const qsizetype count = rows.size() / length;
    const qsizetype at = below(random, count) * length;
    switch (below(random, 6)) {
    case 0: // one filter for all
        for (qsizetype y = 0, filter = below(random, 6); y < count; ++y) {
            rows[y * length] = char(filter);
        }
        break;
    case 1: // any filters
        for (qsizetype y = 0; y < count; ++y) {
            rows[y * length] = char(below(random, 5));
        }
        break;
    case 2:
        rows.remove(at, below(random, 2) == 0 ? length : below(random, length) + 1);
        break;
    case 3:
        rows.insert(at, rows.mid(at, below(random, 4 * length)));
        break;
    case 4:
        rows.replace(at + 1, length - 1, QByteArray(length - 1, char(below(random, 256))));
        break;
    default:
        changeBytes(rows, random);
        break;
    }
}

/// \a packed with other rows, or the same ones packed otherwise; itself if it is damaged.
QByteArray repacked(const QByteArray &packed, const QByteArray &header, std::mt19937 &random)
{
    QByteArray rows = packed.size() > mostPackedBytes / 16 ? QByteArray() : qUncompress(bigEndian32(4096) + packed);
    if (rows.isEmpty() || rows.size() > mostPackedBytes) {
        return packed;
    }
    if (below(random, 4) != 0) {
        changeRows(rows, rowLength(header), random);
    }
    return zlibOf(rows, int(below(random, 10)));
}

void changePixels(QList<Chunk> &chunks, std::mt19937 &random)
{
    QByteArray packed = takePixels(chunks);
    const qsizetype choice = below(random, 8);
    if (choice < 5) {
        packed = repacked(packed, chunks.first().data, random);
    } else if (choice == 5) {
        changeBytes(packed, random);
    }
    putPixels(chunks, packed, random);
}

void changeChunks(QList<Chunk> &chunks, std::mt19937 &random)
{
    const qsizetype at = below(random, chunks.size());
    switch (below(random, 12)) {
    case 0:
        chunks.removeAt(at);
        break;
    case 1:
        chunks.insert(below(random, chunks.size()), Chunk(chunks.at(at)));
        break;
    case 2:
        chunks.swapItemsAt(at, below(random, chunks.size()));
        break;
    case 3:
    case 4:
        chunks.insert(std::min<qsizetype>(1 + below(random, 4), chunks.size()), newChunk(random));
        break;
    case 5:
    case 6:
        changeHeader(chunks.first().data, random);
        break;
    case 7:
    case 8:
        changeBytes(anyOf(chunks, random).data, random);
        break;
    default:
        changePixels(chunks, random);
        break;
    }
}

/// A small file of any kind.
QByteArray newPng(std::mt19937 &random)
{
    constexpr std::array kinds{PngKind{0, 1}, PngKind{0, 2}, PngKind{0, 4}, PngKind{0, 8},  PngKind{0, 16},
                               PngKind{2, 8}, PngKind{3, 1}, PngKind{3, 2}, PngKind{2, 16}, PngKind{3, 4},
                               PngKind{3, 8}, PngKind{4, 8}, PngKind{6, 8}, PngKind{4, 16}, PngKind{6, 16}};
    PngKind kind = kinds.at(size_t(below(random, kinds.size())));
    kind.filter = int(below(random, 7)) - 1;
    kind.interlace = below(random, 8) == 0 ? 1 : 0;
    return randomPng(QSize(1 + int(below(random, 40)), 1 + int(below(random, 40))), kind);
}

} // namespace

QByteArray mutatedPng(const QByteArray &png, std::mt19937 &random)
{
    QList<Chunk> chunks = chunksOf(png);
    if (chunks.isEmpty()) {
        return {};
    }
    if (below(random, 32) == 0) {
        return newPng(random);
    }
    changeChunks(chunks, random);
    QByteArray changed = fileOf(chunks);
    if (below(random, 32) == 0) {
        changed[below(random, changed.size())] = '\0';
    }
    return changed;
}
