#include "cutquality/painting.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>

namespace {

void drawHills(QPainter &painter, QSize size, QRandomGenerator &random)
{
    const int count = random.bounded(2, 5);
    for (int i = 0; i < count; ++i) {
        const double base = size.height() * (0.45 + 0.5 * i / count);
        const double rise = size.height() * (0.05 + 0.2 * random.generateDouble());
        const double wave = (1 + random.bounded(4)) * 6.28 / size.width();
        const double phase = random.bounded(6.28);
        QPolygonF hill{QPointF(0, size.height())};
        for (int x = 0; x <= size.width() + 8; x += 8) {
            hill.append(QPointF(x, base - rise * std::sin(x * wave + phase)));
        }
        hill.append(QPointF(size.width(), size.height()));
        painter.setBrush(QColor::fromHsv(random.bounded(360), random.bounded(30, 160), 180 - 120 * i / count));
        painter.drawPolygon(hill);
    }
}

void drawPerson(QPainter &painter, QPointF feet, double height, QRandomGenerator &random)
{
    const double head = height * 0.3;
    painter.setBrush(QColor::fromHsv(random.bounded(360), random.bounded(200), random.bounded(40, 230)));
    painter.drawRoundedRect(QRectF(feet.x() - head, feet.y() - height * 0.72, 2 * head, height), head, head);
    painter.setBrush(QColor::fromHsv(random.bounded(15, 35), random.bounded(60, 160), random.bounded(90, 245)));
    painter.drawEllipse(QPointF(feet.x(), feet.y() - height * 0.85), head * 0.55, head * 0.7);
}

void addGrain(QImage &picture, int grain, QRandomGenerator &random)
{
    for (int y = 0; y < picture.height() && grain > 0; ++y) {
        auto *row = reinterpret_cast<QRgb *>(picture.scanLine(y));
        for (int x = 0; x < picture.width(); ++x) {
            const int step = random.bounded(2 * grain + 1) - grain;
            const auto moved = [step](int level) { return std::clamp(level + step, 0, 255); };
            row[x] = qRgb(moved(qRed(row[x])), moved(qGreen(row[x])), moved(qBlue(row[x])));
        }
    }
}

QPolygonF star(QPointF center, double radius)
{
    QPolygonF points;
    for (int i = 0; i < 10; ++i) {
        const double angle = i * 0.628318 - 1.5708;
        const double reach = i % 2 == 0 ? radius : radius * 0.45;
        points.append(center + QPointF(std::cos(angle), std::sin(angle)) * reach);
    }
    return points;
}

void drawSymbol(QPainter &painter, const QRectF &rect, int which)
{
    const double side = rect.width();
    if (which == 0) {
        painter.drawPolyline(QPolygonF{rect.bottomLeft(), rect.topLeft(), rect.topRight(), rect.bottomRight()});
    } else if (which == 1) {
        painter.drawEllipse(rect.adjusted(0, 0, 0, -side * 0.15));
        painter.drawLine(rect.bottomLeft(), rect.center());
    } else if (which == 2) {
        painter.drawPolygon(star(rect.center(), side / 2));
    } else {
        painter.drawLine(rect.bottomLeft(), rect.topRight());
        painter.drawPolyline(QPolygonF{rect.topLeft(), rect.topRight(), rect.bottomRight()});
    }
}

} // namespace

void addWords(LongPicture &page, const Column &column, int words)
{
    const QFont font = page.font(column.size);
    const QStringList texts = brokenInto(page.sentence(words), font, column.width);
    page.y += page.lines(column.left, page.y, texts, font, column.color, column.pitch);
}

void addLine(LongPicture &page, const Column &column, const QString &text)
{
    const QFont font = page.font(column.size);
    page.line(column.left, page.y, brokenInto(text, font, column.width).value(0), font, column.color);
    page.y += column.pitch;
}

