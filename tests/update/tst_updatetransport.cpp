#include "support/dialoganswer.h"
#include "support/files.h"
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

/// An answer with \a document that stalls: before its headers, or after 20 bytes
/// of the body.
HttpResponse stalledAnswer(const QByteArray &document, bool beforeHeaders)
{
    HttpResponse response = jsonAnswer(document);
    response.pausesAtStart = beforeHeaders;
    response.pauseAfter = 20;
    return response;
}

/// Lets \a server offer 3.0.0 in a stalled answer at /stalled, and 3.0.1 at /doc.
void setStalledAndNewerDocument(HttpServer &server, bool beforeHeaders)
{
    server.setResponse("/stalled", stalledAnswer(documentFor("3.0.0"), beforeHeaders));
    server.setResponse("/doc", jsonAnswer(documentFor("3.0.1")));
}

} // namespace

class TestUpdateTransport : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void sendsUserAgentAndAccept();
    void requestHasNoOtherHeaders();
    void failsWithoutAConnection();
    void failsOnATruncatedBody();
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
    void rejectsAnUnknownCertificate();

private:
    void addStalls();
    QSslConfiguration temporaryTls();

    QTemporaryDir certificates;
};

void TestUpdateTransport::initTestCase()
{
    nameApplication();
}

void TestUpdateTransport::init()
{
    QSettings().clear();
    // The program itself logs nothing here.
    QTest::failOnWarning(QRegularExpression(u"QIODevice|Update URL|QObject"_s));
}

void TestUpdateTransport::cleanup()
{
    closeOpenDialogs();
    QVERIFY(showsNothing());
}

void TestUpdateTransport::sendsUserAgentAndAccept()
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

