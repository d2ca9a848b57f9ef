#include "app/mainwindow.h"
#include "base/buildconfig.h"
#include "downloaddialogdriver.h"
#include "support/httpserver.h"
#include "support/messageboxes.h"
#include "support/testmain.h"
#include "update/downloadupdatedialog.h"
#include "update/simpleupdater.h"
#include "updatechecks.h"

#include <QLabel>
#include <QNetworkProxy>
#include <QPointer>
#include <QPushButton>
#include <QStatusBar>
#include <QTranslator>

using namespace Qt::StringLiterals;

namespace {

QLabel *versionLabelOf(const MainWindow &window)
{
    return window.findChild<QLabel *>(u"versionLabel"_s);
}

QPushButton *updateButtonOf(const MainWindow &window)
{
    return window.findChild<QPushButton *>(u"updateButton"_s);
}

/// How long the message of the status bar stays, in ms, or -1.
int messageTimeOf(const MainWindow &window)
{
    const auto timers = window.statusBar()->findChildren<QTimer *>();
    for (const QTimer *timer : timers) {
        if (timer->isActive()) {
            return timer->interval();
        }
    }
    return -1;
}

/// Sends everything that goes over the network to a local server.
class LocalProxy
{
public:
    explicit LocalProxy(const HttpServer &server)
    {
        QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::HttpProxy, u"127.0.0.1"_s, server.port()));
    }
    ~LocalProxy() { QNetworkProxy::setApplicationProxy(QNetworkProxy::NoProxy); }
    Q_DISABLE_COPY_MOVE(LocalProxy)
};

/// The host of \a address and its port, as a request for a tunnel names them.
QByteArray tunnelTo(QStringView address)
{
    return QUrl(address.toString()).host().toUtf8() + ":443";
}

/// Puts the context before every text that is translated.
class MarkingTranslator : public QTranslator
{
public:
    bool isEmpty() const override { return false; }
    QString translate(const char *context, const char *sourceText, const char *, int) const override
    {
        return QString::fromUtf8(context) + u':' + QString::fromUtf8(sourceText);
    }
};

} // namespace

class TestMainWindowUpdate : public QObject
{
    Q_OBJECT

private slots:
    void startsWithoutAReport();
    void showsAReportWithAnUpdate();
    void showsAReportWithoutAnUpdate();
    void goesBackToUpToDate();
    void tellsThatNothingIsKnown();
    void opensTheDialogOverTheWindow();
    void fillsTheDialogFromTheReport();
    void fillsTheDialogFromAShortReport();
    void offersASkippedVersionAgain();
    void asksThePackageHostWithoutAnAddress();
    void checksAtTheServiceHost();
    void windowCheckLeavesTheStatusBarAlone();
    void ownsOneUpdaterWhichIsIdle();
    void tellsThatTheUpdaterIsGone();
    void centresTheDialogOverASmallWindow();
    void translatesInItsContexts();
};

void TestMainWindowUpdate::startsWithoutAReport()
{
    const MainWindow window;
    QVERIFY(versionLabelOf(window)->isHidden());
    QVERIFY(updateButtonOf(window)->isHidden());
}

void TestMainWindowUpdate::showsAReportWithAnUpdate()
{
    MainWindow window;
    window.onVersionInfoReceived(u"3.0.0"_s, true);
    const QLabel *label = versionLabelOf(window);
    QCOMPARE(label->text(), u"v2.7.1→v3.0.0"_s);
    QCOMPARE(
        label->styleSheet(),
        u"QLabel {     color: #FF9F0A;     font-size: 12px;     font-weight: 500;     padding: 2px 6px;     background-color: rgba(255, 159, 10, 0.1);     border-radius: 4px; }"_s);
    QCOMPARE(label->toolTip(), u"当前版本: 2.7.1\n服务器版本: 3.0.0\n点击右侧图标下载更新"_s);
    QVERIFY(!label->isHidden());
    QVERIFY(!updateButtonOf(window)->isHidden());
    QCOMPARE(window.statusBar()->currentMessage(), u"发现新版本 v3.0.0 可用，点击右侧按钮下载"_s);
    QCOMPARE(messageTimeOf(window), 5000);

    window.onVersionInfoReceived(u"1.0"_s, true); // versions are not compared
    QCOMPARE(label->text(), u"v2.7.1→v1.0"_s);
}

