#include "cutquality/kinds.h"
#include "cutquality/painting.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

constexpr std::array<QRgb, 6> editorInks = {0xabb2bf, 0xc678dd, 0x98c379, 0x61afef, 0xe5c07b, 0xe06c75};
constexpr std::array<QRgb, 6> terminalInks = {0xd3d7cf, 0x8ae234, 0x729fcf, 0xfce94f, 0xef2929, 0x34e2e2};

template <typename List>
QColor oneOf(LongPicture &page, const List &colors)
{
    return {colors[size_t(page.between(0, int(colors.size()) - 1))]};
}

/// The file in small, at the right edge of an editor.
void paintMinimap(LongPicture &page, double left)
{
    const int pitch = page.px(5);
    page.paint([&](QPainter &painter) {
        for (int y = 0; y < page.height(); y += pitch) {
            double x = left + page.px(4.0 * page.between(0, 6));
            for (int i = page.between(0, 4); i > 0; --i) {
                const int length = page.px(page.between(6, 26));
                QColor ink = oneOf(page, editorInks);
                ink.setAlpha(130);
                painter.fillRect(QRectF(x, y, length, std::max(1, pitch / 2)), ink);
                x += length + page.px(4);
            }
        }
    });
}

void addSquiggle(LongPicture &page, double x, double bottom, double width)
{
    page.piece(QRectF(x, bottom - 2, width, page.px(10)), [&](QPainter &painter) {
        QPolygonF wave;
        const double step = page.px(5);
        for (int i = 0; i * step < width; ++i) {
            wave.append(QPointF(x + i * step, bottom + (i % 2 == 0 ? 0 : page.px(4))));
        }
        painter.setPen(QPen(QColor(0xe06c75), page.px(2)));
        painter.drawPolyline(wave);
    });
}

struct Editor
{
    QFont font;
    int pitch;
    double gutter;
    double end; ///< where the minimap begins
    QColor quiet;
};

void addCodeLine(LongPicture &page, const Editor &editor, int depth, bool comment)
{
    double x = editor.gutter + depth * editor.font.pixelSize() * 2.4;
    const int tokens = page.oneIn(5) ? 0 : page.between(1, 8);
    for (int i = 0; i < tokens && x < editor.end - page.px(160); ++i) {
        const QColor ink = comment ? QColor(0x5c6370) : oneOf(page, editorInks);
        const double width = page.line(x, page.y, page.sentence(1), editor.font, ink);
        if (page.oneIn(40)) {
            addSquiggle(page, x, page.y + editor.font.pixelSize() * 1.2, width);
        }
        x += width;
    }
}

void addPrompt(LongPicture &page, const QFont &font, int pitch)
{
    double x = 0;
    for (int i = page.between(1, 3); i > 0; --i) {
        const QString text = u" %1"_s.arg(page.sentence(1));
        const double width = QFontMetricsF(font).horizontalAdvance(text);
        page.fill(QRectF(x, page.y, width, pitch), oneOf(page, terminalInks).darker(200));
        page.line(x, page.y, text, font, Qt::white);
        page.paint([&](QPainter &painter) {
            painter.setBrush(QColor(0x555753));
            painter.drawPolygon(QPolygonF{QPointF(x + width, page.y),
                                          QPointF(x + width + pitch / 2.0, page.y + pitch / 2.0),
                                          QPointF(x + width, page.y + pitch)});
        });
        x += width + pitch / 2.0;
    }
    page.line(x, page.y, page.sentence(4), font, QColor(0xeeeeec));
    page.y += pitch;
}

void addListing(LongPicture &page, const QFont &font, int pitch)
{
    for (int row = page.between(2, 9); row > 0; --row, page.y += pitch) {
        for (int i = 0; i < 4; ++i) {
            page.line(page.px(8) + i * page.width() / 4.0, page.y, page.sentence(1), font, oneOf(page, terminalInks));
        }
    }
}

void addDiff(LongPicture &page, const QFont &font, int pitch)
{
    for (int row = page.between(4, 14); row > 0; --row, page.y += pitch) {
        const int kind = page.between(0, 2);
        if (kind > 0) {
            page.fill(QRectF(0, page.y, page.width(), pitch), kind == 1 ? QColor(0x0d3a1c) : QColor(0x4a1515));
        }
        page.line(page.px(8), page.y, u" +-"_s.mid(kind, 1) + page.sentence(page.between(1, 5)), font,
                  kind == 0 ? QColor(0xd3d7cf) : QColor(kind == 1 ? 0x8ae234 : 0xff8080));
    }
}

