#include "samples/sampleimage.h"

#include "samples/band.h"
#include "samples/pages.h"

#include <QBuffer>
#include <QImageWriter>
#include <QPainter>
#include <QSaveFile>
#include <QTransform>

#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr int maxWidth = 10000; // so that every block of a page is far below the painter's limit

constexpr std::array<std::pair<const char *, SampleKind>, 10> kindNames = {{
    {"chat", SampleKind::Chat},
    {"web", SampleKind::Web},
    {"dark", SampleKind::Dark},
    {"palette", SampleKind::Palette},
    {"gray", SampleKind::Gray},
    {"alpha", SampleKind::Alpha},
    {"jpeg-orientation", SampleKind::JpegOrientation},
    {"noise", SampleKind::Noise},
    {"gradient", SampleKind::Gradient},
    {"table", SampleKind::Table},
}};

QImage::Format paintedFormat(SampleKind kind)
{
    switch (kind) {
    case SampleKind::Palette:
        return QImage::Format_ARGB32_Premultiplied; // until toPalette()
    case SampleKind::Gray:
        return QImage::Format_Grayscale8;
    case SampleKind::Alpha:
        return QImage::Format_ARGB32;
    default:
        return QImage::Format_RGB32;
    }
}

/// Sets each pixel to \a color(x, y).
template <typename Color>
void fillPixels(QImage &image, Color color)
{
    for (int y = 0; y < image.height(); ++y) {
        auto *row = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            row[x] = color(x, y);
        }
    }
}

/// The color of a pixel in a smooth gradient, computed only with integers.
QRgb gradientColor(const QImage &image, int x, int y, quint32 seed)
{
    const int across = x * 255 / std::max(1, image.width() - 1);
    const int down = int(qint64(y) * 255 / std::max(1, image.height() - 1));
    const int turn = int(seed % 256);
    return qRgb(across, down, std::abs((down + turn) % 256 - 128) + 64);
}

void fillGradient(QImage &image, quint32 seed)
{
    fillPixels(image, [&](int x, int y) { return gradientColor(image, x, y, seed); });
}

void fillNoise(QImage &image, quint32 seed)
{
    Random random(seed);
    fillPixels(image, [&random](int, int) { return 0xff000000 | random.next(); });
}

/// Paints rectangles a third of the image wide and 256 rows high.
void fillAlpha(QImage &image, quint32 seed)
{
    constexpr std::array alphas = {255U, 128U, 0U};
    fillPixels(image, [&](int x, int y) {
        const unsigned alpha = alphas[size_t(x * 3 / image.width() + y / 256) % alphas.size()];
        return alpha == 0 ? 0U : (gradientColor(image, x, y, seed) & 0x00ffffffU) | alpha << 24;
    });
}

void fillCorners(QImage &image, quint32 seed)
{
    const int side = std::min(image.width(), image.height()) / 4;
    fillPixels(image, [&](int x, int y) {
        const bool left = x < side;
        const bool top = y < side;
        const bool right = x >= image.width() - side;
        const bool bottom = y >= image.height() - side;
        if ((!left && !right) || (!top && !bottom)) {
            return gradientColor(image, x, y, seed);
        }
        return top ? (left ? qRgb(220, 30, 30) : qRgb(30, 180, 30)) : (left ? qRgb(30, 30, 220) : qRgb(230, 220, 30));
    });
}

/// The stored image that a reader turns into \a upright by the EXIF \a orientation.
QImage storedRaster(const QImage &upright, int orientation)
{
    const QTransform clockwise = QTransform().rotate(90);
    const QTransform counterclockwise = QTransform().rotate(-90);
    switch (orientation) {
    case 2:
        return upright.mirrored(true, false);
    case 3:
        return upright.mirrored(true, true);
    case 4:
        return upright.mirrored(false, true);
    case 5:
        return upright.transformed(clockwise).mirrored(true, false);
    case 6:
        return upright.transformed(counterclockwise);
    case 7:
        return upright.transformed(clockwise).mirrored(false, true);
    case 8:
        return upright.transformed(clockwise);
    default:
        return upright;
    }
}

/// Inserts an APP1 segment with only the orientation tag after the JFIF segment of
/// \a jpeg.
void insertOrientation(QByteArray &jpeg, int orientation)
{
    QByteArray segment = QByteArray::fromHex("ffe10022" // marker, length
                                             "457869660000" // "Exif"
                                             "49492a0008000000" // little endian TIFF, first directory at 8
                                             "0100" // one entry
                                             "1201030001000000" // tag 0x0112, one 16-bit number
                                             "00000000" // the orientation, then padding
                                             "00000000"); // no further directory
    segment[28] = static_cast<char>(orientation);
    const auto byteAt = [&jpeg](qsizetype at) { return static_cast<uchar>(jpeg.at(at)); };
    const bool jfif = byteAt(2) == 0xff && byteAt(3) == 0xe0;
    jpeg.insert(jfif ? 4 + byteAt(4) * 256 + byteAt(5) : 2, segment);
}

