// The bounds of the parts of the calm rule, one by one, where a whole page seldom shows
// them.

#include "pixels/calmrow.h"
#include "pixels/finecut.h"
#include "pixels/pictureedge.h"
#include "support/testmain.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int middle = 50; // the row in question, of 100

/// A gray picture of 100 rows in which \a stepped pixels are darker from the middle on.
QImage steppedPicture(int width, int stepped, int step = 60)
{
    QImage image(width, 100, QImage::Format_RGB32);
    image.fill(qRgb(200, 200, 200));
    for (int y = middle; y < image.height(); ++y) {
        for (int x = 0; x < stepped; ++x) {
            image.setPixel(x, y, qRgb(200 - step, 200 - step, 200 - step));
        }
    }
    return image;
}

void fillRow(QImage &image, int y, int gray)
{
    std::fill_n(reinterpret_cast<QRgb *>(image.scanLine(y)), image.width(), qRgb(gray, gray, gray));
}

/// Marks of two pixels, as busy as letters, in a row.
void markRow(QImage &image, int y)
{
    for (int x = 0; x < image.width(); ++x) {
        image.setPixel(x, y, x / 2 % 2 == 0 ? qRgb(0, 0, 0) : qRgb(255, 255, 255));
    }
}

/// A white picture of \a height rows with marks in all of them but those of \a gaps.
QImage pictureWithGaps(int width, int height, const QList<RowRun> &gaps)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(Qt::white);
    for (int y = 0; y < height; ++y) {
        if (std::none_of(gaps.begin(), gaps.end(), [y](const RowRun &gap) { return gap.holds(y); })) {
            markRow(image, y);
        }
    }
    return image;
}

QString described(const std::vector<RowRun> &gaps)
{
    QStringList texts;
    for (const RowRun &gap : gaps) {
        texts.append(u"%1-%2"_s.arg(gap.first).arg(gap.end));
    }
    return texts.join(u' ');
}

QString gapsOf(const QImage &image, const RowPull &pull)
{
    return described(bestGaps(profileOf(ChannelRows(image), 0, image.height()), RowJoin::Alike, pull));
}

bool isSeamAtMiddle(const QImage &image, int above = 0)
{
    const ChannelRows source(image);
    const RowProfile profile = profileOf(source, 0, image.height());
    const int busiest = std::max(profile.row[middle - 1], profile.row[middle]);
    return isSeam(source, profile, middle, busiest + above);
}

} // namespace

class TestCalmParts : public QObject
{
    Q_OBJECT

private slots:
    void seamTakesAFifthOfTheWidth_data();
    void seamTakesAFifthOfTheWidth();
    void seamIsBetweenRowsOfTheLevel();
    void seamNeedsAClearDifference();
    void stepIsAloneForThreeRows_data();
    void stepIsAloneForThreeRows();
    void findsSixGapsAtMost();
    void threeRowsAreAPlainGap();
    void fineCutLeavesContent_data();
    void fineCutLeavesContent();
    void gapOfEqualRowsMayBeTwoOctavesBusier();
};

void TestCalmParts::seamTakesAFifthOfTheWidth_data()
{
    QTest::addColumn<int>("stepped"); // of 200 pixels
    QTest::addColumn<bool>("seam");
    QTest::newRow("a pixel less") << 39 << false;
    QTest::newRow("a fifth") << 40 << true;
    QTest::newRow("all") << 200 << true;
}

void TestCalmParts::seamTakesAFifthOfTheWidth()
{
    QFETCH(int, stepped);
    QFETCH(bool, seam);
    QCOMPARE(isSeamAtMiddle(steppedPicture(200, stepped)), seam);
}

void TestCalmParts::seamIsBetweenRowsOfTheLevel()
{
    const QImage image = steppedPicture(200, 100);
    QVERIFY(isSeamAtMiddle(image, 0));
    QVERIFY(!isSeamAtMiddle(image, -1));
}