void addProgress(LongPicture &page, const QFont &font, int pitch)
{
    for (int row = page.between(1, 4); row > 0; --row, page.y += pitch) {
        const double start = page.px(8) + page.line(page.px(8), page.y, page.sentence(1), font, QColor(0xd3d7cf));
        const double length = page.px(page.between(60, 500));
        page.piece(QRectF(start, page.y, length, pitch), [&](QPainter &painter) {
            painter.fillRect(QRectF(start, page.y + 1, length, pitch - 2), QColor(0x4e9a06));
        });
    }
}

/// A frame of lines that join from row to row, with text in it.
void addFramedTable(LongPicture &page, const QFont &font, int pitch)
{
    const int rows = page.between(3, 8);
    const double width = page.width() * 0.8;
    const QColor line(0x888a85);
    page.fill(QRectF(page.px(12), page.y + pitch / 2.0, width, 1), line);
    for (const double x : {0.0, 0.3, 0.7, 1.0}) {
        page.fill(QRectF(page.px(12) + width * x, page.y + pitch / 2.0, 1, (rows + 1) * pitch), line);
    }
    page.y += pitch;
    for (int i = 0; i < rows; ++i, page.y += pitch) {
        page.line(page.px(24), page.y, page.sentence(1), font, QColor(0xfce94f));
        page.line(page.px(24) + width * 0.3, page.y, page.sentence(2), font, QColor(0xd3d7cf));
    }
    page.fill(QRectF(page.px(12), page.y + pitch / 2.0, width, 1), line);
    page.y += pitch;
}

void addSheetRow(LongPicture &page, const QFont &font, double head, double cell, int pitch, const QColor &ink)
{
    const double top = page.y + (pitch - font.pixelSize() * 1.25) / 2;
    for (double x = head; x < page.width(); x += cell) {
        if (page.oneIn(3)) {
            continue;
        }
        if (page.oneIn(15)) {
            const QColor paint = QColor::fromHsv(page.between(0, 359), 120, 220);
            page.fill(QRectF(x + 1, page.y + 1, cell - 1, pitch - 1), paint);
        }
        const bool number = page.oneIn(2);
        const QString text = number ? QString::number(page.between(1, 99999)) : page.sentence(1);
        const double advance = QFontMetricsF(font).horizontalAdvance(text);
        page.line(number ? x + cell - advance - 4 : x + 4, top, text, font, ink);
    }
}

void addFigure(LongPicture &page, const QRectF &rect)
{
    page.piece(rect, [&](QPainter &painter) {
        painter.setBrush(QColor::fromHsv(page.between(0, 359), 150, 200));
        const double step = rect.width() / 8;
        for (int i = 0; i < 8; ++i) {
            const double height = rect.height() * page.between(10, 100) / 100;
            painter.drawRect(QRectF(rect.left() + i * step, rect.bottom() - height, step * 0.7, height));
        }
        painter.setPen(QPen(Qt::darkGray, 2));
        painter.drawLine(rect.bottomLeft(), rect.bottomRight());
    });
}

/// The sheet of a viewer, with its shadow, at the row page.y.
void addSheet(LongPicture &page, const QRectF &sheet)
{
    for (int i = page.px(10); i > 0; --i) {
        page.fill(sheet.adjusted(-i, -i / 2.0, i, i), QColor(0, 0, 0, 14), i);
    }
    page.fill(sheet, Qt::white);
    const int size = page.px(20);
    const double margin = sheet.width() * 0.11;
    const Column column{sheet.left() + margin, sheet.width() - 2 * margin, size, size * 7 / 5, QColor(0x222222)};
    page.y = int(sheet.top() + margin / 2);
    addLine(page, {column.left, column.width, size * 4 / 5, column.pitch, QColor(0x777777)}, page.sentence(4));
    page.y = int(sheet.top() + margin);
    const int end = int(sheet.bottom() - margin * 1.2);
    while (page.y < end - 7 * column.pitch) {
        if (page.oneIn(6)) {
            const int height = std::min(page.px(page.between(150, 320)), end - page.y - column.pitch);
            addFigure(page, QRectF(column.left, page.y, column.width, height));
            page.y += height + column.pitch;
        }
        addWords(page, column, page.between(5, 28));
        page.y += column.pitch / 2;
    }
    const QString number = QString::number(page.between(1, 400));
    page.line(sheet.center().x(), sheet.bottom() - margin * 0.6, number, page.font(size), column.color);
    page.y = int(sheet.bottom());
}

