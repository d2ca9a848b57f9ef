#include "app/mainwindow.h"
#include "app/settings.h"
#include "app/startup.h"
#include "faultruns.h"
#include "fulldisk.h"
#include "output/previewitem.h"
#include "page/pageitem.h"
#include "support/configvalues.h"
#include "support/files.h"
#include "support/imagecomparison.h"
#include "support/pictures.h"
#include "support/testmain.h"
#include "support/windowprobe.h"
#include "unprivileged.h"
#include "update/downloadupdatedialog.h"

#include <QDir>
#include <QFile>
#include <QPainter>
#include <QProcess>
#include <QRandomGenerator>
#include <QSettings>
#include <QTemporaryDir>
#include <QThread>

#include <cstdio>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

constexpr int processTime = 60000; // milliseconds

// One of two values, longer than one block of a disk.
QString longFolder(int number)
{
    return u"/folder %1/"_s.arg(number % 2) + QString(10000, QLatin1Char(number % 2 == 0 ? 'a' : 'b'));
}

/// The work of a second process: writes \a key \a count times, and finally the
/// text "the last word of" and the key. Returns the exit code.
int writeAgainAndAgain(const QString &file, const QString &key, int count)
{
    for (int i = 0; i < count; ++i) {
        writeConfigValue(file, key, QString::number(i));
        writeConfigValue(file, u"shared"_s, key);
        QCoreApplication::processEvents();
    }
    writeConfigValue(file, key, u"the last word of "_s + key);
    QCoreApplication::processEvents();
    return 0;
}

/// Writes two values alternately until the process is killed. Prints a line when
/// the first one is on the disk.
int writeUntilKilled(const QString &file)
{
    for (int i = 0;; ++i) {
        writeConfigValue(file, u"imagedir"_s, longFolder(i));
        QCoreApplication::processEvents();
        if (i == 0) {
            std::puts("writing");
            std::fflush(stdout);
        }
    }
}

/// This test program as a second process, with \a arguments that select its work.
std::unique_ptr<QProcess> otherProgram(const QStringList &arguments)
{
    auto process = std::make_unique<QProcess>();
    process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process->start(QCoreApplication::applicationFilePath(), arguments);
    return process;
}

QString read(const QString &file, const QString &key)
{
    QString value;
    readConfigValue(file, key, value);
    return value;
}

const QByteArray validFile = "[config]\nautopage=0\nimagedir=/pictures\nlanguage=en\nmarginsc=15\n"
                             "savepath=\"/papers, and more\"\n\n[update]\nskippedVersion=3.0.0\n";

/// validFile with a few random changes, among them characters with a meaning.
QByteArray fuzzedFile(QRandomGenerator &random)
{
    const QByteArray specialCharacters("[]=\"\\%@;,()\n\r\0x", 15);
    QByteArray bytes = validFile;
    for (int change = random.bounded(1, 12); change > 0; --change) {
        const int at = random.bounded(int(bytes.size()));
        switch (random.bounded(4)) {
        case 0:
            bytes[at] = char(random.bounded(256));
            break;
        case 1:
            bytes.remove(at, random.bounded(20));
            break;
        case 2:
            bytes.insert(at, bytes.mid(random.bounded(int(bytes.size())), random.bounded(30)));
            break;
        default:
            bytes.insert(at, specialCharacters.mid(random.bounded(int(specialCharacters.size())), 1));
        }
        bytes += '\n';
    }
    return bytes;
}

/// Creates \a folder with the configuration file of a row of
/// keepsItsValuesIfWritingFails_data(), and returns the path of the file; empty if
/// a step failed.
QString configFileWith(const QString &fault, const QString &folder)
{
    const QString file = folder + u"/user.ini"_s;
    bool isDone = QDir().mkpath(folder);
    if (fault == u"folder in the place of the file"_s) {
        isDone = isDone && QDir().mkpath(file);
    } else {
        savedBytes(validFile, file);
    }
    if (fault == u"locked file in a locked folder"_s) {
        isDone = isDone && QFile::setPermissions(file, QFile::Permissions(0x4444));
    } else if (fault == u"unreadable file"_s) {
        isDone = isDone && QFile::setPermissions(file, QFile::Permissions());
    }
    if (fault.contains(u"lock"_s)) {
        isDone = isDone && QFile::setPermissions(folder, QFile::Permissions(0x5555));
    }
    if (!isDone) {
        return {};
    }
    return fault == u"no folder"_s ? u"/proc/nowhere/user.ini"_s : file;
}

} // namespace

