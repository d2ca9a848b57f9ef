#include "app/mainwindow.h"
#include "output/previewitem.h"
#include "page/pageitem.h"
#include "support/configvalues.h"
#include "support/pictures.h"
#include "support/testmain.h"
#include "support/useractions.h"
#include "support/windowprobe.h"
#include "ui/leftview.h"
#include "ui/mainview.h"

#include <QGraphicsScene>
#include <QGraphicsSceneMouseEvent>
#include <QGraphicsView>
#include <QScrollBar>
#include <QSignalSpy>

#include <cmath>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

constexpr double width = 700;
constexpr double height = 1000;

/// A chain of strips, 700 x 1000 each, and one page per strip, in two scenes
/// without views.
struct Chain
{
    explicit Chain(int count)
    {
        QPixmap source(int(width), int(height) * count);
        source.fill(Qt::white);
        for (int i = 0; i < count; ++i) {
            auto *strip = new PageItem(source, QRectF(0, i * height, width, height)); // owned by the scene
            strip->setPageIndex(i);
            if (i > 0) {
                strips.last()->linkNext(strip);
            }
            stripScene.addItem(strip);
            auto *page = new PreviewItem(strip, 1); // owned by the scene
            page->setPageNumber(i);
            if (i > 0) {
                pages.last()->setNextPage(page);
            }
            pageScene.addItem(page);
            strips.append(strip);
            pages.append(page);
        }
    }

    QGraphicsScene stripScene;
    QGraphicsScene pageScene;
    QList<PageItem *> strips;
    QList<PreviewItem *> pages;
};

/// Records what an operation repaints in a scene.
class RepaintSpy
{
public:
    explicit RepaintSpy(const QGraphicsScene *scene)
        : spy(scene, &QGraphicsScene::changed)
    {
        scene->items(); // updates the index
        QCoreApplication::processEvents(); // handle earlier updates
        spy.clear();
    }

    bool isEmpty()
    {
        QCoreApplication::processEvents();
        return spy.isEmpty();
    }

    bool covers(const PreviewItem *page)
    {
        QCoreApplication::processEvents();
        for (const QList<QVariant> &arguments : std::as_const(spy)) {
            const auto rects = arguments.first().value<QList<QRectF>>();
            for (const QRectF &rect : rects) {
                if (rect.contains(page->sceneBoundingRect())) {
                    return true;
                }
            }
        }
        return false;
    }

private:
    QSignalSpy spy;
};

PreviewItem *pageOf(Chain &chain, int index)
{
    return chain.pages.at(index);
}

QPointF centerOf(const QGraphicsView *view)
{
    return view->mapToScene(view->viewport()->rect()).boundingRect().center();
}

} // namespace

class TestPreviewItem : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void constructs();
    void constructsForTenPercentWhateverIsStored();
    void isBelowItsPredecessors_data();
    void isBelowItsPredecessors();
    void isOnlySelectable();
    void registersWithItsStrip();
    void storesWhatIsSet();
    void boundsIgnoreTheInnerPosition();

    void setsTheMargin_data();
    void setsTheMargin();
    void marginFollowsTheCurrentStrip();
    void steps_data();
    void steps();
    void stepAtTheEndsDoesNotRepaint();
    void stepRepaintsThisPageOnly();
    void movedCutKeepsTheOuterSize();
    void addedStripKeepsTheOuterSize();

    void movedCutRepaintsThePageAndTheNext();
    void movedCutRepaintsEveryPageOfTheStrip();
    void lastPageRefreshesAlone();
    void toggleRepaintsThePageAndTheNext();

    void clickCentersItsStrip_data();
    void clickCentersItsStrip();
    void clickSelectsThePage();
    void anyButtonCenters_data();
    void anyButtonCenters();
    void releaseWithoutAViewIsHarmless();
    void doubleClickSwitchesPageNumbers();
};

void TestPreviewItem::init()
{
    clearConfigValues();
    if (showPageNumbers()) {
        Chain chain(1);
        chain.pages.first()->togglePageNumbers();
    }
}

