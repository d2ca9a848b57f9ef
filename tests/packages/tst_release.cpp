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
#include <QRegularExpression>
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

/// Runs tools/release in a clone with the files that it reads, with small packages.
class TestRelease : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void cleanup() { dir.reset(); }

    void olderProgramAcceptsTheRelease_data();
    void olderProgramAcceptsTheRelease();
    void olderProgramAcceptsTheReport();
    void usesTheLanguageOfTheDocument();
    void listsTheNewestReleaseFirst();
    void publishesPackagesWithChecksums();
    void signsTheChecksums();
    void acceptsRealHosts();
    void usesThePackageHost();
    void buildsTestsAndPackagesTheCommit_data();
    void buildsTestsAndPackagesTheCommit();
    void namesThePackageThatTheProgramFallsBackTo();
    void rejects_data();
    void rejects();
    void rejectsContents_data();
    void rejectsContents();
    void rejectsWhatUsersCannotReach_data();
    void rejectsWhatUsersCannotReach();

private:
    QString path(const QString &name) const { return dir->filePath(name); }
    QString site(const QString &name) const { return path(u"site/"_s + name); }
    void setVersion(const QString &version);
    void setRealHosts();
    void makePackages(const QString &version, const QString &host = u"https://files.test"_s);
    void git(const QStringList &arguments);
    int release(const QStringList &options = {});
    bool releaseTwice();
    QJsonArray releasesIn(const QString &document) const;
    QMap<QString, QByteArray> siteContent() const;

    std::unique_ptr<QTemporaryDir> dir;
    QTemporaryDir keys{u"/tmp/quillmarch-keys-XXXXXX"_s}; // short, since sockets of gpg lie in it
    QString fingerprint;
    QString errorOutput; // of the last run
};

/// Makes a key to sign with.
void TestRelease::initTestCase()
{
    qputenv("GNUPGHOME", keys.path().toUtf8());
    QCOMPARE(QProcess::execute(u"gpg"_s,
                               {u"--batch"_s, u"--quiet"_s, u"--passphrase"_s, QString(), u"--quick-generate-key"_s,
                                u"Test <test@quillmarch.test>"_s, u"ed25519"_s, u"sign"_s, u"never"_s}),
             0);
    QProcess list;
    list.start(u"gpg"_s, {u"--batch"_s, u"--with-colons"_s, u"--list-secret-keys"_s});
    QVERIFY(list.waitForFinished(60000));
    const QStringList lines = QString::fromUtf8(list.readAllStandardOutput()).split(u'\n');
    fingerprint = lines.filter(QRegularExpression(u"^fpr:"_s)).value(0).section(u':', 9, 9);
    QCOMPARE(fingerprint.size(), 40);
}

void TestRelease::cleanupTestCase()
{
    QCOMPARE(QProcess::execute(u"gpgconf"_s, {u"--kill"_s, u"all"_s}), 0);
}

