#include "pixels/rowviews.h"

#include <QColorSpace>

#include <memory>
#include <numeric>

namespace {

/// An image of \a size that reads the pixels of \a image from \a first on, and keeps
/// \a image alive.
QImage viewOf(const QImage &image, const uchar *first, const QSize &size, QImage::Format format)
{
    const auto release = [](void *owner) { delete static_cast<QImage *>(owner); };
    auto owner = std::make_unique<QImage>(image);
    QImage view(first, size.width(), size.height(), image.bytesPerLine(), format, release, owner.get());
    static_cast<void>(owner.release()); // the last copy of the view deletes it
    view.setColorSpace(image.colorSpace());
    return view;
}

} // namespace

QImage rowsView(const QImage &image, const QRect &rect)
{
    const QRect part = rect & image.rect(); // normalizes a rectangle of negative size
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
