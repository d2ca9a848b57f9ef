#include "downloaddialogview.h"
#include "support/testmain.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTimer>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// The number in a speed text of less than 1 KB/s, or -1 for another text.
qint64 speedOf(const QString &text)
{
    static const QRegularExpression pattern(u"^下载速度：(\\d+) B/s$"_s);
    const QRegularExpressionMatch match = pattern.match(text);
    return match.hasMatch() ? match.captured(1).toLongLong() : -1;
}

} // namespace

class TestDownloadDialogProgress : public QObject
{
    Q_OBJECT

private slots:
    void asksForTheDownload();
    void asksAgainBeforeTheFirstReport();
    void staysWithoutACloseButtonWhenForced();
    void showsProgress();
    void startsWithTheFirstReport();
    void asksToPauseWhileDownloading();
    void showsDownloadingText();
    void formatsBytes_data();
    void formatsBytes();

    void showsTheRunningTotalAsSpeed();
    void showsNoSpeedBeforeItsInterval();
    void showsNoSpeedOutsideADownload();
    void showsTheSpeedOnItsTimer();
    void showsTheSpeedOfASecond();
    void measuresAnewAfterARetry();
};

void TestDownloadDialogProgress::asksForTheDownload()
{
    DownloadUpdateDialog dialog(someRequest(), nullptr);
    const DialogView view(dialog);
    dialog.show();
    QSignalSpy started(&dialog, &DownloadUpdateDialog::requestStartDownload);
    QSignalSpy paused(&dialog, &DownloadUpdateDialog::requestPauseDownload);
    QTest::keyClick(&dialog, Qt::Key_Return); // the default button
    QCOMPARE(started.count(), 1);
    QCOMPARE(paused.count(), 0);
    QVERIFY(dialog.isVisible());
    QVERIFY(view.container->isVisible());
    QVERIFY(view.speed->isVisible());
    QCOMPARE(view.update->text(), u"暂停"_s);
    QCOMPARE(view.status->text(), u"准备下载..."_s);
    QCOMPARE(view.visibleButtons(), u"uc"_s);
}

void TestDownloadDialogProgress::asksAgainBeforeTheFirstReport()
{
    DownloadUpdateDialog dialog(someRequest(), nullptr);
    const DialogView view(dialog);
    dialog.show();
    QSignalSpy started(&dialog, &DownloadUpdateDialog::requestStartDownload);
    view.update->click();
    view.update->click();
    QCOMPARE(started.count(), 2);
}

void TestDownloadDialogProgress::staysWithoutACloseButtonWhenForced()
{
    DownloadRequestInfo request = someRequest();
    request.isForced = true;
    DownloadUpdateDialog dialog(request, nullptr);
    const DialogView view(dialog);
    dialog.show();
    view.update->click();
    QCOMPARE(view.visibleButtons(), u"u"_s);
    dialog.onDownloadProgress(5, 5, 100);
    QCOMPARE(view.visibleButtons(), u"u"_s);
    QVERIFY(dialog.close()); // by the frame it can be closed all the same
}

void TestDownloadDialogProgress::showsProgress()
{
    DownloadUpdateDialog dialog(someRequest(), nullptr);
    const DialogView view(dialog);
    dialog.show();
    dialog.onDownloadProgress(42, 1572864, 3145728);
    QCOMPARE(view.bar->value(), 42);
    QCOMPARE(view.percent->text(), u"42%"_s);
    QCOMPARE(view.status->text(), u"正在下载... 1.5 MB / 3.0 MB"_s);
    QCOMPARE(view.fileSize->text(), u"文件大小：3.0 MB"_s);
    QCOMPARE(view.update->text(), u"暂停"_s);
    QCOMPARE(view.visibleButtons(), u"uc"_s);
    QVERIFY(view.container->isVisible());
    QVERIFY(view.speed->isVisible());

    dialog.onDownloadProgress(100, 3145728, 3145728);
    QCOMPARE(view.bar->value(), 100);
    QCOMPARE(view.percent->text(), u"100%"_s);
}

void TestDownloadDialogProgress::startsWithTheFirstReport()
{
    DownloadUpdateDialog dialog(someRequest(), nullptr);
    const DialogView view(dialog);
    const auto timers = dialog.findChildren<QTimer *>();
    QCOMPARE(timers.size(), 2);
    QVERIFY(!timers[0]->isActive() && !timers[1]->isActive());
    dialog.onUpdateClicked();
    QVERIFY(!timers[0]->isActive() && !timers[1]->isActive());
    dialog.onDownloadProgress(0, 1572864, -1);
    QVERIFY(timers[0]->isActive() && timers[1]->isActive());
    QCOMPARE(qMin(timers[0]->interval(), timers[1]->interval()), 100);
    QCOMPARE(qMax(timers[0]->interval(), timers[1]->interval()), 1000);
    // An unknown total leaves the size text, also when a later report knows it.
    QCOMPARE(view.fileSize->text(), u"文件大小：12.3MB"_s);
    QCOMPARE(view.percent->text(), u"0%"_s);
    QCOMPARE(view.status->text(), u"正在下载... 1.5 MB / -1 B"_s);
    dialog.onDownloadProgress(50, 1572864, 3145728);
    QCOMPARE(view.fileSize->text(), u"文件大小：12.3MB"_s);
    QCOMPARE(view.status->text(), u"正在下载... 1.5 MB / 3.0 MB"_s);
    dialog.onDownloadError(u"x"_s);
    QVERIFY(!timers[0]->isActive() && !timers[1]->isActive());
    dialog.onDownloadProgress(0, 0, 2048);
    QVERIFY(timers[0]->isActive() && timers[1]->isActive());
    QCOMPARE(view.fileSize->text(), u"文件大小：2.0 KB"_s);
    dialog.onDownloadFinished(u"nowhere"_s);
    QVERIFY(!timers[0]->isActive() && !timers[1]->isActive());
}

