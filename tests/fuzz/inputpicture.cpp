#include "inputpicture.h"

#include "inputbytes.h"
#include "support/pictures.h"

#include <algorithm>
#include <array>
#include <random>

namespace {

constexpr int mostPixels = 12000;
constexpr int widest = 600;
constexpr int highest = 500;

QImage::Format formatFrom(InputBytes &input)
{
    static const QList<QImage::Format> formats =
        QList{QImage::Format_Indexed8, QImage::Format_Mono, QImage::Format_MonoLSB} + directFormats();
    return formats.at(input.byte() % formats.size());
}

QSize sizeFrom(InputBytes &input)
{
    const int width = 1 + input.below(widest);
    return {width, 1 + input.below(std::min(highest, mostPixels / width))};
}

QRgb colorFrom(InputBytes &input)
{
    const int kind = input.byte();
    const int alpha = kind % 4 == 0 ? input.byte() : 255;
    const int red = input.byte();
    const int green = kind % 8 < 4 ? red : input.byte();
    return qRgba(red, green, kind % 8 < 4 ? red : input.byte(), alpha);
}

/// Whether every bit of a row of \a format is part of a pixel, and every value is one.
bool takesAnyBits(QImage::Format format)
{
    constexpr std::array formats{QImage::Format_Mono,     QImage::Format_MonoLSB,    QImage::Format_Indexed8,
                                 QImage::Format_ARGB32,   QImage::Format_RGB16,      QImage::Format_RGB888,
                                 QImage::Format_RGBA8888, QImage::Format_RGBA64,     QImage::Format_Grayscale8,
                                 QImage::Format_BGR888,   QImage::Format_Grayscale16};
    return std::find(formats.begin(), formats.end(), format) != formats.end();
}

/// What the rows of a stripe look like.
enum Stripe { Blank, Text, Bar, Photo, Noise, Gradient, StripeCount };

struct StripeColors
{
    QRgb ground;
    QRgb ink;
};

QRgb between(const StripeColors &colors, int share, int whole)
{
    const auto mixed = [=](int from, int to) { return from + (to - from) * share / whole; };
    return qRgba(mixed(qRed(colors.ground), qRed(colors.ink)), mixed(qGreen(colors.ground), qGreen(colors.ink)),
                 mixed(qBlue(colors.ground), qBlue(colors.ink)), mixed(qAlpha(colors.ground), qAlpha(colors.ink)));
}

QRgb stripePixel(Stripe kind, const StripeColors &colors, int x, int y, int pitch, std::mt19937 &random)
{
    switch (kind) {
    case Text:
        return random() % quint32(pitch) < 2 ? colors.ink : colors.ground;
    case Bar:
        return x >= pitch ? colors.ink : colors.ground;
    case Photo:
        return between(colors, (x / 7 * 37 + y / 5 * 11 + int(random() % 8)) % 64, 64);
    case Noise:
        return between(colors, int(random() % 16), 16);
    case Gradient:
        return between(colors, std::min(y, 4 * pitch), 4 * pitch);
    default:
        return colors.ground;
    }
}

/// Stripes of some rows each, as the input describes them, down to the end of the picture.
QImage pictureOfStripes(QSize size, InputBytes &input)
{
    QImage image(size, QImage::Format_ARGB32);
    std::mt19937 random(quint32(input.byte()));
    StripeColors colors{colorFrom(input), colorFrom(input)};
    for (int y = 0; y < size.height();) {
        const int choice = input.byte();
        const int end = std::min(size.height(), y + 1 + input.byte() % 64);
        const int pitch = 1 + input.byte() % 32;
        if (choice >= 192) {
            colors = {colorFrom(input), colorFrom(input)};
        }
        for (int first = y; y < end; ++y) {
            auto *row = reinterpret_cast<QRgb *>(image.scanLine(y));
            for (int x = 0; x < size.width(); ++x) {
                row[x] = stripePixel(Stripe(choice % StripeCount), colors, x, y - first, pitch, random);
            }
        }
    }
    return image;
}

QList<QRgb> tableFrom(InputBytes &input, int count)
{
    QList<QRgb> table(count);
    std::generate(table.begin(), table.end(), [&input] { return colorFrom(input); });
    return table;
}

/// Another table, which may be too short for the indexes. One bit always has two colors.
void changeTable(QImage &image, InputBytes &input)
{
    if (image.depth() == 1) {
        image.setColorTable(tableFrom(input, 2));
    } else if (image.depth() == 8 && image.format() == QImage::Format_Indexed8) {
        image.setColorTable(tableFrom(input, input.below(257)));
    }
}

/// The bits are the rest of the input, again and again.
QImage pictureOfBits(QSize size, QImage::Format format, InputBytes &input)
{
    QImage image(size, takesAnyBits(format) ? format : QImage::Format_RGBA64);
    changeTable(image, input);
    image.fill(0);
    const QByteArray bits = input.rest();
    const qsizetype length = (qsizetype(image.width()) * image.depth() + 7) / 8;
    qsizetype at = 0;
    for (int y = 0; y < image.height() && !bits.isEmpty(); ++y) {
        std::generate_n(image.scanLine(y), length, [&] { return uchar(bits.at(at++ % bits.size())); });
    }
    return image.convertToFormat(format);
}

} // namespace

QImage withPossibleColors(QImage image)
{
    const bool isDeep = image.format() == QImage::Format_RGBA64_Premultiplied;
    if (!isDeep && image.format() != QImage::Format_ARGB32_Premultiplied) {
        return image;
    }
    const QRect all = image.rect();
    for (int y = 0; y < all.height(); ++y) {
        uchar *row = image.scanLine(y);
        for (int x = 0; x < all.width(); ++x) {
            const QRgba64 color = isDeep ? reinterpret_cast<const QRgba64 *>(row)[x]
                                         : QRgba64::fromArgb32(reinterpret_cast<const QRgb *>(row)[x]);
            const quint16 most = color.alpha();
            const QRgba64 possible = QRgba64::fromRgba64(std::min(color.red(), most), std::min(color.green(), most),
                                                         std::min(color.blue(), most), most);
            if (isDeep) {
                reinterpret_cast<QRgba64 *>(row)[x] = possible;
            } else {
                reinterpret_cast<QRgb *>(row)[x] = possible.toArgb32();
            }
        }
    }
    return image;
}

QImage pictureFrom(InputBytes &input)
{
    const QImage::Format format = formatFrom(input);
    const QSize size = sizeFrom(input);
    const int kind = input.byte() % 4;
    if (kind == 0) {
        return pictureOfBits(size, format, input);
    }
    QImage image = pictureOfStripes(size, input).convertToFormat(format);
    if (kind == 1) {
        changeTable(image, input);
    }
    return image;
}
