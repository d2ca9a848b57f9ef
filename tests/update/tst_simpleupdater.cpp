#include "support/httpserver.h"
#include "support/messageboxes.h"
#include "support/openedurls.h"
#include "support/testmain.h"
#include "update/simpleupdater.h"
#include "update/updatedialog.h"

#include <QElapsedTimer>
#include <QLabel>
#include <QNetworkReply>
#include <QPointer>
#include <QProcess>
#include <QPushButton>
#include <QRegularExpression>
#include <QSettings>
#include <QSignalSpy>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

namespace {

/// A release document with one release for this platform.
QByteArray documentFor(const QByteArray &version)
{
    return R"({"releases": [{"version": ")" + version + R"(", "title": "T", "description": "D", "releaseDate": "",)"
        + R"("platforms": [{"name": "windows", "downloadUrl": "https://packages.example/q.zip", "fileSize": 7}]}]})";
}

HttpResponse answerWith(const QByteArray &body, int status = 200)
{
    HttpResponse response;
    response.status = status;
    response.headers = {{"Content-Type", "application/json"}};
    response.body = body;
    return response;
}

bool isChecking(const SimpleUpdater &updater)
{
    return !updater.findChildren<QNetworkReply *>().isEmpty();
}

QList<UpdateDialog *> openDialogs()
{
    QList<UpdateDialog *> dialogs;
    const auto widgets = QApplication::topLevelWidgets();
    for (QWidget *widget : widgets) {
        if (auto *dialog = qobject_cast<UpdateDialog *>(widget); dialog && dialog->isVisible()) {
            dialogs.append(dialog);
        }
    }
    return dialogs;
}

bool showsNothing()
{
    const auto widgets = QApplication::topLevelWidgets();
    return std::none_of(widgets.begin(), widgets.end(), [](const QWidget *widget) { return widget->isVisible(); });
}

QString headlineOf(const UpdateDialog &dialog)
{
    const auto labels = dialog.findChildren<QLabel *>();
    for (const QLabel *label : labels) {
        if (!label->text().isEmpty()) {
            return label->text();
        }
    }
    return {};
}

void skipVersion(const QString &version)
{
    QSettings().setValue(u"updater/skippedVersion"_s, version);
}

/// Starts an interactive check out of the event loop, as a click would: a
/// message box then runs a nested loop, and not the outermost one.
void startCheck(SimpleUpdater &updater)
{
    QMetaObject::invokeMethod(
        &updater, [&updater] { updater.checkForUpdates(); }, Qt::QueuedConnection);
    QCoreApplication::processEvents();
}

QByteArray fileContents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

enum class Outcome { NetworkError, ParseError, UpToDate, Dialog };

} // namespace

class TestSimpleUpdater : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void knowsThePlatformOfTheBuild();
    void comparesFreeForms_data();
    void comparesFreeForms();
    void keepsTheReleaseOfAnEarlierDocument();
    void warnsWithoutAnAddress();
    void sendsItsNameAndTypeWish();

    void endsInteractively_data() { addOutcomes(); }
    void endsInteractively();
    void endsSilently_data() { addOutcomes(); }
    void endsSilently();
    void failsWithoutAConnection();
    void failsOnACutOffBody();
    void followsRedirects_data();
    void followsRedirects();
    void readsABodyOfUnknownLength();
    void readsASlowBody();

    void staysSilentOnceSilent();
    void skipsByText_data();
    void skipsByText();
    void staysQuietAfterASkipInTheDialog();
    void opensASecondDialog();
    void checksAgainAfterABox();

    void replacesARunningSilentCheck_data() { addStalls(); }
    void replacesARunningSilentCheck();
    void replacesARunningInteractiveCheck_data() { addStalls(); }
    void replacesARunningInteractiveCheck();
    void replacesACheckThatIsNotOverTheNetwork();
    void abortsWhenDestroyed_data();
    void abortsWhenDestroyed();

    void checksOverTls();
    void refusesAnUnknownCertificate();

private:
    void addOutcomes();
    void addStalls();
    QSslConfiguration throwAwayTls();

    QTemporaryDir certificates;
};

