#include "pixels/channelrows.h"

#include "pixels/rowviews.h"

namespace {

quint64 squaredDifference(const uchar *a, const uchar *b, int bytes)
{
    quint64 sum = 0;
    for (int i = 0; i < bytes; ++i) {
        const int difference = a[i] - b[i];
        sum += quint64(difference * difference);
    }
    return sum;
}

} // namespace

ChannelRows::ChannelRows(const QImage &image)
    : source(image)
    , isGray(image.format() == QImage::Format_Grayscale8)
    , format(image.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32)
{
}

QImage ChannelRows::rows(int first, int count) const
{
    const QImage view = rowsView(source, QRect(0, first, source.width(), count));
    return isGray ? view : view.convertToFormat(format, Qt::NoOpaqueDetection);
}

quint64 ChannelRows::difference(int a, int b) const
{
    const QImage first = rows(a, 1);
    const QImage second = rows(b, 1);
    return weight() * squaredDifference(first.constScanLine(0), second.constScanLine(0), width() * pixelBytes());
}

int ChannelRows::changedPixels(int a, int b, quint64 least) const
{
    const QImage first = rows(a, 1);
    const QImage second = rows(b, 1);
    const uchar *before = first.constScanLine(0);
    const uchar *after = second.constScanLine(0);
    int count = 0;
    for (qsizetype x = 0; x < width(); ++x) {
        const qsizetype at = x * pixelBytes();
        count += weight() * squaredDifference(before + at, after + at, pixelBytes()) > least ? 1 : 0;
    }
    return count;
}
