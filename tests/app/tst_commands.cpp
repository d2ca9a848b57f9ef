#include "app/mainwindow.h"
#include "app/settings.h"
#include "output/previewitem.h"
#include "page/pageitem.h"
#include "support/configvalues.h"
#include "support/pictures.h"
#include "support/testmain.h"
#include "support/windowprobe.h"
#include "ui/leftview.h"
#include "ui/mainview.h"

#include <QGraphicsScene>
#include <QSignalSpy>

using namespace Qt::StringLiterals;

namespace {

constexpr double stripWidth = 70;

double percentOf(const PreviewItem *page)
{
    return page->margins().x() * 100 / stripWidth;
}

QList<double> percentsOf(const MainWindow &window)
{
    QList<double> percents;
    const QList<PreviewItem *> pages = pagesOf(window);
    for (const PreviewItem *page : pages) {
        percents.append(percentOf(page));
    }
    return percents;
}

QRectF unionOf(const QList<QList<QVariant>> &changes)
{
    QRectF all;
    for (const QList<QVariant> &arguments : changes) {
        const auto rects = arguments.first().value<QList<QRectF>>();
        for (const QRectF &rect : rects) {
            all |= rect;
        }
    }
    return all;
}

} // namespace

class TestCommands : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void stepsTheMargin_data();
    void stepsTheMargin();
    void storesAnUnchangedMarginToo();
    void stepsAllPagesOfTheCurrentLayout();
    void keepsTheOtherLayout();
    void twoColumnPagesStepFromTheirOwnValue();
    void marginStepKeepsStripsCutsAndScenes();
    void marginStepKeepsTheSelection();
    void switchesPageNumbersForBothLayouts();
    void pageNumberSwitchRepaintsAllPages();
    void layoutSwitchKeepsEverything();
    void commandsOnAnEmptySceneDoNothing();
    void exitClosesTheWindow();
    void guideDoesNothing();

private:
    QString path;
};

void TestCommands::init()
{
    clearConfigValues();
    path = savedPicture(blockPicture(int(stripWidth), 450), u"five.png"_s);
}

void TestCommands::stepsTheMargin_data()
{
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QList<const char *>>("steps");
    QTest::addColumn<QString>("written");
    QTest::addColumn<double>("percent");
    const char *less = "decreaseMarginAction";
    const char *more = "increaseMarginAction";
    const auto add = [](const char *name, const QString &stored, const QList<const char *> &steps,
                        const QString &written,
                        double percent) { QTest::newRow(name) << stored << steps << written << percent; };
    add("default down", {}, {less}, u"5"_s, 5);
    add("default up", {}, {more}, u"15"_s, 15);
    add("default down three times", {}, {less, less, less}, u"0"_s, 0);
    add("default up six times", {}, {more, more, more, more, more, more}, u"30"_s, 30);
    add("up from the lower end", u"0"_s, {less, more}, u"5"_s, 5);
    add("down from the upper end", u"30"_s, {more, less}, u"25"_s, 25);
    add("3 down", u"3"_s, {less}, u"-2"_s, 4294967294.0);
    add("3 down, refuses up", u"3"_s, {less, more}, u"-2"_s, 4294967294.0);
    add("3 down twice", u"3"_s, {less, less}, u"-7"_s, 4294967289.0);
    add("3 up", u"3"_s, {more}, u"8"_s, 8);
    add("29 up", u"29"_s, {more}, u"34"_s, 34);
    add("29 up twice", u"29"_s, {more, more}, u"34"_s, 34);
    add("34 down", u"34"_s, {less}, u"29"_s, 29);
    add("60 up", u"60"_s, {more}, u"60"_s, 60);
    add("60 down", u"60"_s, {less}, u"55"_s, 55);
    add("text down", u"much"_s, {less}, u"0"_s, 0);
    add("text up", u"much"_s, {more}, u"5"_s, 5);
    add("too great for a number", u"99999999999"_s, {more}, u"5"_s, 5);
    add("-7 up", u"-7"_s, {more}, u"-7"_s, 4294967289.0);
    add("-7 down", u"-7"_s, {less}, u"-12"_s, 4294967284.0);
    add("2147483647 up", u"2147483647"_s, {more}, u"2147483647"_s, 2147483647.0);
}

void TestCommands::stepsTheMargin()
{
    QFETCH(QString, stored);
    QFETCH(QList<const char *>, steps);
    QFETCH(double, percent);
    writeConfigValue(configFilePath(), u"marginsc"_s, stored);
    MainWindow window;
    window.loadImageFile(path);
    for (const char *step : steps) {
        trigger(window, step);
    }
    QTEST(configValue(u"marginsc"_s), "written");
    QCOMPARE(percentsOf(window), QList<double>(5, percent));
}

void TestCommands::storesAnUnchangedMarginToo()
{
    for (const auto &[margin, step] :
         {std::pair(u"0"_s, "decreaseMarginAction"), std::pair(u"30"_s, "increaseMarginAction")}) {
        writeConfigValue(configFilePath(), u"marginsc"_s, margin);
        MainWindow window;
        window.loadImageFile(path);
        writeConfigValue(configFilePath(), u"marginsc"_s, u"by hand"_s);
        trigger(window, step);
        QCOMPARE(configValue(u"marginsc"_s), margin);
    }
}

