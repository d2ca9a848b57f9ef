#include "pixels/cutscan.h"

#include "pixels/brightcount.h"
#include "pixels/rowviews.h"

#include <algorithm>
#include <array>
#include <vector>

namespace {

// How many rows of other formats are converted at a time, so that they stay in the cache.
constexpr int convertedRows = 64;

struct BestRow
{
    quint32 count = 0;
    int row = 0;
};

/// Looks for a row of \a image with more than the best number of bright pixels.
/// \a count is called with a row, its width and the number to exceed, as the
/// functions of BrightCounter are; the top of \a image is row \a firstRow.
template <typename Pixel, typename Count>
void scanRows(const QImage &image, int firstRow, Count count, BestRow &best)
{
    const int width = image.width();
    const qsizetype bytesPerLine = image.bytesPerLine();
    const uchar *bytes = image.constBits();
    for (int y = 0; y < image.height() && best.count < quint32(width); ++y, bytes += bytesPerLine) {
        const quint32 found = count(reinterpret_cast<const Pixel *>(bytes), width, best.count);
        if (found > best.count) {
            best = {found, firstRow + y};
        }
    }
}

template <typename Pixel, typename Count>
int bestRow(const QImage &image, Count count)
{
    BestRow best;
    scanRows<Pixel>(image, 0, count, best);
    return best.row;
}

/// The indexes of \a image that are bright once its conversion to \a format has
/// made colors of them. An index without an entry in the color table is dark.
IndexSet brightIndexes(const QImage &image, QImage::Format format)
{
    std::array<bool, 256> bright{};
    const int count = std::min(image.colorCount(), int(bright.size()));
    if (count == 0) {
        return IndexSet(bright); // the conversion would take the indexes for gray levels
    }
    const QImage colors = rowsView(everyPixelValue(image), QRect(0, 0, count, 1)).convertToFormat(format);
    const auto *color = pixelRow<QRgb>(colors, 0);
    std::transform(color, color + count, bright.begin(), [](QRgb rgb) { return qRed(rgb) >= brightLevel; });
    return IndexSet(bright);
}

/// The best row of \a image, whose indexes count by the color that a conversion
/// to \a format gives them.
int bestRowOfPalette(const QImage &image, QImage::Format format)
{
    const IndexSet bright = brightIndexes(image, format);
    return bestRow<uchar>(image, [&bright](const uchar *row, int width, quint32 best) {
        return fastestBrightCounter().indexes(row, width, best, bright);
    });
}

int bestRowConverted(const QImage &image, QImage::Format format)
{
    BestRow best;
    for (int y = 0; y < image.height(); y += convertedRows) {
        const QRect rows(0, y, image.width(), std::min(convertedRows, image.height() - y));
        const QImage converted = rowsView(image, rows).convertToFormat(format);
        scanRows<QRgb>(converted, y, fastestBrightCounter().reds, best);
    }
    return best.row;
}

int bestRowByPixel(const QImage &image)
{
    std::vector<QRgb> pixels(size_t(image.width()));
    const QImage row(reinterpret_cast<const uchar *>(pixels.data()), image.width(), 1, QImage::Format_ARGB32);
    BestRow best;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            pixels[size_t(x)] = image.pixel(x, y);
        }
        scanRows<QRgb>(row, y, fastestBrightCounter().reds, best);
    }
    return best.row;
}

/// The 32-bit format in which QImage::pixel() returns the pixels of \a image.
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
        return bestRow<QRgb>(image, fastestBrightCounter().reds);
    case QImage::Format_Grayscale8:
        return bestRow<uchar>(image, fastestBrightCounter().grays);
    case QImage::Format_Indexed8:
        return bestRowOfPalette(image, pixelFormat(image));
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
        return bestRow<QRgb>(view, fastestBrightCounter().reds);
    case QImage::Format_ARGB32:
        return bestRow<QRgb>(view, fastestBrightCounter().products);
    case QImage::Format_Grayscale8:
        return bestRow<uchar>(view, fastestBrightCounter().grays);
    case QImage::Format_Indexed8:
        if (view.colorCount() == 0) {
            return bestRow<uchar>(view, fastestBrightCounter().grays); // in a copy the indexes are gray levels
        }
        return bestRowOfPalette(view, copied);
    default:
        return bestRowConverted(view, copied);
    }
}
