#include "support/dialoganswer.h"
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

/// Icon, title and text of the message box after an interactive check.
ShownBox boxFor(Outcome outcome)
{
    if (outcome == Outcome::UpToDate) {
        return {QMessageBox::Information, u"检查更新"_s, u"您已使用最新版本"_s, {}, nullptr};
    }
    const QString text = outcome == Outcome::NetworkError ? u"网络连接失败"_s : u"解析更新信息失败"_s;
    return {QMessageBox::Critical, u"更新检查错误"_s, text, {}, nullptr};
}

} // namespace

class TestSimpleUpdater : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void knowsThePlatformOfTheBuild();
    void comparesVersionsOfAnyForm_data();
    void comparesVersionsOfAnyForm();
    void keepsTheReleaseOfAnEarlierDocument();
    void warnsWithoutAnAddress();

    void endsInteractively_data() { addOutcomes(); }
    void endsInteractively();
    void endsSilently_data() { addOutcomes(); }
    void endsSilently();

    void remainsSilentAfterASilentCheck();
    void skipsExactlyThisVersionText_data();
    void skipsExactlyThisVersionText();
    void reportsNothingAfterASkipInTheDialog();
    void opensASecondDialog();
    void checksAgainAfterABox();

private:
    void addOutcomes();
};

void TestSimpleUpdater::initTestCase()
{
    nameApplication();
}

void TestSimpleUpdater::init()
{
    QSettings().clear();
    // The program logs a single kind of line, which one test expects.
    QTest::failOnWarning(QRegularExpression(u"QIODevice|Update URL|QObject"_s));
}

void TestSimpleUpdater::cleanup()
{
    closeOpenDialogs();
    QVERIFY(showsNothing());
}

void TestSimpleUpdater::knowsThePlatformOfTheBuild()
{
    QCOMPARE(SimpleUpdater().currentPlatform(), u"windows"_s);
}

void TestSimpleUpdater::comparesVersionsOfAnyForm_data()
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

void TestSimpleUpdater::comparesVersionsOfAnyForm()
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
    add("newer and forced", 200, documentFor("9.0.0").replace("\"title\"", R"("isForced": true, "title")"),
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
    server.setResponse("/doc", jsonAnswer(body, status));
    const MessageBoxes boxes;
    SimpleUpdater updater;
    checkAt(server, updater);
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
    const ShownBox expected = boxFor(Outcome(outcome));
    QCOMPARE(box.buttons, QMessageBox::Ok);
    QCOMPARE(box.parent, nullptr);
    QCOMPARE(box.icon, expected.icon);
    QCOMPARE(box.title, expected.title);
    QCOMPARE(box.text, expected.text);
}

void TestSimpleUpdater::endsSilently()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    QFETCH(int, outcome);
    HttpServer server;
    server.setResponse("/doc", jsonAnswer(body, status));
    const MessageBoxes boxes;
    SimpleUpdater updater;
    checkAt(server, updater);
    updater.checkForUpdatesSilently();
    QTRY_VERIFY(!isChecking(updater));
    QVERIFY(boxes.shown().isEmpty());
    QCOMPARE(openDialogs().size(), outcome == int(Outcome::Dialog) ? 1 : 0);
    QCOMPARE(showsNothing(), outcome != int(Outcome::Dialog));
}

void TestSimpleUpdater::remainsSilentAfterASilentCheck()
{
    HttpServer server; // answers 404
    const MessageBoxes boxes;
    SimpleUpdater updater;
    checkAt(server, updater);
    updater.checkForUpdatesSilently();
    QTRY_VERIFY(!isChecking(updater));
    startCheck(updater);
    QVERIFY(isChecking(updater));
    QTRY_VERIFY(!isChecking(updater));
    QCOMPARE(server.requests().size(), 2);
    QVERIFY(boxes.shown().isEmpty());
    QVERIFY(showsNothing());
}

void TestSimpleUpdater::skipsExactlyThisVersionText_data()
{
    QTest::addColumn<QString>("skipped");
    QTest::addColumn<QByteArray>("offered");
    QTest::addColumn<bool>("isSkipped");
    QTest::newRow("nothing skipped") << QString() << QByteArray("3.0.0") << false;
    QTest::newRow("same version") << u"3.0.0"_s << QByteArray("3.0.0") << true;
    QTest::newRow("later version") << u"3.0.0"_s << QByteArray("3.0.1") << false;
    QTest::newRow("earlier version") << u"3.0.1"_s << QByteArray("3.0.0") << false;
    QTest::newRow("same number, other text") << u"3.0.0"_s << QByteArray("3.0") << false;
    QTest::newRow("same number, other text too") << u"3.0"_s << QByteArray("3.0.0") << false;
}

void TestSimpleUpdater::skipsExactlyThisVersionText()
{
    QFETCH(QString, skipped);
    QFETCH(QByteArray, offered);
    QFETCH(bool, isSkipped);
    skipVersion(skipped);
    HttpServer server;
    server.setResponse("/doc", jsonAnswer(documentFor(offered)));
    const MessageBoxes boxes;
    SimpleUpdater interactive;
    checkAt(server, interactive);
    startCheck(interactive);
    QTRY_VERIFY(!boxes.shown().isEmpty() || !openDialogs().isEmpty());
    QCOMPARE(openDialogs().size(), isSkipped ? 0 : 1);
    QCOMPARE(boxes.shown().size(), isSkipped ? 1 : 0);
    if (isSkipped) {
        QCOMPARE(boxes.shown().first().text, u"您已使用最新版本"_s);
    }

    SimpleUpdater silent;
    checkAt(server, silent);
    silent.checkForUpdatesSilently();
    QTRY_VERIFY(!isChecking(silent));
    QCOMPARE(openDialogs().size(), isSkipped ? 0 : 2);
}

void TestSimpleUpdater::reportsNothingAfterASkipInTheDialog()
{
    HttpServer server;
    server.setResponse("/doc", jsonAnswer(documentFor("3.0.0")));
    SimpleUpdater updater;
    checkAt(server, updater);
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

    server.setResponse("/doc", jsonAnswer(documentFor("3.0.1")));
    updater.checkForUpdatesSilently();
    QTRY_COMPARE(openDialogs().size(), 1);
}

void TestSimpleUpdater::opensASecondDialog()
{
    HttpServer server;
    server.setResponse("/doc", jsonAnswer(documentFor("3.0.0")));
    SimpleUpdater updater;
    checkAt(server, updater);
    startCheck(updater);
    QTRY_COMPARE(openDialogs().size(), 1);
    startCheck(updater);
    QTRY_COMPARE(openDialogs().size(), 2);
}

void TestSimpleUpdater::checksAgainAfterABox()
{
    HttpServer server;
    server.setResponse("/doc", jsonAnswer(documentFor("1.0.0")));
    const MessageBoxes boxes;
    SimpleUpdater updater;
    checkAt(server, updater);
    for (int check = 1; check <= 3; ++check) {
        startCheck(updater);
        QTRY_COMPARE(boxes.shown().size(), check);
        QTRY_VERIFY(!isChecking(updater));
    }
    QCOMPARE(server.requests().size(), 3);
}

QUILLMARCH_TEST_MAIN(TestSimpleUpdater)
#include "tst_simpleupdater.moc"
