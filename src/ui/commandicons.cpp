#include "ui/commandicons.h"

#include "ui/iconframe.h"
#include "ui/screendensity.h"

#include <QIcon>
#include <QPainter>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr int iconMargin = 4;
constexpr int helpIconMargin = 2;

QColor mainColor()
{
    return QColor::fromString("#6c6c6c"_L1);
}

QColor secondColor()
{
    return QColor::fromString("#9c9c9c"_L1);
}

QPen strokePen(const QColor &color, double width = 3)
{
    return QPen(QBrush(color, Qt::SolidPattern), width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
}

/// A transparent square, one pixel larger than the toolbar shows it, so that
/// it has a true centre pixel.
QPixmap emptyIcon()
{
    const int size = toolBarIconSize(screenDensity()) + 1;
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    return pixmap;
}

/// The centre pixel of \a rect.
QPoint centreOf(const QRect &rect)
{
    return {(rect.left() + rect.right()) / 2, (rect.top() + rect.bottom()) / 2};
}

int rounded(double value)
{
    return int(std::round(value));
}

QRect circle(int x, int y, int radius)
{
    return {x - radius, y - radius, 2 * radius, 2 * radius};
}

/// A frame, and a smaller one of \a share of its width in the second colour.
void drawNestedFrames(QPainter &painter, const QRect &rect, double share)
{
    const QPoint centre = centreOf(rect);
    const int side = rounded(share * rect.width());
    const int half = rounded(0.5 * side);
    painter.drawRect(rect);
    painter.setPen(strokePen(secondColor(), 2));
    painter.drawRect(centre.x() - half, centre.y() - half, side, side);
}

/// A frame with a minus sign, and with a plus sign if \a plus is set.
void drawSignInFrame(QPainter &painter, const QRect &rect, const QColor &color, bool plus)
{
    const QPoint centre = centreOf(rect);
    const int arm = rounded(0.28 * std::min(rect.width(), rect.height()));
    painter.drawRect(rect);
    painter.setPen(strokePen(color, 2));
    painter.drawLine(centre.x() - arm, centre.y(), centre.x() + arm, centre.y());
    if (plus) {
        painter.drawLine(centre.x(), centre.y() - arm, centre.x(), centre.y() + arm);
    }
}

} // namespace

void drawCommandIcon(QPixmap &pixmap, const QColor &color, int margin,
                     const std::function<void(QPainter &, const QRect &)> &draw)
{
    QPainter painter(&pixmap);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform | QPainter::TextAntialiasing);
    painter.setPen(strokePen(color));
    painter.setBrush(Qt::NoBrush);
    draw(painter, iconFrame(pixmap.rect(), margin));
}

QIcon openIcon()
{
    QPixmap pixmap = emptyIcon();
    const QColor color = mainColor();
    drawCommandIcon(pixmap, color, iconMargin, [&color](QPainter &painter, const QRect &rect) {
        const double w = rect.width();
        const double h = rect.height();
        const QPoint foot(int(rect.left() + 0.2 * w), int(rect.bottom() - 0.1 * h));
        const QPoint peak(int(centreOf(rect).x() - 0.1 * w), int(rect.bottom() - 0.3 * h));
        const QPoint end(int(rect.left() + 0.6 * w), int(rect.bottom() - 0.1 * h));
        painter.drawRect(rect);
        painter.drawLine(foot, peak);
        painter.drawLine(peak, end);

        const int radius = int(0.15 * w);
        const int sunX = int(rect.right() - 0.25 * w);
        const int sunY = int(rect.top() + 0.25 * h);
        painter.drawEllipse(circle(sunX, sunY, radius));
        painter.setBrush(color);
        painter.drawEllipse(circle(sunX, sunY, int(0.4 * radius)));
    });
    return QIcon(pixmap);
}

QIcon exportPdfIcon()
{
    QPixmap pixmap = emptyIcon();
    drawCommandIcon(pixmap, mainColor(), iconMargin, [](QPainter &painter, const QRect &rect) {
        const auto [left, top, right, bottom] = std::array{rect.left(), rect.top(), rect.right(), rect.bottom()};
        painter.drawLine(left, top, left + rect.width() / 2, top);
        painter.drawLine(right, top + rect.height() / 2, right, bottom);
        painter.drawLine(right, bottom, left, bottom);
        painter.drawLine(left, bottom, left, top);
        painter.drawLine(centreOf(rect), rect.topRight());
        const int head = std::min(rect.width(), rect.height()) / 4;
        painter.drawLine(right, top, right - head, top);
        painter.drawLine(right, top, right, top + head);
    });
    return QIcon(pixmap);
}

QIcon printIcon()
{
    QPixmap pixmap = emptyIcon();
    drawCommandIcon(pixmap, mainColor(), iconMargin, [](QPainter &painter, const QRect &rect) {
        const int bodyTop = int(0.3 * rect.height() + rect.top());
        const int bodyBottom = int(0.65 * rect.height() + rect.top());
        painter.drawRect(QRect(QPoint(rect.left(), bodyTop), QPoint(rect.right(), bodyBottom - 1)));

        const int paper = int(0.6 * rect.width());
        const int left = (rect.width() - paper) / 2 + rect.left();
        const int right = left + paper;
        painter.drawLine(left, rect.top(), left, bodyTop);
        painter.drawLine(right, rect.top(), right, bodyTop);
        painter.drawLine(left, rect.top(), right, rect.top());
        painter.drawLine(left, bodyBottom, left, rect.bottom());
        painter.drawLine(right, bodyBottom, right, rect.bottom());
        painter.drawLine(left, rect.bottom(), right, rect.bottom());
        painter.drawEllipse(QRect(QPoint(rect.right() - 8, bodyTop + 4), QPoint(rect.right() - 6, bodyTop + 6)));
    });
    return QIcon(pixmap);
}

