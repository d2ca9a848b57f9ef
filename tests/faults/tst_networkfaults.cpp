#include "app/mainwindow.h"
#include "faultruns.h"
#include "rudeserver.h"
#include "support/dialoganswer.h"
#include "support/testmain.h"
#include "update/downloaddialogdriver.h"
#include "update/downloads.h"
#include "update/updatechecks.h"

#include <QCryptographicHash>
#include <QFile>
#include <QPointer>
#include <QRegularExpression>
#include <QSettings>
#include <QThread>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

constexpr int usualRuns = 60;
constexpr int waitTime = 30000; // milliseconds

const QByteArray package = QByteArray("0123456789abcdef").repeated(40000);

QString checksumOf(const QByteArray &bytes)
{
    return QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Md5).toHex());
}

SimpleUpdater *updaterOf(const MainWindow &window)
{
    return window.findChild<SimpleUpdater *>();
}

/// Lets \a window check for an update, and open the dialog and start a download,
/// each within the next 30 ms or not at all. Sets \a dialog when it is open.
void startAtRandomTimes(MainWindow &window, QRandomGenerator &random, QPointer<DownloadUpdateDialog> &dialog)
{
    const auto later = [&random] { return random.bounded(20); };
    if (random.bounded(3) != 0) {
        QTimer::singleShot(later(), &window, &MainWindow::onCheckUpdateClicked);
    }
    if (random.bounded(3) != 0) {
        QTimer::singleShot(later(), &window, [&window] { childOf<QPushButton>(window, "updateButton")->click(); });
        QTimer::singleShot(later() + 10, &window, [&window, &dialog] {
            dialog = window.findChild<DownloadUpdateDialog *>();
            if (dialog) {
                dialog->onUpdateClicked();
            }
        });
    }
}

} // namespace

class TestNetworkFaults : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void checkHasOneOutcome();
    void downloadIsCompleteOrFails();
    void endlessCheckCanBeReplaced();
    void endlessDownloadCanBeReplaced();
    void programCanEndAtAnyTime();
    void windowCanCloseAtAnyTime();
};

void TestNetworkFaults::initTestCase()
{
    nameApplication();
}

void TestNetworkFaults::init()
{
    QSettings().clear();
    QVERIFY(emptyDownloadFolder());
    QTest::failOnWarning(QRegularExpression(u"QIODevice|QObject|QFile"_s));
}

void TestNetworkFaults::cleanup()
{
    closeOpenDialogs();
    QVERIFY(showsNothing());
}

void TestNetworkFaults::checkHasOneOutcome()
{
    const int runs = faultRuns(usualRuns);
    int offers = 0;
    int errors = 0;
    for (int run = 0; run < runs; ++run) {
        RudeServer server(quint32(run), 25);
        server.setBody(documentFor("3.0.0"));
        const MessageBoxes boxes;
        SimpleUpdater updater;
        updater.setUpdateUrl(server.address(u"/doc"_s));
        startCheck(updater);
        const auto outcomes = [&boxes] { return boxes.shown().size() + openDialogs().size(); };
        QTRY_VERIFY2_WITH_TIMEOUT(!isChecking(updater) && outcomes() > 0, qPrintable(u"run %1"_s.arg(run)), waitTime);
        QCOMPARE(outcomes(), 1);
        if (boxes.shown().isEmpty()) {
            ++offers;
            QCOMPARE(headlineOf(*openDialogs().first()), u"发现新版本 3.0.0"_s);
        } else {
            ++errors;
            const QString text = boxes.shown().first().text;
            QVERIFY2(text == u"网络连接失败"_s || text == u"解析更新信息失败"_s, qPrintable(text));
        }
        closeOpenDialogs();

        server.setValid(); // the next check succeeds
        startCheck(updater);
        QTRY_COMPARE_WITH_TIMEOUT(openDialogs().size(), 1, waitTime);
        closeOpenDialogs();
    }
    qInfo("%d checks: %d offers, %d errors", runs, offers, errors);
    QVERIFY(offers > 0);
    QVERIFY(errors > 0);
}

