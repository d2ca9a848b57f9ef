#include "cutquality/longpicture.h"

#include <QFontDatabase>
#include <QFontMetricsF>
#include <QPainter>

#include <algorithm>
#include <array>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

constexpr std::array words = {u"the",     u"canal",   u"and",     u"a",        u"Morning", u"of",     u"light",
                              u"Bridge",  u"quietly", u"is",      u"along",    u"12.5",    u"path",   u"(see)",
                              u"I",       u"journey", u"walking", u"umbrella", u"to",      u"Heron,", u"then.",
                              u"between", u"yellow",  u"big",     u"Qu.",      u"2026",    u"all",    u"ill"};
constexpr QStringView characters =
    u"天刚亮的时候河面上有一层薄雾远处桥只剩下个轮廓走在石板路听见水流声还早起人打开木窗";

/// The first and the last row of \a layer with anything clearly visible; an
/// empty piece if there is none.
Piece visibleRows(const QImage &layer)
{
    constexpr int visibleAlpha = 24;
    Piece rows{-1, -1};
    for (int y = 0; y < layer.height(); ++y) {
        const auto *row = reinterpret_cast<const QRgb *>(layer.constScanLine(y));
        if (std::any_of(row, row + layer.width(), [](QRgb pixel) { return qAlpha(pixel) >= visibleAlpha; })) {
            rows.top = rows.top < 0 ? y : rows.top;
            rows.bottom = y + 1;
        }
    }
    return rows;
}

QImage smoothColors(QSize size, int cells, QRandomGenerator &random)
{
    const int down = std::max(4, cells * size.height() / std::max(1, size.width()));
    QImage coarse(cells, down, QImage::Format_RGB32);
    for (int y = 0; y < down; ++y) {
        for (int x = 0; x < cells; ++x) {
            coarse.setPixel(x, y, qRgb(random.bounded(256), random.bounded(256), random.bounded(256)));
        }
    }
    // The outer half of the outer cells would be plain.
    const QSize cell(size.width() / (cells - 2) + 1, size.height() / (down - 2) + 1);
    const QSize grown(cell.width() * cells, cell.height() * down);
    return coarse.scaled(grown, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
        .copy(QRect(QPoint(cell.width(), cell.height()), size));
}

} // namespace

LongPicture::LongPicture(QSize size, quint32 seed)
    : image(size, QImage::Format_ARGB32_Premultiplied)
    , random(seed)
{
    image.fill(Qt::white);
    constexpr std::array families = {u"DejaVu Sans",      u"DejaVu Serif",    u"Noto Sans CJK SC",
                                     u"Noto Sans CJK SC", u"Liberation Sans", u"Noto Serif CJK SC"};
    family = QString::fromUtf16(families[size_t(random.bounded(int(families.size())))]);
    chinese = family.contains("CJK"_L1);
}

int LongPicture::px(double length) const
{
    return std::max(1, qRound(length * width() / 1080.0));
}

int LongPicture::between(int low, int high)
{
    return random.bounded(low, high + 1);
}

bool LongPicture::oneIn(int count)
{
    return random.bounded(count) == 0;
}

void LongPicture::fill(const QRectF &rect, const QColor &color, double radius)
{
    paint([&](QPainter &painter) {
        painter.setBrush(color);
        painter.drawRoundedRect(rect, radius, radius);
    });
}

void LongPicture::paint(const std::function<void(QPainter &)> &draw)
{
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    draw(painter);
}

void LongPicture::piece(const QRectF &rect, const std::function<void(QPainter &)> &draw)
{
    const QRect box = rect.toAlignedRect() & image.rect();
    if (box.isEmpty()) {
        return;
    }
    QImage layer(box.size(), QImage::Format_ARGB32_Premultiplied);
    layer.fill(Qt::transparent);
    {
        QPainter painter(&layer);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.translate(-box.topLeft());
        draw(painter);
    }
    const Piece rows = visibleRows(layer);
    if (rows.top >= 0) {
        pieces.append({box.top() + rows.top, box.top() + rows.bottom});
    }
    QPainter(&image).drawImage(box.topLeft(), layer);
}

double LongPicture::line(double x, double top, const QString &text, const QFont &font, const QColor &color)
{
    const QFontMetricsF metrics(font);
    const double advance = metrics.horizontalAdvance(text);
    const double em = metrics.height();
    const double fall = slope * (advance + x);
    const QRectF box(x - em, top - em + std::min(0.0, fall), advance + 2 * em, 3 * em + std::abs(fall));
    piece(box, [&](QPainter &painter) {
        painter.shear(0, slope);
        painter.setFont(font);
        painter.setPen(color);
        painter.drawText(QPointF(x, top + metrics.ascent()), text);
    });
    return advance;
}

