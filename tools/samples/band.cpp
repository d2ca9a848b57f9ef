#include "samples/band.h"

#include <QFontDatabase>
#include <QFontMetricsF>
#include <QLinearGradient>
#include <QPainterPath>
#include <QTextLayout>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

using namespace Qt::StringLiterals;

namespace {

/// The smallest rectangle around the pixels in which two images of the same size and
/// format differ.
QRect changedRect(const QImage &before, const QImage &after)
{
    const qsizetype bytes = before.depth() / 8;
    QRect changed;
    for (int y = 0; y < after.height(); ++y) {
        const uchar *was = before.constScanLine(y);
        const uchar *is = after.constScanLine(y);
        const auto differs = [&](int x) { return std::memcmp(was + x * bytes, is + x * bytes, size_t(bytes)) != 0; };
        int left = 0;
        while (left < after.width() && !differs(left)) {
            ++left;
        }
        if (left == after.width()) {
            continue;
        }
        int right = after.width() - 1;
        while (!differs(right)) {
            --right;
        }
        changed |= QRect(QPoint(left, y), QPoint(right, y));
    }
    return changed;
}

QString chineseFamily()
{
    const QStringList families = QFontDatabase::families(QFontDatabase::SimplifiedChinese);
    for (const QString &family : {u"Noto Sans CJK SC"_s, u"Source Han Sans SC"_s, u"PingFang SC"_s,
                                  u"Microsoft YaHei"_s, u"WenQuanYi Micro Hei"_s}) {
        if (families.contains(family)) {
            return family;
        }
    }
    return families.value(0, QFont().family());
}

QFont plainFont(const QString &family, int pixelSize)
{
    QFont font(family);
    font.setPixelSize(std::max(pixelSize, 6));
    // Subpixel antialiasing would depend on the desktop's settings.
    font.setStyleStrategy(QFont::StyleStrategy(QFont::PreferAntialias | QFont::NoSubpixelAntialias));
    font.setHintingPreference(QFont::PreferNoHinting);
    return font;
}

struct Sky
{
    QRgb top;
    QRgb horizon;
    QRgb sun;
    QRgb farHills;
    QRgb nearHills;
};

constexpr std::array<Sky, 5> skies = {{
    {0xff4a8fd8, 0xffd9ecf7, 0xfffff6d0, 0xff9fbdd0, 0xff2f6b4f},
    {0xff6db7c9, 0xfff6f0d8, 0xffffffff, 0xffa9c7ae, 0xff3f7d4e},
    {0xff7fa6c9, 0xfff3e9df, 0xfffffdf2, 0xffb3c3d6, 0xff3d5a80},
    {0xfff0a35c, 0xfffde7b8, 0xfffffbea, 0xffd9925f, 0xff7a3f2b},
    {0xff34406f, 0xfff7b58b, 0xffffe3a6, 0xffb98699, 0xff3a2f55},
}};

QColor mixed(QRgb from, QRgb to, double part)
{
    const auto mix = [part](int a, int b) { return qRound(a + (b - a) * part); };
    return {mix(qRed(from), qRed(to)), mix(qGreen(from), qGreen(to)), mix(qBlue(from), qBlue(to))};
}

} // namespace

Band::Band(Sample &target, int top, int height)
    : sample(target)
    , firstRow(top)
    , view(target.image.scanLine(top), target.image.width(), height, target.image.bytesPerLine(), target.image.format())
    , m_painter(&view)
{
    m_painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
    m_painter.setPen(Qt::NoPen);
}

void Band::drawLine(const QString &text, const QFont &font, const QColor &color, double x, double middle)
{
    const double em = font.pixelSize();
    const double advance = QFontMetricsF(font).horizontalAdvance(text);
    const QRect box = QRectF(x - em, middle - em, advance + 2 * em, 2 * em).toAlignedRect() & view.rect();
    const QImage before = view.copy(box);
    m_painter.setFont(font);
    m_painter.setPen(color);
    // Chinese characters are centered 0.38 em above the baseline.
    m_painter.drawText(QPointF(x, middle + 0.38 * em), text);
    m_painter.setPen(Qt::NoPen);
    const QRect ink = changedRect(before, view.copy(box));
    if (!ink.isEmpty()) {
        sample.textLines.append(ink.translated(box.topLeft()).translated(0, firstRow));
    }
}

void stackBlocks(Sample &sample, int top, int bottom, const std::function<Block()> &nextBlock)
{
    QList<Block> blocks;
    int left = bottom - top;
    for (Block block = nextBlock(); block.height <= left; block = nextBlock()) {
        left -= block.height;
        blocks.append(block);
    }
    int used = 0;
    for (qsizetype i = 0; i < blocks.size(); ++i) {
        const int space = static_cast<int>(left * i / blocks.size());
        Band band(sample, top + used + space, blocks[i].height);
        blocks[i].paint(band);
        used += blocks[i].height;
    }
}

QFont textFont(int pixelSize, QFont::Weight weight)
{
    static const QString family = chineseFamily();
    QFont font = plainFont(family, pixelSize);
    font.setWeight(weight);
    return font;
}

QFont codeFont(int pixelSize)
{
    return plainFont(QFontDatabase::systemFont(QFontDatabase::FixedFont).family(), pixelSize);
}

QStringList brokenLines(const QString &text, const QFont &font, int width)
{
    QTextLayout layout(text, font);
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    QStringList lines;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        lines.append(text.mid(line.textStart(), line.textLength()).trimmed());
    }
    layout.endLayout();
    return lines;
}

void drawLandscape(QPainter &painter, const QRectF &rect, quint32 seed)
{
    Random random(seed);
    const Sky &sky = skies[seed % skies.size()];
    painter.save();
    painter.translate(rect.topLeft());
    const double w = rect.width();
    const double h = rect.height();

    QLinearGradient air(0, 0, 0, 0.7 * h);
    air.setColorAt(0, QColor::fromRgb(sky.top));
    air.setColorAt(1, QColor::fromRgb(sky.horizon));
    painter.fillRect(QRectF(0, 0, w, h), air);
    const QPointF sun(w * (20 + random.below(60)) / 100, h * (22 + random.below(18)) / 100);
    QColor glow = QColor::fromRgb(sky.sun);
    for (const int step : {3, 2, 1}) {
        glow.setAlpha(step == 1 ? 255 : 40);
        painter.setBrush(glow);
        painter.drawEllipse(sun, 0.055 * h * step, 0.055 * h * step);
    }

    constexpr int ridges = 5;
    for (int ridge = 0; ridge < ridges; ++ridge) {
        const double part = double(ridge) / (ridges - 1);
        const double base = h * (0.52 + 0.38 * part);
        const double swing = h * (0.15 - 0.08 * part);
        const double phase = random.below(628) / 100.0;
        const double waves = 1.0 + random.below(100) / 100.0;
        QPainterPath hill(QPointF(0, h));
        constexpr int steps = 120;
        for (int i = 0; i <= steps; ++i) {
            const double t = double(i) / steps * 6.28318 * waves + phase;
            const double rise = 0.6 * std::sin(t) + 0.27 * std::sin(2.3 * t + phase) + 0.13 * std::sin(5.1 * t);
            hill.lineTo(w * i / steps, base - swing * rise);
        }
        hill.lineTo(w, h);
        painter.setBrush(mixed(sky.farHills, sky.nearHills, part));
        painter.drawPath(hill);
    }
    painter.restore();
}
