#include "cutquality/kinds.h"
#include "cutquality/painting.h"

#include <QFontMetricsF>
#include <QPainter>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

/// A picture at one side and text beside it, then below it.
void addFloat(LongPicture &page, const Column &column)
{
    const double width = column.width * page.between(30, 48) / 100;
    const int height = page.px(page.between(180, 420));
    const bool left = page.oneIn(2);
    const double gap = column.size;
    addScenery(page, QRectF(left ? column.left : column.left + column.width - width, page.y, width, height));
    const int top = page.y;
    const Column beside{left ? column.left + width + gap : column.left, column.width - width - gap, column.size,
                        column.pitch, column.color};
    while (page.y < top + height) {
        addLine(page, beside, page.sentence(12));
    }
    page.y = std::max(page.y, top + height + column.size / 3);
}

void addBlockQuote(LongPicture &page, const Column &column)
{
    const int top = page.y;
    const int inset = column.size * 3 / 2;
    addWords(page, {column.left + inset, column.width - inset, column.size, column.pitch, QColor(0x6a737d)},
             page.between(8, 45));
    page.fill(QRectF(column.left, top, page.px(8), page.y - top), 0xc8ced4);
}

void addBullets(LongPicture &page, const Column &column)
{
    for (int i = page.between(2, 6); i > 0; --i) {
        const QPointF dot(column.left + column.size * 0.5, page.y + column.size * 0.75);
        page.piece(QRectF(dot, QSizeF()).adjusted(-9, -9, 9, 9), [&](QPainter &painter) {
            painter.setBrush(column.color);
            painter.drawEllipse(dot, column.size * 0.14, column.size * 0.14);
        });
        addWords(page,
                 {column.left + column.size * 1.5, column.width - column.size * 1.5, column.size, column.pitch,
                  column.color},
                 page.between(2, 18));
    }
}

void addListingBox(LongPicture &page, const Column &column)
{
    const QFont font = page.monospace(column.size * 9 / 10);
    const int rows = page.between(2, 8);
    page.fill(QRectF(column.left, page.y, column.width, rows * column.pitch + column.size), 0xf6f8fa, page.px(10));
    page.y += column.size / 2;
    for (int i = 0; i < rows; ++i, page.y += column.pitch) {
        const QString text = brokenInto(page.sentence(page.between(1, 5)), font, column.width * 0.9).value(0);
        page.line(column.left + column.size * page.between(1, 3), page.y, text, font, 0x24292e);
    }
    page.y += column.size;
}

void addFooter(LongPicture &page, const Column &column)
{
    const int rows = page.between(3, 6);
    page.fill(QRectF(0, page.y, page.width(), (rows + 2) * column.pitch), 0x23272e);
    page.y += column.pitch;
    for (int row = 0; row < rows; ++row) {
        const int top = page.y;
        for (int i = 0; i < 3; ++i) {
            page.y = top;
            const double cell = column.width / 3;
            addLine(page,
                    {column.left + i * cell, cell - column.size, column.size * 4 / 5, column.pitch,
                     QColor(row == 0 ? 0xffffff : 0xa0a8b4)},
                    page.sentence(2));
        }
    }
    page.y += column.pitch * 3 / 2;
}

void addArticlePart(LongPicture &page, const Column &column)
{
    const int what = page.between(0, 15);
    if (what < 2) {
        addTitle(page, column, page.between(2, 8));
    } else if (what < 4) {
        addFloat(page, column);
    } else if (what == 4) {
        addBlockQuote(page, column);
    } else if (what == 5) {
        addBullets(page, column);
    } else if (what == 6) {
        addListingBox(page, column);
    } else if (what == 7 && page.oneIn(2)) {
        addFooter(page, column);
    } else {
        addWords(page, column, page.between(8, 60));
    }
}

/// A line stretched to the width of \a column, as far as its gaps allow.
void addJustified(LongPicture &page, const Column &column, const QString &text, QFont font)
{
    const double left = column.width - QFontMetricsF(font).horizontalAdvance(text.trimmed());
    const qsizetype spaces = text.trimmed().count(u' ');
    if (spaces > 0 && left > 0 && left / double(spaces) < column.size * 0.6) {
        font.setWordSpacing(left / double(spaces));
    }
    page.line(column.left, page.y, text.trimmed(), font, column.color);
    page.y += column.pitch;
}

void addNewsColumn(LongPicture &page, const Column &column, int end, bool picture)
{
    const QFont font = page.font(column.size);
    if (picture) {
        const int rows = page.between(5, 12);
        addScenery(page, QRectF(column.left, page.y, column.width, rows * column.pitch - column.pitch / 3.0));
        page.y += rows * column.pitch;
    }
    while (page.y + column.pitch < end) {
        const QStringList texts = brokenInto(page.sentence(page.between(15, 70)), font, column.width);
        for (const QString &text : texts) {
            if (page.y + column.pitch < end) {
                addJustified(page, column, text, font);
            }
        }
        page.y += page.oneIn(3) ? column.pitch : 0;
    }
}

