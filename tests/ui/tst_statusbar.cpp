#include "support/testmain.h"
#include "ui/windowaccess.h"

#include <QElapsedTimer>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStatusBar>

using namespace Qt::StringLiterals;

class TestStatusBar : public QObject
{
    Q_OBJECT

private slots:
    void init() { forgetEverything(); }

    void startsReady_data();
    void startsReady();
    void hidesTheIndicatorAtStart();
    void versionLabelLooksLikeABadgeAtFirst();
    void updateButtonIsSmallAndFlat();
    void indicatorHasItsLayout();
    void statusTipsReplaceTheMessage();
    void showsTheVersionAfterASecond();
    void windowMayBeDeletedBeforeTheSecondIsOver();
};

void TestStatusBar::startsReady_data()
{
    QTest::addColumn<bool>("english");
    QTest::addColumn<QString>("message");
    QTest::newRow("Chinese") << false << u"就绪"_s;
    QTest::newRow("English") << true << u"Ready"_s;
}

void TestStatusBar::startsReady()
{
    QFETCH(bool, english);
    std::unique_ptr<EnglishCatalogue> catalogue;
    if (english) {
        catalogue = std::make_unique<EnglishCatalogue>();
        QVERIFY(catalogue->isLoaded());
    }
    MainWindow window;
    QTEST(window.statusBar()->currentMessage(), "message");
    // Neither text is in the catalogue.
    QCOMPARE(childOf<QLabel>(window, "versionLabel")->text(), u"检查更新中..."_s);
    QCOMPARE(childOf<QPushButton>(window, "updateButton")->toolTip(), u"点击下载最新版本"_s);
}

void TestStatusBar::hidesTheIndicatorAtStart()
{
    MainWindow window;
    QVERIFY(childOf<QLabel>(window, "versionLabel")->isHidden());
    QVERIFY(childOf<QPushButton>(window, "updateButton")->isHidden());
    window.show();
    QVERIFY(!childOf<QPushButton>(window, "updateButton")->isVisible());
}

void TestStatusBar::versionLabelLooksLikeABadgeAtFirst()
{
    const MainWindow window;
    const QLabel *label = childOf<QLabel>(window, "versionLabel");
    QCOMPARE(label->alignment(), Qt::Alignment(0x81));
    QCOMPARE(
        label->styleSheet(),
        u"QLabel {     color: #8E8E93;     font-size: 12px;     font-weight: 500;     padding: 2px 6px;     background-color: rgba(142, 142, 147, 0.1);     border-radius: 4px; }"_s);
}

void TestStatusBar::updateButtonIsSmallAndFlat()
{
    const MainWindow window;
    const QPushButton *button = childOf<QPushButton>(window, "updateButton");
    QCOMPARE(button->minimumSize(), QSize(20, 20));
    QCOMPARE(button->maximumSize(), QSize(20, 20));
    QCOMPARE(button->iconSize(), QSize(16, 16));
    QVERIFY(!button->icon().isNull());
    QVERIFY(button->text().isEmpty());
    QCOMPARE(
        button->styleSheet(),
        u"QPushButton {     border: none;     background: transparent;     border-radius: 2px;     padding: 2px; } QPushButton:hover {     background-color: rgba(0, 122, 255, 0.1); } QPushButton:pressed {     background-color: rgba(0, 122, 255, 0.2); }"_s);
}

void TestStatusBar::indicatorHasItsLayout()
{
    const MainWindow window;
    QWidget *const label = childOf<QLabel>(window, "versionLabel");
    QWidget *const button = childOf<QPushButton>(window, "updateButton");
    const QWidget *indicator = label->parentWidget();
    QCOMPARE(button->parentWidget(), indicator);
    QCOMPARE(indicator->parentWidget(), window.statusBar());
    const auto *layout = qobject_cast<QHBoxLayout *>(indicator->layout());
    QVERIFY(layout);
    QCOMPARE(layout->contentsMargins(), QMargins(8, 4, 8, 4));
    QCOMPARE(layout->spacing(), 6);
    QCOMPARE(layout->count(), 2);
    QCOMPARE(layout->itemAt(0)->widget(), label);
    QCOMPARE(layout->itemAt(1)->widget(), button);
    for (int i = 0; i < 2; ++i) {
        QCOMPARE(layout->stretch(i), 0);
        QCOMPARE(layout->itemAt(i)->alignment(), Qt::Alignment());
    }
}

void TestStatusBar::statusTipsReplaceTheMessage()
{
    MainWindow window;
    window.show();
    QVERIFY(actionOf(window, "openAction")->showStatusText(&window));
    QCOMPARE(window.statusBar()->currentMessage(), u"打开需要处理的长图片文件"_s);
    // The indicator is a permanent widget: no message hides it.
    QVERIFY(childOf<QLabel>(window, "versionLabel")->parentWidget()->isVisible());
}

void TestStatusBar::showsTheVersionAfterASecond()
{
    QElapsedTimer clock;
    clock.start();
    MainWindow window;
    const QLabel *label = childOf<QLabel>(window, "versionLabel");
    window.show();
    QTRY_VERIFY_WITH_TIMEOUT(label->isVisible(), 10000);
    QVERIFY2(clock.elapsed() >= 940, qPrintable(QString::number(clock.elapsed()))); // a coarse timer may fire 5 % early
    QCOMPARE(label->text(), u"v2.7.1"_s);
    QCOMPARE(label->styleSheet(), u"QLabel { color: #666; font-size: 11px; }"_s);
    QCOMPARE(label->font().pixelSize(), 11);
    QVERIFY(childOf<QPushButton>(window, "updateButton")->isHidden());
    QCOMPARE(window.statusBar()->currentMessage(), u"就绪"_s);
}

void TestStatusBar::windowMayBeDeletedBeforeTheSecondIsOver()
{
    {
        const MainWindow window;
    }
    // A report that outlives its window would now write into freed memory.
    const MainWindow other;
    QTRY_VERIFY_WITH_TIMEOUT(!childOf<QLabel>(other, "versionLabel")->isHidden(), 10000);
}

QUILLMARCH_TEST_MAIN(TestStatusBar)
#include "tst_statusbar.moc"