void TestPreviewItem::constructs()
{
    PageItem strip(QPixmap(700, 1000), QRectF(0, 0, width, height));
    const PreviewItem page(&strip, 1);
    QCOMPARE(page.innerRect(), QRectF(0, 0, 700, 1000));
    QCOMPARE(page.margins(), QRectF(70, 102, 70, 102));
    QCOMPARE(page.boundingRect(), QRectF(0, 0, 840, 1204));
    QCOMPARE(page.pageGap(), 32.0);
    QCOMPARE(page.prevPage(), nullptr);
    QCOMPARE(page.nextPage(), nullptr);
    QCOMPARE(page.parentItem(), nullptr);
    QCOMPARE(page.pos(), QPointF(0, 0));
}

void TestPreviewItem::constructsForTenPercentWhateverIsStored()
{
    PageItem strip(QPixmap(100, 143), QRectF(0, 0, 100, 142));
    PreviewItem page(&strip, 4);
    QCOMPARE(page.boundingRect(), QRectF(0, 0, 120, 142 + 0.2 * 162));
    page.setMarginPercent(0);
    QCOMPARE(page.boundingRect(), QRectF(0, 0, 120, 142 + 0.2 * 162));
    const PreviewItem second(&strip, 4);
    QCOMPARE(second.margins(), QRectF(10, 16.2, 10, 16.2));
}

void TestPreviewItem::isBelowItsPredecessors_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<unsigned int>("kind");
    QTest::addColumn<double>("y");
    for (const int index : {0, 1, 3, 4, 7, 8, 11}) {
        QTest::addRow("%d, one strip", index) << index << 1U << 1236.0 * index;
        QTest::addRow("%d, four strips", index) << index << 4U << 1236.0 * (index / 4);
    }
}

void TestPreviewItem::isBelowItsPredecessors()
{
    QFETCH(int, index);
    QFETCH(unsigned int, kind);
    QFETCH(double, y);
    PageItem strip(QPixmap(700, 1000), QRectF(0, 0, width, height));
    strip.setPageIndex(index);
    const PreviewItem page(&strip, kind);
    QCOMPARE(page.pos(), QPointF(0, y));
}

void TestPreviewItem::isOnlySelectable()
{
    PageItem strip(QPixmap(700, 1000), QRectF(0, 0, width, height));
    const PreviewItem page(&strip, 1);
    QCOMPARE(page.flags(), QGraphicsItem::GraphicsItemFlags(QGraphicsItem::ItemIsSelectable));
    QCOMPARE(page.type(), int(QGraphicsItem::UserType));
    QVERIFY(!page.acceptHoverEvents());
}

void TestPreviewItem::registersWithItsStrip()
{
    PageItem first(QPixmap(700, 2000), QRectF(0, 0, width, height));
    PageItem second(QPixmap(700, 2000), QRectF(0, height, width, height));
    PreviewItem page(&first, 4);
    page.addStrip(&second);
    QCOMPARE(first.firstPreview(), &page);
    QCOMPARE(second.firstPreview(), &page);
}

void TestPreviewItem::storesWhatIsSet()
{
    PageItem strip(QPixmap(700, 1000), QRectF(0, 0, width, height));
    PreviewItem page(&strip, 1);
    PreviewItem other(&strip, 4);
    page.setInnerRect(QRectF(1, 2, 3, 4));
    page.setMargins(QRectF(5, 6, 7, 8));
    page.setPageGap(9);
    page.setPrevPage(&other);
    page.setNextPage(&other);
    page.setPageNumber(11);
    QCOMPARE(page.innerRect(), QRectF(1, 2, 3, 4));
    QCOMPARE(page.margins(), QRectF(5, 6, 7, 8));
    QCOMPARE(page.pageGap(), 9.0);
    QCOMPARE(page.prevPage(), &other);
    QCOMPARE(page.nextPage(), &other);
    QCOMPARE(page.pageNumber(), 11);
    QCOMPARE(other.prevPage(), nullptr);
}

void TestPreviewItem::boundsIgnoreTheInnerPosition()
{
    PageItem strip(QPixmap(700, 1000), QRectF(0, 0, width, height));
    PreviewItem page(&strip, 1);
    page.setInnerRect(QRectF(123, 456, 30, 40));
    page.setMargins(QRectF(5, 6, 7, 8));
    QCOMPARE(page.boundingRect(), QRectF(0, 0, 42, 54));
}

