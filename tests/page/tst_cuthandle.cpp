#include "page/handledriver.h"
#include "page/stripdocument.h"
#include "support/testmain.h"

#include <QSignalSpy>

using namespace handledriver;

namespace {

/// Three strips of 100 x 1000.
struct Document : StripDocument
{
    Document()
        : StripDocument(3, {100, 1000})
    {
    }

    /// Presses the handle of the upper strip at \a y, in item coordinates.
    void grab(double y) const
    {
        hover(upper(), {50, y});
        press(upper(), {50, y});
    }
};

/// Discards all pending change signals of the scene.
void settle(QSignalSpy &changed)
{
    do {
        changed.clear();
        QCoreApplication::processEvents();
    } while (!changed.isEmpty());
}

} // namespace

class TestCutHandle : public QObject
{
    Q_OBJECT

private slots:
    void hoverTestsTheHandle_data();
    void hoverTestsTheHandle();
    void hoverTakesTheHandleAsRubberLine();
    void hoverOffTheHandleUnsetsTheCursor();
    void hoverClearsTheCursorOfTheStripAbove();
    void hoverRepaintsOnAChangeOnly();
    void pressNeedsTheCursor();
    void pressIgnoresItsPosition();
    void anyButtonDrags_data();
    void anyButtonDrags();
    void moveNeedsADrag();
    void moveShowsTheRubberLine_data();
    void moveShowsTheRubberLine();
    void moveKeepsTheCut();
    void moveOutOfLimitsIsIgnored_data();
    void moveOutOfLimitsIsIgnored();
    void releaseMovesTheCut_data();
    void releaseMovesTheCut();
    void releaseMovesLikeTheOracle();
    void releaseNeedsADrag();
    void releaseEndsTheDrag();
    void releaseRepaintsThePartnerAtTheOldPlace();
    void clickPullsTheCutToTheLimit_data();
    void clickPullsTheCutToTheLimit();
    void limitsFollowTheJoinedHeight();
    void partnerIgnoresTheRelease();
    void lastStripMovesNothing();
    void doubleClickStartsNoDrag();
    void keepsTheAcceptedFlagOfEvents_data();
    void keepsTheAcceptedFlagOfEvents();
    void dragKeepsTheRememberedShift();
    void survivesStripsWithoutHeight();
};

void TestCutHandle::hoverTestsTheHandle_data()
{
    QTest::addColumn<QPointF>("point");
    QTest::addColumn<bool>("on");
    QTest::newRow("body") << QPointF(50, 500) << false;
    QTest::newRow("just above") << QPointF(50, 999.9) << false;
    QTest::newRow("top edge") << QPointF(50, 1000) << true;
    QTest::newRow("middle") << QPointF(50, 1010) << true;
    QTest::newRow("bottom edge") << QPointF(50, 1020) << true;
    QTest::newRow("just below") << QPointF(50, 1020.1) << false;
    QTest::newRow("left edge") << QPointF(0, 1010) << true;
    QTest::newRow("right edge") << QPointF(100, 1010) << true;
    QTest::newRow("left of it") << QPointF(-0.1, 1010) << false;
    QTest::newRow("right of it") << QPointF(100.1, 1010) << false;
}

void TestCutHandle::hoverTestsTheHandle()
{
    QFETCH(QPointF, point);
    QFETCH(bool, on);
    const Document document;
    hover(document.upper(), point);
    QCOMPARE(hasSplitCursor(document.upper()), on);
    QCOMPARE(document.upper()->hasCursor(), on);
    QCOMPARE(document.upper()->dragRect(), on ? QRectF(0, 1000, 100, 20) : QRectF());
    QVERIFY(!document.upper()->isDragging());
}

void TestCutHandle::hoverTakesTheHandleAsRubberLine()
{
    const Document document;
    document.upper()->setDragRect(QRectF(1, 2, 3, 4));
    hover(document.upper(), {50, 500});
    QCOMPARE(document.upper()->dragRect(), QRectF(1, 2, 3, 4));
    hover(document.upper(), {50, 1010});
    QCOMPARE(document.upper()->dragRect(), QRectF(0, 1000, 100, 20));
}

void TestCutHandle::hoverOffTheHandleUnsetsTheCursor()
{
    const Document document;
    hover(document.upper(), {50, 1010});
    QVERIFY(document.upper()->hasCursor());
    hover(document.upper(), {50, 990});
    QVERIFY(!document.upper()->hasCursor());
    press(document.upper(), {50, 1010});
    QVERIFY(!document.upper()->isDragging());
}

