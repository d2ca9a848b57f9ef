#include "support/testmain.h"
#include "ui/customsplitter.h"
#include "ui/leftview.h"
#include "ui/mainview.h"
#include "ui/windowaccess.h"
#include "ui/windowgeometry.h"
#include "ui/windowstore.h"

#include <QScreen>
#include <QSplitter>
#include <QToolBar>
#include <QWindow>

#include <limits>

using namespace Qt::StringLiterals;

namespace {

void store(const QString &key, const QByteArray &bytes)
{
    openStore().setValue(key, bytes);
}

QStringList storedKeys()
{
    QStringList keys = openStore().allKeys();
    keys.sort();
    return keys;
}

const QStringList windowKeys{u"windowGeometry"_s, u"windowState"_s};

/// The stored bytes of a window with the geometry \a rect.
QByteArray geometryBytes(const QRect &rect)
{
    QMainWindow window;
    window.setGeometry(rect);
    return window.saveGeometry();
}

/// The stored bytes of a window with its toolbar on the left.
QByteArray stateWithToolBarOnTheLeft()
{
    MainWindow window;
    window.addToolBar(Qt::LeftToolBarArea, childOf<QToolBar>(window, "mainToolbar"));
    const QByteArray bytes = window.saveState(0);
    openStore().clear();
    return bytes;
}

/// What a window stores whose toolbar was torn off, and perhaps hidden.
QByteArray stateWithFloatingToolBar(const QPoint &place, bool shown)
{
    MainWindow window;
    window.show();
    auto *bar = window.findChild<QToolBar *>();
    bar->setWindowFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::X11BypassWindowManagerHint);
    bar->move(place);
    bar->setVisible(shown);
    const QByteArray bytes = window.saveState(0);
    openStore().clear();
    return bytes;
}

/// The stored bytes of a splitter whose left widget has a fifth of the width.
QByteArray stateOfAnUnevenSplitter()
{
    CustomSplitter splitter(nullptr);
    splitter.addWidget(new QWidget);
    splitter.addWidget(new QWidget);
    splitter.resize(506, 100);
    splitter.setSizes({100, 400});
    return splitter.saveState();
}

Qt::ToolBarArea toolBarArea(const MainWindow &window)
{
    return window.toolBarArea(childOf<QToolBar>(window, "mainToolbar"));
}

/// The share of the left view in the width of both.
double leftShare(const MainWindow &window)
{
    const double left = childOf<LeftView>(window, "leftView")->width();
    const double right = childOf<MainView>(window, "mainView")->width();
    return left / (left + right);
}

} // namespace

class TestWindowState : public QObject
{
    Q_OBJECT

private slots:
    void usesGeometryOnTheScreenOnly_data();
    void usesGeometryOnTheScreenOnly();
    void init() { forgetEverything(); }

    void firstRunTakesTwoThirdsOfTheScreen();
    void constructionStoresNothing();
    void isRestoredInTheNextWindow();
    void smallGeometryIsReplaced_data();
    void smallGeometryIsReplaced();
    void offScreenGeometryIsMovedBack_data();
    void offScreenGeometryIsMovedBack();
    void keepsTheToolBarOfAReplacedGeometry();
    void floatingToolBarComesAfterTheWindow_data();
    void floatingToolBarComesAfterTheWindow();
    void ignoresTheStateWithoutAGeometry();
    void appliesTheSplitterStateAlone();
    void ignoresInvalidBytes_data();
    void ignoresInvalidBytes();
    void movingStoresAllButTheSplitter();
    void resizingStoresAllButTheSplitter();
    void closingStoresEverything();
};

void TestWindowState::usesGeometryOnTheScreenOnly_data()
{
    QTest::addColumn<QRect>("rect");
    QTest::addColumn<bool>("usable");
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    const QSize size(400, 300);
    QTest::newRow("on the screen") << QRect(screen.topLeft(), size) << true;
    QTest::newRow("too narrow") << QRect(screen.topLeft(), QSize(399, 300)) << false;
    QTest::newRow("too low") << QRect(screen.topLeft(), QSize(400, 299)) << false;
    QTest::newRow("a pixel on the screen") << QRect(screen.bottomRight(), size) << true;
    QTest::newRow("below the screen") << QRect(screen.bottomLeft() + QPoint(0, 1), size) << false;
    QTest::newRow("far away") << QRect(QPoint(100000, 100000), size) << false;
    constexpr int most = std::numeric_limits<int>::max();
    QTest::newRow("as far as it gets") << QRect(QPoint(most - 500, most - 500), size) << false;
}

