#include "pixels/plaintrim.h"

namespace {

bool isContentLine(const QImage &gray, int threshold, bool isRow, int line)
{
    const int length = isRow ? gray.width() : gray.height();
    const int limit = length / 1000;
    int count = 0;
    for (int i = 0; i < length; ++i) {
        const int level = isRow ? qGray(gray.pixel(i, line)) : qGray(gray.pixel(line, i));
        if (level <= threshold) {
            if (count > limit) {
                return true;
            }
            ++count;
        }
    }
    return false;
}

} // namespace

int plainThreshold(const QImage &gray)
{
    qint64 counts[256] = {};
    for (int y = 0; y < gray.height(); ++y) {
        for (int x = 0; x < gray.width(); ++x) {
            ++counts[qGray(gray.pixel(x, y))];
        }
    }
    qint64 total = 0;
    qint64 totalSum = 0;
    for (int level = 0; level < 256; ++level) {
        total += counts[level];
        totalSum += level * counts[level];
    }
    int threshold = 200;
    double best = -1.0;
    qint64 weight = 0;
    qint64 sum = 0;
    for (int level = 0; level < 256; ++level) {
        weight += counts[level];
        if (weight == 0) {
            continue;
        }
        const qint64 rest = total - weight;
        if (rest == 0) {
            break;
        }
        sum += level * counts[level];
        const double mean = double(sum) / double(weight);
        const double restMean = double(totalSum - sum) / double(rest);
        const double score = double(weight) * double(rest) * (mean - restMean) * (mean - restMean);
        if (score > best) {
            best = score;
            threshold = level;
        }
    }
    return threshold;
}

std::optional<QRect> plainBounds(const QImage &gray, int threshold)
{
    const int width = gray.width();
    const int height = gray.height();
    int top = 0;
    while (top < height && !isContentLine(gray, threshold, true, top)) {
        ++top;
    }
    int bottom = height - 1;
    if (top < height) {
        while (!isContentLine(gray, threshold, true, bottom)) {
            --bottom;
        }
    }
    int left = 0;
    while (left < width && !isContentLine(gray, threshold, false, left)) {
        ++left;
    }
    if (left > width - 1) {
        return std::nullopt;
    }
    int right = width - 1;
    while (!isContentLine(gray, threshold, false, right)) {
        --right;
    }
    if (left < right && top < bottom) {
        return QRect(QPoint(left, top), QPoint(right, bottom));
    }
    return std::nullopt;
}
