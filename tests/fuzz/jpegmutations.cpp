#include "jpegmutations.h"

#include "mutations.h"
#include "support/exifbytes.h"

#include <QList>

#include <algorithm>
#include <array>

namespace {

constexpr uchar startOfImage = 0xd8;
constexpr uchar endOfImage = 0xd9;
constexpr uchar startOfScan = 0xda;
constexpr uchar tablesOfQuantization = 0xdb;
constexpr uchar restartInterval = 0xdd;
constexpr uchar huffmanTables = 0xc4;

struct Segment
{
    uchar marker = 0;
    QByteArray data;
    QByteArray scan; ///< the coded data after a start of scan, with restart markers
};

uchar byteAt(const QByteArray &bytes, qsizetype at)
{
    return at < bytes.size() ? uchar(bytes.at(at)) : uchar(0);
}

bool isRestart(uchar marker)
{
    return marker >= 0xd0 && marker <= 0xd7;
}

bool isFrame(uchar marker)
{
    return marker >= 0xc0 && marker <= 0xcf && marker != huffmanTables && marker != 0xc8 && marker != 0xcc;
}

bool hasData(uchar marker)
{
    return marker != startOfImage && marker != endOfImage && !isRestart(marker) && marker > 1;
}

/// The length of the coded data that begins at \a at, up to the next marker.
qsizetype scanLength(const QByteArray &jpeg, qsizetype at)
{
    qsizetype end = at;
    while (end < jpeg.size()) {
        const uchar next = byteAt(jpeg, end + 1);
        if (byteAt(jpeg, end) == 0xff && next != 0 && next != 0xff && !isRestart(next)) {
            break;
        }
        ++end;
    }
    return end - at;
}

/// The segments up to the first byte that belongs to none.
QList<Segment> segmentsOf(const QByteArray &jpeg)
{
    QList<Segment> segments;
    for (qsizetype at = 0; at + 2 <= jpeg.size() && byteAt(jpeg, at) == 0xff;) {
        Segment segment{byteAt(jpeg, at + 1), {}, {}};
        at += 2;
        if (hasData(segment.marker)) {
            const qsizetype length = byteAt(jpeg, at) << 8 | byteAt(jpeg, at + 1);
            segment.data = jpeg.mid(at + 2, std::max<qsizetype>(0, length - 2));
            at += std::max<qsizetype>(2, length);
        }
        if (segment.marker == startOfScan) {
            segment.scan = jpeg.mid(at, scanLength(jpeg, at));
            at += segment.scan.size();
        }
        segments.append(segment);
    }
    return segments;
}

QByteArray fileOf(const QList<Segment> &segments)
{
    QByteArray jpeg;
    for (const Segment &segment : segments) {
        jpeg.append('\xff').append(char(segment.marker));
        if (hasData(segment.marker)) {
            const auto length = int(std::min<qsizetype>(segment.data.size(), 0xfffd)) + 2;
            jpeg.append(char(length >> 8)).append(char(length & 0xff)).append(segment.data.left(length - 2));
        }
        jpeg += segment.scan;
    }
    return jpeg;
}

template <size_t Size>
char anyOf(const std::array<int, Size> &values, std::mt19937 &random)
{
    return char(values.at(size_t(below(random, qsizetype(Size)))));
}

QByteArray anyHuffmanTable(std::mt19937 &random)
{
    QByteArray counts(16, '\0');
    int symbols = 0;
    for (char &count : counts) {
        count = char(below(random, 4));
        symbols += count;
    }
    QByteArray values;
    for (int i = 0; i < symbols; ++i) {
        values.append(char(below(random, 256)));
    }
    return anyOf(std::array{0, 1, 0x10, 0x11, 0x13, 0x20}, random) + counts + values;
}

QByteArray anyQuantization(std::mt19937 &random)
{
    const bool isDeep = below(random, 2) == 0;
    QByteArray table(1, char((isDeep ? 0x10 : 0) + below(random, 5)));
    const qsizetype level = below(random, 256);
    for (int i = 0; i < (isDeep ? 128 : 64); ++i) {
        table.append(char(below(random, 2) == 0 ? level : below(random, 256)));
    }
    return table;
}

Segment newSegment(std::mt19937 &random)
{
    switch (below(random, 9)) {
    case 0:
        return {0xe1, exifOf(int(below(random, 10)), below(random, 2) == 0), {}};
    case 1: // which color model
        return {0xee, QByteArray("Adobe\0\x64\0\0\0\0", 11) + char(below(random, 4)), {}};
    case 2: // the resolution
        return {0xe0,
                QByteArray("JFIF\0\x01\x01", 7) + char(below(random, 4)) + '\0' + char(below(random, 256)) + '\0'
                    + char(below(random, 256)) + QByteArray(2, '\0'),
                {}};
    case 3: // a piece of a color profile
        return {0xe2,
                QByteArray("ICC_PROFILE\0", 12) + char(below(random, 4)) + char(below(random, 4))
                    + anyBytes(random, 150),
                {}};
    case 4:
        return {restartInterval, QByteArray(1, '\0') + char(below(random, 20)), {}};
    case 5:
        return {tablesOfQuantization, anyQuantization(random), {}};
    case 6:
        return {huffmanTables, anyHuffmanTable(random), {}};
    case 7: // a comment, or the number of lines
        return {uchar(below(random, 2) == 0 ? 0xfe : 0xdc), anyBytes(random, 12), {}};
    default:
        return {uchar(0xe0 + below(random, 16)), anyBytes(random, 40), {}};
    }
}

/// The frame header: kind, precision, size, and how its channels are sampled.
void changeFrame(Segment &frame, std::mt19937 &random)
{
    QByteArray &data = frame.data;
    const qsizetype channels = std::max<qsizetype>(0, (data.size() - 6) / 3);
    const qsizetype channel = 6 + 3 * below(random, channels);
    if (data.size() < 9) {
        return;
    }
    switch (below(random, 8)) {
    case 0:
        frame.marker = uchar(anyOf(std::array{0xc0, 0xc1, 0xc2, 0xc3, 0xc9, 0xca}, random));
        break;
    case 1:
        data[0] = anyOf(std::array{8, 12, 16, 0}, random);
        break;
    case 2: // low bytes of height and width
        data[2 + 2 * below(random, 2)] = char(below(random, 256));
        break;
    case 3:
        data[1 + 2 * below(random, 2)] = char(below(random, 3));
        break;
    case 4: // channels
        data[5] = char(below(random, 5));
        data = data.left(6 + 3 * data[5]).leftJustified(6 + 3 * data[5], '\x11');
        break;
    case 5:
        data[channel] = char(below(random, 5));
        break;
    case 6:
        data[channel + 1] = anyOf(std::array{0x11, 0x12, 0x21, 0x22, 0x41, 0x14, 0x31, 0x13, 0x42, 0x44, 0}, random);
        break;
    default:
        data[channel + 2] = char(below(random, 5));
        break;
    }
}

/// The scan header: channels and their tables, range of coefficients, bits.
void changeScanHeader(QByteArray &data, std::mt19937 &random)
{
    if (data.size() < 6) {
        return;
    }
    const qsizetype last = data.size() - 3;
    switch (below(random, 5)) {
    case 0:
        data[0] = char(below(random, 5));
        data = char(data[0]) + data.mid(1, 2 * data[0]).leftJustified(2 * data[0], '\x01') + data.mid(last);
        break;
    case 1:
        data[1 + below(random, last - 1)] = anyOf(std::array{0, 1, 2, 3, 0x10, 0x11, 0x22}, random);
        break;
    case 2:
        data[last] = char(below(random, 64));
        break;
    case 3:
        data[last + 1] = char(below(random, 65));
        break;
    default:
        data[last + 2] = anyOf(std::array{0, 1, 0x10, 0x21, 0x0d, 0xd0}, random);
        break;
    }
}

/// \a piece of coded data, without the half of a stuffed byte or marker at its end.
QByteArray wholeBytes(const QByteArray &piece)
{
    return piece.endsWith('\xff') ? piece.chopped(1) : piece;
}

/// Coded data: no byte becomes or stops being a marker, but for restarts.
void changeScan(QByteArray &scan, std::mt19937 &random)
{
    const qsizetype at = below(random, scan.size());
    const bool isPlain = byteAt(scan, at) != 0xff && (at == 0 || byteAt(scan, at - 1) != 0xff);
    if (!isPlain || scan.isEmpty()) {
        return;
    }
    switch (below(random, 6)) {
    case 0:
        scan[at] = char(below(random, 255));
        break;
    case 1:
        scan.insert(at, QByteArray("\xff\0", 2)); // stands for the byte 255
        break;
    case 2:
        scan.insert(at, '\xff').insert(at + 1, char(0xd0 + below(random, 8)));
        break;
    case 3:
        scan.remove(at, 1);
        break;
    case 4:
        scan.truncate(at);
        break;
    default:
        scan.insert(at, wholeBytes(scan.mid(at, below(random, 32))));
        break;
    }
}

void changeData(QByteArray &data, std::mt19937 &random)
{
    const qsizetype at = below(random, data.size());
    const qsizetype choice = data.isEmpty() ? 0 : below(random, 4);
    if (choice == 0) {
        data.insert(at, anyBytes(random, 8));
    } else if (choice == 1) {
        data.remove(at, below(random, 16) + 1);
    } else {
        data[at] = char(below(random, 256));
    }
}

void changeSegment(Segment &segment, std::mt19937 &random)
{
    const bool isKnown = below(random, 4) != 0;
    if (isKnown && isFrame(segment.marker)) {
        changeFrame(segment, random);
    } else if (isKnown && segment.marker == startOfScan) {
        changeScanHeader(segment.data, random);
    } else if (hasData(segment.marker)) {
        changeData(segment.data, random);
    }
}

/// Prefers scans: most bytes of a file are in them.
void changeSegments(QList<Segment> &segments, std::mt19937 &random)
{
    const qsizetype at = below(random, segments.size());
    const qsizetype other = below(random, segments.size());
    switch (below(random, 12)) {
    case 0:
        segments.removeAt(at);
        break;
    case 1:
        segments.insert(other, Segment(segments.at(at)));
        break;
    case 2:
        segments.swapItemsAt(at, other);
        break;
    case 3:
    case 4:
        segments.insert(1, newSegment(random));
        break;
    case 5: // anywhere, also between scans
        segments.insert(at + 1, newSegment(random));
        break;
    case 6:
    case 7:
    case 8:
    case 9:
        changeSegment(segments[at], random);
        break;
    default:
        for (Segment &segment : segments) {
            changeScan(segment.scan, random);
        }
        break;
    }
}

} // namespace

QByteArray mutatedJpeg(const QByteArray &jpeg, std::mt19937 &random)
{
    QList<Segment> segments = segmentsOf(jpeg);
    if (segments.size() < 2) {
        return {};
    }
    changeSegments(segments, random);
    return fileOf(segments);
}
