#include "page/cutscan.h"

#include "page/bandview.h"
#include "page/multiversion.h"

#include <QList>

#include <algorithm>
#include <array>
#include <cstring>
#include <numeric>

#ifdef QUILLMARCH_HAS_MULTIVERSION
#include <immintrin.h>
#endif

namespace {

// Long enough for the vector units, short enough to leave a row early and to
// count a block's pixels in sixteen bits, or eight pixels wide in bytes.
constexpr int blockLength = 512;

// How many rows of an unusual format are converted at a time.
constexpr int convertedRows = 64;

// 192 is 0b11000000, so a red of 192 or more is one with both top bits set;
// the same goes for an alpha or a gray value.
constexpr QRgb brightRed = 0x00c00000;
constexpr QRgb highAlpha = 0xc0000000;

QUILLMARCH_MULTIVERSION
quint32 countBrightReds(const QRgb *pixels, int length)
{
    quint32 bright = 0;
    for (int x = 0; x < length; ++x) {
        bright += (pixels[x] & brightRed) == brightRed ? 1U : 0U;
    }
    return bright;
}

struct AlphaSummary
{
    quint32 candidates; // pixels with a red and an alpha of 192 or more
    bool opaque; // all pixels are
};

QUILLMARCH_MULTIVERSION
AlphaSummary summarizeAlpha(const QRgb *pixels, int length)
{
    quint32 candidates = 0;
    QRgb common = ~QRgb(0);
    for (int x = 0; x < length; ++x) {
        candidates += (pixels[x] & (brightRed | highAlpha)) == (brightRed | highAlpha) ? 1U : 0U;
        common &= pixels[x];
    }
    return {candidates, qAlpha(common) == 255};
}

// Of a pixel that is stored with its plain colour, the red that premultiplying
// by alpha leaves is what counts: (t + (t >> 8) + 128) >> 8 with t = red x
// alpha, which reaches 192 from this product on.
QUILLMARCH_MULTIVERSION
quint32 countBrightProducts(const QRgb *pixels, int length)
{
    constexpr quint16 brightProduct = 48834;
    quint16 bright = 0; // sixteen bits, as the product has, keep the vectors full
    for (int x = 0; x < length; ++x) {
        const auto alphaAndRed = quint16(pixels[x] >> 16);
        const auto product = quint16((alphaAndRed & 0xff) * (alphaAndRed >> 8));
        bright = quint16(bright + (product >= brightProduct ? 1 : 0));
    }
    return bright;
}

// Eight pixels at a time: a byte of `sums` counts every eighth pixel.
QUILLMARCH_MULTIVERSION
quint32 countBrightGrays(const uchar *pixels, int length)
{
    constexpr quint64 ones = 0x0101010101010101;
    constexpr quint64 lowBytes = 0x00ff00ff00ff00ff;
    quint64 sums = 0;
    int x = 0;
    for (; x + 8 <= length; x += 8) {
        quint64 eight = 0;
        std::memcpy(&eight, pixels + x, sizeof eight);
        sums += ((eight & (eight << 1)) >> 7) & ones;
    }
    const quint64 pairs = (sums & lowBytes) + ((sums >> 8) & lowBytes);
    auto bright = quint32((pairs * 0x0001000100010001) >> 48);
    for (; x < length; ++x) {
        bright += pixels[x] >= brightLevel ? 1U : 0U;
    }
    return bright;
}

// Which indexes of a palette are bright, a byte each, 1 or 0.
using BrightIndexes = std::array<quint8, 256>;

/// The same with a bit an index: bit h % 8 of byte l in half h / 8 stands for
/// the index with the high half h and the low half l.
using BrightBits = std::array<std::array<quint8, 16>, 2>;

// How many indexes are looked up together.
constexpr int indexesAtOnce = 32;

BrightBits bitsOf(const BrightIndexes &bright)
{
    BrightBits bits{};
    for (size_t index = 0; index < bright.size(); ++index) {
        const size_t high = index / 16;
        bits[high / 8][index % 16] |= quint8(bright[index] << (high % 8));
    }
    return bits;
}

#ifdef QUILLMARCH_HAS_MULTIVERSION
/// Tests 32 indexes at a time, each in a set of 256 bits: the low half of an
/// index chooses a byte of the set and the high half a bit of it. A set test by
/// shuffles, as in Mula, "SIMD-ized check which bytes are in a set", 2018.
__attribute__((target("avx2"))) quint32 countBrightIndexes(const uchar *pixels, int length, const BrightIndexes &,
                                                           const BrightBits &bits)
{
    const auto *halves = reinterpret_cast<const __m128i *>(bits.data());
    const __m256i firstHalf = _mm256_broadcastsi128_si256(_mm_loadu_si128(halves));
    const __m256i secondHalf = _mm256_broadcastsi128_si256(_mm_loadu_si128(halves + 1));
    const __m256i bitOfHigh = _mm256_set1_epi64x(qint64(0x8040201008040201));
    const __m256i lowHalf = _mm256_set1_epi8(0x0f);
    __m256i sums = _mm256_setzero_si256();
    for (int x = 0; x < length; x += indexesAtOnce) {
        const __m256i index = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(pixels + x));
        const __m256i low = _mm256_and_si256(index, lowHalf);
        const __m256i high = _mm256_and_si256(_mm256_srli_epi16(index, 4), lowHalf);
        const __m256i set = _mm256_blendv_epi8(_mm256_shuffle_epi8(firstHalf, low),
                                               _mm256_shuffle_epi8(secondHalf, low), index); // by its top bit
        const __m256i bit = _mm256_shuffle_epi8(bitOfHigh, high);
        const __m256i isBright = _mm256_cmpeq_epi8(_mm256_and_si256(set, bit), bit);
        const __m256i ones = _mm256_sub_epi8(_mm256_setzero_si256(), isBright);
        sums = _mm256_add_epi64(sums, _mm256_sad_epu8(ones, _mm256_setzero_si256()));
    }
    return quint32(_mm256_extract_epi64(sums, 0) + _mm256_extract_epi64(sums, 1) + _mm256_extract_epi64(sums, 2)
                   + _mm256_extract_epi64(sums, 3));
}

