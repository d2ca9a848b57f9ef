#include "base/buildconfig.h"
#include "support/files.h"
#include "support/pictures.h"
#include "support/testmain.h"
#include "update/simpleupdater.h"
#include "update/updatedocuments.h"

#include <QCryptographicHash>
#include <QDirIterator>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QTemporaryDir>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

void write(const QString &path, const QByteArray &content)
{
    QDir().mkpath(QFileInfo(path).path());
    savedBytes(content, path);
}

void writeProgram(const QString &path, const QByteArray &content)
{
    write(path, content);
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

/// An entry in the list of releases.
QJsonObject releaseEntry(const QString &version)
{
    QByteArray text = "{'version': '%1', 'date': '2026-12-24', 'forced': false,"
                      " 'title': {'zh': '新版 %1', 'en': 'New: %1'},"
                      " 'notes': {'zh': ['更快'], 'en': ['Faster for a < b & c', 'Smaller']}}";
    text.replace('\'', '"').replace("%1", version.toLatin1());
    return QJsonDocument::fromJson(text).object();
}

} // namespace

/// Runs tools/release in a copy of the files that it reads. The packages are small
/// files with the right names; their contents do not matter here.
class TestRelease : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { dir.reset(); }

    void olderProgramAcceptsTheRelease_data();
    void olderProgramAcceptsTheRelease();
    void olderProgramAcceptsTheReport();
    void usesTheLanguageOfTheDocument();
    void listsTheNewestReleaseFirst();
    void publishesPackagesWithChecksums();
    void usesThePackageHost();
    void buildsTestsAndPackagesTheCommit_data();
    void buildsTestsAndPackagesTheCommit();
    void namesThePackageThatTheProgramFallsBackTo();
    void rejects_data();
    void rejects();

private:
    QString path(const QString &name) const { return dir->filePath(name); }
    QString site(const QString &name) const { return path(u"site/"_s + name); }
    void setVersion(const QString &version);
    void makePackages(const QString &version);
    int release(const QStringList &options = {});
    bool releaseTwice();
    QJsonArray releasesIn(const QString &document) const;
    QMap<QString, QByteArray> siteContent() const;

    std::unique_ptr<QTemporaryDir> dir;
    QString errorOutput; // of the last run
};

void TestRelease::init()
{
    dir = std::make_unique<QTemporaryDir>();
    for (const QString &name : {u"tools/release"_s, u"cmake/hosts.cmake"_s, u"CMakeLists.txt"_s, u"CHANGELOG.md"_s,
                                u"packaging/releases.json"_s}) {
        write(path(name), contentOf(QStringLiteral(PROJECT_FOLDER "/") + name));
    }
    makePackages(programVersion.toString());
}

void TestRelease::setVersion(const QString &version)
{
    const QString listPath = path(u"packaging/releases.json"_s);
    QJsonArray releases = QJsonDocument::fromJson(contentOf(listPath)).object()["releases"_L1].toArray();
    releases.prepend(releaseEntry(version));
    write(listPath, QJsonDocument(QJsonObject{{u"releases"_s, releases}}).toJson());

    const QByteArray number = version.toLatin1();
    QByteArray project = contentOf(path(u"CMakeLists.txt"_s));
    project.replace("VERSION " + programVersion.toLatin1() + "\n", "VERSION " + number + "\n");
    write(path(u"CMakeLists.txt"_s), project);
    QByteArray changes = contentOf(path(u"CHANGELOG.md"_s));
    write(path(u"CHANGELOG.md"_s), changes.replace("# Changes\n", "# Changes\n\n## " + number + "\n\n- Faster.\n"));
    makePackages(version);
}

void TestRelease::makePackages(const QString &version)
{
    for (const QString &name :
         {u"quillmarch-%1-linux-x86_64.tar.gz"_s, u"quillmarch_%1_amd64.deb"_s, u"quillmarch-%1.tar.gz"_s}) {
        const QString file = name.arg(version);
        write(path("packages/"_L1 + file), file.toLatin1());
    }
    write(path(u"made.zip"_s), "Windows " + version.toLatin1());
    write(path(u"made.dmg"_s), "macOS " + version.toLatin1());
}

/// Runs tools/release and returns the exit code. The option "build" means without
/// --skip-build, and "no windows" without a package for Windows.
int TestRelease::release(const QStringList &options)
{
    QStringList arguments{u"-B"_s,         path(u"tools/release"_s), u"--site"_s,
                          path(u"site"_s), u"--packages"_s,          path(u"packages"_s)};
    arguments += options;
    if (arguments.removeAll("build"_L1) == 0) {
        arguments += u"--skip-build"_s;
    }
    if (arguments.removeAll("no windows"_L1) == 0) {
        arguments += {u"--package"_s, "windows="_L1 + path(u"made.zip"_s)};
    }
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"PATH"_s, path(u"bin"_s) + u':' + environment.value(u"PATH"_s));
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(PYTHON), arguments);
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit) {
        return -1;
    }
    errorOutput = QString::fromUtf8(process.readAllStandardError());
    return process.exitCode();
}

