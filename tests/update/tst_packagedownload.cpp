#include "app/mainwindow.h"
#include "base/buildconfig.h"
#include "downloaddialogdriver.h"
#include "downloads.h"
#include "localproxy.h"
#include "support/httpserver.h"
#include "support/openedurls.h"
#include "support/pictures.h"
#include "support/testmain.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QRegularExpression>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype mebibyte = qsizetype(1024) * 1024;
const QByteArray package(3 * mebibyte, 'q'); // 3.0 MB
const QString packageChecksum = u"3d7a67ddfed3939e2f2def60695de49d"_s; // from the md5sum command

HttpResponse answerWith(const QByteArray &body)
{
    HttpResponse response;
    response.body = body;
    return response;
}

/// An answer that stops one byte before \a size bytes of the package.
HttpResponse answerUpTo(qsizetype size)
{
    HttpResponse response = answerWith(package);
    response.pauseAfter = size - 1;
    return response;
}

/// Continues an answer up to \a size bytes, so that the reply reports exactly that
/// size: it reports progress only if it has not done so for 100 ms.
void sendUpTo(qsizetype size, HttpServer &server, const MainWindow &window)
{
    QTRY_VERIFY(window.findChild<QNetworkReply *>());
    const QNetworkReply *reply = window.findChild<QNetworkReply *>();
    QTRY_COMPARE(reply->bytesAvailable(), size - 1);
    QElapsedTimer time;
    time.start();
    QTRY_VERIFY(time.elapsed() > 150);
    server.resume(size);
}

} // namespace

class TestPackageDownload : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void downloadsAndVerifies();
    void sendsItsUserAgent();
    void requestHasNoOtherHeaders();
    void requestsTheFallbackPackage();
    void keepsTheStoredAddress();
    void showsProgress();
    void showsNoPercentageForAnUnknownLength();
    void reportsAnInvalidChecksum();
    void installsAndLeavesTheWindowOpen();
    void namesTheFile_data();
    void namesTheFile();
    void replacesAnOlderFile();
    void followsARedirect();

    void reportsAnErrorAndRetries();
    void showsAnErrorOnce();
    void reportsATruncatedBody();
    void reportsAnUnwritableFile();
    void doesNothingWithoutAnAddress();
    void cleansUpWithoutADialog();

    void finishesWithoutTheDialog();
    void restartsFromANewDialog();
    void replacesARunningDownload_data();
    void replacesARunningDownload();
    void secondClickRestarts();
    void replacesADownloadThatIsNotOverTheNetwork();
    void endsWithTheWindow();
    void ignoresCallsWithoutADownload();
};

void TestPackageDownload::init()
{
    QVERIFY(emptyDownloadFolder());
    QTest::failOnWarning(QRegularExpression(u"QIODevice|QObject|QFile"_s));
}

void TestPackageDownload::downloadsAndVerifies()
{
    HttpServer server;
    server.setResponse("/q.zip", answerWith(package));
    MainWindow window;
    window.onVersionInfoReceived(u"3.0.0"_s, true, server.url(u"/q.zip"_s).toString(), {}, packageChecksum.toUpper());
    QVERIFY(driveDownloadDialog(window, [](DownloadUpdateDialog &dialog) {
        const DialogView view(dialog);
        view.update->click();
        QCOMPARE(view.status->text(), u"准备下载..."_s);
        QTRY_COMPARE(view.status->text(), u"下载完成，校验通过！"_s);
        QCOMPARE(view.location->text(), u"文件位置："_s + downloadFolder() + u"/q.zip"_s);
        QCOMPARE(view.bar->value(), 100);
        QCOMPARE(view.percent->text(), u"100%"_s);
        QCOMPARE(view.fileSize->text(), u"文件大小：3.0 MB"_s);
        QCOMPARE(view.visibleButtons(), u"oc"_s);
    }));
    QVERIFY(downloaded(u"q.zip"_s) == package);
    QCOMPARE(downloads(), QStringList({u"q.zip"_s}));
    QTRY_VERIFY(!isDownloading(window));
    QVERIFY(!childOf<QPushButton>(window, "updateButton")->isHidden()); // the offer remains
}

