#include "pixels/imagefile.h"

#include "decode/imagedecoder.h"

#include <QFile>
#include <QFileInfo>
#include <QImageReader>

#include <algorithm>
#include <limits>
#include <new>

using namespace Qt::StringLiterals;

namespace {

// An image of this size, or less, on a side is refused, in pixels.
constexpr int refusedSide = 10;

constexpr int smallestLimit = 256; // mebibytes, as are the others
constexpr int limitHeadroom = 32;
constexpr int limitForUnknownSize = 1024;

/// How much memory an image of \a size may take, in mebibytes: four bytes a
/// pixel and some headroom, the fixed default where that is too little.
int allocationLimit(QSize size)
{
    if (size.width() < 0 || size.height() < 0) {
        return limitForUnknownSize;
    }
    // Unsigned: the largest size that a header can state passes 63 bits.
    const quint64 bytes = quint64(size.width()) * quint64(size.height()) * 4;
    return int(
        std::clamp<quint64>(((bytes + 0xFFFFF) >> 20) + limitHeadroom, smallestLimit, std::numeric_limits<int>::max()));
}

/// Whether Qt sets a pixel ratio for an image of this name, such as
/// "picture@2x.png".
bool isScaledName(const QString &path)
{
    const QString end = QFileInfo(path).baseName().right(3);
    return end.startsWith(u'@') && end.endsWith(u'x');
}

/// The image in the file that \a reader has found; null if QImageReader must
/// decode it.
QImage decodedFast(const QImageReader &reader)
{
    const QByteArray format = reader.format(); // opens the file
    QFile file(reader.fileName());
    if (isScaledName(file.fileName()) || !file.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        return {};
    }
    try {
        const auto decoder = makeImageDecoder(file, format);
        if (!decoder) {
            return {};
        }
        QImageReader::setAllocationLimit(allocationLimit(decoder->size()));
        return decoder->read(decodeThreads());
    } catch (const std::bad_alloc &) {
        return {};
    }
}

QImage decodedByQt(QImageReader &reader)
{
    reader.setAutoTransform(true);
    QImageReader::setAllocationLimit(allocationLimit(reader.size()));
    return reader.read();
}

QPixmap decoded(const QString &path)
{
    const QFileInfo file(path);
    if (file.exists() && !file.isFile() && !file.isDir()) {
        return {}; // opening a pipe would block the window for good
    }
    QImageReader reader(path, QByteArray());
    QImage image = decodedFast(reader);
    if (image.isNull()) {
        image = decodedByQt(reader);
    }
    if (!image.isNull()) {
        return QPixmap::fromImage(image, Qt::NoFormatConversion);
    }
    QPixmap pixmap;
    pixmap.load(path);
    return pixmap;
}

} // namespace

QPixmap decodeImageFile(const QString &path)
{
    return path.toLower().endsWith(".pdf"_L1) ? QPixmap() : decoded(path);
}

bool isLargeEnough(const QSize &size)
{
    return size.width() > refusedSide && size.height() > refusedSide;
}