class TestConfigFaults : public QObject
{
    Q_OBJECT

private slots:
    void keepsItsValuesIfWritingFails_data();
    void keepsItsValuesIfWritingFails();
    void keepsItsValuesWhenTheFolderIsRemoved();
    void readsDamagedFiles_data();
    void readsDamagedFiles();
    void readsFuzzedFiles();
    void composesPagesWithAnyMargin_data();
    void composesPagesWithAnyMargin();
    void twoProgramsWriteAtOnce();
    void fileIsValidWhenTheProgramIsKilled();
    void worksInADeletedDirectory();
};

void TestConfigFaults::keepsItsValuesIfWritingFails_data()
{
    QTest::addColumn<QString>("fault");
    for (const char *fault : {"locked folder", "locked file in a locked folder", "unreadable file", "no folder",
                              "folder in the place of the file", "full disk"}) {
        QTest::newRow(fault) << QString::fromLatin1(fault);
    }
}

void TestConfigFaults::keepsItsValuesIfWritingFails()
{
    QFETCH(QString, fault);
    const QString folder =
        QDir::current().absoluteFilePath(fault); // QSettings objects of the same path share their values
    const QString file = configFileWith(fault, folder);
    QVERIFY(!file.isEmpty());
    const bool isReadable = fault.contains(u"lock"_s) || fault == u"full disk"_s;
    {
        const Unprivileged user;
        QVERIFY(user.isEffective());
        const FullDisk disk(fault == u"full disk"_s ? 0 : RLIM_INFINITY);
        QCOMPARE(read(file, u"imagedir"_s), isReadable ? u"/pictures"_s : QString());
        QVERIFY(writeConfigValue(file, u"imagedir"_s, u"/elsewhere"_s));
        QCoreApplication::processEvents();
        QCOMPARE(read(file, u"imagedir"_s), u"/elsewhere"_s); // while the program runs
        QCOMPARE(interfaceLanguage(file), isReadable ? u"en"_s : u"zh"_s);
    }
    if (isReadable) {
        QCOMPARE(contentOf(file), validFile);
        QCOMPARE(QDir(folder).entryList(QDir::Files), QStringList({u"user.ini"_s}));
    }
    QFile::setPermissions(folder, QFile::Permissions(0x7755));
    QVERIFY(QDir(folder).removeRecursively());
}

void TestConfigFaults::keepsItsValuesWhenTheFolderIsRemoved()
{
    QTemporaryDir dir;
    const QString file = dir.filePath(u"user.ini"_s);
    savedBytes(validFile, file);
    QCOMPARE(read(file, u"imagedir"_s), u"/pictures"_s);
    QVERIFY(dir.remove());
    QVERIFY(writeConfigValue(file, u"imagedir"_s, u"/elsewhere"_s));
    QCOMPARE(read(file, u"imagedir"_s), u"/elsewhere"_s);
    QCoreApplication::processEvents();
    QCOMPARE(read(file, u"imagedir"_s), u"/elsewhere"_s);
    QDir(dir.path()).removeRecursively(); // writing may have created it again
}