bool TestRelease::releaseTwice()
{
    const QStringList host{u"--package-host"_s, packageHost.toString()};
    if (release(host + QStringList{u"--first"_s}) != 0) {
        return false;
    }
    setVersion(u"2.8.0"_s);
    return release(host) == 0;
}

QJsonArray TestRelease::releasesIn(const QString &document) const
{
    return QJsonDocument::fromJson(contentOf(site(document))).object()["releases"_L1].toArray();
}

QMap<QString, QByteArray> TestRelease::siteContent() const
{
    QMap<QString, QByteArray> content;
    QDirIterator files(path(u"site"_s), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString file = files.next();
        content[file] = contentOf(file);
    }
    return content;
}

void TestRelease::olderProgramAcceptsTheRelease_data()
{
    QTest::addColumn<QString>("address");
    QTest::newRow("start, zh") << releaseDocumentUrl(u"zh"_s);
    QTest::newRow("start, en") << releaseDocumentUrl(u"en"_s);
    QTest::newRow("interactive check") << checkEndpoint();
}

void TestRelease::olderProgramAcceptsTheRelease()
{
    QFETCH(QString, address);
    QVERIFY2(releaseTwice(), qPrintable(errorOutput));
    SimpleUpdater updater;
    QVERIFY(updater.parseReleaseDocument(contentOf(site(QUrl(address).path().mid(1)))));
    const ReleaseInfo &found = updater.foundRelease();
    QCOMPARE(found.version, u"2.8.0"_s);
    QVERIFY(updater.isNewerVersion(found.version, programVersion.toString()));
    QCOMPARE(found.downloadUrl,
             packageUrl(packageHost.toString() + "/updates/quillmarch"_L1, UpdateVersion::fromString(found.version),
                        buildPlatform.toString()));
    QCOMPARE(found.fileSize, QFileInfo(path(u"made.zip"_s)).size());
    QCOMPARE(contentOf(site(QUrl(found.downloadUrl).path().mid(1))), contentOf(path(u"made.zip"_s)));
    QCOMPARE(found.releaseDate, u"2026-12-24"_s);
    QVERIFY(!found.isForced);
}

void TestRelease::olderProgramAcceptsTheReport()
{
    QVERIFY2(releaseTwice(), qPrintable(errorOutput));
    const QJsonObject body = QJsonDocument::fromJson(contentOf(site(QUrl(checkEndpoint()).path().mid(1)))).object();
    const UpdateReport report = parseUpdateReport(body, programVersion.toString(), buildPlatform.toString());
    QVERIFY(report.hasUpdate);
    QVERIFY(!report.forceUpdate);
    QCOMPARE(report.latestVersion.toString(), u"2.8.0"_s);
    QVERIFY(report.downloadUrl.endsWith("/updates/quillmarch/Quillmarch_v2.8.0_Windows.zip"_L1));
    QCOMPARE(report.size, QString::number(QFileInfo(path(u"made.zip"_s)).size()));
    const QByteArray sum = QCryptographicHash::hash(contentOf(path(u"made.zip"_s)), QCryptographicHash::Md5);
    QCOMPARE(report.hash, QString::fromLatin1(sum.toHex()));
    QCOMPARE(report.updateLog, u"• 更快"_s);
    QCOMPARE(report.publishTime, u"2026-12-24 00:00"_s);
    QVERIFY(!parseUpdateReport(body, u"2.8.0"_s, buildPlatform.toString()).hasUpdate);
}

void TestRelease::usesTheLanguageOfTheDocument()
{
    QVERIFY2(releaseTwice(), qPrintable(errorOutput));
    const auto infoIn = [this](const QString &language) {
        const QString document = site(QUrl(releaseDocumentUrl(language)).path().mid(1));
        return readReleaseDocument(contentOf(document), buildPlatform.toString()).value_or(ReleaseInfo());
    };
    QCOMPARE(infoIn(u"zh"_s).title, u"新版 2.8.0"_s);
    QCOMPARE(infoIn(u"zh"_s).description, u"<ul><li>更快</li></ul>"_s);
    QCOMPARE(infoIn(u"en"_s).title, u"New: 2.8.0"_s);
    // The dialog interprets the text as HTML.
    QCOMPARE(infoIn(u"en"_s).description, u"<ul><li>Faster for a &lt; b &amp; c</li><li>Smaller</li></ul>"_s);
}

