#include "page/bandview.h"

#include <QColorSpace>

namespace {

void dropImage(void *image)
{
    delete static_cast<QImage *>(image);
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
    if (!view.colorTable().isEmpty()) {
        return view.convertToFormat(view.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied
                                                           : QImage::Format_RGB32);
    }
    return view.convertToFormat(copyFormat(pixmap), Qt::NoOpaqueDetection);
}
