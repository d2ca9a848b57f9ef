#include "support/pngbytes.h"

#include <QRandomGenerator>
#include <QtEndian>

#include <array>

namespace {

std::array<quint32, 256> checksumTable()
{
    std::array<quint32, 256> table{};
    for (quint32 i = 0; i < 256; ++i) {
        table[i] = i;
        for (int bit = 0; bit < 8; ++bit) {
            table[i] = (table[i] & 1U) != 0 ? (table[i] >> 1) ^ 0xEDB88320U : table[i] >> 1;
        }
    }
    return table;
}

quint32 checksumOf(const QByteArray &bytes)
{
    static const std::array<quint32, 256> table = checksumTable();
    quint32 sum = 0xFFFFFFFFU;
    for (const char byte : bytes) {
        sum = table[(sum ^ quint8(byte)) & 0xFFU] ^ (sum >> 8);
    }
    return ~sum;
}

} // namespace

const QByteArray pngSignature("\x89PNG\r\n\x1a\n", 8);

QByteArray bigEndian32(quint32 value)
{
    QByteArray bytes(4, '\0');
    qToBigEndian(value, bytes.data());
    return bytes;
}

QByteArray pngChunk(const QByteArray &type, const QByteArray &data)
{
    return bigEndian32(quint32(data.size())) + type + data + bigEndian32(checksumOf(type + data));
}

QByteArray zlibOf(const QByteArray &bytes, int level)
{
    return qCompress(bytes, level).mid(4); // without Qt's own length field
}

int samplesOf(const PngKind &kind)
{
    switch (kind.colorType) {
    case 2:
        return 3;
    case 4:
        return 2;
    case 6:
        return 4;
    default:
        return 1;
    }
}

QByteArray pngHeader(QSize size, const PngKind &kind)
{
    return bigEndian32(quint32(size.width())) + bigEndian32(quint32(size.height())) + char(kind.depth)
        + char(kind.colorType) + '\0' + '\0' + char(kind.interlace);
}

QByteArray pngRows(QSize size, const PngKind &kind, quint32 seed)
{
    QRandomGenerator random(seed);
    const qsizetype bits = qsizetype(size.width()) * samplesOf(kind) * kind.depth;
    QByteArray rows;
    rows.reserve((1 + (bits + 7) / 8) * size.height());
    for (int y = 0; y < size.height(); ++y) {
        rows.append(char(kind.filter < 0 ? int(random.bounded(5U)) : kind.filter));
        const quint32 mask = random.bounded(2U) == 0 ? 0xff : 0x83; // some rows of few values
        for (qsizetype at = 0; at < (bits + 7) / 8; ++at) {
            rows.append(char(random.generate() & mask));
        }
    }
    return rows;
}

QByteArray pngPalette(int count)
{
    QByteArray colors;
    for (int i = 0; i < count; ++i) {
        colors.append(char(i)).append(char(255 - i)).append(char(i * 7));
    }
    return pngChunk("PLTE", colors);
}

QByteArray pngOf(const QByteArray &header, const QByteArray &before, const QByteArray &packed, const QByteArray &after,
                 qsizetype piece)
{
    QByteArray file = pngSignature + pngChunk("IHDR", header) + before;
    for (qsizetype at = 0; at < packed.size(); at += piece) {
        file += pngChunk("IDAT", packed.mid(at, piece));
    }
    return file + after + pngChunk("IEND", {});
}

QByteArray randomPng(QSize size, const PngKind &kind, const QByteArray &before, const QByteArray &after)
{
    const QByteArray palette = kind.colorType == 3 ? pngPalette(1 << kind.depth) : QByteArray();
    return pngOf(pngHeader(size, kind), palette + before, zlibOf(pngRows(size, kind), 1), after);
}

QByteArrayList pngChunksOf(const QByteArray &png)
{
    QByteArrayList chunks;
    for (qsizetype at = pngSignature.size(); at + 12 <= png.size();) {
        const auto length = qsizetype(qFromBigEndian<quint32>(png.constData() + at));
        chunks.append(png.mid(at, 12 + length));
        at += 12 + length;
    }
    return chunks;
}

QByteArray withRightChecksums(const QByteArray &png)
{
    QByteArray right = png.left(pngSignature.size());
    qsizetype taken = right.size();
    const QByteArrayList chunks = pngChunksOf(png);
    for (const QByteArray &chunk : chunks) {
        const bool isWhole = chunk.size() == 12 + qsizetype(qFromBigEndian<quint32>(chunk.constData()));
        right += isWhole ? pngChunk(chunk.mid(4, 4), chunk.mid(8, chunk.size() - 12)) : chunk;
        taken += chunk.size();
    }
    return right + png.mid(taken);
}
