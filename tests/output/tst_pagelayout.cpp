#include "output/pagelayout.h"
#include "support/imagecomparison.h"
#include "support/plaindrawing.h"
#include "support/testmain.h"

#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;

class TestPageLayout : public QObject
{
    Q_OBJECT

private slots:
    void marginsArePercentOfTheStrip_data();
    void marginsArePercentOfTheStrip();
    void findsTheTallestColumn_data();
    void findsTheTallestColumn();
    void scalesColumns_data();
    void scalesColumns();
    void placesColumns_data();
    void placesColumns();
    void rightColumnIsFlushRight_data();
    void rightColumnIsFlushRight();
    void numberBoxIsThreeToOne_data();
    void numberBoxIsThreeToOne();
    void numberIsGrayOnTransparentGround_data();
    void numberIsGrayOnTransparentGround();
    void fitsTheWholePage_data();
    void fitsTheWholePage();
    void wantsPages_data();
    void wantsPages();
};

void TestPageLayout::marginsArePercentOfTheStrip_data()
{
    QTest::addColumn<unsigned int>("percent");
    QTest::addColumn<QSizeF>("margins");
    QTest::newRow("0") << 0U << QSizeF(0, 0);
    QTest::newRow("3") << 3U << QSizeF(21, 30.6);
    QTest::newRow("10") << 10U << QSizeF(70, 102);
    QTest::newRow("29") << 29U << QSizeF(203, 295.8);
    QTest::newRow("30") << 30U << QSizeF(210, 306);
    QTest::newRow("wrapped") << 4294967294U << QSizeF(4294967294.0 * 700 / 100, 4294967294.0 * 1020 / 100);
}

void TestPageLayout::marginsArePercentOfTheStrip()
{
    QFETCH(unsigned int, percent);
    QTEST(pageMargins(QSizeF(700, 1020), percent), "margins");
}

void TestPageLayout::findsTheTallestColumn_data()
{
    QTest::addColumn<QList<double>>("strips");
    QTest::addColumn<double>("atLeast");
    QTest::addColumn<double>("tallest");
    QTest::newRow("none") << QList<double>{} << 0.0 << 0.0;
    QTest::newRow("one") << QList<double>{1000} << 0.0 << 1000.0;
    QTest::newRow("two") << QList<double>{1000, 900} << 0.0 << 1900.0;
    QTest::newRow("three, the lone one low") << QList<double>{1000, 900, 950} << 0.0 << 1900.0;
    QTest::newRow("three, the lone one high") << QList<double>{10, 20, 950} << 0.0 << 950.0;
    QTest::newRow("four, left") << QList<double>{1000, 900, 950, 940} << 0.0 << 1900.0;
    QTest::newRow("four, right") << QList<double>{1000, 900, 950, 960} << 0.0 << 1910.0;
    QTest::newRow("first strip higher than its column's rest") << QList<double>{2000, -500} << 0.0 << 2000.0;
    QTest::newRow("fractions") << QList<double>{10.9, 10.9} << 0.0 << 20.0;
    QTest::newRow("fractions that join") << QList<double>{10.5, 10.9, 3, 3} << 0.0 << 20.0;
    QTest::newRow("lower than before") << QList<double>{1000, 900} << 2500.0 << 2500.0;
    QTest::newRow("fraction below before") << QList<double>{1000.9} << 1000.5 << 1000.5;
    QTest::newRow("32 bits are kept") << QList<double>{4294967295.0, 6.0} << 0.0 << 4294967295.0;
}

void TestPageLayout::findsTheTallestColumn()
{
    QFETCH(QList<double>, strips);
    QFETCH(double, atLeast);
    QTEST(tallestColumn(strips, atLeast), "tallest");
}

void TestPageLayout::scalesColumns_data()
{
    QTest::addColumn<double>("content");
    QTest::addColumn<double>("column");
    QTest::addColumn<double>("scale");
    QTest::newRow("four equal strips") << 1000.0 << 2000.0 << 0.5;
    QTest::newRow("one strip at the default margin") << 1000.0 << 1000.0 << 0.5;
    QTest::newRow("higher than the column") << 1200.0 << 1000.0 << 0.5;
    QTest::newRow("just below") << 999.0 << 1000.0 << 0.999;
    QTest::newRow("no margin") << 1204.0 << 2000.0 << 0.602;
    QTest::newRow("no column") << 1000.0 << 0.0 << 0.5;
    QTest::newRow("content below zero") << -500.0 << 1000.0 << -0.5;
}

void TestPageLayout::scalesColumns()
{
    QFETCH(double, content);
    QFETCH(double, column);
    QTEST(columnScale(content, column), "scale");
}

void TestPageLayout::placesColumns_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<double>("scale");
    QTest::addColumn<QList<QRectF>>("places");
    // The content is (70, 102, 700, 1000); at 0.4 a strip is 280 wide and the inset (350 - 280) / 2.
    const QList<QRectF> inset{{105, 102, 280, 400}, {105, 502, 280, 360}, {490, 102, 280, 320}, {490, 422, 280, 400}};
    const QList<QRectF> tight{{70, 102, 350, 500}, {70, 602, 350, 450}, {420, 102, 350, 400}, {420, 502, 350, 500}};
    const QList<QRectF> lapped{{35, 102, 420, 600}, {35, 702, 420, 540}, {350, 102, 420, 480}, {350, 582, 420, 600}};
    for (int count = 0; count <= 4; ++count) {
        QTest::addRow("%d, inset", count) << count << 0.4 << inset.mid(0, count);
        QTest::addRow("%d, no inset", count) << count << 0.5 << tight.mid(0, count);
        QTest::addRow("%d, overlapping", count) << count << 0.6 << lapped.mid(0, count);
    }
}