void TestMainWindowUpdate::showsAReportWithoutAnUpdate()
{
    MainWindow window;
    window.onVersionInfoReceived(u"3.0.0"_s, false);
    const QLabel *label = versionLabelOf(window);
    QCOMPARE(label->text(), u"v2.7.1"_s);
    QCOMPARE(
        label->styleSheet(),
        u"QLabel {     color: #8E8E93;     font-size: 12px;     font-weight: 500;     padding: 2px 6px;     background-color: rgba(142, 142, 147, 0.1);     border-radius: 4px; }"_s);
    QCOMPARE(label->toolTip(), u"当前版本: 2.7.1（已是最新）"_s);
    QVERIFY(!label->isHidden());
    QVERIFY(updateButtonOf(window)->isHidden());
    QCOMPARE(window.statusBar()->currentMessage(), u"当前已是最新版本"_s);
    QCOMPARE(messageTimeOf(window), 3000);
}

void TestMainWindowUpdate::goesBackToUpToDate()
{
    const MessageBoxes boxes;
    MainWindow window;
    window.onVersionInfoReceived(u"3.0.0"_s, true);
    window.onVersionInfoReceived(u"3.0.0"_s, false);
    QVERIFY(updateButtonOf(window)->isHidden());
    window.showUpdateDialog();
    QCOMPARE(boxes.shown().size(), 1);
    QCOMPARE(boxes.shown().first().text, u"当前已是最新版本"_s);
}

void TestMainWindowUpdate::tellsThatNothingIsKnown()
{
    const MessageBoxes boxes;
    MainWindow window;
    updateButtonOf(window)->click();
    QCOMPARE(boxes.shown().size(), 1);
    const ShownBox &box = boxes.shown().first();
    QCOMPARE(box.icon, QMessageBox::Information);
    QCOMPARE(box.title, u"检查更新"_s);
    QCOMPARE(box.text, u"当前已是最新版本"_s);
    QCOMPARE(box.buttons, QMessageBox::Ok);
    QCOMPARE(box.parent, &window);
}

void TestMainWindowUpdate::opensTheDialogOverTheWindow()
{
    MainWindow window;
    window.setGeometry(300, 40, 701, 603);
    window.show();
    window.onVersionInfoReceived(u"3.0.0"_s, true);
    QPointer<DownloadUpdateDialog> opened;
    QVERIFY(driveDownloadDialog(window, [&](DownloadUpdateDialog &dialog) {
        opened = &dialog;
        QCOMPARE(dialog.parentWidget(), &window);
        QVERIFY(dialog.isModal());
        QCOMPARE(dialog.pos(), QPoint(window.x() + (701 - 480) / 2, window.y() + (603 - 580) / 2));
    }));
    QTRY_VERIFY(opened.isNull());
    QVERIFY(!updateButtonOf(window)->isHidden());
    QVERIFY(driveDownloadDialog(window, [&](DownloadUpdateDialog &dialog) { opened = &dialog; })); // once more
    QTRY_VERIFY(opened.isNull());
}

void TestMainWindowUpdate::fillsTheDialogFromTheReport()
{
    MainWindow window;
    window.onVersionInfoReceived(u"3.0.0"_s, true, u"http://127.0.0.1/q.zip"_s, u"更快\n更稳"_s,
                                 u"900150983cd24fb0d6963f7d28e17f72"_s, u"12.3MB"_s);
    QVERIFY(driveDownloadDialog(window, [](DownloadUpdateDialog &dialog) {
        const DialogView view(dialog);
        QCOMPARE(view.title->text(), u"发现新版本"_s); // never a forced update
        QCOMPARE(view.subtitle->text(), u"Quillmarch 3.0.0 现已可用！"_s);
        QCOMPARE(view.fileSize->text(), u"文件大小：12.3MB"_s);
        QCOMPARE(view.checksum->text(), u"MD5校验：90015098...28e17f72"_s);
        QCOMPARE(view.notes->text(), u"更快\n更稳"_s);
        QCOMPARE(view.visibleButtons(), u"slu"_s);
    }));
}

void TestMainWindowUpdate::fillsTheDialogFromAShortReport()
{
    MainWindow window;
    window.onVersionInfoReceived(u"2.9.0"_s, true, u"http://127.0.0.1/q.zip"_s, u"notes"_s, u"sum"_s, u"1MB"_s);
    window.onVersionInfoReceived(u"3.0.0"_s, true); // nothing is left of the earlier one
    QVERIFY(driveDownloadDialog(window, [](DownloadUpdateDialog &dialog) {
        const DialogView view(dialog);
        QCOMPARE(view.subtitle->text(), u"Quillmarch 3.0.0 现已可用！"_s);
        QCOMPARE(view.fileSize->text(), u"文件大小：计算中..."_s);
        QCOMPARE(view.checksum->text(), u"MD5校验：无校验信息"_s);
        QCOMPARE(view.notes->text(), u"• 性能优化\n• 稳定性提升\n• 用户体验改进"_s);
    }));
}