void TestPackageDownload::sendsItsUserAgent()
{
    HttpServer server;
    server.setResponse("/q.zip", answerWith(package));
    MainWindow window;
    window.onVersionInfoReceived(u"3.0.0"_s, true, server.url(u"/q.zip"_s).toString());
    window.startDownload();
    QTRY_VERIFY(!isDownloading(window));
    QCOMPARE(server.requests().size(), 1);
    QCOMPARE(server.requests().first().method, QByteArray("GET"));
    QCOMPARE(server.requests().first().target, QByteArray("/q.zip"));
    QCOMPARE(server.requests().first().header("User-Agent"), QByteArray("Quillmarch/2.7.1 (macOS)"));
}

void TestPackageDownload::requestHasNoOtherHeaders()
{
    HttpServer server;
    server.setResponse("/a/q.zip", answerWith(package));
    MainWindow window;
    window.onVersionInfoReceived(u"3.0.0"_s, true, server.url(u"/a/q.zip"_s).toString());
    window.startDownload();
    const QNetworkReply *reply = window.findChild<QNetworkReply *>();
    QVERIFY(reply != nullptr);
    QCOMPARE(reply->property("savePath"), QVariant(downloadFolder() + u"/q.zip"_s));
    const QNetworkRequest request = reply->request();
    QCOMPARE(request.url(), server.url(u"/a/q.zip"_s));
    QCOMPARE(request.attribute(QNetworkRequest::RedirectPolicyAttribute), QVariant(1));
    QCOMPARE(request.rawHeaderList(), QList<QByteArray>({"User-Agent"}));
    QCOMPARE(request.transferTimeout(), 0);
    QCOMPARE(request.maximumRedirectsAllowed(), QNetworkRequest().maximumRedirectsAllowed());
    QTRY_VERIFY(!isDownloading(window));
}

void TestPackageDownload::requestsTheFallbackPackage()
{
    HttpServer server; // refuses the tunnel
    const LocalProxy proxy(server);
    MainWindow window;
    window.onVersionInfoReceived(u"3.0.0"_s, true);
    window.startDownload();
    const QNetworkReply *reply = window.findChild<QNetworkReply *>();
    QVERIFY(reply != nullptr);
    const QUrl url(packageHost.toString() + u"/updates/quillmarch/Quillmarch_v3.0.0_macOS.dmg"_s);
    QCOMPARE(reply->request().url(), url);
    QCOMPARE(reply->property("savePath"), QVariant(downloadFolder() + u"/Quillmarch_v3.0.0_macOS.dmg"_s));
    QTRY_VERIFY(!isDownloading(window));
}

void TestPackageDownload::keepsTheStoredAddress()
{
    HttpServer server;
    server.setResponse("/q.zip", answerWith("package"));
    MainWindow window;
    window.onVersionInfoReceived(u"3.0.0"_s, true, server.url(u"/q.zip"_s).toString());
    window.onVersionInfoReceived(u"9.9.9"_s, false, server.url(u"/other.zip"_s).toString());
    window.startDownload();
    QTRY_VERIFY(!isDownloading(window));
    QCOMPARE(server.requests().size(), 1);
    QCOMPARE(downloaded(u"q.zip"_s), QByteArray("package"));
}

void TestPackageDownload::showsProgress()
{
    HttpServer server;
    server.setResponse("/q.zip", answerUpTo(mebibyte));
    MainWindow window;
    window.onVersionInfoReceived(u"3.0.0"_s, true, server.url(u"/q.zip"_s).toString());
    QVERIFY(driveDownloadDialog(window, [&](DownloadUpdateDialog &dialog) {
        const DialogView view(dialog);
        view.update->click();
        sendUpTo(mebibyte, server, window);
        QTRY_COMPARE(view.status->text(), u"正在下载... 1.0 MB / 3.0 MB"_s);
        QCOMPARE(view.bar->value(), 33);
        QCOMPARE(view.percent->text(), u"33%"_s);
        QCOMPARE(view.update->text(), u"暂停"_s);
        QCOMPARE(view.visibleButtons(), u"uc"_s);
        view.update->click(); // pauses nothing
        QVERIFY(downloaded(u"q.zip"_s).isEmpty()); // nothing is written before the end
        server.resume();
        QTRY_COMPARE(view.status->text(), u"下载完成，校验通过！"_s);
    }));
    QCOMPARE(server.requests().size(), 1);
    QVERIFY(downloaded(u"q.zip"_s) == package);
}

