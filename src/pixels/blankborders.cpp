#include "pixels/blankborders.h"

#include "pixels/processor.h"

#include <algorithm>
#include <new>
#include <utility>
#include <vector>

namespace {

constexpr int thresholdForOneLevel = 200;

// For each this many pixels, a row or column may have one more ink pixel as noise.
constexpr int pixelsPerSpeck = 1000;

// How many rows are counted, in 8-bit counters, between two searches for the edges.
constexpr int rowsPerPass = 128;

/// The least number of ink pixels that makes a row or column of \a length pixels
/// content.
quint32 leastContentInk(int length)
{
    return quint32(length / pixelsPerSpeck + 2);
}

bool isContentRow(const uchar *row, int width, int threshold)
{
    const quint32 needed = leastContentInk(width);
    quint32 ink = 0;
    for (int x = 0; x < width; ++x) {
        ink += row[x] <= threshold ? 1U : 0U;
        if (ink == needed) {
            return true;
        }
    }
    return false;
}

/// Increments each of \a counts where \a row has an ink pixel.
Q_ALWAYS_INLINE void countInkInline(const uchar *row, int length, uchar threshold, quint8 *counts)
{
    for (int x = 0; x < length; ++x) {
        counts[x] = quint8(counts[x] + (row[x] <= threshold ? 1 : 0));
    }
}

void countInk(const uchar *row, int length, uchar threshold, quint8 *counts)
{
    countInkInline(row, length, threshold, counts);
}

#ifdef QUILLMARCH_HAS_VECTORS
QUILLMARCH_AVX2 void countInkAvx2(const uchar *row, int length, uchar threshold, quint8 *counts)
{
    countInkInline(row, length, threshold, counts);
}
#endif

/// The first and the last content column; the width and -1 if there is none.
struct Columns
{
    int left;
    int right;
};

/// Counts ink row by row, in the order of the memory, and only in the columns that
/// can still move an edge outward.
Columns contentColumns(const GrayScan &scan, int threshold)
{
    const int width = scan.width();
    const int height = scan.height();
    const quint32 needed = leastContentInk(height);
    std::vector<quint8> added(size_t(width), 0); // in this pass
    std::vector<quint32> ink(size_t(width), 0);
    Columns found{width, -1};
    const auto count = QUILLMARCH_FASTEST(countInk, countInkAvx2);
    const auto countColumns = [&](int from, int to, int top, int bottom) {
        for (int y = top; y < bottom; ++y) {
            count(scan.levels(y, from, to), to - from, uchar(threshold), added.data() + from);
        }
        for (int x = from; x < to; ++x) {
            ink[size_t(x)] += std::exchange(added[size_t(x)], quint8(0));
        }
    };
    const auto isContent = [needed](quint32 pixels) { return pixels >= needed; };
    for (int top = 0; top < height; top += rowsPerPass) {
        const int bottom = std::min(top + rowsPerPass, height);
        countColumns(0, found.left, top, bottom);
        countColumns(found.left == width ? width : found.right + 1, width, top, bottom);
        const auto first = std::find_if(ink.cbegin(), ink.cbegin() + found.left, isContent);
        found.left = int(first - ink.cbegin());
        const auto last = std::find_if(ink.crbegin(), ink.crend() - (found.right + 1), isContent);
        found.right = std::max(found.right, int(ink.crend() - last) - 1);
    }
    return found;
}

/// The bounds of the content of \a image. Nothing if there is none, or if memory
/// runs out.
std::optional<QRect> trimmedBounds(const QImage &image)
{
    try {
        const GrayScan scan(image);
        return contentBounds(scan, inkThreshold(scan.histogram()));
    } catch (const std::bad_alloc &) {
        return std::nullopt;
    }
}

} // namespace

int inkThreshold(const GrayHistogram &histogram)
{
    quint64 total = 0;
    quint64 totalSum = 0;
    for (size_t level = 0; level < histogram.size(); ++level) {
        total += histogram[level];
        totalSum += level * quint64(histogram[level]);
    }

    int threshold = thresholdForOneLevel;
    double bestScore = -1.0;
    quint64 background = 0;
    quint64 backgroundSum = 0;
    for (size_t level = 0; level < histogram.size(); ++level) {
        background += histogram[level];
        if (background == 0) {
            continue;
        }
        const quint64 foreground = total - background;
        if (foreground == 0) {
            break;
        }
        backgroundSum += level * quint64(histogram[level]);
        const double backgroundMean = double(backgroundSum) / double(background);
        const double foregroundMean = double(totalSum - backgroundSum) / double(foreground);
        const double distance = backgroundMean - foregroundMean;
        const double score = double(background) * double(foreground) * (distance * distance);
        if (score > bestScore) {
            bestScore = score;
            threshold = int(level);
        }
    }
    return threshold;
}

std::optional<QRect> contentBounds(const GrayScan &scan, int threshold)
{
    const int width = scan.width();
    const int height = scan.height();
    int top = 0;
    while (top < height && !isContentRow(scan.levels(top, 0, width), width, threshold)) {
        ++top;
    }
    int bottom = height - 1;
    while (bottom > top && !isContentRow(scan.levels(bottom, 0, width), width, threshold)) {
        --bottom;
    }
    if (top >= bottom) {
        return std::nullopt;
    }
    const auto [left, right] = contentColumns(scan, threshold);
    if (left >= right) {
        return std::nullopt;
    }
    return QRect(QPoint(left, top), QPoint(right, bottom));
}

std::optional<QPixmap> withoutBlankBorders(const QPixmap &source, int *topRow)
{
    const std::optional<QRect> bounds = trimmedBounds(source.toImage());
    if (!bounds) {
        return std::nullopt;
    }
    const QPixmap trimmed = QPixmap::fromImage(source.toImage().copy(*bounds));
    if (trimmed.isNull()) {
        return std::nullopt;
    }
    if (topRow != nullptr) {
        *topRow = bounds->top();
    }
    return trimmed;
}
