#include "pixels/brightcount.h"

#include "pixels/processor.h"

#include <algorithm>
#include <bit>
#include <cstring>

#ifdef QUILLMARCH_HAS_VECTORS
#include <immintrin.h>
#endif

namespace {

// After so many pixels a row is looked at whether it can still win: enough for
// the vector units, few enough to count eight pixels wide in bytes.
constexpr int blockLength = 256;

// Both top bits, so that a level is bright if it has all bits of this one.
static_assert(brightLevel == 0b11000000);
constexpr QRgb brightRed = QRgb(brightLevel) << 16;

/// The red that premultiplying by alpha leaves of \a product, red x alpha, as
/// qPremultiply() computes it.
constexpr int premultipliedRed(int product)
{
    return (product + (product >> 8) + 128) >> 8;
}

// The smallest product whose premultiplied red is bright.
constexpr int brightProduct = 48834;
static_assert(premultipliedRed(brightProduct) == brightLevel && premultipliedRed(brightProduct - 1) < brightLevel);

// So far ahead, in bytes, memory is asked for what will be read: about a row.
constexpr qsizetype fetchDistance = 4096;
constexpr qsizetype cacheLine = 64;

/// Asks for what lies behind a block of \a length \a pixels. Whether a row is left
/// early depends on what is read, so that the processor does not run ahead far
/// enough by itself.
template <typename Pixel>
Q_ALWAYS_INLINE void fetchAhead([[maybe_unused]] const Pixel *pixels, [[maybe_unused]] int length)
{
#ifdef __GNUC__
    const char *ahead = reinterpret_cast<const char *>(pixels) + fetchDistance;
    for (qsizetype at = 0; at < length * qsizetype(sizeof(Pixel)); at += cacheLine) {
        __builtin_prefetch(ahead + at); // harmless beyond the end of the image
    }
#endif
}

/// Whether a row with \a count bright pixels among those that were read, and
/// \a rest others, can have more than \a best.
constexpr bool canExceed(quint32 count, int rest, quint32 best)
{
    return count + quint32(rest) > best;
}

/// Counts block by block with \a countBlock(pixels, length). Inlined, so that it
/// is compiled for the instructions of its caller.
template <typename Pixel, typename CountBlock>
Q_ALWAYS_INLINE quint32 countRow(const Pixel *row, int width, quint32 best, CountBlock countBlock)
{
    quint32 count = 0;
    for (int x = 0; x < width && canExceed(count, width - x, best); x += blockLength) {
        const int length = std::min(blockLength, width - x);
        fetchAhead(row + x, length);
        count += countBlock(row + x, length);
    }
    return count;
}

Q_ALWAYS_INLINE quint32 redsOfBlock(const QRgb *pixels, int length)
{
    quint32 bright = 0;
    for (int x = 0; x < length; ++x) {
        bright += (pixels[x] & brightRed) == brightRed ? 1U : 0U;
    }
    return bright;
}

Q_ALWAYS_INLINE quint32 productsOfBlock(const QRgb *pixels, int length)
{
    quint32 bright = 0;
    for (int x = 0; x < length; ++x) {
        bright += qAlpha(pixels[x]) * qRed(pixels[x]) >= brightProduct ? 1U : 0U;
    }
    return bright;
}

// Eight pixels at a time: a byte of `sums` counts every eighth pixel.
Q_ALWAYS_INLINE quint32 graysOfBlock(const uchar *pixels, int length)
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

Q_ALWAYS_INLINE quint32 indexesOfBlock(const uchar *pixels, int length, const IndexSet &wanted)
{
    std::array<quint32, 4> counts{}; // additions that do not wait for each other
    int x = 0;
    for (; x + 4 <= length; x += 4) {
        for (size_t i = 0; i < counts.size(); ++i) {
            counts[i] += wanted.flags[pixels[size_t(x) + i]];
        }
    }
    for (; x < length; ++x) {
        counts[0] += wanted.flags[pixels[x]];
    }
    return counts[0] + counts[1] + counts[2] + counts[3];
}

quint32 countReds(const QRgb *row, int width, quint32 best)
{
    return countRow(row, width, best, redsOfBlock);
}

quint32 countProducts(const QRgb *row, int width, quint32 best)
{
    return countRow(row, width, best, productsOfBlock);
}

quint32 countGrays(const uchar *row, int width, quint32 best)
{
    return countRow(row, width, best, graysOfBlock);
}

quint32 countIndexes(const uchar *row, int width, quint32 best, const IndexSet &wanted)
{
    return countRow(row, width, best,
                    [&wanted](const uchar *pixels, int length) { return indexesOfBlock(pixels, length, wanted); });
}

#ifdef QUILLMARCH_HAS_VECTORS

QUILLMARCH_AVX2 quint32 countRedsAvx2(const QRgb *row, int width, quint32 best)
{
    return countRow(row, width, best, redsOfBlock);
}

QUILLMARCH_AVX2 quint32 countGraysAvx2(const uchar *row, int width, quint32 best)
{
    return countRow(row, width, best, graysOfBlock);
}

template <typename Pixel>
QUILLMARCH_AVX2 __m256i eightWords(const Pixel *pixels)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i *>(pixels));
}

