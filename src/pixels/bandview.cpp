#include "pixels/bandview.h"

#include "pixels/brightcount.h"
#include "pixels/multiversion.h"

#include <QColorSpace>
#include <QPaintEngine>
#include <QPainter>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <numeric>

namespace {

void dropImage(void *image)
{
    delete static_cast<QImage *>(image);
}

// How many rows are converted at a time, so that they stay near the processor.
constexpr int convertedRows = 32;

/// A range of rows; empty if `last` lies above `first`.
struct RowRange
{
    int first;
    int last;
};

/// The rows of a band of \a height rows that \a painter may need to draw it into
/// \a target, generously. For a raster device.
RowRange neededRows(const QPainter *painter, const QRectF &target, double height)
{
    const RowRange all{0, int(std::ceil(height))};
    const QPaintEngine *engine = painter->paintEngine();
    const QTransform toDevice = painter->deviceTransform();
    if (toDevice.type() > QTransform::TxScale || !toDevice.isInvertible() || target.isEmpty()) {
        return all;
    }
    QRectF visible = engine->systemClip().boundingRect();
    if (visible.isEmpty()) {
        const QPaintDevice *device = engine->paintDevice();
        visible = QRectF(0, 0, device->width(), device->height());
    }
    visible = toDevice.inverted().mapRect(visible) & target;
    const double rowsPerUnit = height / target.height();
    const double rowsPerPixel = rowsPerUnit / std::abs(toDevice.m22());
    const double reach = 4 * rowsPerPixel + 4; // scaling mixes a pixel from several rows
    const double first = (visible.top() - target.top()) * rowsPerUnit - reach;
    const double last = (visible.bottom() - target.top()) * rowsPerUnit + reach;
    return {int(std::clamp(first, 0.0, height)), int(std::clamp(last, 0.0, height))};
}

/// The format in which \a view, a part of \a pixmap, is drawn.
QImage::Format bandFormat(const QPixmap &pixmap, const QImage &view)
{
    if (!view.colorTable().isEmpty()) {
        // A copy of a part of such a pixmap would lose the colour table.
        return view.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32;
    }
    return copyFormat(pixmap);
}

template <typename Pixel>
const Pixel *pixelRow(const QImage &image, int y)
{
    return reinterpret_cast<const Pixel *>(image.constScanLine(y));
}

template <typename Pixel>
Pixel *pixelRow(QImage &image, int y)
{
    return reinterpret_cast<Pixel *>(image.scanLine(y));
}

QUILLMARCH_MULTIVERSION
QRgb commonBits(const QRgb *pixels, int length)
{
    QRgb common = ~QRgb(0);
    for (int x = 0; x < length; ++x) {
        common &= pixels[x];
    }
    return common;
}

/// Whether one of \a pixels is neither opaque nor without any colour and alpha.
QUILLMARCH_MULTIVERSION
bool hasHalfTransparent(const QRgb *pixels, int length)
{
    quint32 count = 0;
    for (int x = 0; x < length; ++x) {
        count += pixels[x] < 0xff000000U && pixels[x] != 0 ? 1U : 0U;
    }
    return count != 0;
}

/// Whether the colours that \a image, of a palette, uses let nothing through.
bool usesOpaqueColors(const QImage &image)
{
    std::array<bool, 256> lets{};
    const QList<QRgb> colors = image.colorTable();
    for (qsizetype i = 0; i < qsizetype(lets.size()); ++i) {
        lets[size_t(i)] = i >= colors.size() || qAlpha(colors.at(i)) != 255; // beyond the table is nothing
    }
    const IndexSet seeThrough(lets);
    const BrightCounter &counter = fastestBrightCounter();
    const int width = image.width();
    for (int y = 0; y < image.height(); ++y) {
        if (counter.indexes(pixelRow<uchar>(image, y), width, 0, seeThrough) > 0) {
            return false;
        }
    }
    return true;
}

/// Whether no pixel of \a view lets anything through, as far as that is cheap
/// to tell.
bool isOpaque(const QImage &view)
{
    switch (view.format()) {
    case QImage::Format_ARGB32:
    case QImage::Format_ARGB32_Premultiplied:
        for (int y = 0; y < view.height(); ++y) {
            if (qAlpha(commonBits(pixelRow<QRgb>(view, y), view.width())) != 255) {
                return false;
            }
        }
        return true;
    case QImage::Format_Indexed8:
        return usesOpaqueColors(view);
    default:
        return !view.hasAlphaChannel();
    }
}

/// \a view, which lets nothing through, without its alpha channel.
QImage withoutAlpha(const QImage &view)
{
    QImage opaque(view.constBits(), view.width(), view.height(), view.bytesPerLine(), QImage::Format_RGB32, dropImage,
                  new QImage(view)); // as in rowsView()
    opaque.setColorSpace(view.colorSpace());
    return opaque;
}

/// Whether the pixels of \a view stay the same in every 32-bit format: all are
/// opaque, or nothing at all.
bool isOpaqueOrEmpty(const QImage &view)
{
    for (int y = 0; y < view.height(); ++y) {
        if (hasHalfTransparent(pixelRow<QRgb>(view, y), view.width())) {
            return false;
        }
    }
    return true;
}

/// What the 256 levels or indexes of \a view, of eight bits a pixel, become in the
/// first of \a formats, that in the second, and so on, which are of 32 bits.
std::array<QRgb, 256> convertedColors(const QImage &view, const QList<QImage::Format> &formats)
{
    std::array<QRgb, 256> colors{};
    QImage each = everyPixelValue(view);
    for (const QImage::Format format : formats) {
        each.convertTo(format, Qt::NoOpaqueDetection);
    }
    std::memcpy(colors.data(), each.constScanLine(0), sizeof colors);
    return colors;
}

QUILLMARCH_MULTIVERSION
void expandGrays(const uchar *levels, int length, QRgb *colors)
{
    for (int x = 0; x < length; ++x) {
        colors[x] = 0xff000000U | (levels[x] * 0x010101U);
    }
}

/// Converts \a rows of \a view into \a target, by way of \a formats.
void convertRows(const QImage &view, const QList<QImage::Format> &formats, const RowRange &rows, QImage &target)
{
    const int width = view.width();
    if (view.format() == QImage::Format_Grayscale8 && target.format() == QImage::Format_RGB32) {
        for (int y = rows.first; y < rows.last; ++y) {
            expandGrays(pixelRow<uchar>(view, y), width, pixelRow<QRgb>(target, y));
        }
        return;
    }
    if (view.depth() == 8 && target.depth() == 32) {
        const std::array<QRgb, 256> colors = convertedColors(view, formats);
        for (int y = rows.first; y < rows.last; ++y) {
            const auto *from = pixelRow<uchar>(view, y);
            std::transform(from, from + width, pixelRow<QRgb>(target, y), [&](uchar index) { return colors[index]; });
        }
        return;
    }
    for (int top = rows.first; top < rows.last; top += convertedRows) {
        const QRect part(0, top, width, std::min(convertedRows, rows.last - top));
        QImage converted = rowsView(view, part).convertToFormat(formats.first(), Qt::NoOpaqueDetection);
        converted.convertTo(formats.last(), Qt::NoOpaqueDetection);
        for (int y = 0; y < part.height(); ++y) {
            std::memcpy(target.scanLine(top + y), converted.constScanLine(y), size_t(converted.bytesPerLine()));
        }
    }
}

/// What partlyConverted() writes to. Kept from one call to the next, since fresh
/// memory costs as much as the conversion.
QImage &keptImage()
{
    static QImage image;
    return image;
}

/// \a view in the first of \a formats, and that in the last, for drawing at
/// once: only \a rows of the result are right, and it is overwritten by the next
/// call. The others cost no time, but they are there, because a shorter image
/// would be scaled with another rounding.
QImage partlyConverted(const QImage &view, const QList<QImage::Format> &formats, const RowRange &rows)
{
    QImage &scratch = keptImage();
    const QImage::Format last = formats.last();
    if (scratch.width() != view.width() || scratch.height() < view.height() || scratch.format() != last) {
        scratch = QImage(view.size(), last);
        if (scratch.isNull()) {
            return {};
        }
    }
    convertRows(view, formats, {rows.first, std::min(rows.last + 1, view.height())}, scratch);
    return QImage(scratch.constBits(), view.width(), view.height(), scratch.bytesPerLine(), last);
}

/// \a view, for drawing at once into a PDF file, whose writer takes 32-bit colours
/// that are not premultiplied, searches all that have an alpha channel for
/// transparency, which screenshots often have no use for, and would convert
/// other formats by itself, in fresh memory.
QImage preparedForPdf(const QImage &view, QImage::Format format)
{
    const RowRange all{0, view.height()};
    const bool opaque = isOpaque(view);
    if (view.depth() == 32 && view.hasAlphaChannel()) {
        if (opaque) {
            return withoutAlpha(view);
        }
        if (view.format() == QImage::Format_ARGB32 && isOpaqueOrEmpty(view)) {
            return view;
        }
    }
    if (opaque && (view.hasAlphaChannel() || format == QImage::Format_RGB32)) {
        return view.format() == QImage::Format_RGB32 ? view : partlyConverted(view, {QImage::Format_RGB32}, all);
    }
    if (format == QImage::Format_ARGB32_Premultiplied) {
        return partlyConverted(view, {format, QImage::Format_ARGB32}, all); // by way of what is drawn elsewhere
    }
    return partlyConverted(view, {format}, all);
}

/// Draws \a view, as drawBand() does, into a PDF file. Where rounding leaves a
/// smaller source than the view, the writer would copy that.
void drawIntoPdf(QPainter *painter, const QRectF &target, const QImage &view, QImage::Format format, const QSizeF &size)
{
    const QRectF source = QRectF(QPointF(), size) & QRectF(view.rect());
    const QRect whole = source.toRect();
    if (whole.isEmpty()) {
        // Of less than half a row the writer takes all, but only of a pixmap.
        const QPixmap sliver = QPixmap::fromImage(view.convertToFormat(format, Qt::NoOpaqueDetection));
        painter->drawPixmap(target, sliver, QRectF(QPointF(), size));
        return;
    }
    if (whole == view.rect()) {
        painter->drawImage(target, preparedForPdf(view, format), QRectF(QPointF(), size));
        return;
    }
    const QSizeF drawn(whole.width() * (target.width() / size.width()),
                       whole.height() * (target.height() / size.height()));
    painter->drawImage(QRectF(target.topLeft(), drawn), preparedForPdf(rowsView(view, whole), format), QRectF(whole));
}

} // namespace