void TestSimpleUpdater::initTestCase()
{
    QCoreApplication::setOrganizationName(u"zrnw480"_s);
    QCoreApplication::setApplicationName(u"Quillmarch"_s);
}

void TestSimpleUpdater::init()
{
    QSettings().clear();
    // The program logs one line only, and that one is expected where it is due.
    QTest::failOnWarning(QRegularExpression(u"QIODevice|Update URL|QObject"_s));
}

void TestSimpleUpdater::cleanup()
{
    const auto dialogs = openDialogs();
    for (UpdateDialog *dialog : dialogs) {
        dialog->close();
    }
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(showsNothing());
}

void TestSimpleUpdater::knowsThePlatformOfTheBuild()
{
    QCOMPARE(SimpleUpdater().currentPlatform(), u"windows"_s);
}

void TestSimpleUpdater::comparesFreeForms_data()
{
    QTest::addColumn<QString>("latest");
    QTest::addColumn<bool>("newer");
    QTest::newRow("equal") << u"2.7.1"_s << false;
    QTest::newRow("suffix") << u"2.7.1-beta"_s << false;
    QTest::newRow("suffix of a higher one") << u"2.7.2-beta"_s << true;
    QTest::newRow("2.8") << u"2.8"_s << true;
    QTest::newRow("3") << u"3"_s << true;
    QTest::newRow("2.7") << u"2.7"_s << false;
    QTest::newRow("2.7.1.1") << u"2.7.1.1"_s << true;
    QTest::newRow("2.7.1.0") << u"2.7.1.0"_s << true;
    QTest::newRow("2.7.10") << u"2.7.10"_s << true;
    QTest::newRow("2.6.9") << u"2.6.9"_s << false;
    QTest::newRow("v3.0.0") << u"v3.0.0"_s << false;
    QTest::newRow("empty") << QString() << false;
    QTest::newRow("next") << u"next"_s << false;
}

void TestSimpleUpdater::comparesFreeForms()
{
    QFETCH(QString, latest);
    QTEST(SimpleUpdater().isNewerVersion(latest, u"2.7.1"_s), "newer");
}

void TestSimpleUpdater::keepsTheReleaseOfAnEarlierDocument()
{
    SimpleUpdater updater;
    QVERIFY(!updater.parseReleaseDocument("{}"));
    QCOMPARE(updater.release().version, QString());
    QVERIFY(updater.parseReleaseDocument(documentFor("3.0.0")));
    QCOMPARE(updater.release().version, u"3.0.0"_s);
    QCOMPARE(updater.release().platform, u"windows"_s);
    QCOMPARE(updater.release().fileSize, 7);
    QVERIFY(!updater.parseReleaseDocument("rubbish"));
    QVERIFY(!updater.parseReleaseDocument(R"({"releases": [{"version": "4", "platforms": [{"name": "macos"}]}]})"));
    QCOMPARE(updater.release().version, u"3.0.0"_s);
    QVERIFY(updater.parseReleaseDocument(documentFor("1.0.0")));
    QCOMPARE(updater.release().version, u"1.0.0"_s);
}

void TestSimpleUpdater::warnsWithoutAnAddress()
{
    const MessageBoxes boxes;
    SimpleUpdater updater;
    QTest::ignoreMessage(QtWarningMsg, "Update URL is not set");
    updater.checkForUpdates();
    QVERIFY(!isChecking(updater));
    QTest::ignoreMessage(QtWarningMsg, "Update URL is not set");
    updater.checkForUpdatesSilently();
    QVERIFY(!isChecking(updater));
    QVERIFY(boxes.shown().isEmpty());
    QVERIFY(showsNothing());
}

void TestSimpleUpdater::sendsItsNameAndTypeWish()
{
    HttpServer server;
    SimpleUpdater updater;
    updater.setUpdateUrl(server.url(u"/updates/update-config-zh.json"_s).toString());
    updater.checkForUpdatesSilently();
    QTRY_VERIFY(!isChecking(updater));
    QCOMPARE(server.requests().size(), 1);
    const HttpRequest &request = server.requests().first();
    QCOMPARE(request.method, QByteArray("GET"));
    QCOMPARE(request.target, QByteArray("/updates/update-config-zh.json"));
    QCOMPARE(request.header("User-Agent"), QByteArray("Quillmarch/2.7.1"));
    QCOMPARE(request.header("Accept"), QByteArray("application/json"));
}