void TestPackageDownload::showsNoPercentageForAnUnknownLength()
{
    HttpServer server;
    HttpResponse response = answerUpTo(mebibyte * 3 / 2);
    response.sendsLength = false;
    server.setResponse("/q.zip", response);
    MainWindow window;
    window.onVersionInfoReceived(u"3.0.0"_s, true, server.url(u"/q.zip"_s).toString(), {}, packageChecksum, u"3M"_s);
    QVERIFY(driveDownloadDialog(window, [&](DownloadUpdateDialog &dialog) {
        const DialogView view(dialog);
        view.update->click();
        sendUpTo(mebibyte * 3 / 2, server, window);
        QTRY_COMPARE(view.status->text(), u"正在下载... 1.5 MB / -1 B"_s);
        QCOMPARE(view.bar->value(), 0);
        QCOMPARE(view.percent->text(), u"0%"_s);
        QCOMPARE(view.fileSize->text(), u"文件大小：3M"_s);
        server.resume();
        QTRY_COMPARE(view.status->text(), u"下载完成，校验通过！"_s);
    }));
    QVERIFY(downloaded(u"q.zip"_s) == package);
}

void TestPackageDownload::reportsAnInvalidChecksum()
{
    HttpServer server;
    server.setResponse("/q.zip", answerWith("other"));
    MainWindow window;
    window.onVersionInfoReceived(u"3.0.0"_s, true, server.url(u"/q.zip"_s).toString(), {}, packageChecksum);
    QVERIFY(driveDownloadDialog(window, [&server](DownloadUpdateDialog &dialog) {
        const DialogView view(dialog);
        view.update->click();
        QTRY_COMPARE(view.status->text(), u"下载完成，但校验失败！"_s);
        QCOMPARE(downloaded(u"q.zip"_s), QByteArray("other")); // the file is kept
        server.setResponse("/q.zip", answerWith(package));
        QCOMPARE(view.update->text(), u"重新下载"_s);
        view.update->click();
        QTRY_COMPARE(view.status->text(), u"下载完成，校验通过！"_s);
    }));
    QCOMPARE(server.requests().size(), 2);
}

void TestPackageDownload::installsAndLeavesTheWindowOpen()
{
    const OpenedUrls opened({u"file"_s});
    HttpServer server;
    server.setResponse("/q.zip", answerWith(package));
    MainWindow window;
    window.show();
    window.onVersionInfoReceived(u"3.0.0"_s, true, server.url(u"/q.zip"_s).toString(), {}, packageChecksum);
    QVERIFY(driveDownloadDialog(window, [](DownloadUpdateDialog &dialog) {
        const DialogView view(dialog);
        view.update->click();
        QTRY_COMPARE(view.close->text(), u"安装更新"_s);
        view.close->click();
        QVERIFY(!dialog.isVisible());
    }));
    QCOMPARE(opened.urls(), QList<QUrl>({QUrl::fromLocalFile(downloadFolder() + u"/q.zip"_s)}));
    QVERIFY(window.isVisible());
}

void TestPackageDownload::namesTheFile_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("name");
    QTest::newRow("last segment") << u"/a/b/q.zip"_s << u"q.zip"_s;
    QTest::newRow("query") << u"/a/q.zip?key=1&x=2"_s << u"q.zip?key=1&x=2"_s;
    QTest::newRow("slash in the query") << u"/a/q.zip?from=/b"_s << u"b"_s;
    QTest::newRow("folder") << u"/a/"_s << u"Quillmarch_v3.0.0_macOS.dmg"_s;
    QTest::newRow("encoded blank") << u"/a/q%20r.zip"_s << u"q%20r.zip"_s;
}

void TestPackageDownload::namesTheFile()
{
    QFETCH(QString, path);
    QFETCH(QString, name);
    HttpServer server;
    server.setResponse(path.toUtf8(), answerWith("package"));
    MainWindow window;
    window.onVersionInfoReceived(u"3.0.0"_s, true, u"http://127.0.0.1:%1%2"_s.arg(server.port()).arg(path));
    window.startDownload();
    QTRY_VERIFY(!isDownloading(window));
    QCOMPARE(downloads(), QStringList({name}));
    QCOMPARE(downloaded(name), QByteArray("package"));
}

