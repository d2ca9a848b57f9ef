#include "samples/band.h"
#include "samples/pages.h"

#include <QFontMetricsF>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

constexpr std::array headings = {
    u"清晨的河岸", u"A short history of the towpath", u"沿途的植物", u"How we counted the birds",
    u"雨后的集市", u"Notes on light and weather",     u"傍晚的桥",   u"What to bring next time",
};

constexpr std::array englishHeadings = {
    u"The bank in the morning",   u"A short history of the towpath", u"Plants along the way",
    u"How we counted the birds",  u"The market after the rain",      u"Notes on light and weather",
    u"The bridge in the evening", u"What to bring next time",
};

constexpr std::array sentences = {
    u"天刚亮的时候，河面上有一层薄薄的雾，远处的桥只剩下一个轮廓。",
    u"走在石板路上，能听见水流声，还有早起的人打开木窗的声音。",
    u"这条路修建于一百多年前，最初是为了让马匹牵引货船。",
    u"岸边的柳树刚刚发芽，颜色很浅，在阳光下几乎是透明的。",
    u"我们每走五百米停一次，记下看到的鸟，再把数字写进表格。",
    u"雨停之后，集市又热闹起来，卖茶的老人把炉子重新点着。",
    u"下午的光线最适合拍照，墙上的影子一直延伸到台阶。",
    u"如果时间充足，可以在渡口坐船回来，全程大约四十分钟。",
};

constexpr std::array englishSentences = {
    u"The path follows the old canal for nine kilometres and never leaves the shade for long.",
    u"Early in the morning the only traffic is a heron, two rowing boats and the baker's van.",
    u"We measured the width of the water at twelve places and found it surprisingly constant.",
    u"A wooden sign explains how the locks were built, and who paid for the second bridge.",
    u"Past the mill the ground becomes soft, so take shoes that do not mind a little mud.",
    u"By noon the clouds had lifted, and the hills on the far side came out one by one.",
    u"Bring a thermos, a notebook and enough time to sit down wherever the view is good.",
    u"The last stretch is the quietest: reeds on the left, gardens on the right.",
};

constexpr std::array codeLines = {
    u"counts = {}",
    u"for place, birds in walk.stops():",
    u"    counts[place] = len(birds)",
    u"",
    u"best = max(counts, key=counts.get)",
    u"print(f\"most birds at {best}\")",
};

/// All lengths in the code are for a page 1080 pixels wide.
class ArticlePage
{
public:
    ArticlePage(Sample &target, const SampleParams &params, ArticleStyle articleStyle)
        : sample(target)
        , style(articleStyle)
        , english(params.english)
        , random(params.seed)
        , scale(target.image.width() / 1080.0)
    {
    }

    void paint();

private:
    int px(double length) const { return std::max(1, qRound(length * scale)); }
    int textWidth() const { return sample.image.width() - 2 * px(96); }
    Block nextBlock();
    Block textBlock(const QString &text, const QFont &font, int lineHeight, int above, QColor color = 0x22262b) const;
    Block quoteBlock(const QString &text) const;
    Block pictureBlock(const QString &caption, quint32 seed) const;
    Block codeBlock() const;
    QString paragraph();

    Sample &sample;
    ArticleStyle style;
    bool english;
    Random random;
    double scale;
    int count = 0; // blocks so far
};

void ArticlePage::paint()
{
    sample.image.fill(Qt::white);
    const int width = sample.image.width();
    if (style == ArticleStyle::Cutout) {
        sample.image.fill(Qt::transparent);
        const int margin = px(40);
        for (int y = 0; y < sample.image.height(); ++y) {
            auto *row = reinterpret_cast<QRgb *>(sample.image.scanLine(y));
            std::fill(row + std::min(margin, width), row + std::max(margin, width - margin), 0xffffffff);
        }
    }
    stackBlocks(sample, 0, sample.image.height() - px(80), [this] { return nextBlock(); });
}

