#include "samples/band.h"
#include "samples/chatscript.h"
#include "samples/pages.h"

#include <QFontMetricsF>
#include <QLinearGradient>
#include <QPainterPath>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

struct Theme
{
    QColor ground;
    QColor bar;
    QColor hairline;
    QColor text;
    QColor muted;
    QColor bubble;
    QColor ownBubble;
    QColor ownText;
    QColor accent;
};

const Theme &themeColors(ChatTheme theme)
{
    static const Theme light = {0xf1f3f6, 0xfafbfc, 0xdfe3e8, 0x1b1d21, 0x878d97,
                                0xffffff, 0xd2e6ff, 0x12263f, 0x2f7bf0};
    static const Theme dark = {0x101317, 0x181c21, 0x2a3038, 0xe6e8eb, 0x7f8792,
                               0x242a32, 0x1d4d88, 0xf2f6fb, 0x5b9bff};
    return theme == ChatTheme::Light ? light : dark;
}

struct Message
{
    Said said;
    bool first; // of consecutive messages from the same member
    QStringList lines;
    quint32 picture;
    QRect body; // in the band
};

void paintPhoto(QPainter &painter, const QRectF &rect, int radius, quint32 number)
{
    QPainterPath frame;
    frame.addRoundedRect(rect, radius, radius);
    painter.save();
    painter.setClipPath(frame);
    drawLandscape(painter, rect, number);
    painter.restore();
}

/// All lengths in the code are for a phone 1080 pixels wide.
class ChatPage
{
public:
    ChatPage(Sample &target, const SampleParams &params, ChatTheme chatTheme)
        : sample(target)
        , script(params.english ? englishChat : chineseChat)
        , colors(themeColors(chatTheme))
        , seed(params.seed)
        , scale(target.image.width() / 1080.0)
    {
    }

    void paint();

private:
    int px(double length) const { return std::max(1, qRound(length * scale)); }
    Block nextBlock();
    Block timeBlock(const QString &time) const;
    Block messageBlock(const Said &said, bool first);
    QFont messageFont() const { return textFont(px(40)); }
    QSize bodySize(const Message &message) const;

    void paintMessage(Band &band, const Message &message) const;
    void paintHeader(Band &band) const;
    void paintFooter(Band &band) const;
    void paintAvatar(QPainter &painter, QPointF center, int who) const;
    void paintSmile(QPainter &painter, const QRectF &rect) const;
    void paintVoice(Band &band, const QRectF &bubble, const Said &said) const;
    void paintLink(Band &band, const QRectF &bubble, const QString &text) const;
    void paintBubble(QPainter &painter, const QRectF &rect, bool own, bool first) const;

    Sample &sample;
    const ChatScript &script;
    const Theme &colors;
    quint32 seed;
    double scale;
    size_t position = 0; // of the next entry in the conversation
    int lastWho = -1;
    quint32 photos = 0;
};

void ChatPage::paint()
{
    sample.image.fill(colors.ground);
    const int header = px(212);
    const int footer = px(196);
    const int height = sample.image.height();
    if (height < header + footer) {
        return;
    }
    {
        Band band(sample, 0, header);
        paintHeader(band);
    }
    position = (seed - 1) % script.conversation.size();
    stackBlocks(sample, header + px(10), height - footer - px(36), [this] { return nextBlock(); });
    Band band(sample, height - footer, footer);
    paintFooter(band);
}

Block ChatPage::nextBlock()
{
    const Said &said = script.conversation[position];
    position = (position + 1) % script.conversation.size();
    const int before = std::exchange(lastWho, said.what == Said::Time ? -1 : said.who);
    if (said.what == Said::Time) {
        return timeBlock(QString::fromUtf16(said.text));
    }
    return messageBlock(said, said.who != before);
}

Block ChatPage::timeBlock(const QString &time) const
{
    return {px(104), [this, time](Band &band) {
                const QFont font = textFont(px(31));
                const double x = (band.width() - QFontMetricsF(font).horizontalAdvance(time)) / 2;
                band.drawLine(time, font, colors.muted, x, px(66));
            }};
}