void addSlide(LongPicture &page, const QRectF &slide)
{
    const int hue = page.between(0, 359);
    page.paint([&](QPainter &painter) {
        QLinearGradient gradient(slide.topLeft(), page.oneIn(2) ? slide.bottomRight() : slide.bottomLeft());
        gradient.setColorAt(0, QColor::fromHsv(hue, 160, 110));
        gradient.setColorAt(1, QColor::fromHsv((hue + 60) % 360, 140, 50));
        painter.fillRect(slide, gradient);
    });
    const double inset = slide.width() * 0.07;
    const int size = page.px(page.between(28, 40));
    page.y = int(slide.top() + slide.height() * 0.1);
    const Column title{slide.left() + inset, slide.width() * 0.8, size * 3 / 2, size * 2, Qt::white};
    addLine(page, title, page.sentence(4));
    const bool figure = page.oneIn(2);
    for (int i = page.between(2, 4); i > 0; --i) {
        page.y += size / 2;
        page.piece(QRectF(slide.left() + inset, page.y, size, size * 1.3), [&](QPainter &painter) {
            painter.setBrush(Qt::white);
            painter.drawEllipse(QPointF(slide.left() + inset + size * 0.3, page.y + size * 0.7), size / 6.0,
                                size / 6.0);
        });
        addLine(page,
                {slide.left() + inset + size, slide.width() * (figure ? 0.42 : 0.75), size, size * 7 / 5, Qt::white},
                page.sentence(7));
    }
    if (figure) {
        addFigure(page,
                  QRectF(slide.left() + slide.width() * 0.6, slide.top() + slide.height() * 0.35, slide.width() * 0.33,
                         slide.height() * 0.45));
    }
    page.line(slide.right() - inset, slide.bottom() - size * 1.6, QString::number(page.between(1, 60)),
              page.font(size * 2 / 3), QColor(255, 255, 255, 180));
    page.y = int(slide.bottom());
}

void addMap(LongPicture &page, const QRectF &map)
{
    page.piece(map, [&](QPainter &painter) {
        painter.setClipRect(map);
        painter.fillRect(map, QColor(0xf2efe9));
        for (int i = 0; i < 26; ++i) {
            const QPointF a(map.left() + map.width() * page.between(-10, 110) / 100, map.top());
            const QPointF b(map.left() + map.width() * page.between(-10, 110) / 100, map.bottom());
            const QPointF c(map.left(), map.top() + map.height() * page.between(0, 100) / 100);
            const QPointF d(map.right(), map.top() + map.height() * page.between(0, 100) / 100);
            painter.setPen(QPen(page.oneIn(5) ? QColor(0xf9d66e) : QColor(Qt::white), page.px(page.between(4, 14))));
            painter.drawLine(page.oneIn(2) ? a : c, page.oneIn(2) ? b : d);
        }
        painter.setPen(QPen(QColor(0x4285f4), page.px(12)));
        painter.drawPolyline(
            QPolygonF{map.topLeft() + QPointF(60, 30), map.center(), map.bottomRight() - QPointF(60, 30)});
    });
}

void addStep(LongPicture &page, const Column &column, bool transit)
{
    const int top = page.y;
    addIcon(page, QRectF(page.px(50), page.y + page.px(8), page.px(40), page.px(40)), QColor(0x5f6368));
    addWords(page, column, page.between(3, 16));
    const Column small{column.left, column.width, column.size * 4 / 5, column.pitch, QColor(0x70757a)};
    addLine(page, small, u"%1 m"_s.arg(page.between(20, 900)));
    page.y += column.size / 2;
    if (transit) {
        page.fill(QRectF(page.px(120), top, page.px(12), page.y - top), QColor(0xd93025));
    } else {
        for (int y = top; y < page.y; y += page.px(18)) {
            page.fill(QRectF(page.px(122), y, page.px(8), page.px(8)), QColor(0x9aa0a6), page.px(4));
        }
    }
}

