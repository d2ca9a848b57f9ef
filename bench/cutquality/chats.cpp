#include "cutquality/kinds.h"

#include <QFontMetricsF>
#include <QPainter>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

struct ChatColors
{
    QColor theirs;
    QColor theirText;
    QColor mine;
    QColor myText;
    QColor quiet;
    bool outlined = false;
};

/// What every page of one phone has in common.
struct ChatStyle
{
    ChatColors colors;
    int size; ///< of the text
    int pitch;
    int padding;
    int gap; ///< between messages
    bool avatars;
};

ChatStyle chatStyle(LongPicture &page, const ChatColors &colors)
{
    const int size = page.px(page.between(34, 46));
    return {colors,
            size,
            size * page.between(118, 150) / 100,
            page.px(page.between(14, 30)),
            page.px(page.between(8, 44)),
            !page.oneIn(3)};
}

void addTime(LongPicture &page, const ChatStyle &style)
{
    const QFont font = page.font(style.size * 3 / 4);
    const QString text = u"%1:%2"_s.arg(page.between(10, 23)).arg(page.between(10, 59));
    const double width = QFontMetricsF(font).horizontalAdvance(text);
    page.y += style.gap / 2;
    page.line((page.width() - width) / 2, page.y, text, font, style.colors.quiet);
    page.y += style.size + style.gap;
}

void addPhoto(LongPicture &page, const ChatStyle &style, bool mine)
{
    const int width = page.px(page.between(260, 560));
    const int height = page.px(page.between(200, 700));
    const int side = page.px(style.avatars ? 150 : 30);
    page.photo(QRectF(mine ? page.width() - side - width : side, page.y, width, height));
    page.y += height + style.gap;
}

void addBubble(LongPicture &page, const ChatStyle &style, bool mine)
{
    const int side = page.px(style.avatars ? 150 : 30);
    const QFont font = page.font(style.size);
    const int words = page.oneIn(4) ? page.between(25, 90) : page.between(1, 14);
    const QStringList texts = brokenInto(page.sentence(words), font, page.px(700));
    double width = 0;
    for (const QString &text : texts) {
        width = std::max(width, QFontMetricsF(font).horizontalAdvance(text));
    }
    const QSizeF bubble(width + 2 * style.padding, double(texts.size()) * style.pitch + 2 * style.padding);
    const double left = mine ? page.width() - side - bubble.width() : side;
    page.paint([&](QPainter &painter) {
        painter.setPen(style.colors.outlined ? QPen(style.colors.quiet, 1) : QPen(Qt::NoPen));
        painter.setBrush(mine ? style.colors.mine : style.colors.theirs);
        painter.drawRoundedRect(QRectF(QPointF(left, page.y), bubble), page.px(20), page.px(20));
    });
    const QColor color = mine ? style.colors.myText : style.colors.theirText;
    page.lines(left + style.padding, page.y + style.padding, texts, font, color, style.pitch);
    int used = int(std::ceil(bubble.height()));
    if (style.avatars) {
        const int face = page.px(96);
        page.avatar(QRectF(mine ? page.width() - page.px(124) : page.px(28), page.y, face, face));
        used = std::max(used, face);
    }
    page.y += used + style.gap;
}

void addMessages(LongPicture &page, const ChatColors &colors)
{
    const ChatStyle style = chatStyle(page, colors);
    while (!page.isFull()) {
        const bool mine = page.oneIn(2);
        if (page.oneIn(8)) {
            addTime(page, style);
        } else if (page.oneIn(9)) {
            addPhoto(page, style, mine);
        } else if (page.oneIn(12)) {
            const int side = page.px(page.between(80, 160));
            page.smile(QRectF(mine ? page.width() - page.px(160) - side : page.px(150), page.y, side, side));
            page.y += side + style.gap;
        } else {
            addBubble(page, style, mine);
        }
    }
}

/// Scatters doodles of a color near that of the ground.
void paintWallpaper(LongPicture &page, const QColor &ground, const QColor &ink)
{
    page.image.fill(ground);
    const int count = page.height() / page.px(70) * (page.width() / page.px(70));
    page.paint([&](QPainter &painter) {
        painter.setPen(QPen(ink, page.px(4)));
        for (int i = 0; i < count; ++i) {
            const QPointF at(page.between(0, page.width()), page.between(0, page.height()));
            const int side = page.px(page.between(20, 50));
            const int what = page.between(0, 2);
            if (what == 0) {
                painter.drawEllipse(at, side * 0.6, side * 0.6);
            } else if (what == 1) {
                painter.drawLine(at, at + QPointF(side, page.between(-side, side)));
            } else {
                painter.drawRoundedRect(QRectF(at, QSizeF(side, side)), side / 4.0, side / 4.0);
            }
        }
    });
}

} // namespace

void paintLightChat(LongPicture &page)
{
    page.image.fill(page.oneIn(2) ? QColor(0xededed) : QColor(Qt::white));
    addMessages(page, {page.oneIn(2) ? 0xffffff : 0xe9e9eb, 0x181818, 0x95ec69, 0x101010, 0x9a9a9a, page.oneIn(2)});
}

void paintDarkChat(LongPicture &page)
{
    page.image.fill(page.oneIn(2) ? QColor(0x111111) : QColor(Qt::black));
    addMessages(page, {0x2c2c2c, 0xd5d5d5, 0x3eb575, 0x06120b, 0x6c6c6c, false});
}

void paintColoredChat(LongPicture &page)
{
    page.image.fill(QColor::fromHsv(page.between(0, 359), page.between(90, 200), page.between(120, 230)));
    addMessages(page, {0xffffff, 0x222222, 0x0a84ff, 0xffffff, 0x333333, false});
}

void paintWallpaperChat(LongPicture &page)
{
    const bool dark = page.oneIn(2);
    const int step = page.between(8, 34);
    const QColor ground = dark ? QColor(0x0b141a) : QColor(0xefe7dd);
    const QColor ink = dark ? QColor(11 + step, 20 + step, 26 + step) : QColor(239 - step, 231 - step, 221 - step);
    paintWallpaper(page, ground, ink);
    if (dark) {
        addMessages(page, {0x1f2c34, 0xe9edef, 0x005c4b, 0xe9edef, 0x8696a0, false});
    } else {
        addMessages(page, {0xffffff, 0x111b21, 0xd9fdd3, 0x111b21, 0x667781, false});
    }
}