void TestRelease::listsTheNewestReleaseFirst()
{
    QCOMPARE(release({u"--first"_s}), 0);
    const QString document = u"updates/update-config-en.json"_s;
    const QJsonArray first = releasesIn(document);
    QCOMPARE(first.size(), 1);
    setVersion(u"2.7.10"_s);
    QCOMPARE(release(), 0);
    const QJsonArray second = releasesIn(document);
    QCOMPARE(second.size(), 2);
    QCOMPARE(second.at(0)["version"_L1].toString(), u"2.7.10"_s);
    QCOMPARE(second.at(1), first.at(0));
}

void TestRelease::publishesPackagesWithChecksums()
{
    QVERIFY2(releaseTwice(), qPrintable(errorOutput));
    for (const QString &kind : {u"md5"_s, u"sha256"_s}) {
        QProcess check;
        check.setWorkingDirectory(site(u"updates/quillmarch"_s));
        check.start(kind + "sum"_L1, {u"--check"_s, u"--strict"_s, kind.toUpper() + "SUMS"_L1});
        QVERIFY(check.waitForFinished(60000));
        QCOMPARE(check.exitCode(), 0);
        QCOMPARE(check.readAllStandardOutput().count(": OK"), 8); // four packages per release
    }
}

void TestRelease::usesThePackageHost()
{
    QCOMPARE(release({u"--first"_s, u"--package-host"_s, u"https://files.test"_s}), 0);
    const QByteArray document = contentOf(site(u"updates/update-config-zh.json"_s));
    QCOMPARE(readReleaseDocument(document, u"linux"_s).value().downloadUrl,
             u"https://files.test/updates/quillmarch/quillmarch-%1-linux-x86_64.tar.gz"_s.arg(programVersion));
}

void TestRelease::buildsTestsAndPackagesTheCommit_data()
{
    QTest::addColumn<bool>("committed");
    QTest::addColumn<bool>("passes");
    QTest::addColumn<QByteArray>("steps");
    QTest::addColumn<QString>("reason");
    const QByteArray configured = "cmake --preset release -DQUILLMARCH_PACKAGE_HOST=https://files.test\ntest.sh\n";
    QTest::newRow("success") << true << true
                             << configured
            + "cpack --config build/release/CPackConfig.cmake\n"
              "cpack --config build/release/CPackSourceConfig.cmake\n"
                             << QString();
    QTest::newRow("a test fails") << true << false << configured << u"./test.sh failed"_s;
    QTest::newRow("a change is not committed") << false << true << QByteArray() << u"uncommitted changes"_s;
}

/// The commands are replaced by scripts that log their arguments.
void TestRelease::buildsTestsAndPackagesTheCommit()
{
    QFETCH(bool, committed);
    QFETCH(bool, passes);
    QFETCH(QByteArray, steps);
    QFETCH(QString, reason);
    const QString log = path(u".git/steps"_s);
    const QByteArray logger = "#!/bin/sh\necho $(basename $0) \"$@\" >>" + log.toUtf8() + "\n";
    writeProgram(path(u"bin/cmake"_s), logger);
    writeProgram(path(u"bin/cpack"_s), logger);
    writeProgram(path(u"test.sh"_s), logger + (passes ? "exit 0\n" : "exit 1\n"));
    for (const QStringList &command : {QStringList{u"init"_s, u"-q"_s}, QStringList{u"add"_s, u"."_s},
                                       QStringList{u"-c"_s, u"user.name=x"_s, u"-c"_s, u"user.email=x@y.test"_s,
                                                   u"commit"_s, u"-q"_s, u"-m"_s, u"all"_s}}) {
        QCOMPARE(QProcess::execute(u"git"_s, QStringList{u"-C"_s, dir->path()} + command), 0);
    }
    if (!committed) {
        write(path(u"CHANGELOG.md"_s), contentOf(path(u"CHANGELOG.md"_s)) + "more\n");
    }
    QCOMPARE(release({u"build"_s, u"--first"_s, u"--package-host"_s, u"https://files.test"_s}),
             reason.isEmpty() ? 0 : 1);
    QVERIFY2(errorOutput.contains(reason), qPrintable(errorOutput));
    QCOMPARE(contentOf(log), steps);
    QCOMPARE(siteContent().isEmpty(), !reason.isEmpty());
}