void TestConfigFaults::readsDamagedFiles_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("zeros") << QByteArray(4096, '\0');
    QTest::newRow("no section") << QByteArray("language=en\n");
    QTest::newRow("section without an end") << QByteArray("[config\nlanguage=en\n");
    QTest::newRow("lines without an equals sign") << QByteArray("[config]\nlanguage\nautopage\n");
    QTest::newRow("quote without an end") << QByteArray("[config]\nlanguage=\"en\nautopage=0\n");
    QTest::newRow("backslash at the end") << QByteArray("[config]\nlanguage=en\\");
    QTest::newRow("escape past Unicode") << QByteArray("[config]\nlanguage=\\xffffffffffffffff\n");
    QTest::newRow("list") << QByteArray("[config]\nlanguage=en, zh, fr\n");
    QTest::newRow("broken UTF-8") << QByteArray("[config]\nlanguage=\xff\xfe\xc3\x28\n");
    QTest::newRow("no such type") << QByteArray("[config]\nlanguage=@Variant(\\0\\0\\xff\\xff)\n");
    QTest::newRow("byte array of 4 GB") << QByteArray(
        "[config]\nlanguage=@Variant(\\0\\0\\0\\xc\\0\\xff\\xff\\xff\\xff)\n");
    QTest::newRow("picture") << QByteArray("[config]\nlanguage=@Variant(\\0\\0\\0\\x46\\0\\0\\0\\x1)\n");
    QTest::newRow("rectangle") << QByteArray("[config]\nlanguage=@Rect(1 2 3)\nmarginsc=@Size(1)\n");
    QTest::newRow("line of 4 MB") << QByteArray("[config]\nlanguage=") + QByteArray(4 << 20, 'e') + '\n';
    QTest::newRow("100,000 sections") << QByteArray("[config]\n[x]\n").repeated(50000);
    QTest::newRow("carriage returns") << QByteArray("[config]\r\nlanguage=en\r\n");
    QTest::newRow("program") << contentOf(u"/proc/self/exe"_s).left(200000);
}

void TestConfigFaults::readsDamagedFiles()
{
    QFETCH(QByteArray, bytes);
    QTemporaryDir dir;
    const QString file = dir.filePath(u"user.ini"_s);
    savedBytes(bytes, file);
    const QString language = interfaceLanguage(file);
    QVERIFY(language == u"en"_s || language == u"zh"_s);
    isAutoPageWanted(file);
    QVERIFY(writeConfigValue(file, u"marginsc"_s, u"25"_s));
    QCOMPARE(read(file, u"marginsc"_s), u"25"_s);
    QTRY_VERIFY(contentOf(file).contains("marginsc=25"));
    QCOMPARE(interfaceLanguage(file), language);
}

void TestConfigFaults::readsFuzzedFiles()
{
    QTemporaryDir dir;
    QRandomGenerator random(20);
    const int runs = 2 * faultRuns(100);
    for (int run = 0; run < runs; ++run) {
        const QString file = dir.filePath(QString::number(run));
        savedBytes(fuzzedFile(random), file);
        const QString language = interfaceLanguage(file);
        QVERIFY(language == u"en"_s || language == u"zh"_s);
        isAutoPageWanted(file);
        const QString folder = read(file, u"savepath"_s);
        QVERIFY(writeConfigValue(file, u"marginsc"_s, u"25"_s));
        QCoreApplication::processEvents();
        QVERIFY2(contentOf(file).contains("marginsc=25"), qPrintable(u"run %1"_s.arg(run)));
        QCOMPARE(read(file, u"savepath"_s), folder);
    }
}

void TestConfigFaults::composesPagesWithAnyMargin_data()
{
    QTest::addColumn<QString>("margin");
    for (const char *margin : {"-1", "3", "50", "100", "2147483647", "-2147483648", "4294967295",
                               "99999999999999999999", "1e3", "0x10", "ten", "10 ", "\xc2\xb2"}) {
        QTest::newRow(margin) << QString::fromUtf8(margin);
    }
}

void TestConfigFaults::composesPagesWithAnyMargin()
{
    QFETCH(QString, margin);
    QVERIFY(writeConfigValue(configFilePath(), u"marginsc"_s, margin));
    const QImage picture = blockPicture(140, 900);
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(savedPicture(picture, u"margin.png"_s));
    QCOMPARE(stripsOf(window).size(), 5);
    QImage sheet(300, 400, QImage::Format_RGB32);
    QPainter painter(&sheet);
    for (const char *command : {"decreaseMarginAction", "increaseMarginAction", "twoColsAction", "decreaseMarginAction",
                                "increaseMarginAction"}) {
        trigger(window, command);
        pagesOf(window).first()->renderPage(&painter);
        window.grab();
    }
    QCOMPARE(firstDifference(shownPicture(window, picture.size()), picture), QString());
    clearConfigValues();
}

