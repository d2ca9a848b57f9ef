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

/// How far a cut above row \a row goes into content: 0 if it goes past every
/// piece, otherwise the rows to the nearer end of the piece hit worst.
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

/// Saves what surrounds \a row, with lines at both ends of the window and at the cut.
void saveFailure(const QImage &image, const CutPlace &place, int row, const QString &file)
{
    const int top = place.regular - place.far;
    QImage part = image.copy(0, top, image.width(), 2 * place.far).convertToFormat(QImage::Format_ARGB32);
    QPainter painter(&part);
    painter.fillRect(0, row - top, part.width(), 1, Qt::red);
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

CutCounts countCuts(const PictureKind &kind, int width, int strips, quint32 seed, const QString &directory)
{
    const double height = width / aspect;
    LongPicture page(QSize(width, int(height * strips)), seed);
    kind.paint(page);
    const QImage image = kind.finish(page);
    CutCounts counts;
    double top = 0; // of the strip, as the bright rule moves it
    for (int i = 1; i < strips; ++i) {
        const CutPlace place = cutPlace(height * i, height);
        const int bright = brightCut(image, top, height * i - top);
        top = bright;
        ++counts.cuts;
        if (!isFreePlaceNear(page.pieces, place)) {
            ++counts.unavoidable;
            continue;
        }
        const int calm = calmRow(image, place).row;
        const int depth = depthAt(page.pieces, calm);
        count(counts.regular, depthAt(page.pieces, place.regular));
        count(counts.bright, depthAt(page.pieces, bright));
        count(counts.calm, depth);
        if (depth > 0 && !directory.isEmpty()) {
            const QString name =
                u"%1/%2-%3-%4-%5-%6.png"_s.arg(directory, QString::fromLatin1(kind.name).replace(u' ', u'_'));
            saveFailure(image, place, calm, name.arg(width).arg(seed).arg(i).arg(depth));
        }
    }
    return counts;
}
