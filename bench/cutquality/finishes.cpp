#include "cutquality/finishes.h"

#include <QBuffer>

#include <algorithm>
#include <cmath>

namespace {

/// A sum of four even numbers is near enough to paper.
int paperNoise(QRandomGenerator &random, int amplitude)
{
    int sum = 0;
    for (quint32 bits = random.generate(), i = 0; i < 4; ++i, bits >>= 8) {
        sum += int(bits & 255U);
    }
    return (sum - 510) * amplitude / 147; // 147 is the deviation of the sum
}

void addNoise(QImage &gray, int amplitude, QRandomGenerator &random)
{
    for (int y = 0; y < gray.height(); ++y) {
        uchar *row = gray.scanLine(y);
        for (int x = 0; x < gray.width(); ++x) {
            row[x] = uchar(std::clamp(row[x] + paperNoise(random, amplitude), 0, 255));
        }
    }
}

void addDust(QImage &gray, QRandomGenerator &random)
{
    const int count = gray.width() * gray.height() / 20000;
    for (int i = 0; i < count; ++i) {
        const int x = int(random.bounded(gray.width() - 2));
        const int y = int(random.bounded(gray.height() - 2));
        const auto level = uchar(random.bounded(60, 190));
        const int side = int(random.bounded(1, 3));
        for (int row = 0; row < side; ++row) {
            std::fill_n(gray.scanLine(y + row) + x, side, level);
        }
    }
}

/// Darkens \a gray towards its left edge and, less, all over.
void addFold(QImage &gray)
{
    const int width = gray.width();
    for (int y = 0; y < gray.height(); ++y) {
        uchar *row = gray.scanLine(y);
        for (int x = 0; x < width; ++x) {
            const double fold = 0.75 * std::exp(-x * 22.0 / width) + 0.12 * x / width;
            row[x] = uchar(row[x] * (1 - fold));
        }
    }
}

QImage blurred(const QImage &image)
{
    return image.scaled(image.size() * 3 / 4, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
        .scaled(image.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

void addStreaks(QImage &gray, QRandomGenerator &random)
{
    for (int i = random.bounded(3); i > 0; --i) {
        const int x = random.bounded(gray.width());
        const int first = random.bounded(gray.height());
        const int end = std::min(gray.height(), first + random.bounded(gray.height()));
        for (int y = first; y < end; ++y) {
            gray.scanLine(y)[x] = uchar(random.bounded(5) == 0 ? 255 : 0);
        }
    }
}

QRandomGenerator randomFor(const LongPicture &page)
{
    return QRandomGenerator(quint32(page.height()) + quint32(page.pieces.size()));
}

} // namespace

QImage asRgb(const LongPicture &page)
{
    return page.image.convertToFormat(QImage::Format_RGB32);
}

QImage asArgb(const LongPicture &page)
{
    return page.image.convertToFormat(QImage::Format_ARGB32);
}

QImage asPalette(const LongPicture &page)
{
    return asRgb(page).convertToFormat(QImage::Format_Indexed8, Qt::DiffuseDither);
}

QImage asMono(const LongPicture &page)
{
    return asRgb(page).convertToFormat(QImage::Format_Mono, Qt::DiffuseDither);
}

QImage asGray(const LongPicture &page)
{
    return asRgb(page).convertToFormat(QImage::Format_Grayscale8);
}

QImage asJpeg(const LongPicture &page)
{
    QBuffer buffer;
    buffer.open(QIODevice::ReadWrite);
    asRgb(page).save(&buffer, "jpeg", 40);
    return QImage::fromData(buffer.data(), "jpeg").convertToFormat(QImage::Format_RGB32);
}

namespace {

QImage scanned(const LongPicture &page, int amplitude)
{
    QImage gray = asGray(page);
    QRandomGenerator random = randomFor(page);
    addNoise(gray, amplitude, random);
    addDust(gray, random);
    return gray;
}

} // namespace

QImage asScan(const LongPicture &page)
{
    return scanned(page, 6);
}

QImage asNoisyScan(const LongPicture &page)
{
    return scanned(page, 12);
}

QImage asBookScan(const LongPicture &page)
{
    QImage gray = blurred(asGray(page)).convertToFormat(QImage::Format_Grayscale8);
    QRandomGenerator random = randomFor(page);
    addFold(gray);
    addNoise(gray, 5, random);
    addDust(gray, random);
    return gray;
}

QImage asFax(const LongPicture &page)
{
    QImage gray = blurred(asGray(page)).convertToFormat(QImage::Format_Grayscale8);
    QRandomGenerator random = randomFor(page);
    addNoise(gray, 24, random);
    addDust(gray, random);
    addStreaks(gray, random);
    return gray.convertToFormat(QImage::Format_Mono, Qt::ThresholdDither);
}

QImage asCameraPicture(const LongPicture &page)
{
    QImage image = asRgb(page);
    QRandomGenerator random = randomFor(page);
    for (int y = 0; y < image.height(); ++y) {
        auto *row = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            const double wave = std::sin(x * 2.0 / image.width() + 0.4) + 0.3 * std::sin(y * 2.5 / image.width());
            const double light = 0.72 + 0.2 * wave;
            const int noise = paperNoise(random, 4);
            const auto lit = [&](int level) { return std::clamp(int(level * light) + noise, 0, 255); };
            row[x] = qRgb(lit(qRed(row[x])), lit(qGreen(row[x])), lit(qBlue(row[x])));
        }
    }
    return image;
}
