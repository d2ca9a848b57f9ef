#include "support/plainbrightestrow.h"

int plainBrightestRow(const QImage &image)
{
    int bestCount = 0;
    int bestRow = 0;
    for (int y = 0; y < image.height(); ++y) {
        int count = 0;
        for (int x = 0; x < image.width(); ++x) {
            count += qRed(image.pixel(x, y)) >= 192 ? 1 : 0;
        }
        if (count > bestCount) {
            bestCount = count;
            bestRow = y;
        }
    }
    return bestRow;
}