void TestCutHandle::hoverClearsTheCursorOfTheStripAbove()
{
    const Document document;
    for (const double y : {2.0, 1010.0}) {
        hover(document.upper(), {50, 1010});
        hover(document.last(), {50, 1010});
        QVERIFY(document.upper()->hasCursor()); // not adjacent
        QVERIFY(document.last()->hasCursor());
        hover(document.lower(), {50, y});
        QVERIFY(!document.upper()->hasCursor());
        QVERIFY(document.last()->hasCursor());
        QCOMPARE(document.lower()->hasCursor(), y > 1000);
        press(document.upper(), {50, 1010});
        QVERIFY(!document.upper()->isDragging());
    }
}

void TestCutHandle::hoverRepaintsOnAChangeOnly()
{
    const Document document;
    QSignalSpy changed(&document.scene, &QGraphicsScene::changed);
    settle(changed);
    for (const auto &[y, repaints] :
         QList<std::pair<double, bool>>{{500, false}, {1010, true}, {1015, false}, {500, true}, {400, false}}) {
        hover(document.upper(), {50, y});
        QCoreApplication::processEvents();
        QCOMPARE(!changed.isEmpty(), repaints);
        settle(changed);
    }
}

void TestCutHandle::pressNeedsTheCursor()
{
    const Document document;
    press(document.upper(), {50, 1010});
    QVERIFY(!document.upper()->isDragging());
    press(document.upper(), {50, 500});
    QVERIFY(!document.upper()->isDragging());
    move(document.upper(), {50, 1100});
    release(document.upper(), {50, 1100});
    QCOMPARE(document.cut(), 1000.0);
    QVERIFY(!document.lower()->isDragging());
    QCOMPARE(document.upper()->dragRect(), QRectF());

    hover(document.upper(), {50, 1010});
    press(document.upper(), {50, 1010});
    QVERIFY(document.upper()->isDragging());
    QVERIFY(!document.lower()->isDragging());
    QVERIFY(hasSplitCursor(document.upper()));
}

void TestCutHandle::pressIgnoresItsPosition()
{
    // Only the cursor matters; the pointer may have moved since the hover event.
    const Document document;
    hover(document.upper(), {50, 1010});
    press(document.upper(), {50, 900});
    QVERIFY(document.upper()->isDragging());
    release(document.upper(), {50, 950}); // grabbed 100 above the handle
    QCOMPARE(document.cut(), 1050.0);
}

void TestCutHandle::anyButtonDrags_data()
{
    QTest::addColumn<Qt::MouseButton>("button");
    QTest::newRow("left") << Qt::LeftButton;
    QTest::newRow("right") << Qt::RightButton;
    QTest::newRow("middle") << Qt::MiddleButton;
    QTest::newRow("back") << Qt::BackButton;
}

void TestCutHandle::anyButtonDrags()
{
    QFETCH(Qt::MouseButton, button);
    const Document document;
    hover(document.upper(), {50, 1010});
    press(document.upper(), {50, 1010}, button);
    QVERIFY(document.upper()->isDragging());
    release(document.upper(), {50, 1060}, button);
    QCOMPARE(document.cut(), 1050.0);
}

void TestCutHandle::moveNeedsADrag()
{
    const Document document;
    hover(document.upper(), {50, 1010});
    move(document.upper(), {50, 1100});
    QVERIFY(!document.lower()->isDragging());
    QCOMPARE(document.upper()->dragRect(), QRectF(0, 1000, 100, 20));
}

void TestCutHandle::moveShowsTheRubberLine_data()
{
    QTest::addColumn<double>("y");
    QTest::addColumn<double>("line");
    QTest::addColumn<double>("lineOfNext");
    // Grabbed 5 pixels below the top of the handle. The rubber line of the next
    // strip starts at its handle, at 1000.
    QTest::newRow("down") << 1105.0 << 1100.0 << 80.0;
    QTest::newRow("just below the top") << 1000.5 << 995.5 << -24.5;
    QTest::newRow("at the top") << 1000.0 << 995.0 << 1000.0;
    QTest::newRow("up") << 905.0 << 900.0 << 1000.0;
    QTest::newRow("lower limit") << 800.0 << 795.0 << 1000.0;
    QTest::newRow("upper limit") << 1200.0 << 1195.0 << 175.0;
}

