#include "decode/pngrowkernels.h"

#include <algorithm>
#include <cstring>

// Not on Windows, where gcc does not align the stack for such vectors.
#if defined(__x86_64__) && defined(__GNUC__) && defined(__linux__)
#define QUILLMARCH_HAS_VECTORS
#include <immintrin.h>
#endif

#ifdef QUILLMARCH_HAS_VECTORS

#define QUILLMARCH_SSE4 __attribute__((target("sse4.1")))
#define QUILLMARCH_SSE4_INLINE __attribute__((target("sse4.1"), always_inline)) inline

namespace {

enum Filter { None, Sub, Up, Average, Paeth };

QUILLMARCH_SSE4_INLINE __m128i load(const uchar *from)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(from));
}

QUILLMARCH_SSE4_INLINE void store(uchar *to, __m128i value)
{
    _mm_storeu_si128(reinterpret_cast<__m128i *>(to), value);
}

/// How four stored pixels of \a Channels become four words.
template <int Channels>
struct Words
{
    QUILLMARCH_SSE4_INLINE static __m128i spread(__m128i stored)
    {
        const __m128i places = Channels == 3 ? _mm_setr_epi8(2, 1, 0, -1, 5, 4, 3, -1, 8, 7, 6, -1, 11, 10, 9, -1)
                                             : _mm_setr_epi8(2, 1, 0, 3, 6, 5, 4, 7, 10, 9, 8, 11, 14, 13, 12, 15);
        return _mm_shuffle_epi8(stored, places);
    }

    QUILLMARCH_SSE4_INLINE static __m128i finished(__m128i words)
    {
        return Channels == 3 ? _mm_or_si128(words, _mm_set1_epi32(int(0xff000000))) : words;
    }
};

// Each filter takes four residuals and the four words above them, and keeps what
// the next four need.

struct NoneFilter
{
    QUILLMARCH_SSE4_INLINE __m128i four(__m128i residual, __m128i /*above*/) { return residual; }
};

struct UpFilter
{
    QUILLMARCH_SSE4_INLINE __m128i four(__m128i residual, __m128i above) { return _mm_add_epi8(residual, above); }
};

/// A sum over all pixels before, in two steps a vector.
struct SubFilter
{
    __m128i left = _mm_setzero_si128(); // in all four places

    QUILLMARCH_SSE4_INLINE __m128i four(__m128i residual, __m128i /*above*/)
    {
        const __m128i pairs = _mm_add_epi8(residual, _mm_slli_si128(residual, 4));
        const __m128i sums = _mm_add_epi8(pairs, _mm_slli_si128(pairs, 8));
        const __m128i words = _mm_add_epi8(sums, left);
        left = _mm_shuffle_epi32(words, 0xff);
        return words;
    }
};

/// Keeps the complement of the pixel on the left: the average instruction rounds
/// up, on complements thus down, and ~(r + ~p) is p - r, one instruction less in
/// the chain from pixel to pixel.
struct AverageFilter
{
    __m128i left = _mm_set1_epi8(-1);

    QUILLMARCH_SSE4_INLINE __m128i one(__m128i residual, __m128i above)
    {
        left = _mm_sub_epi8(_mm_avg_epu8(left, above), residual);
        return left;
    }

    QUILLMARCH_SSE4_INLINE __m128i four(__m128i residual, __m128i above)
    {
        const __m128i ones = _mm_set1_epi8(-1);
        const __m128i up = _mm_xor_si128(above, ones);
        const __m128i w0 = one(residual, up);
        const __m128i w1 = one(_mm_srli_si128(residual, 4), _mm_srli_si128(up, 4));
        const __m128i w2 = one(_mm_srli_si128(residual, 8), _mm_srli_si128(up, 8));
        const __m128i w3 = one(_mm_srli_si128(residual, 12), _mm_srli_si128(up, 12));
        const __m128i words = _mm_unpacklo_epi64(_mm_unpacklo_epi32(w0, w1), _mm_unpacklo_epi32(w2, w3));
        return _mm_xor_si128(words, ones);
    }
};

/// Works on 16-bit lanes with the predictor in the form of Sean Barrett's
/// stb_image: with t = 3c - (a + b) it is the lower of a and b if the higher one
/// is at most t, the higher one if t is at most the lower, and c otherwise.
struct PaethFilter
{
    __m128i left = _mm_setzero_si128(); // in the lower half
    __m128i aboveBefore = _mm_setzero_si128(); // the four words above the pixels before

    /// \a threshold is 3c - b.
    QUILLMARCH_SSE4_INLINE __m128i one(__m128i residual, __m128i above, __m128i aboveLeft, __m128i threshold)
    {
        const __m128i limit = _mm_sub_epi16(threshold, left);
        const __m128i low = _mm_min_epi16(left, above);
        const __m128i high = _mm_max_epi16(left, above);
        const __m128i lowOrCorner = _mm_blendv_epi8(low, aboveLeft, _mm_cmpgt_epi16(high, limit));
        const __m128i predicted = _mm_blendv_epi8(high, lowOrCorner, _mm_cmpgt_epi16(limit, low));
        left = _mm_add_epi8(predicted, residual); // in bytes: the upper ones are zero and stay so
        return left;
    }