Block ChatPage::messageBlock(const Said &said, bool first)
{
    Message message{said, first, {}, {}, {}};
    if (said.what == Said::Text) {
        message.lines = brokenLines(QString::fromUtf16(said.text), messageFont(), px(684));
    }
    if (said.what == Said::Photo || said.what == Said::TallPhoto) {
        message.picture = seed - 1 + photos++; // successive skies
    }
    const QSize size = bodySize(message);
    const int left = said.who == 0 ? sample.image.width() - px(168) - size.width() : px(168);
    message.body = QRect(QPoint(left, px(first ? 36 : 14) + (first && said.who != 0 ? px(48) : 0)), size);
    const int avatarEnd = first ? px(36 + 110) : 0;
    return {std::max(message.body.top() + size.height(), avatarEnd),
            [this, message](Band &band) { paintMessage(band, message); }};
}

QSize ChatPage::bodySize(const Message &message) const
{
    switch (message.said.what) {
    case Said::Photo:
        return {px(640), px(430)};
    case Said::TallPhoto:
        return {px(430), px(570)};
    case Said::Smile:
        return {px(210), px(210)};
    case Said::Voice:
        return {px(300 + 14 * QString::fromUtf16(message.said.text).toInt()), px(104)};
    case Said::Link:
        return {px(740), px(196)};
    default:
        break;
    }
    double widest = 0;
    for (const QString &line : message.lines) {
        widest = std::max(widest, QFontMetricsF(messageFont()).horizontalAdvance(line));
    }
    return {qRound(widest) + 2 * px(34), int(message.lines.size()) * px(62) + 2 * px(20)};
}

void ChatPage::paintMessage(Band &band, const Message &message) const
{
    const Said &said = message.said;
    const QRectF body = message.body;
    const bool own = said.who == 0;
    QPainter &painter = band.painter();
    if (message.first) {
        paintAvatar(painter, QPointF(own ? band.width() - px(86) : px(86), px(36 + 54)), said.who);
    }
    if (message.first && !own) {
        const QString name = QString::fromUtf16(script.members[size_t(said.who)]);
        band.drawLine(name, textFont(px(30)), colors.muted, body.left() + px(4), px(36 + 18));
    }
    switch (said.what) {
    case Said::Photo:
    case Said::TallPhoto:
        paintPhoto(painter, body, px(26), message.picture);
        return;
    case Said::Smile:
        paintSmile(painter, body);
        return;
    default:
        paintBubble(painter, body, own, message.first);
    }
    if (said.what == Said::Voice) {
        paintVoice(band, body, said);
    } else if (said.what == Said::Link) {
        paintLink(band, body, QString::fromUtf16(said.text));
    }
    double middle = body.top() + px(20) + px(62) / 2.0;
    for (const QString &line : message.lines) {
        band.drawLine(line, messageFont(), own ? colors.ownText : colors.text, body.left() + px(34), middle);
        middle += px(62);
    }
}

