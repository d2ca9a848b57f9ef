#include "pdf/entropybits.h"

#include <cstring>

namespace {

constexpr char markerStart = '\xff';
constexpr char endOfImage = '\xd9';

/// Whether one of the four bytes of \a word is 0xff.
bool hasMarkerStart(unsigned word)
{
    const unsigned zeros = ~word; // where a byte is 0xff
    return ((zeros - 0x01010101U) & ~zeros & 0x80808080U) != 0;
}

} // namespace

EntropyBits::EntropyBits(const QByteArray &jpeg, qsizetype start)
{
    clean.reserve(jpeg.size() - start + qsizetype(sizeof(quint64)));
    const char *at = jpeg.constData() + start;
    const char *end = jpeg.constData() + jpeg.size();
    while (at < end) {
        const auto *marker = static_cast<const char *>(std::memchr(at, markerStart, size_t(end - at)));
        if (marker == nullptr || marker + 1 == end) {
            break;
        }
        const bool isData = marker[1] == 0;
        clean.append(at, marker - at + (isData ? 1 : 0));
        if (!isData) {
            hasEnd = marker[1] == endOfImage;
            break;
        }
        at = marker + 2;
    }
    bytes = clean.size();
    clean.append(qsizetype(sizeof(quint64)), '\0');
}

void EntropyWriter::append(unsigned value, int valueCount)
{
    pending = pending << unsigned(valueCount) | value;
    count += valueCount;
    if (count < 32) {
        return;
    }
    count -= 32;
    const auto word = unsigned(pending >> unsigned(count));
    if (hasMarkerStart(word)) {
        for (const unsigned shift : {24U, 16U, 8U, 0U}) {
            appendByte(char(word >> shift));
        }
        return;
    }
    const quint32 stored = qToBigEndian(word);
    bytes.append(reinterpret_cast<const char *>(&stored), sizeof stored);
}

void EntropyWriter::append(const EntropyBits &scan, qint64 first, qint64 end)
{
    for (; end - first >= 32; first += 32) {
        append(unsigned(scan.from(first) >> 32U), 32);
    }
    if (first < end) {
        append(unsigned(scan.from(first) >> unsigned(64 - (end - first))), int(end - first));
    }
}

void EntropyWriter::finish()
{
    const int missing = (8 - count % 8) % 8;
    append((1U << unsigned(missing)) - 1, missing);
    for (; count > 0; count -= 8) {
        appendByte(char(pending >> unsigned(count - 8)));
    }
}

void EntropyWriter::appendByte(char byte)
{
    bytes.append(byte);
    if (byte == markerStart) {
        bytes.append('\0');
    }
}
