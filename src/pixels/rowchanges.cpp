#include "pixels/rowchanges.h"

#include "pixels/processor.h"

#include <algorithm>
#include <array>

#ifdef QUILLMARCH_HAS_VECTORS
#include <immintrin.h>
#endif

namespace {

// The squares of so many bytes, and of a few more, fit 32 bits together.
constexpr qsizetype bytesOfBlock = 32768;

quint32 squaresOfBlock(const uchar *a, const uchar *b, int length)
{
    quint32 sum = 0;
    for (int i = 0; i < length; ++i) {
        const int difference = a[i] - b[i];
        sum += quint32(difference * difference);
    }
    return sum;
}

quint64 squares(const uchar *a, const uchar *b, qsizetype length)
{
    quint64 sum = 0;
    for (qsizetype at = 0; at < length; at += bytesOfBlock) {
        sum += squaresOfBlock(a + at, b + at, int(std::min(bytesOfBlock, length - at)));
    }
    return sum;
}

/// The changes of the first \a length bytes, added up by \a squares.
template <typename Squares>
RowChanges changesOfHead(const ComparedRows &rows, qsizetype length, Squares squares)
{
    const auto toTheLeft = [&](qsizetype distance) {
        return distance < length ? squares(rows.row + distance, rows.row, length - distance) : 0;
    };
    return {toTheLeft(rows.pixel), toTheLeft(rows.span), squares(rows.row, rows.above, length),
            rows.farAbove != nullptr ? squares(rows.row, rows.farAbove, length) : 0};
}

RowChanges countChanges(const ComparedRows &rows)
{
    return changesOfHead(rows, rows.length, squares);
}

#ifdef QUILLMARCH_HAS_VECTORS

// So far ahead, in bytes, memory is asked for what will be read: about two rows.
constexpr qsizetype fetchDistance = 8192;

void add(RowChanges &sum, const RowChanges &part)
{
    sum.near += part.near;
    sum.wide += part.wide;
    sum.down += part.down;
    sum.drift += part.drift;
}

QUILLMARCH_AVX2 __m256i vectorAt(const uchar *bytes)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i *>(bytes));
}

/// All bytes of a vector.
QUILLMARCH_AVX2 __m256i allBytes()
{
    return _mm256_set1_epi8(-1);
}

/// The last \a count bytes of a vector. The last bytes of a row are read together
/// with some before them, which have been counted already.
QUILLMARCH_AVX2 __m256i lastBytes(qsizetype count)
{
    static constexpr std::array<uchar, 64> flags = [] {
        std::array<uchar, 64> result{};
        std::fill(result.begin() + 32, result.end(), uchar(255));
        return result;
    }();
    return vectorAt(flags.data() + count);
}

/// Adds the squares of those of the 32 differences that \a kept has to the eight
/// \a sums.
QUILLMARCH_AVX2 inline __m256i addSquares(__m256i sums, __m256i a, __m256i b, __m256i kept)
{
    const __m256i all = _mm256_or_si256(_mm256_subs_epu8(a, b), _mm256_subs_epu8(b, a));
    const __m256i difference = _mm256_and_si256(all, kept);
    const __m256i even = _mm256_and_si256(difference, _mm256_set1_epi16(255));
    const __m256i odd = _mm256_srli_epi16(difference, 8);
    return _mm256_add_epi32(_mm256_add_epi32(sums, _mm256_madd_epi16(even, even)), _mm256_madd_epi16(odd, odd));
}

QUILLMARCH_AVX2 quint64 total(__m256i sums)
{
    std::array<quint32, 8> parts{};
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(parts.data()), sums);
    quint64 sum = 0;
    for (const quint32 part : parts) {
        sum += part;
    }
    return sum;
}

/// The squares of less than a block of bytes, such as the head of a row.
QUILLMARCH_AVX2 quint64 squaresAvx2(const uchar *a, const uchar *b, qsizetype length)
{
    if (length < 32 || length > bytesOfBlock) {
        return squares(a, b, length);
    }
    const qsizetype rest = length % 32;
    __m256i sums = _mm256_setzero_si256();
    for (qsizetype i = 0; i < length - rest; i += 32) {
        sums = addSquares(sums, vectorAt(a + i), vectorAt(b + i), allBytes());
    }
    return total(addSquares(sums, vectorAt(a + length - 32), vectorAt(b + length - 32), lastBytes(rest)));
}

/// The sums of one block of a row.
struct ChangeSums
{
    __m256i near;
    __m256i wide;
    __m256i down;
    __m256i drift;
};

/// Adds the changes of those of the 32 bytes from \a at that \a kept has.
template <bool withDrift>
QUILLMARCH_AVX2 inline void addChanges(ChangeSums &sums, const ComparedRows &rows, qsizetype at, __m256i kept)
{
    const uchar *bytes = rows.row + at;
    const __m256i pixels = vectorAt(bytes);
    sums.near = addSquares(sums.near, pixels, vectorAt(bytes - rows.pixel), kept);
    sums.wide = addSquares(sums.wide, pixels, vectorAt(bytes - rows.span), kept);
    sums.down = addSquares(sums.down, pixels, vectorAt(rows.above + at), kept);
    if constexpr (withDrift) {
        sums.drift = addSquares(sums.drift, pixels, vectorAt(rows.farAbove + at), kept);
    }
}

/// The changes of the bytes from \a first to \a end, exclusive: at least 32, and no
/// more than a block. \a first is not below the span.
template <bool withDrift>
QUILLMARCH_AVX2 RowChanges changesOfBlock(const ComparedRows &rows, qsizetype first, qsizetype end)
{
    const __m256i zero = _mm256_setzero_si256();
    ChangeSums sums{zero, zero, zero, zero};
    const qsizetype rest = (end - first) % 32;
    for (qsizetype at = first; at < end - rest; at += 32) {
        __builtin_prefetch(rows.row + at + fetchDistance); // harmless beyond the end of the image
        addChanges<withDrift>(sums, rows, at, allBytes());
    }
    addChanges<withDrift>(sums, rows, end - 32, lastBytes(rest));
    return {total(sums.near), total(sums.wide), total(sums.down), total(sums.drift)};
}

RowChanges countChangesAvx2(const ComparedRows &rows)
{
    if (rows.length - rows.span < 32) {
        return countChanges(rows);
    }
    const auto changes = rows.farAbove != nullptr ? changesOfBlock<true> : changesOfBlock<false>;
    RowChanges sum = changesOfHead(rows, rows.span, squaresAvx2);
    qsizetype at = rows.span;
    for (; rows.length - at >= bytesOfBlock + 32; at += bytesOfBlock) {
        add(sum, changes(rows, at, at + bytesOfBlock));
    }
    add(sum, changes(rows, at, rows.length));
    return sum;
}

#endif

} // namespace

QList<ChangeCounter> changeCounters()
{
    QList<ChangeCounter> counters{{"any", countChanges}};
#ifdef QUILLMARCH_HAS_VECTORS
    if (hasAvx2()) {
        counters.append({"AVX2", countChangesAvx2});
    }
#endif
    return counters;
}

const ChangeCounter &fastestChangeCounter()
{
    static const ChangeCounter fastest = changeCounters().last();
    return fastest;
}