    QUILLMARCH_SSE4_INLINE static __m128i lastOf(__m128i words)
    {
        return _mm_unpacklo_epi8(_mm_srli_si128(words, 12), _mm_setzero_si128());
    }

    /// Whether the next four pixels equal those above: if the pixel on the left
    /// equals the corner, the pixel above is predicted, and with no residual it
    /// is the next corner, too. Common where rows repeat.
    QUILLMARCH_SSE4_INLINE bool isCopy(__m128i residual) const
    {
        return _mm_testz_si128(residual, residual) != 0
            && _mm_cvtsi128_si64(left) == _mm_cvtsi128_si64(lastOf(aboveBefore));
    }

    QUILLMARCH_SSE4_INLINE __m128i two(__m128i residual, __m128i above, __m128i aboveLeft)
    {
        const __m128i twice = _mm_add_epi16(aboveLeft, aboveLeft);
        const __m128i threshold = _mm_sub_epi16(_mm_add_epi16(twice, aboveLeft), above);
        const __m128i first = one(residual, above, aboveLeft, threshold);
        const __m128i second = one(_mm_srli_si128(residual, 8), _mm_srli_si128(above, 8), _mm_srli_si128(aboveLeft, 8),
                                   _mm_srli_si128(threshold, 8));
        return _mm_unpacklo_epi64(first, second);
    }

    QUILLMARCH_SSE4_INLINE __m128i four(__m128i residual, __m128i above)
    {
        if (isCopy(residual)) {
            aboveBefore = above;
            left = lastOf(above);
            return above;
        }
        const __m128i zero = _mm_setzero_si128();
        const __m128i corner = _mm_alignr_epi8(above, aboveBefore, 12);
        aboveBefore = above;
        const __m128i firstTwo =
            two(_mm_unpacklo_epi8(residual, zero), _mm_unpacklo_epi8(above, zero), _mm_unpacklo_epi8(corner, zero));
        const __m128i lastTwo =
            two(_mm_unpackhi_epi8(residual, zero), _mm_unpackhi_epi8(above, zero), _mm_unpackhi_epi8(corner, zero));
        return _mm_packus_epi16(firstTwo, lastTwo);
    }
};

template <int Channels, typename Undo>
QUILLMARCH_SSE4_INLINE void decodeWords(Undo undo, const uchar *from, uchar *to, const uchar *above, int pixels)
{
    using Word = Words<Channels>;
    int x = 0;
    for (; x + 4 <= pixels; x += 4) {
        const __m128i residual = Word::spread(load(from + qsizetype(x) * Channels));
        store(to + qsizetype(x) * 4, Word::finished(undo.four(residual, load(above + qsizetype(x) * 4))));
    }
    if (x < pixels) {
        const auto rest = size_t(pixels - x) * 4;
        alignas(16) uchar words[16] = {};
        std::memcpy(words, above + qsizetype(x) * 4, rest);
        const __m128i residual = Word::spread(load(from + qsizetype(x) * Channels));
        store(words, Word::finished(undo.four(residual, load(words))));
        std::memcpy(to + qsizetype(x) * 4, words, rest);
    }
}

template <int Channels>
QUILLMARCH_SSE4 bool decodeWordRow(int filter, const uchar *from, uchar *to, const uchar *above, int pixels)
{
    switch (filter) {
    case None:
        decodeWords<Channels>(NoneFilter(), from, to, above, pixels);
        return true;
    case Sub:
        decodeWords<Channels>(SubFilter(), from, to, above, pixels);
        return true;
    case Up:
        decodeWords<Channels>(UpFilter(), from, to, above, pixels);
        return true;
    case Average:
        decodeWords<Channels>(AverageFilter(), from, to, above, pixels);
        return true;
    case Paeth:
        decodeWords<Channels>(PaethFilter(), from, to, above, pixels);
        return true;
    default:
        return false;
    }
}

/// A running sum of bytes, in four steps for sixteen of them.
QUILLMARCH_SSE4_INLINE void sumBytes(const uchar *from, uchar *to, int pixels)
{
    __m128i left = _mm_setzero_si128(); // in all places
    int x = 0;
    for (; x + 16 <= pixels; x += 16) {
        __m128i sums = load(from + x);
        sums = _mm_add_epi8(sums, _mm_slli_si128(sums, 1));
        sums = _mm_add_epi8(sums, _mm_slli_si128(sums, 2));
        sums = _mm_add_epi8(sums, _mm_slli_si128(sums, 4));
        sums = _mm_add_epi8(sums, _mm_slli_si128(sums, 8));
        sums = _mm_add_epi8(sums, left);
        left = _mm_shuffle_epi8(sums, _mm_set1_epi8(15));
        store(to + x, sums);
    }
    auto last = uchar(_mm_cvtsi128_si32(left));
    for (; x < pixels; ++x) {
        last = uchar(last + from[x]);
        to[x] = last;
    }
}