void ChatPage::paintHeader(Band &band) const
{
    QPainter &painter = band.painter();
    const int w = band.width();
    painter.fillRect(QRect(0, 0, w, band.height()), colors.bar);
    painter.fillRect(QRect(0, band.height() - px(2), w, px(2)), colors.hairline);
    band.drawLine(u"9:41"_s, textFont(px(38), QFont::Bold), colors.text, px(64), px(48));

    painter.setBrush(colors.text);
    for (int i = 0; i < 4; ++i) { // signal strength
        const int bar = px(12 + 8 * i);
        painter.drawRoundedRect(QRectF(w - px(222 - 15 * i), px(66) - bar, px(10), bar), px(3), px(3));
    }
    const QRectF battery(w - px(140), px(32), px(66), px(34));
    painter.drawRoundedRect(QRectF(battery.right() + px(4), px(43), px(6), px(12)), px(3), px(3));
    painter.drawRoundedRect(battery.adjusted(px(6), px(6), -px(18), -px(6)), px(4), px(4));
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(colors.text, px(3)));
    painter.drawRoundedRect(battery, px(10), px(10));

    const QFont font = textFont(px(46), QFont::Bold);
    const QString title = QString::fromUtf16(script.groupName);
    band.drawLine(title, font, colors.text, (w - QFontMetricsF(font).horizontalAdvance(title)) / 2, px(148));
    painter.setPen(QPen(colors.text, px(6), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPolyline(QPolygon({{px(72), px(126)}, {px(50), px(148)}, {px(72), px(170)}}));
    painter.setPen(Qt::NoPen);
    painter.setBrush(colors.text);
    for (int i = 0; i < 3; ++i) {
        painter.drawEllipse(QPointF(w - px(98) + px(22) * i, px(148)), px(5), px(5));
    }
}

void ChatPage::paintFooter(Band &band) const
{
    QPainter &painter = band.painter();
    const int w = band.width();
    painter.fillRect(QRect(0, 0, w, band.height()), colors.bar);
    painter.fillRect(QRect(0, 0, w, px(2)), colors.hairline);
    painter.setBrush(colors.bubble);
    painter.setPen(QPen(colors.hairline, px(2)));
    const QRectF field(px(128), px(26), w - px(128) - px(224), px(92));
    painter.drawRoundedRect(field, px(46), px(46));
    band.drawLine(QString::fromUtf16(script.prompt), textFont(px(38)), colors.muted, field.left() + px(36),
                  field.center().y());

    painter.setBrush(Qt::NoBrush);
    const QPen pen(colors.text, px(5), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    painter.setPen(pen);
    const double y = field.center().y();
    const double r = px(34);
    for (const double x : {px(72) + 0.0, w - px(166) + 0.0, w - px(72) + 0.0}) {
        painter.drawEllipse(QPointF(x, y), r, r);
    }
    for (const double dx : {-0.35, 0.0, 0.35}) { // the microphone's waves
        const double half = dx == 0.0 ? 0.45 * r : 0.22 * r;
        painter.drawLine(QPointF(px(72) + dx * r, y - half), QPointF(px(72) + dx * r, y + half));
    }
    const QPointF smile(w - px(166), y);
    painter.drawArc(QRectF(smile.x() - 0.5 * r, smile.y() - 0.5 * r, r, r), 200 * 16, 140 * 16);
    painter.drawPoint(smile + QPointF(-0.33 * r, -0.25 * r));
    painter.drawPoint(smile + QPointF(0.33 * r, -0.25 * r));
    const QPointF plus(w - px(72), y);
    painter.drawLine(plus - QPointF(0.45 * r, 0), plus + QPointF(0.45 * r, 0));
    painter.drawLine(plus - QPointF(0, 0.45 * r), plus + QPointF(0, 0.45 * r));

    painter.setPen(Qt::NoPen);
    painter.setBrush(colors.text);
    painter.drawRoundedRect(QRectF(w / 2.0 - px(190), px(164), px(380), px(12)), px(6), px(6));
}

void ChatPage::paintAvatar(QPainter &painter, QPointF center, int who) const
{
    const double r = px(54);
    const QColor ground = QColor::fromHsv((210 + 77 * who + int(seed % 360) - 1) % 360, 105, 215);
    QPainterPath disc;
    disc.addEllipse(center, r, r);
    painter.save();
    painter.setClipPath(disc);
    QLinearGradient shade(center - QPointF(0, r), center + QPointF(0, r));
    shade.setColorAt(0, ground.lighter(112));
    shade.setColorAt(1, ground.darker(108));
    painter.fillRect(QRectF(center - QPointF(r, r), QSizeF(2 * r, 2 * r)), shade);
    painter.setBrush(ground.darker(260)); // hair, then coat and face
    if (who == 1 || who == 2) {
        painter.drawEllipse(center + QPointF(0, -0.02 * r), 0.46 * r, 0.55 * r);
    } else {
        painter.drawEllipse(center + QPointF(0, -0.24 * r), 0.42 * r, 0.40 * r);
    }
    painter.setBrush(QColor(0xfdf6ee));
    painter.drawEllipse(center + QPointF(0, 1.08 * r), 0.78 * r, 0.66 * r);
    painter.setBrush(QColor(0xf6d3b5));
    painter.drawEllipse(center + QPointF(0, -0.08 * r), 0.33 * r, 0.38 * r);
    painter.restore();
}

void ChatPage::paintSmile(QPainter &painter, const QRectF &rect) const
{
    const QPointF center = rect.center();
    const double r = 0.46 * rect.width();
    QLinearGradient skin(rect.topLeft(), rect.bottomLeft());
    skin.setColorAt(0, 0xffe680);
    skin.setColorAt(1, 0xffbf3f);
    painter.setBrush(skin);
    painter.drawEllipse(center, r, r);
    painter.setBrush(QColor(0xff9a6b));
    painter.drawEllipse(center + QPointF(-0.6 * r, 0.15 * r), 0.16 * r, 0.11 * r);
    painter.drawEllipse(center + QPointF(0.6 * r, 0.15 * r), 0.16 * r, 0.11 * r);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor(0x5a3a17), 0.09 * r, Qt::SolidLine, Qt::RoundCap));
    for (const double x : {-0.36, 0.36}) { // laughing eyes
        painter.drawArc(QRectF(center.x() + x * r - 0.16 * r, center.y() - 0.36 * r, 0.32 * r, 0.34 * r), 0, 180 * 16);
    }
    painter.drawArc(QRectF(center.x() - 0.5 * r, center.y() - 0.42 * r, r, r), 205 * 16, 130 * 16);
    painter.setPen(Qt::NoPen);
}