void TestPackageDownload::replacesAnOlderFile()
{
    savedBytes("something longer than the package", downloadFolder() + u"/q.zip"_s);
    HttpServer server;
    server.setResponse("/q.zip", answerWith("package"));
    MainWindow window;
    window.onVersionInfoReceived(u"3.0.0"_s, true, server.url(u"/q.zip"_s).toString());
    window.startDownload();
    QTRY_VERIFY(!isDownloading(window));
    QCOMPARE(downloaded(u"q.zip"_s), QByteArray("package"));
}

void TestPackageDownload::followsARedirect()
{
    HttpServer server;
    server.setResponse("/q.zip", HttpResponse::redirectTo(server.url(u"/stored/real.bin"_s)));
    server.setResponse("/stored/real.bin", answerWith("package"));
    MainWindow window;
    window.onVersionInfoReceived(u"3.0.0"_s, true, server.url(u"/q.zip"_s).toString());
    window.startDownload();
    QTRY_VERIFY(!isDownloading(window));
    QCOMPARE(downloaded(u"q.zip"_s), QByteArray("package")); // the reported address determines the name
    QCOMPARE(server.requests().size(), 2);
}

void TestPackageDownload::reportsAnErrorAndRetries()
{
    HttpServer server; // answers 404
    MainWindow window;
    window.onVersionInfoReceived(u"3.0.0"_s, true, server.url(u"/q.zip"_s).toString(), {}, packageChecksum);
    QVERIFY(driveDownloadDialog(window, [&server](DownloadUpdateDialog &dialog) {
        const DialogView view(dialog);
        view.update->click();
        QTRY_VERIFY(view.status->text().startsWith(u"下载失败："_s));
        QVERIFY2(view.status->text().contains(server.url(u"/q.zip"_s).toString()), qPrintable(view.status->text()));
        QCOMPARE(view.update->text(), u"重试"_s);
        QCOMPARE(view.visibleButtons(), u"uc"_s);
        QVERIFY(downloaded(u"q.zip"_s).isEmpty());
        server.setResponse("/q.zip", answerWith(package));
        view.update->click();
        QTRY_COMPARE(view.status->text(), u"下载完成，校验通过！"_s);
    }));
    QCOMPARE(server.requests().size(), 2);
}

void TestPackageDownload::showsAnErrorOnce()
{
    // The dialog receives an error twice, by two signals of the reply.
    HttpServer server; // answers 404
    MainWindow window;
    window.onVersionInfoReceived(u"3.0.0"_s, true, server.url(u"/q.zip"_s).toString());
    QVERIFY(driveDownloadDialog(window, [&](DownloadUpdateDialog &dialog) {
        const DialogView view(dialog);
        view.update->click();
        QStringList afterTheError;
        QStringList afterTheEnd;
        const QNetworkReply *reply = window.findChild<QNetworkReply *>();
        connect(reply, &QNetworkReply::errorOccurred, &dialog, [&] { afterTheError = look(dialog); });
        connect(reply, &QNetworkReply::finished, &dialog, [&] { afterTheEnd = look(dialog); });
        QTRY_VERIFY(!afterTheEnd.isEmpty());
        QVERIFY(view.status->text().startsWith(u"下载失败："_s));
        QCOMPARE(afterTheError, afterTheEnd);
        QCOMPARE(view.visibleButtons(), u"uc"_s);
        QTRY_VERIFY(!isDownloading(window));
        QCOMPARE(look(dialog), afterTheEnd);
    }));
    QCOMPARE(server.requests().size(), 1);
}

void TestPackageDownload::reportsATruncatedBody()
{
    HttpServer server;
    HttpResponse response = answerWith(package);
    response.cutAfter = mebibyte;
    server.setResponse("/q.zip", response);
    MainWindow window;
    window.onVersionInfoReceived(u"3.0.0"_s, true, server.url(u"/q.zip"_s).toString());
    QVERIFY(driveDownloadDialog(window, [](DownloadUpdateDialog &dialog) {
        const DialogView view(dialog);
        view.update->click();
        QTRY_VERIFY(view.status->text().startsWith(u"下载失败："_s));
        QCOMPARE(view.update->text(), u"重试"_s);
    }));
    QVERIFY(downloads().isEmpty());
}