void TestUpdateTransport::requestHasNoOtherHeaders()
{
    HttpServer server;
    SimpleUpdater updater;
    checkAt(server, updater);
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

void TestUpdateTransport::failsOnATruncatedBody()
{
    HttpServer server;
    HttpResponse response = jsonAnswer(documentFor("3.0.0") + QByteArray(100, ' '));
    response.cutAfter = response.body.size() - 50; // the received part is a whole document
    server.setResponse("/doc", response);
    const MessageBoxes boxes;
    SimpleUpdater updater;
    checkAt(server, updater);
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
    other.setResponse("/moved", jsonAnswer(documentFor("3.0.0")));
    SimpleUpdater updater;
    checkAt(server, updater);
    updater.checkForUpdatesSilently();
    QTRY_COMPARE(openDialogs().size(), 1);
    QCOMPARE(other.requests().size(), 1);
    QCOMPARE(other.requests().first().header("User-Agent"), QByteArray("Quillmarch/2.7.1"));
    QCOMPARE(other.requests().first().header("Accept"), QByteArray("application/json"));
}

void TestUpdateTransport::readsABodyOfUnknownLength()
{
    HttpServer server;
    HttpResponse response = jsonAnswer(documentFor("3.0.0"));
    response.sendsLength = false;
    server.setResponse("/doc", response);
    SimpleUpdater updater;
    checkAt(server, updater);
    updater.checkForUpdatesSilently();
    QTRY_COMPARE(openDialogs().size(), 1);
}

void TestUpdateTransport::readsASlowBody()
{
    HttpServer server;
    HttpResponse response = jsonAnswer(documentFor("3.0.0"));
    response.chunkSize = 20;
    response.chunkInterval = 2;
    server.setResponse("/doc", response);
    SimpleUpdater updater;
    checkAt(server, updater);
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
    setStalledAndNewerDocument(server, beforeHeaders);
    const MessageBoxes boxes;
    SimpleUpdater updater;
    updater.setUpdateUrl(server.url(u"/stalled"_s).toString());
    updater.checkForUpdatesSilently();
    QTRY_COMPARE(server.requests().size(), 1);
    QVERIFY(isChecking(updater));

    checkAt(server, updater);
    updater.checkForUpdatesSilently();
    QTRY_COMPARE(openDialogs().size(), 1);
    QCOMPARE(headlineOf(*openDialogs().first()), u"发现新版本 3.0.1"_s);
    QVERIFY(boxes.shown().isEmpty());
    QTRY_VERIFY(!isChecking(updater));
    QTRY_COMPARE(server.connectionCount(), 0); // the stalled one was aborted
}

void TestUpdateTransport::replacesARunningInteractiveCheck()
{
    QFETCH(bool, beforeHeaders);
    HttpServer server;
    setStalledAndNewerDocument(server, beforeHeaders);
    const MessageBoxes boxes;
    SimpleUpdater updater;
    updater.setUpdateUrl(server.url(u"/stalled"_s).toString());
    startCheck(updater);
    QTRY_COMPARE(server.requests().size(), 1);

    checkAt(server, updater);
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
    // Such a reply ignores abort() and finishes later, when another check is running.
    HttpServer server;
    server.setResponse("/doc", stalledAnswer(documentFor("3.0.1"), false));
    const MessageBoxes boxes;
    SimpleUpdater updater;
    updater.setUpdateUrl(u"file:///nowhere/doc"_s);
    updater.checkForUpdates();
    checkAt(server, updater);
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
    server.setResponse("/doc", stalledAnswer(documentFor("3.0.0"), false));
    const MessageBoxes boxes;
    auto updater = std::make_unique<SimpleUpdater>();
    checkAt(server, *updater);
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

/// A server configuration with a new self-signed certificate for 127.0.0.1, which
/// is stored in `certificates`.
QSslConfiguration TestUpdateTransport::temporaryTls()
{
    const QString key = certificates.filePath(u"key.pem"_s);
    const QString certificate = certificates.filePath(u"certificate.pem"_s);
    QProcess openssl;
    openssl.start(u"openssl"_s,
                  {u"req"_s, u"-x509"_s, u"-newkey"_s, u"rsa:2048"_s, u"-nodes"_s, u"-days"_s, u"2"_s, u"-subj"_s,
                   u"/CN=Temporary"_s, u"-addext"_s, u"subjectAltName=IP:127.0.0.1"_s, u"-keyout"_s, key, u"-out"_s,
                   certificate});
    if (!openssl.waitForFinished() || openssl.exitCode() != 0) {
        qWarning("openssl failed: %s", openssl.readAllStandardError().constData());
    }
    QSslConfiguration tls;
    tls.setPrivateKey(QSslKey(contentOf(key), QSsl::Rsa));
    tls.setLocalCertificate(QSslCertificate(contentOf(certificate)));
    return tls;
}

void TestUpdateTransport::checksOverTls()
{
    const QSslConfiguration tls = temporaryTls();
    QVERIFY(!tls.privateKey().isNull());
    QVERIFY(!tls.localCertificate().isNull());
    HttpServer server(tls);
    server.setResponse("/doc", jsonAnswer(documentFor("3.0.0")));

    const QSslConfiguration previous = QSslConfiguration::defaultConfiguration();
    QSslConfiguration trusting = previous;
    trusting.addCaCertificate(tls.localCertificate());
    QSslConfiguration::setDefaultConfiguration(trusting);
    SimpleUpdater updater;
    checkAt(server, updater);
    QVERIFY(server.url(u"/doc"_s).scheme() == u"https"_s);
    updater.checkForUpdatesSilently();
    QTRY_COMPARE(openDialogs().size(), 1);
    QSslConfiguration::setDefaultConfiguration(previous);
    QCOMPARE(server.requests().size(), 1);
    QCOMPARE(server.requests().first().header("User-Agent"), QByteArray("Quillmarch/2.7.1"));
}

void TestUpdateTransport::rejectsAnUnknownCertificate()
{
    const QSslConfiguration tls = temporaryTls();
    QVERIFY(!tls.localCertificate().isNull());
    HttpServer server(tls);
    server.setResponse("/doc", jsonAnswer(documentFor("3.0.0")));
    const MessageBoxes boxes;
    SimpleUpdater updater;
    checkAt(server, updater);
    startCheck(updater);
    QTRY_COMPARE(boxes.shown().size(), 1);
    QCOMPARE(boxes.shown().first().text, u"网络连接失败"_s);
    QVERIFY(server.requests().isEmpty());
}

QUILLMARCH_TEST_MAIN(TestUpdateTransport)
#include "tst_updatetransport.moc"
