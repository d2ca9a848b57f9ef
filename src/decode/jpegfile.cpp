#include "decode/jpegfile.h"

#include "decode/filewindow.h"

#include <QBuffer>
#include <QImage>
#include <QtEndian>

#include <algorithm>
#include <cstring>

namespace {

constexpr int bitsPerSample = 8;
constexpr qsizetype mostSegmentBytes = qsizetype(16) << 20;

enum Marker : uchar {
    BaselineFrame = 0xc0,
    ExtendedFrame = 0xc1,
    ProgressiveFrame = 0xc2,
    HuffmanTables = 0xc4,
    FirstRestart = 0xd0,
    LastRestart = 0xd7,
    StartOfImage = 0xd8,
    EndOfImage = 0xd9,
    StartOfScan = 0xda,
    QuantizationTables = 0xdb,
    RestartInterval = 0xdd,
    FirstApplication = 0xe0,
    LastApplication = 0xef,
    Comment = 0xfe,
    Fill = 0xff,
};

/// Walks the segments from the start of the image on and notes them in a JpegFile.
class SegmentWalk
{
public:
    explicit SegmentWalk(SharedDevice &device)
        : window(device)
    {
    }

    std::optional<JpegFile> walked()
    {
        if (nextMarker() != StartOfImage || at != 2) {
            return {};
        }
        for (;;) {
            const int marker = nextMarker();
            if (marker == EndOfImage) {
                return file.scans > 0 ? std::optional(file) : std::nullopt;
            }
            if (!take(marker)) {
                return {};
            }
        }
    }

private:
    /// The marker at this place, -1 where there is none; steps behind it.
    int nextMarker()
    {
        int value = byteHere();
        if (value != Fill) {
            return -1;
        }
        while (value == Fill) {
            ++at;
            value = byteHere();
        }
        ++at;
        return value;
    }

    int byteHere()
    {
        const auto byte = window.bytes(at, 1);
        return byte.empty() ? -1 : byte[0];
    }

    bool take(int marker)
    {
        const auto head = window.bytes(at, 2);
        if (head.size() < 2) {
            return false;
        }
        const qsizetype length = qFromBigEndian<quint16>(head.data());
        const auto body = window.bytes(at, length);
        if (length < 2 || qsizetype(body.size()) < length || !takeBody(marker, body)) {
            return false;
        }
        at += length;
        return marker != StartOfScan || skipScan();
    }

    bool takeBody(int marker, std::span<const uchar> body)
    {
        switch (marker) {
        case BaselineFrame:
        case ExtendedFrame:
        case ProgressiveFrame:
            return takeFrame(marker, body);
        case HuffmanTables:
        case QuantizationTables:
        case RestartInterval:
            return true;
        case StartOfScan:
            ++file.scans;
            return file.channels > 0;
        default:
            return (marker == Comment || (marker >= FirstApplication && marker <= LastApplication))
                && keep(marker, body);
        }
    }

    bool takeFrame(int marker, std::span<const uchar> body)
    {
        if (file.channels > 0 || body.size() < 8 || body[2] != bitsPerSample) {
            return false;
        }
        file.size = QSize(qFromBigEndian<quint16>(body.data() + 5), qFromBigEndian<quint16>(body.data() + 3));
        file.channels = body[7];
        file.isSequential = marker != ProgressiveFrame;
        return !file.size.isEmpty() && (file.channels == 1 || file.channels == 3);
    }

    bool keep(int marker, std::span<const uchar> body)
    {
        if (file.scans > 0) {
            return marker != FirstApplication; // Qt takes the resolution from it, and nothing from the others
        }
        file.segments.append(char(Fill)).append(char(marker));
        file.segments.append(reinterpret_cast<const char *>(body.data()), qsizetype(body.size()));
        return file.segments.size() <= mostSegmentBytes;
    }

    /// Steps to the marker behind the scan; false at the end of the file.
    bool skipScan()
    {
        for (;;) {
            const auto data = window.buffered(at, 2);
            if (data.size() < 2) {
                return false;
            }
            const void *found = std::memchr(data.data(), Fill, data.size() - 1);
            if (found == nullptr) {
                at += qint64(data.size()) - 1;
                continue;
            }
            const auto *marker = static_cast<const uchar *>(found);
            at += marker - data.data();
            const uchar kind = marker[1];
            if (kind != 0 && kind != Fill && (kind < FirstRestart || kind > LastRestart)) {
                return true;
            }
            at += kind == Fill ? 1 : 2;
        }
    }

    FileWindow window;
    qint64 at = 0;
    JpegFile file;
};

} // namespace

std::optional<JpegFile> parseJpeg(SharedDevice &device)
{
    return SegmentWalk(device).walked();
}

QByteArray jpegStandIn(const JpegFile &file)
{
    QImage pixel(1, 1, file.channels == 1 ? QImage::Format_Grayscale8 : QImage::Format_RGB32);
    pixel.fill(Qt::white);
    QByteArray written;
    QBuffer buffer(&written);
    buffer.open(QIODevice::WriteOnly);
    pixel.save(&buffer, "JPEG");
    constexpr qsizetype markerLength = 2;
    const char *firstSegment = written.constData() + 2 * markerLength;
    if (written.size() < 20 || uchar(written.at(3)) != FirstApplication) {
        return {};
    }
    const qsizetype ownSegment = markerLength + qFromBigEndian<quint16>(firstSegment);
    return written.left(markerLength) + file.segments + written.mid(markerLength + ownSegment);
}