void TestMainWindowUpdate::offersASkippedVersionAgain()
{
    MainWindow window;
    window.onVersionInfoReceived(u"3.0.0"_s, true);
    QVERIFY(driveDownloadDialog(window, [](DownloadUpdateDialog &dialog) { DialogView(dialog).skip->click(); }));
    QVERIFY(driveDownloadDialog(window, [](DownloadUpdateDialog &dialog) { DialogView(dialog).later->click(); }));
    QVERIFY(driveDownloadDialog(window, [](DownloadUpdateDialog &dialog) {
        QCOMPARE(DialogView(dialog).subtitle->text(), u"Quillmarch 3.0.0 现已可用！"_s);
    }));
}

void TestMainWindowUpdate::asksThePackageHostWithoutAnAddress()
{
    HttpServer server; // refuses the tunnel
    const LocalProxy proxy(server);
    MainWindow window;
    window.onVersionInfoReceived(u"3.0.0"_s, true);
    QVERIFY(driveDownloadDialog(window, [](DownloadUpdateDialog &dialog) {
        const DialogView view(dialog);
        view.update->click();
        QTRY_VERIFY(view.status->text().startsWith(u"下载失败："_s));
        QVERIFY(view.status->text() != u"下载失败：下载地址无效"_s);
    }));
    QCOMPARE(server.requests().size(), 1);
    QCOMPARE(server.requests().first().method, QByteArray("CONNECT"));
    QCOMPARE(server.requests().first().target, tunnelTo(packageHost));
}

void TestMainWindowUpdate::checksAtTheServiceHost()
{
    HttpServer server; // refuses the tunnel
    const LocalProxy proxy(server);
    const MessageBoxes boxes;
    MainWindow window;
    QMetaObject::invokeMethod(&window, &MainWindow::onCheckUpdateClicked, Qt::QueuedConnection);
    QTRY_COMPARE(boxes.shown().size(), 1);
    QCOMPARE(boxes.shown().first().icon, QMessageBox::Critical);
    QCOMPARE(boxes.shown().first().title, u"更新检查错误"_s);
    QCOMPARE(boxes.shown().first().text, u"网络连接失败"_s);
    QCOMPARE(boxes.shown().first().parent, nullptr);
    QCOMPARE(server.requests().size(), 1);
    QCOMPARE(server.requests().first().method, QByteArray("CONNECT"));
    QCOMPARE(server.requests().first().target, tunnelTo(serviceHost));
}

void TestMainWindowUpdate::windowCheckLeavesTheStatusBarAlone()
{
    HttpServer server;
    server.setResponse("/newer.json", answerWith(documentFor("3.0.0")));
    MainWindow window;
    window.findChild<SimpleUpdater *>()->setUpdateUrl(server.url(u"/newer.json"_s).toString());
    const QString text = versionLabelOf(window)->text();
    const QString style = versionLabelOf(window)->styleSheet();
    const QString message = window.statusBar()->currentMessage();
    window.onCheckUpdateClicked();
    QTRY_COMPARE(openDialogs().size(), 1);
    QCOMPARE(headlineOf(*openDialogs().first()), u"发现新版本 3.0.0"_s);
    QCOMPARE(versionLabelOf(window)->text(), text);
    QCOMPARE(versionLabelOf(window)->styleSheet(), style);
    QCOMPARE(window.statusBar()->currentMessage(), message);
    QVERIFY(updateButtonOf(window)->isHidden());
    openDialogs().first()->close();
    QTRY_VERIFY(openDialogs().isEmpty());
}

void TestMainWindowUpdate::ownsOneUpdaterWhichIsIdle()
{
    const MainWindow window;
    QCOMPARE(window.findChildren<SimpleUpdater *>().size(), 1);
    QVERIFY(window.findChildren<QNetworkReply *>().isEmpty());
}

void TestMainWindowUpdate::tellsThatTheUpdaterIsGone()
{
    const MessageBoxes boxes;
    MainWindow window;
    delete window.findChild<SimpleUpdater *>();
    window.onCheckUpdateClicked();
    QCOMPARE(boxes.shown().size(), 1);
    const ShownBox &box = boxes.shown().first();
    QCOMPARE(box.icon, QMessageBox::Warning);
    QCOMPARE(box.title, u"检查更新"_s);
    QCOMPARE(box.text, u"更新器未初始化"_s);
    QCOMPARE(box.parent, &window);
}

void TestMainWindowUpdate::centresTheDialogOverASmallWindow()
{
    MainWindow window;
    window.setGeometry(300, 340, 403, 307);
    window.show();
    QCOMPARE(window.size(), QSize(403, 307));
    window.onVersionInfoReceived(u"3.0.0"_s, true);
    QVERIFY(driveDownloadDialog(window, [&](DownloadUpdateDialog &dialog) {
        QCOMPARE(dialog.size(), QSize(480, 580));
        // The halves are cut toward zero: of -77 and of -273.
        QCOMPARE(dialog.pos(), QPoint(window.x() - 38, window.y() - 136));
    }));
}

