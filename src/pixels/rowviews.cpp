#include "pixels/rowviews.h"

#include <QColorSpace>

#include <numeric>

namespace {

/// An image of \a size on the rows of \a image that begin at \a first, which keeps
/// \a image alive.
QImage viewOf(const QImage &image, const uchar *first, const QSize &size, QImage::Format format)
{
    const auto release = [](void *owner) { delete static_cast<QImage *>(owner); };
    auto *owner = new QImage(image); // released with the last copy of the view
    QImage view(first, size.width(), size.height(), image.bytesPerLine(), format, release, owner);
    view.setColorSpace(image.colorSpace());
    return view;
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
    QImage view = viewOf(image, first, part.size(), image.format());
    if (!image.colorTable().isEmpty()) {
        view.setColorTable(image.colorTable());
    }
    return view;
}

QImage withoutAlpha(const QImage &view)
{
    return viewOf(view, view.constBits(), view.size(), QImage::Format_RGB32);
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
