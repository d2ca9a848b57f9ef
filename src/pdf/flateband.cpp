#include "pdf/flateband.h"

#include "pdf/deflate.h"
#include "pdf/rowfilter.h"
#include "pdf/samplerows.h"

#include <algorithm>

namespace {

// What is packed to less than this share of its size is a flat page, of which
// deflatedFast() misses many matches, and which is soon searched again.
constexpr qsizetype flatShare = 36;
constexpr int levelOfFlatPages = 1;
constexpr int levelOfPalettes = 5; // they have a third of the bytes of colors, or fewer

// Of so many rows, the first ones show whether a photo filter helps.
constexpr qsizetype sampledRows = 8;
constexpr qsizetype samplePitch = 128;

/// Rows of samples.
struct Rows
{
    QByteArray bytes;
    qsizetype rowBytes;
    int pixelBytes;
};

QByteArray someRows(const Rows &rows)
{
    QByteArray some;
    for (qsizetype at = 0; at < rows.bytes.size(); at += samplePitch * rows.rowBytes) {
        some += rows.bytes.mid(at, sampledRows * rows.rowBytes);
    }
    return some;
}

/// Screenshots pack better without a filter, and photos with one.
bool isPhoto(const Rows &rows)
{
    const QByteArray some = someRows(rows);
    const QByteArray filtered = filteredForPhotos(some, rows.rowBytes, rows.pixelBytes);
    return deflatedFast(filtered, false).size() < deflatedFast(some, false).size();
}

void packSamples(const Rows &rows, PackedImage &image)
{
    QByteArray bytes = rows.bytes;
    if (isPhoto(rows)) {
        bytes = filteredForPhotos(rows.bytes, rows.rowBytes, rows.pixelBytes);
        image.coding = PackedImage::Coding::PredictedFlate;
    }
    image.bytes = deflatedFast(bytes, rows.pixelBytes == 1);
    if (image.bytes.size() < bytes.size() / flatShare) {
        const QByteArray dense = deflatedDense(bytes, levelOfFlatPages);
        image.bytes = dense.size() < image.bytes.size() ? dense : image.bytes;
    }
}

void packIndexes(const QByteArray &rows, qsizetype rowBytes, PackedImage &image)
{
    image.coding = PackedImage::Coding::PredictedFlate;
    image.bytes = deflatedDense(filteredForText(rows, rowBytes), levelOfPalettes);
}

uchar *bytesOf(QByteArray &array)
{
    return reinterpret_cast<uchar *>(array.data());
}

} // namespace

PackedImage packColors(const SampleRows &samples, int width, int first, int end)
{
    PackedImage packed = packedImage(width, end - first, samples.channels(), samples.bits());
    const qsizetype rowBytes = samples.rowBytes();
    QByteArray rows((end - first) * rowBytes, Qt::Uninitialized);
    samples.writeColors(first, end - first, bytesOf(rows), rowBytes);
    if (samples.palette().isEmpty()) {
        packSamples({rows, rowBytes, samples.channels() * samples.bits() / 8}, packed);
    } else {
        packed.palette = samples.palette();
        packIndexes(rows, rowBytes, packed);
    }
    return packed;
}

PackedImage packAlpha(const SampleRows &samples, int width, int first, int end)
{
    const int bits = samples.kind() == SampleRows::Kind::Color16 ? 16 : 8;
    PackedImage packed = packedImage(width, end - first, 1, bits);
    const qsizetype rowBytes = samples.alphaRowBytes();
    QByteArray rows((end - first) * rowBytes, Qt::Uninitialized);
    samples.writeAlpha(first, end - first, bytesOf(rows), rowBytes);
    packSamples({rows, rowBytes, bits / 8}, packed);
    return packed;
}