/// Null on failure, with the reason in \a error.
QByteArray encoded(const QImage &image, const SampleParams &params, QString *error)
{
    const bool jpeg = params.kind == SampleKind::JpegOrientation;
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, jpeg ? "jpeg" : "png");
    writer.setQuality(jpeg ? 92 : 0); // for PNG 0 is the highest compression
    if (!writer.write(jpeg ? storedRaster(image, params.orientation) : image)) {
        *error = writer.errorString();
        return {};
    }
    QByteArray bytes = buffer.data();
    if (jpeg) {
        insertOrientation(bytes, params.orientation);
    }
    return bytes;
}

} // namespace

Sample makeSample(const SampleParams &params)
{
    Sample sample;
    if (params.width < 1 || params.width > maxWidth || params.height < 1) {
        return sample;
    }
    sample.image = QImage(params.width, params.height, paintedFormat(params.kind));
    if (sample.image.isNull()) {
        return sample;
    }
    switch (params.kind) {
    case SampleKind::Chat:
        paintChat(sample, params, ChatTheme::Light);
        break;
    case SampleKind::Dark:
        paintChat(sample, params, ChatTheme::Dark);
        break;
    case SampleKind::Web:
        paintArticle(sample, params, ArticleStyle::Illustrated);
        break;
    case SampleKind::Palette:
        paintArticle(sample, params, ArticleStyle::Cutout);
        sample.image = toPalette(sample.image);
        break;
    case SampleKind::Gray:
        paintArticle(sample, params, ArticleStyle::TextOnly);
        break;
    case SampleKind::Alpha:
        fillAlpha(sample.image, params.seed);
        break;
    case SampleKind::JpegOrientation:
        fillCorners(sample.image, params.seed);
        break;
    case SampleKind::Noise:
        fillNoise(sample.image, params.seed);
        break;
    case SampleKind::Gradient:
        fillGradient(sample.image, params.seed);
        break;
    case SampleKind::Table:
        paintTable(sample, params.seed);
        break;
    }
    std::stable_sort(sample.textLines.begin(), sample.textLines.end(),
                     [](const QRect &a, const QRect &b) { return a.top() < b.top(); });
    return sample;
}

QImage makeSampleImage(const SampleParams &params)
{
    return makeSample(params).image;
}

QImage toPalette(const QImage &image)
{
    // A transparent entry, a 6 x 6 x 6 color cube, and grays for the edges of letters.
    constexpr int cubeStart = 1;
    constexpr int grayStart = cubeStart + 216;
    constexpr int grays = 32;
    QList<QRgb> table = {qRgba(0, 0, 0, 0)};
    for (int i = 0; i < 216; ++i) {
        table.append(qRgb(i / 36 * 51, i / 6 % 6 * 51, i % 6 * 51));
    }
    for (int i = 0; i < grays; ++i) {
        const int level = i * 255 / (grays - 1);
        table.append(qRgb(level, level, level));
    }
    QImage indexed(image.size(), QImage::Format_Indexed8);
    if (indexed.isNull()) {
        return {};
    }
    indexed.setColorTable(table);
    for (int y = 0; y < image.height(); ++y) {
        const auto *from = reinterpret_cast<const QRgb *>(image.constScanLine(y));
        uchar *to = indexed.scanLine(y);
        for (int x = 0; x < image.width(); ++x) {
            const auto [least, most] = std::minmax({qRed(from[x]), qGreen(from[x]), qBlue(from[x])});
            const auto sixth = [](int level) { return (level + 25) / 51; };
            int index = 0;
            if (qAlpha(from[x]) < 128) {
                index = 0;
            } else if (most - least < 24) {
                index = grayStart + (qGreen(from[x]) * (grays - 1) + 127) / 255;
            } else {
                index = cubeStart + sixth(qRed(from[x])) * 36 + sixth(qGreen(from[x])) * 6 + sixth(qBlue(from[x]));
            }
            to[x] = static_cast<uchar>(index);
        }
    }
    return indexed;
}

QImage withRim(const QImage &image, int rim)
{
    QImage sheet(image.size() + QSize(2 * rim, 2 * rim), image.format());
    if (sheet.isNull()) {
        return {};
    }
    sheet.fill(image.pixelColor(0, 0));
    QPainter(&sheet).drawImage(rim, rim, image);
    return sheet;
}

bool writeSampleImage(const QImage &image, const SampleParams &params, const QString &file, QString *error)
{
    QString reason;
    const QByteArray bytes = encoded(image, params, &reason);
    if (!bytes.isNull()) {
        QSaveFile output(file);
        if (output.open(QIODevice::WriteOnly) && output.write(bytes) == bytes.size() && output.commit()) {
            return true;
        }
        reason = output.errorString();
    }
    if (error) {
        *error = reason;
    }
    return false;
}

QStringList sampleKindNames()
{
    QStringList names;
    for (const auto &entry : kindNames) {
        names.append(QString::fromLatin1(entry.first));
    }
    return names;
}

std::optional<SampleKind> sampleKindByName(const QString &name)
{
    for (const auto &entry : kindNames) {
        if (name == QLatin1StringView(entry.first)) {
            return entry.second;
        }
    }
    return std::nullopt;
}