void TestSimpleUpdater::addOutcomes()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<int>("outcome");
    const auto add = [](const char *name, int status, const QByteArray &body, Outcome outcome) {
        QTest::newRow(name) << status << body << int(outcome);
    };
    add("newer", 200, documentFor("2.7.2"), Outcome::Dialog);
    add("newer, two segments", 200, documentFor("2.8"), Outcome::Dialog);
    add("newer and forced", 200, documentFor("9.0.0").replace("\"title\"", "\"isForced\": true, \"title\""),
        Outcome::Dialog);
    add("same", 200, documentFor("2.7.1"), Outcome::UpToDate);
    add("older", 200, documentFor("2.0.0"), Outcome::UpToDate);
    add("leading v", 200, documentFor("v3.0.0"), Outcome::UpToDate);
    add("no version", 200, documentFor(""), Outcome::UpToDate);
    add("malformed", 200, documentFor("3.0.0").chopped(3), Outcome::ParseError);
    add("empty", 200, QByteArray(), Outcome::ParseError);
    add("no releases", 200, R"({"releases": []})", Outcome::ParseError);
    add("other platform", 200, documentFor("3.0.0").replace("windows", "macos"), Outcome::ParseError);
    add("report shape", 200, R"({"hasUpdate": true, "latestVersion": "3.0.0"})", Outcome::ParseError);
    add("404", 404, documentFor("3.0.0"), Outcome::NetworkError);
    add("403", 403, documentFor("3.0.0"), Outcome::NetworkError);
    add("500", 500, documentFor("3.0.0"), Outcome::NetworkError);
    add("503", 503, QByteArray(), Outcome::NetworkError);
}

void TestSimpleUpdater::endsInteractively()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    QFETCH(int, outcome);
    HttpServer server;
    server.setResponse("/doc", answerWith(body, status));
    const MessageBoxes boxes;
    SimpleUpdater updater;
    updater.setUpdateUrl(server.url(u"/doc"_s).toString());
    startCheck(updater);
    QVERIFY(isChecking(updater));
    QTRY_VERIFY(!isChecking(updater) && (!boxes.shown().isEmpty() || !openDialogs().isEmpty()));
    QCOMPARE(server.requests().size(), 1);
    if (outcome == int(Outcome::Dialog)) {
        QVERIFY(boxes.shown().isEmpty());
        QCOMPARE(openDialogs().size(), 1);
        const UpdateDialog *dialog = openDialogs().first();
        QCOMPARE(headlineOf(*dialog), u"发现新版本 "_s + updater.release().version);
        QVERIFY(dialog->testAttribute(Qt::WA_DeleteOnClose));
        QVERIFY(!dialog->isModal());
        QCOMPARE(dialog->parentWidget(), nullptr);
        return;
    }
    QVERIFY(openDialogs().isEmpty());
    QCOMPARE(boxes.shown().size(), 1);
    const ShownBox &box = boxes.shown().first();
    QCOMPARE(box.buttons, QMessageBox::Ok);
    QCOMPARE(box.parent, nullptr);
    if (outcome == int(Outcome::UpToDate)) {
        QCOMPARE(box.icon, QMessageBox::Information);
        QCOMPARE(box.title, u"检查更新"_s);
        QCOMPARE(box.text, u"您已使用最新版本"_s);
    } else {
        QCOMPARE(box.icon, QMessageBox::Critical);
        QCOMPARE(box.title, u"更新检查错误"_s);
        QCOMPARE(box.text, outcome == int(Outcome::NetworkError) ? u"网络连接失败"_s : u"解析更新信息失败"_s);
    }
}

