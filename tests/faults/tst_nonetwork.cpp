#include "app/mainwindow.h"
#include "base/buildconfig.h"
#include "support/documents.h"
#include "support/httpserver.h"
#include "support/testmain.h"
#include "update/updatedocuments.h"

#include <QAction>
#include <QDir>
#include <QDirIterator>
#include <QDropEvent>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QProcess>
#include <QPushButton>
#include <QRegularExpression>
#include <QSettings>
#include <QTcpServer>
#include <QTimer>

#include <cstdio>

using namespace Qt::StringLiterals;

/// The main function of the program, under another name.
int quillmarchMain(int argc, char *argv[]);

namespace {

constexpr int processTime = 120000; // milliseconds, as is the next
constexpr int stepTime = 30000;
constexpr auto roleVariable = "QUILLMARCH_TEST_ROLE";
constexpr auto portVariable = "QUILLMARCH_TEST_PROXY_PORT";

void say(const QString &line)
{
    std::puts(line.toUtf8().constData());
    std::fflush(stdout);
}

/// Prints what the program asks of the network, and sends it to a port of
/// this machine.
class Recorder : public QNetworkProxyFactory
{
public:
    QList<QNetworkProxy> queryProxy(const QNetworkProxyQuery &query) override
    {
        const QString target = query.url().isEmpty() ? query.peerHostName() : query.url().toString();
        say(u"request "_s + target);
        const auto port = quint16(qEnvironmentVariableIntValue(portVariable));
        return {QNetworkProxy(QNetworkProxy::HttpProxy, u"127.0.0.1"_s, port)};
    }
};

MainWindow *programWindow()
{
    const auto widgets = QApplication::topLevelWidgets();
    for (QWidget *widget : widgets) {
        if (auto *window = qobject_cast<MainWindow *>(widget)) {
            return window;
        }
    }
    return nullptr;
}

/// Closes whatever modal window comes up, for as long as this object lives.
class Closer
{
public:
    Closer()
    {
        QObject::connect(&timer, &QTimer::timeout, &timer, [this] {
            if (QWidget *modal = QApplication::activeModalWidget()) {
                ++count;
                modal->close();
            }
        });
        timer.start(5);
    }

    int closed() const { return count; }

private:
    QTimer timer;
    int count = 0;
};

void drop(MainWindow &window, const QString &address)
{
    QMimeData data;
    data.setUrls({QUrl(address)});
    QDropEvent event(QPointF(50, 50), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&window, &event);
}

/// Everything that a user can do in the window, short of asking for an update.
void useEveryCommand(MainWindow &window)
{
    const Closer closer;
    window.loadImageFile(savedPicture(blockPicture(140, 900), u"picture.png"_s));
    int triggered = 0;
    const QList<QAction *> actions = window.findChildren<QAction *>();
    for (const int round : {1, 2}) {
        for (QAction *action : actions) {
            if (action->objectName() != u"exitAction"_s && action->menu() == nullptr && action->isEnabled()) {
                action->trigger();
                triggered += round == 1 ? 1 : 0;
            }
        }
    }
    drop(window, u"https://dropped.example/picture.png"_s);
    drop(window, QUrl::fromLocalFile(QDir::current().absoluteFilePath(u"picture.png"_s)).toString());
    window.loadImageFile(u"https://opened.example/picture.png"_s);
    window.loadImageFile(u"//opened.example/picture.png"_s);
    window.onHelpClicked();
    window.onResizeClicked();
    auto *updateButton = window.findChild<QPushButton *>(u"updateButton"_s);
    updateButton->click(); // nothing is known
    window.onVersionInfoReceived(u"3.0.0"_s, true, u"https://reported.example/q.zip"_s, u"notes"_s);
    updateButton->click(); // closed unanswered
    say(u"used %1 actions, closed %2 dialogs"_s.arg(triggered).arg(closer.closed()));
}

void tellIdentity()
{
    say(u"identity %1, %2, %3, %4"_s.arg(QCoreApplication::applicationName(), QCoreApplication::applicationVersion(),
                                         QCoreApplication::organizationName(), QCoreApplication::organizationDomain()));
    say(u"store %1"_s.arg(QSettings().fileName()));
}

/// What is done in the program, by the role that the environment names.
void playRole()
{
    const QString role = qEnvironmentVariable(roleVariable);
    MainWindow *window = programWindow();
    say(window != nullptr && window->isVisible() ? u"window"_s : u"no window"_s);
    if (role == u"use"_s) {
        tellIdentity();
        const auto *versionLabel = window->findChild<QLabel *>(u"versionLabel"_s);
        const bool isVersionShown = QTest::qWaitFor([=] { return versionLabel->isVisible(); }, stepTime); // by a timer
        useEveryCommand(*window);
        say(isVersionShown ? u"check"_s : u"no version shown"_s);
        const Closer closer;
        window->onCheckUpdateClicked();
        const bool isTold = QTest::qWaitFor([&] { return closer.closed() > 0; }, stepTime);
        say(isTold ? u"download"_s : u"no outcome of the check"_s);
        window->startDownload();
        const bool isOver =
            QTest::qWaitFor([=] { return window->findChildren<QNetworkReply *>().isEmpty(); }, stepTime);
        say(isOver ? u"end"_s : u"no end of the download"_s);
    }
    if (role == u"leave with 7"_s) {
        QCoreApplication::exit(7);
    } else {
        trigger(*window, "exitAction");
    }
}

void startRole()
{
    if (qEnvironmentVariableIsSet(roleVariable)) {
        QTimer::singleShot(0, qApp, &playRole);
    }
}
Q_COREAPP_STARTUP_FUNCTION(startRole)

/// What a run of the program ended with.
struct Run
{
    QProcess::ExitStatus status = QProcess::CrashExit;
    int code = -1;
    QStringList lines;
    QByteArray errors;