void TestCalmParts::seamNeedsAClearDifference()
{
    QVERIFY(!isSeamAtMiddle(steppedPicture(200, 200, 8))); // 3 * 64 < 200
    QVERIFY(isSeamAtMiddle(steppedPicture(200, 200, 9)));
}

void TestCalmParts::stepIsAloneForThreeRows_data()
{
    QTest::addColumn<int>("distance"); // of another change above or below
    QTest::addColumn<int>("pixels");
    for (const int sign : {-1, 1}) {
        QTest::addRow("%d", sign * 3) << sign * 3 << 0;
        QTest::addRow("%d", sign * 4) << sign * 4 << 100;
    }
}

void TestCalmParts::stepIsAloneForThreeRows()
{
    QFETCH(int, distance);
    QFETCH(int, pixels);
    QImage image = steppedPicture(100, 100);
    const int changed = middle + distance; // the first row below the other change
    for (int y = distance < 0 ? 0 : changed; y < (distance < 0 ? changed : image.height()); ++y) {
        fillRow(image, y, distance < 0 ? 255 : 80);
    }
    QCOMPARE(ChannelRows(image).steppedPixels(middle, 200), pixels);
}

void TestCalmParts::findsSixGapsAtMost()
{
    QList<RowRun> gaps;
    for (int y = 10; y < 170; y += 20) {
        gaps.append({y, y + 6});
    }
    const QString found = gapsOf(pictureWithGaps(200, 170, gaps), {90, 90, 90, 5});
    QCOMPARE(found.split(u' ').size(), 6);
    QVERIFY2(found.startsWith(u"90-96 "_s), qPrintable(found));
}

void TestCalmParts::threeRowsAreAPlainGap()
{
    // However narrow the picture is, three rows are worth more than two.
    const QString found = gapsOf(pictureWithGaps(40, 120, {{48, 50}, {66, 69}}), {56, 50, 50, 5});
    QVERIFY2(found.startsWith(u"66-69 48-50"_s), qPrintable(found));
}

void TestCalmParts::fineCutLeavesContent_data()
{
    QTest::addColumn<CalmRow>("cut");
    QTest::newRow("content") << CalmRow{50, 0, CalmRow::Content};
    QTest::newRow("a high gap") << CalmRow{50, 4, CalmRow::Clear};
}

void TestCalmParts::fineCutLeavesContent()
{
    QFETCH(CalmRow, cut);
    QImage image = pictureWithGaps(200, 100, {{49, 51}});
    for (int x = 0; x < 100; ++x) {
        image.setPixel(2 * x, 49, qRgb(230, 230, 230)); // go on in row 50, not in row 51
        image.setPixel(2 * x, 50, qRgb(230, 230, 230));
    }
    const ChannelRows source(image);
    const RowProfile profile = profileOf(source, 0, image.height());
    const CutPlace place{50, 20, 25};
    QVERIFY(fineCut(source, profile, {50, 2, CalmRow::Clear}, place).row != 50); // there is a better row
    const CalmRow fine = fineCut(source, profile, cut, place);
    QCOMPARE(fine.row, cut.row);
    QCOMPARE(fine.gap, cut.gap);
    QCOMPARE(fine.ground, cut.ground);
}

void TestCalmParts::gapOfEqualRowsMayBeTwoOctavesBusier()
{
    // Between busy rows there are blank ones, and nearer, ones with a pattern of faint stems.
    const auto rowWithStems = [](int contrast) {
        QImage image = pictureWithGaps(200, 200, {{60, 70}, {105, 115}});
        for (int y = 105; y < 115; ++y) {
            for (int x = 10; x < 200; x += 40) {
                image.setPixel(x, y, qRgb(255, 255, 255 - contrast));
            }
        }
        return calmRow(image, {100, 60, 60}).row;
    };
    QCOMPARE(rowWithStems(0), 110);
    QCOMPARE(rowWithStems(10), 110);
    QCOMPARE(rowWithStems(60), 65);
}

QUILLMARCH_TEST_MAIN(TestCalmParts)
#include "tst_calmparts.moc"
