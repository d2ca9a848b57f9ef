#include "pixels/averagedrows.h"
#include "pixels/calmrow.h"
#include "pixels/rowchanges.h"
#include "support/calmcuts.h"
#include "support/pictures.h"
#include "support/plainprofile.h"
#include "support/testmain.h"

#include <QPainter>
#include <QRandomGenerator>

#include <algorithm>
#include <array>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

const std::array widths{1, 2, 7, 8, 21, 31, 32, 33, 63, 64, 65, 255, 257, 1080, 2049};

// Two strips of 500 rows, so that the window is 425 to 575 and the reach 400 to 600.
const CutPlace middle{500, 75, 100};

std::vector<uchar> randomBytes(qsizetype length, QRandomGenerator &random)
{
    std::vector<uchar> bytes(static_cast<size_t>(length));
    std::generate(bytes.begin(), bytes.end(), [&random] { return uchar(random.bounded(256)); });
    return bytes;
}

/// The rounded average of channel \a i of a row in the square at \a y.
int plainAverage(const QImage &rows, int bytes, int i, int y)
{
    int sum = averagedSide * averagedSide / 2;
    for (int below = 0; below < averagedSide; ++below) {
        for (int right = 0; right < averagedSide; ++right) {
            sum += rows.constScanLine(y + below)[i + right * bytes];
        }
    }
    return sum / (averagedSide * averagedSide);
}

/// Marks as letters make them, in the rows from \a first to \a end, exclusive.
void drawMarks(QImage &image, int first, int end, QRgb color)
{
    QRandomGenerator random(quint32(first) + 1);
    for (int y = first; y < end; ++y) {
        for (int x = image.width() / 10; x < image.width() * 9 / 10; x += 2 + int(random.bounded(5))) {
            image.setPixel(x, y, color);
        }
    }
}

/// Lines of text from row to row without a gap, but for the rows of \a gap.
QImage textWithGap(int first, int end, QRgb ground = qRgb(255, 255, 255), QRgb ink = qRgb(20, 20, 20))
{
    QImage image(300, 1000, QImage::Format_RGB32);
    image.fill(ground);
    drawMarks(image, 0, first, ink);
    drawMarks(image, end, 1000, ink);
    return image;
}

/// Stripes of text and noise at random, with all levels from 40 to 215.
QImage randomPage(quint32 seed)
{
    QRandomGenerator random(seed);
    QImage image(int(random.bounded(60, 400)), 1000, QImage::Format_RGB32);
    const int ground = int(random.bounded(60, 200));
    image.fill(qRgb(ground, ground, ground));
    for (int y = 0; y < 980; y += int(random.bounded(4, 60))) {
        const int end = std::min(1000, y + int(random.bounded(3, 40)));
        drawMarks(image, y, end, qRgb(random.bounded(40, 215), random.bounded(40, 215), random.bounded(40, 215)));
        y = end;
    }
    const int noise = int(random.bounded(3)) * 4;
    for (int y = 0; y < image.height() && noise > 0; ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const int step = int(random.bounded(noise)) - noise / 2;
            const QRgb pixel = image.pixel(x, y);
            image.setPixel(x, y, qRgb(qRed(pixel) + step, qGreen(pixel) + step, qBlue(pixel) + step));
        }
    }
    return image;
}

/// The level \a level with up to \a grain more or less.
QRgb grainy(int level, int grain, QRandomGenerator &random)
{
    const auto channel = [&] { return std::clamp(level + int(random.bounded(2 * grain + 1)) - grain, 0, 255); };
    return qRgb(channel(), channel(), channel());
}

/// Fills rows with what a photo has there: blocks of levels from \a darkest on, and
/// noise.
void drawPhoto(QImage &image, int first, int end, int darkest)
{
    QRandomGenerator random{quint32(darkest)};
    std::array<int, 64> levels{};
    std::generate(levels.begin(), levels.end(), [&] { return int(random.bounded(darkest, darkest + 90)); });
    for (int y = first; y < end; ++y) {
        for (int x = 0; x < image.width(); ++x) {
            image.setPixel(x, y, grainy(levels[size_t(x / 17 + y / 23 * 5) % levels.size()], 6, random));
        }
    }
}

