#include "pixels/rowchanges.h"

#include "pixels/processor.h"

#include <algorithm>
#include <array>

#ifdef QUILLMARCH_HAS_VECTORS
#include <immintrin.h>
#endif

namespace {

// The squares of so many bytes fit 32 bits together.
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

/// The changes of the bytes from \a first to \a end, exclusive.
RowChanges changesOfPart(const ComparedRows &rows, qsizetype first, qsizetype end)
{
    const auto toTheLeft = [&](qsizetype distance) {
        const qsizetype start = std::max(first, distance);
        return start < end ? squares(rows.row + start, rows.row + start - distance, end - start) : 0;
    };
    return {toTheLeft(rows.pixel), toTheLeft(rows.span), squares(rows.row + first, rows.above + first, end - first),
            rows.farAbove != nullptr ? squares(rows.row + first, rows.farAbove + first, end - first) : 0};
}

RowChanges countChanges(const ComparedRows &rows)
{
    return changesOfPart(rows, 0, rows.length);
}

#ifdef QUILLMARCH_HAS_VECTORS

// So far ahead, in bytes, memory is asked for what will be read: about two rows.
constexpr qsizetype fetchDistance = 8192;

// The 32-bit sums of so many steps do not overflow.
constexpr qsizetype stepsOfBlock = 8192;

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

/// Adds the squares of the 32 differences to the eight \a sums.
QUILLMARCH_AVX2 __m256i addSquares(__m256i sums, __m256i a, __m256i b)
{
    const __m256i difference = _mm256_or_si256(_mm256_subs_epu8(a, b), _mm256_subs_epu8(b, a));
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

/// The changes of \a steps times 32 bytes from \a first, which is not below the span.
template <bool withDrift>
QUILLMARCH_AVX2 RowChanges changesOfBlock(const ComparedRows &rows, qsizetype first, qsizetype steps)
{
    __m256i near = _mm256_setzero_si256();
    __m256i wide = near;
    __m256i down = near;
    __m256i drift = near;
    for (qsizetype i = first; i < first + steps * 32; i += 32) {
        const uchar *bytes = rows.row + i;
        const __m256i pixels = vectorAt(bytes);
        __builtin_prefetch(bytes + fetchDistance); // harmless beyond the end of the image
        near = addSquares(near, pixels, vectorAt(bytes - rows.pixel));
        wide = addSquares(wide, pixels, vectorAt(bytes - rows.span));
        down = addSquares(down, pixels, vectorAt(rows.above + i));
        if constexpr (withDrift) {
            drift = addSquares(drift, pixels, vectorAt(rows.farAbove + i));
        }
    }
    return {total(near), total(wide), total(down), total(drift)};
}

RowChanges countChangesAvx2(const ComparedRows &rows)
{
    const qsizetype head = std::min(rows.span, rows.length);
    RowChanges sum = changesOfPart(rows, 0, head);
    qsizetype at = head;
    while (rows.length - at >= 32) {
        const qsizetype steps = std::min(stepsOfBlock, (rows.length - at) / 32);
        add(sum,
            rows.farAbove != nullptr ? changesOfBlock<true>(rows, at, steps) : changesOfBlock<false>(rows, at, steps));
        at += steps * 32;
    }
    add(sum, changesOfPart(rows, at, rows.length));
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