Block ArticlePage::nextBlock()
{
    const int step = count++;
    if (step == 0) {
        return textBlock(english ? u"A Day by the River"_s : u"河边的一天 · A Day by the River"_s,
                         textFont(px(54), QFont::Bold), px(84), px(110));
    }
    if (step == 1) {
        const QString byline =
            english ? u"The river walkers  ·  8 min read"_s : u"文字与图片：河岸散步小组  ·  8 min read"_s;
        return textBlock(byline, textFont(px(32)), px(52), px(20), 0x7d848e);
    }
    const auto part = size_t(step - 2);
    const QString heading = QString::fromUtf16((english ? englishHeadings : headings)[part / 6 % headings.size()]);
    switch (part % 6) {
    case 0:
        return textBlock(heading, textFont(px(48), QFont::Bold), px(72), px(72));
    case 2:
        if (style != ArticleStyle::TextOnly) {
            return pictureBlock(heading, random.next());
        }
        break;
    case 4:
        if (style != ArticleStyle::TextOnly) {
            return part / 6 % 2 == 0
                ? codeBlock()
                : quoteBlock(QString::fromUtf16((english ? englishSentences : sentences)[part / 6 % 8]));
        }
        break;
    default:
        break;
    }
    return textBlock(paragraph(), textFont(px(38)), px(64), px(34));
}

Block ArticlePage::textBlock(const QString &text, const QFont &font, int lineHeight, int above, QColor color) const
{
    const QStringList lines = brokenLines(text, font, textWidth());
    return {above + int(lines.size()) * lineHeight, [=, this](Band &band) {
                double middle = above + lineHeight / 2.0;
                for (const QString &line : lines) {
                    band.drawLine(line, font, color, px(96), middle);
                    middle += lineHeight;
                }
            }};
}

Block ArticlePage::quoteBlock(const QString &text) const
{
    const QFont font = textFont(px(40));
    const QStringList lines = brokenLines(text, font, textWidth() - px(60));
    const int lineHeight = px(68);
    const int above = px(56);
    return {above + int(lines.size()) * lineHeight + px(16), [=, this](Band &band) {
                band.painter().fillRect(QRect(px(96), above, px(8), int(lines.size()) * lineHeight), QColor(0x4f9d82));
                double middle = above + lineHeight / 2.0;
                for (const QString &line : lines) {
                    band.drawLine(line, font, 0x4a5560, px(96 + 48), middle);
                    middle += lineHeight;
                }
            }};
}

Block ArticlePage::pictureBlock(const QString &caption, quint32 seed) const
{
    const int above = px(48);
    const QSize size(textWidth(), px(520));
    return {above + size.height() + px(76), [=, this](Band &band) {
                drawLandscape(band.painter(), QRectF(QPointF(px(96), above), size), seed);
                const QFont font = textFont(px(29));
                const double x = (band.width() - QFontMetricsF(font).horizontalAdvance(caption)) / 2;
                band.drawLine(caption, font, 0x7d848e, x, above + size.height() + px(42));
            }};
}

Block ArticlePage::codeBlock() const
{
    const QFont font = codeFont(px(32));
    const int lineHeight = px(54);
    const int above = px(48);
    const int inside = int(codeLines.size()) * lineHeight + 2 * px(32);
    return {above + inside + px(14), [=, this](Band &band) {
                band.painter().setBrush(QColor(0xf2f4f7));
                band.painter().drawRoundedRect(QRectF(px(96), above, textWidth(), inside), px(16), px(16));
                double middle = above + px(32) + lineHeight / 2.0;
                for (const char16_t *line : codeLines) {
                    band.drawLine(QString::fromUtf16(line), font, 0x2b4a78, px(96 + 36), middle);
                    middle += lineHeight;
                }
            }};
}

QString ArticlePage::paragraph()
{
    const bool inEnglish = random.below(2) == 0 || english;
    int index = random.below(8);
    QStringList picked;
    for (int left = 3 + random.below(3); left > 0; --left) {
        picked.append(QString::fromUtf16((inEnglish ? englishSentences : sentences)[size_t(index)]));
        index = (index + 1 + random.below(2)) % 8;
    }
    return picked.join(inEnglish ? u" "_s : QString());
}

} // namespace

void paintArticle(Sample &sample, const SampleParams &params, ArticleStyle style)
{
    ArticlePage(sample, params, style).paint();
}