void TestCutHandle::moveShowsTheRubberLine()
{
    QFETCH(double, y);
    QFETCH(double, line);
    QFETCH(double, lineOfNext);
    const Document document;
    document.grab(1005);
    move(document.upper(), {7, y});
    QCOMPARE(document.upper()->dragRect(), QRectF(0, line, 100, 20));
    QVERIFY(document.upper()->isDragging());
    QVERIFY(document.lower()->isDragging());
    QCOMPARE(document.lower()->dragRect(), QRectF(0, lineOfNext, 100, 20));
    QVERIFY(!document.last()->isDragging());
    if (y > 1000) {
        QCOMPARE(document.lower()->mapToScene(document.lower()->dragRect().topLeft()),
                 document.upper()->mapToScene(document.upper()->dragRect().topLeft()));
    }
}

void TestCutHandle::moveKeepsTheCut()
{
    const Document document;
    document.grab(1010);
    for (const double y : {1100.0, 900.0, 1150.0}) {
        move(document.upper(), {50, y});
        QCOMPARE(document.upper()->sourceRect(), QRectF(0, 0, 100, 1000));
        QCOMPARE(document.upper()->bodyRect(), QRectF(0, 0, 100, 1000));
        QCOMPARE(document.upper()->handleRect(), QRectF(0, 1000, 100, 20));
        QCOMPARE(document.lower()->sourceRect(), QRectF(0, 1000, 100, 1000));
        QCOMPARE(document.lower()->handleRect(), QRectF(0, 1000, 100, 20));
        QCOMPARE(document.lower()->pos(), QPointF(0, 1020));
    }
    QCOMPARE(minAspect(), 0.70707071);
}

void TestCutHandle::moveOutOfLimitsIsIgnored_data()
{
    QTest::addColumn<double>("y");
    QTest::newRow("just above 0.4") << 799.999;
    QTest::newRow("just below 0.6") << 1200.001;
    QTest::newRow("top of the strip") << 0.0;
    QTest::newRow("above the strip") << -700.0;
    QTest::newRow("far below") << 9000.0;
}

void TestCutHandle::moveOutOfLimitsIsIgnored()
{
    QFETCH(double, y);
    const Document document;
    QSignalSpy changed(&document.scene, &QGraphicsScene::changed);
    document.grab(1010);
    move(document.upper(), {50, y}); // before any valid move
    QCOMPARE(document.upper()->dragRect(), QRectF(0, 1000, 100, 20));
    QVERIFY(!document.lower()->isDragging());

    move(document.upper(), {50, 1110});
    settle(changed);
    move(document.upper(), {50, y});
    QCoreApplication::processEvents();
    QCOMPARE(changed.count(), 0);
    QCOMPARE(document.upper()->dragRect(), QRectF(0, 1100, 100, 20));
    QCOMPARE(document.lower()->dragRect(), QRectF(0, 80, 100, 20));
    QVERIFY(document.upper()->isDragging());

    move(document.upper(), {50, 1111});
    QCoreApplication::processEvents();
    QVERIFY(!changed.isEmpty());
}

void TestCutHandle::releaseMovesTheCut_data()
{
    QTest::addColumn<double>("grab");
    QTest::addColumn<double>("y");
    QTest::addColumn<double>("cut");
    QTest::newRow("down") << 1010.0 << 1110.0 << 1100.0;
    QTest::newRow("up") << 1010.0 << 910.0 << 900.0;
    QTest::newRow("where it was") << 1010.0 << 1010.0 << 1000.0;
    QTest::newRow("grabbed at the bottom") << 1020.0 << 1110.0 << 1090.0;
    QTest::newRow("exactly 0.4") << 1005.0 << 800.0 << 795.0;
    QTest::newRow("exactly 0.6") << 1005.0 << 1200.0 << 1195.0;
    QTest::newRow("snaps to 0.4") << 1005.0 << 799.0 << 795.0;
    QTest::newRow("snaps to 0.6") << 1005.0 << 1201.0 << 1195.0;
    QTest::newRow("far above") << 1000.0 << -5000.0 << 800.0;
    QTest::newRow("far below") << 1000.0 << 50000.0 << 1200.0;
}

void TestCutHandle::releaseMovesTheCut()
{
    QFETCH(double, grab);
    QFETCH(double, y);
    QFETCH(double, cut);
    for (const bool moves : {false, true}) {
        const Document document;
        document.grab(grab);
        if (moves) {
            move(document.upper(), {50, 1100});
            move(document.upper(), {50, y});
        }
        release(document.upper(), {50, y});
        QCOMPARE(document.upper()->sourceRect(), QRectF(0, 0, 100, cut));
        QCOMPARE(document.lower()->sourceRect(), QRectF(0, cut, 100, 2000 - cut));
        QCOMPARE(document.lower()->sceneBoundingRect().bottom(), 2040.0);
        QCOMPARE(document.last()->pos(), QPointF(0, 2040));
        QCOMPARE(document.last()->sourceRect(), QRectF(0, 2000, 100, 1000));
    }
}

