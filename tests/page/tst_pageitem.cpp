#include "output/previewitem.h"
#include "page/handledriver.h"
#include "page/stripdocument.h"
#include "support/testmain.h"

#include <QRandomGenerator>
#include <QSignalSpy>

namespace {

constexpr double a4Aspect = 0.70707071;

class TallStrip : public PageItem
{
public:
    using PageItem::PageItem;
    QRectF boundingRect() const override { return {0, 0, 10, 333}; }
};

/// Two strips of 700 x 1000.
struct Pair : StripDocument
{
    Pair()
        : StripDocument(2, {700, 1000})
    {
    }
};

} // namespace

class TestPageItem : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void startsWithItsBand();
    void storesWhatIsSet();
    void boundsContainBodyAndHandle();
    void linkNextPlacesTheOtherBelow();
    void linkNextUsesTheVirtualBounds();
    void movesTheCutDown();
    void keepsBottomEdgeOfNextStrip_data();
    void keepsBottomEdgeOfNextStrip();
    void movingByZeroUpdatesTheAspect();
    void movingEndsTheDragOfTheNextStrip();
    void movingKeepsItsOwnDragAndIndex();
    void movesTheEndOfTheLastStrip();
    void lowersMinAspectAndNeverRaisesIt();
    void movesLikeTheOracle_data();
    void movesLikeTheOracle();
    void updatesItsOutputPages();
    void ignoresADoubleClick();
};

void TestPageItem::init()
{
    resetMinAspect();
}

void TestPageItem::startsWithItsBand()
{
    const PageItem strip(QPixmap(50, 400), QRectF(3.5, 100.25, 50, 70.5));
    QCOMPARE(strip.parentItem(), nullptr);
    QCOMPARE(strip.sourceRect(), QRectF(3.5, 100.25, 50, 70.5));
    QCOMPARE(strip.pos(), QPointF(3.5, 100.25));
    QCOMPARE(strip.bodyRect(), QRectF(0, 0, 50, 70.5));
    QCOMPARE(strip.handleRect(), QRectF(0, 70.5, 50, 20));
    QCOMPARE(strip.dragRect(), QRectF(0, 0, 0, 0));
    QCOMPARE(strip.handleHeight(), 20);
    QCOMPARE(strip.pageIndex(), 0);
    QCOMPARE(strip.nextItem(), nullptr);
    QCOMPARE(strip.prevItem(), nullptr);
    QVERIFY(!strip.isDragging());
    QVERIFY(!strip.hasCursor());
    QVERIFY(strip.acceptHoverEvents());
    QCOMPARE(strip.flags(), QGraphicsItem::GraphicsItemFlags());
    QCOMPARE(minAspect(), a4Aspect);
}

void TestPageItem::storesWhatIsSet()
{
    PageItem strip(QPixmap(50, 400), QRectF(0, 0, 50, 70));
    PageItem other(QPixmap(50, 400), QRectF(0, 70, 50, 70));
    const QRectF body(1, 2, 3, 4);
    const QRectF source(5, 6, 7, 8);
    const QRectF handle(9, 10, 11, 12);
    const QRectF drag(13, 14, 15, 16);

    strip.setBodyRect(body);
    QCOMPARE(strip.bodyRect(), body);
    QCOMPARE(strip.sourceRect(), QRectF(0, 0, 50, 70));
    QCOMPARE(strip.handleRect(), QRectF(0, 70, 50, 20));
    strip.setSourceRect(source);
    strip.setHandleRect(handle);
    strip.setDragRect(drag);
    strip.setPageIndex(41);
    strip.setHandleHeight(33);
    strip.setDragging(true);
    strip.setPrevItem(&other);

    QCOMPARE(strip.bodyRect(), body);
    QCOMPARE(strip.sourceRect(), source);
    QCOMPARE(strip.handleRect(), handle);
    QCOMPARE(strip.dragRect(), drag);
    QCOMPARE(strip.pageIndex(), 41);
    QCOMPARE(strip.handleHeight(), 33);
    QVERIFY(strip.isDragging());
    QCOMPARE(strip.prevItem(), &other);
    QCOMPARE(other.nextItem(), nullptr);
    QCOMPARE(strip.pos(), QPointF(0, 0));
    QCOMPARE(minAspect(), a4Aspect);
    strip.setDragging(false);
    QVERIFY(!strip.isDragging());
}

