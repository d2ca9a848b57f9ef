#include "cutquality/kinds.h"
#include "cutquality/painting.h"

#include <QFontMetricsF>
#include <QPainter>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

/// A paragraph of a letter that has been answered \a depth times.
void addQuoted(LongPicture &page, const Column &body, int depth)
{
    const int step = page.px(34);
    Column column = body;
    column.left += depth * step;
    column.width -= depth * step;
    column.color = depth == 0 ? body.color : QColor(0x5a6b80);
    const int top = page.y;
    addWords(page, column, page.between(4, 40));
    for (int i = 0; i < depth; ++i) {
        page.fill(QRectF(body.left + i * step, top, page.px(4), page.y - top + column.pitch), 0xb8c4d0);
    }
    page.y += column.pitch / 2;
}

void addMailHead(LongPicture &page, const Column &body)
{
    page.fill(QRectF(0, page.y, page.width(), page.px(2)), 0xd0d4d8);
    page.y += page.px(page.between(20, 44));
    const int side = page.px(90);
    page.avatar(QRectF(body.left, page.y, side, side));
    Column name{body.left + side + page.px(20), body.width - side - page.px(20), body.size, body.size * 3 / 2,
                body.color};
    addLine(page, name, page.sentence(2));
    name.size = body.size * 3 / 4;
    name.color = QColor(0x80868b);
    addLine(page, name, page.sentence(5));
    page.y += page.px(page.between(10, 40));
}

/// A photo of a grid with its title and price below.
int addTile(LongPicture &page, double left, double width, int size)
{
    const int top = page.y;
    const int high = int(width * page.between(60, 130) / 100);
    addScenery(page, QRectF(left, page.y, width, high), page.oneIn(2) ? page.px(12) : 0);
    page.y += high + size / 3;
    const Column title{left, width, size, size * 4 / 3, QColor(0x202124)};
    addWords(page, title, page.between(2, 6));
    const Column source{left, width, size * 3 / 4, size, QColor(0x70757a)};
    addLine(page, source, page.sentence(2));
    const int bottom = page.y;
    page.y = top;
    return bottom;
}

/// A chart with lines over a ruled ground, its numbers at the left.
void addChart(LongPicture &page, const QRectF &plot, int size)
{
    const int rules = page.between(3, 6);
    for (int i = 0; i <= rules; ++i) {
        const double y = plot.bottom() - plot.height() * i / rules;
        page.fill(QRectF(plot.left(), std::floor(y), plot.width(), 1), 0x3a3f4a);
        page.line(plot.left() - page.px(70), y - size * 0.7, QString::number(i * 20), page.font(size), 0x9aa0aa);
    }
    const int hue = page.between(0, 359);
    page.piece(plot, [&](QPainter &painter) {
        QPolygonF points;
        double level = 0.5;
        for (int i = 0; i <= 30; ++i) {
            level = std::clamp(level + page.between(-20, 20) / 100.0, 0.05, 0.95);
            points << QPointF(plot.left() + plot.width() * i / 30, plot.bottom() - plot.height() * level);
        }
        painter.setPen(QPen(QColor::fromHsv(hue, 180, 230), page.px(4)));
        painter.drawPolyline(points);
    });
}

void addFigures(LongPicture &page, double left, double width, int size)
{
    QFont font = page.font(size * 2);
    font.setBold(true);
    for (int i = 0; i < 3; ++i) {
        const double x = left + width * i / 3;
        page.line(x, page.y, QString::number(page.between(10, 99999)), font, 0xf0f2f5);
        page.line(x, page.y + size * 2.6, page.sentence(1), page.font(size), 0x9aa0aa);
    }
    page.y += size * 5;
}

/// Colors without any detail, as of a cover that has been blurred.
QImage blurredCover(LongPicture &page)
{
    QImage small(3, 9, QImage::Format_RGB32);
    for (int i = 0; i < small.width() * small.height(); ++i) {
        small.setPixelColor(i % 3, i / 3,
                            QColor::fromHsv(page.between(0, 359), page.between(60, 200), page.between(40, 140)));
    }
    return small.scaled(page.image.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

} // namespace

void paintMail(LongPicture &page)
{
    page.image.fill(page.oneIn(2) ? QColor(Qt::white) : QColor(0xf4f1ea));
    const Column body = pageColumn(page, 0x202124, page.px(page.between(40, 80)));
    while (!page.isFull()) {
        addMailHead(page, body);
        int depth = 0;
        for (int i = page.between(3, 9); i > 0; --i) {
            addQuoted(page, body, depth);
            depth = std::clamp(depth + page.between(-1, 1), 0, 4);
        }
        if (page.oneIn(3)) {
            addScenery(page, QRectF(body.left, page.y, page.px(300), page.px(120)));
            page.y += page.px(140);
        }
    }
}

void paintPhotoGrid(LongPicture &page)
{
    page.image.fill(page.oneIn(3) ? QColor(0xe8e6e1) : QColor(Qt::white));
    const int size = page.px(page.between(26, 34));
    const int columns = page.between(2, 3);
    const int gap = page.px(page.between(8, 30));
    const double width = double(page.width() - gap * (columns + 1)) / columns;
    while (!page.isFull()) {
        int bottom = page.y;
        for (int i = 0; i < columns; ++i) {
            bottom = std::max(bottom, addTile(page, gap + i * (width + gap), width, size));
        }
        page.y = bottom + gap;
    }
}

void paintDashboard(LongPicture &page)
{
    page.image.fill(QColor(0x16181d));
    const int size = page.px(page.between(22, 30));
    const int gap = page.px(page.between(12, 30));
    while (!page.isFull()) {
        const int high = page.px(page.between(180, 420));
        const double left = gap;
        const double width = page.width() - 2 * gap;
        page.fill(QRectF(left, page.y, width, high + size * 10), 0x22252c, page.px(10));
        page.y += size;
        page.line(left + size, page.y, page.sentence(3), page.font(size * 5 / 4), 0xd8dbe0);
        page.y += size * 5 / 2;
        addFigures(page, left + size, width - 2 * size, size);
        addChart(page, QRectF(left + page.px(110), page.y, width - page.px(150), high), size * 3 / 4);
        page.y += high + size * 3 / 2 + gap;
    }
}

void paintLyrics(LongPicture &page)
{
    const QImage cover = blurredCover(page);
    page.paint([&](QPainter &painter) { painter.drawImage(0, 0, cover); });
    const int size = page.px(page.between(34, 54));
    const int pitch = size * page.between(150, 220) / 100;
    QFont font = page.font(size);
    font.setBold(page.oneIn(2));
    const bool centered = page.oneIn(2);
    while (!page.isFull()) {
        for (int i = page.between(2, 6); i > 0; --i) {
            const QString text = brokenInto(page.sentence(page.between(2, 7)), font, page.width() * 0.85).value(0);
            const double x = centered ? (page.width() - QFontMetricsF(font).horizontalAdvance(text)) / 2 : page.px(60);
            page.line(x, page.y, text, font, QColor(255, 255, 255, page.oneIn(5) ? 255 : 140));
            page.y += pitch;
        }
        page.y += page.oneIn(2) ? pitch : 0;
    }
}