void TestPackageDownload::reportsAnUnwritableFile()
{
    QVERIFY(QDir(downloadFolder()).mkdir(u"q.zip"_s)); // a folder with the name of the file
    HttpServer server;
    server.setResponse("/q.zip", answerWith(package));
    MainWindow window;
    window.onVersionInfoReceived(u"3.0.0"_s, true, server.url(u"/q.zip"_s).toString());
    QVERIFY(driveDownloadDialog(window, [](DownloadUpdateDialog &dialog) {
        const DialogView view(dialog);
        view.update->click();
        QFile file(downloadFolder() + u"/q.zip"_s);
        QVERIFY(!file.open(QIODevice::WriteOnly));
        QTRY_COMPARE(view.status->text(), u"下载失败：无法保存文件: "_s + file.errorString());
        QCOMPARE(view.update->text(), u"重试"_s);
    }));
    QTRY_VERIFY(!isDownloading(window));
}

void TestPackageDownload::doesNothingWithoutAnAddress()
{
    MainWindow window;
    window.startDownload(); // neither a report nor a dialog yet
    QVERIFY(!isDownloading(window));
}

void TestPackageDownload::cleansUpWithoutADialog()
{
    HttpServer server; // answers 404
    MainWindow window;
    window.onVersionInfoReceived(u"3.0.0"_s, true, server.url(u"/q.zip"_s).toString());
    window.startDownload();
    QVERIFY(isDownloading(window));
    QTRY_VERIFY(!isDownloading(window));
    QVERIFY(downloads().isEmpty());

    QVERIFY(QDir(downloadFolder()).mkdir(u"q.zip"_s));
    server.setResponse("/q.zip", answerWith(package));
    window.startDownload();
    QTRY_VERIFY(!isDownloading(window));
    QCOMPARE(server.requests().size(), 2);
}

void TestPackageDownload::finishesWithoutTheDialog()
{
    HttpServer server;
    server.setResponse("/q.zip", answerUpTo(mebibyte));
    MainWindow window;
    window.onVersionInfoReceived(u"3.0.0"_s, true, server.url(u"/q.zip"_s).toString());
    QVERIFY(driveDownloadDialog(window, [&](DownloadUpdateDialog &dialog) {
        const DialogView view(dialog);
        view.update->click();
        sendUpTo(mebibyte, server, window);
        QTRY_COMPARE(view.percent->text(), u"33%"_s);
        view.close->click();
    }));
    QVERIFY(isDownloading(window));
    server.resume();
    QTRY_VERIFY(!isDownloading(window));
    QVERIFY(downloaded(u"q.zip"_s) == package);
}

void TestPackageDownload::restartsFromANewDialog()
{
    HttpServer server;
    server.setResponse("/q.zip", answerUpTo(mebibyte));
    MainWindow window;
    window.onVersionInfoReceived(u"3.0.0"_s, true, server.url(u"/q.zip"_s).toString(), {}, packageChecksum);
    QVERIFY(driveDownloadDialog(window, [&](DownloadUpdateDialog &dialog) {
        const DialogView view(dialog);
        view.update->click();
        sendUpTo(mebibyte, server, window);
        QTRY_COMPARE(view.percent->text(), u"33%"_s);
    }));
    server.setResponse("/q.zip", answerWith(package));
    QVERIFY(driveDownloadDialog(window, [](DownloadUpdateDialog &dialog) {
        const DialogView view(dialog);
        QCOMPARE(view.update->text(), u"立即更新"_s); // the dialog ignores the running download
        QCOMPARE(view.visibleButtons(), u"slu"_s);
        view.update->click();
        QTRY_COMPARE(view.status->text(), u"下载完成，校验通过！"_s);
    }));
    QCOMPARE(server.requests().size(), 2);
    QTRY_COMPARE(server.connectionCount(), 0); // the first one was aborted
    QVERIFY(downloaded(u"q.zip"_s) == package);
}

void TestPackageDownload::replacesARunningDownload_data()
{
    QTest::addColumn<bool>("beforeHeaders");
    QTest::newRow("no answer yet") << true;
    QTest::newRow("part of a body") << false;
}

