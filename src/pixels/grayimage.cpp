#include "pixels/grayimage.h"

#include "pixels/rowviews.h"

#include <algorithm>
#include <array>

namespace {

/// A pixel with its alpha last.
template <typename Channel>
using Pixel = std::array<Channel, 4>;

template <typename Channel>
bool isPossible(const Pixel<Channel> &pixel)
{
    return *std::max_element(pixel.begin(), pixel.end()) == pixel.back();
}

template <typename Channel>
QImage withPossibleColors(QImage image)
{
    for (int y = 0; y < image.height(); ++y) {
        const auto *row = pixelRow<Pixel<Channel>>(std::as_const(image), y);
        if (std::all_of(row, row + image.width(), isPossible<Channel>)) {
            continue;
        }
        auto *changed = pixelRow<Pixel<Channel>>(image, y);
        if (changed == nullptr) {
            return {};
        }
        std::for_each(changed, changed + image.width(), [](Pixel<Channel> &pixel) {
            for (Channel &channel : pixel) {
                channel = std::min(channel, pixel.back());
            }
        });
    }
    return image;
}

QImage withPossibleColors(const QImage &image)
{
    switch (image.format()) {
    case QImage::Format_RGBA8888_Premultiplied:
#if Q_BYTE_ORDER == Q_LITTLE_ENDIAN
    case QImage::Format_ARGB32_Premultiplied:
#endif
        return withPossibleColors<uchar>(image);
    case QImage::Format_RGBA64_Premultiplied:
        return withPossibleColors<quint16>(image);
    default:
        return image;
    }
}

} // namespace

QImage grayImage(const QImage &image)
{
    return withPossibleColors(image).convertToFormat(QImage::Format_Grayscale8);
}
