#include "faultruns.h"
#include "support/testmain.h"
#include "ui/customsplitter.h"
#include "ui/leftview.h"
#include "ui/mainview.h"
#include "ui/windowaccess.h"
#include "ui/windowstore.h"
#include "unprivileged.h"

#include <QDataStream>
#include <QRandomGenerator>
#include <QToolBar>

#include <limits>

using namespace Qt::StringLiterals;

namespace {

QRect screenArea()
{
    return QGuiApplication::primaryScreen()->availableGeometry();
}

/// A stored geometry in the format of Qt, for a window with the geometry \a rect on
/// the screen \a screen. Any \a rect is written unchanged.
QByteArray geometryBytes(const QRect &rect, int screen = 0, bool isMaximized = false, bool isFullScreen = false)
{
    constexpr quint32 magic = 0x1D9D0CB;
    constexpr quint16 majorVersion = 3;
    constexpr quint16 minorVersion = 0;
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(QDataStream::Qt_4_0);
    stream << magic << majorVersion << minorVersion << rect << rect << qint32(screen) << quint8(isMaximized)
           << quint8(isFullScreen) << qint32(screenArea().width()) << rect;
    return bytes;
}

/// The values that a window stores for `allKeys` when it is closed.
QHash<QString, QByteArray> validState()
{
    forgetEverything();
    MainWindow window;
    window.setGeometry(60, 70, 611, 433);
    window.show();
    window.addToolBar(Qt::LeftToolBarArea, childOf<QToolBar>(window, "mainToolbar"));
    window.close();
    QHash<QString, QByteArray> state;
    for (const QString &key : allKeys) {
        state[key] = stored(key);
    }
    return state;
}

QByteArray damaged(QByteArray bytes, QRandomGenerator &random)
{
    for (int change = random.bounded(1, 8); change > 0 && !bytes.isEmpty(); --change) {
        const int at = random.bounded(int(bytes.size()));
        switch (random.bounded(4)) {
        case 0:
            bytes[at] = char(random.bounded(256));
            break;
        case 1:
            bytes[at] = char(bytes[at] ^ (1 << random.bounded(8)));
            break;
        case 2:
            bytes.truncate(at);
            break;
        default:
            bytes.insert(at, char(random.bounded(256)));
        }
    }
    return bytes;
}

/// The geometry of \a window if it is too small or off the screen, else empty.
QString geometryFault(const QWidget &window)
{
    const QRect rect = window.geometry();
    if (rect.width() >= 400 && rect.height() >= 300 && rect.intersects(screenArea())) {
        return {};
    }
    return u"%1, %2, %3 x %4"_s.arg(rect.x()).arg(rect.y()).arg(rect.width()).arg(rect.height());
}

QString storePath()
{
    return openStore().fileName();
}

} // namespace

class TestStateFaults : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init() { forgetEverything(); }

    void isMovedOntoTheScreen_data();
    void isMovedOntoTheScreen();
    void keepsTheMinimumSize_data();
    void keepsTheMinimumSize();
    void survivesDamagedValues();
    void survivesADamagedStore_data();
    void survivesADamagedStore();
    void closesIfWritingFails();
};

void TestStateFaults::initTestCase()
{
    QVERIFY(hasRequestedDensity());
}

void TestStateFaults::isMovedOntoTheScreen_data()
{
    constexpr int smallest = std::numeric_limits<int>::min();
    constexpr int largest = std::numeric_limits<int>::max();
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("isShown"); // false if its pixels would not fit into the memory
    const auto add = [](const char *name, const QRect &rect, int screen = 0, bool isShown = true) {
        QTest::addRow("%s", name) << geometryBytes(rect, screen) << isShown;
        QTest::addRow("%s, maximized", name) << geometryBytes(rect, screen, true) << isShown;
        QTest::addRow("%s, full screen", name) << geometryBytes(rect, screen, false, true) << isShown;
        QTest::addRow("%s, both", name) << geometryBytes(rect, screen, true, true) << isShown;
    };
    add("on a second screen that is gone", QRect(2000, 100, 800, 600), 1);
    add("on a screen above that is gone", QRect(100, -1500, 800, 600), 1);
    add("screen with a huge number", QRect(100, 100, 500, 400), largest);
    add("screen with a negative number", QRect(100, 100, 500, 400), smallest);
    add("of no size", QRect(100, 100, 0, 0));
    add("of negative size", QRect(QPoint(500, 500), QPoint(100, 100)));
    add("as large as a widget can be", QRect(0, 0, QWIDGETSIZE_MAX, QWIDGETSIZE_MAX), 0, false);
    add("far out", QRect(QPoint(largest - 800, largest - 600), QPoint(largest, largest)));
    add("far out on the other side", QRect(QPoint(smallest, smallest), QPoint(smallest + 800, smallest + 600)));
    add("spanning all coordinates", QRect(QPoint(smallest / 2, smallest / 2), QPoint(largest / 2, largest / 2)), 0,
        false);
    add("wider than any screen", QRect(0, 0, 20000, 500));
    add("taller than any screen", QRect(0, 0, 500, 20000));
}