QImage rowsView(const QImage &image, const QRect &rect)
{
    const QRect part = rect & image.rect(); // turns a rectangle of negative size inside out
    if (rect.isEmpty() || part.isEmpty()) {
        return {};
    }
    if (part == image.rect()) {
        return image;
    }
    if (image.depth() % 8 != 0) {
        return image.copy(part);
    }
    const uchar *first = image.constScanLine(part.top()) + qsizetype(part.left()) * (image.depth() / 8);
    QImage view(first, part.width(), part.height(), image.bytesPerLine(), image.format(), dropImage,
                new QImage(image)); // dropImage deletes it with the last copy of the view
    if (!image.colorTable().isEmpty()) {
        view.setColorTable(image.colorTable());
    }
    view.setColorSpace(image.colorSpace());
    return view;
}

QImage everyPixelValue(const QImage &image)
{
    constexpr int valueCount = 256;
    QImage values(valueCount, 1, image.format());
    values.setColorTable(image.colorTable());
    values.setColorSpace(image.colorSpace());
    std::iota(values.scanLine(0), values.scanLine(0) + valueCount, uchar(0));
    return values;
}

QImage::Format copyFormat(const QPixmap &pixmap)
{
    return pixmap.copy(0, 0, 1, 1).toImage().format();
}

QImage bandView(const QPixmap &pixmap, const QRect &rect)
{
    const QImage view = rowsView(pixmap.toImage(), rect);
    if (view.isNull()) {
        return {};
    }
    return view.convertToFormat(bandFormat(pixmap, view), Qt::NoOpaqueDetection);
}

void drawBand(QPainter *painter, const QRectF &target, const QPixmap &pixmap, const QRect &band, const QSizeF &size)
{
    QImage view = rowsView(pixmap.toImage(), band);
    if (view.isNull()) {
        return;
    }
    const QImage::Format format = bandFormat(pixmap, view);
    const QPaintEngine *engine = painter->paintEngine();
    const QPaintEngine::Type device = engine != nullptr ? engine->type() : QPaintEngine::User;
    if (device == QPaintEngine::Pdf) {
        drawIntoPdf(painter, target, view, format, size);
        return;
    }
    if (device != QPaintEngine::Raster) {
        view = view.convertToFormat(format, Qt::NoOpaqueDetection);
    } else if (view.format() != format) {
        view = partlyConverted(view, {format}, neededRows(painter, target, size.height()));
    }
    painter->drawImage(target, view, QRectF(QPointF(), size));
}

void dropConvertedRows()
{
    keptImage() = QImage();
}
