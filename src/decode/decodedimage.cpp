#include "decode/decodedimage.h"

#include <QBuffer>
#include <QColorSpace>
#include <QImageIOHandler>
#include <QImageReader>

namespace {

constexpr qint64 bytesPerCountedPixel = 4; // whatever the depth is

bool isWithinLimit(QSize size)
{
    const qint64 limit = qint64(QImageReader::allocationLimit()) << 20;
    const qint64 bytes = qint64(size.width()) * size.height() * bytesPerCountedPixel;
    return limit == 0 || bytes <= limit;
}

} // namespace

QImage allocatedImage(QSize size, QImage::Format format)
{
    QImage image;
    const bool isAllocated = isWithinLimit(size) && QImageIOHandler::allocateImage(size, format, &image);
    return isAllocated ? image : QImage();
}

bool copyMetadata(const QImage &model, QImage &image)
{
    const QStringList keys = model.textKeys();
    if (keys.contains(QString())) {
        return false; // QImage returns all texts for this key
    }
    image.setColorTable(model.colorTable());
    image.setColorSpace(model.colorSpace());
    image.setDotsPerMeterX(model.dotsPerMeterX());
    image.setDotsPerMeterY(model.dotsPerMeterY());
    image.setOffset(model.offset());
    image.setDevicePixelRatio(model.devicePixelRatio());
    for (const QString &key : keys) {
        image.setText(key, model.text(key));
    }
    return true;
}

QImage readByQt(const QByteArray &file, const QByteArray &format)
{
    QBuffer buffer;
    buffer.setData(file);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, format);
    reader.setAutoTransform(true);
    return reader.read();
}