/// A thing on white, as shops show it; only the thing is content.
void addWare(LongPicture &page, const QRectF &rect)
{
    page.piece(rect, [&](QPainter &painter) {
        painter.setBrush(QColor::fromHsv(page.between(0, 359), page.between(20, 200), page.between(40, 240)));
        const double x = rect.width() * page.between(8, 28) / 100;
        const double y = rect.height() * page.between(5, 30) / 100;
        painter.drawRoundedRect(rect.adjusted(x, y, -x, -y), x * 0.7, y * 0.7);
        painter.setBrush(QColor(255, 255, 255, 90));
        painter.drawEllipse(rect.center(), rect.width() / 9, rect.height() / 7);
    });
}

int addOffer(LongPicture &page, double left, double width, int size)
{
    addWare(page, QRectF(left, page.y, width, width * 0.9));
    page.y += int(width * 0.9) + size / 2;
    const Column column{left, width, size, size * 13 / 10, QColor(0x0f1111)};
    for (int i = page.between(1, 3); i > 0; --i) {
        addLine(page, column, page.sentence(8));
    }
    for (int i = 0; i < 5; ++i) {
        page.piece(QRectF(left + i * size, page.y, size, size), [&](QPainter &painter) {
            painter.setBrush(QColor(0xffa41c));
            painter.drawEllipse(QRectF(left + i * size + 2, page.y + 2, size - 4, size - 4));
        });
    }
    page.y += size + size / 3;
    addLine(page, {left, width, size * 3 / 2, size * 2, QColor(0xb12704)}, u"$%1.99"_s.arg(page.between(3, 900)));
    return page.y;
}

} // namespace

void paintEditor(LongPicture &page)
{
    page.image.fill(page.oneIn(2) ? QColor(0x282c34) : QColor(0x1f2430));
    const int size = page.px(page.between(20, 30));
    const double end = page.width() * 0.88;
    const Editor editor{page.monospace(size), size * page.between(125, 165) / 100, size * 5.0, end, 0x4b5263};
    page.fill(QRectF(0, 0, page.px(12), page.height()), 0x21252b);
    paintMinimap(page, end);
    page.fill(QRectF(page.width() - page.px(14), page.height() / 5.0, page.px(14), page.px(900)), 0x4e5666);
    int depth = 0;
    int comment = 0;
    for (int number = page.between(1, 900); !page.isFull(); ++number, page.y += editor.pitch) {
        depth = std::clamp(depth + page.between(-1, 1), 0, 6);
        comment = comment > 0 ? comment - 1 : (page.oneIn(12) ? page.between(1, 6) : 0);
        if (page.oneIn(14)) {
            page.fill(QRectF(editor.gutter, page.y, end - editor.gutter, editor.pitch), 0x2c3a4c);
        }
        for (int i = 0; i < depth; ++i) {
            page.fill(QRectF(editor.gutter + i * size * 2.4, page.y, 1, editor.pitch), 0x3b4048);
        }
        if (page.oneIn(6)) {
            page.fill(QRectF(size * 4.2, page.y, page.px(5), editor.pitch), 0x98c379);
        }
        const QString digits = QString::number(number).rightJustified(4);
        page.line(page.px(20), page.y, digits, editor.font, editor.quiet);
        addCodeLine(page, editor, depth, comment > 0);
    }
}

void paintTerminal(LongPicture &page)
{
    page.image.fill(page.oneIn(2) ? QColor(0x300a24) : QColor(0x101418));
    const QFont font = page.monospace(page.px(page.between(20, 30)));
    const int pitch = int(QFontMetricsF(font).height());
    while (!page.isFull()) {
        addPrompt(page, font, pitch);
        const int what = page.between(0, 4);
        const std::array outputs{addListing, addDiff, addProgress, addFramedTable};
        if (what < 4) {
            outputs[size_t(what)](page, font, pitch);
        } else {
            page.y += pitch;
        }
    }
}