QIcon helpIcon()
{
    QPixmap pixmap = emptyIcon();
    const QColor color = mainColor();
    drawCommandIcon(pixmap, color, helpIconMargin, [&color](QPainter &painter, const QRect &rect) {
        const QPoint centre = centreOf(rect);
        const int cx = centre.x();
        const int cy = centre.y();
        const int radius = rounded(0.4 * std::min(rect.width(), rect.height()));
        const int arm = rounded(0.6 * radius);
        painter.drawEllipse(circle(cx, cy, radius));
        painter.drawRect(cx - arm, cy + radius, rounded(1.2 * radius), rounded(0.3 * radius));
        painter.setPen(strokePen(color, 1));
        painter.drawLine(cx, cy - arm, cx, cy + arm);
        painter.drawLine(cx - arm, cy, cx + arm, cy);
        const int slant = rounded(0.7 * arm);
        painter.drawLine(cx - slant, cy - slant, cx + slant, cy + slant);
        painter.drawLine(cx + slant, cy - slant, cx - slant, cy + slant);
    });
    return QIcon(pixmap);
}

QIcon decreaseMarginIcon()
{
    QPixmap pixmap = emptyIcon();
    drawCommandIcon(pixmap, mainColor(), iconMargin,
                    [](QPainter &painter, const QRect &rect) { drawNestedFrames(painter, rect, 0.7); });
    return QIcon(pixmap);
}

QIcon increaseMarginIcon()
{
    QPixmap pixmap = emptyIcon();
    drawCommandIcon(pixmap, mainColor(), iconMargin,
                    [](QPainter &painter, const QRect &rect) { drawNestedFrames(painter, rect, 0.4); });
    return QIcon(pixmap);
}

QIcon zoomInIcon()
{
    QPixmap pixmap = emptyIcon();
    const QColor color = mainColor();
    drawCommandIcon(pixmap, color, iconMargin,
                    [&color](QPainter &painter, const QRect &rect) { drawSignInFrame(painter, rect, color, true); });
    return QIcon(pixmap);
}

QIcon zoomOutIcon()
{
    QPixmap pixmap = emptyIcon();
    const QColor color = mainColor();
    drawCommandIcon(pixmap, color, iconMargin,
                    [&color](QPainter &painter, const QRect &rect) { drawSignInFrame(painter, rect, color, false); });
    return QIcon(pixmap);
}

QIcon twoColsIcon()
{
    QPixmap pixmap = emptyIcon();
    const QColor color = mainColor();
    drawCommandIcon(pixmap, color, iconMargin, [&color](QPainter &painter, const QRect &rect) {
        painter.setPen(QPen(QBrush(color, Qt::SolidPattern), 2, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin));
        painter.drawRoundedRect(QRectF(rect), 2, 2, Qt::AbsoluteSize);

        const int width = (rect.right() - rect.left() - 10) / 2;
        const int height = (rect.bottom() - rect.top() - 5) / 2;
        painter.setPen(Qt::NoPen);
        painter.setBrush(color);
        for (const int left : {rect.left() + 4, rect.left() + 7 + width}) {
            for (const int top : {rect.top() + 3, rect.top() + 4 + height}) {
                painter.drawRect(left, top, width, height);
            }
        }
    });
    return QIcon(pixmap);
}

QIcon autoTrimIcon()
{
    QPixmap pixmap = emptyIcon();
    const QColor color = mainColor();
    drawCommandIcon(pixmap, color, iconMargin, [&color](QPainter &painter, const QRect &rect) {
        painter.drawRect(rect);
        QColor fill = color;
        fill.setAlpha(80);
        painter.fillRect(rect.adjusted(4, 4, -4, -4), fill);
        for (const auto &[x, innerX] : {std::pair{rect.left(), rect.left() + 6}, {rect.right(), rect.right() - 6}}) {
            for (const auto &[y, innerY] :
                 {std::pair{rect.top(), rect.top() + 6}, {rect.bottom(), rect.bottom() - 6}}) {
                painter.drawLine(x, innerY, innerX, innerY);
                painter.drawLine(innerX, y, innerX, innerY);
            }
        }
    });
    return QIcon(pixmap);
}

QIcon pageNumIcon()
{
    QPixmap pixmap = emptyIcon();
    drawCommandIcon(pixmap, mainColor(), iconMargin, [](QPainter &painter, const QRect &rect) {
        painter.drawRect(rect);
        QFont font;
        font.setPixelSize(int(0.6 * rect.height()));
        font.setWeight(QFont::Bold);
        painter.setFont(font);
        painter.drawText(rect, Qt::AlignCenter, u"1"_s);
    });
    return QIcon(pixmap);
}

QIcon updateIcon()
{
    QPixmap pixmap(20, 20);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    painter.setPen(QPen(QColor(255, 159, 10), 2));
    painter.drawLine(QPointF(10, 4), QPointF(10, 14));
    painter.drawPolyline(QPolygonF{QPointF(6, 10), QPointF(10, 14), QPointF(14, 10)});
    painter.drawLine(QPointF(4, 17), QPointF(16, 17));
    painter.end();
    return QIcon(pixmap);
}
