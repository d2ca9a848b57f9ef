#include "cutquality/kinds.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

void addSubtitle(LongPicture &page, double bottom)
{
    const int size = page.px(page.between(36, 50));
    QFont font = page.font(size);
    font.setBold(true);
    const QString text = page.sentence(page.between(2, 7));
    const double width = QFontMetricsF(font).horizontalAdvance(text);
    const double x = (page.width() - width) / 2;
    page.piece(QRectF(0, bottom - 2 * size, page.width(), 2 * size), [&](QPainter &painter) {
        QPainterPath path;
        path.addText(x, bottom - size / 2.0, font, text);
        painter.strokePath(path, QPen(Qt::black, page.px(5)));
        painter.fillPath(path, Qt::white);
    });
}

void paintComic(LongPicture &page, const QColor &ground, const QColor &frame)
{
    page.image.fill(ground);
    const int gutter = page.px(page.between(8, 60));
    while (!page.isFull()) {
        const int height = page.px(page.between(250, 900));
        const int panels = page.between(1, 3);
        const double width = double(page.width() - gutter * (panels + 1)) / panels;
        for (int i = 0; i < panels; ++i) {
            const QRectF panel(gutter + i * (width + gutter), page.y, width, height);
            page.photo(panel);
            page.paint([&](QPainter &painter) {
                painter.setPen(QPen(frame, page.px(4)));
                painter.drawRect(panel.adjusted(2, 2, -3, -3));
            });
            const QRectF speech(panel.left() + width * 0.1, page.y + height * 0.1, width * 0.7, height * 0.25);
            page.paint([&](QPainter &painter) {
                painter.setBrush(Qt::white);
                painter.drawEllipse(speech);
            });
            page.line(speech.left() + speech.width() * 0.2, speech.center().y() - page.px(16), page.sentence(1),
                      page.font(page.px(30)), Qt::black);
        }
        page.y += height + gutter;
    }
}

} // namespace

void paintSubtitles(LongPicture &page)
{
    const int gap = page.oneIn(3) ? page.px(page.between(4, 20)) : 0;
    while (!page.isFull()) {
        const int height = page.oneIn(3) ? page.px(page.between(500, 640)) : page.px(page.between(110, 200));
        page.photo(QRectF(0, page.y, page.width(), height));
        page.y += height;
        addSubtitle(page, page.y - page.px(4));
        page.y += gap;
    }
}

void paintWhiteComic(LongPicture &page)
{
    paintComic(page, Qt::white, Qt::black);
}

void paintBlackComic(LongPicture &page)
{
    paintComic(page, Qt::black, page.oneIn(2) ? Qt::black : Qt::white);
}

void paintTallPhotos(LongPicture &page)
{
    const QFont font = page.font(page.px(34));
    while (!page.isFull()) {
        const int height = page.px(page.between(600, 2600));
        page.photo(QRectF(0, page.y, page.width(), height));
        page.y += height + page.px(12);
        page.line(page.px(40), page.y, page.sentence(5), font, 0x202020);
        page.y += page.px(60);
    }
}
