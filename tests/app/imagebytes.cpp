#include "imagebytes.h"

#include "support/pictures.h"

#include <QColor>
#include <QDataStream>
#include <QIODevice>

using namespace Qt::StringLiterals;

namespace {

QByteArray number32(quint32 value)
{
    QByteArray bytes;
    QDataStream(&bytes, QIODevice::WriteOnly) << value; // big-endian, as in PNG
    return bytes;
}

QByteArray chunk(const QByteArray &name, const QByteArray &data)
{
    return number32(quint32(data.size())) + name + data + number32(crc32(name + data));
}

template <typename... Values>
QByteArray littleEndian(Values... values)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setByteOrder(QDataStream::LittleEndian);
    (stream << ... << values);
    return bytes;
}

} // namespace

quint32 crc32(const QByteArray &bytes)
{
    quint32 crc = 0xFFFFFFFFU;
    for (const char byte : bytes) {
        crc ^= quint8(byte);
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 1U) != 0 ? (crc >> 1) ^ 0xEDB88320U : crc >> 1;
        }
    }
    return ~crc;
}

QByteArray brokenPng(quint32 width, quint32 height)
{
    const QByteArray header = number32(width) + number32(height) + QByteArray("\x08\x02\x00\x00\x00", 5);
    return QByteArray("\x89PNG\r\n\x1a\n", 8) + chunk("IHDR", header) + chunk("IDAT", QByteArray("\x78\x9c\x01", 3));
}

QByteArray headerOfPpm(int width, int height)
{
    return "P6\n" + QByteArray::number(width) + ' ' + QByteArray::number(height) + "\n255\n";
}

QByteArray gifOf(const QImage &image)
{
    constexpr int colors = 128;
    constexpr char clearCode = char(0x80);
    constexpr char endCode = char(0x81);
    constexpr int pixelsPerClear = 100; // few enough to keep the codes at eight bits
    QByteArray palette;
    int transparent = -1;
    for (int i = 0; i < colors; ++i) {
        const QRgb color = i < image.colorCount() ? image.color(i) : 0;
        palette += char(qRed(color));
        palette += char(qGreen(color));
        palette += char(qBlue(color));
        if (i < image.colorCount() && qAlpha(color) == 0) {
            transparent = i;
        }
    }
    QByteArray codes;
    int sinceClear = pixelsPerClear;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (sinceClear == pixelsPerClear) {
                codes += clearCode;
                sinceClear = 0;
            }
            codes += char(image.pixelIndex(x, y));
            ++sinceClear;
        }
    }
    codes += endCode;

    const auto width = qint16(image.width());
    const auto height = qint16(image.height());
    QByteArray file = "GIF89a" + littleEndian(width, height) + QByteArray("\xF6\x00\x00", 3) + palette;
    if (transparent >= 0) {
        file += QByteArray("\x21\xF9\x04\x01\x00\x00", 6) + char(transparent) + QByteArray(1, '\0');
    }
    file += ',' + littleEndian(qint16(0), qint16(0), width, height) + QByteArray("\x00\x07", 2);
    for (qsizetype at = 0; at < codes.size(); at += 255) {
        const QByteArray block = codes.mid(at, 255);
        file += char(block.size()) + block;
    }
    return file + QByteArray("\x00;", 2);
}

QByteArray tgaOf(const QImage &image)
{
    QByteArray file = QByteArray("\x00\x00\x02\x00\x00\x00\x00\x00\x00\x00\x00\x00", 12)
        + littleEndian(qint16(image.width()), qint16(image.height())) + QByteArray("\x18\x20", 2);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QRgb pixel = image.pixel(x, y);
            file += char(qBlue(pixel));
            file += char(qGreen(pixel));
            file += char(qRed(pixel));
        }
    }
    return file + QByteArray(8, '\0') + QByteArray("TRUEVISION-XFILE.\0", 18);
}

QByteArray mngOf(const QImage &image)
{
    const QByteArray png = encodedPicture(image, "PNG");
    const QByteArray size = number32(quint32(image.width())) + number32(quint32(image.height()));
    const QByteArray header = size + number32(1000) + number32(1) + number32(1) + number32(0) + number32(1);
    return QByteArray("\x8AMNG\r\n\x1a\n", 8) + chunk("MHDR", header) + png.mid(8) + chunk("MEND", {});
}

QByteArray svgOf(int side, const QList<QRgb> &colors)
{
    const QByteArray length = QByteArray::number(side);
    const QString start = uR"(<svg xmlns="http://www.w3.org/2000/svg" width="%1" height="%1">)"_s;
    QByteArray file = start.arg(2 * side).toLatin1();
    for (qsizetype i = 0; i < colors.size(); ++i) {
        file += "<rect x=\"" + QByteArray::number(i % 2 * side) + "\" y=\"" + QByteArray::number(i / 2 * side)
            + "\" width=\"" + length + "\" height=\"" + length + "\" fill=\"" + QColor(colors.at(i)).name().toLatin1()
            + "\"/>";
    }
    return file + "</svg>";
}

QByteArray gzipOf(const QByteArray &bytes)
{
    const QByteArray deflated = qCompress(bytes); // 4 bytes length, 2 bytes header, data, 4 bytes checksum
    return QByteArray("\x1f\x8b\x08\x00\x00\x00\x00\x00\x00\x03", 10) + deflated.mid(6, deflated.size() - 10)
        + littleEndian(crc32(bytes), quint32(bytes.size()));
}

QByteArray withOrientation(const QByteArray &jpeg, int orientation)
{
    const QByteArray directory = QByteArray("\x00\x01\x01\x12\x00\x03\x00\x00\x00\x01\x00", 11) + char(orientation)
        + QByteArray("\x00\x00\x00\x00\x00\x00", 6);
    const QByteArray exif = QByteArray("Exif\0\0", 6) + QByteArray("MM\x00\x2a\x00\x00\x00\x08", 8) + directory;
    const auto length = quint16(exif.size() + 2);
    return jpeg.left(2) + QByteArray("\xff\xe1", 2) + char(length >> 8) + char(length & 0xff) + exif + jpeg.mid(2);
}