void TestPageItem::boundsContainBodyAndHandle()
{
    PageItem strip(QPixmap(50, 400), QRectF(0, 100, 50, 70));
    QCOMPARE(strip.boundingRect(), QRectF(0, 0, 50, 90));
    QVERIFY(strip.shape().contains(QPointF(25, 85)));
    QVERIFY(!strip.shape().contains(QPointF(25, 91)));
    strip.setHandleRect(QRectF(-5, 100, 10, 7));
    QCOMPARE(strip.boundingRect(), QRectF(-5, 0, 55, 107));
}

void TestPageItem::linkNextPlacesTheOtherBelow()
{
    PageItem upper(QPixmap(50, 400), QRectF(7, 30, 50, 70));
    PageItem lower(QPixmap(50, 400), QRectF(0, 101, 50, 60));
    upper.linkNext(&lower);
    QCOMPARE(upper.nextItem(), &lower);
    QCOMPARE(lower.prevItem(), &upper);
    QCOMPARE(upper.prevItem(), nullptr);
    QCOMPARE(lower.nextItem(), nullptr);
    QCOMPARE(upper.pos(), QPointF(7, 30));
    QCOMPARE(lower.pos(), QPointF(7, 120));
    QCOMPARE(lower.sourceRect(), QRectF(0, 101, 50, 60));
}

void TestPageItem::linkNextUsesTheVirtualBounds()
{
    TallStrip upper(QPixmap(50, 400), QRectF(0, 30, 50, 70));
    PageItem lower(QPixmap(50, 400), QRectF(0, 100, 50, 60));
    upper.linkNext(&lower);
    QCOMPARE(lower.pos(), QPointF(0, 363));
}

void TestPageItem::movesTheCutDown()
{
    Pair pair;
    QCOMPARE(pair.upper()->bodyRect(), QRectF(0, 0, 700, 1000));
    QCOMPARE(pair.upper()->handleRect(), QRectF(0, 1000, 700, 20));
    QCOMPARE(pair.upper()->boundingRect().height(), 1020.0);
    QCOMPARE(pair.lower()->pos(), QPointF(0, 1020));
    QCOMPARE(minAspect(), a4Aspect);

    pair.upper()->moveCut(50);
    QCOMPARE(pair.upper()->sourceRect(), QRectF(0, 0, 700, 1050));
    QCOMPARE(pair.upper()->bodyRect(), QRectF(0, 0, 700, 1050));
    QCOMPARE(pair.upper()->handleRect(), QRectF(0, 1050, 700, 20));
    QCOMPARE(pair.upper()->dragRect(), QRectF(0, 1050, 700, 20));
    QCOMPARE(pair.upper()->pos(), QPointF(0, 0));
    QCOMPARE(pair.lower()->sourceRect(), QRectF(0, 1050, 700, 950));
    QCOMPARE(pair.lower()->bodyRect(), QRectF(0, 0, 700, 950));
    QCOMPARE(pair.lower()->handleRect(), QRectF(0, 950, 700, 20));
    QCOMPARE(pair.lower()->dragRect(), QRectF(0, 950, 700, 20));
    QCOMPARE(pair.lower()->pos(), QPointF(0, 1070));
    QCOMPARE(minAspect(), 700.0 / 1050.0);
}

void TestPageItem::keepsBottomEdgeOfNextStrip_data()
{
    QTest::addColumn<double>("delta");
    for (const double delta : {0.0, 1.0, -1.0, 0.1, -0.1, 149.7, -150.0, 999.0, -999.0, 0.001}) {
        QTest::addRow("%g", delta) << delta;
    }
}