void TestSimpleUpdater::endsSilently()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    QFETCH(int, outcome);
    HttpServer server;
    server.setResponse("/doc", answerWith(body, status));
    const MessageBoxes boxes;
    SimpleUpdater updater;
    updater.setUpdateUrl(server.url(u"/doc"_s).toString());
    updater.checkForUpdatesSilently();
    QTRY_VERIFY(!isChecking(updater));
    QVERIFY(boxes.shown().isEmpty());
    QCOMPARE(openDialogs().size(), outcome == int(Outcome::Dialog) ? 1 : 0);
    QCOMPARE(showsNothing(), outcome != int(Outcome::Dialog));
}

void TestSimpleUpdater::failsWithoutAConnection()
{
    QString address;
    {
        const HttpServer server;
        address = server.url(u"/doc"_s).toString();
    }
    const MessageBoxes boxes;
    SimpleUpdater updater;
    updater.setUpdateUrl(address);
    startCheck(updater);
    QTRY_COMPARE(boxes.shown().size(), 1);
    QCOMPARE(boxes.shown().first().text, u"网络连接失败"_s);
    updater.setUpdateUrl(u"nonsense:doc"_s);
    startCheck(updater);
    QTRY_COMPARE(boxes.shown().size(), 2);
    QCOMPARE(boxes.shown().last().text, u"网络连接失败"_s);
    QTRY_VERIFY(!isChecking(updater));
}

void TestSimpleUpdater::failsOnACutOffBody()
{
    HttpServer server;
    HttpResponse response = answerWith(documentFor("3.0.0") + QByteArray(100, ' '));
    response.cutAfter = response.body.size() - 50; // what came in is a whole document
    server.setResponse("/doc", response);
    const MessageBoxes boxes;
    SimpleUpdater updater;
    updater.setUpdateUrl(server.url(u"/doc"_s).toString());
    startCheck(updater);
    QTRY_COMPARE(boxes.shown().size(), 1);
    QCOMPARE(boxes.shown().first().text, u"网络连接失败"_s);
    QVERIFY(openDialogs().isEmpty());
}

void TestSimpleUpdater::followsRedirects_data()
{
    QTest::addColumn<int>("status");
    QTest::newRow("301") << 301;
    QTest::newRow("302") << 302;
    QTest::newRow("307") << 307;
    QTest::newRow("308") << 308;
}

void TestSimpleUpdater::followsRedirects()
{
    QFETCH(int, status);
    HttpServer server;
    HttpServer other;
    server.setResponse("/doc", HttpResponse::redirectTo(other.url(u"/moved"_s), status));
    other.setResponse("/moved", answerWith(documentFor("3.0.0")));
    SimpleUpdater updater;
    updater.setUpdateUrl(server.url(u"/doc"_s).toString());
    updater.checkForUpdatesSilently();
    QTRY_COMPARE(openDialogs().size(), 1);
    QCOMPARE(other.requests().size(), 1);
    QCOMPARE(other.requests().first().header("User-Agent"), QByteArray("Quillmarch/2.7.1"));
    QCOMPARE(other.requests().first().header("Accept"), QByteArray("application/json"));
}

void TestSimpleUpdater::readsABodyOfUnknownLength()
{
    HttpServer server;
    HttpResponse response = answerWith(documentFor("3.0.0"));
    response.sendsLength = false;
    server.setResponse("/doc", response);
    SimpleUpdater updater;
    updater.setUpdateUrl(server.url(u"/doc"_s).toString());
    updater.checkForUpdatesSilently();
    QTRY_COMPARE(openDialogs().size(), 1);
}

void TestSimpleUpdater::readsASlowBody()
{
    HttpServer server;
    HttpResponse response = answerWith(documentFor("3.0.0"));
    response.chunkSize = 20;
    response.chunkInterval = 2;
    server.setResponse("/doc", response);
    SimpleUpdater updater;
    updater.setUpdateUrl(server.url(u"/doc"_s).toString());
    updater.checkForUpdatesSilently();
    QTRY_COMPARE(openDialogs().size(), 1);
}