void TestPreviewItem::setsTheMargin_data()
{
    QTest::addColumn<unsigned int>("percent");
    QTest::addColumn<QRectF>("inner");
    QTest::newRow("0") << 0U << QRectF(0, 0, 840, 1204);
    QTest::newRow("3") << 3U << QRectF(21, 30.6, 798, 1142.8);
    QTest::newRow("5") << 5U << QRectF(35, 51, 770, 1102);
    QTest::newRow("10") << 10U << QRectF(70, 102, 700, 1000);
    QTest::newRow("15") << 15U << QRectF(105, 153, 630, 898);
    QTest::newRow("20") << 20U << QRectF(140, 204, 560, 796);
    QTest::newRow("25") << 25U << QRectF(175, 255, 490, 694);
    QTest::newRow("29") << 29U << QRectF(203, 295.8, 434, 612.4);
    QTest::newRow("30") << 30U << QRectF(210, 306, 420, 592);
    QTest::newRow("34") << 34U << QRectF(238, 346.8, 364, 510.4);
    QTest::newRow("60") << 60U << QRectF(420, 612, 0, -20);
    QTest::newRow("4294967294") << 4294967294U
                                << QRectF(30064771058.0, 43808666398.8, 840 - 60129542116.0, 1204 - 87617332797.6);
}

void TestPreviewItem::setsTheMargin()
{
    QFETCH(unsigned int, percent);
    QFETCH(QRectF, inner);
    PageItem strip(QPixmap(700, 1000), QRectF(0, 0, width, height));
    for (const unsigned int kind : {1U, 4U}) {
        PreviewItem page(&strip, kind);
        page.setMarginPercent(percent);
        QCOMPARE(page.innerRect(), inner);
        QCOMPARE(page.margins(), QRectF(inner.topLeft(), QSizeF(inner.x(), inner.y())));
        QVERIFY(std::abs(page.boundingRect().width() - 840) < 1e-4);
        QVERIFY(std::abs(page.boundingRect().height() - 1204) < 1e-4);
    }
}

void TestPreviewItem::marginFollowsTheCurrentStrip()
{
    Chain chain(2);
    PreviewItem *page = chain.pages.first();
    chain.strips.first()->moveCut(50);
    QCOMPARE(page->margins(), QRectF(70, 102, 70, 102));
    QCOMPARE(page->increaseMargin(), 15U);
    QCOMPARE(page->margins(), QRectF(105, 160.5, 105, 160.5)); // 15 percent of 1070
    QCOMPARE(page->boundingRect(), QRectF(0, 0, 840, 1204));
    QCOMPARE(page->innerRect(), QRectF(105, 160.5, 630, 883));
}

void TestPreviewItem::steps_data()
{
    QTest::addColumn<unsigned int>("percent");
    QTest::addColumn<unsigned int>("lower");
    QTest::addColumn<unsigned int>("higher");
    const auto add = [](unsigned int percent, unsigned int lower, unsigned int higher) {
        QTest::addRow("%u", percent) << percent << lower << higher;
    };
    add(0, 0, 5);
    add(1, 4294967292U, 6);
    add(3, 4294967294U, 8);
    add(5, 0, 10);
    add(10, 5, 15);
    add(25, 20, 30);
    add(29, 24, 34);
    add(30, 25, 30);
    add(34, 29, 34);
    add(4294967294U, 4294967289U, 4294967294U);
}

void TestPreviewItem::steps()
{
    QFETCH(unsigned int, percent);
    QFETCH(unsigned int, lower);
    QFETCH(unsigned int, higher);
    PageItem strip(QPixmap(700, 1000), QRectF(0, 0, width, height));
    PreviewItem down(&strip, 1);
    down.setMarginPercent(percent);
    QCOMPARE(down.decreaseMargin(), lower);
    QCOMPARE(down.margins().x(), lower * 700.0 / 100);
    QCOMPARE(down.margins().y(), lower * 1020.0 / 100);
    PreviewItem up(&strip, 1);
    up.setMarginPercent(percent);
    QCOMPARE(up.increaseMargin(), higher);
    QCOMPARE(up.margins().x(), higher * 700.0 / 100);
    QCOMPARE(up.margins().y(), higher * 1020.0 / 100);
}

void TestPreviewItem::stepAtTheEndsDoesNotRepaint()
{
    Chain chain(1);
    PreviewItem *page = chain.pages.first();
    page->setMarginPercent(0);
    RepaintSpy spy(&chain.pageScene);
    page->decreaseMargin();
    QVERIFY(spy.isEmpty());
    page->setMarginPercent(30);
    page->increaseMargin();
    QVERIFY(spy.isEmpty());
    page->decreaseMargin();
    QVERIFY(spy.covers(page));
}