    QStringList requests() const { return lines.filter(QRegularExpression(u"^request "_s)); }
};

/// Runs the program in the role \a role, with all that it asks of the network
/// sent to \a port of 127.0.0.1. It finds \a language in its `user.ini`.
Run runProgram(const QString &role, quint16 port, const QByteArray &language = "zh")
{
    QFile config(QCoreApplication::applicationDirPath() + u"/user.ini"_s);
    if (!config.open(QIODevice::WriteOnly)) {
        qFatal("Cannot write %s", qPrintable(config.fileName()));
    }
    config.write("[config]\nlanguage=" + language + '\n');
    config.close();

    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QString::fromLatin1(roleVariable), role);
    environment.insert(QString::fromLatin1(portVariable), QString::number(port));
    process.setProcessEnvironment(environment);
    process.start(QCoreApplication::applicationFilePath(), {});
    QEventLoop loop; // servers of this process answer meanwhile
    QObject::connect(&process, &QProcess::finished, &loop, &QEventLoop::quit);
    QTimer::singleShot(processTime, &loop, &QEventLoop::quit);
    loop.exec();
    Run run;
    if (process.state() != QProcess::NotRunning) {
        process.kill();
        process.waitForFinished();
        run.errors = "still running";
        return run;
    }
    run.status = process.exitStatus();
    run.code = process.exitCode();
    run.lines = QString::fromUtf8(process.readAllStandardOutput()).split(u'\n', Qt::SkipEmptyParts);
    run.errors = process.readAllStandardError();
    return run;
}

/// The names that the program takes from other libraries, by the tool nm.
QStringList importedNames()
{
    QProcess nm;
    nm.start(u"nm"_s, {u"-D"_s, u"--undefined-only"_s, u"--demangle"_s, QStringLiteral(QUILLMARCH_EXECUTABLE)});
    if (!nm.waitForFinished(processTime) || nm.exitCode() != 0) {
        qWarning("nm failed: %s", nm.readAllStandardError().constData());
        return {};
    }
    return QString::fromUtf8(nm.readAllStandardOutput()).split(u'\n', Qt::SkipEmptyParts);
}

} // namespace

class TestNoNetwork : public QObject
{
    Q_OBJECT

private slots:
    void asksForNothingButUpdates();
    void asksForTheDocumentOfItsLanguage_data();
    void asksForTheDocumentOfItsLanguage();
    void endsWhileTheStartCheckStalls();
    void endsWithTheStatusOfItsLoop();
    void linksNoOtherWayToTheNetwork();
    void namesTheNetworkInTwoSourcesOnly();
};

void TestNoNetwork::asksForNothingButUpdates()
{
    HttpServer proxy; // refuses every tunnel
    const Run run = runProgram(u"use"_s, proxy.port());
    QVERIFY2(run.status == QProcess::NormalExit && run.code == 0, run.errors.constData());
    const QStringList expected{
        u"request "_s + releaseDocumentUrl(u"zh"_s),
        u"window"_s,
        u"identity Quillmarch, 2.7.1, zrnw480, "_s + organizationDomain.toString(),
        u"store "_s + QDir::home().filePath(u".config/zrnw480/Quillmarch.conf"_s),
    };
    QCOMPARE(run.lines.mid(0, expected.size()), expected);
    const QRegularExpression used(u"^used (\\d+) actions, closed (\\d+) dialogs$"_s);
    const auto counts = used.match(run.lines.value(expected.size()));
    QVERIFY2(counts.hasMatch(), qPrintable(run.lines.join(u'\n')));
    QVERIFY(counts.captured(1).toInt() >= 11); // all but the one that ends the program
    QVERIFY(counts.captured(2).toInt() >= 8); // open, export, print and about twice, two of the update
    QCOMPARE(run.lines.mid(expected.size() + 1),
             QStringList({u"check"_s, u"request "_s + checkEndpoint(), u"download"_s,
                          u"request https://reported.example/q.zip"_s, u"end"_s}));
    QTRY_COMPARE(proxy.requests().size(), 3);
    for (const HttpRequest &request : proxy.requests()) {
        QCOMPARE(request.method, QByteArray("CONNECT"));
    }
}

