#include "support/calmcuts.h"

using namespace Qt::StringLiterals;

QImage brightened(const QImage &image, int step)
{
    QImage result = image;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QRgb pixel = image.pixel(x, y);
            result.setPixel(x, y, qRgb(qRed(pixel) + step, qGreen(pixel) + step, qBlue(pixel) + step));
        }
    }
    return result;
}

QString described(const CalmRow &cut)
{
    return u"row %1, gap %2, ground %3"_s.arg(cut.row).arg(cut.gap).arg(int(cut.ground));
}
