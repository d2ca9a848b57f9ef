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

void stopTimers(const DownloadUpdateDialog &dialog)
{
    const auto timers = dialog.findChildren<QTimer *>(QString(), Qt::FindDirectChildrenOnly);
    for (QTimer *timer : timers) {
        timer->stop();
    }
}

/// The intervals of the active timers, sorted.
QList<int> activeIntervals(const DownloadUpdateDialog &dialog)
{
    QList<int> intervals;
    const auto timers = dialog.findChildren<QTimer *>(QString(), Qt::FindDirectChildrenOnly);
    for (const QTimer *timer : timers) {
        if (timer->isActive()) {
            intervals.append(timer->interval());
        }
    }
    std::sort(intervals.begin(), intervals.end());
    return intervals;
}

/// Displays the speed and returns whether it is that of \a bytes. \a sinceBefore
/// was started just before the measured interval began, \a sinceAfter just after.
bool showsSpeedOf(qint64 bytes, DownloadUpdateDialog &dialog, const QElapsedTimer &sinceBefore,
                  const QElapsedTimer &sinceAfter)
{
    const qint64 minTime = sinceAfter.elapsed() - 1;
    dialog.updateProgressDisplay();
    const qint64 maxTime = sinceBefore.elapsed() + 1;
    const qint64 speed = speedOf(childOf<QLabel>(dialog, "speedLabel")->text());
    return speed >= bytes * 1000 / maxTime && speed <= bytes * 1000 / minTime;
}

} // namespace

class TestDownloadDialogProgress : public QObject
{
    Q_OBJECT

private slots:
    void requestsTheDownload();
    void requestsAgainBeforeTheFirstReport();
    void hasNoCloseButtonWhenForced();
    void showsProgress();
    void startsWithTheFirstReport();
    void requestsAPauseWhileDownloading();
    void showsDownloadingText();
    void formatsBytes_data();
    void formatsBytes();

    void showsTheRunningTotalAsSpeed();
    void showsNoSpeedBeforeItsInterval();
    void showsNoSpeedOutsideADownload();
    void showsTheSpeedOnItsTimer();
    void showsTheSpeedOfASecond();
    void restartsTheMeasurementAfterARetry();
};

void TestDownloadDialogProgress::requestsTheDownload()
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

void TestDownloadDialogProgress::requestsAgainBeforeTheFirstReport()
{
    DownloadUpdateDialog dialog(someRequest(), nullptr);
    const DialogView view(dialog);
    dialog.show();
    QSignalSpy started(&dialog, &DownloadUpdateDialog::requestStartDownload);
    view.update->click();
    view.update->click();
    QCOMPARE(started.count(), 2);
}

void TestDownloadDialogProgress::hasNoCloseButtonWhenForced()
{
    DownloadUpdateDialog dialog(forcedRequest(), nullptr);
    const DialogView view(dialog);
    dialog.show();
    view.update->click();
    QCOMPARE(view.visibleButtons(), u"u"_s);
    dialog.onDownloadProgress(5, 5, 100);
    QCOMPARE(view.visibleButtons(), u"u"_s);
    QVERIFY(dialog.close()); // the window frame still closes it
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
    const QList<int> none;
    const QList<int> both{100, 1000};
    QCOMPARE(dialog.findChildren<QTimer *>(QString(), Qt::FindDirectChildrenOnly).size(), 2);
    QCOMPARE(activeIntervals(dialog), none);
    dialog.onUpdateClicked();
    QCOMPARE(activeIntervals(dialog), none);
    dialog.onDownloadProgress(0, 1572864, -1);
    QCOMPARE(activeIntervals(dialog), both);
    // An unknown total keeps the size text, even if a later report has the total.
    QCOMPARE(view.fileSize->text(), u"文件大小：12.3MB"_s);
    QCOMPARE(view.percent->text(), u"0%"_s);
    QCOMPARE(view.status->text(), u"正在下载... 1.5 MB / -1 B"_s);
    dialog.onDownloadProgress(50, 1572864, 3145728);
    QCOMPARE(view.fileSize->text(), u"文件大小：12.3MB"_s);
    QCOMPARE(view.status->text(), u"正在下载... 1.5 MB / 3.0 MB"_s);
    dialog.onDownloadError(u"x"_s);
    QCOMPARE(activeIntervals(dialog), none);
    dialog.onDownloadProgress(0, 0, 2048);
    QCOMPARE(activeIntervals(dialog), both);
    QCOMPARE(view.fileSize->text(), u"文件大小：2.0 KB"_s);
    dialog.onDownloadFinished(u"nowhere"_s);
    QCOMPARE(activeIntervals(dialog), none);
}

