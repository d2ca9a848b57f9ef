#include "cutquality/kinds.h"
#include "cutquality/painting.h"

#include <QFontMetricsF>
#include <QPainter>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

/// Text of the back of the sheet, faint and reversed.
void paintShowThrough(LongPicture &page, int pitch)
{
    const QFont font = page.font(pitch * 7 / 10);
    const QColor ink(60, 50, 40, page.between(8, 26));
    page.paint([&](QPainter &painter) {
        painter.setFont(font);
        painter.setPen(ink);
        painter.translate(page.width(), 0);
        painter.scale(-1, 1);
        for (int y = page.between(0, pitch); y < page.height(); y += pitch) {
            if (!page.oneIn(12)) {
                painter.drawText(page.px(90), y, brokenInto(page.sentence(22), font, page.width() * 0.8).value(0));
            }
        }
    });
}

void addBookPage(LongPicture &page, const Column &column)
{
    page.fill(QRectF(0, page.y, page.width(), page.px(18)), 0x2a2520);
    page.y += page.px(90);
    addLine(page, {column.left + column.width * 0.3, column.width, column.size * 4 / 5, column.pitch, column.color},
            page.sentence(3));
    const int end = page.y + page.width() * 5 / 4;
    while (page.y < end) {
        const int indent = column.size;
        addLine(page, {column.left + indent, column.width - indent, column.size, column.pitch, column.color},
                page.sentence(22));
        addWords(page, column, page.between(20, 90));
    }
    page.y += column.size;
    page.fill(QRectF(column.left, page.y, column.width / 3, 1), 0x605850);
    page.y += column.size / 2;
    addWords(page, {column.left, column.width, column.size * 3 / 4, column.size, column.color}, page.between(10, 40));
    page.y += column.size;
    page.line(page.width() / 2.0, page.y, QString::number(page.between(1, 400)), page.font(column.size), column.color);
    page.y += page.px(90);
}

void addFaxPage(LongPicture &page, const Column &column)
{
    const QFont small = page.monospace(column.size * 3 / 4);
    page.line(column.left, page.y,
              u"2026-11-%1  12:%2  FROM 555 0100  P.01"_s.arg(page.between(10, 30)).arg(page.between(10, 59)), small,
              Qt::black);
    page.y += column.pitch * 3;
    addTitle(page, column, 3);
    page.fill(QRectF(column.left, page.y, column.width, page.px(4)), Qt::black);
    page.y += column.pitch;
    const QFont font = page.monospace(column.size);
    for (int i = page.between(3, 8); i > 0; --i, page.y += column.pitch) {
        const QStringList texts = brokenInto(page.sentence(page.between(5, 60)), font, column.width);
        page.y += page.lines(column.left, page.y, texts, font, Qt::black, column.pitch);
    }
    addScribble(page, column.left, page.y + column.pitch, page.width() / 3.0, column.size, Qt::black);
    page.y += column.pitch * 5;
}

void addBarcode(LongPicture &page, double left, double width)
{
    const int height = page.px(page.between(90, 150));
    page.piece(QRectF(left, page.y, width, height), [&](QPainter &painter) {
        for (double x = left; x < left + width; x += page.px(page.between(5, 14))) {
            painter.fillRect(QRectF(x, page.y, page.px(page.between(2, 6)), height), QColor(0x282828));
        }
    });
    page.y += height + page.px(10);
}

void addSquareCode(LongPicture &page, double left)
{
    const int cell = page.px(9);
    page.piece(QRectF(left, page.y, cell * 25, cell * 25), [&](QPainter &painter) {
        for (int i = 0; i < 625; ++i) {
            if (page.oneIn(2)) {
                painter.fillRect(QRectF(left + i % 25 * cell, page.y + i / 25 * cell, cell, cell), QColor(0x282828));
            }
        }
    });
    page.y += cell * 25 + page.px(20);
}

void addItem(LongPicture &page, const QFont &font, double left, double width, int pitch)
{
    const QColor ink(0x303030);
    const QString price = u"%1.%2"_s.arg(page.between(1, 99)).arg(page.between(10, 99));
    const double advance = QFontMetricsF(font).horizontalAdvance(price);
    page.line(left, page.y, brokenInto(page.sentence(4), font, width - advance - pitch).value(0), font, ink);
    page.line(left + width - advance, page.y, price, font, ink);
    page.y += pitch;
}

void paintDashes(LongPicture &page, double left, double width, int pitch)
{
    for (double x = left; x < left + width; x += page.px(16)) {
        page.fill(QRectF(x, page.y + pitch / 2.0, page.px(10), page.px(2)), 0x505050);
    }
    page.y += pitch;
}

