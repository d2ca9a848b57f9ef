#include "support/messageboxes.h"
#include "support/testmain.h"
#include "updatechecks.h"

#include <QPointer>
#include <QProcess>
#include <QRegularExpression>
#include <QSettings>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QTemporaryDir>

#include <algorithm>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

QByteArray fileContents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class TestUpdateTransport : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void sendsItsNameAndTypeWish();
    void requestSaysNothingElse();
    void failsWithoutAConnection();
    void failsOnACutOffBody();
    void followsRedirects_data();
    void followsRedirects();
    void readsABodyOfUnknownLength();
    void readsASlowBody();

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
    void addStalls();
    QSslConfiguration throwAwayTls();

    QTemporaryDir certificates;
};

void TestUpdateTransport::initTestCase()
{
    QCoreApplication::setOrganizationName(u"zrnw480"_s);
    QCoreApplication::setApplicationName(u"Quillmarch"_s);
}

void TestUpdateTransport::init()
{
    QSettings().clear();
    // The program logs nothing of its own here.
    QTest::failOnWarning(QRegularExpression(u"QIODevice|Update URL|QObject"_s));
}

void TestUpdateTransport::cleanup()
{
    const auto dialogs = openDialogs();
    for (UpdateDialog *dialog : dialogs) {
        dialog->close();
    }
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(showsNothing());
}

void TestUpdateTransport::sendsItsNameAndTypeWish()
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

void TestUpdateTransport::requestSaysNothingElse()
{
    HttpServer server;
    SimpleUpdater updater;
    updater.setUpdateUrl(server.url(u"/doc"_s).toString());
    updater.checkForUpdatesSilently();
    const QNetworkReply *reply = updater.findChild<QNetworkReply *>();
    QVERIFY(reply != nullptr);
    const QNetworkRequest request = reply->request();
    QList<QByteArray> headers = request.rawHeaderList();
    std::sort(headers.begin(), headers.end());
    QCOMPARE(headers, QList<QByteArray>({"Accept", "User-Agent"}));
    QVERIFY(!request.attribute(QNetworkRequest::RedirectPolicyAttribute).isValid());
    QVERIFY(!request.attribute(QNetworkRequest::CacheLoadControlAttribute).isValid());
    QCOMPARE(request.transferTimeout(), 0);
    QVERIFY(!request.url().hasQuery());
    QTRY_VERIFY(!isChecking(updater));
}

void TestUpdateTransport::failsWithoutAConnection()
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

void TestUpdateTransport::failsOnACutOffBody()
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

void TestUpdateTransport::followsRedirects_data()
{
    QTest::addColumn<int>("status");
    QTest::newRow("301") << 301;
    QTest::newRow("302") << 302;
    QTest::newRow("307") << 307;
    QTest::newRow("308") << 308;
}

void TestUpdateTransport::followsRedirects()
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

void TestUpdateTransport::readsABodyOfUnknownLength()
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

void TestUpdateTransport::readsASlowBody()
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

void TestUpdateTransport::addStalls()
{
    QTest::addColumn<bool>("beforeHeaders");
    QTest::newRow("no answer yet") << true;
    QTest::newRow("half a body") << false;
}

void TestUpdateTransport::replacesARunningSilentCheck()
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

void TestUpdateTransport::replacesARunningInteractiveCheck()
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

void TestUpdateTransport::replacesACheckThatIsNotOverTheNetwork()
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

void TestUpdateTransport::abortsWhenDestroyed_data()
{
    QTest::addColumn<bool>("silent");
    QTest::newRow("silent") << true;
    QTest::newRow("interactive") << false;
}

void TestUpdateTransport::abortsWhenDestroyed()
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
QSslConfiguration TestUpdateTransport::throwAwayTls()
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

void TestUpdateTransport::checksOverTls()
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

void TestUpdateTransport::refusesAnUnknownCertificate()
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

QUILLMARCH_TEST_MAIN(TestUpdateTransport)
#include "tst_updatetransport.moc"