__attribute__((target("default")))
#endif
quint32
countBrightIndexes(const uchar *pixels, int length, const BrightIndexes &bright, const BrightBits &)
{
    std::array<quint32, 4> counts{}; // additions that do not wait for each other
    for (int x = 0; x < length; x += 4) {
        for (size_t i = 0; i < counts.size(); ++i) {
            counts[i] += bright[pixels[size_t(x) + i]];
        }
    }
    return counts[0] + counts[1] + counts[2] + counts[3];
}

struct RedOf32
{
    using Pixel = QRgb;
    quint32 count(const QRgb *pixels, int length) const { return countBrightReds(pixels, length); }
};

struct PremultipliedRedOf32
{
    using Pixel = QRgb;
    quint32 count(const QRgb *pixels, int length) const
    {
        const auto [candidates, opaque] = summarizeAlpha(pixels, length);
        return opaque || candidates == 0 ? candidates : countBrightProducts(pixels, length);
    }
};

struct Gray8
{
    using Pixel = uchar;
    quint32 count(const uchar *pixels, int length) const { return countBrightGrays(pixels, length); }
};

/// Looks up which indexes of a palette image are bright.
class PaletteRule
{
public:
    using Pixel = uchar;

    /// Takes the colours of \a image as its conversion to \a format gives them.
    PaletteRule(const QImage &image, QImage::Format format)
    {
        QImage indexes(int(bright.size()), 1, QImage::Format_Indexed8);
        indexes.setColorTable(image.colorTable());
        std::iota(indexes.scanLine(0), indexes.scanLine(0) + bright.size(), uchar(0));
        const QImage colors = indexes.convertToFormat(format);
        const auto *color = reinterpret_cast<const QRgb *>(colors.constScanLine(0));
        for (size_t index = 0; index < bright.size(); ++index) {
            bright[index] = (color[index] & brightRed) == brightRed ? 1 : 0;
        }
        brightBits = bitsOf(bright);
    }

