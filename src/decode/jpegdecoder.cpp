#include "decode/jpegdecoder.h"

#include "decode/decodedimage.h"
#include "decode/jpegfile.h"
#include "decode/jpegsession.h"
#include "decode/memoryahead.h"
#include "decode/turnedrows.h"

#include <QBuffer>
#include <QImageReader>
#include <QSysInfo>

#include <algorithm>
#include <array>
#include <new>
#include <system_error>
#include <thread>

namespace {

constexpr int bandRows = 64; // in a turned image a cache line of gray pixels, four of color
constexpr int longestSide = 65500; // of libjpeg
constexpr qint64 worthSecondThread = qint64(1) << 19; // pixels

// The second thread must unpack the rows of the first one, too, without
// computing their pixels; so the first one takes the larger share.
constexpr double firstShare = 0.6;

QImageIOHandler::Transformations transformationOf(QByteArray file)
{
    QBuffer buffer(&file);
    buffer.open(QIODevice::ReadOnly);
    return QImageReader(&buffer, "jpeg").transformation();
}

/// Decodes rows of a file into the upright image.
class RowWriter
{
public:
    RowWriter(const Turn &rowTurn, QImage &image)
        : turn(rowTurn)
        , bits(image.bits())
        , stride(image.bytesPerLine())
        , depth(image.depth())
    {
    }

    /// Reads the stored rows from \a first to before \a end, where \a session stands.
    bool write(JpegSession &session, int first, int end) const
    {
        return turn.keepsRows() ? writeStraight(session, first, end) : writeTurned(session, first, end);
    }

private:
    bool writeStraight(JpegSession &session, int first, int end) const
    {
        std::array<uchar *, bandRows> rows{};
        uchar *begin = bits + first * stride;
        MemoryAhead memory(begin, turn.lineOf(first) == first ? bits + end * stride : begin);
        for (int y = first; y < end;) {
            memory.reach(bits + y * stride);
            const int wanted = std::min(bandRows, end - y);
            for (int i = 0; i < wanted; ++i) {
                rows[size_t(i)] = bits + turn.lineOf(y + i) * stride;
            }
            const int count = session.readRows(rows.data(), wanted);
            if (count == 0) {
                return false;
            }
            y += count;
        }
        return true;
    }

    bool writeTurned(JpegSession &session, int first, int end) const
    {
        const size_t rowBytes = size_t(session.size().width()) * size_t(depth / 8);
        std::vector<uchar> band(rowBytes * bandRows);
        std::array<uchar *, bandRows> rows{};
        for (size_t i = 0; i < rows.size(); ++i) {
            rows[i] = band.data() + i * rowBytes;
        }
        for (int y = first; y < end; y += bandRows) {
            const int wanted = std::min(bandRows, end - y);
            for (int done = 0; done < wanted;) {
                const int count = session.readRows(rows.data() + done, wanted - done);
                if (count == 0) {
                    return false;
                }
                done += count;
            }
            turn.write({rows.data(), size_t(wanted)}, y, bits, stride, depth);
        }
        return true;
    }

    const Turn &turn;
    uchar *bits;
    qsizetype stride;
    int depth;
};

class JpegDecoder : public ImageDecoder
{
public:
    JpegDecoder(std::unique_ptr<SharedDevice> shared, JpegFile parsed)
        : device(std::move(shared))
        , file(std::move(parsed))
    {
    }

    QSize size() const override { return file.size; }
    QImage read(DecodeThreads threads) override;

private:
    bool isWorthTwoThreads() const;
    bool readAll(const RowWriter &writer, JpegSession &session) const;
    bool readHalves(const RowWriter &writer, JpegSession &session) const;
    bool readLowerRows(const RowWriter &writer, int first) const;

    std::unique_ptr<SharedDevice> device;
    JpegFile file;
};

QImage JpegDecoder::read(DecodeThreads threads)
{
    JpegSession session(*device);
    if (!session.open(file.channels) || session.size() != file.size) {
        return {};
    }
    const QByteArray standInFile = jpegStandIn(file);
    const QImage standIn = readByQt(standInFile, "jpeg");
    const auto format = file.channels == 1 ? QImage::Format_Grayscale8 : QImage::Format_RGB32;
    if (standIn.format() != format) {
        return {};
    }
    const Turn turn(transformationOf(standInFile), file.size);
    QImage image = allocatedImage(turn.uprightSize(), format);
    if (image.isNull()) {
        return {};
    }
    const RowWriter writer(turn, image);
    const bool isRead =
        threads == DecodeThreads::Two && isWorthTwoThreads() ? readHalves(writer, session) : readAll(writer, session);
    if (!isRead) {
        return {};
    }
    return copyMetadata(standIn, image) ? image : QImage();
}

/// Gray files gain less than the second pass costs, and progressive ones must be
/// unpacked as a whole first.
bool JpegDecoder::isWorthTwoThreads() const
{
    return file.channels == 3 && file.isSequential && file.scans == 1
        && qint64(file.size.width()) * file.size.height() >= worthSecondThread;
}

bool JpegDecoder::readAll(const RowWriter &writer, JpegSession &session) const
{
    return session.start() && writer.write(session, 0, file.size.height()) && session.finish();
}

bool JpegDecoder::readHalves(const RowWriter &writer, JpegSession &session) const
{
    const int first = int(file.size.height() * firstShare) / bandRows * bandRows;
    bool isLowerRead = false;
    std::thread helper;
    try {
        helper = std::thread([&] { isLowerRead = readLowerRows(writer, first); });
    } catch (const std::system_error &) {
        return readAll(writer, session); // no thread to be had
    }
    const bool isUpperRead = session.start() && writer.write(session, 0, first);
    helper.join();
    return isUpperRead && isLowerRead;
}

/// Runs in a thread, from which no exception may come.
bool JpegDecoder::readLowerRows(const RowWriter &writer, int first) const
{
    try {
        JpegSession session(*device);
        return session.open(file.channels) && session.start() && session.skipRows(first)
            && writer.write(session, first, file.size.height()) && session.finish();
    } catch (const std::bad_alloc &) {
        return false;
    }
}

} // namespace

std::unique_ptr<ImageDecoder> makeJpegDecoder(QIODevice &device)
{
    // The order of the bytes in a word is that of the library only here.
    if (QSysInfo::ByteOrder != QSysInfo::LittleEndian) {
        return nullptr;
    }
    auto shared = std::make_unique<SharedDevice>(device);
    const std::optional<JpegFile> file = parseJpeg(*shared);
    if (!file || file->size.width() > longestSide || file->size.height() > longestSide) {
        return nullptr;
    }
    return std::make_unique<JpegDecoder>(std::move(shared), *file);
}