void TestRelease::init()
{
    dir = std::make_unique<QTemporaryDir>();
    for (const QString &name : {u"tools/release"_s, u"cmake/hosts.cmake"_s, u"CMakeLists.txt"_s, u"CHANGELOG.md"_s,
                                u"packaging/releases.json"_s, u"SECURITY.md"_s}) {
        write(path(name), contentOf(QStringLiteral(PROJECT_FOLDER "/") + name));
    }
    write(path(u".gitignore"_s), "/site\n/packages\n/bin\n/made.*\n");
    git({u"init"_s, u"-q"_s});
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

/// Sets hosts, contact and key as somebody does who really releases the program.
void TestRelease::setRealHosts()
{
    for (const QString &name : {u"cmake/hosts.cmake"_s, u"SECURITY.md"_s}) {
        write(path(name), contentOf(path(name)).replace("quillmarch.example", "quillmarch.test"));
    }
    write(path(u"SECURITY.md"_s), contentOf(path(u"SECURITY.md"_s)) + "\nKey " + fingerprint.toLatin1() + '\n');
}

void TestRelease::makePackages(const QString &version, const QString &host)
{
    QCOMPARE(QProcess::execute(QStringLiteral(PYTHON),
                               {u"-B"_s, QStringLiteral(PROJECT_FOLDER "/tests/packages/smallpackages.py"), dir->path(),
                                version, host}),
             0);
}

void TestRelease::git(const QStringList &arguments)
{
    const QStringList author{u"-c"_s, u"user.name=x"_s, u"-c"_s, u"user.email=x@y.test"_s};
    QCOMPARE(QProcess::execute(u"git"_s, QStringList{u"-C"_s, dir->path()} + author + arguments), 0);
}

/// Commits everything, runs tools/release and returns the exit code. The option "build"
/// means without --skip-build, "no windows" without a package for Windows, "dirty"
/// without committing, and "strict" without --allow-example-hosts.
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
    if (arguments.removeAll("strict"_L1) == 0) {
        arguments += u"--allow-example-hosts"_s;
    }
    if (arguments.removeAll("dirty"_L1) == 0) {
        git({u"add"_s, u"."_s});
        git({u"commit"_s, u"-q"_s, u"--allow-empty"_s, u"-m"_s, u"all"_s});
    }
    if (!arguments.contains("--sign-key"_L1)) {
        arguments += {u"--sign-key"_s, fingerprint};
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
        QCOMPARE(check.readAllStandardOutput().count(": OK"), 10); // five packages per release
    }
}

/// Checks the signature as the documents tell users to do.
void TestRelease::signsTheChecksums()
{
    QVERIFY2(releaseTwice(), qPrintable(errorOutput));
    const QString folder = site(u"updates/quillmarch/"_s);
    const QStringList check{u"--batch"_s, u"--verify"_s, folder + "SHA256SUMS.asc"_L1, folder + "SHA256SUMS"_L1};
    QCOMPARE(QProcess::execute(u"gpg"_s, check), 0);
    write(folder + "SHA256SUMS"_L1, contentOf(folder + "SHA256SUMS"_L1) + "0  more\n");
    QCOMPARE(QProcess::execute(u"gpg"_s, check), 1);
}