/// The sum of the four 64-bit parts of \a sums.
QUILLMARCH_AVX2 quint32 total(__m256i sums)
{
    const __m128i pairs = _mm_add_epi64(_mm256_castsi256_si128(sums), _mm256_extracti128_si256(sums, 1));
    return quint32(_mm_cvtsi128_si64(pairs) + _mm_extract_epi64(pairs, 1));
}

QUILLMARCH_AVX2 quint32 countProductsAvx2(const QRgb *row, int width, quint32 best)
{
    constexpr int step = 8;
    const __m256i redMask = _mm256_set1_epi32(0x00ff0000);
    const __m256i limit = _mm256_set1_epi32(brightProduct - 1);
    quint32 count = 0;
    int x = 0;
    while (x + step <= width && canExceed(count, width - x, best)) {
        const int end = std::min(x + blockLength, width - width % step);
        __m256i sums = _mm256_setzero_si256();
        fetchAhead(row + x, end - x);
        for (; x < end; x += step) {
            const __m256i pixels = eightWords(row + x);
            // In each upper half the red, and the alpha; the lower halves meet a zero.
            const __m256i product = _mm256_madd_epi16(_mm256_and_si256(pixels, redMask), _mm256_srli_epi32(pixels, 8));
            sums = _mm256_sub_epi32(sums, _mm256_cmpgt_epi32(product, limit));
        }
        count += total(_mm256_sad_epu8(sums, _mm256_setzero_si256())); // a block gives a lane at most 32
    }
    return x + step > width ? count + productsOfBlock(row + x, width - x) : count;
}