void addNewsSection(LongPicture &page, const Column &whole, bool level)
{
    page.fill(QRectF(whole.left, page.y, whole.width, page.px(4)), Qt::black);
    page.y += page.px(20);
    addTitle(page, whole, page.between(3, 9));
    page.y += page.px(10);
    const int top = page.y;
    const int end = top + page.px(page.between(500, 1500));
    const double gap = page.px(36);
    const double width = (whole.width - 2 * gap) / 3;
    const int pictured = page.between(0, 3);
    for (int i = 0; i < 3; ++i) {
        page.y = top + (level ? 0 : page.between(0, whole.pitch));
        const double left = whole.left + i * (width + gap);
        addNewsColumn(page, {left, width, whole.size, whole.pitch, whole.color}, end, i == pictured);
        if (i > 0) {
            page.fill(QRectF(left - gap / 2, top, 1, end - top), 0x909090);
        }
    }
    page.y = end + page.px(30);
}

void addTick(LongPicture &page, double x, int side)
{
    const QRectF box(x, page.y + side * 0.2, side, side);
    const bool ticked = page.oneIn(2);
    page.piece(box.adjusted(-2, -2, 2, 2), [&](QPainter &painter) {
        painter.setPen(QPen(Qt::black, page.px(2)));
        painter.drawRect(box);
        if (ticked) {
            painter.drawLine(box.topLeft(), box.bottomRight());
            painter.drawLine(box.topRight(), box.bottomLeft());
        }
    });
}

/// Boxes that share their borders, a small label above what is filled in.
void addFormBoxes(LongPicture &page, const Column &column)
{
    const int boxes = page.between(1, 4);
    const double cell = column.width / boxes;
    const int height = column.size * 3;
    const int top = page.y;
    const int border = page.px(2);
    page.fill(QRectF(column.left, top, column.width, border), Qt::black);
    for (int i = 0; i <= boxes; ++i) {
        page.fill(QRectF(column.left + i * cell, top, border, height), Qt::black);
    }
    for (int i = 0; i < boxes; ++i) {
        const double x = column.left + i * cell + page.px(10);
        page.y = top + page.px(6);
        addLine(page, {x, cell - page.px(20), column.size * 6 / 10, column.size, column.color}, page.sentence(3));
        if (!page.oneIn(4)) {
            addLine(page, {x, cell - page.px(20), column.size, column.size, QColor(0x1a3a8c)}, page.sentence(3));
        }
    }
    page.y = top + height;
    page.fill(QRectF(column.left, page.y, column.width, border), Qt::black);
}

void addFormSection(LongPicture &page, const Column &column)
{
    page.y += column.size;
    page.fill(QRectF(column.left, page.y, column.width, column.size * 1.6), Qt::black);
    page.line(column.left + page.px(14), page.y + column.size * 0.1, page.sentence(3), page.font(column.size),
              Qt::white);
    page.y += column.size * 8 / 5;
}

void addTicks(LongPicture &page, const Column &column)
{
    for (int i = page.between(2, 5); i > 0; --i) {
        page.y += column.size / 3;
        addTick(page, column.left, column.size);
        addLine(page,
                {column.left + column.size * 1.8, column.width * 0.8, column.size, column.size * 3 / 2, column.color},
                page.sentence(6));
    }
    page.y += column.size / 2;
}

/// A box for each letter.
void addComb(LongPicture &page, const Column &column)
{
    page.y += column.size / 3;
    addLine(page, {column.left, column.width, column.size * 7 / 10, column.size * 11 / 10, column.color},
            page.sentence(2));
    const int side = column.size * 3 / 2;
    for (int i = page.between(8, 16); i > 0; --i) {
        const double x = column.left + i * side;
        page.piece(QRectF(x - 2, page.y - 2, side + 4, side + 4), [&](QPainter &painter) {
            painter.setPen(QPen(Qt::black, 1));
            painter.drawRect(QRectF(x + 0.5, page.y + 0.5, side, side));
        });
        page.line(x + side * 0.3, page.y + side * 0.1, QString::number(page.between(0, 9)),
                  page.font(column.size * 9 / 10), 0x1a3a8c);
    }
    page.y += side + column.size / 2;
}

void drawCentered(QPainter &painter, const QFont &font, QPointF center, const QString &text)
{
    const QFontMetricsF metrics(font);
    painter.setFont(font);
    painter.drawText(center + QPointF(-metrics.horizontalAdvance(text) / 2, metrics.capHeight() / 2), text);
}

