#include "support/plainchain.h"

#include "page/pageitem.h"
#include "support/plainbrightestrow.h"

#include <QDebug>
#include <QGraphicsScene>

#include <functional>

using namespace Qt::StringLiterals;

namespace {

template <typename Value>
QString asText(const Value &value)
{
    QString text;
    QDebug(&text).nospace() << qSetRealNumberPrecision(17) << value;
    return text;
}

} // namespace

PlainChain::PlainChain(const QPixmap &pixmap, const QList<QRectF> &bands)
    : source(pixmap)
{
    double y = 0.0;
    for (const QRectF &band : bands) {
        PlainStrip strip;
        strip.source = band;
        strip.body = QRectF(0, 0, band.width(), band.height());
        strip.handle = QRectF(0, band.height(), band.width(), 20);
        strip.pos = strips.isEmpty() ? band.topLeft() : QPointF(strips.first().pos.x(), y);
        y = strip.pos.y() + (band.height() + 20);
        strips.append(strip);
    }
}

void PlainChain::moveCut(int index, double delta)
{
    double g = minAspect;
    PlainStrip &strip = strips[index];
    strip.handle = QRectF(0, strip.handle.y(), strip.handle.width(), strip.handle.height());
    const double h1 = (strip.body.height() + strip.body.y() + delta) - strip.body.y();
    strip.body = QRectF(strip.body.x(), strip.body.y(), strip.body.width(), h1);
    strip.source = QRectF(strip.source.x(), strip.source.y(), strip.source.width(), h1);
    strip.handle = QRectF(strip.handle.x(), strip.body.y() + h1, strip.handle.width(), strip.handle.height());
    strip.drag = QRectF(0, strip.handle.y(), strip.handle.width(), strip.handle.height());
    const double r = strip.source.width() / h1;
    if (g > r) {
        minAspect = r;
        g = r;
    }
    if (index + 1 == strips.size()) {
        return;
    }
    PlainStrip &n = strips[index + 1];
    const double t = (n.source.y() + delta) - n.source.y();
    const double h2 = n.source.height() - t;
    const double r2 = n.source.width() / h2;
    if (g > r2) {
        minAspect = r2;
    }
    n.source = QRectF(n.source.x(), n.source.y() + t, n.source.width(), h2);
    n.body = QRectF(0, 0, n.source.width(), h2);
    n.handle = QRectF(0, h2, n.handle.width(), n.handle.height());
    n.drag = QRectF(0, h2, n.handle.width(), n.handle.height());
    n.dragging = false;
    n.pos = QPointF(n.pos.x(), n.pos.y() + delta);
}

void PlainChain::autoPlaceCut(int index)
{
    if (index + 1 == strips.size()) {
        return;
    }
    PlainStrip &strip = strips[index];
    const double h = strip.source.height();
    const double wh = 0.3 * h;
    const QRectF window(strip.source.x(), (strip.source.y() + h) - wh * 0.5, strip.source.width(), wh);
    const QRect rows = window.toAlignedRect();
    const QRect all(QPoint(), source.size());
    const int row = all.intersects(rows) ? plainBrightestRow(source.copy(rows).toImage()) : 0;
    const double s = strip.lastShift;
    const double shift = s > 0.01 || -0.01 > s ? 0.0 - s : row - 0.5 * wh;
    strip.lastShift = shift;
    moveCut(index, shift);
}

void PlainChain::autoPlaceAll()
{
    for (int i = 0; i < strips.size(); ++i) {
        autoPlaceCut(i);
    }
}

QList<PageItem *> addChain(QGraphicsScene &scene, const QPixmap &source, const QList<QRectF> &bands)
{
    QList<PageItem *> strips;
    for (const QRectF &band : bands) {
        auto *strip = new PageItem(source, band); // owned by the scene
        strip->setPageIndex(int(strips.size()));
        if (!strips.isEmpty()) {
            strips.last()->linkNext(strip);
        }
        scene.addItem(strip);
        strips.append(strip);
    }
    return strips;
}

QList<QRectF> equalBands(int count, double width, double height)
{
    QList<QRectF> bands;
    for (int i = 0; i < count; ++i) {
        bands.append(QRectF(0, i * height, width, height));
    }
    return bands;
}

QString firstDifference(const PageItem *first, const PlainChain &plain)
{
    const PageItem *strip = first;
    for (qsizetype i = 0; i < plain.strips.size(); ++i, strip = strip->nextItem()) {
        if (strip == nullptr) {
            return u"strip %1 is missing"_s.arg(i);
        }
        const auto report = [i](const char *what, const auto &actual, const auto &expected) {
            return u"%1 of strip %2 is %3 instead of %4"_s.arg(QLatin1String(what))
                .arg(i)
                .arg(asText(actual), asText(expected));
        };
        const PlainStrip &expected = plain.strips.at(i);
        // QRectF::operator== tolerates small differences.
        const auto same = [](const QRectF &a, const QRectF &b) {
            return std::equal_to<>()(a.x(), b.x()) && std::equal_to<>()(a.y(), b.y())
                && std::equal_to<>()(a.width(), b.width()) && std::equal_to<>()(a.height(), b.height());
        };
        if (!same(strip->sourceRect(), expected.source)) {
            return report("source rectangle", strip->sourceRect(), expected.source);
        }
        if (!same(strip->bodyRect(), expected.body)) {
            return report("body", strip->bodyRect(), expected.body);
        }
        if (!same(strip->handleRect(), expected.handle)) {
            return report("handle", strip->handleRect(), expected.handle);
        }
        if (!same(strip->dragRect(), expected.drag)) {
            return report("rubber line", strip->dragRect(), expected.drag);
        }
        if (!same(QRectF(strip->pos(), QSizeF()), QRectF(expected.pos, QSizeF()))) {
            return report("position", strip->pos(), expected.pos);
        }
        if (strip->isDragging() != expected.dragging) {
            return report("drag", strip->isDragging(), expected.dragging);
        }
    }
    if (strip != nullptr) {
        return u"more than %1 strips"_s.arg(plain.strips.size());
    }
    if (!std::equal_to<>()(minAspect(), plain.minAspect)) {
        return u"smallest aspect is %1 instead of %2"_s.arg(minAspect(), 0, 'g', 17).arg(plain.minAspect, 0, 'g', 17);
    }
    return {};
}
