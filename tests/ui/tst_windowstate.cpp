#include "support/testmain.h"
#include "ui/customsplitter.h"
#include "ui/leftview.h"
#include "ui/mainview.h"
#include "ui/windowaccess.h"

#include <QSplitter>
#include <QToolBar>
#include <QWindow>

using namespace Qt::StringLiterals;

namespace {

QSettings openStore()
{
    return QSettings(u"Quillmarch"_s, u"Settings"_s);
}

QByteArray stored(const QString &key)
{
    return QSettings(u"Quillmarch"_s, u"Settings"_s).value(key).toByteArray();
}

void store(const QString &key, const QByteArray &bytes)
{
    QSettings(u"Quillmarch"_s, u"Settings"_s).setValue(key, bytes);
}

QStringList storedKeys()
{
    QStringList keys = QSettings(u"Quillmarch"_s, u"Settings"_s).allKeys();
    keys.sort();
    return keys;
}

const QStringList allKeys{u"splitterState"_s, u"windowGeometry"_s, u"windowState"_s};
const QStringList windowKeys{u"windowGeometry"_s, u"windowState"_s};

/// Two thirds of the primary screen in each direction, centred.
QRect firstGeometry()
{
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    const int w = 2 * screen.width() / 3;
    const int h = 2 * screen.height() / 3;
    return QRect((screen.width() - w) / 2 + screen.x(), (screen.height() - h) / 2 + screen.y(), w, h);
}

/// What a window of the geometry \a rect stores.
QByteArray geometryBytes(const QRect &rect)
{
    QMainWindow window;
    window.setGeometry(rect);
    return window.saveGeometry();
}

/// What a window stores that has its toolbar on the left.
QByteArray stateWithToolBarOnTheLeft()
{
    MainWindow window;
    window.addToolBar(Qt::LeftToolBarArea, window.findChild<QToolBar *>());
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

/// What a splitter stores that gives its left widget a fifth of the room.
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
    return window.toolBarArea(window.findChild<QToolBar *>());
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
    void init() { forgetEverything(); }

    void firstRunTakesTwoThirdsOfTheScreen();
    void constructionStoresNothing();
    void survivesToTheNextWindow();
    void smallGeometryIsReplaced_data();
    void smallGeometryIsReplaced();
    void offScreenGeometryComesBack_data();
    void offScreenGeometryComesBack();
    void keepsTheToolBarOfAReplacedGeometry();
    void floatingToolBarComesAfterTheWindow_data();
    void floatingToolBarComesAfterTheWindow();
    void ignoresTheStateWithoutAGeometry();
    void appliesTheSplitterStateAlone();
    void dropsGarbage_data();
    void dropsGarbage();
    void movingStoresAllButTheSplitter();
    void resizingStoresAllButTheSplitter();
    void closingStoresEverything();
};

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

void TestWindowState::survivesToTheNextWindow()
{
    const QRect place(60, 70, 611, 433);
    QByteArray splitterState;
    {
        MainWindow window;
        window.setGeometry(place);
        window.show();
        window.addToolBar(Qt::BottomToolBarArea, window.findChild<QToolBar *>());
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

void TestWindowState::offScreenGeometryComesBack_data()
{
    QTest::addColumn<QRect>("rect");
    QTest::newRow("right") << QRect(5000, 100, 500, 400);
    QTest::newRow("left") << QRect(-5000, 100, 500, 400);
    QTest::newRow("below") << QRect(100, 9000, 500, 400);
    QTest::newRow("centre only") << QRect(-300, 100, 500, 400);
}

void TestWindowState::offScreenGeometryComesBack()
{
    QFETCH(QRect, rect);
    const QByteArray bytes = geometryBytes(rect);
    store(u"windowGeometry"_s, bytes);
    const MainWindow window;

    // Qt itself may bring such a window back; where it does not, the first geometry is due.
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

void TestWindowState::dropsGarbage_data()
{
    // What the toolkit refuses leaves its own geometry, for a value was there and the
    // first geometry is not set; a value cut short it takes for one of no size.
    const QRect untouched = QMainWindow().geometry();
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QRect>("rect");
    QTest::newRow("text") << QByteArray("no geometry at all") << untouched;
    QTest::newRow("one byte") << QByteArray("\x01") << untouched;
    QTest::newRow("zeros") << QByteArray(64, '\0') << untouched;
    QTest::newRow("cut short") << geometryBytes(QRect(50, 60, 555, 444)).left(10) << firstGeometry();
}

void TestWindowState::dropsGarbage()
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