/// A sky without noise from row \a top, above hills; it changes every \a pitch rows.
void drawSky(QImage &image, int top, int pitch)
{
    QRandomGenerator random(3);
    int hill = 0;
    for (int x = 0; x < image.width(); ++x) {
        hill = std::clamp(hill + int(random.bounded(5)) - 2, 0, 16);
        for (int y = top; y < top + 48 - hill; ++y) {
            image.setPixel(x, y, qRgb(150, 190, 200 + (y - top) / pitch));
        }
    }
}

/// Two photos that touch at row \a edge.
QImage touchingPhotos(int edge)
{
    QImage image(300, 1000, QImage::Format_RGB32);
    drawPhoto(image, 0, edge, 10);
    drawPhoto(image, edge, 1000, 140);
    return image;
}

/// Flat pictures of one scene with a line of text in each; each is \a height rows high,
/// and one begins at row \a edge.
QImage framesOfOneScene(int edge, int height)
{
    QImage image(300, 1000, QImage::Format_RGB32);
    image.fill(QColor(70, 110, 120));
    QPainter painter(&image);
    painter.setPen(Qt::NoPen);
    painter.fillRect(140, 0, 30, 1000, QColor(30, 90, 40));
    for (int y = edge % height; y < 1000; y += height) {
        painter.setBrush(QColor(190, 80, 70));
        painter.drawPolygon(QPolygon{QPoint(10, y), QPoint(50, y - height / 2), QPoint(90, y)});
        painter.setBrush(QColor(110, 60, 160));
        painter.drawPolygon(QPolygon{QPoint(190, y), QPoint(240, y - height / 3), QPoint(280, y)});
    }
    painter.end();
    for (int y = edge % height; y < 1000; y += height) {
        drawMarks(image, std::max(0, y - 40), std::max(0, y - 20), qRgb(255, 255, 255));
    }
    QRandomGenerator random(11);
    for (int y = 0; y < 1000; ++y) {
        for (int x = 0; x < 300; ++x) {
            const QRgb pixel = image.pixel(x, y);
            const int step = int(random.bounded(9)) - 4;
            const auto moved = [step](int level) { return std::clamp(level + step, 0, 255); };
            image.setPixel(x, y, qRgb(moved(qRed(pixel)), moved(qGreen(pixel)), moved(qBlue(pixel))));
        }
    }
    return image;
}

/// Rows of one color each from row \a first to \a end; each is clearly lighter than the one above.
void drawSteppedSky(QImage &image, int first, int end)
{
    for (int y = first; y < end; ++y) {
        const int level = 100 + 5 * ((y - first) % 30);
        std::fill_n(reinterpret_cast<QRgb *>(image.scanLine(y)), image.width(), qRgb(level, level, level));
    }
}

/// A panel of a comic on white: a frame four rows thick around a flat picture.
void drawFramedPanel(QImage &image, int first, int end)
{
    QPainter painter(&image);
    painter.fillRect(0, first - 4, image.width(), end - first + 8, Qt::white);
    painter.fillRect(6, first, image.width() - 12, end - first, Qt::black);
    painter.fillRect(10, first + 4, image.width() - 20, end - first - 8, QColor(120, 170, 90));
    for (int x = 30; x < 270; x += 40) {
        painter.fillRect(x, first + 4, 12, end - first - 8, QColor(90, 60, 140));
    }
}

/// Vertical strokes in the rows from \a first to \a end, one right of another from \a left on.
void drawStems(QImage &image, int left, int first, int end)
{
    QPainter painter(&image);
    for (int x = left; x < left + 120; x += 24) {
        painter.fillRect(x, first, 2, end - first, QColor(20, 20, 20));
    }
}

