#include "faultruns.h"
#include "support/testmain.h"
#include "ui/customsplitter.h"
#include "ui/leftview.h"
#include "ui/mainview.h"
#include "ui/windowaccess.h"
#include "unprivileged.h"

#include <QDataStream>
#include <QRandomGenerator>
#include <QToolBar>

#include <limits>

using namespace Qt::StringLiterals;

namespace {

const QStringList allKeys{u"splitterState"_s, u"windowGeometry"_s, u"windowState"_s};

QSettings store()
{
    return QSettings(u"Quillmarch"_s, u"Settings"_s);
}

QByteArray stored(const QString &key)
{
    return QSettings(u"Quillmarch"_s, u"Settings"_s).value(key).toByteArray();
}

QRect screenArea()
{
    return QGuiApplication::primaryScreen()->availableGeometry();
}

/// Two thirds of the primary screen in each direction, centred.
QRect firstGeometry()
{
    const QRect screen = screenArea();
    const int w = 2 * screen.width() / 3;
    const int h = 2 * screen.height() / 3;
    return QRect((screen.width() - w) / 2 + screen.x(), (screen.height() - h) / 2 + screen.y(), w, h);
}

/// The bytes of a stored geometry in the form that the toolkit writes, for a
/// window of the geometry \a rect on the screen \a screen. \a rect is written
/// as it is, sensible or not.
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

/// What a window that was used stores under each key of `allKeys`.
QHash<QString, QByteArray> soundState()
{
    forgetEverything();
    MainWindow window;
    window.setGeometry(60, 70, 611, 433);
    window.show();
    window.addToolBar(Qt::LeftToolBarArea, window.findChild<QToolBar *>());
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

/// Empty if \a window is large enough and on the screen.
QString fault(const QWidget &window)
{
    const QRect rect = window.geometry();
    if (rect.width() >= 400 && rect.height() >= 300 && rect.intersects(screenArea())) {
        return {};
    }
    return u"%1, %2, %3 x %4"_s.arg(rect.x()).arg(rect.y()).arg(rect.width()).arg(rect.height());
}

QString storePath()
{
    return store().fileName();
}

} // namespace

class TestStateFaults : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init() { forgetEverything(); }

    void comesToTheScreen_data();
    void comesToTheScreen();
    void keepsTheLeastSize_data();
    void keepsTheLeastSize();
    void survivesAnyBytes();
    void survivesADamagedStore_data();
    void survivesADamagedStore();
    void closesWithoutAPlaceToWrite();
};

void TestStateFaults::initTestCase()
{
    QVERIFY(hasDensityAskedFor());
}

void TestStateFaults::comesToTheScreen_data()
{
    constexpr int least = std::numeric_limits<int>::min();
    constexpr int most = std::numeric_limits<int>::max();
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("isShown"); // there is no room for the picture of an absurd one
    const auto add = [](const char *name, const QRect &rect, int screen = 0, bool isShown = true) {
        QTest::addRow("%s", name) << geometryBytes(rect, screen) << isShown;
        QTest::addRow("%s, maximized", name) << geometryBytes(rect, screen, true) << isShown;
        QTest::addRow("%s, full screen", name) << geometryBytes(rect, screen, false, true) << isShown;
        QTest::addRow("%s, both", name) << geometryBytes(rect, screen, true, true) << isShown;
    };
    add("on a second screen that is gone", QRect(2000, 100, 800, 600), 1);
    add("on a screen above that is gone", QRect(100, -1500, 800, 600), 1);
    add("screen with an absurd number", QRect(100, 100, 500, 400), most);
    add("screen with a negative number", QRect(100, 100, 500, 400), least);
    add("of no size", QRect(100, 100, 0, 0));
    add("of negative size", QRect(QPoint(500, 500), QPoint(100, 100)));
    add("as large as a widget can be", QRect(0, 0, QWIDGETSIZE_MAX, QWIDGETSIZE_MAX), 0, false);
    add("far out", QRect(QPoint(most - 800, most - 600), QPoint(most, most)));
    add("far out to the other side", QRect(QPoint(least, least), QPoint(least + 800, least + 600)));
    add("from end to end", QRect(QPoint(least / 2, least / 2), QPoint(most / 2, most / 2)), 0, false);
    add("wider than any screen", QRect(0, 0, 20000, 500));
    add("higher than any screen", QRect(0, 0, 500, 20000));
}

void TestStateFaults::comesToTheScreen()
{
    QFETCH(QByteArray, bytes);
    store().setValue(u"windowGeometry"_s, bytes);
    QFETCH(bool, isShown);
    MainWindow window;
    QCOMPARE(fault(window), QString());
    if (isShown) {
        window.show();
        QCOMPARE(fault(window), QString());
        QVERIFY(!window.grab().isNull());
    }
    window.close();
    QVERIFY(!stored(u"windowGeometry"_s).isEmpty());
    const MainWindow next;
    QCOMPARE(fault(next), QString());
}

void TestStateFaults::keepsTheLeastSize_data()
{
    QTest::addColumn<QRect>("rect");
    QTest::addColumn<bool>("kept");
    QTest::newRow("least") << QRect(50, 60, 400, 300) << true;
    QTest::newRow("too narrow") << QRect(50, 60, 399, 300) << false;
    QTest::newRow("too low") << QRect(50, 60, 400, 299) << false;
    QTest::newRow("a corner on the screen")
        << QRect(screenArea().bottomRight() - QPoint(410, 310), QSize(401, 301)) << true;
}

void TestStateFaults::keepsTheLeastSize()
{
    QFETCH(QRect, rect);
    QFETCH(bool, kept);
    store().setValue(u"windowGeometry"_s, geometryBytes(rect));
    const MainWindow window;
    QCOMPARE(window.geometry(), kept ? rect : firstGeometry());
}

void TestStateFaults::survivesAnyBytes()
{
    const QHash<QString, QByteArray> sound = soundState();
    QRandomGenerator random(31);
    const int runs = faultRuns(30);
    for (int run = 0; run < runs; ++run) {
        forgetEverything();
        for (const QString &key : allKeys) {
            store().setValue(key, random.bounded(3) == 0 ? sound[key] : damaged(sound[key], random));
        }
        MainWindow window;
        QVERIFY2(fault(window).isEmpty(), qPrintable(u"run %1: %2"_s.arg(run).arg(fault(window))));
        window.show();
        QVERIFY(!window.grab().isNull());
        QVERIFY(childOf<LeftView>(window, "leftView") != nullptr);
        QVERIFY(window.close());
        QCOMPARE(store().allKeys().size(), allKeys.size());
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
        QCOMPARE(fault(window), QString());
        window.setGeometry(60, 70, 611, 433);
        window.show();
        window.close();
    }
    const MainWindow next;
    QCOMPARE(next.geometry(), QRect(60, 70, 611, 433)); // the store is sound again
}

void TestStateFaults::closesWithoutAPlaceToWrite()
{
    soundState();
    const QString folder = QFileInfo(storePath()).path();
    QVERIFY(QFile::setPermissions(folder, QFile::Permissions(0x5555)));
    const QByteArray before = stored(u"windowGeometry"_s);
    QVERIFY(!before.isEmpty());
    {
        const Unprivileged user;
        QVERIFY(user.isReal());
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
