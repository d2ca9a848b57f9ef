#include "cutquality/kinds.h"
#include "cutquality/painting.h"

#include <QFontMetricsF>
#include <QPainter>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

/// One thing in a bubble; the bubble's height is the sum of its parts.
struct Part
{
    int height;
    std::function<void(double left, int top)> draw;
};

struct GroupColors
{
    std::array<QRgb, 2> ground; ///< the ends of a gradient
    QColor doodle;
    QColor theirs;
    QColor mine;
    QColor text;
    QColor quiet;
};

struct Group
{
    GroupColors colors;
    int size;
    int pitch;
    int padding;
    double width; ///< of the text in a bubble
};

QImage doodleTile(LongPicture &page, const QColor &ink)
{
    QImage tile(page.px(420), page.px(420), QImage::Format_ARGB32_Premultiplied);
    tile.fill(Qt::transparent);
    QPainter painter(&tile);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(ink, page.px(3)));
    for (int i = 0; i < 22; ++i) {
        const QPointF at(page.between(0, tile.width()), page.between(0, tile.height()));
        const int side = page.px(page.between(24, 70));
        const std::array starts{page.between(0, 360), page.between(90, 350)};
        painter.drawArc(QRectF(at, QSizeF(side, side)), starts[0] * 16, starts[1] * 16);
        painter.drawLine(at, at + QPointF(page.between(-side, side), side / 2.0));
    }
    return tile;
}

void paintDoodles(LongPicture &page, const GroupColors &colors)
{
    const QImage tile = doodleTile(page, colors.doodle);
    page.paint([&](QPainter &painter) {
        QLinearGradient gradient(0, 0, page.width(), page.height() / 4.0);
        gradient.setColorAt(0, QColor(colors.ground[0]));
        gradient.setColorAt(1, QColor(colors.ground[1]));
        gradient.setSpread(QGradient::ReflectSpread);
        painter.fillRect(page.image.rect(), gradient);
        painter.fillRect(page.image.rect(), QBrush(tile));
    });
}

Part textPart(LongPicture &page, const Group &group, int words)
{
    const QFont font = page.font(group.size);
    const QStringList texts = brokenInto(page.sentence(words), font, group.width);
    const bool emoji = page.oneIn(4);
    return {int(texts.size()) * group.pitch, [&page, group, font, texts, emoji](double left, int top) {
                page.lines(left, top, texts, font, group.colors.text, group.pitch);
                const double end = left + QFontMetricsF(font).horizontalAdvance(texts.last()) + group.size / 3.0;
                if (emoji) {
                    addEmoji(page, end, top + double(texts.size() - 1) * group.pitch + group.size * 0.1, group.size);
                }
            }};
}

Part namePart(LongPicture &page, const Group &group)
{
    return {group.pitch, [&page, group](double left, int top) {
                const QColor color = QColor::fromHsv(page.between(0, 359), 170, 200);
                QFont font = page.font(group.size * 9 / 10);
                font.setBold(true);
                page.line(left, top, page.sentence(1), font, color);
            }};
}

Part replyPart(LongPicture &page, const Group &group)
{
    return {group.pitch * 2 + group.padding, [&page, group](double left, int top) {
                const QColor color = QColor::fromHsv(page.between(0, 359), 170, 200);
                page.fill(QRectF(left, top, page.px(6), group.pitch * 2), color);
                const QFont font = page.font(group.size * 8 / 10);
                page.line(left + page.px(22), top, page.sentence(1), font, color);
                page.line(left + page.px(22), top + group.pitch, page.sentence(4), font, group.colors.quiet);
            }};
}

Part picturePart(LongPicture &page, const Group &group)
{
    const int height = page.px(page.between(240, 540));
    return {height + group.padding, [&page, group, height](double left, int top) {
                addScenery(page, QRectF(left, top, group.width, height), page.px(12));
            }};
}

Part voicePart(LongPicture &page, const Group &group)
{
    const int height = page.px(90);
    return {height, [&page, group, height](double left, int top) {
                addIcon(page, QRectF(left + 3, top + height * 0.2, height * 0.6, height * 0.6), group.colors.text);
                page.piece(QRectF(left + height, top, group.width, height), [&](QPainter &painter) {
                    painter.setBrush(group.colors.quiet);
                    for (double x = left + height; x < left + group.width; x += page.px(9)) {
                        const int bar = page.px(page.between(6, 70));
                        painter.drawRect(QRectF(x, top + (height - bar) / 2.0, page.px(4), bar));
                    }
                });
            }};
}

