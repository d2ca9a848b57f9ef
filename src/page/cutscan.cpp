#include "page/cutscan.h"

#include "page/bandview.h"

#include <QList>

#include <algorithm>

namespace {

// Long enough for the vector units, short enough to leave a row early.
constexpr int blockLength = 256;

// How many rows of an unusual format are converted at a time.
constexpr int convertedRows = 64;

// 192 is 0b11000000, so a red of 192 or more is one with both top bits set.
struct RedOf32
{
    using Pixel = QRgb;
    static quint32 isBright(QRgb pixel) { return (pixel >> 23) & (pixel >> 22) & 1U; }
};

// Of a pixel that is stored with its plain colour, the red that premultiplying
// by alpha leaves is what counts: (t + (t >> 8) + 128) >> 8 with t = red x
// alpha, which reaches 192 from this product on.
struct PremultipliedRedOf32
{
    using Pixel = QRgb;
    static constexpr quint32 brightProduct = 48834;
    static quint32 isBright(QRgb pixel) { return ((pixel >> 16) & 0xffU) * (pixel >> 24) >= brightProduct ? 1U : 0U; }
};

struct Gray8
{
    using Pixel = uchar;
    static quint32 isBright(uchar pixel) { return (pixel >> 7) & (pixel >> 6) & 1U; }
};

template <typename Rule>
quint32 countBlock(const typename Rule::Pixel *pixels, int length)
{
    quint32 count = 0;
    for (int x = 0; x < length; ++x) {
        count += Rule::isBright(pixels[x]);
    }
    return count;
}

/// The bright pixels of a row of \a width, or some number not above \a best
/// once the row can no longer exceed \a best.
template <typename Rule>
quint32 countRow(const typename Rule::Pixel *row, int width, quint32 best)
{
    quint32 count = 0;
    int x = 0;
    for (; x + blockLength <= width; x += blockLength) {
        if (count + quint32(width - x) <= best) {
            return count;
        }
        count += countBlock<Rule>(row + x, blockLength);
    }
    return count + countBlock<Rule>(row + x, width - x);
}

struct BestRow
{
    quint32 count = 0;
    int row = 0;
};

template <typename Rule>
void scanRows(const QImage &image, int firstRow, BestRow &best)
{
    const auto width = quint32(image.width());
    for (int y = 0; y < image.height() && best.count < width; ++y) {
        const auto *row = reinterpret_cast<const typename Rule::Pixel *>(image.constScanLine(y));
        const quint32 count = countRow<Rule>(row, image.width(), best.count);
        if (count > best.count) {
            best = {count, firstRow + y};
        }
    }
}

template <typename Rule>
int bestRow(const QImage &image)
{
    BestRow best;
    scanRows<Rule>(image, 0, best);
    return best.row;
}

int bestRowConverted(const QImage &image, QImage::Format format)
{
    BestRow best;
    for (int y = 0; y < image.height(); y += convertedRows) {
        const QRect rows(0, y, image.width(), std::min(convertedRows, image.height() - y));
        scanRows<RedOf32>(rowsView(image, rows).convertToFormat(format), y, best);
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
        const quint32 count = countRow<RedOf32>(pixels.constData(), image.width(), best.count);
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
        return bestRow<RedOf32>(image);
    case QImage::Format_Grayscale8:
        return bestRow<Gray8>(image);
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
    switch (view.format()) {
    case QImage::Format_Invalid:
        return 0;
    case QImage::Format_RGB32:
    case QImage::Format_ARGB32_Premultiplied:
        return bestRow<RedOf32>(view);
    case QImage::Format_ARGB32:
        return bestRow<PremultipliedRedOf32>(view);
    case QImage::Format_Grayscale8:
        return bestRow<Gray8>(view);
    default:
        return bestRowConverted(view,
                                view.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
    }
}