/// A camera picture of paper that is written over but for the rows from \a first
/// to \a end and those beside a ruled line, which is five rows thick, at \a line.
QImage writtenPaper(int first, int end, int line)
{
    constexpr int thickness = 5;
    QImage image(300, 1000, QImage::Format_RGB32);
    image.fill(qRgb(225, 225, 225));
    drawMarks(image, 0, first, qRgb(30, 40, 90));
    drawMarks(image, end, 1000, qRgb(30, 40, 90));
    QPainter painter(&image);
    painter.fillRect(0, line - 4, 300, thickness + 8, QColor(225, 225, 225));
    painter.fillRect(0, line, 300, thickness, QColor(90, 120, 190));
    painter.end();
    QRandomGenerator random(7);
    for (int y = 0; y < 1000; ++y) {
        for (int x = 0; x < 300; ++x) {
            const QRgb pixel = image.pixel(x, y);
            const int step = int(random.bounded(13)) - 6;
            image.setPixel(x, y, qRgb(qRed(pixel) + step, qGreen(pixel) + step, qBlue(pixel) + step));
        }
    }
    return image;
}

void seeds()
{
    QTest::addColumn<quint32>("seed");
    for (quint32 seed = 1; seed <= 12; ++seed) {
        QTest::addRow("seed %u", seed) << seed;
    }
}

} // namespace

class TestCalmRow : public QObject
{
    Q_OBJECT

private slots:
    void countsChanges_data();
    void countsChanges();
    void countsTheGreatestChanges();
    void averagesSquares_data();
    void averagesSquares();
    void reachesAsFarAsADrag();
    void cutsThroughTheMiddleOfTheGap_data();
    void cutsThroughTheMiddleOfTheGap();
    void stopsBesideAHairline();
    void ignoresWhatRunsThroughAllRows();
    void prefersTheHigherGap();
    void prefersTheNearerOfEqualGaps();
    void looksFurtherForAClearGap();
    void takesAGapThatReachesOutOfTheReach();
    void cutsBetweenPictures();
    void cutsBetweenFlatPictures();
    void cutsAboveAPictureInTheMiddleOfTheGap();
    void cutsInAThinLineBetweenPictures();
    void prefersAnEdgeToASky();
    void takesARuledLineForNoGap();
    void takesARuledLineUnderHandwritingForNoGap();
    void takesAHairlineOfAGridForNoGap();
    void seesNoEdgeAtTheEndOfTheReach();
    void cutsWhereFramesOfOneSceneMeet();
    void takesNoRowOfASteppedSkyForAGap();
    void cutsOutsideTheFrameOfAPanel();
    void cutsBetweenTheLettersOfTwoColumns();
    void admitsThatItCutsThroughContent();
    void staysInPlaceOnABlankPage();
    void staysWithinReach_data() { seeds(); }
    void staysWithinReach();
    void looksNoFurtherThanItsContext_data() { seeds(); }
    void looksNoFurtherThanItsContext();
    void findsTheSameRowMirrored_data() { seeds(); }
    void findsTheSameRowMirrored();
    void findsTheSameRowOfABrighterPicture_data() { seeds(); }
    void findsTheSameRowOfABrighterPicture();
    void findsTheSameRowInEveryFormat_data();
    void findsTheSameRowInEveryFormat();
    void takesAnyFormat_data();
    void takesAnyFormat();
    void takesAnySize_data();
    void takesAnySize();
};

void TestCalmRow::countsChanges_data()
{
    QTest::addColumn<int>("counter");
    QTest::addColumn<int>("width");
    const QList<ChangeCounter> counters = changeCounters();
    for (int i = 0; i < counters.size(); ++i) {
        for (const int width : widths) {
            QTest::addRow("%s, %d wide", counters.at(i).instructions, width) << i << width;
        }
    }
}