Part stampPart(LongPicture &page, const Group &group)
{
    return {group.size, [&page, group](double left, int top) {
                const QString text = u"%1:%2"_s.arg(page.between(10, 23)).arg(page.between(10, 59));
                page.line(left + group.width * 0.85, top - group.size * 0.2, text, page.font(group.size * 7 / 10),
                          group.colors.quiet);
            }};
}

QList<Part> bubbleParts(LongPicture &page, const Group &group, bool mine)
{
    QList<Part> parts;
    if (!mine) {
        parts.append(namePart(page, group));
    }
    if (page.oneIn(5)) {
        parts.append(replyPart(page, group));
    }
    const int what = page.between(0, 9);
    if (what == 0) {
        parts.append(voicePart(page, group));
    } else if (what < 3) {
        parts.append(picturePart(page, group));
    }
    if (what != 0) {
        parts.append(textPart(page, group, page.oneIn(5) ? page.between(20, 60) : page.between(2, 16)));
    }
    parts.append(stampPart(page, group));
    return parts;
}

/// Emoji with counts, half below the bubble.
void addReactions(LongPicture &page, const Group &group, double left)
{
    const int height = group.size * 3 / 2;
    const int top = page.y - height / 3;
    for (int i = page.between(1, 3); i > 0; --i, left += page.px(120)) {
        page.fill(QRectF(left, top, page.px(108), height), group.colors.theirs.darker(112), height / 2.0);
        addEmoji(page, left + page.px(12), top + height * 0.15, height * 0.7);
        page.line(left + page.px(64), top + height * 0.1, QString::number(page.between(1, 9)),
                  page.font(group.size * 8 / 10), group.colors.text);
    }
    page.y = top + height;
}

void addGroupMessage(LongPicture &page, const Group &group)
{
    const bool mine = page.oneIn(4);
    const QList<Part> parts = bubbleParts(page, group, mine);
    const double width = group.width + 2 * group.padding;
    const double left = mine ? page.width() - width - page.px(24) : page.px(120);
    int height = 2 * group.padding;
    for (const Part &part : parts) {
        height += part.height;
    }
    page.fill(QRectF(left, page.y, width, height), mine ? group.colors.mine : group.colors.theirs, page.px(24));
    int top = page.y + group.padding;
    for (const Part &part : parts) {
        part.draw(left + group.padding, top);
        top += part.height;
    }
    page.y += height;
    if (!mine && page.oneIn(2)) {
        const int face = page.px(84);
        page.avatar(QRectF(page.px(20), page.y - face, face, face));
    }
    if (page.oneIn(4)) {
        addReactions(page, group, left + page.px(20));
    }
}

void addDate(LongPicture &page, const Group &group)
{
    const QFont font = page.font(group.size * 8 / 10);
    const QString text = page.sentence(2);
    const double width = QFontMetricsF(font).horizontalAdvance(text);
    const double left = (page.width() - width) / 2;
    page.fill(QRectF(left - page.px(20), page.y, width + page.px(40), group.pitch), QColor(0, 0, 0, 70), page.px(20));
    page.line(left, page.y + group.size * 0.1, text, font, Qt::white);
    page.y += group.pitch;
}

void paintGroupChat(LongPicture &page, const GroupColors &colors)
{
    paintDoodles(page, colors);
    const int size = page.px(page.between(30, 40));
    const Group group{colors, size, size * page.between(125, 145) / 100, page.px(page.between(14, 24)),
                      double(page.px(page.between(560, 760)))};
    const int gap = page.px(page.between(6, 30));
    while (!page.isFull()) {
        if (page.oneIn(9)) {
            addDate(page, group);
        } else if (page.oneIn(12)) {
            const int side = page.px(page.between(200, 340));
            addEmoji(page, page.px(140), page.y, side);
            page.y += side;
        } else {
            addGroupMessage(page, group);
        }
        page.y += gap;
    }
}

void addComment(LongPicture &page, const Column &text, const QColor &quiet, int depth, int indent)
{
    const int top = page.y;
    const Column column{text.left + depth * indent, text.width - depth * indent, text.size, text.pitch, text.color};
    const double face = column.size * 1.2;
    page.avatar(QRectF(column.left, page.y, face, face));
    addLine(page, {column.left + 1.5 * face, column.width, column.size * 9 / 10, column.pitch, quiet},
            page.sentence(1) + u"· %1h"_s.arg(page.between(1, 23)));
    addWords(page, column, page.oneIn(4) ? page.between(30, 90) : page.between(3, 25));
    page.y += column.size / 4;
    for (int i = 0; i < 3; ++i) {
        const double x = column.left + i * column.size * 5;
        addIcon(page, QRectF(x, page.y, column.size * 0.8, column.size * 0.8), quiet);
        page.line(x + column.size * 1.3, page.y - column.size * 0.2, QString::number(page.between(1, 999)),
                  page.font(column.size * 8 / 10), quiet);
    }
    page.y += column.pitch + column.size / 3;
    for (int i = 0; i < depth; ++i) {
        page.fill(QRectF(text.left + i * indent + face / 2, top, page.px(2), page.y - top), quiet.darker(140));
    }
}

