// The cuts that the calm rule chose in a few hundred drawn pages when its cuts were last
// counted (docs/cuts.md). They are not right in themselves, but any change of the rule
// that moves one of them shows. After a change that is wanted, write them again:
//
//     tst_calmchoices --record

#include "pixels/calmrow.h"
#include "support/calmcuts.h"
#include "support/testmain.h"

#include <QFile>

#include <algorithm>
#include <array>
#include <random>

using namespace Qt::StringLiterals;

namespace {

constexpr int pageCount = 400;

// More pages, on which small changes of the rule show that do not show on those.
constexpr std::array<quint32, 3> rarePages{1328, 4303, 4404};

QString recordPath()
{
    return QFINDTESTDATA("calmchoices.tsv");
}

/// A page of lines of text, pictures, rules and other things in random order. Its pixels
/// depend on the seed alone, not on fonts or on how a painter smooths edges. No expression
/// draws two random numbers without an order.
class Page
{
public:
    explicit Page(quint32 seed)
        : random(seed)
        , image(width(), 560, QImage::Format_RGB32)
        , ground(color())
        , roughness(oneIn(3) ? below(9) : 0)
        , isSlanted(oneIn(6))
    {
        drawGround(0, image.height());
        for (int y = below(20); y < image.height();) {
            y = drawPart(y) + gap();
        }
    }

    const QImage &picture() const { return image; }

private:
    using Channels = std::array<int, 3>;

    int below(int end) { return int(random() % quint32(end)); }
    bool oneIn(int count) { return below(count) == 0; }
    int width()
    {
        const int least = std::array{60, 150, 320, 640}.at(size_t(below(4)));
        return least + below(40);
    }
    int gap() { return oneIn(3) ? below(6) : below(30); }
    Channels color() { return {below(256), below(256), below(256)}; }

    void set(int x, int y, const Channels &color)
    {
        const auto level = [&](size_t i) { return std::clamp(color[i], 0, 255); };
        image.setPixel(x, y, qRgb(level(0), level(1), level(2)));
    }

    Channels raised(const Channels &color, int step) const
    {
        return {color[0] + step, color[1] + step, color[2] + step};
    }

    void fill(int left, int right, int top, int bottom, const Channels &color)
    {
        for (int y = std::max(0, top); y < std::min(bottom, image.height()); ++y) {
            for (int x = std::max(0, left); x < std::min(right, image.width()); ++x) {
                set(x, y, color);
            }
        }
    }

    void drawGround(int top, int bottom)
    {
        for (int y = top; y < bottom; ++y) {
            for (int x = 0; x < image.width(); ++x) {
                const int noise = roughness > 0 ? below(2 * roughness + 1) - roughness : 0;
                set(x, y, raised(ground, noise + (isSlanted ? y / 12 : 0)));
            }
        }
    }

    /// Returns the row below the part.
    int drawPart(int y)
    {
        switch (below(9)) {
        case 0:
            return drawPhoto(0, image.width(), y, y + 20 + below(160));
        case 1:
            return drawTwoPhotos(y);
        case 2:
            return drawRule(y);
        case 3:
            return drawSky(y);
        case 4:
            return drawPanel(y);
        case 5:
            return drawStems(y);
        default:
            return drawLines(y);
        }
    }

    int drawRule(int y)
    {
        const int left = below(image.width() / 4 + 1);
        const int right = image.width() - below(image.width() / 4 + 1);
        const int thickness = 1 + below(6);
        fill(left, right, y, y + thickness, color());
        return y + 8;
    }

    /// Marks as wide as the strokes of letters, now and then in two columns.
    int drawLines(int top)
    {
        const Channels ink = color();
        const int height = 6 + below(16);
        const int pitch = height + below(14);
        const int columns = oneIn(4) ? 2 : 1;
        const int count = 1 + below(8);
        for (int column = 0; column < columns; ++column) {
            const int left = image.width() * column / columns + 4;
            const int right = image.width() * (column + 1) / columns - 4 - below(image.width() / 3);
            const int shift = column * below(pitch);
            for (int line = 0; line < count; ++line) {
                const int y = top + line * pitch + shift;
                for (int x = left; x < right; x += 2 + below(9)) {
                    const int stroke = 1 + below(3);
                    const int first = y + below(height / 2);
                    const int end = y + height - below(height / 3 + 1);
                    fill(x, x + stroke, first, oneIn(8) ? end + 2 : end, ink); // some go below the line
                }
            }
        }
        return top + count * pitch;
    }