void TestConfigFaults::twoProgramsWriteAtOnce()
{
    QTemporaryDir dir;
    const QString file = dir.filePath(u"user.ini"_s);
    savedBytes(validFile, file);
    const auto first = otherProgram({u"--write"_s, file, u"first"_s});
    const auto second = otherProgram({u"--write"_s, file, u"second"_s});
    for (QProcess *program : {first.get(), second.get()}) {
        QVERIFY(program->waitForFinished(processTime));
        QCOMPARE(program->exitStatus(), QProcess::NormalExit);
        QCOMPARE(program->exitCode(), 0);
    }
    const QSettings settings(file, QSettings::IniFormat);
    QCOMPARE(settings.status(), QSettings::NoError);
    QCOMPARE(settings.value(u"config/first"_s).toString(), u"the last word of first"_s);
    QCOMPARE(settings.value(u"config/second"_s).toString(), u"the last word of second"_s);
    const QString shared = settings.value(u"config/shared"_s).toString();
    QVERIFY(shared == u"first"_s || shared == u"second"_s);
    QCOMPARE(settings.value(u"config/savepath"_s).toString(),
             u"/papers, and more"_s); // a key that neither program writes
    QCOMPARE(settings.value(u"update/skippedVersion"_s).toString(), u"3.0.0"_s);
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList({u"user.ini"_s}));
}

void TestConfigFaults::fileIsValidWhenTheProgramIsKilled()
{
    QRandomGenerator random(9);
    const int runs = faultRuns(100);
    int leftovers = 0;
    for (int run = 0; run < runs; ++run) {
        QTemporaryDir dir;
        const QString file = dir.filePath(u"user.ini"_s);
        savedBytes(validFile, file);
        const auto program = otherProgram({u"--write-until-killed"_s, file});
        QVERIFY(program->waitForReadyRead(processTime));
        QThread::usleep(random.bounded(20000U));
        program->kill();
        QVERIFY(program->waitForFinished(processTime));
        QCOMPARE(program->exitStatus(), QProcess::CrashExit);

        const QSettings settings(file, QSettings::IniFormat);
        QCOMPARE(settings.status(), QSettings::NoError);
        const QString folder = settings.value(u"config/imagedir"_s).toString();
        QVERIFY2(folder == longFolder(0) || folder == longFolder(1), qPrintable(u"run %1: %2"_s.arg(run).arg(folder)));
        QCOMPARE(settings.value(u"config/savepath"_s).toString(), u"/papers, and more"_s);
        QCOMPARE(settings.value(u"update/skippedVersion"_s).toString(), u"3.0.0"_s);
        leftovers += int(QDir(dir.path()).entryList(QDir::Files).size()) - 1;
    }
    qInfo("%d times killed, %d temporary files and locks left", runs, leftovers);
}

void TestConfigFaults::worksInADeletedDirectory()
{
    const QString before = QDir::currentPath();
    const QString picture = savedPicture(blockPicture(140, 900), u"picture.png"_s);
    QVERIFY(QDir().mkdir(u"short-lived"_s));
    QVERIFY(QDir::setCurrent(before + u"/short-lived"_s));
    QVERIFY(QDir().rmdir(before + u"/short-lived"_s));

    MainWindow window;
    window.loadImageFile(picture);
    QCOMPARE(stripsOf(window).size(), 5);
    window.loadImageFile(u"picture.png"_s);
    QCOMPARE(toastText(window), u"不支持的图片格式或文件已损坏"_s);
    QCOMPARE(stripsOf(window).size(), 5);
    DownloadUpdateDialog dialog(DownloadRequestInfo(), &window);
    dialog.show();
    dialog.onSkipClicked(); // writes to the working directory
    QVERIFY(!dialog.isVisible());
    QCoreApplication::processEvents();
    QVERIFY(window.close());
    QVERIFY(QDir::setCurrent(before));
    QVERIFY(!QFile::exists(u"user.ini"_s));
}

int main(int argc, char *argv[])
{
    if (argc > 2) {
        const QString file = QFile::decodeName(argv[2]);
        QCoreApplication app(argc, argv);
        const QString part = QString::fromLocal8Bit(argv[1]);
        if (part == u"--write"_s && argc == 4) {
            return writeAgainAndAgain(file, QString::fromLocal8Bit(argv[3]), 80);
        }
        if (part == u"--write-until-killed"_s) {
            return writeUntilKilled(file);
        }
    }
    PrivateHome home;
    QApplication app(argc, argv);
    PrivateHome::removeConfigFile();
    TestConfigFaults test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}
#include "tst_configfaults.moc"