struct Post
{
    Column body;
    QColor frame;
    int side; ///< width of the column with the name
};

void addQuote(LongPicture &page, const Post &post)
{
    const int top = page.y;
    const int inside = page.px(16);
    const Column column{post.body.left + inside, post.body.width - 2 * inside, post.body.size * 9 / 10, post.body.pitch,
                        QColor(0x555555)};
    const QFont font = page.font(column.size);
    const QStringList texts = brokenInto(page.sentence(page.between(8, 40)), font, column.width);
    const double height = double(texts.size() + 1) * column.pitch + inside;
    page.paint([&](QPainter &painter) {
        painter.setPen(QPen(post.frame, 1));
        painter.setBrush(QColor(0xf6f2e4));
        painter.drawRect(QRectF(post.body.left + 0.5, top + 0.5, post.body.width, height));
    });
    page.y += inside / 2;
    addLine(page, column, page.sentence(2) + u':');
    page.y += page.lines(column.left, page.y, texts, font, column.color, column.pitch);
    page.y = top + int(height) + inside;
}

void addSignature(LongPicture &page, const Post &post)
{
    page.y += page.px(20);
    page.fill(QRectF(post.body.left, page.y, post.body.width / 3, 1), post.frame);
    page.y += page.px(8);
    if (page.oneIn(4)) {
        const int height = page.px(90);
        addScenery(page, QRectF(post.body.left, page.y, page.px(420), height));
        page.y += height + page.px(6);
    }
    const int size = post.body.size * 3 / 4;
    addWords(page, {post.body.left, post.body.width, size, size * 5 / 4, QColor(0x888888)}, page.between(4, 16));
}

/// Name, face and facts, left of a post that starts at \a top. Returns its end.
int addPoster(LongPicture &page, const Post &post, int top)
{
    const int body = page.y;
    const Column column{double(page.px(24)), double(post.side - page.px(40)), post.body.size * 4 / 5,
                        post.body.size * 11 / 10, QColor(0x446688)};
    page.y = top;
    addLine(page, column, page.sentence(1));
    const int face = page.px(page.between(90, 150));
    addScenery(page, QRectF(column.left, page.y, face, face));
    page.y += face + page.px(8);
    for (int i = page.between(1, 3); i > 0; --i) {
        addLine(page, column, u"%1: %2"_s.arg(page.sentence(1)).arg(page.between(1, 5000)));
    }
    const int end = page.y;
    page.y = body;
    return end;
}

void addPost(LongPicture &page, const Post &post, int number)
{
    const int start = page.y;
    const int bar = post.body.size * 3 / 2;
    page.fill(QRectF(page.px(10), start, page.width() - page.px(20), bar), post.frame);
    page.line(page.px(24), start + post.body.size * 0.1, page.sentence(2), page.font(post.body.size * 4 / 5),
              Qt::white);
    page.line(page.width() - page.px(100), start + post.body.size * 0.1, u"#%1"_s.arg(number),
              page.font(post.body.size * 4 / 5), Qt::white);
    page.y = start + bar + page.px(16);
    const int top = page.y;
    if (page.oneIn(3)) {
        addQuote(page, post);
    }
    for (int i = page.between(1, 3); i > 0; --i) {
        addWords(page, post.body, page.between(4, 50));
        page.y += post.body.size / 2;
    }
    if (page.oneIn(5)) {
        addEmoji(page, post.body.left, page.y, post.body.size * 1.3);
        page.y += post.body.size * 3 / 2;
    }
    if (page.oneIn(2)) {
        addSignature(page, post);
    }
    page.y = std::max(page.y, addPoster(page, post, top)) + page.px(12);
    page.fill(QRectF(post.side, start + bar, 1, page.y - start - bar), post.frame);
    page.fill(QRectF(page.px(10), page.y, page.width() - page.px(20), 1), post.frame);
    page.y += page.px(page.between(8, 24));
}

/// One picture, two beside each other, or four.
void addFeedPictures(LongPicture &page, double left, double width)
{
    const int gap = page.px(4);
    const int across = page.between(1, 2);
    const int down = across == 2 ? page.between(1, 2) : 1;
    const double cell = (width - gap * (across - 1)) / across;
    const int height = page.px(across == 2 ? page.between(220, 300) : page.between(320, 560));
    for (int row = 0; row < down; ++row, page.y += height + gap) {
        for (int i = 0; i < across; ++i) {
            addScenery(page, QRectF(left + i * (cell + gap), page.y, cell, height), page.px(20));
        }
    }
}