void TestRelease::acceptsRealHosts()
{
    setRealHosts();
    QVERIFY2(release({u"--first"_s, u"strict"_s}) == 0, qPrintable(errorOutput));
    const QByteArray document = contentOf(site(u"updates/update-config-zh.json"_s));
    QVERIFY(document.contains("https://packages.quillmarch.test/updates/quillmarch/"));
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
            + "test.sh -L slow\n"
              "cpack --config build/release/CPackConfig.cmake\n"
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
    git({u"add"_s, u"."_s});
    git({u"commit"_s, u"-q"_s, u"-m"_s, u"all"_s});
    if (!committed) {
        write(path(u"CHANGELOG.md"_s), contentOf(path(u"CHANGELOG.md"_s)) + "more\n");
    }
    QCOMPARE(release({u"build"_s, u"dirty"_s, u"--first"_s, u"--package-host"_s, u"https://files.test"_s}),
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
    QTest::newRow("a change that is not committed")
        << nothing << u"CHANGELOG.md"_s << QByteArray("x") << QStringList{u"dirty"_s} << u"uncommitted changes"_s;
    QTest::newRow("a file that is not committed")
        << nothing << u"_CPack_Packages/x"_s << QByteArray("x") << QStringList{u"dirty"_s} << u"uncommitted changes"_s;
    QTest::newRow("the hosts of the source") << higher << nothing << QByteArray() << QStringList{u"strict"_s}
                                             << u"updates.quillmarch.example, which reaches nobody"_s;
    QTest::newRow("an unknown key") << higher << nothing << QByteArray()
                                    << QStringList{u"--sign-key"_s, u"nobody@quillmarch.test"_s}
                                    << u"no secret key nobody@quillmarch.test"_s;
}

/// Packages with the right name and the wrong content.
void TestRelease::rejectsContents_data()
{
    QTest::addColumn<QString>("package");
    QTest::addColumn<bool>("cutOff"); // otherwise of version 2.7.9
    QTest::addColumn<QString>("reason");
    const QList<QStringList> names{
        {u"packages/quillmarch-%1-linux-x86_64.tar.gz"_s, u"quillmarch is not version 2.7.1"_s},
        {u"packages/quillmarch_%1_amd64.deb"_s, u"is version 2.7.9 inside, not 2.7.1"_s},
        {u"packages/quillmarch-batch_%1_amd64.deb"_s, u"is version 2.7.9 inside, not 2.7.1"_s},
        {u"packages/quillmarch-%1.tar.gz"_s, u"is not the source of version 2.7.1"_s},
        {u"made.zip"_s, u"quillmarch.exe is not version 2.7.1"_s},
    };
    for (const QStringList &name : names) {
        const QByteArray row = name[0].toUtf8();
        QTest::addRow("another version: %s", row.constData()) << name[0] << false << name[1];
        QTest::addRow("cut off: %s", row.constData()) << name[0] << true << u"cannot be listed"_s;
    }
}

void TestRelease::rejectsContents()
{
    QFETCH(QString, package);
    QFETCH(bool, cutOff);
    QFETCH(QString, reason);
    const auto named = [this](const QString &name, const QString &version) {
        return path(name.contains("%1"_L1) ? name.arg(version) : name);
    };
    const QString target = named(package, programVersion.toString());
    if (cutOff) {
        const QByteArray whole = contentOf(target);
        write(target, whole.first(whole.size() / 2));
    } else {
        const QByteArray windows = contentOf(path(u"made.zip"_s));
        makePackages(u"2.7.9"_s);
        const QByteArray other = contentOf(named(package, u"2.7.9"_s));
        write(path(u"made.zip"_s), windows);
        write(target, other);
    }
    QCOMPARE(release({u"--first"_s}), 1);
    QVERIFY2(errorOutput.contains(reason), qPrintable(errorOutput));
    QVERIFY(!errorOutput.contains("Traceback"_L1));
    QVERIFY(siteContent().isEmpty());
}

void TestRelease::rejectsWhatUsersCannotReach_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after");
    QTest::addColumn<QString>("reason");
    const QString hosts = u"cmake/hosts.cmake"_s;
    const QString security = u"SECURITY.md"_s;
    QTest::newRow("an example host") << hosts << QByteArray("service.quillmarch.test")
                                     << QByteArray("service.quillmarch.example") << u"QUILLMARCH_SERVICE_HOST"_s;
    QTest::newRow("another contact") << security << QByteArray("support@quillmarch.test")
                                     << QByteArray("somebody@quillmarch.test") << u"does not name the contact"_s;
    QTest::newRow("another key") << security << fingerprint.toLatin1() << QByteArray("0123")
                                 << u"does not name the key"_s;
    QTest::newRow("a program for example hosts")
        << QString() << QByteArray() << QByteArray() << u"quillmarch uses example hosts"_s;
}

void TestRelease::rejectsWhatUsersCannotReach()
{
    QFETCH(QString, file);
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, after);
    QFETCH(QString, reason);
    setRealHosts();
    if (file.isEmpty()) {
        makePackages(programVersion.toString(), u"https://updates.quillmarch.example"_s);
    } else {
        const QByteArray content = contentOf(path(file));
        QVERIFY(content.contains(before));
        write(path(file), QByteArray(content).replace(before, after));
    }
    QCOMPARE(release({u"--first"_s, u"strict"_s}), 1);
    QVERIFY2(errorOutput.contains(reason), qPrintable(errorOutput));
    QVERIFY(siteContent().isEmpty());
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
