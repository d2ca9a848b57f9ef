#include "page/samples.h"

#include <QColor>
#include <QMetaEnum>
#include <QPainter>
#include <QRandomGenerator>

#include <algorithm>

QList<QImage::Format> directFormats()
{
    QList<QImage::Format> formats;
    for (int format = QImage::Format_Invalid + 1; format < QImage::NImageFormats; ++format) {
        if (format != QImage::Format_Mono && format != QImage::Format_MonoLSB && format != QImage::Format_Indexed8) {
            formats.append(QImage::Format(format));
        }
    }
    return formats;
}

const char *formatName(QImage::Format format)
{
    return QMetaEnum::fromType<QImage::Format>().valueToKey(format);
}

QImage noiseImage(QSize size, QImage::Format format, quint32 seed)
{
    QRandomGenerator random(seed);
    QImage image(size, QImage::Format_RGBA64);
    for (int y = 0; y < image.height(); ++y) {
        auto *row = reinterpret_cast<quint64 *>(image.scanLine(y));
        std::generate(row, row + image.width(), [&random] { return random.generate64(); });
    }
    return image.convertToFormat(format);
}

QImage textImage(QSize size, quint32 seed)
{
    QRandomGenerator random(seed);
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    for (int top = random.bounded(20); top < size.height(); top += 14 + random.bounded(8)) {
        const int end = random.bounded(size.width() / 2, size.width());
        for (int left = 5; left < end; left += 3 + random.bounded(7)) {
            const int height = random.bounded(3, 12);
            const int grey = random.bounded(120);
            painter.fillRect(left, top + 12 - height, random.bounded(1, 6), height, QColor(grey, grey, grey));
        }
    }
    return image;
}

QImage paletteImage(QSize size, bool opaque, quint32 seed)
{
    QRandomGenerator random(seed);
    QImage image(size, QImage::Format_Indexed8);
    for (int i = 0; i < 256; ++i) {
        const QRgb color = random.generate();
        image.setColor(i, opaque ? color | 0xff000000U : color);
    }
    for (int y = 0; y < image.height(); ++y) {
        uchar *row = image.scanLine(y);
        std::generate(row, row + image.width(), [&random] { return uchar(random.bounded(256)); });
    }
    return image;
}

QPixmap keptPixmap(const QImage &image)
{
    return QPixmap::fromImage(image, Qt::NoFormatConversion);
}

int plainBrightestRow(const QImage &image)
{
    quint64 bestSum = 0;
    int bestRow = 0;
    for (int y = 0; y < image.height(); ++y) {
        quint64 sum = 0;
        for (int x = 0; x < image.width(); ++x) {
            const QColor color(image.pixel(x, y));
            if (color.red() >= 192) {
                sum += 255;
            }
        }
        if (sum > bestSum) {
            bestSum = sum;
            bestRow = y;
        }
    }
    return bestRow;
}

void plainDrawBand(QPainter *painter, const QPixmap &source, const QRectF &band, const QRectF &target)
{
    const QPixmap copy = source.copy(band.toRect());
    painter->drawPixmap(target, copy, QRectF(0, 0, band.width(), band.height()));
}

QString firstDifference(const QImage &actual, const QImage &expected)
{
    if (actual == expected) {
        return {};
    }
    if (actual.size() != expected.size()) {
        return QString::asprintf("size %dx%d instead of %dx%d", actual.width(), actual.height(), expected.width(),
                                 expected.height());
    }
    for (int y = 0; y < expected.height(); ++y) {
        for (int x = 0; x < expected.width(); ++x) {
            if (actual.pixel(x, y) != expected.pixel(x, y)) {
                return QString::asprintf("pixel (%d, %d) is %08x instead of %08x", x, y, actual.pixel(x, y),
                                         expected.pixel(x, y));
            }
        }
    }
    return {};
}