void TestPackageDownload::replacesARunningDownload()
{
    QFETCH(bool, beforeHeaders);
    HttpServer server;
    HttpResponse stalled = answerWith("first");
    stalled.pausesAtStart = beforeHeaders;
    stalled.pauseAfter = 2;
    server.setResponse("/first.zip", stalled);
    server.setResponse("/second.zip", answerWith("second"));
    MainWindow window;
    window.onVersionInfoReceived(u"3.0.0"_s, true, server.url(u"/first.zip"_s).toString());
    window.startDownload();
    QTRY_COMPARE(server.requests().size(), 1);
    window.onVersionInfoReceived(u"3.0.1"_s, true, server.url(u"/second.zip"_s).toString());
    window.startDownload();
    QTRY_VERIFY(!isDownloading(window));
    QCOMPARE(downloads(), QStringList({u"second.zip"_s}));
    QCOMPARE(downloaded(u"second.zip"_s), QByteArray("second"));
    QTRY_COMPARE(server.connectionCount(), 0);
}

void TestPackageDownload::secondClickRestarts()
{
    HttpServer server;
    HttpResponse stalled = answerWith(package);
    stalled.pausesAtStart = true; // so that no progress is reported
    server.setResponse("/q.zip", stalled);
    MainWindow window;
    window.onVersionInfoReceived(u"3.0.0"_s, true, server.url(u"/q.zip"_s).toString(), {}, packageChecksum);
    QVERIFY(driveDownloadDialog(window, [&](DownloadUpdateDialog &dialog) {
        const DialogView view(dialog);
        view.update->click();
        QTRY_COMPARE(server.requests().size(), 1);
        const QPointer<QNetworkReply> first = window.findChild<QNetworkReply *>();
        server.setResponse("/q.zip", answerWith(package));
        view.update->click();
        QTRY_COMPARE(view.status->text(), u"下载完成，校验通过！"_s);
        QVERIFY(first.isNull());
    }));
    QCOMPARE(server.requests().size(), 2);
    QTRY_COMPARE(server.connectionCount(), 0);
    QVERIFY(downloaded(u"q.zip"_s) == package);
}

void TestPackageDownload::replacesADownloadThatIsNotOverTheNetwork()
{
    // Such a reply ignores abort() and finishes later, when another reply is the running one.
    HttpServer server;
    HttpResponse response = answerWith("package");
    response.pauseAfter = 2;
    server.setResponse("/q.zip", response);
    MainWindow window;
    window.onVersionInfoReceived(u"3.0.0"_s, true, u"file:///nowhere/first.zip"_s);
    window.startDownload();
    window.onVersionInfoReceived(u"3.0.0"_s, true, server.url(u"/q.zip"_s).toString());
    window.startDownload();
    QTRY_COMPARE(server.requests().size(), 1);
    QTRY_COMPARE(window.findChildren<QNetworkReply *>().size(), 1);
    QVERIFY(downloads().isEmpty());
    server.resume();
    QTRY_VERIFY(!isDownloading(window));
    QCOMPARE(downloaded(u"q.zip"_s), QByteArray("package"));
}

void TestPackageDownload::endsWithTheWindow()
{
    HttpServer server;
    HttpResponse response = answerWith("package");
    response.pauseAfter = 2;
    server.setResponse("/q.zip", response);
    auto window = std::make_unique<MainWindow>();
    window->onVersionInfoReceived(u"3.0.0"_s, true, server.url(u"/q.zip"_s).toString());
    window->startDownload();
    QTRY_COMPARE(server.requests().size(), 1);
    const QPointer<QNetworkReply> reply = window->findChild<QNetworkReply *>();
    QVERIFY(reply);
    window.reset();
    QVERIFY(reply.isNull());
    QTRY_COMPARE(server.connectionCount(), 0);
    QVERIFY(downloads().isEmpty());
}

void TestPackageDownload::ignoresCallsWithoutADownload()
{
    MainWindow window;
    window.onVersionInfoReceived(u"3.0.0"_s, true);
    window.onDownloadProgress(1, 2);
    window.onDownloadFinished();
    window.onDownloadError(QNetworkReply::HostNotFoundError);
    QVERIFY(downloads().isEmpty());
    QVERIFY(driveDownloadDialog(window, [&window](DownloadUpdateDialog &dialog) {
        const QStringList before = look(dialog);
        window.onDownloadFinished();
        window.onDownloadError(QNetworkReply::HostNotFoundError);
        QCOMPARE(look(dialog), before);
    }));
}

QUILLMARCH_TEST_MAIN(TestPackageDownload)
#include "tst_packagedownload.moc"
