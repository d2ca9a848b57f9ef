#include "page/handledriver.h"
#include "page/stripdocument.h"
#include "support/testmain.h"

#include <QGraphicsView>

using namespace handledriver;

class TestCutDrag : public QObject
{
    Q_OBJECT

private slots:
    void dragsInAView();
    void sceneFindsHandlesAfterDrags();
};

void TestCutDrag::dragsInAView()
{
    StripDocument document(3, {100, 1000});
    document.scene.setSceneRect(0, 0, 100, 3060);
    QGraphicsView view;
    view.setScene(&document.scene);
    view.setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    view.setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    view.setFrameShape(QFrame::NoFrame);
    view.setTransform(QTransform::fromScale(0.5, 0.5));
    view.resize(200, 600);
    view.centerOn(50, 1000);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    const auto at = [&view](double y) { return view.mapFromScene(QPointF(50, y)); };

    QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, at(900)); // on the image
    QCOMPARE(document.cut(), 1000.0);
    QTest::mouseMove(view.viewport(), at(1010));
    QTRY_VERIFY(hasSplitCursor(document.upper()));
    QTRY_COMPARE(view.viewport()->cursor().shape(), Qt::SplitVCursor);
    QTest::mousePress(view.viewport(), Qt::LeftButton, {}, at(1010));
    QVERIFY(document.upper()->isDragging());
    QTest::mouseMove(view.viewport(), at(1060));
    QTest::mouseMove(view.viewport(), at(1110)); // over the next strip; the first one still gets the event
    QTRY_COMPARE(document.upper()->dragRect().y(), 1100.0);
    QVERIFY(document.lower()->isDragging());
    QTest::mouseRelease(view.viewport(), Qt::LeftButton, {}, at(1110));
    QVERIFY(!document.upper()->isDragging());
    QVERIFY(!document.lower()->isDragging());
    QCOMPARE(document.cut(), 1100.0);
    QCOMPARE(document.lower()->pos(), QPointF(0, 1120));

    // The second press of a double click starts no drag.
    QTest::mouseMove(view.viewport(), at(1108));
    QTRY_VERIFY(document.upper()->hasCursor());
    QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, at(1108));
    QTest::mouseMove(view.viewport(), at(1106));
    QTRY_VERIFY(document.upper()->hasCursor());
    QTest::mouseDClick(view.viewport(), Qt::LeftButton, {}, at(1106)); // sends only the press
    QVERIFY(!document.upper()->isDragging());
    QTest::mouseRelease(view.viewport(), Qt::LeftButton, {}, at(1150));
    QCOMPARE(document.cut(), 1100.0);

    // Moving across the handle to the next strip resets the cursor.
    QTest::mouseMove(view.viewport(), at(1112));
    QTRY_VERIFY(document.upper()->hasCursor());
    QTest::mouseMove(view.viewport(), at(1130));
    QTRY_VERIFY(!document.upper()->hasCursor());
    QVERIFY(!document.lower()->hasCursor());
}

void TestCutDrag::sceneFindsHandlesAfterDrags()
{
    QGraphicsScene scene;
    resetMinAspect();
    const QList<PageItem *> strips = addChain(scene, QPixmap(100, 100), equalBands(60, 100, 140));
    scene.setSceneRect(0, 0, 100, 60 * 160);
    for (const double share : {0.41, 0.59, 0.45, 0.6}) {
        QCOMPARE(scene.items().size(), 60); // also adds all of them to the index
        for (qsizetype i = 0; i + 1 < strips.size(); ++i) {
            PageItem *strip = strips.at(i);
            const QPointF grab = strip->handleRect().center();
            const double joined = strip->bodyRect().height() + strips.at(i + 1)->bodyRect().height();
            hover(strip, grab);
            press(strip, grab);
            release(strip, {50, joined * share});
        }
        for (PageItem *strip : strips) {
            const QRectF handle = strip->mapRectToScene(strip->handleRect());
            for (const double y : {handle.top() + 0.5, handle.bottom() - 0.5}) {
                QCOMPARE(scene.itemAt(QPointF(50, y), QTransform()), strip);
            }
        }
    }
}

QUILLMARCH_TEST_MAIN(TestCutDrag)
#include "tst_cutdrag.moc"