void TestSimpleUpdater::staysSilentOnceSilent()
{
    HttpServer server; // answers 404
    const MessageBoxes boxes;
    SimpleUpdater updater;
    updater.setUpdateUrl(server.url(u"/doc"_s).toString());
    updater.checkForUpdatesSilently();
    QTRY_VERIFY(!isChecking(updater));
    startCheck(updater);
    QVERIFY(isChecking(updater));
    QTRY_VERIFY(!isChecking(updater));
    QCOMPARE(server.requests().size(), 2);
    QVERIFY(boxes.shown().isEmpty());
    QVERIFY(showsNothing());
}

void TestSimpleUpdater::skipsByText_data()
{
    QTest::addColumn<QString>("skipped");
    QTest::addColumn<QByteArray>("offered");
    QTest::addColumn<bool>("quiet");
    QTest::newRow("nothing skipped") << QString() << QByteArray("3.0.0") << false;
    QTest::newRow("that one") << u"3.0.0"_s << QByteArray("3.0.0") << true;
    QTest::newRow("next one") << u"3.0.0"_s << QByteArray("3.0.1") << false;
    QTest::newRow("earlier one") << u"3.0.1"_s << QByteArray("3.0.0") << false;
    QTest::newRow("same number, other text") << u"3.0.0"_s << QByteArray("3.0") << false;
    QTest::newRow("same number, other text too") << u"3.0"_s << QByteArray("3.0.0") << false;
}

void TestSimpleUpdater::skipsByText()
{
    QFETCH(QString, skipped);
    QFETCH(QByteArray, offered);
    QFETCH(bool, quiet);
    skipVersion(skipped);
    HttpServer server;
    server.setResponse("/doc", answerWith(documentFor(offered)));
    const MessageBoxes boxes;
    SimpleUpdater interactive;
    interactive.setUpdateUrl(server.url(u"/doc"_s).toString());
    startCheck(interactive);
    QTRY_VERIFY(!boxes.shown().isEmpty() || !openDialogs().isEmpty());
    QCOMPARE(openDialogs().size(), quiet ? 0 : 1);
    QCOMPARE(boxes.shown().size(), quiet ? 1 : 0);
    if (quiet) {
        QCOMPARE(boxes.shown().first().text, u"您已使用最新版本"_s);
    }

    SimpleUpdater silent;
    silent.setUpdateUrl(server.url(u"/doc"_s).toString());
    silent.checkForUpdatesSilently();
    QTRY_VERIFY(!isChecking(silent));
    QCOMPARE(openDialogs().size(), quiet ? 0 : 2);
}

void TestSimpleUpdater::staysQuietAfterASkipInTheDialog()
{
    HttpServer server;
    server.setResponse("/doc", answerWith(documentFor("3.0.0")));
    SimpleUpdater updater;
    updater.setUpdateUrl(server.url(u"/doc"_s).toString());
    updater.checkForUpdatesSilently();
    QTRY_COMPARE(openDialogs().size(), 1);
    const QPointer<UpdateDialog> dialog = openDialogs().first();
    dialog->onSkipVersionClicked();
    QTRY_VERIFY(dialog.isNull());

    updater.checkForUpdatesSilently();
    QVERIFY(isChecking(updater));
    QTRY_VERIFY(!isChecking(updater));
    QCOMPARE(server.requests().size(), 2);
    QVERIFY(showsNothing());

    server.setResponse("/doc", answerWith(documentFor("3.0.1")));
    updater.checkForUpdatesSilently();
    QTRY_COMPARE(openDialogs().size(), 1);
}

void TestSimpleUpdater::opensASecondDialog()
{
    HttpServer server;
    server.setResponse("/doc", answerWith(documentFor("3.0.0")));
    SimpleUpdater updater;
    updater.setUpdateUrl(server.url(u"/doc"_s).toString());
    startCheck(updater);
    QTRY_COMPARE(openDialogs().size(), 1);
    startCheck(updater);
    QTRY_COMPARE(openDialogs().size(), 2);
}

void TestSimpleUpdater::checksAgainAfterABox()
{
    HttpServer server;
    server.setResponse("/doc", answerWith(documentFor("1.0.0")));
    const MessageBoxes boxes;
    SimpleUpdater updater;
    updater.setUpdateUrl(server.url(u"/doc"_s).toString());
    for (int check = 1; check <= 3; ++check) {
        startCheck(updater);
        QTRY_COMPARE(boxes.shown().size(), check);
        QTRY_VERIFY(!isChecking(updater));
    }
    QCOMPARE(server.requests().size(), 3);
}