void TestDownloadDialogProgress::requestsAPauseWhileDownloading()
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
    dialog.onDownloadProgress(10, 100, 1000); // replaces the previous amount
    sinceAfter.start();
    stopTimers(dialog); // the test updates the display itself
    QTRY_VERIFY(sinceAfter.elapsed() > 200);
    QVERIFY2(showsSpeedOf(100, dialog, sinceBefore, sinceAfter), qPrintable(view.speed->text()));

    // Without a report in the interval the speed is 0, whatever came before.
    sinceAfter.restart();
    QTRY_VERIFY(sinceAfter.elapsed() > 150);
    sinceBefore.restart();
    dialog.updateProgressDisplay();
    sinceAfter.restart();
    QCOMPARE(view.speed->text(), u"下载速度：0 B/s"_s);

    // The next report counts the whole total for one short interval.
    dialog.onDownloadProgress(11, 110, 1000);
    QTRY_VERIFY(sinceAfter.elapsed() > 150);
    QVERIFY2(showsSpeedOf(110, dialog, sinceBefore, sinceAfter), qPrintable(view.speed->text()));
}

void TestDownloadDialogProgress::showsNoSpeedBeforeItsInterval()
{
    QElapsedTimer time;
    QString shown;
    do { // repeat if the machine stalled meanwhile
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
    QTimer reports; // without a pause, because the speed of one report is shown for only 0.1 s
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
    const auto timers = dialog.findChildren<QTimer *>(QString(), Qt::FindDirectChildrenOnly);
    for (QTimer *timer : timers) {
        if (timer->interval() == 100) {
            timer->stop();
        }
    }
    QTRY_VERIFY(!view.speed->text().isEmpty());
    const qint64 speed = speedOf(view.speed->text());
    QVERIFY2(speed >= 900LL * 1000 / (time.elapsed() + 2) && speed < 900, qPrintable(view.speed->text()));
}

void TestDownloadDialogProgress::restartsTheMeasurementAfterARetry()
{
    DownloadUpdateDialog dialog(someRequest(), nullptr);
    const DialogView view(dialog);
    dialog.onDownloadProgress(50, 500, 1000);
    QCOMPARE(activeIntervals(dialog), QList<int>({100, 1000}));
    dialog.onDownloadError(u"x"_s);
    QCOMPARE(activeIntervals(dialog), QList<int>());
    QElapsedTimer sinceError;
    sinceError.start();
    QTRY_VERIFY(sinceError.elapsed() > 300);

    view.update->click();
    QCOMPARE(activeIntervals(dialog), QList<int>()); // measuring starts with the first report
    QElapsedTimer sinceBefore;
    sinceBefore.start();
    dialog.onDownloadProgress(1, 10, 1000);
    QElapsedTimer sinceAfter;
    sinceAfter.start();
    QCOMPARE(activeIntervals(dialog), QList<int>({100, 1000}));
    stopTimers(dialog); // the test updates the display itself
    QTRY_VERIFY(sinceAfter.elapsed() > 150);
    // Neither the earlier time nor the earlier bytes count.
    QVERIFY2(showsSpeedOf(10, dialog, sinceBefore, sinceAfter), qPrintable(view.speed->text()));
}

QUILLMARCH_TEST_MAIN(TestDownloadDialogProgress)
#include "tst_downloaddialogprogress.moc"