void TestCalmRow::countsChanges()
{
    QFETCH(int, counter);
    QFETCH(int, width);
    QRandomGenerator random{quint32(width)};
    for (const int pixel : {1, 4}) {
        for (const int span : {1, 4, 7, 21, 40}) {
            const qsizetype length = qsizetype(width) * pixel;
            const auto row = randomBytes(length, random);
            const auto above = randomBytes(length, random);
            const auto farAbove = randomBytes(length, random);
            const qsizetype shift = qsizetype(span) * pixel;
            const RowChanges changes =
                changeCounters().at(counter).count({row.data(), above.data(), farAbove.data(), length, pixel, shift});
            QCOMPARE(changes.near, plainSquares(row.data(), row.data() - pixel, pixel, length));
            QCOMPARE(changes.wide, plainSquares(row.data(), row.data() - shift, shift, length));
            QCOMPARE(changes.down, plainSquares(row.data(), above.data(), 0, length));
            QCOMPARE(changes.drift, plainSquares(row.data(), farAbove.data(), 0, length));
            const RowChanges without =
                changeCounters().at(counter).count({row.data(), above.data(), nullptr, length, pixel, shift});
            QCOMPARE(without.drift, quint64(0));
        }
    }
}

void TestCalmRow::countsTheGreatestChanges()
{
    constexpr qsizetype length = 1200000;
    const std::vector<uchar> black(length, 0);
    const std::vector<uchar> white(length, 255);
    for (const ChangeCounter &counter : changeCounters()) {
        const RowChanges changes = counter.count({white.data(), black.data(), black.data(), length, 4, 84});
        QCOMPARE(changes.down, quint64(length) * 255 * 255);
        QCOMPARE(changes.drift, quint64(length) * 255 * 255);
        QCOMPARE(changes.near, quint64(0));
    }
}

void TestCalmRow::averagesSquares_data()
{
    QTest::addColumn<QImage::Format>("format");
    QTest::addColumn<int>("bytes");
    QTest::newRow("gray") << QImage::Format_Grayscale8 << 1;
    QTest::newRow("color") << QImage::Format_RGB32 << 4;
    QTest::newRow("transparent") << QImage::Format_ARGB32_Premultiplied << 4;
}

void TestCalmRow::averagesSquares()
{
    QFETCH(QImage::Format, format);
    QFETCH(int, bytes);
    const QImage rows = noisePicture(QSize(41, 23), format, 9);
    const QImage averages = averagedRows(rows, bytes);
    QCOMPARE(averages.size(), rows.size() - QSize(averagedSide - 1, averagedSide - 1));
    for (int y = 0; y < averages.height(); ++y) {
        for (int i = 0; i < averages.width() * bytes; ++i) {
            QCOMPARE(int(averages.constScanLine(y)[i]), plainAverage(rows, bytes, i, y));
        }
    }
    QVERIFY(averagedRows(rows.copy(0, 0, averagedSide - 1, 23), bytes).isNull());
}

void TestCalmRow::reachesAsFarAsADrag()
{
    const CutPlace place = cutPlace(1527.4, 1000);
    QCOMPARE(place.regular, 1527);
    QCOMPARE(place.near, 150);
    QCOMPARE(place.far, 200);
}

void TestCalmRow::cutsThroughTheMiddleOfTheGap_data()
{
    QTest::addColumn<QRgb>("ground");
    QTest::addColumn<QRgb>("ink");
    QTest::addColumn<int>("first");
    QTest::addColumn<int>("end");
    QTest::addColumn<int>("row");
    QTest::newRow("white") << qRgb(255, 255, 255) << qRgb(0, 0, 0) << 510 << 530 << 520;
    QTest::newRow("black") << qRgb(0, 0, 0) << qRgb(200, 200, 200) << 510 << 530 << 520;
    QTest::newRow("red") << qRgb(190, 0, 0) << qRgb(255, 255, 255) << 440 << 447 << 443;
    QTest::newRow("faint") << qRgb(255, 255, 255) << qRgb(225, 225, 225) << 470 << 480 << 475;
    QTest::newRow("same brightness") << qRgb(200, 100, 100) << qRgb(100, 150, 100) << 470 << 480 << 475;
    QTest::newRow("two rows") << qRgb(255, 255, 255) << qRgb(0, 0, 0) << 551 << 553 << 552;
}

void TestCalmRow::cutsThroughTheMiddleOfTheGap()
{
    QFETCH(QRgb, ground);
    QFETCH(QRgb, ink);
    QFETCH(int, first);
    QFETCH(int, end);
    const CalmRow cut = calmRow(textWithGap(first, end, ground, ink), middle);
    QTEST(cut.row, "row");
    QCOMPARE(cut.gap, end - first);
    QCOMPARE(cut.ground, CalmRow::Clear);
}

