#include "decode/decodedimage.h"

#include <QBuffer>
#include <QColorSpace>
#include <QImageIOHandler>
#include <QImageReader>

#ifdef Q_OS_LINUX
#include <sys/mman.h>
#endif

namespace {

constexpr qint64 bytesPerCountedPixel = 4; // whatever the depth is

bool isWithinLimit(QSize size)
{
    const qint64 limit = qint64(QImageReader::allocationLimit()) << 20;
    const qint64 bytes = qint64(size.width()) * size.height() * bytesPerCountedPixel;
    return limit == 0 || bytes <= limit;
}

/// Asks for large pages: a long image takes tens of thousands of small ones,
/// and the system needs longer to hand them out than to clear them.
void preferLargePages([[maybe_unused]] QImage &image)
{
#if defined(Q_OS_LINUX) && defined(MADV_HUGEPAGE)
    constexpr quintptr pageSize = 4096;
    constexpr qsizetype worthwhile = qsizetype(8) << 20;
    if (image.sizeInBytes() >= worthwhile) {
        const auto begin = reinterpret_cast<quintptr>(image.bits());
        const quintptr aligned = (begin + pageSize - 1) / pageSize * pageSize;
        const quintptr end = (begin + quintptr(image.sizeInBytes())) / pageSize * pageSize;
        madvise(reinterpret_cast<void *>(aligned), end - aligned, MADV_HUGEPAGE); // only advice: may fail
    }
#endif
}

} // namespace

QImage allocatedImage(QSize size, QImage::Format format)
{
    QImage image;
    if (isWithinLimit(size) && QImageIOHandler::allocateImage(size, format, &image)) {
        preferLargePages(image);
    }
    return image;
}

void copyMetadata(const QImage &model, QImage &image)
{
    image.setColorTable(model.colorTable());
    image.setColorSpace(model.colorSpace());
    image.setDotsPerMeterX(model.dotsPerMeterX());
    image.setDotsPerMeterY(model.dotsPerMeterY());
    image.setOffset(model.offset());
    image.setDevicePixelRatio(model.devicePixelRatio());
    const QStringList keys = model.textKeys();
    for (const QString &key : keys) {
        image.setText(key, model.text(key));
    }
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
