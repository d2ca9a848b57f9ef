#include "support/plainprofile.h"

#include <algorithm>

namespace {

/// Four times the binary logarithm of the average, in sixteenths, rounded down.
int plainLevel(quint64 halves, int width)
{
    const quint64 value = halves * 8 / quint64(width) + 64;
    int exponent = 0;
    while (value >> (exponent + 1) != 0) {
        ++exponent;
    }
    const quint64 rest = value - (quint64(1) << exponent);
    return (16 * exponent + int((rest << 4) >> exponent)) / 4;
}

/// The channels of all pixels: one for gray, four otherwise.
QImage channelsOf(const QImage &image)
{
    if (image.format() == QImage::Format_Grayscale8) {
        return image;
    }
    return image.convertToFormat(image.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32,
                                 Qt::NoOpaqueDetection);
}

} // namespace

quint64 plainSquares(const uchar *a, const uchar *b, qsizetype first, qsizetype end)
{
    quint64 sum = 0;
    for (qsizetype i = first; i < end; ++i) {
        sum += quint64((a[i] - b[i]) * (a[i] - b[i]));
    }
    return sum;
}

RowProfile plainProfile(const QImage &image, int top, int bottom)
{
    const QImage channels = channelsOf(image);
    const int bytes = channels.depth() / 8;
    const quint64 weight = bytes == 1 ? 3 : 1;
    const qsizetype length = qsizetype(image.width()) * bytes;
    RowProfile profile;
    profile.top = top;
    profile.width = image.width();
    profile.height = std::max(0, bottom - top);
    profile.span = std::max(4, image.width() / 50);
    for (int y = top; y < bottom; ++y) {
        const uchar *row = channels.constScanLine(y);
        const qsizetype span = qsizetype(profile.span) * bytes;
        const quint64 near = plainSquares(row, row - bytes, bytes, length);
        const quint64 wide = plainSquares(row, row - span, span, length);
        const quint64 down = plainSquares(row, channels.constScanLine(std::max(0, y - 1)), 0, length);
        const uchar *farAbove = channels.constScanLine(std::max(0, y - profile.span));
        const quint64 drift = y % 4 == 0 ? plainSquares(row, farAbove, 0, length) : 0;
        profile.row.push_back(plainLevel((2 * near + wide) * weight, image.width()));
        profile.seam.push_back(plainLevel(2 * down * weight, image.width()));
        profile.drift.push_back(plainLevel(2 * drift * weight, image.width()));
        profile.down.push_back(down * weight);
    }
    return profile;
}
