#include "support/messageboxes.h"
#include "support/testmain.h"
#include "updatechecks.h"

#include <QPointer>
#include <QRegularExpression>
#include <QSettings>

using namespace Qt::StringLiterals;

namespace {

void skipVersion(const QString &version)
{
    QSettings().setValue(u"updater/skippedVersion"_s, version);
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

    void endsInteractively_data() { addOutcomes(); }
    void endsInteractively();
    void endsSilently_data() { addOutcomes(); }
    void endsSilently();

    void staysSilentOnceSilent();
    void skipsByText_data();
    void skipsByText();
    void staysQuietAfterASkipInTheDialog();
    void opensASecondDialog();
    void checksAgainAfterABox();

private:
    void addOutcomes();
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
    QCOMPARE(updater.foundRelease().version, QString());
    QVERIFY(updater.parseReleaseDocument(documentFor("3.0.0")));
    QCOMPARE(updater.foundRelease().version, u"3.0.0"_s);
    QCOMPARE(updater.foundRelease().platform, u"windows"_s);
    QCOMPARE(updater.foundRelease().fileSize, 7);
    QVERIFY(!updater.parseReleaseDocument("rubbish"));
    QVERIFY(!updater.parseReleaseDocument(R"({"releases": [{"version": "4", "platforms": [{"name": "macos"}]}]})"));
    QCOMPARE(updater.foundRelease().version, u"3.0.0"_s);
    QVERIFY(updater.parseReleaseDocument(documentFor("1.0.0")));
    QCOMPARE(updater.foundRelease().version, u"1.0.0"_s);
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
        QCOMPARE(headlineOf(*dialog), u"发现新版本 "_s + updater.foundRelease().version);
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

QUILLMARCH_TEST_MAIN(TestSimpleUpdater)
#include "tst_simpleupdater.moc"
