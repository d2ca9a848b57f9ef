#include "samples/band.h"
#include "samples/pages.h"

#include <QFontMetricsF>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

constexpr std::array titles = {u"日期 Date", u"地点 Place", u"鸟类 Bird", u"数量", u"天气", u"备注 Note"};
constexpr std::array edges = {0.0, 0.17, 0.39, 0.58, 0.66, 0.75, 1.0}; // of the columns, as shares of the table's width
constexpr std::array places = {u"旧桥 Old bridge", u"渡口 Ferry", u"磨坊 The mill", u"芦苇荡 Reeds", u"船闸 Lock"};
constexpr std::array birds = {u"白鹭 Egret", u"翠鸟 Kingfisher", u"苍鹭 Heron", u"绿头鸭 Mallard", u"燕子 Swallow"};
constexpr std::array weathers = {u"晴", u"多云", u"小雨", u"雾"};
constexpr std::array notes = {u"", u"两只幼鸟 two young", u"在飞 in flight", u"清晨 early", u""};

constexpr int rowsPerHeading = 24; // then the titles are repeated

/// All lengths in the code are for a page 1080 pixels wide.
class TablePage
{
public:
    TablePage(Sample &target, quint32 seed)
        : sample(target)
        , random(seed)
        , scale(target.image.width() / 1080.0)
    {
    }

    void paint()
    {
        sample.image.fill(Qt::white);
        stackBlocks(sample, px(48), sample.image.height() - px(48), [this] { return nextRow(); });
    }

private:
    int px(double length) const { return std::max(1, qRound(length * scale)); }
    Block nextRow();
    Block rowBlock(const QStringList &cells, const QFont &font, QColor ground) const;

    Sample &sample;
    Random random;
    double scale;
    int count = 0; // rows so far
};

template <typename Texts>
QString oneOf(const Texts &texts, Random &random)
{
    return QString::fromUtf16(texts[size_t(random.below(int(texts.size())))]);
}

Block TablePage::nextRow()
{
    const int row = count++;
    QStringList cells;
    if (row % (rowsPerHeading + 1) == 0) {
        for (const char16_t *title : titles) {
            cells.append(QString::fromUtf16(title));
        }
        return rowBlock(cells, textFont(px(25), QFont::Bold), 0xdfe8f0);
    }
    cells.append(u"2024-%1-%2"_s.arg(1 + row / 28 % 12, 2, 10, QChar(u'0')).arg(1 + row % 28, 2, 10, QChar(u'0')));
    cells.append(oneOf(places, random));
    cells.append(oneOf(birds, random));
    cells.append(QString::number(1 + random.below(60)));
    cells.append(oneOf(weathers, random));
    cells.append(oneOf(notes, random));
    return rowBlock(cells, textFont(px(25)), row % 2 == 0 ? QColor(0xf4f6f8) : QColor(Qt::white));
}

Block TablePage::rowBlock(const QStringList &cells, const QFont &font, QColor ground) const
{
    const int height = px(56);
    return {height, [=, this](Band &band) {
                const int left = px(40);
                const int width = band.width() - 2 * left;
                band.painter().fillRect(QRect(left, 0, width, height), ground);
                band.painter().fillRect(QRect(left, height - 1, width, 1), QColor(0xb8c2cc));
                for (size_t i = 0; i < edges.size() - 1; ++i) {
                    const double x = left + edges[i] * width + px(12);
                    const double room = left + edges[i + 1] * width - x;
                    const QString text = QFontMetricsF(font).elidedText(cells[qsizetype(i)], Qt::ElideRight, room);
                    band.drawLine(text, font, 0x22262b, x, (height - 1) / 2.0);
                }
            }};
}

} // namespace

void paintTable(Sample &sample, quint32 seed)
{
    TablePage(sample, seed).paint();
}
