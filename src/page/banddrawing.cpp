#include "page/banddrawing.h"

#include "pixels/opacity.h"
#include "pixels/rowconverter.h"
#include "pixels/rowviews.h"

#include <QPaintEngine>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

/// The format that QPixmap::copy() gives a part of \a pixmap on this screen.
QImage::Format copyFormat(const QPixmap &pixmap)
{
    return pixmap.copy(0, 0, 1, 1).toImage().format();
}

/// The format in which \a view, a part of \a pixmap, is drawn.
QImage::Format bandFormat(const QPixmap &pixmap, const QImage &view)
{
    if (!view.colorTable().isEmpty()) {
        // A copy of a part of such a pixmap would lose the color table.
        return view.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32;
    }
    return copyFormat(pixmap);
}

RowRange allRows(const QImage &view)
{
    return {0, view.height() - 1};
}

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

/// \a view, which is drawn in \a format, as Qt's PDF writer takes it without a
/// copy: in 32-bit colors that are not premultiplied. It converts other formats
/// in memory of its own, and searches all that have an alpha channel for
/// transparency, which screenshots often do not use.
QImage preparedForPdf(const QImage &view, QImage::Format format, RowConverter &converter)
{
    const bool opaque = isOpaque(view);
    if (view.depth() == 32 && view.hasAlphaChannel()) {
        if (opaque) {
            return withoutAlpha(view);
        }
        if (view.format() == QImage::Format_ARGB32 && !hasPartlyTransparent(view)) {
            return view;
        }
    }
    if (opaque && (view.hasAlphaChannel() || format == QImage::Format_RGB32)) {
        return view.format() == QImage::Format_RGB32 ? view
                                                     : converter.convert(view, {QImage::Format_RGB32}, allRows(view));
    }
    if (format == QImage::Format_ARGB32_Premultiplied) {
        // Premultiplied first, or the pixels would differ from those on other devices.
        return converter.convert(view, {format, QImage::Format_ARGB32}, allRows(view));
    }
    return converter.convert(view, {format}, allRows(view));
}

/// Draws \a view, as drawBand() does, into a PDF file. Where rounding leaves a
/// smaller source than the view, Qt's PDF writer would copy that part.
void drawIntoPdf(QPainter *painter, const QRectF &target, const QImage &view, QImage::Format format, const QSizeF &size,
                 RowConverter &converter)
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
        painter->drawImage(target, preparedForPdf(view, format, converter), QRectF(QPointF(), size));
        return;
    }
    const QSizeF drawn(whole.width() * (target.width() / size.width()),
                       whole.height() * (target.height() / size.height()));
    const QImage part = rowsView(view, whole);
    painter->drawImage(QRectF(target.topLeft(), drawn), preparedForPdf(part, format, converter), QRectF(whole));
}

} // namespace

void drawBand(QPainter *painter, const QRectF &target, const QPixmap &pixmap, const QRect &band, const QSizeF &size,
              RowConverter &converter)
{
    QImage view = rowsView(pixmap.toImage(), band);
    if (view.isNull()) {
        return;
    }
    const QImage::Format format = bandFormat(pixmap, view);
    const QPaintEngine *engine = painter->paintEngine();
    const QPaintEngine::Type device = engine != nullptr ? engine->type() : QPaintEngine::User;
    if (device == QPaintEngine::Pdf) {
        drawIntoPdf(painter, target, view, format, size, converter);
        return;
    }
    if (device != QPaintEngine::Raster) {
        view = view.convertToFormat(format, Qt::NoOpaqueDetection);
    } else if (view.format() != format) {
        // The rows that do not show are there, because a shorter image would be scaled with another rounding.
        view = converter.convert(view, {format}, neededRows(painter, target, size.height()));
    }
    painter->drawImage(target, view, QRectF(QPointF(), size));
}
