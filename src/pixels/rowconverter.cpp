#include "pixels/rowconverter.h"

#include "pixels/processor.h"
#include "pixels/rowviews.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace {

// How many rows are converted at a time, so that they stay in the cache.
constexpr int convertedRows = 32;

Q_ALWAYS_INLINE void expandGraysOf(const uchar *levels, int length, QRgb *colors)
{
    for (int x = 0; x < length; ++x) {
        colors[x] = 0xff000000U | (levels[x] * 0x010101U);
    }
}

void expandGrays(const uchar *levels, int length, QRgb *colors)
{
    expandGraysOf(levels, length, colors);
}

#ifdef QUILLMARCH_HAS_VECTORS
QUILLMARCH_AVX2 void expandGraysAvx2(const uchar *levels, int length, QRgb *colors)
{
    expandGraysOf(levels, length, colors);
}
#endif

/// The 256 levels or indexes of \a image, of eight bits a pixel, in the first of
/// \a formats, that in the second, and so on; the last one has 32 bits.
std::array<QRgb, 256> convertedColors(const QImage &image, const QList<QImage::Format> &formats)
{
    std::array<QRgb, 256> colors{};
    QImage each = everyPixelValue(image);
    for (const QImage::Format format : formats) {
        each.convertTo(format, Qt::NoOpaqueDetection);
    }
    std::memcpy(colors.data(), each.constScanLine(0), sizeof colors);
    return colors;
}

void convertGrays(const QImage &image, int first, int end, QImage &target)
{
    const auto expand = QUILLMARCH_FASTEST(expandGrays, expandGraysAvx2);
    for (int y = first; y < end; ++y) {
        expand(pixelRow<uchar>(image, y), image.width(), pixelRow<QRgb>(target, y));
    }
}

void convertBytes(const QImage &image, const QList<QImage::Format> &formats, int first, int end, QImage &target)
{
    const std::array<QRgb, 256> colors = convertedColors(image, formats);
    for (int y = first; y < end; ++y) {
        const auto *from = pixelRow<uchar>(image, y);
        std::transform(from, from + image.width(), pixelRow<QRgb>(target, y),
                       [&](uchar index) { return colors[index]; });
    }
}

void convertAny(const QImage &image, const QList<QImage::Format> &formats, int first, int end, QImage &target)
{
    for (int top = first; top < end; top += convertedRows) {
        const QRect part(0, top, image.width(), std::min(convertedRows, end - top));
        QImage converted = rowsView(image, part);
        for (const QImage::Format format : formats) {
            converted.convertTo(format, Qt::NoOpaqueDetection);
        }
        for (int y = 0; y < part.height(); ++y) {
            std::memcpy(target.scanLine(top + y), converted.constScanLine(y), size_t(converted.bytesPerLine()));
        }
    }
}

void convertRows(const QImage &image, const QList<QImage::Format> &formats, int first, int end, QImage &target)
{
    if (image.format() == QImage::Format_Grayscale8 && target.format() == QImage::Format_RGB32) {
        convertGrays(image, first, end, target);
    } else if (image.depth() == 8 && target.depth() == 32) {
        convertBytes(image, formats, first, end, target);
    } else {
        convertAny(image, formats, first, end, target);
    }
}

} // namespace

QImage RowConverter::convert(const QImage &image, const QList<QImage::Format> &formats, const RowRange &rows)
{
    const QImage::Format format = formats.last();
    if (scratch.width() != image.width() || scratch.height() < image.height() || scratch.format() != format) {
        scratch = QImage(image.size(), format);
        if (scratch.isNull()) {
            return {};
        }
    }
    convertRows(image, formats, rows.first, std::min(rows.last + 1, image.height()), scratch);
    return QImage(scratch.constBits(), image.width(), image.height(), scratch.bytesPerLine(), format);
}