void TestPageLayout::placesColumns()
{
    QFETCH(int, count);
    QFETCH(double, scale);
    QFETCH(QList<QRectF>, places);
    const QList<QSizeF> strips{{700, 1000}, {700, 900}, {700, 800}, {700, 1000}};
    QCOMPARE(columnPlaces(QRectF(70, 102, 700, 1000), strips.mid(0, count), scale), places);
}

void TestPageLayout::rightColumnIsFlushRight_data()
{
    QTest::addColumn<double>("scale");
    for (const double scale : {0.1, 0.3, 0.45, 0.5, 0.62, 0.9}) {
        QTest::addRow("%g", scale) << scale;
    }
}

void TestPageLayout::rightColumnIsFlushRight()
{
    QFETCH(double, scale);
    const QRectF content(33, 44, 710, 905);
    const QList<QRectF> places = columnPlaces(content, QList<QSizeF>(4, QSizeF(700, 1000)), scale);
    const double inset = (content.width() / 2 - 700 * scale) / 2;
    QVERIFY(std::abs(places.at(2).right() - content.right()) < 1e-9);
    QVERIFY(std::abs(places.at(0).left() - content.left() - inset) < 1e-9);
    QVERIFY(std::abs(places.at(2).left() - places.at(0).right() - 3 * inset) < 1e-9);
}

void TestPageLayout::numberBoxIsThreeToOne_data()
{
    QTest::addColumn<QSizeF>("page");
    QTest::addColumn<QRectF>("box");
    QTest::newRow("840x1204") << QSizeF(840, 1204) << QRectF(672, 1148, 168, 56);
    QTest::newRow("100x100") << QSizeF(100, 100) << QRectF(80, 94, 20, 6);
    QTest::newRow("99.9x141.7") << QSizeF(99.9, 141.7) << QRectF(80, 135, 19, 6);
    QTest::newRow("13.2x21.6") << QSizeF(13.2, 21.6) << QRectF(11, 21, 2, 0);
}

void TestPageLayout::numberBoxIsThreeToOne()
{
    QFETCH(QSizeF, page);
    QTEST(pageNumberBox(page), "box");
}

void TestPageLayout::numberIsGrayOnTransparentGround_data()
{
    QTest::addColumn<int>("number");
    QTest::addColumn<QString>("text");
    QTest::newRow("1") << 1 << u"1"_s;
    QTest::newRow("12") << 12 << u"12"_s;
    QTest::newRow("1000") << 1000 << u"1000"_s;
}

void TestPageLayout::numberIsGrayOnTransparentGround()
{
    QFETCH(int, number);
    QFETCH(QString, text);
    const QImage actual = pageNumberPixmap(number).toImage();
    QCOMPARE(firstDifference(actual, plainPageNumber(text).toImage()), QString());
    QCOMPARE(qAlpha(actual.pixel(0, 0)), 0);
    QVERIFY(actual != pageNumberPixmap(number + 1).toImage());
}

void TestPageLayout::fitsTheWholePage_data()
{
    QTest::addColumn<QSizeF>("area");
    QTest::addColumn<double>("scale");
    QTest::newRow("wide") << QSizeF(1000, 602) << 0.5;
    QTest::newRow("high") << QSizeF(210, 1000) << 0.25;
    QTest::newRow("larger") << QSizeF(8400, 12040) << 10.0;
    QTest::newRow("nothing") << QSizeF(0, 0) << 0.0;
}

void TestPageLayout::fitsTheWholePage()
{
    QFETCH(QSizeF, area);
    QTEST(fitScale(QSizeF(840, 1204), area), "scale");
}

void TestPageLayout::wantsPages_data()
{
    QTest::addColumn<int>("first");
    QTest::addColumn<int>("last");
    QTest::addColumn<QList<int>>("wanted");
    const auto add = [](int first, int last, const QList<int> &wanted) {
        QTest::addRow("%d to %d", first, last) << first << last << wanted;
    };
    add(0, 0, {1, 2, 3, 4, 5});
    add(2, 3, {2, 3});
    add(1, 1, {1});
    add(1, 5, {1, 2, 3, 4, 5});
    add(4, 9, {4, 5});
    add(6, 9, {});
    add(0, 3, {1, 2, 3});
    add(3, 2, {});
    add(-4, 4, {1, 2, 3, 4, 5}); // their sum is 0
}

void TestPageLayout::wantsPages()
{
    QFETCH(int, first);
    QFETCH(int, last);
    QList<int> wanted;
    for (int number = 1; number <= 5; ++number) {
        if (isPageWanted(number, first, last)) {
            wanted.append(number);
        }
    }
    QTEST(wanted, "wanted");
}

QUILLMARCH_TEST_MAIN(TestPageLayout)
#include "tst_pagelayout.moc"
