#include "cutquality/kinds.h"

#include <QFontMetricsF>
#include <QPainter>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

struct TextStyle
{
    int left;
    int right; ///< the end of the column
    int size;
    int pitch;
    int between; ///< above a paragraph, in rows
    QColor color;
};

TextStyle textStyle(LongPicture &page, const QColor &color)
{
    const int margin = page.px(page.between(40, 110));
    const int size = page.px(page.between(26, 42));
    return {
        margin, page.width() - margin, size, size * page.between(125, 175) / 100, size * page.between(30, 120) / 100,
        color};
}

void addParagraph(LongPicture &page, const TextStyle &style)
{
    const QFont font = page.font(style.size);
    const QStringList texts = brokenInto(page.sentence(page.between(12, 90)), font, style.right - style.left);
    page.y += style.between;
    page.y += page.lines(style.left, page.y, texts, font, style.color, style.pitch);
}

void addHeading(LongPicture &page, const TextStyle &style)
{
    QFont font = page.font(style.size * 3 / 2);
    font.setBold(true);
    page.y += 2 * style.between;
    page.line(style.left, page.y, page.sentence(3), font, style.color);
    page.y += style.pitch * 3 / 2;
}

void addText(LongPicture &page, const TextStyle &style)
{
    while (!page.isFull()) {
        if (page.oneIn(7)) {
            addHeading(page, style);
        }
        addParagraph(page, style);
    }
}

void addColumn(LongPicture &page, TextStyle style, int left, int right)
{
    style.left = left;
    style.right = right;
    page.y = page.px(60);
    addText(page, style);
}

} // namespace

void paintArticle(LongPicture &page)
{
    const TextStyle style = textStyle(page, 0x22262b);
    while (!page.isFull()) {
        if (page.oneIn(5)) {
            addHeading(page, style);
        }
        if (page.oneIn(4)) {
            const int height = page.px(page.between(200, 800));
            page.y += style.between;
            page.photo(QRectF(style.left, page.y, style.right - style.left, height));
            page.y += height + style.between;
        }
        addParagraph(page, style);
    }
}

void paintColumns(LongPicture &page)
{
    const TextStyle style = textStyle(page, 0x181818);
    const int middle = page.width() / 2;
    addColumn(page, style, style.left, middle - page.px(24));
    addColumn(page, style, middle + page.px(24), style.right);
}

void paintGrayText(LongPicture &page)
{
    page.image.fill(page.oneIn(2) ? QColor(Qt::white) : QColor(0xf2f2f2));
    const int level = page.between(150, 222);
    addText(page, textStyle(page, QColor(level, level, level)));
}

void paintTightText(LongPicture &page)
{
    TextStyle style = textStyle(page, 0x101010);
    const QFontMetricsF metrics(page.font(style.size));
    const QRectF ink = metrics.tightBoundingRect(u"Qgjpy|天bdf"_s);
    style.pitch = int(ink.height()) + page.between(1, 3);
    style.between = page.between(0, 3);
    addText(page, style);
}

void paintSkewedText(LongPicture &page)
{
    page.slope = (page.between(0, 12) - 6) / 1000.0;
    page.image.fill(QColor(238, 234, 222));
    addText(page, textStyle(page, 0x302c28));
}

void paintTransparentText(LongPicture &page)
{
    page.image.fill(Qt::transparent);
    addText(page, textStyle(page, page.oneIn(3) ? QColor(0x101010) : QColor(Qt::white)));
}

void paintGradientText(LongPicture &page)
{
    page.paint([&](QPainter &painter) {
        QLinearGradient gradient(0, 0, page.oneIn(2) ? page.width() : 0, page.oneIn(3) ? 0 : page.height());
        gradient.setColorAt(0, QColor::fromHsv(page.between(0, 359), 180, 120));
        gradient.setColorAt(0.5, QColor::fromHsv(page.between(0, 359), 180, 90));
        gradient.setColorAt(1, QColor::fromHsv(page.between(0, 359), 180, 120));
        painter.fillRect(page.image.rect(), gradient);
    });
    addText(page, textStyle(page, Qt::white));
}

void paintTextOverPhoto(LongPicture &page)
{
    QImage ground = photograph(page.image.size(), page.random);
    QPainter painter(&ground);
    painter.fillRect(ground.rect(), QColor(0, 0, 0, page.between(60, 150)));
    page.paint([&](QPainter &onPage) { onPage.drawImage(0, 0, ground); });
    addText(page, textStyle(page, Qt::white));
}