QString symbols(LongPicture &page, int count)
{
    constexpr QStringView signs = u"xyzabn+−=∂αβλ0123";
    QString text;
    for (int i = 0; i < count; ++i) {
        text += signs[page.between(0, int(signs.size()) - 1)];
    }
    return text;
}

/// A fraction, a sum with limits or a root; one piece, whatever gaps are in it.
void addFormula(LongPicture &page, const Column &column)
{
    const int size = column.size;
    QFont font = page.font(size);
    font.setFamily(u"DejaVu Serif"_s);
    font.setItalic(true);
    QFont large = font;
    large.setPixelSize(size * 2);
    const int height = size * 4;
    const QPointF center(column.left + column.width * 0.45, page.y + height / 2.0);
    page.piece(QRectF(column.left, page.y, column.width, height), [&](QPainter &painter) {
        painter.setPen(QPen(column.color, page.px(2)));
        drawCentered(painter, font, center - QPointF(size * 5, 0), symbols(page, 5));
        if (page.oneIn(2)) {
            drawCentered(painter, large, center - QPointF(size * 2, 0), page.oneIn(2) ? u"∑"_s : u"∫"_s);
            drawCentered(painter, font, center + QPointF(-size * 2, size * 1.5), symbols(page, 3));
            drawCentered(painter, font, center + QPointF(-size * 2, -size * 1.5), symbols(page, 1));
        }
        painter.drawLine(center + QPointF(0, 0), center + QPointF(size * 6, 0));
        drawCentered(painter, font, center + QPointF(size * 3, size), symbols(page, page.between(2, 8)));
        drawCentered(painter, font, center + QPointF(size * 3, -size), symbols(page, page.between(2, 8)));
    });
    page.line(column.left + column.width - size * 3, center.y() - size * 0.6,
              u"(%1.%2)"_s.arg(page.between(1, 9)).arg(page.between(1, 40)), page.font(size), column.color);
    page.y += height;
}

void addTheorem(LongPicture &page, const Column &column)
{
    const int top = page.y;
    const int inset = column.size;
    QFont font = page.font(column.size);
    font.setBold(true);
    page.line(column.left + inset, page.y, page.sentence(1), font, column.color);
    page.y += column.pitch;
    addWords(page, {column.left + inset, column.width - inset, column.size, column.pitch, column.color},
             page.between(8, 30));
    page.fill(QRectF(column.left, top, page.px(5), page.y - top), 0x3d6fb0);
}

} // namespace

void paintWebArticle(LongPicture &page)
{
    page.image.fill(page.oneIn(3) ? QColor(0xfdf8ef) : QColor(Qt::white));
    const Column column = pageColumn(page, QColor(0x24292e), page.px(page.between(40, 120)));
    const int gap = column.size * page.between(40, 120) / 100;
    while (!page.isFull()) {
        addArticlePart(page, column);
        page.y += gap;
    }
}

void paintNewspaper(LongPicture &page)
{
    page.image.fill(page.oneIn(2) ? QColor(0xf4efe4) : QColor(Qt::white));
    const int size = page.px(page.between(20, 26));
    const double margin = page.px(40);
    const Column whole{margin, page.width() - 2 * margin, size, size * page.between(118, 135) / 100, QColor(0x1c1c1c)};
    const bool level = !page.oneIn(3);
    while (!page.isFull()) {
        addNewsSection(page, whole, level);
    }
}

void paintPaperForm(LongPicture &page)
{
    const int size = page.px(page.between(26, 34));
    const double margin = page.px(60);
    const Column column{margin, page.width() - 2 * margin, size, size * 13 / 10, QColor(0x101010)};
    while (!page.isFull()) {
        addFormSection(page, column);
        for (int i = page.between(2, 8); i > 0; --i) {
            addFormBoxes(page, column);
        }
        page.y += size / 2;
        if (page.oneIn(2)) {
            addTicks(page, column);
        }
        if (page.oneIn(2)) {
            addComb(page, column);
        }
        if (page.oneIn(2)) {
            addWords(page, {margin, column.width, size * 6 / 10, size * 8 / 10, column.color}, page.between(20, 80));
        }
    }
}

void paintMathematics(LongPicture &page)
{
    const Column column = pageColumn(page, QColor(0x111111), page.px(90));
    while (!page.isFull()) {
        const int what = page.between(0, 6);
        if (what < 3) {
            addFormula(page, column);
        } else if (what == 3) {
            addTheorem(page, column);
        } else {
            addWords(page, column, page.between(8, 50));
        }
        page.y += column.size / 2;
    }
}