    quint32 count(const uchar *pixels, int length) const
    {
        const int whole = length - length % indexesAtOnce;
        quint32 count = countBrightIndexes(pixels, whole, bright, brightBits);
        for (int x = whole; x < length; ++x) {
            count += bright[pixels[x]];
        }
        return count;
    }

private:
    BrightIndexes bright{};
    BrightBits brightBits{};
};

/// The bright pixels of a row of \a width, or some number not above \a best
/// once the row can no longer exceed \a best.
template <typename Rule>
quint32 countRow(const Rule &rule, const typename Rule::Pixel *row, int width, quint32 best)
{
    quint32 count = 0;
    int x = 0;
    for (; x + blockLength <= width; x += blockLength) {
        if (count + quint32(width - x) <= best) {
            return count;
        }
        count += rule.count(row + x, blockLength);
    }
    return count + rule.count(row + x, width - x);
}

struct BestRow
{
    quint32 count = 0;
    int row = 0;
};

template <typename Rule>
void scanRows(const Rule &rule, const QImage &image, int firstRow, BestRow &best)
{
    const auto width = quint32(image.width());
    for (int y = 0; y < image.height() && best.count < width; ++y) {
        const auto *row = reinterpret_cast<const typename Rule::Pixel *>(image.constScanLine(y));
        const quint32 count = countRow(rule, row, image.width(), best.count);
        if (count > best.count) {
            best = {count, firstRow + y};
        }
    }
}

template <typename Rule>
int bestRow(const Rule &rule, const QImage &image)
{
    BestRow best;
    scanRows(rule, image, 0, best);
    return best.row;
}

int bestRowConverted(const QImage &image, QImage::Format format)
{
    BestRow best;
    for (int y = 0; y < image.height(); y += convertedRows) {
        const QRect rows(0, y, image.width(), std::min(convertedRows, image.height() - y));
        scanRows(RedOf32(), rowsView(image, rows).convertToFormat(format), y, best);
    }
    return best.row;
}

int bestRowByPixel(const QImage &image)
{
    QList<QRgb> pixels(image.width());
    BestRow best;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            pixels[x] = image.pixel(x, y);
        }
        const quint32 count = countRow(RedOf32(), pixels.constData(), image.width(), best.count);
        if (count > best.count) {
            best = {count, y};
        }
    }
    return best.row;
}

/// The 32-bit format in which QImage::pixel() tells the pixels of \a image.
QImage::Format pixelFormat(const QImage &image)
{
    if (!image.hasAlphaChannel()) {
        return QImage::Format_RGB32;
    }
    return image.pixelFormat().premultiplied() == QPixelFormat::Premultiplied ? QImage::Format_ARGB32_Premultiplied
                                                                              : QImage::Format_ARGB32;
}

} // namespace

int brightestRow(const QImage &image)
{
    switch (image.format()) {
    case QImage::Format_RGB32:
    case QImage::Format_ARGB32:
    case QImage::Format_ARGB32_Premultiplied:
        return bestRow(RedOf32(), image);
    case QImage::Format_Grayscale8:
        return bestRow(Gray8(), image);
    case QImage::Format_Indexed8:
        return bestRow(PaletteRule(image, pixelFormat(image)), image);
    case QImage::Format_RGBA16FPx4:
    case QImage::Format_RGBA32FPx4:
        return bestRowByPixel(image); // their conversion to 32 bits goes through premultiplied colours
    default:
        return bestRowConverted(image, pixelFormat(image));
    }
}

int brightestRow(const QPixmap &source, const QRect &window)
{
    const QImage view = rowsView(source.toImage(), window);
    const QImage::Format copied = view.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32;
    switch (view.format()) {
    case QImage::Format_Invalid:
        return 0;
    case QImage::Format_RGB32:
    case QImage::Format_ARGB32_Premultiplied:
        return bestRow(RedOf32(), view);
    case QImage::Format_ARGB32:
        return bestRow(PremultipliedRedOf32(), view);
    case QImage::Format_Grayscale8:
        return bestRow(Gray8(), view);
    case QImage::Format_Indexed8:
        return bestRow(PaletteRule(view, copied), view);
    default:
        return bestRowConverted(view, copied);
    }
}