QUILLMARCH_SSE4_INLINE void addBytes(const uchar *from, uchar *to, const uchar *above, int pixels)
{
    int x = 0;
    for (; x + 16 <= pixels; x += 16) {
        store(to + x, _mm_add_epi8(load(from + x), load(above + x)));
    }
    for (; x < pixels; ++x) {
        to[x] = uchar(from[x] + above[x]);
    }
}

/// Puts the lowest bytes of eight vectors side by side.
QUILLMARCH_SSE4_INLINE __m128i joinedBytes(const __m128i (&lowest)[8])
{
    const __m128i first =
        _mm_unpacklo_epi16(_mm_unpacklo_epi8(lowest[0], lowest[1]), _mm_unpacklo_epi8(lowest[2], lowest[3]));
    const __m128i last =
        _mm_unpacklo_epi16(_mm_unpacklo_epi8(lowest[4], lowest[5]), _mm_unpacklo_epi8(lowest[6], lowest[7]));
    return _mm_unpacklo_epi32(first, last);
}

QUILLMARCH_SSE4_INLINE void averageBytes(const uchar *from, uchar *to, const uchar *above, int pixels)
{
    const __m128i ones = _mm_set1_epi8(-1);
    AverageFilter undo;
    int x = 0;
    for (; x + 8 <= pixels; x += 8) {
        __m128i residual = _mm_loadl_epi64(reinterpret_cast<const __m128i *>(from + x));
        __m128i up = _mm_xor_si128(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(above + x)), ones);
        __m128i bytes[8];
        for (__m128i &byte : bytes) {
            byte = undo.one(residual, up);
            residual = _mm_srli_epi64(residual, 8);
            up = _mm_srli_epi64(up, 8);
        }
        _mm_storel_epi64(reinterpret_cast<__m128i *>(to + x), _mm_xor_si128(joinedBytes(bytes), ones));
    }
    auto left = unsigned(~_mm_cvtsi128_si32(undo.left)) & 0xffU;
    for (; x < pixels; ++x) {
        left = (from[x] + ((left + above[x]) >> 1)) & 0xffU;
        to[x] = uchar(left);
    }
}

/// Whether sixteen pixels equal those above, as in PaethFilter::isCopy().
QUILLMARCH_SSE4_INLINE bool isPaethCopy(const uchar *from, int left, int corner)
{
    const __m128i residual = load(from);
    return left == corner && _mm_testz_si128(residual, residual) != 0;
}

QUILLMARCH_SSE4_INLINE void paethBytes(const uchar *from, uchar *to, const uchar *above, int pixels)
{
    PaethFilter undo;
    __m128i corner = _mm_setzero_si128();
    for (int x = 0; x < pixels;) {
        if (x + 16 <= pixels && isPaethCopy(from + x, _mm_cvtsi128_si32(undo.left), _mm_cvtsi128_si32(corner))) {
            store(to + x, load(above + x));
            x += 16;
            corner = undo.left = _mm_cvtsi32_si128(above[x - 1]);
            continue;
        }
        for (const int end = std::min(x + 16, pixels); x < end; ++x) {
            const __m128i up = _mm_cvtsi32_si128(above[x]);
            const __m128i twice = _mm_add_epi16(corner, corner);
            const __m128i threshold = _mm_sub_epi16(_mm_add_epi16(twice, corner), up);
            to[x] = uchar(_mm_cvtsi128_si32(undo.one(_mm_cvtsi32_si128(from[x]), up, corner, threshold)));
            corner = up;
        }
    }
}

QUILLMARCH_SSE4 bool decodeByteRow(int filter, const uchar *from, uchar *to, const uchar *above, int pixels)
{
    switch (filter) {
    case None:
        std::memcpy(to, from, size_t(pixels));
        return true;
    case Sub:
        sumBytes(from, to, pixels);
        return true;
    case Up:
        addBytes(from, to, above, pixels);
        return true;
    case Average:
        averageBytes(from, to, above, pixels);
        return true;
    case Paeth:
        paethBytes(from, to, above, pixels);
        return true;
    default:
        return false;
    }
}

} // namespace

void addVectorPngRowDecoders(QList<PngRowDecoders> &decoders)
{
    if (__builtin_cpu_supports("sse4.1")) {
        decoders.append({"SSE4.1", decodeByteRow, decodeWordRow<3>, decodeWordRow<4>});
    }
}

#else

void addVectorPngRowDecoders(QList<PngRowDecoders> & /*decoders*/)
{
}

#endif