void TestRelease::namesThePackageThatTheProgramFallsBackTo()
{
    QCOMPARE(release({u"--first"_s, u"--package"_s, "macos="_L1 + path(u"made.dmg"_s), u"--package-host"_s,
                      packageHost.toString()}),
             0);
    const QByteArray document = contentOf(site(u"updates/update-config-zh.json"_s));
    const QString version = programVersion.toString();
    QCOMPARE(readReleaseDocument(document, u"macos"_s).value().downloadUrl, fallbackPackageUrl(version));
}

void TestRelease::rejects_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("changed"); // a file, and its new content
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QString>("reason");

    const QStringList none;
    const QString nothing;
    const QString higher = u"2.8.0"_s;
    QTest::newRow("the released version") << nothing << nothing << QByteArray() << none << u"is not higher than"_s;
    QTest::newRow("a lower version") << u"2.6.9"_s << nothing << QByteArray() << none << u"lists 2.6.9 above 2.7.1"_s;
    QTest::newRow("two numbers") << u"2.8"_s << nothing << QByteArray() << none << u"not a version of three numbers"_s;
    QTest::newRow("another version in the changes")
        << higher << u"CHANGELOG.md"_s << QByteArray("## 2.9.0\n") << none << u"CHANGELOG.md has 2.9.0"_s;
    QTest::newRow("another version of the project")
        << higher << u"CMakeLists.txt"_s << QByteArray("project(Quillmarch\n    VERSION 2.7.9\n") << none
        << u"CMakeLists.txt has 2.7.9"_s;
    QTest::newRow("no version of the project")
        << higher << u"CMakeLists.txt"_s << QByteArray("x\n") << none << u"CMakeLists.txt: no version found"_s;
    QTest::newRow("a damaged list of releases")
        << higher << u"packaging/releases.json"_s << QByteArray(R"({"releases": [{"version": "2.8.0"}]})") << none
        << u"releases.json is not complete"_s;
    QTest::newRow("a damaged document") << higher << u"site/updates/update-config-en.json"_s << QByteArray("{") << none
                                        << u"update-config-en.json is damaged"_s;
    QTest::newRow("documents that differ") << higher << u"site/updates/update-config-en.json"_s
                                           << QByteArray("{\"releases\": []}") << none << u"list different releases"_s;
    QTest::newRow("a site that is not the first") << higher << nothing << QByteArray() << QStringList{u"--first"_s}
                                                  << u"has releases already, the last one is 2.7.1"_s;
    QTest::newRow("no package for the program's platform")
        << higher << nothing << QByteArray() << QStringList{u"no windows"_s} << u"no package for windows"_s;
    QTest::newRow("an unknown platform") << higher << nothing << QByteArray()
                                         << QStringList{u"--package"_s, u"linux=x"_s} << u"not windows=FILE"_s;
    QTest::newRow("a missing package") << higher << nothing << QByteArray()
                                       << QStringList{u"--package"_s, u"macos=/nowhere/x.dmg"_s}
                                       << u"cannot read /nowhere/x.dmg"_s;
    QTest::newRow("an empty package") << higher << u"made.zip"_s << QByteArray() << none << u"made.zip is empty"_s;
    QTest::newRow("a second package of Linux")
        << higher << u"packages/quillmarch_2.8.0_i386.deb"_s << QByteArray("x") << none << u"2 files, not one"_s;
    QTest::newRow("packages of another version")
        << higher << nothing << QByteArray() << QStringList{u"--packages"_s, u"/nowhere"_s} << u"0 files, not one"_s;
    QTest::newRow("a package that is in the site") << higher << u"site/updates/quillmarch/quillmarch-2.8.0.tar.gz"_s
                                                   << QByteArray("x") << none << u"exists already"_s;
    QTest::newRow("a host without a safe scheme")
        << higher << nothing << QByteArray() << QStringList{u"--package-host"_s, u"http://files.test"_s}
        << u"not https:// and a host"_s;
}

void TestRelease::rejects()
{
    QFETCH(QString, version);
    QFETCH(QString, changed);
    QFETCH(QByteArray, content);
    QFETCH(QStringList, options);
    QFETCH(QString, reason);
    QCOMPARE(release({u"--first"_s}), 0);
    if (!version.isEmpty()) {
        setVersion(version);
    }
    if (!changed.isEmpty()) {
        write(path(changed), content);
    }
    const QMap<QString, QByteArray> before = siteContent();
    QCOMPARE(release(options), 1);
    QVERIFY2(errorOutput.contains(reason), qPrintable(errorOutput));
    QVERIFY(!errorOutput.contains("Traceback"_L1));
    QCOMPARE(siteContent(), before);
}

QUILLMARCH_TEST_MAIN(TestRelease)
#include "tst_release.moc"
