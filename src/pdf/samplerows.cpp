#include "pdf/samplerows.h"

#include "pixels/opacity.h"
#include "pixels/rowviews.h"

#include <QRgba64>
#include <QtEndian>

#include <algorithm>
#include <cstring>
#include <new>

namespace {

using Kind = SampleRows::Kind;

constexpr int convertedRows = 16; // at a time, so that they stay in the cache
constexpr qsizetype bytesOfColor = 3;

Kind kindOf(const QImage &image)
{
    switch (image.format()) {
    case QImage::Format_Mono:
    case QImage::Format_MonoLSB:
        return Kind::Bits;
    case QImage::Format_Indexed8:
        return Kind::Indexes;
    case QImage::Format_Grayscale8:
        return Kind::Gray8;
    case QImage::Format_Grayscale16:
        return Kind::Gray16;
    default:
        return image.pixelFormat().redSize() > 8 ? Kind::Color16 : Kind::Color8;
    }
}

QImage::Format workFormatOf(const QImage &image, Kind kind)
{
    switch (kind) {
    case Kind::Bits:
        return QImage::Format_Mono;
    case Kind::Color8:
        return image.hasAlphaChannel() ? QImage::Format_ARGB32 : QImage::Format_RGB32;
    case Kind::Color16:
        return image.hasAlphaChannel() ? QImage::Format_RGBA64 : QImage::Format_RGBX64;
    default:
        return image.format();
    }
}

/// The colors of all indexes that a pixel can have. Qt takes black for those beyond the table.
QList<QRgb> allColors(const QImage &image, Kind kind)
{
    QList<QRgb> colors = image.colorTable();
    const bool isTransparent = image.hasAlphaChannel();
    colors.resize(kind == Kind::Bits ? 2 : 256, isTransparent ? 0U : 0xff000000U);
    return colors;
}

/// Calls \a use with each of \a count rows of \a image from \a first on, in \a format.
template <typename Use>
void forEachRow(const QImage &image, QImage::Format format, int first, int count, Use use)
{
    for (int top = first; top < first + count; top += convertedRows) {
        const int rows = std::min(convertedRows, first + count - top);
        const QImage view = image.format() == format
            ? image
            : rowsView(image, QRect(0, top, image.width(), rows)).convertToFormat(format, Qt::NoOpaqueDetection);
        if (view.isNull()) {
            throw std::bad_alloc();
        }
        const int offset = image.format() == format ? top : 0;
        for (int y = 0; y < rows; ++y) {
            use(view.constScanLine(offset + y));
        }
    }
}

void writeColorBytes(const QRgb *pixels, int width, uchar *target)
{
    for (int x = 0; x < width; ++x) {
        target[0] = uchar(qRed(pixels[x]));
        target[1] = uchar(qGreen(pixels[x]));
        target[2] = uchar(qBlue(pixels[x]));
        target += bytesOfColor;
    }
}

void writeColorWords(const QRgba64 *pixels, int width, uchar *target)
{
    for (int x = 0; x < width; ++x) {
        qToBigEndian(pixels[x].red(), target);
        qToBigEndian(pixels[x].green(), target + 2);
        qToBigEndian(pixels[x].blue(), target + 4);
        target += 2 * bytesOfColor;
    }
}

void writeRow(Kind kind, const uchar *row, int width, qsizetype bytes, uchar *target)
{
    switch (kind) {
    case Kind::Color8:
        writeColorBytes(reinterpret_cast<const QRgb *>(row), width, target);
        break;
    case Kind::Color16:
        writeColorWords(reinterpret_cast<const QRgba64 *>(row), width, target);
        break;
    case Kind::Gray16:
        qToBigEndian<quint16>(row, width, target);
        break;
    default:
        std::memcpy(target, row, size_t(bytes));
        break;
    }
}

} // namespace

SampleRows::SampleRows(const QImage &picture)
    : image(picture)
    , m_kind(kindOf(picture))
    , workFormat(workFormatOf(picture, m_kind))
{
    if (m_kind != Kind::Bits && m_kind != Kind::Indexes) {
        return;
    }
    const QList<QRgb> colors = allColors(image, m_kind);
    for (const QRgb color : colors) {
        m_palette.append(char(qRed(color))).append(char(qGreen(color))).append(char(qBlue(color)));
        paletteAlpha.append(char(qAlpha(color)));
    }
    if (!image.hasAlphaChannel()) {
        paletteAlpha.clear();
    }
}

int SampleRows::bits() const
{
    switch (m_kind) {
    case Kind::Bits:
        return 1;
    case Kind::Gray16:
    case Kind::Color16:
        return 16;
    default:
        return 8;
    }
}

void SampleRows::writeColors(int first, int count, uchar *target, qsizetype stride) const
{
    forEachRow(image, workFormat, first, count, [&](const uchar *row) {
        writeRow(m_kind, row, image.width(), rowBytes(), target);
        target += stride;
    });
}

void SampleRows::writeAlpha(int first, int count, uchar *target, qsizetype stride) const
{
    const int width = image.width();
    forEachRow(image, workFormat, first, count, [&](const uchar *row) {
        for (int x = 0; x < width; ++x) {
            if (m_kind == Kind::Color8) {
                target[x] = uchar(qAlpha(reinterpret_cast<const QRgb *>(row)[x]));
            } else if (m_kind == Kind::Color16) {
                qToBigEndian(reinterpret_cast<const QRgba64 *>(row)[x].alpha(), target + qsizetype(2) * x);
            } else {
                const int index = m_kind == Kind::Bits ? row[x / 8] >> (7 - x % 8) & 1 : row[x];
                target[x] = uchar(paletteAlpha.at(index));
            }
        }
        target += stride;
    });
}

bool SampleRows::hasTransparency(int first, int end) const
{
    if (!image.hasAlphaChannel()) {
        return false;
    }
    const QImage rows = rowsView(image, QRect(0, first, image.width(), end - first));
    if (m_kind == Kind::Color8 || m_kind == Kind::Indexes) {
        return !isOpaque(rows.format() == workFormat ? rows : rows.convertToFormat(workFormat));
    }
    QByteArray alpha(alphaRowBytes(), Qt::Uninitialized);
    for (int y = first; y < end; ++y) {
        writeAlpha(y, 1, reinterpret_cast<uchar *>(alpha.data()), alpha.size());
        if (alpha.count(char(0xff)) != alpha.size()) {
            return true;
        }
    }
    return false;
}
