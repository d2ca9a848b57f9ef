#include "cutquality/cutpictures.h"

#include "cutquality/cutcount.h"

#include <QPainter>

#include <algorithm>
#include <functional>

using namespace Qt::StringLiterals;

namespace {

constexpr int paintedWidth = 360;
constexpr int paintedStrips = 9;
constexpr quint32 pictureCount = 6;
constexpr int partWidth = 270; ///< of a picture in small
constexpr int partHeight = 168;
constexpr int gap = 12; ///< where a part is cut
constexpr int titleHeight = 24;
constexpr QSize pairSize(2 * partWidth + 24, titleHeight + partHeight + gap + 8);
constexpr QRgb table = 0x8f98a1; ///< what the pictures are put on
constexpr int beyondReach = 8; ///< rows shown above and below the reach of a cut

struct ShownCut
{
    QImage image;
    PlacedCut cut;
};

/// The better to show, the less.
int rank(const PlacedCut &cut)
{
    return !cut.isAvoidable ? 3 : cut.bright.depth > 3 ? 0 : cut.bright.depth > 0 ? 1 : 2;
}

ShownCut cutToShow(const PictureKind &kind)
{
    ShownCut best;
    int bestRank = 4;
    for (quint32 seed = 1; seed <= pictureCount && bestRank > 0; ++seed) {
        const CutPicture picture = cutPicture(kind, paintedWidth, paintedStrips, seed);
        const auto found = std::min_element(picture.cuts.begin(), picture.cuts.end(),
                                            [](const auto &a, const auto &b) { return rank(a) < rank(b); });
        if (rank(*found) < bestRank) {
            best = {picture.image, *found};
            bestRank = rank(*found);
        }
    }
    return best;
}

/// The rows from \a first to \a end in small, over gray where they are transparent.
QImage shownRows(const QImage &image, int first, int end)
{
    QImage rows(image.width(), end - first, QImage::Format_RGB32);
    rows.fill(0xc8c8c8);
    QPainter(&rows).drawImage(0, 0, image, 0, first, image.width(), end - first);
    const int height = (end - first) * partWidth / image.width();
    return rows.scaled(partWidth, height, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

/// Both sides of the cut above \a row with a gap between them, a line in the gap,
/// and at the edges the place of the regular cut.
void drawPart(QPainter &painter, QPoint corner, const ShownCut &shown, int row, const QColor &line)
{
    const CutPlace &place = shown.cut.place;
    const int first = place.regular - place.far - beyondReach;
    const QImage above = shownRows(shown.image, first, row);
    const QImage below = shownRows(shown.image, row, place.regular + place.far + beyondReach);
    painter.drawImage(corner, above);
    painter.drawImage(corner + QPoint(0, above.height() + gap), below);
    painter.fillRect(QRect(corner + QPoint(0, above.height() + gap / 2 - 1), QSize(partWidth, 2)), line);
    const int regular = (place.regular - first) * partWidth / shown.image.width() + (row <= place.regular ? gap : 0);
    painter.fillRect(QRect(corner + QPoint(-4, regular), QSize(8, 2)), Qt::blue);
    painter.fillRect(QRect(corner + QPoint(partWidth - 4, regular), QSize(8, 2)), Qt::blue);
}

QColor verdict(const PlacedRow &placed)
{
    return placed.depth > 0 ? QColor(0xd0, 0x20, 0x20) : QColor(0x10, 0x80, 0x30);
}

/// A sheet with \a count pairs, two in a row, each drawn by \a draw at its corner.
QImage sheetOf(int count, const std::function<void(QPainter &painter, QPoint corner, int pair)> &draw)
{
    QImage sheet(2 * pairSize.width() + 8, (count + 1) / 2 * pairSize.height(), QImage::Format_RGB32);
    sheet.fill(table);
    QPainter painter(&sheet);
    QFont font(u"DejaVu Sans"_s);
    font.setPixelSize(13);
    painter.setFont(font);
    for (int i = 0; i < count; ++i) {
        draw(painter, QPoint(8 + i % 2 * pairSize.width(), i / 2 * pairSize.height()), i);
    }
    return sheet;
}

void drawPair(QPainter &painter, QPoint corner, const ShownCut &shown, QColor brightLine, QColor calmLine)
{
    const QPoint left = corner + QPoint(0, titleHeight);
    drawPart(painter, left, shown, shown.cut.bright.row, brightLine);
    drawPart(painter, left + QPoint(partWidth + 8, 0), shown, shown.cut.calm.row, calmLine);
}

} // namespace

bool savePainted(const PictureKind &kind, const QString &directory)
{
    LongPicture page(QSize(720, 2800), 1);
    kind.paint(page);
    QImage image = kind.finish(page).convertToFormat(QImage::Format_ARGB32);
    QPainter painter(&image);
    for (qsizetype i = 0; i < page.pieces.size(); ++i) {
        const Piece &piece = page.pieces.at(i);
        const QRectF mark(double(i % 6) * 5, piece.top, 4, piece.bottom - piece.top);
        painter.fillRect(mark, QColor::fromHsv(int(i * 67 % 360), 255, 230));
    }
    painter.end();
    return image.save(u"%1/%2.png"_s.arg(directory, fileName(kind)));
}

QImage cutSheet(const QList<PictureKind> &kinds)
{
    return sheetOf(int(kinds.size()), [&kinds](QPainter &painter, QPoint corner, int pair) {
        const ShownCut shown = cutToShow(kinds.at(pair));
        painter.drawText(corner + QPoint(0, 18), QString::fromLatin1(kinds.at(pair).name));
        drawPair(painter, corner, shown, verdict(shown.cut.bright), verdict(shown.cut.calm));
    });
}

QImage cutSheet(const QImage &image)
{
    const QList<PlacedCut> cuts = cutsOf(image, {});
    return sheetOf(int(cuts.size()), [&](QPainter &painter, QPoint corner, int pair) {
        painter.drawText(corner + QPoint(0, 18), u"bright"_s);
        painter.drawText(corner + QPoint(partWidth + 8, 18), u"calm"_s);
        drawPair(painter, corner, {image, cuts.at(pair)}, Qt::black, Qt::black);
    });
}
