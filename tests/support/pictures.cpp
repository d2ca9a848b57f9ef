#include "support/pictures.h"

#include <QBuffer>
#include <QColor>
#include <QDir>
#include <QFile>
#include <QMetaEnum>
#include <QPainter>
#include <QRandomGenerator>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int blockSide = 32;

} // namespace

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

QImage plainPicture(int width, int height, QColor color)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(color);
    return image;
}

QImage blockPicture(int width, int height, quint32 seed)
{
    QRandomGenerator random(seed);
    QImage image(width, height, QImage::Format_RGB32);
    QPainter painter(&image);
    for (int y = 0; y < height; y += blockSide) {
        for (int x = 0; x < width; x += blockSide) {
            const auto level = [&random] { return random.bounded(60, 230); };
            painter.fillRect(x, y, blockSide, blockSide, QColor(level(), level(), level()));
        }
    }
    return image;
}

QImage textPicture(int width, int height, int pitch)
{
    QRandomGenerator random(7);
    QImage image = plainPicture(width, height, QColor(250, 250, 245));
    QPainter painter(&image);
    for (int y = pitch / 2; y < height; y += pitch) {
        for (int x = width / 10; x < width * 9 / 10; x += 14) {
            painter.fillRect(x, y, random.bounded(4, 12), pitch / 2, QColor(30, 30, 60));
        }
    }
    return image;
}

QImage randomTextPicture(QSize size, quint32 seed)
{
    QRandomGenerator random(seed);
    QImage image = plainPicture(size.width(), size.height(), Qt::white);
    QPainter painter(&image);
    for (int top = random.bounded(20); top < size.height(); top += 14 + random.bounded(8)) {
        const int end = random.bounded(size.width() / 2, size.width());
        for (int left = 5; left < end; left += 3 + random.bounded(7)) {
            const int height = random.bounded(3, 12);
            const int gray = random.bounded(120);
            painter.fillRect(left, top + 12 - height, random.bounded(1, 6), height, QColor(gray, gray, gray));
        }
    }
    return image;
}

QImage barPicture(QSize size)
{
    QImage image = plainPicture(size.width(), size.height(), Qt::white);
    QPainter painter(&image);
    for (int y = 20; y < size.height() - 30; y += 25) {
        painter.fillRect(20, y, size.width() - 40, 10, Qt::black);
    }
    return image;
}

QImage noisePicture(QSize size, QImage::Format format, quint32 seed)
{
    QRandomGenerator random(seed);
    QImage image(size, QImage::Format_RGBA64);
    for (int y = 0; y < image.height(); ++y) {
        auto *row = reinterpret_cast<quint64 *>(image.scanLine(y));
        std::generate(row, row + image.width(), [&random] { return random.generate64(); });
    }
    return image.convertToFormat(format);
}

QImage palettePicture(QSize size, bool isOpaque, quint32 seed)
{
    QRandomGenerator random(seed);
    QImage image(size, QImage::Format_Indexed8);
    for (int i = 0; i < 256; ++i) {
        const QRgb color = random.generate();
        image.setColor(i, isOpaque ? color | 0xff000000U : color);
    }
    for (int y = 0; y < image.height(); ++y) {
        uchar *row = image.scanLine(y);
        std::generate(row, row + image.width(), [&random] { return uchar(random.bounded(256)); });
    }
    return image;
}

QImage translucentPicture(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            image.setPixel(x, y, qRgba(x % 256, y / 3 % 256, 90, y / 40 % 2 == 0 ? 255 : 110));
        }
    }
    return image;
}

QPixmap keptPixmap(const QImage &image)
{
    return QPixmap::fromImage(image, Qt::NoFormatConversion);
}

QPixmap withoutPalette(const QPixmap &pixmap)
{
    const QImage image = pixmap.toImage();
    if (image.colorTable().isEmpty()) {
        return pixmap;
    }
    return keptPixmap(
        image.convertToFormat(image.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32));
}

QByteArray encodedPicture(const QImage &image, const char *format)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    if (!image.save(&buffer, format)) {
        qFatal("Cannot encode a picture as %s", format);
    }
    return buffer.data();
}

QString savedPicture(const QImage &image, const QString &name, const char *format)
{
    const QString path = QDir::current().absoluteFilePath(name);
    if (!image.save(path, format)) {
        qFatal("Cannot write %s", qPrintable(path));
    }
    return path;
}

QString savedBytes(const QByteArray &bytes, const QString &name)
{
    const QString path = QDir::current().absoluteFilePath(name);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
        qFatal("Cannot write %s", qPrintable(path));
    }
    return path;
}

QString savedStrips(int strips)
{
    return savedPicture(blockPicture(70, strips * 100 - 10), u"%1 strips.png"_s.arg(strips));
}