void TestPreviewItem::stepRepaintsThisPageOnly()
{
    Chain chain(2);
    RepaintSpy spy(&chain.pageScene);
    pageOf(chain, 0)->increaseMargin();
    QVERIFY(spy.covers(pageOf(chain, 0)));
    QVERIFY(!spy.covers(pageOf(chain, 1)));
}

void TestPreviewItem::movedCutKeepsTheOuterSize()
{
    Chain chain(2);
    chain.strips.first()->moveCut(120);
    for (int i = 0; i < 2; ++i) {
        QCOMPARE(pageOf(chain, i)->boundingRect(), QRectF(0, 0, 840, 1204));
        QCOMPARE(pageOf(chain, i)->innerRect(), QRectF(0, 0, 700, 1000));
        QCOMPARE(pageOf(chain, i)->pos(), QPointF(0, i * 1236));
    }
}

void TestPreviewItem::addedStripKeepsTheOuterSize()
{
    PageItem first(QPixmap(700, 2000), QRectF(0, 0, width, height));
    PageItem taller(QPixmap(700, 2000), QRectF(0, height, width, height + 300));
    PreviewItem page(&first, 4);
    page.addStrip(&taller);
    page.setMarginPercent(20);
    QCOMPARE(page.boundingRect(), QRectF(0, 0, 840, 1204));
    QCOMPARE(page.margins(), QRectF(140, 204, 140, 204));
}

void TestPreviewItem::movedCutRepaintsThePageAndTheNext()
{
    Chain chain(4);
    RepaintSpy spy(&chain.pageScene);
    chain.strips.at(1)->moveCut(10);
    QVERIFY(!spy.covers(pageOf(chain, 0)));
    QVERIFY(spy.covers(pageOf(chain, 1)));
    QVERIFY(spy.covers(pageOf(chain, 2)));
    QVERIFY(!spy.covers(pageOf(chain, 3)));
}

void TestPreviewItem::movedCutRepaintsEveryPageOfTheStrip()
{
    Chain chain(2);
    QGraphicsScene sharedScene;
    auto *shared = new PreviewItem(chain.strips.first(), 4); // owned by the scene
    shared->addStrip(chain.strips.last());
    sharedScene.addItem(shared);
    RepaintSpy onePage(&chain.pageScene);
    RepaintSpy sharedPage(&sharedScene);
    chain.strips.last()->moveCut(10);
    QVERIFY(onePage.covers(pageOf(chain, 1)));
    QVERIFY(sharedPage.covers(shared));
}

void TestPreviewItem::lastPageRefreshesAlone()
{
    Chain chain(3);
    RepaintSpy spy(&chain.pageScene);
    pageOf(chain, 2)->refresh();
    QVERIFY(spy.covers(pageOf(chain, 2)));
    QVERIFY(!spy.covers(pageOf(chain, 1)));
}

void TestPreviewItem::toggleRepaintsThePageAndTheNext()
{
    Chain chain(4);
    RepaintSpy spy(&chain.pageScene);
    QVERIFY(!showPageNumbers());
    pageOf(chain, 1)->togglePageNumbers();
    QVERIFY(showPageNumbers());
    QVERIFY(!spy.covers(pageOf(chain, 0)));
    QVERIFY(spy.covers(pageOf(chain, 1)));
    QVERIFY(spy.covers(pageOf(chain, 2)));
    QVERIFY(!spy.covers(pageOf(chain, 3)));
    pageOf(chain, 3)->togglePageNumbers();
    QVERIFY(!showPageNumbers());
}

void TestPreviewItem::clickCentersItsStrip_data()
{
    QTest::addColumn<bool>("twoColumns");
    QTest::addColumn<int>("page");
    QTest::addColumn<int>("strip");
    QTest::newRow("one column, page 5") << false << 4 << 4;
    QTest::newRow("one column, page 8") << false << 7 << 7;
    QTest::newRow("two columns, page 2") << true << 1 << 4;
    QTest::newRow("two columns, page 3") << true << 2 << 8;
}

