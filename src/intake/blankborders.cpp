#include "intake/blankborders.h"

#include <algorithm>
#include <vector>

namespace {

constexpr int thresholdForOneLevel = 200;

// A line of this many pixels may hold one more speck before it is content.
constexpr int speckShare = 1000;

/// How many ink pixels make a line of \a length pixels content.
quint32 contentCount(int length)
{
    return quint32(length / speckShare + 2);
}

bool isContentRow(const uchar *row, int width, int threshold)
{
    const quint32 needed = contentCount(width);
    quint32 ink = 0;
    for (int x = 0; x < width; ++x) {
        ink += row[x] <= threshold ? 1U : 0U;
        if (ink == needed) {
            return true;
        }
    }
    return false;
}

struct Columns
{
    int left;
    int right;
};

/// The first and the last content column over the full height; left is the
/// width if there is none. Counts row by row, as the image is stored, and only
/// in the columns that can still move an edge outward.
Columns contentColumns(const QImage &gray, int threshold)
{
    const int width = gray.width();
    const quint32 needed = contentCount(gray.height());
    std::vector<quint32> ink(size_t(width), 0);
    Columns found{width, -1};
    const auto count = [&](const uchar *row, int x) { return row[x] <= threshold && ++ink[size_t(x)] >= needed; };
    for (int y = 0; y < gray.height(); ++y) {
        const uchar *row = gray.constScanLine(y);
        for (int x = 0; x < found.left; ++x) {
            if (count(row, x)) {
                found.left = x;
                found.right = std::max(found.right, x);
            }
        }
        for (int x = width - 1; x > found.right && found.left < width; --x) {
            if (count(row, x)) {
                found.right = x;
            }
        }
    }
    return found;
}

} // namespace

GrayHistogram grayHistogram(const QImage &gray)
{
    GrayHistogram histogram{};
    for (int y = 0; y < gray.height(); ++y) {
        const uchar *row = gray.constScanLine(y);
        for (int x = 0; x < gray.width(); ++x) {
            ++histogram[row[x]];
        }
    }
    return histogram;
}

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

std::optional<QRect> contentBounds(const QImage &gray, int threshold)
{
    const int width = gray.width();
    const int height = gray.height();
    int top = 0;
    while (top < height && !isContentRow(gray.constScanLine(top), width, threshold)) {
        ++top;
    }
    int bottom = height - 1;
    while (bottom > top && !isContentRow(gray.constScanLine(bottom), width, threshold)) {
        --bottom;
    }
    if (top >= bottom) {
        return std::nullopt;
    }
    const auto [left, right] = contentColumns(gray, threshold);
    if (left >= right) {
        return std::nullopt;
    }
    return QRect(QPoint(left, top), QPoint(right, bottom));
}