void TestCalmRow::stopsBesideAHairline()
{
    QImage image = textWithGap(490, 521);
    QPainter(&image).fillRect(0, 500, 300, 1, Qt::gray);
    const CalmRow cut = calmRow(image, middle);
    QCOMPARE(cut.row, 511); // the greater part is from 501 to 521
    QCOMPARE(cut.gap, 20);
}

void TestCalmRow::ignoresWhatRunsThroughAllRows()
{
    QImage image = textWithGap(540, 556);
    QPainter painter(&image);
    for (const int x : {3, 90, 200, 290}) {
        painter.fillRect(x, 0, 3, 1000, Qt::darkBlue);
    }
    painter.end();
    const CalmRow cut = calmRow(image, middle);
    QCOMPARE(cut.row, 548);
    QCOMPARE(cut.ground, CalmRow::Clear);
}

void TestCalmRow::prefersTheHigherGap()
{
    QImage image = textWithGap(496, 500);
    QPainter(&image).fillRect(0, 520, 300, 20, Qt::white);
    QCOMPARE(calmRow(image, middle).row, 530);
}

void TestCalmRow::prefersTheNearerOfEqualGaps()
{
    QImage image = textWithGap(450, 460);
    QPainter(&image).fillRect(0, 520, 300, 10, Qt::white);
    QCOMPARE(calmRow(image, middle).row, 525);
}

void TestCalmRow::looksFurtherForAClearGap()
{
    const CalmRow cut = calmRow(textWithGap(580, 590), middle);
    QCOMPARE(cut.row, 585);
    QCOMPARE(cut.ground, CalmRow::Clear);
}

void TestCalmRow::takesAGapThatReachesOutOfTheReach()
{
    const CalmRow cut = calmRow(textWithGap(597, 640), middle);
    QCOMPARE(cut.row, 600);
    QCOMPARE(cut.ground, CalmRow::Clear);
}

void TestCalmRow::cutsBetweenPictures()
{
    QImage image(200, 1000, QImage::Format_RGB32);
    for (int y = 0; y < 1000; ++y) {
        for (int x = 0; x < 200; ++x) {
            const int fall = std::clamp(y - 400, 0, 200);
            image.setPixel(x, y, y < 533 ? qRgb(x, x * fall / 200, fall) : qRgb(255 - x, 255 - fall, 255 - x / 2));
        }
    }
    const CalmRow cut = calmRow(image, middle);
    QCOMPARE(cut.row, 533);
    QCOMPARE(cut.ground, CalmRow::Edge);
}

void TestCalmRow::cutsBetweenFlatPictures()
{
    QImage image = textWithGap(0, 0);
    QPainter painter(&image);
    painter.fillRect(0, 480, 300, 40, QColor(90, 60, 110));
    painter.fillRect(0, 520, 300, 4, Qt::black);
    painter.fillRect(0, 524, 300, 40, QColor(60, 110, 90));
    painter.end();
    QCOMPARE(described(calmRow(image, middle)), described({520, 0, CalmRow::Edge}));
}

void TestCalmRow::cutsAboveAPictureInTheMiddleOfTheGap()
{
    QImage image = textWithGap(480, 510);
    drawPhoto(image, 510, 1000, 10);
    QCOMPARE(described(calmRow(image, middle)), described({495, 30, CalmRow::Clear}));
}

void TestCalmRow::cutsInAThinLineBetweenPictures()
{
    QImage image = touchingPhotos(533);
    drawSky(image, 450, 1);
    QPainter(&image).fillRect(0, 533, 300, 2, Qt::white);
    const CalmRow cut = calmRow(image, middle);
    QCOMPARE(described(cut), described({534, 2, CalmRow::Clear}));
}

void TestCalmRow::prefersAnEdgeToASky()
{
    QImage image = touchingPhotos(533);
    drawSky(image, 533, 6);
    QCOMPARE(described(calmRow(image, middle)), described({533, 0, CalmRow::Edge}));
}