void TestNetworkFaults::downloadIsCompleteOrFails()
{
    const int runs = faultRuns(usualRuns);
    int complete = 0;
    int failed = 0;
    MainWindow window;
    for (int run = 0; run < runs; ++run) {
        RudeServer server(quint32(run), 25);
        server.setBody(package);
        window.onVersionInfoReceived(u"3.0.0"_s, true, server.address(u"/q.zip"_s), {}, checksumOf(package));
        QVERIFY(driveDownloadDialog(window, [&](DownloadUpdateDialog &dialog) {
            const DialogView view(dialog);
            for (const int attempt : {1, 2, 3}) {
                QFile::remove(downloadFolder() + u"/q.zip"_s);
                if (attempt == 3) {
                    server.setValid();
                }
                view.update->click();
                QTRY_VERIFY2_WITH_TIMEOUT(!isDownloading(window), qPrintable(u"run %1"_s.arg(run)), waitTime);
                const QString status = view.status->text();
                if (status == u"下载完成，校验通过！"_s) {
                    ++complete;
                    QVERIFY(downloaded(u"q.zip"_s) == package);
                    return;
                }
                ++failed;
                QVERIFY2(attempt < 3, qPrintable(status));
                if (status == u"下载完成，但校验失败！"_s) {
                    QVERIFY(downloaded(u"q.zip"_s) != package);
                } else {
                    QVERIFY2(status.startsWith(u"下载失败："_s), qPrintable(status));
                    QVERIFY(downloads().isEmpty());
                }
                QCOMPARE(view.visibleButtons().contains(u'u'), true);
            }
        }));
    }
    qInfo("%d downloads: %d attempts failed, %d were complete", runs, failed, complete);
    QCOMPARE(complete, runs);
    QVERIFY(failed > 0);
}

void TestNetworkFaults::endlessCheckCanBeReplaced()
{
    RudeServer endless(1, 100);
    endless.setEndless();
    RudeServer server(1, 100);
    server.setBody(documentFor("3.0.0"));
    auto updater = std::make_unique<SimpleUpdater>();
    updater->setUpdateUrl(endless.address(u"/doc"_s));
    updater->checkForUpdatesSilently();
    QTRY_VERIFY_WITH_TIMEOUT(endless.endlessBytes() > qint64(8) * 1024 * 1024, waitTime);
    QVERIFY(isChecking(*updater));
    updater->setUpdateUrl(server.address(u"/doc"_s));
    updater->checkForUpdatesSilently();
    QTRY_COMPARE_WITH_TIMEOUT(openDialogs().size(), 1, waitTime);
    QTRY_COMPARE_WITH_TIMEOUT(endless.connectionCount(), 0, waitTime);

    updater->setUpdateUrl(endless.address(u"/doc"_s));
    updater->checkForUpdatesSilently();
    QTRY_COMPARE_WITH_TIMEOUT(endless.requestCount(), 2, waitTime);
    updater.reset();
    QTRY_COMPARE_WITH_TIMEOUT(endless.connectionCount(), 0, waitTime);
}

void TestNetworkFaults::endlessDownloadCanBeReplaced()
{
    RudeServer endless(1, 100);
    endless.setEndless();
    RudeServer server(1, 100);
    server.setBody(package);
    auto window = std::make_unique<MainWindow>();
    window->onVersionInfoReceived(u"3.0.0"_s, true, endless.address(u"/q.zip"_s));
    QVERIFY(driveDownloadDialog(*window, [&](DownloadUpdateDialog &dialog) {
        const DialogView view(dialog);
        view.update->click();
        QTRY_VERIFY_WITH_TIMEOUT(endless.endlessBytes() > qint64(8) * 1024 * 1024, waitTime);
        QTRY_VERIFY_WITH_TIMEOUT(view.status->text().endsWith(u"MB / -1 B"_s), waitTime);
        QCOMPARE(view.percent->text(), u"0%"_s);
        QVERIFY(downloads().isEmpty());
    }));
    window->onVersionInfoReceived(u"3.0.1"_s, true, server.address(u"/r.zip"_s));
    window->startDownload();
    QTRY_COMPARE_WITH_TIMEOUT(endless.connectionCount(), 0, waitTime);
    QTRY_COMPARE_WITH_TIMEOUT(downloads(), QStringList({u"r.zip"_s}), waitTime);
    QVERIFY(downloaded(u"r.zip"_s) == package);

    window->onVersionInfoReceived(u"3.0.2"_s, true, endless.address(u"/s.zip"_s));
    window->startDownload();
    QTRY_COMPARE_WITH_TIMEOUT(endless.requestCount(), 2, waitTime);
    window.reset();
    QTRY_COMPARE_WITH_TIMEOUT(endless.connectionCount(), 0, waitTime);
    QCOMPARE(downloads(), QStringList({u"r.zip"_s}));
}

