#include "fuzzing.h"
#include "inputbytes.h"
#include "inputpicture.h"
#include "output/documentitems.h"
#include "page/pageitem.h"
#include "pixels/blankborders.h"
#include "pixels/calmrow.h"
#include "pixels/channelrows.h"
#include "pixels/cutscan.h"
#include "pixels/imagefile.h"
#include "pixels/opacity.h"
#include "support/calmcuts.h"
#include "support/pictures.h"
#include "support/plainbrightestrow.h"
#include "support/plainchain.h"
#include "support/plainprofile.h"
#include "support/plaintrim.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

// The first bytes of an input say where to search; the others are the picture.
constexpr size_t placeBytes = 14;

void requireEqual(const QString &actual, const QString &expected, const char *what)
{
    require(actual == expected, qPrintable(u"%1: %2 instead of %3"_s.arg(QLatin1String(what), actual, expected)));
}

void requireEqual(int actual, int expected, const char *what)
{
    requireEqual(QString::number(actual), QString::number(expected), what);
}

/// A part of \a image that may reach beyond it on all sides, but not lie outside it.
QRect windowFrom(InputBytes &input, const QImage &image)
{
    const QPoint inside{input.below(image.width()), input.below(image.height())};
    const QPoint above{input.below(image.width()), input.byte() % 100};
    const QPoint below{input.below(image.width()), input.byte() % 100};
    return QRect(inside - above, inside + below);
}

CutPlace placeFrom(InputBytes &input, const QImage &image)
{
    const int near = input.byte() % 80;
    return {input.below(image.height() + 40) - 20, near, near + input.byte() % 40};
}

void requireBrightRows(const QImage &image, const QRect &window)
{
    requireEqual(brightestRow(image), plainBrightestRow(image), "brightest row");
    const QPixmap pixmap = keptPixmap(image);
    requireEqual(brightestRow(pixmap, window), plainBrightestRow(withoutPalette(pixmap).copy(window).toImage()),
                 "brightest row of a window");
}

/// The strips of the window, with bright cuts.
void requireBrightCuts(const QImage &image)
{
    const QPixmap pixmap = keptPixmap(image);
    resetMinAspect();
    const OwnedDocumentItems items(makeDocumentItems(pixmap, 10));
    QList<QRectF> bands;
    for (const PageItem *strip : items->strips) {
        bands.append(strip->sourceRect());
    }
    PlainChain plain(withoutPalette(pixmap), bands);
    plain.autoPlaceAll();
    placeCuts(items->strips.first(), CutRule::Bright);
    requireEqual(firstDifference(items->strips.first(), plain), QString(), "bright cuts");
}

bool isSame(const RowProfile &a, const RowProfile &b)
{
    return a.top == b.top && a.width == b.width && a.height == b.height && a.span == b.span && a.row == b.row
        && a.seam == b.seam && a.drift == b.drift && a.down == b.down;
}

/// The pixels as the search compares them, without a shortcut for any format.
QImage plainPixels(const QImage &image)
{
    return image.convertToFormat(image.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32,
                                 Qt::NoOpaqueDetection);
}

/// What is true of the calm row of every picture.
void requireCalmRow(const QImage &image, const CutPlace &place)
{
    const CalmRow cut = calmRow(image, place);
    require(std::abs(cut.row - place.regular) <= std::max(place.near, place.far), "a calm cut is within reach");
    requireEqual(described(calmRow(plainPixels(image), place)), described(cut), "calm row of the plain format");
    requireEqual(described(calmRow(image.mirrored(true, false), place)), described(cut), "calm row mirrored");
    const int top = std::clamp(place.regular - place.far, 0, image.height());
    const int bottom = std::clamp(place.regular + place.far, top, image.height());
    require(isSame(profileOf(ChannelRows(image), top, bottom), plainProfile(image, top, bottom)),
            "the profile is that of the plain rule");
}

/// \a image with a color for each index: Qt reads beyond the end of a short table.
QImage withWholeTable(QImage image)
{
    if (image.format() == QImage::Format_Indexed8) {
        QList<QRgb> colors = image.colorTable();
        colors.resize(256, 0xff000000U);
        image.setColorTable(colors);
    }
    return image;
}

QString text(const std::optional<QRect> &rect)
{
    return rect ? u"%1 %2 %3 %4"_s.arg(rect->x()).arg(rect->y()).arg(rect->width()).arg(rect->height()) : u"none"_s;
}

void requireTrim(const QImage &image)
{
    // Otherwise Qt reads beyond its table of gray levels.
    const QImage gray = withPossibleColors(withWholeTable(image)).convertToFormat(QImage::Format_Grayscale8);
    const GrayScan scan(image);
    const int threshold = plainThreshold(gray);
    requireEqual(inkThreshold(scan.histogram()), threshold, "ink threshold");
    const std::optional<QRect> bounds = plainBounds(gray, threshold);
    requireEqual(text(contentBounds(scan, threshold)), text(bounds), "content bounds");
    int top = 0;
    const std::optional<QPixmap> trimmed = withoutBlankBorders(keptPixmap(image), &top);
    require(trimmed.has_value() == bounds.has_value(), "a picture is trimmed if it has content");
    require(!bounds || (trimmed->size() == bounds->size() && top == bounds->top()), "a trim keeps the content");
}

void requireOpacity(const QImage &image)
{
    const QList looked{QImage::Format_ARGB32, QImage::Format_ARGB32_Premultiplied, QImage::Format_Indexed8};
    bool isPlainlyOpaque = !image.hasAlphaChannel() || looked.contains(image.format());
    for (int y = 0; y < image.height() && looked.contains(image.format()); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            isPlainlyOpaque = isPlainlyOpaque && qAlpha(image.pixel(x, y)) == 255;
        }
    }
    requireEqual(isOpaque(image), isPlainlyOpaque, "opacity");
}

} // namespace

/// The searches for cuts and for blank borders find in any small picture what the plain
/// rules find, in every pixel format.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const size_t split = std::min(size, placeBytes);
    InputBytes places(data, split);
    InputBytes picture(data + split, size - split);
    const QImage image = pictureFrom(picture);
    requireBrightRows(image, windowFrom(places, image));
    requireCalmRow(image, placeFrom(places, image));
    requireTrim(image);
    requireOpacity(image);
    if (isLargeEnough(image.size())) {
        requireBrightCuts(image);
    }
    return 0;
}
