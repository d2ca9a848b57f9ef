// What holds for the calm row of any picture.

#include "pixels/calmrow.h"
#include "support/calmcuts.h"
#include "support/pictures.h"
#include "support/testmain.h"

#include <QLinearGradient>
#include <QPainter>
#include <QRandomGenerator>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

constexpr int pictureHeight = 900;
constexpr int lowest = 40; // the levels of a channel leave room for a constant
constexpr int highest = 215;

QColor someColor(QRandomGenerator &random, int alpha = 255)
{
    const auto level = [&random] { return random.bounded(lowest, highest + 1); };
    return {level(), level(), level(), alpha};
}

/// Marks of a few pixels in lines of random height, with gaps of random height.
void drawLines(QImage &image, QRandomGenerator &random, int alpha)
{
    QPainter painter(&image);
    for (int y = 0; y < image.height(); y += random.bounded(2, 50)) {
        const int height = random.bounded(2, 40);
        const QColor ink = someColor(random, alpha);
        for (int x = random.bounded(20); x < image.width(); x += random.bounded(3, 12)) {
            painter.fillRect(x, y + random.bounded(4), random.bounded(1, 4), height, ink);
        }
        y += height;
    }
}

QImage linesOfText(QRandomGenerator &random, int width)
{
    QImage image(width, pictureHeight, QImage::Format_RGB32);
    image.fill(someColor(random));
    drawLines(image, random, 255);
    return image;
}

/// Pictures that touch each other, with smooth colors and a little noise.
QImage stackOfPictures(QRandomGenerator &random, int width)
{
    QImage image(width, pictureHeight, QImage::Format_RGB32);
    QPainter painter(&image);
    for (int y = 0; y < pictureHeight;) {
        const int height = random.bounded(60, 500);
        QLinearGradient gradient(0, y, width, y + height);
        gradient.setColorAt(0, someColor(random));
        gradient.setColorAt(1, someColor(random));
        painter.fillRect(0, y, width, height, gradient);
        y += height;
    }
    painter.end();
    drawLines(image, random, random.bounded(60));
    return image;
}

QImage translucentLines(QRandomGenerator &random, int width)
{
    QImage image(width, pictureHeight, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    drawLines(image, random, random.bounded(40, 256));
    return image;
}

QImage noise(QRandomGenerator &random, int width)
{
    QImage image(width, pictureHeight, QImage::Format_RGB32);
    const int height = random.bounded(1, 12);
    for (int y = 0; y < pictureHeight; ++y) {
        const bool isBlank = y / height % 7 == 3;
        for (int x = 0; x < width; ++x) {
            image.setPixelColor(x, y, isBlank ? QColor(90, 90, 90) : someColor(random));
        }
    }
    return image;
}

struct Painter
{
    const char *name;
    QImage (*paint)(QRandomGenerator &random, int width);
    bool isOpaque;
};
const std::array painters{Painter{"text", linesOfText, true}, Painter{"pictures", stackOfPictures, true},
                          Painter{"noise", noise, true}, Painter{"translucent", translucentLines, false}};

void pictures(bool onlyOpaque)
{
    QTest::addColumn<QImage>("image");
    for (const Painter &painter : painters) {
        for (quint32 seed = 1; seed <= 12 && (painter.isOpaque || !onlyOpaque); ++seed) {
            QRandomGenerator random(seed);
            QTest::addRow("%s, seed %u", painter.name, seed) << painter.paint(random, random.bounded(20, 500));
        }
    }
}

/// The cuts of a picture in strips of different height.
QStringList cuts(const QImage &image)
{
    QStringList found;
    for (const double height : {90.0, 220.0, 430.0}) {
        for (double regular = height; regular < image.height(); regular += height) {
            found.append(described(calmRow(image, cutPlace(regular, height))));
        }
    }
    return found;
}

} // namespace

class TestCalmProperties : public QObject
{
    Q_OBJECT

private slots:
    void keepsWithinReach_data() { pictures(false); }
    void keepsWithinReach();
    void ignoresMirroring_data() { pictures(false); }
    void ignoresMirroring();
    void ignoresAConstant_data() { pictures(true); }
    void ignoresAConstant();
    void ignoresTheFormat_data();
    void ignoresTheFormat();
};

void TestCalmProperties::keepsWithinReach()
{
    QFETCH(QImage, image);
    for (int regular = -50; regular < pictureHeight + 300; regular += 41) {
        for (const double height : {2.0, 60.0, 300.0, 2000.0}) {
            const CutPlace place = cutPlace(regular, height);
            const CalmRow cut = calmRow(image, place);
            QVERIFY2(std::abs(cut.row - place.regular) <= place.far,
                     qPrintable(u"%1 for %2, height %3"_s.arg(described(cut)).arg(regular).arg(height)));
        }
    }
}

void TestCalmProperties::ignoresMirroring()
{
    QFETCH(QImage, image);
    QCOMPARE(cuts(image.mirrored(true, false)), cuts(image));
}

void TestCalmProperties::ignoresAConstant()
{
    QFETCH(QImage, image);
    for (const int step : {-lowest, -7, 1, 255 - highest}) {
        QCOMPARE(cuts(brightened(image, step)), cuts(image));
    }
}

void TestCalmProperties::ignoresTheFormat_data()
{
    QTest::addColumn<QImage::Format>("format");
    for (const QImage::Format format :
         directFormats() + QList{QImage::Format_Indexed8, QImage::Format_Mono, QImage::Format_MonoLSB}) {
        QTest::addRow("%s", formatName(format)) << format;
    }
}

void TestCalmProperties::ignoresTheFormat()
{
    QFETCH(QImage::Format, format);
    for (const Painter &painter : painters) {
        for (quint32 seed = 1; seed <= 3; ++seed) {
            QRandomGenerator random(seed);
            // After the conversion, however it rounds, both hold the same pixels.
            const QImage stored = painter.paint(random, 200).convertToFormat(format);
            QCOMPARE(cuts(stored), cuts(stored.convertToFormat(QImage::Format_ARGB32)));
        }
    }
}

QUILLMARCH_TEST_MAIN(TestCalmProperties)
#include "tst_calmproperties.moc"
