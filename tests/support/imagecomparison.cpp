#include "support/imagecomparison.h"

#include <algorithm>
#include <cstdlib>

namespace {

int greatestChannelDifference(QRgb a, QRgb b)
{
    return std::max({std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)), std::abs(qBlue(a) - qBlue(b)),
                     std::abs(qAlpha(a) - qAlpha(b))});
}

} // namespace

QString firstDifference(const QImage &actual, const QImage &expected, int tolerance)
{
    if (actual.size() != expected.size()) {
        return QString::asprintf("size is %dx%d instead of %dx%d", actual.width(), actual.height(), expected.width(),
                                 expected.height());
    }
    for (int y = 0; y < expected.height(); ++y) {
        for (int x = 0; x < expected.width(); ++x) {
            const QRgb a = actual.pixel(x, y);
            const QRgb b = expected.pixel(x, y);
            if (greatestChannelDifference(a, b) > tolerance) {
                return QString::asprintf("pixel (%d, %d) is #%08x instead of #%08x", x, y, a, b);
            }
        }
    }
    return {};
}

bool isBlank(const QImage &image)
{
    QImage blank = image;
    blank.fill(Qt::white);
    return image == blank;
}
