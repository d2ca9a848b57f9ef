#include "cutquality/kinds.h"

#include <QFontMetricsF>
#include <QPainter>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

constexpr std::array<QRgb, 6> syntax = {0xd4d4d4, 0x569cd6, 0xce9178, 0x6a9955, 0xdcdcaa, 0x9cdcfe};

void addScrollBar(LongPicture &page, const QColor &track, const QColor &thumb)
{
    const int width = page.px(18);
    page.fill(QRectF(page.width() - width, 0, width, page.height()), track);
    const int top = page.between(0, page.height() / 2);
    page.fill(QRectF(page.width() - width + 2, top, width - 4, page.height() / 3.0), thumb, width / 2.0);
}

void addButton(LongPicture &page, double x, int size)
{
    page.piece(QRectF(x, page.y, page.px(320), size * 2), [&](QPainter &painter) {
        painter.setBrush(QColor(0x2a7ae2));
        painter.drawRoundedRect(QRectF(x, page.y, page.px(300), size * 2), page.px(12), page.px(12));
    });
    page.line(x + page.px(40), page.y + size * 0.4, page.sentence(1), page.font(size), Qt::white);
    page.y += size * 2;
}

void addField(LongPicture &page, double x, double width, int size)
{
    const bool hasText = page.oneIn(2);
    const QRectF box(x, page.y, width, size * 1.9);
    page.piece(box.adjusted(-1, -1, 1, 1), [&](QPainter &painter) {
        painter.setPen(QPen(QColor(0xb0b0b0), page.px(2)));
        painter.setBrush(Qt::white);
        painter.drawRect(box);
    });
    if (hasText) {
        page.line(x + page.px(20), page.y + size * 0.35, page.sentence(2), page.font(size), 0x303030);
    }
    page.y += size * 2;
}

} // namespace

void paintCode(LongPicture &page)
{
    const int size = page.px(page.between(22, 32));
    const int pitch = size * page.between(120, 160) / 100;
    const QFont font = page.monospace(size);
    const int gutter = page.px(110);
    const int indent = size * 5 / 2;
    page.image.fill(QColor(0x1e1e1e));
    addScrollBar(page, 0x252526, 0x4b4b4b);
    page.fill(QRectF(gutter - page.px(10), 0, 1, page.height()), 0x333333);
    int depth = 0;
    for (int number = 1; !page.isFull(); ++number, page.y += pitch) {
        if (number == 40) {
            page.fill(QRectF(gutter, page.y, page.width() - gutter - page.px(18), pitch), 0x2a2d2e);
        }
        depth = std::clamp(depth + page.between(-1, 1), 0, 5);
        for (int i = 0; i < depth; ++i) {
            page.fill(QRectF(gutter + i * indent, page.y, 1, pitch), 0x404040);
        }
        page.line(page.px(20), page.y, QString::number(number), font, 0x858585);
        double x = gutter + depth * indent + page.px(6);
        const int tokens = page.oneIn(6) ? 0 : page.between(1, 7);
        for (int i = 0; i < tokens && x < page.width() * 0.85; ++i) {
            x += page.line(x, page.y, page.sentence(1), font,
                           QColor(syntax[size_t(page.random.bounded(int(syntax.size())))]));
        }
    }
}

void paintTable(LongPicture &page)
{
    const int size = page.px(page.between(22, 32));
    const int pitch = size * page.between(150, 260) / 100;
    const int columns = page.between(3, 6);
    const int left = page.px(40);
    const int cell = (page.width() - 2 * left) / columns;
    const bool zebra = page.oneIn(2);
    const bool sides = page.oneIn(2);
    const int rule = page.between(1, 2);
    for (int row = 0; !page.isFull(); ++row, page.y += pitch) {
        page.fill(QRectF(left, page.y, cell * columns, pitch), zebra && row % 2 == 0 ? 0xf2f4f7 : 0xffffff);
        page.fill(QRectF(left, page.y, cell * columns, rule), 0xb8c2cc);
        for (int i = 0; i <= columns && sides; ++i) {
            page.fill(QRectF(left + i * cell, page.y, rule, pitch), 0xb8c2cc);
        }
        const QFont font = page.font(size);
        for (int i = 0; i < columns; ++i) {
            const QString text = brokenInto(page.sentence(3), font, cell - page.px(30)).value(0);
            page.line(left + i * cell + page.px(14), page.y + (pitch - size * 1.3) / 2, text, font, 0x22262b);
        }
    }
}

void paintForm(LongPicture &page)
{
    page.image.fill(QColor(0xf6f7f9));
    const int size = page.px(page.between(28, 38));
    const int gap = page.px(page.between(10, 40));
    const double left = page.px(80);
    while (!page.isFull()) {
        page.line(left, page.y, page.sentence(2), page.font(size), 0x404040);
        page.y += size * 3 / 2;
        if (page.oneIn(5)) {
            addButton(page, left, size);
        } else {
            addField(page, left, page.width() - 2 * left, size);
        }
        page.y += gap;
        if (page.oneIn(6)) {
            page.fill(QRectF(0, page.y, page.width(), 2), 0xd8dce0);
            page.y += gap;
        }
    }
}

void paintCards(LongPicture &page)
{
    page.image.fill(QColor(0xeef0f3));
    addScrollBar(page, 0xe4e4e4, 0xa0a0a0);
    const int size = page.px(page.between(26, 36));
    const int side = page.px(page.between(140, 240));
    const int padding = page.px(page.between(16, 36));
    const QFont font = page.font(size);
    while (!page.isFull()) {
        const QRectF card(page.px(30), page.y, page.width() - page.px(80), side + 2 * padding);
        page.fill(card, Qt::white, page.px(16));
        page.photo(QRectF(card.left() + padding, page.y + padding, side, side));
        const double x = card.left() + 2 * padding + side;
        const QStringList texts = brokenInto(page.sentence(14), font, card.right() - x - padding).mid(0, 2);
        page.lines(x, page.y + padding, texts, font, 0x202020, size * 4 / 3);
        page.line(x, page.y + padding + side - size, page.sentence(1), page.font(size * 3 / 4), 0x9098a0);
        page.y += side + 2 * padding + page.px(page.between(6, 24));
    }
}