void addReceipt(LongPicture &page, const QFont &font, double left, double width, int pitch)
{
    addLine(page, {left + width * 0.2, width * 0.7, font.pixelSize() * 3 / 2, pitch * 2, QColor(0x252525)},
            page.sentence(2));
    for (int i = page.between(1, 3); i > 0; --i) {
        addLine(page, {left, width, font.pixelSize(), pitch, QColor(0x303030)}, page.sentence(4));
    }
    paintDashes(page, left, width, pitch);
    for (int i = page.between(4, 24); i > 0; --i) {
        addItem(page, font, left, width, pitch);
    }
    paintDashes(page, left, width, pitch);
    addItem(page, page.monospace(font.pixelSize() * 4 / 3), left, width, pitch * 3 / 2);
    page.y += pitch / 2;
    if (page.oneIn(2)) {
        addBarcode(page, left + width * 0.1, width * 0.8);
    } else {
        addSquareCode(page, left + width * 0.3);
    }
    page.y += page.px(page.between(30, 160));
}

void paintStaff(LongPicture &page, double left, double width, double top, double gap)
{
    for (int i = 0; i < 5; ++i) {
        page.fill(QRectF(left, top + i * gap, width, std::max(1, page.px(2))), Qt::black);
    }
}

void drawNote(QPainter &painter, QPointF head, double gap, bool up)
{
    painter.setBrush(Qt::black);
    painter.drawEllipse(head, gap * 0.62, gap * 0.45);
    const double x = head.x() + (up ? gap * 0.5 : -gap * 0.6);
    painter.fillRect(QRectF(x, head.y() - (up ? gap * 3.3 : 0), std::max(1.0, gap * 0.13), gap * 3.3), Qt::black);
}

/// Two staves that belong together; all of it is one piece.
void addSystem(LongPicture &page, double left, double width, double gap)
{
    const double lower = page.y + gap * 10;
    page.piece(QRectF(left - gap * 2, page.y - gap * 4, width + gap * 4, gap * 22), [&](QPainter &painter) {
        for (const double top : {double(page.y), lower}) {
            for (double x = left + gap * 6; x < left + width - gap; x += gap * page.between(2, 5)) {
                const int step = page.between(-1, 9);
                drawNote(painter, QPointF(x, top + step * gap / 2), gap, step > 4);
            }
        }
        for (int i = 0; i <= 4; ++i) {
            painter.fillRect(QRectF(left + width * i / 4, page.y, page.px(2), gap * 14), Qt::black);
        }
    });
    paintStaff(page, left, width, page.y, gap);
    paintStaff(page, left, width, lower, gap);
    page.y += int(gap * 14);
}

} // namespace

void paintBook(LongPicture &page)
{
    page.image.fill(QColor(232, 224, 205));
    page.slope = page.between(-5, 5) / 1000.0;
    const Column column = pageColumn(page, QColor(0x2c2622), page.px(110));
    paintShowThrough(page, column.pitch);
    while (!page.isFull()) {
        addBookPage(page, column);
    }
}

void paintFax(LongPicture &page)
{
    page.slope = page.between(-3, 3) / 1000.0;
    const Column column = pageColumn(page, Qt::black, page.px(80));
    while (!page.isFull()) {
        addFaxPage(page, column);
    }
}

void paintReceipts(LongPicture &page)
{
    page.image.fill(QColor::fromHsv(page.between(15, 40), page.between(40, 120), page.between(60, 140)));
    const double left = page.px(page.between(110, 180));
    const double width = page.width() - 2 * left;
    page.fill(QRectF(left - page.px(50), 0, width + page.px(100), page.height()), 0xf1f0ec);
    const QFont font = page.monospace(page.px(page.between(24, 34)));
    const int pitch = font.pixelSize() * page.between(115, 150) / 100;
    while (!page.isFull()) {
        addReceipt(page, font, left, width, pitch);
    }
}

void paintHandwriting(LongPicture &page)
{
    page.image.fill(QColor(0xfaf7ee));
    const int pitch = page.px(page.between(56, 90));
    const double letter = pitch * page.between(28, 38) / 100.0;
    const double left = page.px(150);
    const bool ruled = !page.oneIn(3);
    if (ruled) {
        page.fill(QRectF(left - page.px(24), 0, page.px(2), page.height()), 0xe09a9a);
    }
    const QColor ink = page.oneIn(2) ? QColor(0x1d2f6f) : QColor(0x26241f);
    for (page.y = pitch; !page.isFull(); page.y += pitch) {
        if (ruled) {
            page.fill(QRectF(0, page.y, page.width(), page.px(2)), 0xb9cde0);
        }
        if (!page.oneIn(7)) {
            const double width = (page.width() - left) * page.between(60, 92) / 100;
            addScribble(page, left, page.y + page.between(-2, 2), width, letter, ink);
        }
    }
}

void paintScore(LongPicture &page)
{
    const double gap = page.px(page.between(11, 16));
    const double left = page.px(90);
    const double width = page.width() - 2 * left;
    const QFont font = page.font(page.px(24));
    while (!page.isFull()) {
        page.y += int(gap * page.between(5, 9));
        page.line(left, page.y - gap * 5, QString::number(page.between(1, 300)), font, Qt::black);
        addSystem(page, left, width, gap);
        if (page.oneIn(2)) {
            page.y += int(gap * 3);
            page.line(left, page.y, brokenInto(page.sentence(16), font, width).value(0), font, Qt::black);
            page.y += int(gap * 2.5);
        }
    }
}