void TestSimpleUpdater::addStalls()
{
    QTest::addColumn<bool>("beforeHeaders");
    QTest::newRow("no answer yet") << true;
    QTest::newRow("half a body") << false;
}

void TestSimpleUpdater::replacesARunningSilentCheck()
{
    QFETCH(bool, beforeHeaders);
    HttpServer server;
    HttpResponse stalled = answerWith(documentFor("3.0.0"));
    stalled.pausesAtStart = beforeHeaders;
    stalled.pauseAfter = 20;
    server.setResponse("/stalled", stalled);
    server.setResponse("/doc", answerWith(documentFor("3.0.1")));
    const MessageBoxes boxes;
    SimpleUpdater updater;
    updater.setUpdateUrl(server.url(u"/stalled"_s).toString());
    updater.checkForUpdatesSilently();
    QTRY_COMPARE(server.requests().size(), 1);
    QVERIFY(isChecking(updater));

    updater.setUpdateUrl(server.url(u"/doc"_s).toString());
    updater.checkForUpdatesSilently();
    QTRY_COMPARE(openDialogs().size(), 1);
    QCOMPARE(headlineOf(*openDialogs().first()), u"发现新版本 3.0.1"_s);
    QVERIFY(boxes.shown().isEmpty());
    QTRY_VERIFY(!isChecking(updater));
    QTRY_COMPARE(server.connectionCount(), 0); // the stalled one was given up
}

void TestSimpleUpdater::replacesARunningInteractiveCheck()
{
    QFETCH(bool, beforeHeaders);
    HttpServer server;
    HttpResponse stalled = answerWith(documentFor("3.0.0"));
    stalled.pausesAtStart = beforeHeaders;
    stalled.pauseAfter = 20;
    server.setResponse("/stalled", stalled);
    server.setResponse("/doc", answerWith(documentFor("3.0.1")));
    const MessageBoxes boxes;
    SimpleUpdater updater;
    updater.setUpdateUrl(server.url(u"/stalled"_s).toString());
    startCheck(updater);
    QTRY_COMPARE(server.requests().size(), 1);

    updater.setUpdateUrl(server.url(u"/doc"_s).toString());
    startCheck(updater);
    QTRY_COMPARE(boxes.shown().size(), 1);
    QCOMPARE(boxes.shown().first().icon, QMessageBox::Critical);
    QCOMPARE(boxes.shown().first().text, u"网络连接失败"_s);
    QTRY_COMPARE(openDialogs().size(), 1);
    QCOMPARE(server.requests().size(), 2);
    QCOMPARE(boxes.shown().size(), 1);
    QTRY_VERIFY(!isChecking(updater));
    QTRY_COMPARE(server.connectionCount(), 0);
}

void TestSimpleUpdater::replacesACheckThatIsNotOverTheNetwork()
{
    // Such a reply ignores the abort and finishes later, when it is no longer the running check.
    HttpServer server;
    HttpResponse slow = answerWith(documentFor("3.0.1"));
    slow.pauseAfter = 20;
    server.setResponse("/doc", slow);
    const MessageBoxes boxes;
    SimpleUpdater updater;
    updater.setUpdateUrl(u"file:///nowhere/doc"_s);
    updater.checkForUpdates();
    updater.setUpdateUrl(server.url(u"/doc"_s).toString());
    updater.checkForUpdates();
    QTRY_COMPARE(server.requests().size(), 1);
    QTRY_COMPARE(updater.findChildren<QNetworkReply *>().size(), 1);
    server.resume();
    QTRY_COMPARE(openDialogs().size(), 1);
    QVERIFY(boxes.shown().isEmpty());
}

void TestSimpleUpdater::abortsWhenDestroyed_data()
{
    QTest::addColumn<bool>("silent");
    QTest::newRow("silent") << true;
    QTest::newRow("interactive") << false;
}