void TestCutHandle::releaseMovesLikeTheOracle()
{
    const Document document;
    PlainChain plain(document.source, equalBands(3, 100, 1000));
    for (const double y : {1107.3, 903.7, 1009.1, 5000.0, -3.0, 1061.25}) {
        const double top = document.upper()->handleRect().y();
        document.grab(top + 3.7);
        move(document.upper(), {50, y});
        const double joined = document.upper()->bodyRect().height() + document.lower()->bodyRect().height();
        const double offset = (top + 3.7) - top;
        release(document.upper(), {50, y});
        const double limited = 0.4 > y / joined ? joined * 0.4 : y / joined > 0.6 ? joined * 0.6 : y;
        plain.moveCut(0, limited - top - offset);
        plain.strips[2].drag = document.last()->dragRect();
        QCOMPARE(firstDifference(document.upper(), plain), QString());
    }
}

void TestCutHandle::releaseNeedsADrag()
{
    const Document document;
    hover(document.upper(), {50, 1010});
    release(document.upper(), {50, 1100});
    QCOMPARE(document.cut(), 1000.0);
    QVERIFY(document.upper()->hasCursor()); // no effect at all
    QCOMPARE(minAspect(), 0.70707071);
}

void TestCutHandle::releaseEndsTheDrag()
{
    const Document document;
    document.grab(1010);
    move(document.upper(), {50, 1100});
    QVERIFY(document.lower()->isDragging());
    release(document.upper(), {50, 1100});
    QVERIFY(!document.upper()->isDragging());
    QVERIFY(!document.lower()->isDragging());
    QVERIFY(!document.upper()->hasCursor());

    const double cut = document.cut();
    move(document.upper(), {50, 1000});
    release(document.upper(), {50, 1000});
    press(document.upper(), {50, cut + 10}); // needs a hover first
    QVERIFY(!document.upper()->isDragging());
    QCOMPARE(document.cut(), cut);
    hover(document.upper(), {50, cut + 10});
    QVERIFY(hasSplitCursor(document.upper()));
}

void TestCutHandle::releaseRepaintsThePartnerAtTheOldPlace()
{
    const Document document;
    QSignalSpy changed(&document.scene, &QGraphicsScene::changed);
    document.grab(1010);
    move(document.upper(), {50, 1100});
    settle(changed);
    release(document.upper(), {50, 1010});
    QTRY_VERIFY(!changed.isEmpty());
    QRectF repainted;
    for (const QList<QVariant> &signal : std::as_const(changed)) {
        const auto rects = signal.first().value<QList<QRectF>>();
        for (const QRectF &rect : rects) {
            repainted |= rect;
        }
    }
    QVERIFY(repainted.contains(document.lower()->mapRectToScene(document.lower()->handleRect())));
    QVERIFY(repainted.contains(document.upper()->mapRectToScene(document.upper()->handleRect())));
}

void TestCutHandle::clickPullsTheCutToTheLimit_data()
{
    QTest::addColumn<double>("start");
    QTest::addColumn<double>("cut");
    QTest::newRow("within") << 1100.0 << 1100.0;
    QTest::newRow("above 0.4") << 700.0 << 790.0;
    QTest::newRow("below 0.6") << 1300.0 << 1190.0;
}

void TestCutHandle::clickPullsTheCutToTheLimit()
{
    QFETCH(double, start);
    QFETCH(double, cut);
    const Document document;
    document.upper()->moveCut(start - 1000);
    document.grab(start + 10);
    release(document.upper(), {50, start + 10});
    QCOMPARE(document.cut(), cut);
}

void TestCutHandle::limitsFollowTheJoinedHeight()
{
    const Document document;
    document.lower()->moveCut(500); // 1000 and 1500 high
    document.grab(1000);
    move(document.upper(), {50, 1500});
    QCOMPARE(document.upper()->dragRect().y(), 1500.0);
    move(document.upper(), {50, 1500.1});
    QCOMPARE(document.upper()->dragRect().y(), 1500.0);
    move(document.upper(), {50, 999.9});
    QCOMPARE(document.upper()->dragRect().y(), 1500.0);
    document.lower()->moveCut(-500); // measured again at each event
    move(document.upper(), {50, 999.9});
    QCOMPARE(document.upper()->dragRect().y(), 999.9);
    release(document.upper(), {50, 1500});
    QCOMPARE(document.cut(), 1200.0);
}