void TestPageItem::keepsBottomEdgeOfNextStrip()
{
    QFETCH(double, delta);
    QGraphicsScene scene;
    const QPixmap pixmap(700, 3000);
    const QList<QRectF> bands = equalBands(3, 700, 1000);
    const QList<PageItem *> strips = addChain(scene, pixmap, bands);
    PlainChain plain(pixmap, bands);

    strips.at(0)->moveCut(delta);
    plain.moveCut(0, delta);
    QCOMPARE(firstDifference(strips.first(), plain), QString());
    QCOMPARE(strips.at(1)->sceneBoundingRect().bottom(), 2040.0);
    QCOMPARE(strips.at(1)->sourceRect().bottom(), 2000.0);
    QCOMPARE(strips.at(2)->pos(), QPointF(0, 2040));
    QCOMPARE(strips.at(2)->sourceRect(), bands.at(2));
}

void TestPageItem::movingByZeroUpdatesTheAspect()
{
    Pair pair;
    pair.lower()->setDragging(true);
    pair.upper()->moveCut(0);
    QVERIFY(!pair.lower()->isDragging());
    QCOMPARE(minAspect(), 0.7);
    QCOMPARE(pair.upper()->sourceRect(), QRectF(0, 0, 700, 1000));
    QCOMPARE(pair.lower()->sourceRect(), QRectF(0, 1000, 700, 1000));
    QCOMPARE(pair.lower()->pos(), QPointF(0, 1020));
}

void TestPageItem::movingEndsTheDragOfTheNextStrip()
{
    Pair pair;
    pair.lower()->setDragging(true);
    pair.lower()->setDragRect(QRectF(1, 2, 3, 4));
    pair.upper()->moveCut(-30);
    QVERIFY(!pair.lower()->isDragging());
    QCOMPARE(pair.lower()->dragRect(), QRectF(0, 1030, 700, 20));
}

void TestPageItem::movingKeepsItsOwnDragAndIndex()
{
    Pair pair;
    pair.upper()->setDragging(true);
    pair.upper()->setPageIndex(7);
    pair.upper()->moveCut(12);
    QVERIFY(pair.upper()->isDragging());
    QCOMPARE(pair.upper()->pageIndex(), 7);
    QCOMPARE(pair.lower()->pageIndex(), 1);
    QCOMPARE(pair.upper()->nextItem(), pair.lower());
    QCOMPARE(pair.lower()->prevItem(), pair.upper());
}

void TestPageItem::movesTheEndOfTheLastStrip()
{
    Pair pair;
    pair.lower()->moveCut(500);
    QCOMPARE(pair.lower()->sourceRect(), QRectF(0, 1000, 700, 1500));
    QCOMPARE(pair.lower()->bodyRect(), QRectF(0, 0, 700, 1500));
    QCOMPARE(pair.lower()->handleRect(), QRectF(0, 1500, 700, 20));
    QCOMPARE(pair.lower()->pos(), QPointF(0, 1020));
    QCOMPARE(pair.upper()->sourceRect(), QRectF(0, 0, 700, 1000));
    QCOMPARE(minAspect(), 700.0 / 1500.0);
}

void TestPageItem::lowersMinAspectAndNeverRaisesIt()
{
    Pair pair;
    pair.upper()->moveCut(-5); // the lower strip grows, to 1005
    QCOMPARE(minAspect(), 700.0 / 1005.0);
    pair.upper()->moveCut(25); // the upper one, to 1020
    QCOMPARE(minAspect(), 700.0 / 1020.0);
    pair.upper()->moveCut(-20);
    QCOMPARE(minAspect(), 700.0 / 1020.0);

    Pair another; // shared by all chains; a new chain resets it
    QCOMPARE(minAspect(), a4Aspect);
    pair.upper()->moveCut(1);
    QCOMPARE(minAspect(), 700.0 / 1001.0);
    resetMinAspect();
    QCOMPARE(minAspect(), a4Aspect);
}