void TestWindowState::usesGeometryOnTheScreenOnly()
{
    QFETCH(QRect, rect);
    QFETCH(bool, usable);
    QCOMPARE(isUsableWindowGeometry(rect), usable);
}

void TestWindowState::firstRunTakesTwoThirdsOfTheScreen()
{
    MainWindow window;
    QCOMPARE(window.geometry(), firstGeometry());
    window.show();
    const int left = childOf<LeftView>(window, "leftView")->width();
    const int right = childOf<MainView>(window, "mainView")->width();
    QVERIFY(left > 100);
    QVERIFY2(std::abs(left - right) <= 1, qPrintable(u"%1 and %2"_s.arg(left).arg(right)));
}

void TestWindowState::constructionStoresNothing()
{
    const MainWindow window;
    QCOMPARE(storedKeys(), QStringList());
}

void TestWindowState::isRestoredInTheNextWindow()
{
    const QRect place(60, 70, 611, 433);
    QByteArray splitterState;
    {
        MainWindow window;
        window.setGeometry(place);
        window.show();
        window.addToolBar(Qt::BottomToolBarArea, childOf<QToolBar>(window, "mainToolbar"));
        auto *splitter = qobject_cast<QSplitter *>(window.centralWidget());
        splitter->setSizes({150, 450});
        splitterState = splitter->saveState();
        QTRY_COMPARE(window.geometry(), place);
        window.close();
    }
    MainWindow window;
    QCOMPARE(window.geometry(), place);
    QCOMPARE(toolBarArea(window), Qt::BottomToolBarArea);
    window.show();
    QCOMPARE(qobject_cast<QSplitter *>(window.centralWidget())->saveState(), splitterState);
}

void TestWindowState::smallGeometryIsReplaced_data()
{
    QTest::addColumn<QRect>("rect");
    QTest::addColumn<bool>("kept");
    const auto add = [](QRect rect, bool kept) { QTest::addRow("%dx%d", rect.width(), rect.height()) << rect << kept; };
    add(QRect(50, 60, 399, 600), false);
    add(QRect(50, 60, 600, 299), false);
    add(QRect(50, 60, 399, 299), false);
    add(QRect(50, 60, 400, 300), true);
    add(QRect(50, 60, 400, 299), false);
    add(QRect(50, 60, 399, 300), false);
    add(QRect(50, 60, 555, 444), true);
}

void TestWindowState::smallGeometryIsReplaced()
{
    QFETCH(QRect, rect);
    QFETCH(bool, kept);
    store(u"windowGeometry"_s, geometryBytes(rect));
    const MainWindow window;
    QCOMPARE(window.geometry(), kept ? rect : firstGeometry());
}

void TestWindowState::offScreenGeometryIsMovedBack_data()
{
    QTest::addColumn<QRect>("rect");
    QTest::newRow("right") << QRect(5000, 100, 500, 400);
    QTest::newRow("left") << QRect(-5000, 100, 500, 400);
    QTest::newRow("below") << QRect(100, 9000, 500, 400);
    QTest::newRow("center only") << QRect(-300, 100, 500, 400);
}

void TestWindowState::offScreenGeometryIsMovedBack()
{
    QFETCH(QRect, rect);
    const QByteArray bytes = geometryBytes(rect);
    store(u"windowGeometry"_s, bytes);
    const MainWindow window;

    // Qt itself may move such a window onto the screen; if it does not, the first geometry is used.
    QMainWindow plain;
    plain.restoreGeometry(bytes);
    const QRect available = QGuiApplication::primaryScreen()->availableGeometry();
    const bool usable = available.intersects(plain.geometry()) && plain.width() >= 400 && plain.height() >= 300;
    QCOMPARE(window.geometry(), usable ? plain.geometry() : firstGeometry());
    QVERIFY(available.intersects(window.geometry()));
}

void TestWindowState::keepsTheToolBarOfAReplacedGeometry()
{
    const QByteArray state = stateWithToolBarOnTheLeft();
    store(u"windowGeometry"_s, geometryBytes(QRect(50, 60, 399, 600)));
    store(u"windowState"_s, state);
    const MainWindow window;
    QCOMPARE(window.geometry(), firstGeometry());
    QCOMPARE(toolBarArea(window), Qt::LeftToolBarArea);
}

void TestWindowState::floatingToolBarComesAfterTheWindow_data()
{
    QTest::addColumn<bool>("shown");
    QTest::newRow("shown") << true;
    QTest::newRow("hidden") << false;
}