void TestDownloadDialogProgress::asksToPauseWhileDownloading()
{
    DownloadUpdateDialog dialog(someRequest(), nullptr);
    const DialogView view(dialog);
    dialog.show();
    dialog.onDownloadProgress(42, 42, 100);
    QSignalSpy started(&dialog, &DownloadUpdateDialog::requestStartDownload);
    QSignalSpy paused(&dialog, &DownloadUpdateDialog::requestPauseDownload);
    const QStringList before = look(dialog);
    view.update->click();
    QCOMPARE(paused.count(), 1);
    QCOMPARE(started.count(), 0);
    QCOMPARE(look(dialog), before);
}

void TestDownloadDialogProgress::showsDownloadingText()
{
    DownloadUpdateDialog dialog(someRequest(), nullptr);
    const DialogView view(dialog);
    dialog.show();
    dialog.showDownloadingText();
    QVERIFY(view.container->isVisible());
    QCOMPARE(view.status->text(), u"正在下载..."_s);
    QCOMPARE(view.visibleButtons(), u"slu"_s);
}

void TestDownloadDialogProgress::formatsBytes_data()
{
    QTest::addColumn<qint64>("bytes");
    QTest::addColumn<QString>("shown");
    QTest::newRow("0") << qint64(0) << u"0 B"_s;
    QTest::newRow("-1") << qint64(-1) << u"-1 B"_s;
    QTest::newRow("-4096") << qint64(-4096) << u"-4096 B"_s;
    QTest::newRow("1023") << qint64(1023) << u"1023 B"_s;
    QTest::newRow("1024") << qint64(1024) << u"1.0 KB"_s;
    QTest::newRow("1536") << qint64(1536) << u"1.5 KB"_s;
    QTest::newRow("1048575") << qint64(1048575) << u"1024.0 KB"_s;
    QTest::newRow("1048576") << qint64(1048576) << u"1.0 MB"_s;
    QTest::newRow("1073741823") << qint64(1073741823) << u"1024.0 MB"_s;
    QTest::newRow("1073741824") << qint64(1073741824) << u"1.0 GB"_s;
    QTest::newRow("5000000000000") << qint64(5000000000000) << u"4656.6 GB"_s;
}

void TestDownloadDialogProgress::formatsBytes()
{
    QFETCH(qint64, bytes);
    QFETCH(QString, shown);
    DownloadUpdateDialog dialog(someRequest(), nullptr);
    QCOMPARE(dialog.formatBytes(bytes), shown);
    QCOMPARE(dialog.formatSpeed(bytes), shown + u"/s"_s);
    dialog.setDownloadFileSize(bytes);
    QCOMPARE(DialogView(dialog).fileSize->text(), u"文件大小："_s + shown);
}

void TestDownloadDialogProgress::showsTheRunningTotalAsSpeed()
{
    DownloadUpdateDialog dialog(someRequest(), nullptr);
    const DialogView view(dialog);
    QElapsedTimer sinceBefore;
    QElapsedTimer sinceAfter;
    sinceBefore.start();
    dialog.onDownloadProgress(1, 50, 1000);
    dialog.onDownloadProgress(10, 100, 1000); // assigned, not added
    sinceAfter.start();
    const auto timers = dialog.findChildren<QTimer *>();
    for (QTimer *timer : timers) {
        timer->stop(); // the test asks for the display itself
    }
    QTRY_VERIFY(sinceAfter.elapsed() > 200);
    const qint64 leastTime = sinceAfter.elapsed() - 1;
    dialog.updateProgressDisplay();
    const qint64 mostTime = sinceBefore.elapsed() + 1;
    const qint64 speed = speedOf(view.speed->text());
    QVERIFY2(speed >= 100 * 1000 / mostTime && speed <= 100 * 1000 / leastTime, qPrintable(view.speed->text()));

    // With no report in the interval it reads 0, however much came before.
    sinceAfter.restart();
    QTRY_VERIFY(sinceAfter.elapsed() > 150);
    sinceBefore.restart();
    dialog.updateProgressDisplay();
    sinceAfter.restart();
    QCOMPARE(view.speed->text(), u"下载速度：0 B/s"_s);

    // The next report brings the whole total into one short interval.
    dialog.onDownloadProgress(11, 110, 1000);
    QTRY_VERIFY(sinceAfter.elapsed() > 150);
    const qint64 leastSecond = sinceAfter.elapsed() - 1;
    dialog.updateProgressDisplay();
    const qint64 mostSecond = sinceBefore.elapsed() + 1;
    const qint64 second = speedOf(view.speed->text());
    QVERIFY2(second >= 110 * 1000 / mostSecond && second <= 110 * 1000 / leastSecond, qPrintable(view.speed->text()));
}