void TestStateFaults::isMovedOntoTheScreen()
{
    QFETCH(QByteArray, bytes);
    openStore().setValue(u"windowGeometry"_s, bytes);
    QFETCH(bool, isShown);
    MainWindow window;
    QCOMPARE(geometryFault(window), QString());
    if (isShown) {
        window.show();
        QCOMPARE(geometryFault(window), QString());
        QVERIFY(!window.grab().isNull());
    }
    window.close();
    QVERIFY(!stored(u"windowGeometry"_s).isEmpty());
    const MainWindow next;
    QCOMPARE(geometryFault(next), QString());
}

void TestStateFaults::keepsTheMinimumSize_data()
{
    QTest::addColumn<QRect>("rect");
    QTest::addColumn<bool>("kept");
    QTest::newRow("smallest") << QRect(50, 60, 400, 300) << true;
    QTest::newRow("too narrow") << QRect(50, 60, 399, 300) << false;
    QTest::newRow("too low") << QRect(50, 60, 400, 299) << false;
    QTest::newRow("a corner on the screen")
        << QRect(screenArea().bottomRight() - QPoint(410, 310), QSize(401, 301)) << true;
}

void TestStateFaults::keepsTheMinimumSize()
{
    QFETCH(QRect, rect);
    QFETCH(bool, kept);
    openStore().setValue(u"windowGeometry"_s, geometryBytes(rect));
    const MainWindow window;
    QCOMPARE(window.geometry(), kept ? rect : firstGeometry());
}

void TestStateFaults::survivesDamagedValues()
{
    const QHash<QString, QByteArray> valid = validState();
    QRandomGenerator random(31);
    const int runs = faultRuns(30);
    for (int run = 0; run < runs; ++run) {
        forgetEverything();
        for (const QString &key : allKeys) {
            openStore().setValue(key, random.bounded(3) == 0 ? valid[key] : damaged(valid[key], random));
        }
        MainWindow window;
        QVERIFY2(geometryFault(window).isEmpty(), qPrintable(u"run %1: %2"_s.arg(run).arg(geometryFault(window))));
        window.show();
        QVERIFY(!window.grab().isNull());
        QVERIFY(childOf<LeftView>(window, "leftView") != nullptr);
        QVERIFY(window.close());
        QCOMPARE(openStore().allKeys().size(), allKeys.size());
    }
}

void TestStateFaults::survivesADamagedStore_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("zeros") << QByteArray(5000, '\0');
    QTest::newRow("section without an end") << QByteArray("[General\nwindowGeometry=x");
    QTest::newRow("bytes without an end") << QByteArray("[General]\nwindowGeometry=@ByteArray(\\x1\\xd9");
    QTest::newRow("number") << QByteArray("[General]\nwindowGeometry=7\nwindowState=7\nsplitterState=7\n");
    QTest::newRow("list") << QByteArray("[General]\nwindowGeometry=a, b\nwindowState=,\nsplitterState=@Invalid()\n");
    QTest::newRow("foreign type") << QByteArray(
        "[General]\nwindowGeometry=@Variant(\\0\\0\\0\\x7f\\0\\0\\0\\x1)\nwindowState=@Variant(\\xff)\n");
}

void TestStateFaults::survivesADamagedStore()
{
    QFETCH(QByteArray, bytes);
    const QString path = storePath();
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(bytes), bytes.size());
    file.close();
    {
        MainWindow window;
        QCOMPARE(geometryFault(window), QString());
        window.setGeometry(60, 70, 611, 433);
        window.show();
        window.close();
    }
    const MainWindow next;
    QCOMPARE(next.geometry(), QRect(60, 70, 611, 433)); // the store is valid again
}

void TestStateFaults::closesIfWritingFails()
{
    validState();
    const QString folder = QFileInfo(storePath()).path();
    QVERIFY(QFile::setPermissions(folder, QFile::Permissions(0x5555)));
    const QByteArray before = stored(u"windowGeometry"_s);
    QVERIFY(!before.isEmpty());
    {
        const Unprivileged user;
        QVERIFY(user.isEffective());
        MainWindow window;
        window.show();
        window.resize(500, 400);
        window.move(10, 10);
        QVERIFY(window.close());
        QVERIFY(!window.isVisible());
    }
    QVERIFY(QFile::setPermissions(folder, QFile::Permissions(0x7755)));
    QFile file(storePath());
    QVERIFY(file.open(QIODevice::ReadOnly));
    QVERIFY(file.readAll().contains("windowGeometry"));
}

QUILLMARCH_TEST_MAIN(TestStateFaults)
#include "tst_statefaults.moc"
