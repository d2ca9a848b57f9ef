#include "page/bandview.h"

#include <QColorSpace>
#include <QPaintEngine>
#include <QPainter>

#include <algorithm>
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
    if (view.format() == QImage::Format_RGB32) {
        return QImage::Format_RGB32; // as copies have it on every screen
    }
    if (!view.colorTable().isEmpty()) {
        // A copy of a part of such a pixmap would lose the colour table.
        return view.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32;
    }
    return copyFormat(pixmap);
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
    if (view.format() != format) {
        const QPaintEngine *engine = painter->paintEngine();
        const bool isRaster = engine != nullptr && engine->type() == QPaintEngine::Raster;
        view = isRaster ? partlyConverted(view, format, neededRows(painter, target, size.height()))
                        : view.convertToFormat(format, Qt::NoOpaqueDetection);
    }
    painter->drawImage(target, view, QRectF(QPointF(), size));
}
