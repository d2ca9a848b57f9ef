#include "cutquality/kinds.h"

#include <QBuffer>

#include <algorithm>
#include <cmath>

namespace {

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

/// A sum of four even numbers is near enough to paper.
int paperNoise(QRandomGenerator &random, int amplitude)
{
    int sum = 0;
    for (quint32 bits = random.generate(), i = 0; i < 4; ++i, bits >>= 8) {
        sum += int(bits & 255U);
    }
    return (sum - 510) * amplitude / 147; // 147 is the deviation of the sum
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

QImage scanned(const LongPicture &page, int amplitude)
{
    QImage gray = asGray(page);
    QRandomGenerator random(quint32(page.height()) + quint32(page.pieces.size()));
    for (int y = 0; y < gray.height(); ++y) {
        uchar *row = gray.scanLine(y);
        for (int x = 0; x < gray.width(); ++x) {
            row[x] = uchar(std::clamp(row[x] + paperNoise(random, amplitude), 0, 255));
        }
    }
    addDust(gray, random);
    return gray;
}

QImage asScan(const LongPicture &page)
{
    return scanned(page, 6);
}

QImage asNoisyScan(const LongPicture &page)
{
    return scanned(page, 12);
}

} // namespace

const QList<PictureKind> &pictureKinds()
{
    static const QList<PictureKind> kinds{
        {"light chat", false, paintLightChat, asRgb},
        {"article with pictures", false, paintArticle, asRgb},
        {"code, dark", false, paintCode, asRgb},
        {"table", false, paintTable, asRgb},
        {"skewed scan", false, paintSkewedText, asScan},
        {"palette", false, paintArticle, asPalette},
        {"wallpaper chat", false, paintWallpaperChat, asRgb},
        {"subtitles", false, paintSubtitles, asRgb},
        {"JPEG article", false, paintArticle, asJpeg},
        {"comic on white", false, paintWhiteComic, asRgb},
        {"transparent text", false, paintTransparentText, asArgb},
        {"tall photos", false, paintTallPhotos, asRgb},
        {"dark chat", true, paintDarkChat, asRgb},
        {"colored chat", true, paintColoredChat, asRgb},
        {"two columns", true, paintColumns, asRgb},
        {"form", true, paintForm, asRgb},
        {"gray text", true, paintGrayText, asRgb},
        {"1-bit", true, paintArticle, asMono},
        {"gradient ground", true, paintGradientText, asRgb},
        {"text over a photo", true, paintTextOverPhoto, asRgb},
        {"comic on black", true, paintBlackComic, asRgb},
        {"tight text", true, paintTightText, asRgb},
        {"JPEG wallpaper chat", true, paintWallpaperChat, asJpeg},
        {"cards", true, paintCards, asRgb},
        {"noisy scan of a table", true, paintTable, asNoisyScan},
        {"JPEG dark chat", true, paintDarkChat, asJpeg},
    };
    return kinds;
}
