#include "pdf/samplerows.h"

#include "pixels/opacity.h"
#include "pixels/processor.h"
#include "pixels/rowviews.h"

#include <QRgba64>
#include <QtEndian>

#include <algorithm>
#include <cstring>
#include <functional>
#include <new>
#include <numeric>

#ifdef QUILLMARCH_HAS_VECTORS
#include <immintrin.h>
#endif

namespace {

using Kind = SampleRows::Kind;

constexpr int convertedRows = 16; // at a time, so that they stay in the cache
constexpr qsizetype bytesOfColor = 3;

Kind kindOf(const QImage &image)
{
    switch (image.format()) {
    case QImage::Format_Mono:
    case QImage::Format_MonoLSB:
        return Kind::Bits;
    case QImage::Format_Indexed8:
        return Kind::Indexes;
    case QImage::Format_Grayscale8:
        return Kind::Gray8;
    case QImage::Format_Grayscale16:
        return Kind::Gray16;
    default:
        return image.pixelFormat().redSize() > 8 ? Kind::Color16 : Kind::Color8;
    }
}

QImage::Format workFormatOf(const QImage &image, Kind kind)
{
    switch (kind) {
    case Kind::Bits:
        return QImage::Format_Mono;
    case Kind::Color8:
        return image.hasAlphaChannel() ? QImage::Format_ARGB32 : QImage::Format_RGB32;
    case Kind::Color16:
        return image.hasAlphaChannel() ? QImage::Format_RGBA64 : QImage::Format_RGBX64;
    default:
        return image.format();
    }
}

/// The bits that every index of a pixel of \a image fits into.
int bitsOfIndexes(const QImage &image)
{
    uchar all = 0;
    for (int y = 0; y < image.height(); ++y) {
        const uchar *row = image.constScanLine(y);
        all = std::accumulate(row, row + image.width(), all, std::bit_or<>());
    }
    return all < 2 ? 1 : all < 4 ? 2 : all < 16 ? 4 : 8;
}

int bitsOf(const QImage &image, Kind kind)
{
    switch (kind) {
    case Kind::Bits:
        return 1;
    case Kind::Indexes:
        return bitsOfIndexes(image);
    case Kind::Gray16:
    case Kind::Color16:
        return 16;
    default:
        return 8;
    }
}

/// The colors of all indexes of \a bits bits. Qt takes black for those beyond the table.
QList<QRgb> allColors(const QImage &image, int bits)
{
    QList<QRgb> colors = image.colorTable();
    colors.resize(qsizetype(1) << bits, image.hasAlphaChannel() ? 0U : 0xff000000U);
    return colors;
}

/// Writes indexes of less than eight bits, the first one in the highest bits.
void writeSmallIndexes(const uchar *row, int width, int bits, uchar *target)
{
    const int perByte = 8 / bits;
    for (int x = 0; x < width; x += perByte) {
        int byte = 0;
        for (int i = 0; i < perByte; ++i) {
            byte = byte << bits | (x + i < width ? row[x + i] : 0);
        }
        *target++ = uchar(byte);
    }
}

/// Calls \a use with each of \a count rows of \a image from \a first on, in \a format.
template <typename Use>
void forEachRow(const QImage &image, QImage::Format format, int first, int count, Use use)
{
    for (int top = first; top < first + count; top += convertedRows) {
        const int rows = std::min(convertedRows, first + count - top);
        const QImage view = image.format() == format
            ? image
            : rowsView(image, QRect(0, top, image.width(), rows)).convertToFormat(format, Qt::NoOpaqueDetection);
        if (view.isNull()) {
            throw std::bad_alloc();
        }
        const int offset = image.format() == format ? top : 0;
        for (int y = 0; y < rows; ++y) {
            use(view.constScanLine(offset + y));
        }
    }
}

void writeColorBytesFrom(int x, const QRgb *pixels, int width, uchar *target)
{
    target += bytesOfColor * x;
    for (; x < width; ++x) {
        target[0] = uchar(qRed(pixels[x]));
        target[1] = uchar(qGreen(pixels[x]));
        target[2] = uchar(qBlue(pixels[x]));
        target += bytesOfColor;
    }
}

void writeColorBytesPlainly(const QRgb *pixels, int width, uchar *target)
{
    writeColorBytesFrom(0, pixels, width, target);
}

#ifdef QUILLMARCH_HAS_VECTORS
/// Four pixels at a time. Writes four bytes more, which the next pixels replace.
QUILLMARCH_AVX2 void writeColorBytesAvx2(const QRgb *pixels, int width, uchar *target)
{
    const __m128i order = _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1);
    int x = 0;
    for (; x + 6 <= width; x += 4) {
        const __m128i four = _mm_loadu_si128(reinterpret_cast<const __m128i *>(pixels + x));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(target + bytesOfColor * x), _mm_shuffle_epi8(four, order));
    }
    writeColorBytesFrom(x, pixels, width, target);
}
#endif

