#include "userfiles.h"

#include "support/pictures.h"

#include <QDir>
#include <QImage>
#include <QPainter>

using namespace Qt::StringLiterals;

namespace {

/// Text within a blank border for the trim to remove.
QImage borderedPicture(int width, int height)
{
    QImage image = plainPicture(width, height, Qt::white);
    QPainter painter(&image);
    painter.drawImage(width / 8, height / 8, textPicture(width * 3 / 4, height * 3 / 4, 12));
    return image;
}

QImage transparentPicture(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(QColor(200, 100, 0, 128));
    return image;
}

UserFile goodFile(const QImage &image, const QString &name)
{
    return {savedPicture(image, name), image.size()};
}

} // namespace

QList<UserFile> writeGoodFiles()
{
    return {
        goodFile(textPicture(140, 900, 24), u"text.png"_s),
        goodFile(textPicture(84, 1201, 17), u"long text.jpg"_s),
        goodFile(borderedPicture(150, 700), u"border.png"_s),
        goodFile(blockPicture(96, 640), u"blocks.jpeg"_s),
        goodFile(noisePicture({70, 500}, QImage::Format_Grayscale8),
                 u"gray.png"_s), // the last of the five strips is below the image
        goodFile(noisePicture({70, 499}, QImage::Format_Grayscale8), u"one row less.png"_s),
        goodFile(transparentPicture(60, 333), u"half transparent.png"_s),
        goodFile(plainPicture(49, 350, Qt::white), u"白.png"_s),
        goodFile(plainPicture(50, 400, Qt::black), u"black.bmp"_s),
        goodFile(textPicture(120, 600).convertToFormat(QImage::Format_Mono), u"mono.png"_s),
        goodFile(blockPicture(64, 300).convertToFormat(QImage::Format_Indexed8), u"palette.png"_s),
        goodFile(blockPicture(300, 40), u"wide.png"_s),
        goodFile(blockPicture(11, 11), u"smallest.png"_s),
        goodFile(blockPicture(11, 700), u"narrow.png"_s),
        goodFile(textPicture(20, 800, 9), u"thin.png"_s),
    };
}

QList<UserFile> writeBadFiles()
{
    const QByteArray png = encodedPicture(blockPicture(90, 600), "PNG");
    QDir::current().mkpath(u"folder.png"_s);
    return {
        {savedBytes({}, u"empty.png"_s), {}},
        {savedBytes("no image", u"words.png"_s), {}},
        {savedBytes(png.left(40), u"cut off.png"_s), {}},
        {savedBytes(png, u"named as a document.PDF"_s), {}},
        {savedPicture(blockPicture(10, 500), u"too narrow.png"_s), {}},
        {savedPicture(blockPicture(500, 10), u"too low.png"_s), {}},
        {QDir::current().absoluteFilePath(u"folder.png"_s), {}},
        {QDir::current().absoluteFilePath(u"missing.png"_s), {}},
    };
}