void TestCalmRow::takesARuledLineForNoGap()
{
    QCOMPARE(described(calmRow(writtenPaper(496, 521, 500), middle)), described({513, 16, CalmRow::Busy}));
}

void TestCalmRow::takesARuledLineUnderHandwritingForNoGap()
{
    QImage image = writtenPaper(496, 521, 450);
    QPainter(&image).fillRect(20, 440, 150, 10, QColor(30, 40, 90));
    const CalmRow cut = calmRow(image, middle);
    QCOMPARE(described(cut), described({508, 25, CalmRow::Busy}));
}

void TestCalmRow::takesAHairlineOfAGridForNoGap()
{
    QImage image = textWithGap(530, 540);
    QPainter painter(&image);
    for (int x = 20; x < 300; x += 40) {
        painter.fillRect(x, 0, 1, 1000, Qt::gray);
    }
    painter.fillRect(0, 500, 300, 1, Qt::gray);
    painter.end();
    QCOMPARE(described(calmRow(image, middle)), described({535, 10, CalmRow::Clear}));
}

void TestCalmRow::seesNoEdgeAtTheEndOfTheReach()
{
    QCOMPARE(described(calmRow(writtenPaper(480, 490, 597), middle)), described({485, 10, CalmRow::Busy}));
}

void TestCalmRow::cutsWhereFramesOfOneSceneMeet()
{
    QCOMPARE(described(calmRow(framesOfOneScene(540, 120), middle)), described({540, 0, CalmRow::Edge}));
}

void TestCalmRow::takesNoRowOfASteppedSkyForAGap()
{
    QImage image = touchingPhotos(560);
    drawSteppedSky(image, 470, 490);
    QCOMPARE(described(calmRow(image, middle)), described({490, 0, CalmRow::Edge}));
}

void TestCalmRow::cutsOutsideTheFrameOfAPanel()
{
    QImage image(300, 1000, QImage::Format_RGB32);
    image.fill(Qt::white);
    drawPhoto(image, 0, 1000, 10);
    drawFramedPanel(image, 300, 420);
    drawFramedPanel(image, 424, 700);
    QCOMPARE(described(calmRow(image, middle)), described({422, 4, CalmRow::Clear}));
}

void TestCalmRow::cutsBetweenTheLettersOfTwoColumns()
{
    QImage image = textWithGap(498, 501);
    drawStems(image, 20, 495, 500); // letters of a left column that end in the gap
    drawStems(image, 160, 500, 505); // and of a right one that begin there
    QCOMPARE(calmRow(image, middle).row, 500);
}

void TestCalmRow::admitsThatItCutsThroughContent()
{
    const CalmRow cut = calmRow(noisePicture(QSize(300, 1000), QImage::Format_RGB32, 5), middle);
    QCOMPARE(cut.ground, CalmRow::Content);
}

void TestCalmRow::staysInPlaceOnABlankPage()
{
    QImage image(300, 1000, QImage::Format_RGB32);
    image.fill(Qt::darkGray);
    const CalmRow cut = calmRow(image, middle);
    QCOMPARE(cut.row, 500);
    QCOMPARE(cut.ground, CalmRow::Clear);
}

void TestCalmRow::staysWithinReach()
{
    QFETCH(quint32, seed);
    const QImage image = randomPage(seed);
    for (int regular = 0; regular < 1100; regular += 37) {
        const CalmRow cut = calmRow(image, {regular, 75, 100});
        QVERIFY2(std::abs(cut.row - regular) <= 100, qPrintable(u"%1 for %2"_s.arg(described(cut)).arg(regular)));
    }
}

void TestCalmRow::looksNoFurtherThanItsContext()
{
    QFETCH(quint32, seed);
    const QImage image = randomPage(seed);
    const int context = calmContext(image.width());
    for (int regular = 100; regular < 1000; regular += 61) {
        for (const CutPlace &place : {CutPlace{regular, 75, 100}, CutPlace{regular, 30, 30}}) {
            const int first = std::max(0, regular - place.far - context) / calmAlignment * calmAlignment;
            const int end = std::min(image.height(), regular + place.far + context);
            CalmRow found =
                calmRow(image.copy(0, first, image.width(), end - first), {regular - first, place.near, place.far});
            found.row += first;
            QCOMPARE(described(found), described(calmRow(image, place)));
        }
    }
}

