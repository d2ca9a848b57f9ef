#include "output/pagelayout.h"

#include <QFont>
#include <QPainter>
#include <QPixmap>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

constexpr int stripsPerColumn = 2;
constexpr double fallbackScale = 0.5;
constexpr int numberWidth = 180;
constexpr int numberHeight = 60;

} // namespace

QSizeF pageMargins(const QSizeF &strip, unsigned int percent)
{
    const double factor = percent;
    return {factor * strip.width() / 100, factor * strip.height() / 100};
}

double tallestColumn(const QList<double> &strips, double atLeast)
{
    double tallest = atLeast;
    quint32 column = 0;
    for (qsizetype i = 0; i < strips.size(); ++i) {
        if (i % stripsPerColumn == 0) {
            column = 0;
        }
        column = quint32(qint64(column + strips.at(i)));
        tallest = std::max(tallest, double(column));
    }
    return tallest;
}

double columnScale(double contentHeight, double columnHeight)
{
    const double scale = contentHeight / columnHeight;
    return scale < 1.0 ? scale : fallbackScale;
}

QList<QRectF> columnPlaces(const QRectF &content, const QList<QSizeF> &strips, double scale)
{
    QList<QRectF> places;
    if (strips.isEmpty()) {
        return places;
    }
    const double width = strips.first().width() * scale;
    const double inset = (content.width() * 0.5 - width) * 0.5;
    double x = content.x() + inset;
    double y = content.y();
    for (const QSizeF &strip : strips) {
        const double height = strip.height() * scale;
        places.append(QRectF(x, y, width, height));
        y += height;
        if (places.size() == stripsPerColumn) {
            y = content.y();
            x = inset + (content.width() * 0.5 + content.x() + inset); // twice the inset, so flush right
        }
    }
    return places;
}

QRectF pageNumberBox(const QSizeF &page)
{
    const double width = std::trunc(page.width() / 5);
    const double height = std::trunc(page.width() / 15);
    return {std::trunc(page.width() - width), std::trunc(page.height() - height), width, height};
}

QPixmap pageNumberPixmap(int number)
{
    QFont font(u"Times New Roman"_s, 16, QFont::Thin);
    font.setLetterSpacing(QFont::AbsoluteSpacing, 2.0);

    QPixmap pixmap(numberWidth, numberHeight);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setFont(font);
    painter.setPen(Qt::gray);
    painter.drawText(QRect(0, 0, numberWidth, numberHeight), Qt::AlignHCenter | Qt::AlignVCenter, u"%1"_s.arg(number));
    return pixmap;
}

double fitScale(const QSizeF &page, const QSizeF &area)
{
    return std::min(area.width() / page.width(), area.height() / page.height());
}

bool isPageWanted(int number, int first, int last)
{
    return (first <= number && number <= last) || first + last == 0;
}