void addLinkCard(LongPicture &page, const Column &column, const QColor &outline)
{
    const double height = column.pitch * 2.6;
    page.paint([&](QPainter &painter) {
        painter.setPen(QPen(outline, page.px(2)));
        painter.drawRoundedRect(QRectF(column.left, page.y, column.width, height), page.px(20), page.px(20));
    });
    addScenery(page, QRectF(column.left + 2, page.y + 2, height - 4, height - 4));
    const Column inside{column.left + height + page.px(20), column.width - height - page.px(40), column.size,
                        column.pitch, column.color};
    const int top = page.y;
    page.y += column.pitch / 4;
    addLine(page, inside, page.sentence(6));
    addLine(page, {inside.left, inside.width, inside.size * 4 / 5, inside.pitch, outline.lighter()}, page.sentence(3));
    page.y = top + int(height);
}

void addActions(LongPicture &page, const Column &column, const QColor &quiet)
{
    page.y += column.size / 2;
    for (int i = 0; i < 4; ++i) {
        const double x = column.left + i * column.width / 4;
        addIcon(page, QRectF(x, page.y, column.size * 0.9, column.size * 0.9), quiet);
        page.line(x + column.size * 1.4, page.y - column.size * 0.15, QString::number(page.between(1, 9999)),
                  page.font(column.size * 4 / 5), quiet);
    }
    page.y += column.size * 3 / 2;
}

} // namespace

void paintLightGroup(LongPicture &page)
{
    paintGroupChat(
        page,
        {{0xd5e8c8, 0x9fc3a8}, QColor(70, 110, 70, page.between(20, 60)), 0xffffff, 0xe3fdd0, 0x111111, 0x6f8a70});
}

void paintDarkGroup(LongPicture &page)
{
    paintGroupChat(
        page,
        {{0x0f1418, 0x1b1530}, QColor(200, 210, 255, page.between(10, 34)), 0x212d3b, 0x2b5278, 0xf2f4f6, 0x7d8e9e});
}

void paintComments(LongPicture &page)
{
    const bool dark = page.oneIn(2);
    page.image.fill(dark ? QColor(0x1a1a1b) : QColor(0xffffff));
    const int size = page.px(page.between(26, 36));
    const double left = page.px(30);
    const Column text{left, page.width() - 2 * left, size, size * page.between(125, 150) / 100,
                      dark ? 0xd7dadc : 0x1c1c1c};
    int depth = 0;
    while (!page.isFull()) {
        addComment(page, text, dark ? 0x818384 : 0x787c7e, depth, page.px(44));
        page.y += depth == 0 ? size / 2 : 0;
        depth = page.oneIn(4) ? 0 : std::clamp(depth + page.between(-1, 1), 0, 6);
    }
}

void paintForum(LongPicture &page)
{
    page.image.fill(QColor(0xfbfbf8));
    const int size = page.px(page.between(24, 32));
    const int side = page.px(250);
    const Post post{{double(side + page.px(20)), double(page.width() - side - page.px(50)), size,
                     size * page.between(125, 145) / 100, QColor(0x222222)},
                    QColor::fromHsv(page.between(0, 359), 90, 150),
                    side};
    for (int number = 1; !page.isFull(); ++number) {
        addPost(page, post, number);
    }
}

void paintDarkFeed(LongPicture &page)
{
    const QColor ground = page.oneIn(2) ? 0x15202b : 0x000000;
    const QColor quiet(0x8899a6);
    page.image.fill(ground);
    const int size = page.px(page.between(30, 38));
    const int face = page.px(100);
    const Column column{double(face + page.px(52)), double(page.width() - face - page.px(90)), size,
                        size * page.between(120, 140) / 100, QColor(0xe7e9ea)};
    while (!page.isFull()) {
        page.y += page.px(24);
        page.avatar(QRectF(page.px(26), page.y, face, face));
        addLine(page, column, page.sentence(2) + u"@%1"_s.arg(page.between(100, 999)));
        addWords(page, column, page.between(3, 45));
        page.y += page.px(16);
        if (page.oneIn(2)) {
            addFeedPictures(page, column.left, column.width);
        } else if (page.oneIn(3)) {
            addLinkCard(page, column, QColor(0x38444d));
        }
        addActions(page, column, quiet);
        page.fill(QRectF(0, page.y, page.width(), page.px(2)), QColor(0x38444d));
        page.y += page.px(2);
    }
}
