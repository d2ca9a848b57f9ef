#include "page/bandview.h"

#include "page/multiversion.h"

#include <QColorSpace>
#include <QPaintEngine>
#include <QPainter>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

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

QUILLMARCH_MULTIVERSION
QRgb commonBits(const QRgb *pixels, int length)
{
    QRgb common = ~QRgb(0);
    for (int x = 0; x < length; ++x) {
        common &= pixels[x];
    }
    return common;
}

/// Whether \a colors, the table of \a image, lets nothing through where the
/// image uses it.
bool usesOpaqueColors(const QImage &image, const QList<QRgb> &colors)
{
    std::array<bool, 256> isUsed{};
    for (int y = 0; y < image.height(); ++y) {
        const auto *row = pixelRow<uchar>(image, y);
        for (int x = 0; x < image.width(); ++x) {
            isUsed[row[x]] = true;
        }
    }
    for (int i = 0; i < int(isUsed.size()); ++i) {
        if (isUsed[size_t(i)] && (i >= colors.size() || qAlpha(colors.at(i)) != 255)) {
            return false; // an index beyond the table stands for nothing
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
        return usesOpaqueColors(view, view.colorTable());
    default:
        return !view.hasAlphaChannel();
    }
}

/// \a view in \a format, or without alpha if it has no use for it: screenshots
/// often have one, and a document writer spends more time on it than on the rest.
QImage converted(const QImage &view, QImage::Format format)
{
    const bool dropsAlpha = view.hasAlphaChannel() && isOpaque(view);
    if (dropsAlpha && view.depth() == 32) {
        QImage opaque(view.constBits(), view.width(), view.height(), view.bytesPerLine(), QImage::Format_RGB32,
                      dropImage, new QImage(view)); // as in rowsView()
        opaque.setColorSpace(view.colorSpace());
        return opaque;
    }
    return view.convertToFormat(dropsAlpha ? QImage::Format_RGB32 : format, Qt::NoOpaqueDetection);
}

/// As bandView(), for drawing at once: only \a rows of the result are right,
/// and it is overwritten by the next call. The others cost no time, but they
/// are there, because a shorter image would be scaled with another rounding.
QImage partlyConverted(const QImage &view, QImage::Format format, const RowRange &rows)
{
    static QImage scratch; // kept, since fresh memory costs as much as the conversion
    if (scratch.width() != view.width() || scratch.height() < view.height() || scratch.format() != format) {
        scratch = QImage(view.size(), format);
        if (scratch.isNull()) {
            return {};
        }
    }
    const int end = std::min(rows.last + 1, view.height());
    for (int top = rows.first; top < end; top += convertedRows) {
        const QRect part(0, top, view.width(), std::min(convertedRows, end - top));
        const QImage converted = rowsView(view, part).convertToFormat(format, Qt::NoOpaqueDetection);
        for (int y = 0; y < converted.height(); ++y) {
            std::memcpy(scratch.scanLine(top + y), converted.constScanLine(y), size_t(converted.bytesPerLine()));
        }
    }
    return QImage(scratch.constBits(), view.width(), view.height(), scratch.bytesPerLine(), format);
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
    if (engine == nullptr || engine->type() != QPaintEngine::Raster) {
        view = converted(view, format);
    } else if (view.format() != format) {
        view = partlyConverted(view, format, neededRows(painter, target, size.height()));
    }
    painter->drawImage(target, view, QRectF(QPointF(), size));
}
