#include "app/mainwindow.h"
#include "app/startup.h"
#include "base/buildconfig.h"
#include "page/pageitem.h"
#include "support/files.h"
#include "support/httpserver.h"
#include "support/imagecomparison.h"
#include "support/pictures.h"
#include "support/testmain.h"
#include "support/windowprobe.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <optional>

using namespace Qt::StringLiterals;

namespace {

constexpr int startTime = 30000; // milliseconds

/// A copy of the program in a separate folder with a separate home directory.
///
/// It runs on the platform "minimal", which saves each frame of the window in
/// the working directory.
class ProgramCopy
{
public:
    /// Writes \a config to `user.ini` next to the copy; if null, there is no file.
    explicit ProgramCopy(const std::optional<QByteArray> &config)
    {
        QDir(dir.path()).mkpath(u"home/.config"_s);
        QDir(dir.path()).mkpath(u"work"_s);
        if (!QFile::copy(QStringLiteral(QUILLMARCH_EXECUTABLE), dir.filePath(u"program"_s))) {
            qFatal("Cannot copy %s", QUILLMARCH_EXECUTABLE);
        }
        if (config) {
            savedBytes(*config, dir.filePath(u"user.ini"_s));
        }
    }

    ~ProgramCopy()
    {
        process.kill();
        process.waitForFinished();
    }

    QString filePath(const QString &name) const { return dir.filePath(name); }

    /// Routes all network traffic to this port of 127.0.0.1. Nothing listens
    /// on the initial one.
    void setProxyPort(quint16 port) { proxyPort = port; }

    void start()
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"HOME"_s, dir.filePath(u"home"_s));
        environment.insert(u"XDG_CONFIG_HOME"_s, dir.filePath(u"home/.config"_s));
        environment.insert(u"QT_QPA_PLATFORM"_s, u"minimal"_s);
        environment.insert(u"QT_DEBUG_BACKINGSTORE"_s, u"1"_s);
        environment.insert(u"https_proxy"_s, u"http://127.0.0.1:%1"_s.arg(proxyPort));
        process.setProcessEnvironment(environment);
        process.setWorkingDirectory(dir.filePath(u"work"_s));
        process.start(dir.filePath(u"program"_s), {u"--help"_s, u"picture.png"_s}); // both are ignored
    }

    /// The first frame of the window; null until it is complete.
    QImage firstPicture() const
    {
        const bool isComplete = QFile::exists(dir.filePath(u"work/output0001.png"_s)); // the next frame
        return isComplete ? QImage(dir.filePath(u"work/output0000.png"_s)) : QImage();
    }

    bool isRunning() const { return process.state() == QProcess::Running; }

private:
    QTemporaryDir dir;
    QProcess process;
    quint16 proxyPort = 9;
};

QByteArray iniWith(const char *key, const char *value)
{
    return QByteArray("[config]\n") + key + '=' + value + '\n';
}

} // namespace

class TestStartup : public QObject
{
    Q_OBJECT

private slots:
    void readsTheLanguage_data();
    void readsTheLanguage();
    void readsTheCutChoice_data();
    void readsTheCutChoice();
    void cutChoiceReachesTheDocument_data();
    void cutChoiceReachesTheDocument();
    void windowPlacesCutsUnlessDisabled();
    void readsTheCutRule_data();
    void readsTheCutRule();
    void cutRuleReachesTheDocument_data();
    void cutRuleReachesTheDocument();

    void programUsesEnglishIfConfigured();
    void programUsesChineseOtherwise_data();
    void programUsesChineseOtherwise();
    void programReadsTheSampleOfTheDocuments();
    void programReadsTheFileNextToItself();
    void programDoesNotChangeTheConfiguration();
    void programKeepsTheWindowStateOfTheUser();
    void programChecksForAReleaseOnceAndSilently();
};

void TestStartup::readsTheLanguage_data()
{
    QTest::addColumn<QByteArray>("config");
    QTest::addColumn<QString>("language");
    for (const char *value : {"en", "\"en\""}) {
        QTest::newRow(value) << iniWith("language", value) << u"en"_s;
    }
    for (const char *value : {"zh", "fr", "EN", "En", "\" en\"", "en_US", "english", ""}) {
        QTest::newRow(value) << iniWith("language", value) << u"zh"_s;
    }
    QTest::newRow("no key") << QByteArray("[config]\nautopage=1\n") << u"zh"_s;
    QTest::newRow("another group") << QByteArray("[General]\nlanguage=en\n") << u"zh"_s;
    QTest::newRow("no ini file") << QByteArray("\xff\xfe\x00\x01 en", 7) << u"zh"_s;
}