void ChatPage::paintVoice(Band &band, const QRectF &bubble, const Said &said) const
{
    QPainter &painter = band.painter();
    const QString seconds = QString::fromUtf16(said.text);
    const QFont font = textFont(px(38));
    const double y = bubble.center().y();
    painter.setBrush(colors.accent);
    const double left = bubble.left() + px(36);
    painter.drawPolygon(QPolygonF({{left, y - px(20)}, {left + px(32), y}, {left, y + px(20)}}));
    Random random(seed + seconds.toUInt());
    const double end = bubble.right() - px(124);
    for (double x = left + px(60); x < end; x += px(15)) {
        const int half = px(8 + random.below(20));
        painter.drawRoundedRect(QRectF(x, y - half, px(6), 2 * half), px(3), px(3));
    }
    band.drawLine(seconds + u'″', font, colors.muted, bubble.right() - px(96), y);
}

void ChatPage::paintLink(Band &band, const QRectF &bubble, const QString &text) const
{
    const QRectF thumb(bubble.left() + px(28), bubble.top() + px(28), px(140), px(140));
    paintPhoto(band.painter(), thumb, px(18), seed + quint32(text.size()));
    const QFont titleFont = textFont(px(38), QFont::Bold);
    const double x = thumb.right() + px(28);
    band.drawLine(text.section(u'|', 0, 0), titleFont, colors.text, x, bubble.top() + px(68));
    band.drawLine(text.section(u'|', 1), textFont(px(29)), colors.muted, x, bubble.top() + px(130));
}

void ChatPage::paintBubble(QPainter &painter, const QRectF &rect, bool own, bool first) const
{
    const double r = px(30);
    QPainterPath path;
    path.setFillRule(Qt::WindingFill);
    path.addRoundedRect(rect, r, r);
    if (first) { // with a sharp corner next to the avatar
        const double s = px(8);
        path.addRoundedRect(QRectF(own ? rect.right() - r : rect.left(), rect.top(), r, r), s, s);
    }
    painter.setBrush(own ? colors.ownBubble : colors.bubble);
    painter.drawPath(path.simplified());
}

} // namespace

void paintChat(Sample &sample, const SampleParams &params, ChatTheme theme)
{
    ChatPage(sample, params, theme).paint();
}
