#include "pdf/deflate.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <isa-l/igzip_lib.h>
#include <libdeflate.h>
#include <memory>
#include <new>
#include <vector>

namespace {

constexpr qsizetype regularBlock = qsizetype(128) << 10;
constexpr qsizetype longestBlock = qsizetype(256) << 10;
constexpr qsizetype pieceSize = 4096; // of which the statistics are compared
constexpr int sampledBytes = 3; // one of so many is counted
constexpr double greatestChange = 0.5; // of 2.0, between pieces with nothing in common
constexpr qsizetype leastOutput = 4096;

/// How often each of 32 ranges of bytes occurs.
struct Statistics
{
    std::array<quint32, 32> counts{};
    quint32 total = 0;

    void add(const Statistics &other)
    {
        std::transform(counts.begin(), counts.end(), other.counts.begin(), counts.begin(), std::plus<>());
        total += other.total;
    }
};

Statistics statisticsOf(const uchar *bytes, qsizetype size)
{
    Statistics result;
    for (qsizetype i = 0; i < size; i += sampledBytes) {
        ++result.counts[bytes[i] >> 3];
        ++result.total;
    }
    return result;
}

bool differ(const Statistics &one, const Statistics &other)
{
    double change = 0;
    for (size_t i = 0; i < one.counts.size(); ++i) {
        change += std::abs(double(one.counts[i]) / one.total - double(other.counts[i]) / other.total);
    }
    return change > greatestChange;
}

/// Where the block that begins at \a start ends.
qsizetype blockEnd(const QByteArray &bytes, qsizetype start, bool isSplit)
{
    if (!isSplit) {
        return std::min(bytes.size(), start + regularBlock);
    }
    const auto *data = reinterpret_cast<const uchar *>(bytes.constData());
    const qsizetype most = std::min(bytes.size(), start + longestBlock);
    Statistics block;
    for (qsizetype at = start; at < most; at += pieceSize) {
        const Statistics piece = statisticsOf(data + at, std::min(pieceSize, bytes.size() - at));
        if (block.total > 0 && differ(block, piece)) {
            return at;
        }
        block.add(piece);
    }
    return most;
}

class FastDeflater
{
public:
    explicit FastDeflater(qsizetype inputSize)
        : levelMemory(ISAL_DEF_LVL1_DEFAULT)
        , packed(std::max(leastOutput, inputSize / 8), Qt::Uninitialized)
    {
        isal_deflate_init(&stream);
        stream.level = 1;
        stream.level_buf = levelMemory.data();
        stream.level_buf_size = uint32_t(levelMemory.size());
        stream.gzip_flag = IGZIP_ZLIB;
    }

    /// Takes the bytes of a block; a flush ends it, with its Huffman code.
    void add(const uchar *bytes, qsizetype size, bool isLast)
    {
        stream.next_in = const_cast<uchar *>(bytes); // only read
        stream.avail_in = uint32_t(size);
        stream.end_of_stream = isLast ? 1 : 0;
        stream.flush = isLast ? NO_FLUSH : SYNC_FLUSH;
        do {
            if (stream.total_out == size_t(packed.size())) {
                packed.resize(packed.size() * 2);
            }
            const qsizetype free = packed.size() - qsizetype(stream.total_out);
            stream.next_out = reinterpret_cast<uchar *>(packed.data()) + stream.total_out;
            stream.avail_out = uint32_t(std::min(free, qsizetype(1) << 30));
            isal_deflate(&stream);
        } while (stream.avail_out == 0 || stream.avail_in > 0);
    }

    QByteArray take()
    {
        packed.truncate(qsizetype(stream.total_out));
        return std::move(packed);
    }

private:
    isal_zstream stream{};
    std::vector<uint8_t> levelMemory;
    QByteArray packed;
};

struct FreeCompressor
{
    void operator()(libdeflate_compressor *compressor) const { libdeflate_free_compressor(compressor); }
};

} // namespace

QByteArray deflatedFast(const QByteArray &bytes, bool isSplit)
{
    const auto *data = reinterpret_cast<const uchar *>(bytes.constData());
    FastDeflater deflater(bytes.size());
    qsizetype start = 0;
    do {
        const qsizetype end = blockEnd(bytes, start, isSplit);
        deflater.add(data + start, end - start, end == bytes.size());
        start = end;
    } while (start < bytes.size());
    return deflater.take();
}

QByteArray deflatedDense(const QByteArray &bytes, int level)
{
    const std::unique_ptr<libdeflate_compressor, FreeCompressor> compressor(libdeflate_alloc_compressor(level));
    if (!compressor) {
        throw std::bad_alloc();
    }
    const size_t most = libdeflate_zlib_compress_bound(compressor.get(), size_t(bytes.size()));
    QByteArray packed(qsizetype(most), Qt::Uninitialized);
    packed.truncate(qsizetype(
        libdeflate_zlib_compress(compressor.get(), bytes.constData(), size_t(bytes.size()), packed.data(), most)));
    return packed;
}