void TestDownloadDialogProgress::showsNoSpeedBeforeItsInterval()
{
    QElapsedTimer time;
    QString shown;
    do { // again if the machine stalled in between
        DownloadUpdateDialog dialog(someRequest(), nullptr);
        time.start();
        dialog.onDownloadProgress(10, 100, 1000);
        dialog.updateProgressDisplay();
        shown = DialogView(dialog).speed->text();
    } while (time.elapsed() >= 100);
    QCOMPARE(shown, QString());
}

void TestDownloadDialogProgress::showsNoSpeedOutsideADownload()
{
    DownloadUpdateDialog dialog(someRequest(), nullptr);
    const DialogView view(dialog);
    dialog.updateProgressDisplay();
    QCOMPARE(view.speed->text(), QString());
    dialog.onDownloadProgress(10, 100, 1000);
    dialog.onDownloadError(u"x"_s);
    const QString before = view.speed->text();
    QElapsedTimer time;
    time.start();
    QTRY_VERIFY(time.elapsed() > 150);
    dialog.updateProgressDisplay();
    QCOMPARE(view.speed->text(), before);
}

void TestDownloadDialogProgress::showsTheSpeedOnItsTimer()
{
    DownloadUpdateDialog dialog(someRequest(), nullptr);
    const DialogView view(dialog);
    QTimer reports; // without a pause, since the speed of one report stands for 0.1 s only
    connect(&reports, &QTimer::timeout, &dialog, [&dialog] { dialog.onDownloadProgress(10, 100, 1000); });
    reports.start(10);
    QTRY_VERIFY(speedOf(view.speed->text()) > 0);
    reports.stop();
    QTRY_COMPARE(view.speed->text(), u"下载速度：0 B/s"_s);
}

void TestDownloadDialogProgress::showsTheSpeedOfASecond()
{
    DownloadUpdateDialog dialog(someRequest(), nullptr);
    const DialogView view(dialog);
    QElapsedTimer time;
    time.start();
    dialog.onDownloadProgress(10, 900, 100000);
    const auto timers = dialog.findChildren<QTimer *>();
    for (QTimer *timer : timers) {
        if (timer->interval() == 100) {
            timer->stop();
        }
    }
    QTRY_VERIFY(!view.speed->text().isEmpty());
    const qint64 speed = speedOf(view.speed->text());
    QVERIFY2(speed >= 900 * 1000 / (time.elapsed() + 2) && speed < 900, qPrintable(view.speed->text()));
}

void TestDownloadDialogProgress::measuresAnewAfterARetry()
{
    const auto intervals = [](const DownloadUpdateDialog &dialog) {
        QList<int> running;
        const auto timers = dialog.findChildren<QTimer *>(QString(), Qt::FindDirectChildrenOnly);
        for (const QTimer *timer : timers) {
            if (timer->isActive()) {
                running.append(timer->interval());
            }
        }
        std::sort(running.begin(), running.end());
        return running;
    };
    DownloadUpdateDialog dialog(someRequest(), nullptr);
    const DialogView view(dialog);
    dialog.onDownloadProgress(50, 500, 1000);
    QCOMPARE(intervals(dialog), QList<int>({100, 1000}));
    dialog.onDownloadError(u"x"_s);
    QCOMPARE(intervals(dialog), QList<int>());
    QElapsedTimer sinceError;
    sinceError.start();
    QTRY_VERIFY(sinceError.elapsed() > 300);

    view.update->click();
    QCOMPARE(intervals(dialog), QList<int>()); // it starts with the first report
    QElapsedTimer sinceBefore;
    sinceBefore.start();
    dialog.onDownloadProgress(1, 10, 1000);
    QElapsedTimer sinceAfter;
    sinceAfter.start();
    QCOMPARE(intervals(dialog), QList<int>({100, 1000}));
    const auto timers = dialog.findChildren<QTimer *>();
    for (QTimer *timer : timers) {
        timer->stop(); // the test asks for the display itself
    }
    QTRY_VERIFY(sinceAfter.elapsed() > 150);
    const qint64 leastTime = sinceAfter.elapsed() - 1;
    dialog.updateProgressDisplay();
    const qint64 mostTime = sinceBefore.elapsed() + 1;
    const qint64 speed = speedOf(view.speed->text()); // neither the time before counts nor its bytes
    QVERIFY2(speed >= 10 * 1000 / mostTime && speed <= 10 * 1000 / leastTime, qPrintable(view.speed->text()));
}

QUILLMARCH_TEST_MAIN(TestDownloadDialogProgress)
#include "tst_downloaddialogprogress.moc"