void paintSpreadsheet(LongPicture &page)
{
    const bool dark = page.oneIn(3);
    page.image.fill(dark ? QColor(0x1c1c1c) : QColor(Qt::white));
    const QColor rule = dark ? 0x3a3a3a : 0xd8d8d8;
    const QColor ink = dark ? 0xe0e0e0 : 0x202020;
    const int size = page.px(page.between(20, 28));
    const int pitch = size * page.between(135, 175) / 100;
    const double head = size * 3;
    const double cell = size * page.between(50, 90) / 10.0;
    const QFont font = page.font(size);
    page.fill(QRectF(0, 0, head, page.height()), dark ? 0x2b2b2b : 0xf0f0f0);
    for (double x = head; x < page.width(); x += cell) {
        page.fill(QRectF(x, 0, 1, page.height()), rule);
    }
    for (int number = 1; !page.isFull(); ++number, page.y += pitch) {
        page.fill(QRectF(0, page.y, page.width(), 1), rule);
        page.line(size * 0.5, page.y + (pitch - size * 1.25) / 2, QString::number(number), font, QColor(0x808080));
        if (!page.oneIn(7)) {
            addSheetRow(page, font, head, cell, pitch, ink);
        }
    }
}

void paintViewer(LongPicture &page)
{
    page.image.fill(page.oneIn(2) ? QColor(0x525659) : QColor(0xd0d2d6));
    const double width = page.width() * page.between(80, 94) / 100.0;
    const int gap = page.px(page.between(10, 36));
    page.fill(QRectF(page.width() - page.px(16), page.px(200), page.px(12), page.px(500)), 0x9a9a9a, page.px(6));
    while (!page.isFull()) {
        page.y += gap;
        addSheet(page, QRectF((page.width() - width) / 2, page.y, width, width * 1.414));
    }
}

void paintSlides(LongPicture &page)
{
    page.image.fill(page.oneIn(2) ? QColor(Qt::white) : QColor(0x202020));
    const double margin = page.oneIn(2) ? page.px(40) : 0;
    const int gap = page.oneIn(3) ? 0 : page.px(page.between(4, 40));
    const double width = page.width() - 2 * margin;
    while (!page.isFull()) {
        addSlide(page, QRectF(margin, page.y, width, int(width * 9 / 16)));
        page.y += gap;
    }
}

void paintDirections(LongPicture &page)
{
    const int size = page.px(page.between(32, 40));
    const Column column{double(page.px(170)), double(page.width() - page.px(220)), size, size * 27 / 20,
                        QColor(0x202124)};
    while (!page.isFull()) {
        const QRectF map(0, page.y, page.width(), page.px(page.between(300, 560)));
        addMap(page, map);
        page.y += int(map.height()) + page.px(20);
        for (int i = page.between(4, 12); i > 0; --i) {
            addStep(page, column, page.oneIn(3));
        }
        page.fill(QRectF(0, page.y, page.width(), page.px(16)), 0xe8eaed);
        page.y += page.px(16);
    }
}

void paintShop(LongPicture &page)
{
    page.fill(QRectF(page.width() / 2.0, 0, 1, page.height()), 0xe0e0e0);
    const int size = page.px(page.between(26, 34));
    const double width = page.width() / 2.0 - page.px(60);
    while (!page.isFull()) {
        const int top = page.y + page.px(20);
        page.y = top;
        const int left = addOffer(page, page.px(30), width, size);
        page.y = top;
        const int right = addOffer(page, page.width() / 2.0 + page.px(30), width, size);
        page.y = std::max(left, right);
        page.fill(QRectF(0, page.y, page.width(), 1), 0xe0e0e0);
    }
}

void paintStickers(LongPicture &page)
{
    page.image.fill(Qt::transparent);
    const QColor fill = QColor::fromHsv(page.between(0, 359), page.between(0, 255), page.between(0, 255));
    const QColor edge = fill.lightness() > 128 ? Qt::black : Qt::white;
    const int size = page.px(page.between(44, 72));
    QFont font = page.font(size);
    font.setBold(true);
    while (!page.isFull()) {
        if (page.oneIn(6)) {
            const int side = page.px(page.between(120, 300));
            addEmoji(page, page.px(page.between(60, 600)), page.y, side);
            page.y += side + size / 4;
        }
        const double x = page.px(page.between(40, 140));
        const QStringList texts = brokenInto(page.sentence(page.between(4, 20)), font, page.width() - 2 * x);
        for (const QString &text : texts) {
            page.piece(QRectF(x - size, page.y, page.width() - x, size * 1.7), [&](QPainter &painter) {
                QPainterPath path;
                path.addText(x, page.y + size * 1.1, font, text);
                painter.strokePath(path, QPen(edge, page.px(8), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
                painter.fillPath(path, fill);
            });
            page.y += size * 3 / 2;
        }
        page.y += page.px(page.between(10, 80));
    }
}