void TestStartup::readsTheLanguage()
{
    QFETCH(QByteArray, config);
    QTemporaryDir dir;
    savedBytes(config, dir.filePath(u"user.ini"_s));
    QTEST(interfaceLanguage(dir.filePath(u"user.ini"_s)), "language");
    QCOMPARE(interfaceLanguage(dir.filePath(u"absent.ini"_s)), u"zh"_s);
}

void TestStartup::readsTheCutChoice_data()
{
    QTest::addColumn<QByteArray>("config");
    QTest::addColumn<bool>("wanted");
    for (const char *value : {"0", "false", "FALSE", "False", "fAlSe", "\"0\""}) {
        QTest::newRow(value) << iniWith("autopage", value) << false;
    }
    for (const char *value : {"1", "true", "TRUE", "no", "off", "00", "-0", "0.0", "\" 0\"", "falsch", ""}) {
        QTest::newRow(value) << iniWith("autopage", value) << true;
    }
    QTest::newRow("no key") << QByteArray("[config]\nlanguage=en\n") << true;
    QTest::newRow("another group") << QByteArray("[General]\nautopage=0\n") << true;
}

void TestStartup::readsTheCutChoice()
{
    QFETCH(QByteArray, config);
    QTemporaryDir dir;
    savedBytes(config, dir.filePath(u"user.ini"_s));
    QTEST(isAutoPageWanted(dir.filePath(u"user.ini"_s)), "wanted");
    QVERIFY(isAutoPageWanted(dir.filePath(u"absent.ini"_s)));
}

void TestStartup::cutChoiceReachesTheDocument_data()
{
    QTest::addColumn<bool>("wanted");
    QTest::addColumn<QRectF>("firstBand");
    QTest::newRow("on") << true << QRectF(0, 0, 140, 170); // blank: the top row of the search window wins
    QTest::newRow("off") << false << QRectF(0, 0, 140, 200);
}

void TestStartup::cutChoiceReachesTheDocument()
{
    QFETCH(bool, wanted);
    QImage image(140, 700, QImage::Format_RGB32);
    image.fill(Qt::white);
    MainWindow window;
    window.setAutoPage(wanted);
    window.loadImageFile(savedPicture(image, u"blank.png"_s));
    QTEST(stripsOf(window).first()->sourceRect(), "firstBand");
}

void TestStartup::windowPlacesCutsUnlessDisabled()
{
    QImage image(140, 700, QImage::Format_RGB32);
    image.fill(Qt::white);
    MainWindow window;
    window.loadImageFile(savedPicture(image, u"blank.png"_s));
    QCOMPARE(stripsOf(window).first()->sourceRect(), QRectF(0, 0, 140, 170));
}

void TestStartup::readsTheCutRule_data()
{
    QTest::addColumn<QByteArray>("config");
    QTest::addColumn<bool>("isCalm");
    for (const char *value : {"calm", "\"calm\""}) {
        QTest::newRow(value) << iniWith("cutrule", value) << true;
    }
    for (const char *value : {"bright", "Calm", "CALM", "\" calm\"", "calm1", "true", "1", ""}) {
        QTest::newRow(value) << iniWith("cutrule", value) << false;
    }
    QTest::newRow("no key") << QByteArray("[config]\nautopage=calm\n") << false;
    QTest::newRow("another group") << QByteArray("[General]\ncutrule=calm\n") << false;
}

void TestStartup::readsTheCutRule()
{
    QFETCH(QByteArray, config);
    QTemporaryDir dir;
    savedBytes(config, dir.filePath(u"user.ini"_s));
    QTEST(chosenCutRule(dir.filePath(u"user.ini"_s)) == CutRule::Calm, "isCalm");
    QVERIFY(chosenCutRule(dir.filePath(u"absent.ini"_s)) == CutRule::Bright);
}

void TestStartup::cutRuleReachesTheDocument_data()
{
    QTest::addColumn<CutRule>("rule");
    QTest::addColumn<QRectF>("firstBand");
    QTest::newRow("bright") << CutRule::Bright << QRectF(0, 0, 140, 170); // blank: the topmost row of the window
    QTest::newRow("calm") << CutRule::Calm << QRectF(0, 0, 140, 200); // the regular place
}

void TestStartup::cutRuleReachesTheDocument()
{
    QFETCH(CutRule, rule);
    QImage image(140, 700, QImage::Format_RGB32);
    image.fill(Qt::white);
    MainWindow window;
    window.setCutRule(rule);
    window.loadImageFile(savedPicture(image, u"blank.png"_s));
    QTEST(stripsOf(window).first()->sourceRect(), "firstBand");
}