void TestCutHandle::partnerIgnoresTheRelease()
{
    const Document document;
    document.grab(1010);
    move(document.upper(), {50, 1100});
    QVERIFY(document.lower()->isDragging());
    QVERIFY(!document.lower()->hasCursor());
    document.upper()->moveCut(5); // any move of the cut ends the drag of the partner
    QVERIFY(!document.lower()->isDragging());
    QVERIFY(document.upper()->isDragging());
    release(document.lower(), {50, 1100});
    QCOMPARE(document.lower()->sourceRect(), QRectF(0, 1005, 100, 995));
}

void TestCutHandle::lastStripMovesNothing()
{
    const Document document;
    PageItem *last = document.last();
    hover(last, {50, 1010});
    QVERIFY(hasSplitCursor(last));
    press(last, {50, 1010});
    QVERIFY(last->isDragging());
    move(last, {50, 1100});
    QCOMPARE(last->dragRect(), QRectF(0, 1000, 100, 20));
    release(last, {50, 1100});
    QVERIFY(!last->isDragging());
    QVERIFY(!last->hasCursor());
    QCOMPARE(last->sourceRect(), QRectF(0, 2000, 100, 1000));
    QCOMPARE(last->handleRect(), QRectF(0, 1000, 100, 20));
    QCOMPARE(document.lower()->sourceRect(), QRectF(0, 1000, 100, 1000));
    QCOMPARE(minAspect(), 0.70707071);
}

void TestCutHandle::doubleClickStartsNoDrag()
{
    const Document document;
    hover(document.upper(), {50, 1010});
    send(document.upper(), QEvent::GraphicsSceneMouseDoubleClick, {50, 1010});
    QVERIFY(!document.upper()->isDragging());
    move(document.upper(), {50, 1100});
    release(document.upper(), {50, 1100});
    QCOMPARE(document.cut(), 1000.0);
}

void TestCutHandle::keepsTheAcceptedFlagOfEvents_data()
{
    QTest::addColumn<QEvent::Type>("type");
    QTest::newRow("press") << QEvent::GraphicsSceneMousePress;
    QTest::newRow("move") << QEvent::GraphicsSceneMouseMove;
    QTest::newRow("release") << QEvent::GraphicsSceneMouseRelease;
    QTest::newRow("double click") << QEvent::GraphicsSceneMouseDoubleClick;
}

void TestCutHandle::keepsTheAcceptedFlagOfEvents()
{
    QFETCH(QEvent::Type, type);
    const Document document;
    for (const bool accepted : {true, false}) {
        QVERIFY(send(document.upper(), type, {50, 1010}, Qt::LeftButton, accepted)); // without the cursor
        document.grab(1010);
        QVERIFY(send(document.upper(), type, {50, 1100}, Qt::LeftButton, accepted));
        release(document.upper(), {50, 1010});
        QVERIFY(send(document.last(), type, {50, 1010}, Qt::LeftButton, accepted));
    }
}

void TestCutHandle::dragKeepsTheRememberedShift()
{
    const Document document; // one dark color: placed at the top of the search window
    document.upper()->autoPlaceCut();
    QCOMPARE(document.cut(), 850.0);
    document.grab(860);
    release(document.upper(), {50, 1010});
    QCOMPARE(document.cut(), 1000.0);
    document.upper()->autoPlaceCut();
    QCOMPARE(document.cut(), 1150.0);
}

void TestCutHandle::survivesStripsWithoutHeight()
{
    for (const double height : {0.0, -50.0}) {
        QGraphicsScene scene;
        const QList<PageItem *> strips = addChain(
            scene, QPixmap(100, 100), {QRectF(0, 0, 100, height), QRectF(0, 0, 100, 0), QRectF(0, 0, 100, 50)});
        const double top = strips.first()->handleRect().y();
        hover(strips.first(), {50, top + 10});
        press(strips.first(), {50, top + 10});
        for (const double y : {0.0, 10.0, -10.0}) {
            move(strips.first(), {50, y});
        }
        release(strips.first(), {50, 0.0});
        QVERIFY(!strips.first()->isDragging());
        QVERIFY(qIsFinite(strips.first()->bodyRect().height()));
        QVERIFY(qIsFinite(strips.at(1)->y()));
        QVERIFY(minAspect() > 0.0);
    }
}

QUILLMARCH_TEST_MAIN(TestCutHandle)
#include "tst_cuthandle.moc"