int LongPicture::lines(double x, double top, const QStringList &texts, const QFont &font, const QColor &color,
                       int pitch)
{
    for (qsizetype i = 0; i < texts.size(); ++i) {
        line(x, top + double(i) * pitch, texts.at(i), font, color);
    }
    return int(texts.size()) * pitch;
}

void LongPicture::photo(const QRectF &rect)
{
    const QRect box = rect.toAlignedRect();
    const QImage picture = photograph(box.size(), random);
    piece(box, [&](QPainter &painter) { painter.drawImage(box.topLeft(), picture); });
}

void LongPicture::avatar(const QRectF &rect)
{
    const QImage picture = photograph(rect.toAlignedRect().size(), random);
    piece(rect, [&](QPainter &painter) {
        QBrush brush(picture);
        brush.setTransform(QTransform::fromTranslate(rect.x(), rect.y()));
        painter.setBrush(brush);
        painter.drawEllipse(rect);
    });
}

void LongPicture::smile(const QRectF &rect)
{
    piece(rect, [&](QPainter &painter) {
        painter.setBrush(QColor(0xffcc33));
        painter.drawEllipse(rect);
        painter.setBrush(QColor(0x553311));
        const double eye = rect.width() / 8;
        painter.drawEllipse(rect.center() - QPointF(2 * eye, eye), eye / 1.5, eye);
        painter.drawEllipse(rect.center() + QPointF(2 * eye, -eye), eye / 1.5, eye);
        painter.drawPie(rect.adjusted(2 * eye, 2 * eye, -2 * eye, -eye), 180 * 16, 180 * 16);
    });
}

QFont LongPicture::font(int pixelSize)
{
    QFont result(family);
    result.setPixelSize(std::max(pixelSize, 7));
    result.setStyleStrategy(QFont::StyleStrategy(QFont::PreferAntialias | QFont::NoSubpixelAntialias));
    return result;
}

QFont LongPicture::monospace(int pixelSize) const
{
    QFont result(u"DejaVu Sans Mono"_s);
    result.setPixelSize(std::max(pixelSize, 7));
    result.setStyleStrategy(QFont::StyleStrategy(QFont::PreferAntialias | QFont::NoSubpixelAntialias));
    return result;
}

QString LongPicture::sentence(int count)
{
    QString text;
    for (int i = 0; i < count; ++i) {
        if (chinese && !oneIn(6)) {
            text += characters[random.bounded(int(characters.size()))];
            text += characters[random.bounded(int(characters.size()))];
            text += oneIn(7) ? u"，"_s : QString();
        } else {
            text += QString::fromUtf16(words[size_t(random.bounded(int(words.size())))]) + u' ';
        }
    }
    return text;
}

QStringList brokenInto(const QString &text, const QFont &font, double width)
{
    const QFontMetricsF metrics(font);
    QStringList broken;
    QString line;
    double used = 0;
    for (const QChar sign : text) {
        const double advance = metrics.horizontalAdvance(sign);
        if (used + advance > width && !line.isEmpty()) {
            const qsizetype space = line.lastIndexOf(u' ');
            const bool splits = sign.unicode() < 128 && line.back().unicode() < 128 && space > line.size() / 2;
            broken.append(splits ? line.left(space) : line);
            line = splits ? line.mid(space + 1) : QString();
            used = metrics.horizontalAdvance(line);
        }
        line += sign;
        used += advance;
    }
    if (!line.trimmed().isEmpty()) {
        broken.append(line);
    }
    return broken;
}

QImage photograph(QSize size, QRandomGenerator &random)
{
    if (size.isEmpty()) {
        return {};
    }
    QImage picture = smoothColors(size, 5 + int(random.bounded(10)), random);
    if (random.bounded(4) == 0) {
        QPainter painter(&picture);
        QLinearGradient sky(0, 0, 0, size.height());
        sky.setColorAt(0, QColor(0x6fa0d0));
        sky.setColorAt(0.4, QColor(0xd0e4f4));
        sky.setColorAt(0.6, QColor(208, 228, 244, 0));
        painter.fillRect(picture.rect(), sky);
    }
    const int grain = int(random.bounded(4)) * 3;
    for (int y = 0; y < size.height() && grain > 0; ++y) {
        auto *row = reinterpret_cast<QRgb *>(picture.scanLine(y));
        for (int x = 0; x < size.width(); ++x) {
            const int step = int(random.bounded(2 * grain + 1)) - grain;
            const auto moved = [step](int level) { return std::clamp(level + step, 0, 255); };
            row[x] = qRgb(moved(qRed(row[x])), moved(qGreen(row[x])), moved(qBlue(row[x])));
        }
    }
    return picture;
}