void TestNetworkFaults::programCanEndAtAnyTime()
{
    const int runs = faultRuns(usualRuns);
    QRandomGenerator random(77);
    for (int run = 0; run < runs; ++run) {
        RudeServer documents(random.generate(), 30);
        documents.setBody(documentFor("3.0.0"));
        RudeServer packages(random.generate(), 30);
        packages.setBody(package);
        QPointer<DownloadUpdateDialog> dialog;
        {
            MainWindow window;
            window.show();
            updaterOf(window)->setUpdateUrl(documents.address(u"/doc"_s));
            window.onVersionInfoReceived(u"3.0.0"_s, true, packages.address(u"/q.zip"_s));
            startAtRandomTimes(window, random, dialog);
            QTimer::singleShot(random.bounded(80), qApp, &QCoreApplication::quit);
            QCOMPARE(QApplication::exec(), 0); // even with open message boxes and dialogs
        }
        QVERIFY(dialog.isNull());
        QTRY_COMPARE_WITH_TIMEOUT(documents.connectionCount() + packages.connectionCount(), 0, waitTime);
        const QByteArray bytes = downloaded(u"q.zip"_s); // incomplete if the answer had no length
        QVERIFY2(package.contains(bytes), qPrintable(u"run %1: %2 bytes"_s.arg(run).arg(bytes.size())));
        QFile::remove(downloadFolder() + u"/q.zip"_s);
        closeOpenDialogs();
        QVERIFY2(showsNothing(), qPrintable(u"run %1"_s.arg(run)));
    }
}

void TestNetworkFaults::windowCanCloseAtAnyTime()
{
    const int runs = faultRuns(usualRuns);
    QRandomGenerator random(78);
    for (int run = 0; run < runs; ++run) {
        RudeServer documents(random.generate(), 50);
        documents.setBody(documentFor("3.0.0"));
        RudeServer packages(random.generate(), 50);
        packages.setBody(package);
        const MessageBoxes boxes;
        auto window = std::make_unique<MainWindow>();
        window->show();
        updaterOf(*window)->setUpdateUrl(documents.address(u"/doc"_s));
        window->onVersionInfoReceived(u"3.0.0"_s, true, packages.address(u"/q.zip"_s));
        updaterOf(*window)->checkForUpdatesSilently();
        window->startDownload();
        for (int events = random.bounded(30); events > 0; --events) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 2);
            QThread::usleep(random.bounded(1000U));
        }
        QVERIFY(window->close());
        if (random.bounded(2) == 0) {
            QCoreApplication::processEvents(); // the transfers continue while the window is hidden
        }
        window.reset();
        QTRY_COMPARE_WITH_TIMEOUT(documents.connectionCount() + packages.connectionCount(), 0, waitTime);
        const QByteArray bytes = downloaded(u"q.zip"_s); // incomplete if the answer had no length
        QVERIFY2(package.contains(bytes), qPrintable(u"run %1: %2 bytes"_s.arg(run).arg(bytes.size())));
        QFile::remove(downloadFolder() + u"/q.zip"_s);
        QVERIFY(boxes.shown().isEmpty());
        closeOpenDialogs();
        QVERIFY2(showsNothing(), qPrintable(u"run %1"_s.arg(run)));
    }
}

QUILLMARCH_TEST_MAIN(TestNetworkFaults)
#include "tst_networkfaults.moc"
