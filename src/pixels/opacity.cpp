#include "pixels/opacity.h"

#include "pixels/brightcount.h"
#include "pixels/processor.h"
#include "pixels/rowviews.h"

#include <array>

namespace {

Q_ALWAYS_INLINE QRgb commonBitsOf(const QRgb *pixels, int length)
{
    QRgb common = ~QRgb(0);
    for (int x = 0; x < length; ++x) {
        common &= pixels[x];
    }
    return common;
}

Q_ALWAYS_INLINE quint32 partlyTransparentOf(const QRgb *pixels, int length)
{
    quint32 count = 0;
    for (int x = 0; x < length; ++x) {
        count += pixels[x] < 0xff000000U && pixels[x] != 0 ? 1U : 0U;
    }
    return count;
}

QRgb commonBits(const QRgb *pixels, int length)
{
    return commonBitsOf(pixels, length);
}

quint32 partlyTransparent(const QRgb *pixels, int length)
{
    return partlyTransparentOf(pixels, length);
}

#ifdef QUILLMARCH_HAS_VECTORS

QUILLMARCH_AVX2 QRgb commonBitsAvx2(const QRgb *pixels, int length)
{
    return commonBitsOf(pixels, length);
}

QUILLMARCH_AVX2 quint32 partlyTransparentAvx2(const QRgb *pixels, int length)
{
    return partlyTransparentOf(pixels, length);
}

#endif

bool hasOpaquePixels(const QImage &image)
{
    const auto common = QUILLMARCH_FASTEST(commonBits, commonBitsAvx2);
    for (int y = 0; y < image.height(); ++y) {
        if (qAlpha(common(pixelRow<QRgb>(image, y), image.width())) != 255) {
            return false;
        }
    }
    return true;
}

/// Whether every color that a pixel of \a image, of a palette, uses is opaque.
bool usesOpaqueColors(const QImage &image)
{
    std::array<bool, 256> transparent{};
    const QList<QRgb> colors = image.colorTable();
    for (qsizetype i = 0; i < qsizetype(transparent.size()); ++i) {
        transparent[size_t(i)] = i >= colors.size() || qAlpha(colors.at(i)) != 255; // no color beyond the table
    }
    const IndexSet indexes(transparent);
    const BrightCounter &counter = fastestBrightCounter();
    for (int y = 0; y < image.height(); ++y) {
        if (counter.indexes(pixelRow<uchar>(image, y), image.width(), 0, indexes) > 0) {
            return false;
        }
    }
    return true;
}

} // namespace

bool isOpaque(const QImage &image)
{
    switch (image.format()) {
    case QImage::Format_ARGB32:
    case QImage::Format_ARGB32_Premultiplied:
        return hasOpaquePixels(image);
    case QImage::Format_Indexed8:
        return usesOpaqueColors(image);
    default:
        return !image.hasAlphaChannel();
    }
}

bool hasPartlyTransparent(const QImage &image)
{
    const auto count = QUILLMARCH_FASTEST(partlyTransparent, partlyTransparentAvx2);
    for (int y = 0; y < image.height(); ++y) {
        if (count(pixelRow<QRgb>(image, y), image.width()) != 0) {
            return true;
        }
    }
    return false;
}
