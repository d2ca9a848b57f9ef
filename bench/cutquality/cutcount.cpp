#include "cutquality/cutcount.h"

#include "pixels/calmrow.h"
#include "pixels/cutscan.h"
#include "pixels/rowviews.h"

#include <QPainter>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr double aspect = 0.70707071; // of a strip
constexpr int shallowRows = 3;

int depthAt(const QList<Piece> &pieces, int row)
{
    int depth = 0;
    for (const Piece &piece : pieces) {
        if (piece.top < row && row < piece.bottom) {
            depth = std::max(depth, std::min(row - piece.top, piece.bottom - row));
        }
    }
    return depth;
}

bool isFreePlaceNear(const QList<Piece> &pieces, const CutPlace &place)
{
    for (int row = place.regular - place.far; row <= place.regular + place.far; ++row) {
        if (depthAt(pieces, row) == 0) {
            return true;
        }
    }
    return false;
}

void count(CutCount &counts, int depth)
{
    counts.shallow += depth > 0 && depth <= shallowRows ? 1 : 0;
    counts.deep += depth > shallowRows ? 1 : 0;
}

int brightCut(const QImage &image, double top, double height)
{
    const double windowHeight = 0.3 * height;
    const QRect window = QRectF(0, top + height - windowHeight * 0.5, image.width(), windowHeight).toAlignedRect();
    const QImage view = rowsView(image, window);
    const bool plain = view.format() == QImage::Format_ARGB32;
    const int row = brightestRow(plain ? view.convertToFormat(QImage::Format_ARGB32_Premultiplied) : view);
    return std::max(0, window.top()) + row;
}

/// Saves what surrounds the calm \a cut, with lines at both ends of the window
/// and at the cut.
void saveFailure(const CutPicture &picture, const PlacedCut &cut, const QString &file)
{
    const CutPlace &place = cut.place;
    const int top = place.regular - place.far;
    const QRect reach(0, top, picture.image.width(), 2 * place.far);
    QImage part = picture.image.copy(reach).convertToFormat(QImage::Format_ARGB32);
    QPainter painter(&part);
    painter.fillRect(0, cut.calm.row - top, part.width(), 1, Qt::red);
    painter.fillRect(0, place.far - place.near, part.width() / 20, 2, Qt::blue);
    painter.fillRect(0, place.far + place.near, part.width() / 20, 2, Qt::blue);
    painter.end();
    part.save(file);
}

} // namespace

CutCounts &CutCounts::operator+=(const CutCounts &other)
{
    const auto add = [](CutCount &to, const CutCount &from) {
        to.shallow += from.shallow;
        to.deep += from.deep;
    };
    cuts += other.cuts;
    unavoidable += other.unavoidable;
    add(regular, other.regular);
    add(bright, other.bright);
    add(calm, other.calm);
    return *this;
}

QList<PlacedCut> cutsOf(const QImage &image, const QList<Piece> &pieces)
{
    const double height = image.width() / aspect;
    const auto at = [&pieces](int row) { return PlacedRow{row, depthAt(pieces, row)}; };
    QList<PlacedCut> cuts;
    double top = 0; // of the strip, as the bright rule moves it
    for (int i = 1; height * i < image.height(); ++i) {
        const CutPlace place = cutPlace(height * i, height);
        const int bright = brightCut(image, top, height * i - top);
        const int calm = calmRow(image, place).row;
        cuts.append({place, isFreePlaceNear(pieces, place), at(place.regular), at(bright), at(calm)});
        top = bright;
    }
    return cuts;
}

CutPicture cutPicture(const PictureKind &kind, int width, int strips, quint32 seed)
{
    LongPicture page(QSize(width, int(width / aspect * strips)), seed);
    kind.paint(page);
    const QImage image = kind.finish(page);
    return {image, cutsOf(image, page.pieces)};
}

CutCounts countCuts(const PictureKind &kind, int width, int strips, quint32 seed, const QString &directory)
{
    const CutPicture picture = cutPicture(kind, width, strips, seed);
    CutCounts counts;
    for (qsizetype i = 0; i < picture.cuts.size(); ++i) {
        const PlacedCut &cut = picture.cuts.at(i);
        ++counts.cuts;
        if (!cut.isAvoidable) {
            ++counts.unavoidable;
            continue;
        }
        count(counts.regular, cut.regular.depth);
        count(counts.bright, cut.bright.depth);
        count(counts.calm, cut.calm.depth);
        if (cut.calm.depth > 0 && !directory.isEmpty()) {
            const QString name = u"%1/%2-%3-%4-%5-%6.png"_s.arg(directory, fileName(kind));
            saveFailure(picture, cut, name.arg(width).arg(seed).arg(i + 1).arg(cut.calm.depth));
        }
    }
    return counts;
}