void TestSimpleUpdater::abortsWhenDestroyed()
{
    QFETCH(bool, silent);
    HttpServer server;
    HttpResponse stalled = answerWith(documentFor("3.0.0"));
    stalled.pauseAfter = 20;
    server.setResponse("/doc", stalled);
    const MessageBoxes boxes;
    auto updater = std::make_unique<SimpleUpdater>();
    updater->setUpdateUrl(server.url(u"/doc"_s).toString());
    if (silent) {
        updater->checkForUpdatesSilently();
    } else {
        startCheck(*updater);
    }
    QTRY_COMPARE(server.requests().size(), 1);
    QCOMPARE(server.connectionCount(), 1);
    const QPointer<QNetworkReply> reply = updater->findChild<QNetworkReply *>();
    QVERIFY(reply);
    updater.reset();
    QVERIFY(reply.isNull());
    QTRY_COMPARE(server.connectionCount(), 0);
    QVERIFY(boxes.shown().isEmpty());
    QVERIFY(showsNothing());
}

/// A server configuration with a fresh certificate for 127.0.0.1, signed by
/// itself. Its certificate lies in `certificates`.
QSslConfiguration TestSimpleUpdater::throwAwayTls()
{
    const QString key = certificates.filePath(u"key.pem"_s);
    const QString certificate = certificates.filePath(u"certificate.pem"_s);
    QProcess openssl;
    openssl.start(u"openssl"_s,
                  {u"req"_s, u"-x509"_s, u"-newkey"_s, u"rsa:2048"_s, u"-nodes"_s, u"-days"_s, u"2"_s, u"-subj"_s,
                   u"/CN=Throw-away"_s, u"-addext"_s, u"subjectAltName=IP:127.0.0.1"_s, u"-keyout"_s, key, u"-out"_s,
                   certificate});
    if (!openssl.waitForFinished() || openssl.exitCode() != 0) {
        qWarning("openssl failed: %s", openssl.readAllStandardError().constData());
    }
    QSslConfiguration tls;
    tls.setPrivateKey(QSslKey(fileContents(key), QSsl::Rsa));
    tls.setLocalCertificate(QSslCertificate(fileContents(certificate)));
    return tls;
}

void TestSimpleUpdater::checksOverTls()
{
    const QSslConfiguration tls = throwAwayTls();
    QVERIFY(!tls.privateKey().isNull());
    QVERIFY(!tls.localCertificate().isNull());
    HttpServer server(tls);
    server.setResponse("/doc", answerWith(documentFor("3.0.0")));

    const QSslConfiguration usual = QSslConfiguration::defaultConfiguration();
    QSslConfiguration trusting = usual;
    trusting.addCaCertificate(tls.localCertificate());
    QSslConfiguration::setDefaultConfiguration(trusting);
    SimpleUpdater updater;
    updater.setUpdateUrl(server.url(u"/doc"_s).toString());
    QVERIFY(server.url(u"/doc"_s).scheme() == u"https"_s);
    updater.checkForUpdatesSilently();
    QTRY_COMPARE(openDialogs().size(), 1);
    QSslConfiguration::setDefaultConfiguration(usual);
    QCOMPARE(server.requests().size(), 1);
    QCOMPARE(server.requests().first().header("User-Agent"), QByteArray("Quillmarch/2.7.1"));
}

void TestSimpleUpdater::refusesAnUnknownCertificate()
{
    const QSslConfiguration tls = throwAwayTls();
    QVERIFY(!tls.localCertificate().isNull());
    HttpServer server(tls);
    server.setResponse("/doc", answerWith(documentFor("3.0.0")));
    const MessageBoxes boxes;
    SimpleUpdater updater;
    updater.setUpdateUrl(server.url(u"/doc"_s).toString());
    startCheck(updater);
    QTRY_COMPARE(boxes.shown().size(), 1);
    QCOMPARE(boxes.shown().first().text, u"网络连接失败"_s);
    QVERIFY(server.requests().isEmpty());
}

QUILLMARCH_TEST_MAIN(TestSimpleUpdater)
#include "tst_simpleupdater.moc"
