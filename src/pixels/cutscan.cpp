#include "pixels/cutscan.h"

#include "pixels/brightcount.h"
#include "pixels/rowviews.h"

#include <QList>

#include <algorithm>
#include <array>

namespace {

// How many rows of an unusual format are converted at a time.
constexpr int convertedRows = 64;

struct RedOf32
{
    using Pixel = QRgb;
    quint32 count(const QRgb *row, int width, quint32 best) const { return counter.reds(row, width, best); }

    const BrightCounter &counter = fastestBrightCounter();
};

/// Of a pixel that is stored with its plain colour, the red that premultiplying
/// by alpha leaves is what counts.
struct PremultipliedRedOf32
{
    using Pixel = QRgb;
    quint32 count(const QRgb *row, int width, quint32 best) const { return counter.products(row, width, best); }

    const BrightCounter &counter = fastestBrightCounter();
};

struct Gray8
{
    using Pixel = uchar;
    quint32 count(const uchar *row, int width, quint32 best) const { return counter.grays(row, width, best); }

    const BrightCounter &counter = fastestBrightCounter();
};

/// The indexes of \a image that are bright once its conversion to \a format has
/// made colours of them. An index without an entry in the color table is dark.
IndexSet brightIndexes(const QImage &image, QImage::Format format)
{
    std::array<bool, 256> bright{};
    const int count = std::min(image.colorCount(), int(bright.size()));
    if (count == 0) {
        return IndexSet(bright); // the conversion would take the indexes for gray levels
    }
    const QImage colors = rowsView(everyPixelValue(image), QRect(0, 0, count, 1)).convertToFormat(format);
    const auto *color = reinterpret_cast<const QRgb *>(colors.constScanLine(0));
    std::transform(color, color + count, bright.begin(), [](QRgb rgb) { return qRed(rgb) >= brightLevel; });
    return IndexSet(bright);
}

struct PaletteRule
{
    using Pixel = uchar;
    quint32 count(const uchar *row, int width, quint32 best) const { return counter.indexes(row, width, best, bright); }

    IndexSet bright;
    const BrightCounter &counter = fastestBrightCounter();
};

struct BestRow
{
    quint32 count = 0;
    int row = 0;
};

template <typename Rule>
void scanRows(const Rule &rule, const QImage &image, int firstRow, BestRow &best)
{
    const int width = image.width();
    const int height = image.height();
    const qsizetype bytesPerLine = image.bytesPerLine();
    const uchar *bytes = image.constBits();
    for (int y = 0; y < height && best.count < quint32(width); ++y, bytes += bytesPerLine) {
        const auto *row = reinterpret_cast<const typename Rule::Pixel *>(bytes);
        const quint32 count = rule.count(row, width, best.count);
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
    const RedOf32 rule;
    QList<QRgb> pixels(image.width());
    BestRow best;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            pixels[x] = image.pixel(x, y);
        }
        const quint32 count = rule.count(pixels.constData(), image.width(), best.count);
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
        return bestRow(PaletteRule{brightIndexes(image, pixelFormat(image))}, image);
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
        if (view.colorCount() == 0) {
            return bestRow(Gray8(), view); // in a copy the indexes are gray levels
        }
        return bestRow(PaletteRule{brightIndexes(view, copied)}, view);
    default:
        return bestRowConverted(view, copied);
    }
}