void TestMainWindowUpdate::translatesInItsContexts()
{
    const MessageBoxes boxes;
    HttpServer server; // answers 404
    MarkingTranslator marks;
    QVERIFY(QCoreApplication::installTranslator(&marks));
    MainWindow window;
    window.onVersionInfoReceived(u"3.0.0"_s, false);
    QCOMPARE(versionLabelOf(window)->text(), u"v2.7.1"_s); // outside the translation
    QCOMPARE(versionLabelOf(window)->toolTip(), u"MainWindow:当前版本: 2.7.1（已是最新）"_s);
    QCOMPARE(window.statusBar()->currentMessage(), u"MainWindow:当前已是最新版本"_s);
    window.showUpdateDialog();
    QCOMPARE(boxes.shown().last().title, u"MainWindow:检查更新"_s);
    QCOMPARE(boxes.shown().last().text, u"MainWindow:当前已是最新版本"_s);
    window.onVersionInfoReceived(u"3.0.0"_s, true, server.url(u"/q.zip"_s).toString());
    QCOMPARE(versionLabelOf(window)->text(), u"v2.7.1→v3.0.0"_s);
    QCOMPARE(versionLabelOf(window)->toolTip(),
             u"MainWindow:当前版本: 2.7.1\n服务器版本: 3.0.0\n点击右侧图标下载更新"_s);
    QCOMPARE(window.statusBar()->currentMessage(), u"MainWindow:发现新版本 v3.0.0 可用，点击右侧按钮下载"_s);
    QVERIFY(driveDownloadDialog(window, [](DownloadUpdateDialog &dialog) {
        const DialogView view(dialog);
        for (const QLabel *label : {view.title, view.subtitle, view.currentVersion, view.fileSize, view.checksum,
                                    view.notesHeading, view.notes, view.status}) {
            QVERIFY2(label->text().startsWith(u"DownloadUpdateDialog:"_s), qPrintable(label->text()));
        }
        for (const QPushButton *button : {view.skip, view.later, view.update, view.openFolder, view.close}) {
            QVERIFY2(button->text().startsWith(u"DownloadUpdateDialog:"_s), qPrintable(button->text()));
        }
        dialog.onDownloadProgress(50, 2048, 4096);
        QCOMPARE(view.percent->text(), u"DownloadUpdateDialog:50%"_s);
        QCOMPARE(view.status->text(),
                 u"DownloadUpdateDialog:正在下载... DownloadUpdateDialog:2.0 KB / "
                 u"DownloadUpdateDialog:4.0 KB"_s);
        QCOMPARE(view.update->text(), u"DownloadUpdateDialog:暂停"_s);
        dialog.onDownloadError(u"x"_s);
        QCOMPARE(view.status->text(), u"DownloadUpdateDialog:下载失败：x"_s);
        QCOMPARE(view.update->text(), u"DownloadUpdateDialog:重试"_s);
        dialog.onDownloadFinished(u"/nowhere"_s);
        QCOMPARE(view.status->text(), u"DownloadUpdateDialog:下载完成，校验通过！"_s);
        QCOMPARE(view.checksum->text(), u"DownloadUpdateDialog:MD5校验：通过 ✓"_s);
        QCOMPARE(view.location->text(), u"DownloadUpdateDialog:文件位置：/nowhere"_s);
        QCOMPARE(view.close->text(), u"DownloadUpdateDialog:安装更新"_s);
        view.close->click(); // which knows the button by its translated text
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
    }));
    delete window.findChild<SimpleUpdater *>();
    window.onCheckUpdateClicked();
    QCOMPARE(boxes.shown().last().text, u"MainWindow:更新器未初始化"_s);

    // The other path speaks Chinese in every language.
    SimpleUpdater updater;
    updater.setUpdateUrl(server.url(u"/doc"_s).toString());
    startCheck(updater);
    QTRY_COMPARE(boxes.shown().size(), 3);
    QCOMPARE(boxes.shown().last().title, u"更新检查错误"_s);
    QCOMPARE(boxes.shown().last().text, u"网络连接失败"_s);
    updater.presentRelease(ReleaseInfo());
    QCOMPARE(openDialogs().size(), 1);
    QCOMPARE(openDialogs().first()->windowTitle(), u"Quillmarch 软件更新"_s);
    const auto buttons = openDialogs().first()->findChildren<QPushButton *>();
    for (const QPushButton *button : buttons) {
        QVERIFY2(!button->text().contains(u':'), qPrintable(button->text()));
    }
    openDialogs().first()->close();
}

QUILLMARCH_TEST_MAIN(TestMainWindowUpdate)
#include "tst_mainwindowupdate.moc"
