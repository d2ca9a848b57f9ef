#include "cutquality/kinds.h"
#include "cutquality/painting.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// Text with an edge, its base line at \a base; in two languages at times.
void addCaption(LongPicture &page, double base, int size, const QColor &color)
{
    QFont font = page.font(size);
    font.setBold(true);
    const QString text = brokenInto(page.sentence(page.between(2, 8)), font, page.width() * 0.9).value(0);
    const double x = (page.width() - QFontMetricsF(font).horizontalAdvance(text)) / 2;
    page.piece(QRectF(0, base - 2 * size, page.width(), 3 * size), [&](QPainter &painter) {
        QPainterPath path;
        path.addText(x, base, font, text);
        painter.strokePath(path, QPen(Qt::black, size / 9.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.fillPath(path, color);
    });
}

struct Film
{
    quint32 scene;
    double moment;
    QColor caption;
    int size;
};

void nextMoment(LongPicture &page, Film &film)
{
    film.moment += 0.2;
    if (page.oneIn(5)) {
        film.scene = page.random.generate();
        film.moment = 0;
    }
}

/// The lower \a rows rows of the next picture of a film \a height rows high.
void addFilmStrip(LongPicture &page, Film &film, int height, int rows)
{
    const QImage picture = scenery(QSize(page.width(), height), film.scene, film.moment);
    const QRect place(0, page.y, page.width(), rows);
    page.piece(place, [&](QPainter &painter) {
        painter.drawImage(place, picture, QRect(0, height - rows, page.width(), rows));
    });
    nextMoment(page, film);
}

void drawFrame(QPainter &painter, const QPolygonF &panel, quint32 seed, double line)
{
    const QRect box = panel.boundingRect().toAlignedRect();
    QPainterPath clip;
    clip.addPolygon(panel);
    clip.closeSubpath();
    painter.save();
    painter.setClipPath(clip);
    painter.drawImage(box.topLeft(), scenery(box.size(), seed));
    painter.restore();
    painter.strokePath(clip, QPen(Qt::black, line));
}

/// A balloon with two lines of text; only the text is content.
void addBalloon(LongPicture &page, QPointF center, double width, int size)
{
    const QFont font = page.font(size);
    const QStringList texts = brokenInto(page.sentence(page.between(2, 9)), font, width * 0.62).mid(0, 4);
    const int pitch = size * 5 / 4;
    const double height = double(texts.size()) * pitch * 1.5 + size;
    page.paint([&](QPainter &painter) {
        painter.setPen(QPen(Qt::black, page.px(3)));
        painter.setBrush(Qt::white);
        painter.drawEllipse(center, width / 2, height / 2);
    });
    int row = int(center.y() - double(texts.size()) * pitch / 2.0);
    for (const QString &text : texts) {
        page.line(center.x() - QFontMetricsF(font).horizontalAdvance(text) / 2, row, text, font, Qt::black);
        row += pitch;
    }
}

void addNarration(LongPicture &page, QPointF corner, double width, int size)
{
    page.paint([&](QPainter &painter) {
        painter.setPen(QPen(Qt::black, page.px(2)));
        painter.setBrush(QColor(0xfff2b0));
        painter.drawRect(QRectF(corner, QSizeF(width, size * 1.7)));
    });
    const QFont font = page.font(size);
    page.line(corner.x() + size / 3.0, corner.y() + size * 0.15,
              brokenInto(page.sentence(5), font, width * 0.9).value(0), font, Qt::black);
}

void addPanel(LongPicture &page, const QPolygonF &panel)
{
    const quint32 seed = page.random.generate();
    const QRectF box = panel.boundingRect();
    page.piece(box.adjusted(-4, -4, 4, 4), [&](QPainter &painter) { drawFrame(painter, panel, seed, page.px(4)); });
    const int size = page.px(page.between(20, 28));
    if (page.oneIn(2)) {
        addNarration(page, box.topLeft() + QPointF(page.px(6), page.px(6)), box.width() * 0.6, size);
    }
    if (!page.oneIn(3)) {
        addBalloon(page, box.center() + QPointF(0, box.height() * page.between(-20, 25) / 100), box.width() * 0.7,
                   size);
    }
}

/// Two panels with a slanted gutter between them.
void addSlantedPair(LongPicture &page, double left, double right, double top, double height, double gutter)
{
    const double slant = (right - left) * page.between(-12, 12) / 100;
    const double middle = left + (right - left) * page.between(35, 65) / 100;
    const double bottom = top + height;
    addPanel(page,
             QPolygonF{QPointF(left, top), QPointF(middle + slant - gutter / 2, top),
                       QPointF(middle - slant - gutter / 2, bottom), QPointF(left, bottom)});
    addPanel(page,
             QPolygonF{QPointF(middle + slant + gutter / 2, top), QPointF(right, top), QPointF(right, bottom),
                       QPointF(middle - slant + gutter / 2, bottom)});
}

/// A high panel beside two or three low ones.
void addStackedPanels(LongPicture &page, double left, double right, double top, double height, double gutter)
{
    const double middle = left + (right - left) * page.between(35, 60) / 100;
    addPanel(page, QRectF(left, top, middle - left - gutter / 2, height));
    const int count = page.between(2, 3);
    const double each = (height - gutter * (count - 1)) / count;
    for (int i = 0; i < count; ++i) {
        addPanel(page, QRectF(middle + gutter / 2, top + i * (each + gutter), right - middle - gutter / 2, each));
    }
}

void drawScreenTone(QPainter &painter, const QRectF &panel, LongPicture &page)
{
    const double step = page.px(page.between(7, 11));
    painter.setBrush(Qt::black);
    for (double y = panel.top(); y < panel.bottom(); y += step) {
        const double dot = step * 0.55 * (y - panel.top()) / panel.height();
        for (double x = panel.left() + (int(y / step) % 2) * step / 2; x < panel.right(); x += step) {
            painter.drawEllipse(QPointF(x, y), dot, dot);
        }
    }
}

void drawSpeedLines(QPainter &painter, const QRectF &panel, LongPicture &page)
{
    painter.setPen(QPen(Qt::black, page.px(2)));
    for (int i = 0; i < 90; ++i) {
        const bool across = page.oneIn(2);
        const double x = across ? panel.left() + panel.width() * page.between(0, 100) / 100
                                : (page.oneIn(2) ? panel.left() : panel.right());
        const double y = across ? (page.oneIn(2) ? panel.top() : panel.bottom())
                                : panel.top() + panel.height() * page.between(0, 100) / 100;
        const QPointF from(x, y);
        painter.drawLine(from, from + (panel.center() - from) * page.between(30, 70) / 100);
    }
}

void drawFigure(QPainter &painter, const QRectF &panel, LongPicture &page)
{
    painter.setPen(QPen(Qt::black, page.px(4)));
    painter.setBrush(Qt::white);
    const double side = std::min(panel.width(), panel.height()) * 0.5;
    const QPointF center = panel.center() + QPointF(panel.width() * page.between(-20, 20) / 100, 0);
    painter.drawRect(QRectF(center.x() - side * 0.6, center.y() + side * 0.3, side * 1.2, panel.height()));
    painter.drawEllipse(center, side * 0.42, side * 0.5);
    painter.setBrush(Qt::black);
    painter.drawPie(QRectF(center.x() - side * 0.46, center.y() - side * 0.56, side * 0.92, side), 0, 180 * 16);
    painter.drawEllipse(center + QPointF(-side * 0.15, side * 0.1), side * 0.06, side * 0.09);
    painter.drawEllipse(center + QPointF(side * 0.15, side * 0.1), side * 0.06, side * 0.09);
}

void addMangaPanel(LongPicture &page, const QRectF &panel)
{
    page.piece(panel.adjusted(-4, -4, 4, 4), [&](QPainter &painter) {
        painter.save();
        painter.setClipRect(panel);
        painter.fillRect(panel, Qt::white);
        if (page.oneIn(2)) {
            drawScreenTone(painter, panel, page);
        } else if (page.oneIn(2)) {
            drawSpeedLines(painter, panel, page);
        }
        drawFigure(painter, panel, page);
        painter.restore();
        painter.setPen(QPen(Qt::black, page.px(5)));
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(panel);
    });
}

/// A balloon with text in columns, from right to left.
void addColumnBalloon(LongPicture &page, QPointF center)
{
    const int size = page.px(page.between(22, 30));
    const int columns = page.between(1, 3);
    const int rows = page.between(3, 7);
    const QSizeF half(size * (columns + 1.2), size * (rows * 0.55 + 1.4));
    page.paint([&](QPainter &painter) {
        painter.setPen(QPen(Qt::black, page.px(3)));
        painter.setBrush(Qt::white);
        painter.drawEllipse(center, half.width(), half.height());
    });
    QFont font = page.font(size);
    font.setFamily(u"Noto Sans CJK SC"_s);
    for (int column = 0; column < columns; ++column) {
        for (int row = 0; row < rows; ++row) {
            const QString sign(u"天刚亮的时候河面上有一层薄雾远处桥"_s.at(page.between(0, 16)));
            page.line(center.x() + (columns / 2.0 - 1 - column) * size * 1.2,
                      center.y() + (row - rows / 2.0) * size * 1.1, sign, font, Qt::black);
        }
    }
}

void addMangaRow(LongPicture &page, double left, double right, double height, double gutter)
{
    const int panels = page.between(1, 3);
    const double width = (right - left - gutter * (panels - 1)) / panels;
    for (int i = 0; i < panels; ++i) {
        const QRectF panel(left + i * (width + gutter), page.y, width, height);
        addMangaPanel(page, panel);
        if (!page.oneIn(3)) {
            addColumnBalloon(page,
                             QPointF(panel.left() + width * page.between(20, 80) / 100,
                                     panel.top() + height * page.between(25, 60) / 100));
        }
    }
    page.y += int(height + gutter);
}

/// A picture without a frame that fades into the ground above and below.
void addFadingPanel(LongPicture &page, const QRectF &rect)
{
    QImage picture = scenery(rect.toAlignedRect().size(), page.random.generate())
                         .convertToFormat(QImage::Format_ARGB32_Premultiplied);
    const double fade = page.oneIn(2) ? 0.15 : 0.001;
    QLinearGradient gradient(0, 0, 0, picture.height());
    gradient.setColorAt(0, Qt::transparent);
    gradient.setColorAt(fade, Qt::black);
    gradient.setColorAt(1 - fade, Qt::black);
    gradient.setColorAt(1, Qt::transparent);
    QPainter painter(&picture);
    painter.setCompositionMode(QPainter::CompositionMode_DestinationIn);
    painter.fillRect(picture.rect(), gradient);
    painter.end();
    page.piece(rect, [&](QPainter &onPage) { onPage.drawImage(rect.toAlignedRect().topLeft(), picture); });
}

} // namespace

void paintFilmFrames(LongPicture &page)
{
    page.image.fill(page.oneIn(3) ? QColor(Qt::white) : QColor(Qt::black));
    const int height = page.width() * 9 / 16;
    const int bar = page.oneIn(3) ? 0 : height * page.between(8, 13) / 100;
    const int gap = page.oneIn(2) ? 0 : page.px(page.between(2, 24));
    Film film{page.random.generate(), 0, page.oneIn(3) ? QColor(0xffe94a) : QColor(Qt::white),
              page.px(page.between(32, 44))};
    while (!page.isFull()) {
        page.fill(QRectF(0, page.y, page.width(), height), Qt::black);
        const int bottom = page.y + height;
        page.y += bar;
        addFilmStrip(page, film, height - 2 * bar, height - 2 * bar);
        if (!page.oneIn(4)) {
            addCaption(page, bottom - (bar > 0 ? bar * 0.3 : film.size), film.size, film.caption);
        }
        page.y = bottom + gap;
    }
}

void paintCaptionStrips(LongPicture &page)
{
    page.image.fill(page.oneIn(2) ? QColor(Qt::white) : QColor(Qt::black));
    const int height = page.width() * 9 / 16;
    const int rows = page.px(page.between(96, 180));
    const int gap = page.oneIn(2) ? 0 : page.px(page.between(2, 12));
    Film film{page.random.generate(), 0, Qt::white, rows * page.between(30, 42) / 100};
    while (!page.isFull()) {
        const int shown = page.oneIn(12) ? height : rows;
        addFilmStrip(page, film, height, shown);
        page.y += shown;
        addCaption(page, page.y - film.size * 0.6, film.size, film.caption);
        page.y += gap;
    }
}

void paintIrregularComic(LongPicture &page)
{
    page.image.fill(page.oneIn(3) ? QColor(0x1a1a1a) : QColor(0xfffdf6));
    const double gutter = page.px(page.between(8, 30));
    while (!page.isFull()) {
        const double height = page.px(page.between(260, 560));
        const double left = page.oneIn(4) ? 0 : gutter;
        const double right = page.width() - left;
        const int what = page.between(0, 2);
        if (what == 0) {
            addPanel(page, QRectF(left, page.y, right - left, height));
        } else if (what == 1) {
            addSlantedPair(page, left, right, page.y, height, gutter);
        } else {
            addStackedPanels(page, left, right, page.y, height, gutter);
        }
        page.y += int(height + gutter);
    }
}

void paintManga(LongPicture &page)
{
    const double gutter = page.px(page.between(10, 26));
    const double margin = page.px(page.between(30, 90));
    while (!page.isFull()) {
        page.y += int(margin);
        for (int i = page.between(3, 4); i > 0; --i) {
            addMangaRow(page, margin, page.width() - margin, page.px(page.between(240, 520)), gutter);
        }
        page.line(margin, page.y, QString::number(page.between(1, 190)), page.font(page.px(22)), Qt::black);
        page.y += page.px(40);
    }
}

void paintWebtoon(LongPicture &page)
{
    page.paint([&](QPainter &painter) {
        QLinearGradient gradient(0, 0, 0, page.height() / 3.0);
        gradient.setSpread(QGradient::ReflectSpread);
        gradient.setColorAt(0, page.oneIn(2) ? QColor(Qt::white) : QColor(0xf0e4ff));
        gradient.setColorAt(1, page.oneIn(2) ? QColor(0x141420) : QColor(Qt::white));
        painter.fillRect(page.image.rect(), gradient);
    });
    while (!page.isFull()) {
        const double inset = page.oneIn(2) ? 0 : page.px(page.between(40, 160));
        const int height = page.px(page.between(300, 560));
        addFadingPanel(page, QRectF(inset, page.y, page.width() - 2 * inset, height));
        page.y += height;
        for (int i = page.between(0, 3); i > 0; --i) {
            page.y += page.px(page.between(100, 220));
            addBalloon(page, QPointF(page.px(page.between(340, 740)), page.y), page.px(520), page.px(30));
            page.y += page.px(140);
        }
        page.y += page.px(page.between(20, 240));
    }
}