void TestStartup::programUsesEnglishIfConfigured()
{
    ProgramCopy english(iniWith("language", "en"));
    ProgramCopy chinese(iniWith("language", "zh"));
    english.start();
    chinese.start();
    QTRY_VERIFY_WITH_TIMEOUT(!english.firstPicture().isNull() && !chinese.firstPicture().isNull(), startTime);
    QCOMPARE(english.firstPicture().size(), chinese.firstPicture().size());
    QVERIFY(!firstDifference(english.firstPicture(), chinese.firstPicture()).isEmpty());
    QVERIFY(english.isRunning());
}

void TestStartup::programUsesChineseOtherwise_data()
{
    QTest::addColumn<QByteArray>("config");
    for (const char *value : {"fr", "EN", ""}) {
        QTest::newRow(value) << iniWith("language", value);
    }
    QTest::newRow("no key") << QByteArray("[config]\n");
}

void TestStartup::programUsesChineseOtherwise()
{
    QFETCH(QByteArray, config);
    ProgramCopy program(config);
    ProgramCopy chinese(iniWith("language", "zh"));
    program.start();
    chinese.start();
    QTRY_VERIFY_WITH_TIMEOUT(!program.firstPicture().isNull() && !chinese.firstPicture().isNull(), startTime);
    QCOMPARE(firstDifference(program.firstPicture(), chinese.firstPicture()), QString());
}

void TestStartup::programReadsTheSampleOfTheDocuments()
{
    const QByteArray config = contentOf(QFINDTESTDATA("../../docs/user.ini.sample"));
    QVERIFY(config.contains("language=en"));
    ProgramCopy program(config);
    ProgramCopy english(iniWith("language", "en"));
    program.start();
    english.start();
    QTRY_VERIFY_WITH_TIMEOUT(!program.firstPicture().isNull() && !english.firstPicture().isNull(), startTime);
    QCOMPARE(firstDifference(program.firstPicture(), english.firstPicture()), QString());
}

void TestStartup::programReadsTheFileNextToItself()
{
    ProgramCopy program(std::nullopt);
    savedBytes(iniWith("language", "en"), program.filePath(u"work/user.ini"_s));
    ProgramCopy chinese(iniWith("language", "zh"));
    program.start();
    chinese.start();
    QTRY_VERIFY_WITH_TIMEOUT(!program.firstPicture().isNull() && !chinese.firstPicture().isNull(), startTime);
    QCOMPARE(firstDifference(program.firstPicture(), chinese.firstPicture()), QString());
}

void TestStartup::programDoesNotChangeTheConfiguration()
{
    const QByteArray config = "; by hand\n[config]\nlanguage=fr\nautopage=off\n";
    ProgramCopy program(config);
    ProgramCopy fresh(std::nullopt);
    program.start();
    fresh.start();
    QTRY_VERIFY_WITH_TIMEOUT(!program.firstPicture().isNull() && !fresh.firstPicture().isNull(), startTime);
    QCOMPARE(contentOf(program.filePath(u"user.ini"_s)), config);
    QVERIFY(!QFile::exists(fresh.filePath(u"user.ini"_s)));
    QVERIFY(!QFile::exists(fresh.filePath(u"work/user.ini"_s)));
}

void TestStartup::programKeepsTheWindowStateOfTheUser()
{
    ProgramCopy program(std::nullopt);
    program.start();
    const QString state = program.filePath(u"home/.config/Quillmarch/Settings.conf"_s);
    QTRY_VERIFY_WITH_TIMEOUT(contentOf(state).contains("windowGeometry"), startTime);
}

void TestStartup::programChecksForAReleaseOnceAndSilently()
{
    HttpServer server; // refuses the tunnel, so the check fails
    ProgramCopy program(std::nullopt);
    ProgramCopy unheard(std::nullopt);
    program.setProxyPort(server.port());
    program.start();
    unheard.start();
    QTRY_VERIFY_WITH_TIMEOUT(!program.firstPicture().isNull() && !unheard.firstPicture().isNull(), startTime);
    QTRY_COMPARE_WITH_TIMEOUT(server.requests().size(), 1, startTime);
    const QByteArray host = QUrl(updateDocumentHost.toString()).host().toUtf8();
    QCOMPARE(server.requests().first().method, QByteArray("CONNECT"));
    QCOMPARE(server.requests().first().target, host + ":443");
    QCOMPARE(firstDifference(program.firstPicture(), unheard.firstPicture()), QString());
    QVERIFY(program.isRunning());
    QCOMPARE(server.requests().size(), 1);
}

QUILLMARCH_TEST_MAIN(TestStartup)
#include "tst_startup.moc"