Column pageColumn(LongPicture &page, const QColor &ink, double margin)
{
    const int size = page.px(page.between(26, 38));
    return {margin, page.width() - 2 * margin, size, size * page.between(130, 170) / 100, ink};
}

void addTitle(LongPicture &page, const Column &column, int words)
{
    QFont font = page.font(column.size * 3 / 2);
    font.setBold(true);
    const QStringList texts = brokenInto(page.sentence(words), font, column.width);
    page.y += page.lines(column.left, page.y, texts, font, column.color, column.size * 2);
}

QImage scenery(QSize size, quint32 seed, double moment)
{
    if (size.isEmpty()) {
        return {};
    }
    QRandomGenerator random(seed);
    QImage picture(size, QImage::Format_RGB32);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    QLinearGradient sky(0, 0, 0, size.height());
    sky.setColorAt(0, QColor::fromHsv(random.bounded(360), random.bounded(140), random.bounded(20, 255)));
    sky.setColorAt(1, QColor::fromHsv(random.bounded(360), random.bounded(90), random.bounded(60, 255)));
    painter.fillRect(picture.rect(), sky);
    drawHills(painter, size, random);
    for (int i = random.bounded(4); i > 0; --i) {
        const double x = size.width() * (random.generateDouble() + 0.03 * moment);
        drawPerson(painter, QPointF(x, size.height() * 0.98), size.height() * (0.3 + 0.5 * random.generateDouble()),
                   random);
    }
    painter.end();
    const int grain = random.bounded(4) * 2;
    random.seed(seed + quint32(1000 * moment));
    addGrain(picture, grain, random);
    return picture;
}

void addScenery(LongPicture &page, const QRectF &rect, double radius)
{
    const QRect box = rect.toAlignedRect();
    const QImage picture = scenery(box.size(), page.random.generate());
    page.piece(box, [&](QPainter &painter) {
        QBrush brush(picture);
        brush.setTransform(QTransform::fromTranslate(box.x(), box.y()));
        painter.setBrush(brush);
        painter.drawRoundedRect(box, radius, radius);
    });
}

void addEmoji(LongPicture &page, double x, double y, double size)
{
    if (page.oneIn(3)) {
        page.piece(QRectF(x, y, size, size), [&](QPainter &painter) {
            painter.setBrush(QColor::fromHsv(page.between(0, 359), 200, 230));
            painter.drawPolygon(star(QPointF(x + size / 2, y + size / 2), size / 2));
        });
        return;
    }
    page.smile(QRectF(x, y, size, size));
}

void addIcon(LongPicture &page, const QRectF &rect, const QColor &color)
{
    page.piece(rect.adjusted(-3, -3, 3, 3), [&](QPainter &painter) {
        painter.setPen(QPen(color, page.px(3)));
        drawSymbol(painter, rect, page.between(0, 3));
    });
}

void addScribble(LongPicture &page, double left, double base, double width, double letter, const QColor &ink)
{
    QPainterPath path(QPointF(left, base));
    double x = left;
    while (x < left + width) {
        const double up = page.oneIn(4) ? 1.9 : 1.0;
        const double down = page.oneIn(6) ? 0.8 : 0.0;
        const double wobble = letter * page.between(-8, 8) / 100.0;
        const double step = letter * page.between(55, 105) / 100.0;
        path.cubicTo(x + step * 0.9, base - letter * up, x - step * 0.1, base - letter * up + wobble, x + step * 0.4,
                     base + letter * down);
        path.cubicTo(x + step * 0.6, base + wobble, x + step * 0.8, base - letter * 0.3, x + step, base + wobble);
        x += step;
        if (page.oneIn(6)) {
            x += letter * 0.8;
            path.moveTo(x, base);
        }
    }
    page.piece(QRectF(left - letter, base - 3 * letter, width + 4 * letter, 5 * letter), [&](QPainter &painter) {
        painter.strokePath(path, QPen(ink, std::max(1.0, letter / 9), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    });
}