void writeColorBytes(const QRgb *pixels, int width, uchar *target)
{
    const auto write = QUILLMARCH_FASTEST(writeColorBytesPlainly, writeColorBytesAvx2);
    write(pixels, width, target);
}

void writeColorWords(const QRgba64 *pixels, int width, uchar *target)
{
    for (int x = 0; x < width; ++x) {
        qToBigEndian(pixels[x].red(), target);
        qToBigEndian(pixels[x].green(), target + 2);
        qToBigEndian(pixels[x].blue(), target + 4);
        target += 2 * bytesOfColor;
    }
}

void writeRow(Kind kind, int bits, const uchar *row, int width, uchar *target)
{
    switch (kind) {
    case Kind::Indexes:
        if (bits < 8) {
            writeSmallIndexes(row, width, bits, target);
            break;
        }
        std::memcpy(target, row, size_t(width));
        break;
    case Kind::Color8:
        writeColorBytes(reinterpret_cast<const QRgb *>(row), width, target);
        break;
    case Kind::Color16:
        writeColorWords(reinterpret_cast<const QRgba64 *>(row), width, target);
        break;
    case Kind::Gray16:
        qToBigEndian<quint16>(row, width, target);
        break;
    default:
        std::memcpy(target, row, (size_t(width) * size_t(bits) + 7) / 8);
        break;
    }
}

/// \a alphas are those of indexes.
void writeAlphaRow(Kind kind, const uchar *row, int width, const uchar *alphas, uchar *target)
{
    switch (kind) {
    case Kind::Color8:
        for (int x = 0; x < width; ++x) {
            target[x] = uchar(qAlpha(reinterpret_cast<const QRgb *>(row)[x]));
        }
        break;
    case Kind::Color16:
        for (int x = 0; x < width; ++x) {
            qToBigEndian(reinterpret_cast<const QRgba64 *>(row)[x].alpha(), target + qsizetype(2) * x);
        }
        break;
    case Kind::Bits:
        for (int x = 0; x < width; ++x) {
            target[x] = alphas[row[x / 8] >> (7 - x % 8) & 1];
        }
        break;
    default:
        for (int x = 0; x < width; ++x) {
            target[x] = alphas[row[x]];
        }
        break;
    }
}

} // namespace

SampleRows::SampleRows(const QImage &picture)
    : image(picture)
    , m_kind(kindOf(picture))
    , sampleBits(bitsOf(picture, m_kind))
    , workFormat(workFormatOf(picture, m_kind))
{
    if (m_kind != Kind::Bits && m_kind != Kind::Indexes) {
        return;
    }
    const QList<QRgb> colors = allColors(image, sampleBits);
    for (const QRgb color : colors) {
        m_palette.append(char(qRed(color))).append(char(qGreen(color))).append(char(qBlue(color)));
        paletteAlpha.append(char(qAlpha(color)));
    }
    if (!image.hasAlphaChannel()) {
        paletteAlpha.clear();
    }
}

void SampleRows::writeColors(int first, int count, uchar *target, qsizetype stride) const
{
    forEachRow(image, workFormat, first, count, [&](const uchar *row) {
        writeRow(m_kind, sampleBits, row, image.width(), target);
        target += stride;
    });
}

void SampleRows::writeAlpha(int first, int count, uchar *target, qsizetype stride) const
{
    const auto *alphas = reinterpret_cast<const uchar *>(paletteAlpha.constData());
    forEachRow(image, workFormat, first, count, [&](const uchar *row) {
        writeAlphaRow(m_kind, row, image.width(), alphas, target);
        target += stride;
    });
}

bool SampleRows::hasTransparency(int first, int end) const
{
    if (!image.hasAlphaChannel()) {
        return false;
    }
    const QImage rows = rowsView(image, QRect(0, first, image.width(), end - first));
    if (m_kind == Kind::Color8 || m_kind == Kind::Indexes) {
        return !isOpaque(rows.format() == workFormat ? rows : rows.convertToFormat(workFormat));
    }
    QByteArray alpha(alphaRowBytes(), Qt::Uninitialized);
    for (int y = first; y < end; ++y) {
        writeAlpha(y, 1, reinterpret_cast<uchar *>(alpha.data()), alpha.size());
        if (alpha.count(char(0xff)) != alpha.size()) {
            return true;
        }
    }
    return false;
}