void TestPageItem::movesLikeTheOracle_data()
{
    QTest::addColumn<quint32>("seed");
    for (quint32 seed = 1; seed <= 20; ++seed) {
        QTest::addRow("seed %u", seed) << seed;
    }
}

void TestPageItem::movesLikeTheOracle()
{
    QFETCH(quint32, seed);
    QRandomGenerator random(seed);
    const double width = random.bounded(11, 900);
    QList<QRectF> bands;
    double y = 0;
    for (int i = random.bounded(2, 9); i >= 0; --i) {
        const double height = 20 + random.bounded(2000.0);
        bands.append(QRectF(0, y, width, height));
        y += height + random.bounded(2); // there may be a row between two bands
    }
    QGraphicsScene scene;
    const QPixmap pixmap(10, 10); // moves do not read pixels
    const QList<PageItem *> strips = addChain(scene, pixmap, bands);
    PlainChain plain(pixmap, bands);
    QCOMPARE(firstDifference(strips.first(), plain), QString());

    for (int move = 0; move < 150; ++move) {
        const int index = random.bounded(int(strips.size()) - 1);
        const PageItem *strip = strips.at(index);
        const double lowest = 1 - strip->bodyRect().height();
        const double highest = strip->nextItem()->bodyRect().height() - 1;
        const double delta = lowest + random.bounded(highest - lowest);
        strips.at(index)->moveCut(delta);
        plain.moveCut(index, delta);
        QCOMPARE(firstDifference(strips.first(), plain), QString());

        double top = 0;
        for (const PageItem *each : strips) {
            QCOMPARE(each->x(), 0.0);
            QVERIFY(qAbs(each->y() - top) < 1e-6);
            top = each->y() + each->bodyRect().height() + each->handleHeight();
        }
        QVERIFY(qAbs(strips.last()->sourceRect().bottom() - bands.last().bottom()) < 1e-6);
    }
}

void TestPageItem::updatesItsOutputPages()
{
    Pair pair;
    QGraphicsScene oneColumn;
    QGraphicsScene twoColumn;
    auto *first = new PreviewItem(pair.upper(), 1); // owned by the scenes
    auto *second = new PreviewItem(pair.lower(), 1);
    auto *both = new PreviewItem(pair.upper(), 4);
    both->addStrip(pair.lower());
    oneColumn.addItem(first);
    oneColumn.addItem(second);
    twoColumn.addItem(both);
    QCOMPARE(pair.upper()->firstPreview(), first);
    QCOMPARE(pair.lower()->firstPreview(), second);

    QSignalSpy oneColumnChanged(&oneColumn, &QGraphicsScene::changed);
    QSignalSpy twoColumnChanged(&twoColumn, &QGraphicsScene::changed);
    do { // ignore the signals of adding the pages
        oneColumnChanged.clear();
        twoColumnChanged.clear();
        QCoreApplication::processEvents();
    } while (!oneColumnChanged.isEmpty() || !twoColumnChanged.isEmpty());
    pair.upper()->moveCut(10);
    QTRY_VERIFY(!oneColumnChanged.isEmpty() && !twoColumnChanged.isEmpty());
}

void TestPageItem::ignoresADoubleClick()
{
    Pair pair;
    handledriver::hover(pair.upper(), {350, 1010});
    QVERIFY(pair.upper()->hasCursor());

    for (const bool accepted : {true, false}) {
        QVERIFY(handledriver::send(pair.upper(), QEvent::GraphicsSceneMouseDoubleClick, {350, 1010}, Qt::LeftButton,
                                   accepted));
        QVERIFY(!pair.upper()->isDragging());
        QVERIFY(!pair.lower()->isDragging());
        QCOMPARE(pair.upper()->sourceRect(), QRectF(0, 0, 700, 1000));
    }
}

QUILLMARCH_TEST_MAIN(TestPageItem)
#include "tst_pageitem.moc"