    int drawPhoto(int left, int right, int top, int bottom)
    {
        const Channels base = color();
        const int block = 4 + below(30);
        const int depth = 10 + below(90);
        const int noise = 1 + below(8);
        const int salt = below(97);
        for (int y = top; y < std::min(bottom, image.height()); ++y) {
            for (int x = left; x < right; ++x) {
                const int place = (x / block * 37 + (y + x / 3) / block * 11 + salt) % 23;
                set(x, y, raised(base, place * depth / 23 + below(noise)));
            }
        }
        return bottom;
    }

    /// Side by side, of which one may end higher; and often one right below.
    int drawTwoPhotos(int y)
    {
        const int middle = image.width() / 4 + below(image.width() / 2);
        const int bottom = y + 30 + below(120);
        drawPhoto(0, middle, y, bottom - (oneIn(2) ? below(20) : 0));
        drawPhoto(middle, image.width(), y, bottom);
        return oneIn(2) ? drawPhoto(0, image.width(), bottom, bottom + 20 + below(90)) : bottom;
    }

    /// Each row is a little lighter than the one above.
    int drawSky(int y)
    {
        const Channels base = color();
        const int height = 30 + below(120);
        const int rows = 1 + below(4);
        for (int i = 0; i < height; ++i) {
            fill(0, image.width(), y + i, y + i + 1, raised(base, i / rows));
        }
        return y + height;
    }

    /// A frame around a flat picture or a photo.
    int drawPanel(int y)
    {
        const int thickness = 1 + below(5);
        const int bottom = y + 40 + below(120);
        const int rim = below(12);
        fill(rim, image.width() - rim, y, bottom, color());
        if (oneIn(2)) {
            drawPhoto(rim + thickness, image.width() - rim - thickness, y + thickness, bottom - thickness);
        } else {
            fill(rim + thickness, image.width() - rim - thickness, y + thickness, bottom - thickness, color());
            drawLines(y + thickness + 4);
        }
        return bottom;
    }

    /// Equal rows that are not blank.
    int drawStems(int y)
    {
        const Channels ink = color();
        const int height = 3 + below(60);
        const int step = 3 + below(30);
        for (int x = below(step); x < image.width(); x += step) {
            fill(x, x + 1 + below(3), y, y + height, ink);
        }
        return y + height;
    }

    std::mt19937 random;
    QImage image;
    Channels ground;
    int roughness; ///< the highest step of the noise of the ground
    bool isSlanted; ///< the ground becomes lighter to the bottom
};

/// The line of the record for the page of \a seed.
QString choiceOn(quint32 seed)
{
    const Page page(seed);
    const CutPlace place = cutPlace(250 + double(seed % 7) * 10, 120 + double(seed % 11) * 20);
    return u"%1\t%2"_s.arg(seed).arg(described(calmRow(page.picture(), place)));
}

QStringList choices()
{
    QStringList lines;
    for (quint32 seed = 1; seed <= pageCount; ++seed) {
        lines.append(choiceOn(seed));
    }
    for (const quint32 seed : rarePages) {
        lines.append(choiceOn(seed));
    }
    return lines;
}

} // namespace

class TestCalmChoices : public QObject
{
    Q_OBJECT

private slots:
    void choosesTheRecordedRows();
    void meetsAllKindsOfGround();
};

void TestCalmChoices::choosesTheRecordedRows()
{
    QFile file(recordPath());
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QStringList recorded = QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
    QCOMPARE(choices(), recorded);
}

void TestCalmChoices::meetsAllKindsOfGround()
{
    QFile file(recordPath());
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QString record = QString::fromUtf8(file.readAll());
    for (const int ground : {CalmRow::Clear, CalmRow::Busy, CalmRow::Edge, CalmRow::Content}) {
        QVERIFY2(record.count(u"ground %1\n"_s.arg(ground)) >= pageCount / 50, qPrintable(QString::number(ground)));
    }
}

int main(int argc, char *argv[])
{
    if (argc == 2 && QByteArray(argv[1]) == "--record") {
        QFile file(recordPath());
        const QByteArray text = choices().join(u'\n').toUtf8() + '\n';
        return file.open(QIODevice::WriteOnly) && file.write(text) == text.size() ? 0 : 1;
    }
    const PrivateHome home;
    const QApplication app(argc, argv);
    TestCalmChoices test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_calmchoices.moc"
