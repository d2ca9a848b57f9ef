#include "pdf/flateband.h"

#include "pdf/samplerows.h"

#include <libdeflate.h>
#include <memory>
#include <new>

namespace {

constexpr int compressionLevel = 1;

struct FreeCompressor
{
    void operator()(libdeflate_compressor *compressor) const { libdeflate_free_compressor(compressor); }
};

QByteArray deflated(const QByteArray &bytes)
{
    const std::unique_ptr<libdeflate_compressor, FreeCompressor> compressor(
        libdeflate_alloc_compressor(compressionLevel));
    if (!compressor) {
        throw std::bad_alloc();
    }
    const size_t most = libdeflate_zlib_compress_bound(compressor.get(), size_t(bytes.size()));
    QByteArray packed(qsizetype(most), Qt::Uninitialized);
    packed.truncate(qsizetype(
        libdeflate_zlib_compress(compressor.get(), bytes.constData(), size_t(bytes.size()), packed.data(), most)));
    return packed;
}

/// Room for \a rows rows of \a rowBytes bytes.
QByteArray rowsBuffer(qsizetype rows, qsizetype rowBytes)
{
    return QByteArray(rows * rowBytes, Qt::Uninitialized);
}

} // namespace

PackedImage packColors(const SampleRows &samples, int width, int first, int end)
{
    QByteArray raw = rowsBuffer(end - first, samples.rowBytes());
    samples.writeColors(first, end - first, reinterpret_cast<uchar *>(raw.data()), samples.rowBytes());
    PackedImage packed = packedImage(width, end - first, samples.channels(), samples.bits());
    packed.palette = samples.palette();
    packed.bytes = deflated(raw);
    return packed;
}

PackedImage packAlpha(const SampleRows &samples, int width, int first, int end)
{
    QByteArray raw = rowsBuffer(end - first, samples.alphaRowBytes());
    samples.writeAlpha(first, end - first, reinterpret_cast<uchar *>(raw.data()), samples.alphaRowBytes());
    const int bits = samples.kind() == SampleRows::Kind::Color16 ? 16 : 8;
    PackedImage packed = packedImage(width, end - first, 1, bits);
    packed.bytes = deflated(raw);
    return packed;
}