void TestWindowState::floatingToolBarComesAfterTheWindow()
{
    QFETCH(bool, shown);
    const QPoint place(120, 140);
    store(u"windowState"_s, stateWithFloatingToolBar(place, shown));
    store(u"windowGeometry"_s, geometryBytes(QRect(60, 70, 611, 433)));
    MainWindow window;
    const auto *bar = window.findChild<QToolBar *>();
    const auto isOnScreen = [bar] { return bar->windowHandle() != nullptr && bar->windowHandle()->isVisible(); };
    QVERIFY(bar->isFloating());
    QVERIFY(!isOnScreen());
    window.show();
    QCOMPARE(stored(u"windowState"_s), window.saveState(0));
    QTRY_COMPARE(bar->testAttribute(Qt::WA_DontShowOnScreen), false);
    QCOMPARE(isOnScreen(), shown);
    QCOMPARE(bar->isVisible(), shown);
    QVERIFY(bar->isFloating());
    QCOMPARE(bar->pos(), place);
}

void TestWindowState::ignoresTheStateWithoutAGeometry()
{
    store(u"windowState"_s, stateWithToolBarOnTheLeft());
    const MainWindow window;
    QCOMPARE(window.geometry(), firstGeometry());
    QCOMPARE(toolBarArea(window), Qt::TopToolBarArea);
}

void TestWindowState::appliesTheSplitterStateAlone()
{
    store(u"splitterState"_s, stateOfAnUnevenSplitter());
    MainWindow window;
    QCOMPARE(window.geometry(), firstGeometry());
    window.show();
    QVERIFY2(std::abs(leftShare(window) - 0.2) < 0.02, qPrintable(QString::number(leftShare(window))));
}

void TestWindowState::ignoresInvalidBytes_data()
{
    // Bytes that Qt rejects leave its default geometry: a value exists, so the first
    // geometry is not set. Qt reads a truncated value as an empty geometry.
    const QRect untouched = QMainWindow().geometry();
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QRect>("rect");
    QTest::newRow("text") << QByteArray("no geometry at all") << untouched;
    QTest::newRow("one byte") << QByteArray("\x01") << untouched;
    QTest::newRow("zeros") << QByteArray(64, '\0') << untouched;
    QTest::newRow("cut short") << geometryBytes(QRect(50, 60, 555, 444)).left(10) << firstGeometry();
}

void TestWindowState::ignoresInvalidBytes()
{
    QFETCH(QByteArray, bytes);
    for (const QString &key : allKeys) {
        store(key, bytes);
    }
    MainWindow window;
    QTEST(window.geometry(), "rect");
    QCOMPARE(toolBarArea(window), Qt::TopToolBarArea);
    window.show();
    QVERIFY2(std::abs(leftShare(window) - 0.5) < 0.01, qPrintable(QString::number(leftShare(window))));
}

void TestWindowState::movingStoresAllButTheSplitter()
{
    MainWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    openStore().clear();
    window.move(77, 88);
    QTRY_COMPARE(storedKeys(), windowKeys);
    QTRY_COMPARE(stored(u"windowGeometry"_s), window.saveGeometry());
    QCOMPARE(stored(u"windowState"_s), window.saveState(0));

    store(u"splitterState"_s, "as it was");
    window.move(99, 66);
    QTRY_COMPARE(stored(u"windowGeometry"_s), window.saveGeometry());
    QCOMPARE(stored(u"splitterState"_s), QByteArray("as it was"));
}

void TestWindowState::resizingStoresAllButTheSplitter()
{
    MainWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    openStore().clear();
    store(u"splitterState"_s, "as it was");
    window.resize(517, 419);
    QTRY_COMPARE(storedKeys(), allKeys);
    QTRY_COMPARE(stored(u"windowGeometry"_s), window.saveGeometry());
    QCOMPARE(stored(u"windowState"_s), window.saveState(0));
    QCOMPARE(stored(u"splitterState"_s), QByteArray("as it was"));
}

void TestWindowState::closingStoresEverything()
{
    MainWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    openStore().clear();
    auto *splitter = qobject_cast<QSplitter *>(window.centralWidget());
    splitter->setSizes({120, 300});
    const QByteArray geometry = window.saveGeometry();
    QVERIFY(window.close());
    QVERIFY(!window.isVisible());
    QCOMPARE(storedKeys(), allKeys);
    QCOMPARE(stored(u"windowGeometry"_s), geometry);
    QCOMPARE(stored(u"windowState"_s), window.saveState(0));
    QCOMPARE(stored(u"splitterState"_s), splitter->saveState());
}

QUILLMARCH_TEST_MAIN(TestWindowState)
#include "tst_windowstate.moc"