void TestCalmRow::findsTheSameRowMirrored()
{
    QFETCH(quint32, seed);
    const QImage image = randomPage(seed);
    for (int regular = 100; regular < 1000; regular += 100) {
        const CutPlace place{regular, 75, 100};
        QCOMPARE(described(calmRow(image.mirrored(true, false), place)), described(calmRow(image, place)));
    }
}

void TestCalmRow::findsTheSameRowOfABrighterPicture()
{
    QFETCH(quint32, seed);
    const QImage image = randomPage(seed);
    const QImage brighter = brightened(image, 30);
    for (int regular = 100; regular < 1000; regular += 100) {
        const CutPlace place{regular, 75, 100};
        QCOMPARE(described(calmRow(brighter, place)), described(calmRow(image, place)));
    }
}

void TestCalmRow::findsTheSameRowInEveryFormat_data()
{
    QTest::addColumn<QImage::Format>("format");
    for (const QImage::Format format : directFormats() + QList{QImage::Format_Indexed8}) {
        QTest::addRow("%s", formatName(format)) << format;
    }
}

void TestCalmRow::findsTheSameRowInEveryFormat()
{
    QFETCH(QImage::Format, format);
    for (quint32 seed = 1; seed < 4; ++seed) {
        // Converted and back it holds the same pixels, however the format rounds them.
        const QImage gray = randomPage(seed).convertToFormat(QImage::Format_Grayscale8);
        const QImage stored = gray.convertToFormat(format);
        const QImage plain = stored.convertToFormat(QImage::Format_ARGB32);
        QCOMPARE(described(calmRow(stored, middle)), described(calmRow(plain, middle)));
    }
}

void TestCalmRow::takesAnyFormat_data()
{
    QTest::addColumn<QImage>("image");
    const QImage page = textWithGap(510, 530);
    QTest::newRow("1-bit") << page.convertToFormat(QImage::Format_Mono, Qt::ThresholdDither);
    QTest::newRow("1-bit, low bits first") << page.convertToFormat(QImage::Format_MonoLSB, Qt::ThresholdDither);
    QTest::newRow("gray") << page.convertToFormat(QImage::Format_Grayscale8);
    QTest::newRow("palette") << page.convertToFormat(QImage::Format_Indexed8);
    QImage nothing(300, 1000, QImage::Format_ARGB32);
    nothing.fill(Qt::transparent);
    drawMarks(nothing, 0, 510, qRgb(255, 255, 255));
    drawMarks(nothing, 530, 1000, qRgb(255, 255, 255));
    QTest::newRow("white on nothing") << nothing;
}

void TestCalmRow::takesAnyFormat()
{
    QFETCH(QImage, image);
    const CalmRow cut = calmRow(image, middle);
    QCOMPARE(cut.row, 520);
    QCOMPARE(cut.ground, CalmRow::Clear);
}

void TestCalmRow::takesAnySize_data()
{
    QTest::addColumn<QSize>("size");
    for (const QSize size : {QSize(1, 1), QSize(1, 40), QSize(11, 11), QSize(11, 30), QSize(40, 1), QSize(3, 900)}) {
        QTest::addRow("%dx%d", size.width(), size.height()) << size;
    }
}

void TestCalmRow::takesAnySize()
{
    QFETCH(QSize, size);
    const QImage image = noisePicture(size, QImage::Format_RGB32, 3);
    const double height = size.width() / 0.70707071;
    for (double regular = 0; regular < size.height() + 3 * height; regular += height) {
        const CutPlace place = cutPlace(regular, height);
        QVERIFY(std::abs(calmRow(image, place).row - place.regular) <= place.far);
    }
    QCOMPARE(calmRow(QImage(), middle).row, 500);
    QCOMPARE(calmRow(image, {5000, 75, 100}).ground, CalmRow::Content);
}

QUILLMARCH_TEST_MAIN(TestCalmRow)
#include "tst_calmrow.moc"
