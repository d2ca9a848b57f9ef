#include "pixels/channelrows.h"

#include "pixels/rowviews.h"

#include <algorithm>
#include <array>

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

/// Rows around an edge, and the offset of the one below it.
constexpr int rowsAroundStep = 2 * stepSurroundings + 2;
constexpr int stepRow = stepSurroundings + 1;

using RowPointers = std::array<const uchar *, rowsAroundStep>;

enum class Step { None, Edge, Line };

/// What the \a bytes of a pixel at \a at are part of: of an edge, if they differ by more
/// than \a least from those above, and by less than a quarter of that in the three rows
/// above and below; of a line, if the pixels beyond it are as those before it.
Step stepAt(const RowPointers &rows, qsizetype at, int bytes, quint64 least)
{
    const auto difference = [&](int a, int b) {
        return squaredDifference(rows[size_t(a)] + at, rows[size_t(b)] + at, bytes);
    };
    const quint64 step = difference(stepRow - 1, stepRow);
    if (step <= least) {
        return Step::None;
    }
    for (int i = 1; i <= 3; ++i) {
        if (4 * std::max(difference(stepRow + i - 1, stepRow + i), difference(stepRow - i - 1, stepRow - i)) > step) {
            return Step::None;
        }
    }
    const quint64 beyond = std::min(difference(0, stepRow), difference(stepRow - 1, rowsAroundStep - 1));
    return 4 * beyond > step ? Step::Edge : Step::Line;
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

int ChannelRows::steppedPixels(int y, quint64 least) const
{
    const QImage part = rows(y - stepRow, rowsAroundStep);
    RowPointers pointers{};
    for (int i = 0; i < rowsAroundStep; ++i) {
        pointers[size_t(i)] = part.constScanLine(i);
    }
    const int shortest = std::max(1, width() / 40);
    int count = 0;
    int run = 0;
    for (qsizetype x = 0; x < width(); ++x) {
        const Step step = stepAt(pointers, x * pixelBytes(), pixelBytes(), least / weight());
        run = step == Step::Edge ? run + 1 : 0;
        count += run == shortest ? shortest : run > shortest ? 1 : 0;
        count -= step == Step::Line ? 1 : 0;
    }
    return count;
}

quint64 ChannelRows::continuedChange(int y) const
{
    const QImage both = rows(y - 1, 2);
    const auto change = [&](int row, qsizetype x) {
        const uchar *pixel = both.constScanLine(row) + x * pixelBytes();
        return squaredDifference(pixel - pixelBytes(), pixel, pixelBytes());
    };
    quint64 sum = 0;
    for (qsizetype x = 1; x < width(); ++x) {
        sum += std::min(change(0, x), change(1, x));
    }
    return weight() * sum;
}