/// Tests 32 indexes at a time, each in a set of 256 bits: the low half of an
/// index chooses a byte of the set and the high half a bit of it. A set test by
/// shuffles, as in Mula, "SIMD-ized check which bytes are in a set", 2018.
QUILLMARCH_AVX2 quint32 countIndexesAvx2(const uchar *row, int width, quint32 best, const IndexSet &wanted)
{
    constexpr int step = 32;
    const auto *halves = reinterpret_cast<const __m128i *>(wanted.halves.data());
    const __m256i firstHalf = _mm256_broadcastsi128_si256(_mm_loadu_si128(halves));
    const __m256i secondHalf = _mm256_broadcastsi128_si256(_mm_loadu_si128(halves + 1));
    const __m256i bitOfHigh = _mm256_set1_epi64x(qint64(0x8040201008040201));
    const __m256i topAndLow = _mm256_set1_epi8(char(0x8f));
    const __m256i top = _mm256_set1_epi8(char(0x80));
    const __m256i low = _mm256_set1_epi8(0x0f);
    quint32 count = 0;
    int x = 0;
    while (x + step <= width && canExceed(count, width - x, best)) {
        const int end = std::min(x + blockLength, width - width % step);
        __m256i sums = _mm256_setzero_si256();
        fetchAhead(row + x, end - x);
        for (; x < end; x += step) {
            const __m256i index = eightWords(row + x);
            const __m256i place = _mm256_and_si256(index, topAndLow); // a shuffle gives zero where the top bit is set
            const __m256i set = _mm256_or_si256(_mm256_shuffle_epi8(firstHalf, place),
                                                _mm256_shuffle_epi8(secondHalf, _mm256_xor_si256(place, top)));
            const __m256i bit = _mm256_shuffle_epi8(bitOfHigh, _mm256_and_si256(_mm256_srli_epi16(index, 4), low));
            sums = _mm256_sub_epi8(sums, _mm256_cmpeq_epi8(_mm256_and_si256(set, bit), bit));
        }
        count += total(_mm256_sad_epu8(sums, _mm256_setzero_si256()));
    }
    return x + step > width ? count + indexesOfBlock(row + x, width - x, wanted) : count;
}

/// Tests the 64 \a indexes: the lower six bits of an index choose a byte of
/// \a quarters and the upper two a bit of it.
QUILLMARCH_AVX512 __mmask64 areBright(__m512i indexes, __m512i quarters)
{
    const __m512i bitOfQuarter = _mm512_set1_epi32(0x08040201);
    const __m512i quarter = _mm512_and_si512(_mm512_srli_epi16(indexes, 6), _mm512_set1_epi8(3));
    // Masked, though all are wanted: gcc warns of its own header without (bug 105593).
    const __m512i set = _mm512_maskz_permutexvar_epi8(~__mmask64(0), indexes, quarters);
    return _mm512_test_epi8_mask(set, _mm512_shuffle_epi8(bitOfQuarter, quarter));
}

QUILLMARCH_AVX512 quint32 countIndexesAvx512(const uchar *row, int width, quint32 best, const IndexSet &wanted)
{
    constexpr int step = 64;
    const __m512i quarters = _mm512_loadu_si512(wanted.quarters.data());
    quint32 count = 0;
    int x = 0;
    while (x + step <= width && canExceed(count, width - x, best)) {
        const int end = std::min(x + blockLength, width - width % step);
        fetchAhead(row + x, end - x);
        for (; x < end; x += step) {
            count += quint32(std::popcount(areBright(_mm512_loadu_si512(row + x), quarters)));
        }
    }
    if (x + step > width && x < width) {
        const __mmask64 rest = ~__mmask64(0) >> (step - (width - x));
        count += quint32(std::popcount(areBright(_mm512_maskz_loadu_epi8(rest, row + x), quarters) & rest));
    }
    return count;
}

#endif

} // namespace

IndexSet::IndexSet(const std::array<bool, 256> &contained)
{
    for (size_t index = 0; index < contained.size(); ++index) {
        if (contained[index]) {
            const size_t high = index / 16;
            flags[index] = 1;
            halves[high / 8][index % 16] |= quint8(1U << (high % 8));
            quarters[index % 64] |= quint8(1U << (index / 64));
        }
    }
}

QList<BrightCounter> brightCounters()
{
    QList<BrightCounter> counters{{"any", countReds, countProducts, countGrays, countIndexes}};
#ifdef QUILLMARCH_HAS_VECTORS
    if (hasAvx2()) {
        counters.append({"AVX2", countRedsAvx2, countProductsAvx2, countGraysAvx2, countIndexesAvx2});
    }
    if (hasAvx512()) {
        counters.append({"AVX-512 VBMI", countRedsAvx2, countProductsAvx2, countGraysAvx2, countIndexesAvx512});
    }
#endif
    return counters;
}

const BrightCounter &fastestBrightCounter()
{
    static const BrightCounter fastest = brightCounters().last();
    return fastest;
}