void TestNoNetwork::asksForTheDocumentOfItsLanguage_data()
{
    QTest::addColumn<QByteArray>("language");
    QTest::addColumn<QString>("path");
    QTest::newRow("zh") << QByteArray("zh") << u"/updates/update-config-zh.json"_s;
    QTest::newRow("en") << QByteArray("en") << u"/updates/update-config-en.json"_s;
    QTest::newRow("fr") << QByteArray("fr") << u"/updates/update-config-zh.json"_s;
    QTest::newRow("nothing") << QByteArray() << u"/updates/update-config-zh.json"_s;
}

void TestNoNetwork::asksForTheDocumentOfItsLanguage()
{
    QFETCH(QByteArray, language);
    QFETCH(QString, path);
    HttpServer proxy;
    const Run run = runProgram(u"leave"_s, proxy.port(), language);
    QVERIFY2(run.status == QProcess::NormalExit && run.code == 0, run.errors.constData());
    QCOMPARE(run.requests(), QStringList(u"request "_s + updateDocumentHost.toString() + path));
}

void TestNoNetwork::endsWhileTheStartCheckStalls()
{
    QTcpServer silent; // takes the connection and never answers
    QVERIFY(silent.listen(QHostAddress::LocalHost));
    const Run run = runProgram(u"leave"_s, silent.serverPort());
    QVERIFY2(run.status == QProcess::NormalExit && run.code == 0, run.errors.constData());
    QCOMPARE(run.lines, QStringList({u"request "_s + releaseDocumentUrl(u"zh"_s), u"window"_s}));
}

void TestNoNetwork::endsWithTheStatusOfItsLoop()
{
    HttpServer proxy;
    const Run run = runProgram(u"leave with 7"_s, proxy.port());
    QCOMPARE(run.status, QProcess::NormalExit);
    QCOMPARE(run.code, 7);
}

void TestNoNetwork::linksNoOtherWayToTheNetwork()
{
    const QStringList names = importedNames();
    QVERIFY(names.filter(u"QNetworkAccessManager::get("_s).size() == 1); // the list is the right one
    static const QRegularExpression ways(
        u" (Q(Tcp|Udp|Ssl|Sctp|Local|Abstract)(Socket|Server)|QHostInfo|QDnsLookup|QHttp|QWebSocket|QNetwork\\w*)::"
        "| (socket|connect|bind|listen|accept4?|send(to|msg|mmsg)?|recv(from|msg)?|getaddrinfo|gethostby\\w+)(@|$)"_s);
    static const QRegularExpression allowed(
        u" QNetwork(AccessManager::(QNetworkAccessManager|get|staticMetaObject|~QNetworkAccessManager)"
        "|Request::|Reply::)"_s);
    QStringList wrong;
    for (const QString &name : names) {
        if (ways.match(name).hasMatch() && !allowed.match(name).hasMatch()) {
            wrong.append(name);
        }
    }
    QCOMPARE(wrong, QStringList());
}

void TestNoNetwork::namesTheNetworkInTwoSourcesOnly()
{
    static const QRegularExpression manager(u"#include <QNetworkAccessManager>"_s);
    QStringList users;
    int sources = 0;
    QDirIterator files(QStringLiteral(QUILLMARCH_SOURCES), {u"*.cpp"_s, u"*.h"_s}, QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        QFile file(files.next());
        QVERIFY(file.open(QIODevice::ReadOnly));
        ++sources;
        if (manager.match(QString::fromUtf8(file.readAll())).hasMatch()) {
            users.append(files.fileName());
        }
    }
    users.sort();
    QVERIFY(sources > 40);
    QCOMPARE(users, QStringList({u"mainwindow_update.cpp"_s, u"simpleupdater.cpp"_s}));
}

int main(int argc, char *argv[])
{
    if (qEnvironmentVariableIsSet(roleVariable)) {
        QNetworkProxyFactory::setApplicationProxyFactory(new Recorder); // which Qt deletes
        QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        return quillmarchMain(argc, argv);
    }
    PrivateHome home;
    QApplication app(argc, argv);
    PrivateHome::removeConfigFile();
    TestNoNetwork test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}
#include "tst_nonetwork.moc"
