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
constexpr qsizetype emptyShare = 200; // a longer search costs nothing where there is next to nothing
constexpr int levelOfEmptyPages = 6;
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
    const bool isSplit = rows.pixelBytes == 1;
    return deflatedFast(filtered, isSplit).size() < deflatedFast(some, isSplit).size();
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
        const bool isEmpty = image.bytes.size() < bytes.size() / emptyShare;
        const QByteArray dense = deflatedDense(bytes, isEmpty ? levelOfEmptyPages : levelOfFlatPages);
        image.bytes = dense.size() < image.bytes.size() ? dense : image.bytes;
    }
}

void packIndexes(const QByteArray &rows, qsizetype rowBytes, PackedImage &image)
{
    image.coding = PackedImage::Coding::PredictedFlate;
    image.bytes = deflatedDense(filteredForText(rows, rowBytes), levelOfPalettes);
}

/// Whether all of \a alpha is 0 or 255.
bool isAllOrNothing(const QByteArray &alpha)
{
    uchar others = 0;
    for (const char each : alpha) {
        others |= uchar(uchar(each) + 1U) & 0xfeU; // 0 and 255 become 1 and 0
    }
    return others == 0;
}

/// The highest bits of \a alpha, eight to a byte; each row begins a new byte.
QByteArray bitsOf(const QByteArray &alpha, int width)
{
    QByteArray bits;
    bits.reserve(alpha.size() / width * ((width + 7) / 8));
    for (qsizetype row = 0; row < alpha.size(); row += width) {
        for (int x = 0; x < width; x += 8) {
            int byte = 0;
            for (int i = 0; i < 8; ++i) {
                byte = byte << 1 | (x + i < width ? uchar(alpha.at(row + x + i)) >> 7 : 0);
            }
            bits.append(char(byte));
        }
    }
    return bits;
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
    if (bits == 8 && isAllOrNothing(rows)) {
        packed.bits = 1;
        packed.bytes = deflatedDense(bitsOf(rows, width), levelOfPalettes);
    } else {
        packSamples({rows, rowBytes, bits / 8}, packed);
    }
    return packed;
}