void TestCommands::stepsAllPagesOfTheCurrentLayout()
{
    MainWindow window;
    window.loadImageFile(path);
    trigger(window, "twoColsAction");
    trigger(window, "increaseMarginAction");
    QCOMPARE(percentsOf(window), QList<double>(2, 15));
}

void TestCommands::keepsTheOtherLayout()
{
    MainWindow window;
    window.loadImageFile(path);
    trigger(window, "increaseMarginAction");
    trigger(window, "twoColsAction");
    QCOMPARE(percentsOf(window), QList<double>(2, 10));
    QCOMPARE(configValue(u"marginsc"_s), u"15"_s);
}

void TestCommands::twoColumnPagesStepFromTheirOwnValue()
{
    MainWindow window;
    window.loadImageFile(path);
    trigger(window, "twoColsAction");
    trigger(window, "increaseMarginAction");
    trigger(window, "increaseMarginAction");
    QCOMPARE(configValue(u"marginsc"_s), u"20"_s);
    trigger(window, "twoColsAction");
    trigger(window, "decreaseMarginAction");
    QCOMPARE(percentsOf(window), QList<double>(5, 5));
    QCOMPARE(configValue(u"marginsc"_s), u"5"_s);
    trigger(window, "twoColsAction");
    QCOMPARE(percentsOf(window), QList<double>(2, 20));
}

void TestCommands::marginStepKeepsStripsCutsAndScenes()
{
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(path);
    const QList<PageItem *> strips = stripsOf(window);
    const QList<PreviewItem *> pages = pagesOf(window);
    strips.first()->moveCut(7);
    const QRectF pageRect = pages.first()->boundingRect();
    const QPointF pagePos = pages.at(1)->pos();
    const QRectF sceneRect = leftViewOf(window)->scene()->sceneRect();

    trigger(window, "increaseMarginAction");
    QCOMPARE(stripsOf(window), strips);
    QCOMPARE(pagesOf(window), pages);
    QCOMPARE(strips.first()->sourceRect(), QRectF(0, 0, 70, 107));
    QCOMPARE(pages.first()->boundingRect(), pageRect);
    QCOMPARE(pages.at(1)->pos(), pagePos);
    QCOMPARE(leftViewOf(window)->scene()->sceneRect(), sceneRect);
}

void TestCommands::marginStepKeepsTheSelection()
{
    MainWindow window;
    window.loadImageFile(path);
    pagesOf(window).at(1)->setSelected(true);
    trigger(window, "decreaseMarginAction");
    QVERIFY(pagesOf(window).at(1)->isSelected());
    QVERIFY(!pagesOf(window).at(0)->isSelected());
}

void TestCommands::switchesPageNumbersForBothLayouts()
{
    MainWindow window;
    window.loadImageFile(path);
    QVERIFY(!showPageNumbers());
    trigger(window, "pageNumAction");
    QVERIFY(showPageNumbers());
    trigger(window, "twoColsAction");
    QVERIFY(showPageNumbers());
    trigger(window, "pageNumAction");
    QVERIFY(!showPageNumbers());
}

void TestCommands::pageNumberSwitchRepaintsAllPages()
{
    MainWindow window;
    window.show();
    window.loadImageFile(path);
    const QGraphicsScene *scene = leftViewOf(window)->scene();
    QCoreApplication::processEvents(); // handle what opening has posted
    QSignalSpy spy(scene, &QGraphicsScene::changed);
    trigger(window, "pageNumAction");
    QTRY_VERIFY(!spy.isEmpty());
    QVERIFY(unionOf(spy).contains(scene->itemsBoundingRect()));
    trigger(window, "pageNumAction");
}

void TestCommands::layoutSwitchKeepsEverything()
{
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(path);
    const QList<PageItem *> strips = stripsOf(window);
    const QList<PreviewItem *> pages = pagesOf(window);
    strips.first()->moveCut(-9);
    trigger(window, "twoColsAction");
    QVERIFY(pagesOf(window) != pages);
    trigger(window, "twoColsAction");
    QCOMPARE(pagesOf(window), pages);
    QCOMPARE(stripsOf(window), strips);
    QCOMPARE(strips.first()->sourceRect(), QRectF(0, 0, 70, 91));
}

void TestCommands::commandsOnAnEmptySceneDoNothing()
{
    MainWindow window;
    window.onPageNumClicked();
    QVERIFY(!showPageNumbers());
    window.onExtandClicked();
    window.onShrinkClicked();
    QCOMPARE(configValue(u"marginsc"_s), QString());
    window.onAutoCutClicked();
    QVERIFY(stripsOf(window).isEmpty());
}

void TestCommands::exitClosesTheWindow()
{
    MainWindow window;
    window.show();
    QVERIFY(window.isVisible());
    trigger(window, "exitAction");
    QVERIFY(!window.isVisible());
}

void TestCommands::guideDoesNothing()
{
    MainWindow window;
    window.loadImageFile(path);
    const QList<PageItem *> strips = stripsOf(window);
    const qsizetype widgets = QApplication::topLevelWidgets().size();
    trigger(window, "guideAction");
    window.onResizeClicked();
    QCOMPARE(stripsOf(window), strips);
    QCOMPARE(QApplication::topLevelWidgets().size(), widgets);
}

QUILLMARCH_TEST_MAIN(TestCommands)
#include "tst_commands.moc"