void TestPreviewItem::clickCentersItsStrip()
{
    QFETCH(bool, twoColumns);
    QFETCH(int, page);
    QFETCH(int, strip);
    MainWindow window;
    window.setAutoPage(false);
    window.resize(1000, 700);
    window.show();
    window.loadImageFile(savedPicture(blockPicture(350, 6300), u"thirteen.png"_s)); // 13 strips
    if (twoColumns) {
        trigger(window, "twoColsAction");
    }
    LeftView *leftView = leftViewOf(window);
    MainView *mainView = mainViewOf(window);
    const QTransform zoom = mainView->transform();
    PreviewItem *item = pagesOf(window).at(page);
    leftView->centerOn(item);
    QTest::mouseClick(leftView->viewport(), Qt::LeftButton, {},
                      leftView->mapFromScene(item->sceneBoundingRect().center()));
    const QPointF wanted = stripsOf(window).at(strip)->sceneBoundingRect().center();
    QVERIFY(std::abs(centerOf(mainView).y() - wanted.y()) <= 2 / zoom.m22()); // scroll bars step by whole pixels
    QCOMPARE(mainView->transform(), zoom);
}

void TestPreviewItem::clickSelectsThePage()
{
    MainWindow window;
    window.resize(1000, 700);
    window.show();
    window.loadImageFile(savedPicture(blockPicture(350, 1200), u"three.png"_s));
    LeftView *leftView = leftViewOf(window);
    const QList<PreviewItem *> pages = pagesOf(window);
    for (PreviewItem *item : pages) {
        leftView->centerOn(item);
        QTest::mouseClick(leftView->viewport(), Qt::LeftButton, {},
                          leftView->mapFromScene(item->sceneBoundingRect().center()));
        QCOMPARE(leftView->scene()->selectedItems(), QList<QGraphicsItem *>({item}));
    }
}

void TestPreviewItem::anyButtonCenters_data()
{
    QTest::addColumn<Qt::MouseButton>("button");
    QTest::newRow("left") << Qt::LeftButton;
    QTest::newRow("middle") << Qt::MiddleButton;
    QTest::newRow("right") << Qt::RightButton;
}

void TestPreviewItem::anyButtonCenters()
{
    QFETCH(Qt::MouseButton, button);
    MainWindow window;
    window.setAutoPage(false);
    window.resize(1000, 700);
    window.show();
    window.loadImageFile(savedPicture(blockPicture(350, 6300), u"thirteen.png"_s));
    MainView *mainView = mainViewOf(window);
    PreviewItem *page = pagesOf(window).at(6);
    QGraphicsSceneMouseEvent release(QEvent::GraphicsSceneMouseRelease);
    release.setButton(button);
    page->scene()->sendEvent(page, &release);
    const QPointF wanted = stripsOf(window).at(6)->sceneBoundingRect().center();
    QVERIFY(std::abs(centerOf(mainView).y() - wanted.y()) <= 2 / mainView->transform().m22());
    QVERIFY(!page->isSelected());
}

void TestPreviewItem::releaseWithoutAViewIsHarmless()
{
    Chain chain(1);
    QGraphicsSceneMouseEvent release(QEvent::GraphicsSceneMouseRelease);
    chain.pageScene.sendEvent(chain.pages.first(), &release);
    PageItem strip(QPixmap(700, 1000), QRectF(0, 0, width, height)); // in no scene
    auto *page = new PreviewItem(&strip, 1); // owned by the scene
    chain.pageScene.addItem(page);
    chain.pageScene.sendEvent(page, &release);
    QCOMPARE(chain.pageScene.items().size(), 2);
}

void TestPreviewItem::doubleClickSwitchesPageNumbers()
{
    MainWindow window;
    window.setAutoPage(false);
    window.resize(1000, 700);
    window.show();
    window.loadImageFile(savedPicture(blockPicture(350, 6300), u"thirteen.png"_s));
    LeftView *leftView = leftViewOf(window);
    MainView *mainView = mainViewOf(window);
    PreviewItem *page = pagesOf(window).at(5);
    leftView->centerOn(page);
    const QPoint at = leftView->mapFromScene(page->sceneBoundingRect().center());
    QVERIFY(!showPageNumbers());
    doubleClick(leftView->viewport(), at);
    QVERIFY(showPageNumbers());
    QVERIFY(page->isSelected());
    const QPointF wanted = stripsOf(window).at(5)->sceneBoundingRect().center();
    QVERIFY(std::abs(centerOf(mainView).y() - wanted.y()) <= 2 / mainView->transform().m22());
    doubleClick(leftView->viewport(), at);
    QVERIFY(!showPageNumbers());
}

QUILLMARCH_TEST_MAIN(TestPreviewItem)
#include "tst_previewitem.moc"
