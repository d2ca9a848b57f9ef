// Opening and showing things many times leaks neither objects nor memory nor
// file handles.

#include "app/mainwindow.h"
#include "support/configvalues.h"
#include "support/dialoganswer.h"
#include "support/documentinvariants.h"
#include "support/privatehome.h"
#include "support/useractions.h"
#include "support/windowprobe.h"
#include "ui/popup.h"
#include "ui/windowaccess.h"
#include "update/simpleupdater.h"
#include "update/updatedialog.h"
#include "userfiles.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QPushButton>
#include <QTest>

#include <atomic>
#include <malloc.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

// Qt calls the fourth and fifth entry for every object that is created or
// destroyed; meant for debuggers.
extern quintptr Q_CORE_EXPORT qtHookData[];

namespace {

int times = 150; // how often each action is repeated

std::atomic<qint64> liveObjects = 0;

void countMade(QObject *)
{
    ++liveObjects;
}

void countDestroyed(QObject *)
{
    --liveObjects;
}

void countObjects()
{
    qtHookData[3] = reinterpret_cast<quintptr>(&countMade);
    qtHookData[4] = reinterpret_cast<quintptr>(&countDestroyed);
}

struct Footprint
{
    qint64 objects = 0;
    qint64 heap = 0; // bytes in use
    qint64 resident = 0; // bytes
    qsizetype handles = 0;
};

qint64 residentBytes()
{
    QFile file(u"/proc/self/statm"_s);
    if (!file.open(QIODevice::ReadOnly)) {
        return 0;
    }
    return file.readAll().split(' ').value(1).toLongLong() * sysconf(_SC_PAGESIZE);
}

/// What the process uses after all pending events.
Footprint footprint()
{
    for (int i = 0; i < 5; ++i) {
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    const struct mallinfo2 heap = mallinfo2();
    return {liveObjects, qint64(heap.uordblks + heap.hblkhd), residentBytes(),
            QDir(u"/proc/self/fd"_s).entryList(QDir::Files | QDir::System).size()};
}

void report(const char *what, int count, const Footprint &before, const Footprint &after)
{
    qInfo("%s, %d times: %+lld objects, %+.1f KiB of heap, %+.1f KiB resident (of %.1f MiB), %+lld handles", what,
          count, static_cast<long long>(after.objects - before.objects), double(after.heap - before.heap) / 1024,
          double(after.resident - before.resident) / 1024, double(after.resident) / 1024 / 1024,
          static_cast<long long>(after.handles - before.handles));
}

} // namespace

class TestEndurance : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void openingFilesDoesNotLeak();
    void showingDoesNotLeak_data();
    void showingDoesNotLeak();
};

void TestEndurance::initTestCase()
{
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    clearConfigValues();
}

void TestEndurance::openingFilesDoesNotLeak()
{
    const QList<UserFile> files = writeGoodFiles() + writeBadFiles();
    MainWindow window;
    window.resize(420, 320);
    window.show();
    int good = 0;
    int refused = 0;
    const auto open = [&](int number) {
        const UserFile &file = files.at(number % files.size());
        dropUrls(&window, {QUrl::fromLocalFile(file.path)});
        QCoreApplication::processEvents();
        refused += toastText(window).isEmpty() ? 0 : 1;
        good += file.size.isValid() ? 1 : 0;
        hideToast(window);
    };
    for (int i = 0; i < 2 * files.size(); ++i) { // fills the caches
        open(i);
    }
    const Footprint before = footprint();
    good = refused = 0;
    const int rounds = times / int(files.size()) + 1; // complete rounds: the same file is open before and after
    for (int i = 0; i < rounds * files.size(); ++i) {
        open(i);
    }
    const Footprint after = footprint();
    report("opened", rounds * int(files.size()), before, after);
    QCOMPARE(good + refused, rounds * files.size());
    QVERIFY(!stripsOf(window).isEmpty());
    QCOMPARE(brokenInvariants(window), QStringList());
    // Each document reads the margin through a settings object that is never deleted.
    QVERIFY(after.objects - before.objects <= good);
    QCOMPARE(after.handles, before.handles);
    QVERIFY2(after.heap - before.heap < good * 1024 + 64 * 1024, "more than the settings objects");
}

void TestEndurance::showingDoesNotLeak_data()
{
    QTest::addColumn<QString>("what");
    for (const char *what : {"toast", "about dialog", "download dialog", "new-version dialog"}) {
        QTest::newRow(what) << QString::fromLatin1(what);
    }
}

void TestEndurance::showingDoesNotLeak()
{
    QFETCH(QString, what);
    MainWindow window;
    window.show();
    window.onVersionInfoReceived(u"3.0.0"_s, true, u"http://127.0.0.1:9/q.zip"_s, QString(2000, u'记'));
    SimpleUpdater updater;
    PopUp *toast = toastOf(window);
    int shown = 0;
    const auto show = [&] {
        const NextDialog dialog([&](QWidget *widget) {
            ++shown;
            widget->close();
        });
        if (what == "toast"_L1) {
            toast->setPopupText(u"text %1"_s.arg(shown));
            toast->show();
            shown += toast->isVisible() ? 1 : 0;
            QCoreApplication::processEvents();
            hideToast(window);
        } else if (what == "about dialog"_L1) {
            actionOf(window, "aboutAction")->trigger();
        } else if (what == "download dialog"_L1) {
            childOf<QPushButton>(window, "updateButton")->click();
        } else {
            updater.presentRelease({});
            const QList<QWidget *> widgets = QApplication::topLevelWidgets();
            for (QWidget *widget : widgets) {
                if (qobject_cast<UpdateDialog *>(widget) != nullptr) {
                    ++shown;
                    widget->close();
                }
            }
        }
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    };
    for (int i = 0; i < 20; ++i) { // fills the caches
        show();
    }
    const Footprint before = footprint();
    shown = 0;
    for (int i = 0; i < times; ++i) {
        show();
    }
    const Footprint after = footprint();
    report(qPrintable(what), times, before, after);
    QCOMPARE(shown, times);
    QVERIFY(after.objects <= before.objects);
    QVERIFY(after.handles <= before.handles); // threads of Qt end after half a minute without work
    QVERIFY2(after.heap - before.heap < times * 64 + 128 * 1024, "memory grows");
}

int main(int argc, char *argv[])
{
    countObjects();
    PrivateHome home;
    const QApplication app(argc, argv);
    PrivateHome::removeConfigFile();
    QStringList arguments = QCoreApplication::arguments();
    const qsizetype option = arguments.indexOf(u"--times"_s);
    if (option > 0) {
        times = std::max(1, arguments.value(option + 1).toInt());
        arguments.remove(option, 2);
    }
    arguments += {u"-maxwarnings"_s, u"0"_s}; // or nothing is printed after 2000 warnings of the platform
    TestEndurance test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, arguments);
}

#include "tst_endurance.moc"
