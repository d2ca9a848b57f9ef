#include "base/buildconfig.h"
#include "support/testmain.h"
#include "update/updatedocuments.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace {

/// The object in \a text, which is JSON with single quotes for double ones.
QJsonObject objectOf(QByteArray text)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text.replace('\'', '"'), &error);
    if (error.error != QJsonParseError::NoError) {
        qFatal("Bad JSON in the test: %s", qPrintable(error.errorString()));
    }
    return document.object();
}

/// A release document with \a releases, in the same notation.
QByteArray releaseDocument(QByteArray releases)
{
    return "{\"releases\": [" + releases.replace('\'', '"') + "]}";
}

} // namespace

class TestUpdateDocuments : public QObject
{
    Q_OBJECT

private slots:
    void releaseStartsEmpty();
    void readsEveryFieldOfARelease();
    void refusesDocuments_data();
    void refusesDocuments();
    void picksTheFirstReleaseWithThePlatform_data();
    void picksTheFirstReleaseWithThePlatform();
    void readsWrongTypesAsDefaults_data();
    void readsWrongTypesAsDefaults();
    void readsMissingKeysAsDefaults_data();
    void readsMissingKeysAsDefaults();
    void readsFileSizes_data();
    void readsFileSizes();

    void reportStartsEmpty();
    void readsEveryFieldOfAReport();
    void readsEveryFieldOfAPackage();
    void readsASizeAsTextOnly();
    void readsAnEmptyReport();
    void readsReportTypes_data();
    void readsReportTypes();
    void correctsTheFlags_data();
    void correctsTheFlags();
    void selectsThePackage_data();
    void selectsThePackage();
    void keepsPackageFieldsEmptyForAnEmptyPackage();
    void recognisesTheLatestVersion_data();
    void recognisesTheLatestVersion();

    void cutsReleaseNotes_data();
    void cutsReleaseNotes();
    void namesPackages_data();
    void namesPackages();
    void joinsPackageAddresses_data();
    void joinsPackageAddresses();
    void choosesTheReleaseDocumentByLanguage_data();
    void choosesTheReleaseDocumentByLanguage();
    void knowsTheFixedAddresses();
};

void TestUpdateDocuments::releaseStartsEmpty()
{
    const ReleaseInfo info;
    QCOMPARE(info.version + info.title + info.description + info.downloadUrl + info.releaseDate + info.platform,
             QString());
    QVERIFY(!info.isForced);
    QCOMPARE(info.fileSize, 0);
}

void TestUpdateDocuments::readsEveryFieldOfARelease()
{
    const auto info = readReleaseDocument(
        releaseDocument("{'version': '2.8', 'title': '标题', 'description': '<b>notes</b>',"
                        " 'releaseDate': '5 March', 'isForced': true, 'platforms': [{'name': 'windows',"
                        " 'downloadUrl': 'https://example.test/q.zip', 'fileSize': 5000000000}]}"),
        u"windows"_s);
    QVERIFY(info.has_value());
    QCOMPARE(info->version, u"2.8"_s);
    QCOMPARE(info->title, u"标题"_s);
    QCOMPARE(info->description, u"<b>notes</b>"_s);
    QCOMPARE(info->downloadUrl, u"https://example.test/q.zip"_s);
    QCOMPARE(info->releaseDate, u"5 March"_s);
    QVERIFY(info->isForced);
    QCOMPARE(info->platform, u"windows"_s);
    QCOMPARE(info->fileSize, 5000000000);
}

void TestUpdateDocuments::refusesDocuments_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("empty body") << QByteArray();
    QTest::newRow("no JSON") << QByteArray("<html></html>");
    QTest::newRow("cut off") << releaseDocument("{'platforms': [{'name': 'windows'}]}").chopped(1);
    QTest::newRow("text behind") << releaseDocument("{'platforms': [{'name': 'windows'}]}") + "x";
    QTest::newRow("root is an array") << QByteArray(R"([{"platforms": [{"name": "windows"}]}])");
    QTest::newRow("root is empty") << QByteArray("{}");
    QTest::newRow("releases null") << QByteArray(R"({"releases": null})");
    QTest::newRow("releases is an object") << QByteArray(R"({"releases": {"platforms": [{"name": "windows"}]}})");
    QTest::newRow("releases is a text") << QByteArray(R"({"releases": "windows"})");
    QTest::newRow("releases in another case") << QByteArray(R"({"Releases": [{"platforms": [{"name": "windows"}]}]})");
    QTest::newRow("no release") << releaseDocument("");
    QTest::newRow("release is a text") << releaseDocument("'windows'");
    QTest::newRow("release without platforms") << releaseDocument("{'version': '3.0.0'}");
    QTest::newRow("no platform") << releaseDocument("{'platforms': []}");
    QTest::newRow("platforms is an object") << releaseDocument("{'platforms': {'name': 'windows'}}");
    QTest::newRow("platform is a text") << releaseDocument("{'platforms': ['windows']}");
    QTest::newRow("platform without a name") << releaseDocument("{'platforms': [{'downloadUrl': 'x'}]}");
    QTest::newRow("name is a number") << releaseDocument("{'platforms': [{'name': 1}]}");
    QTest::newRow("name in another case") << releaseDocument("{'platforms': [{'name': 'Windows'}]}");
    QTest::newRow("name with a blank") << releaseDocument("{'platforms': [{'name': 'windows '}]}");
    QTest::newRow("other platforms") << releaseDocument("{'platforms': [{'name': 'macos'}, {'name': 'linux'}]}");
    QTest::newRow("report shape") << QByteArray(R"({"hasUpdate": true, "latestVersion": "3.0.0"})");
}

void TestUpdateDocuments::refusesDocuments()
{
    QFETCH(QByteArray, body);
    QVERIFY(!readReleaseDocument(body, u"windows"_s).has_value());
}

void TestUpdateDocuments::picksTheFirstReleaseWithThePlatform_data()
{
    QTest::addColumn<QByteArray>("releases");
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("url");
    QTest::newRow("first release lacks it") << QByteArray("{'version': '9', 'platforms': [{'name': 'macos'}]},"
                                                          "{'version': '8', 'platforms': [{'name': 'windows'}]}")
                                            << u"8"_s << QString();
    QTest::newRow("first release is the lower") << QByteArray("{'version': '1', 'platforms': [{'name': 'windows'}]},"
                                                              "{'version': '2', 'platforms': [{'name': 'windows'}]}")
                                                << u"1"_s << QString();
    QTest::newRow("second platform") << QByteArray("{'version': '1', 'platforms': ["
                                                   "{'name': 'macos', 'downloadUrl': 'a'},"
                                                   "{'name': 'windows', 'downloadUrl': 'b'}]}")
                                     << u"1"_s << u"b"_s;
    QTest::newRow("listed twice") << QByteArray("{'version': '1', 'platforms': ["
                                                "{'name': 'windows', 'downloadUrl': 'a'},"
                                                "{'name': 'windows', 'downloadUrl': 'b'}]}")
                                  << u"1"_s << u"a"_s;
    QTest::newRow("rubbish between") << QByteArray("1, null, 'x', {'platforms': 7},"
                                                   "{'version': '4', 'platforms': [3, {'name': 'windows'}]}")
                                     << u"4"_s << QString();
}

void TestUpdateDocuments::picksTheFirstReleaseWithThePlatform()
{
    QFETCH(QByteArray, releases);
    const auto info = readReleaseDocument(releaseDocument(releases), u"windows"_s);
    QVERIFY(info.has_value());
    QTEST(info->version, "version");
    QTEST(info->downloadUrl, "url");
}

void TestUpdateDocuments::readsWrongTypesAsDefaults_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::newRow("number") << QByteArray("1");
    QTest::newRow("null") << QByteArray("null");
    QTest::newRow("array") << QByteArray("['x']");
    QTest::newRow("object") << QByteArray("{'x': 'y'}");
}

void TestUpdateDocuments::readsWrongTypesAsDefaults()
{
    QFETCH(QByteArray, value);
    const QByteArray fileSize = value == "1" ? "{}" : value;
    const auto info =
        readReleaseDocument(releaseDocument("{'version': " + value + ", 'title': " + value + ", 'description': " + value
                                            + ", 'releaseDate': " + value + ", 'isForced': " + value
                                            + ", 'platforms': [{'name': 'windows', 'downloadUrl': " + value
                                            + ", 'fileSize': " + fileSize + "}]}"),
                            u"windows"_s);
    QVERIFY(info.has_value());
    QCOMPARE(info->version, QString());
    QCOMPARE(info->title, QString());
    QCOMPARE(info->description, QString());
    QCOMPARE(info->releaseDate, QString());
    QCOMPARE(info->downloadUrl, QString());
    QVERIFY(!info->isForced);
    QCOMPARE(info->fileSize, 0);
}

void TestUpdateDocuments::readsMissingKeysAsDefaults_data()
{
    QTest::addColumn<QString>("missing");
    for (const char *key : {"version", "title", "description", "releaseDate", "isForced", "downloadUrl", "fileSize"}) {
        QTest::newRow(key) << QString::fromLatin1(key);
    }
}

void TestUpdateDocuments::readsMissingKeysAsDefaults()
{
    QFETCH(QString, missing);
    QJsonObject package{{u"name"_s, u"windows"_s}, {u"downloadUrl"_s, u"U"_s}, {u"fileSize"_s, 5}};
    QJsonObject release{{u"version"_s, u"V"_s},
                        {u"title"_s, u"T"_s},
                        {u"description"_s, u"D"_s},
                        {u"releaseDate"_s, u"R"_s},
                        {u"isForced"_s, true}};
    QVERIFY(package.contains(missing) != release.contains(missing));
    package.remove(missing);
    release.remove(missing);
    release[u"platforms"_s] = QJsonArray({package});
    const QByteArray body = QJsonDocument(QJsonObject{{u"releases"_s, QJsonArray({release})}}).toJson();
    const auto info = readReleaseDocument(body, u"windows"_s);
    QVERIFY(info.has_value());
    const auto textUnless = [&missing](const QString &key, const QString &text) {
        return missing == key ? QString() : text;
    };
    QCOMPARE(info->version, textUnless(u"version"_s, u"V"_s));
    QCOMPARE(info->title, textUnless(u"title"_s, u"T"_s));
    QCOMPARE(info->description, textUnless(u"description"_s, u"D"_s));
    QCOMPARE(info->releaseDate, textUnless(u"releaseDate"_s, u"R"_s));
    QCOMPARE(info->downloadUrl, textUnless(u"downloadUrl"_s, u"U"_s));
    QCOMPARE(info->isForced, missing != u"isForced"_s);
    QCOMPARE(info->fileSize, missing == u"fileSize"_s ? 0 : 5);
    QCOMPARE(info->platform, u"windows"_s);
}

void TestUpdateDocuments::readsFileSizes_data()
{
    QTest::addColumn<QByteArray>("member");
    QTest::addColumn<qint64>("fileSize");
    QTest::newRow("missing") << QByteArray() << qint64(0);
    QTest::newRow("number") << QByteArray(", 'fileSize': 123456") << qint64(123456);
    QTest::newRow("past 32 bits") << QByteArray(", 'fileSize': 9007199254740993") << qint64(9007199254740993);
    QTest::newRow("negative") << QByteArray(", 'fileSize': -1") << qint64(-1);
    QTest::newRow("fraction below the half") << QByteArray(", 'fileSize': 12.25") << qint64(12);
    QTest::newRow("fraction above the half") << QByteArray(", 'fileSize': 12.75") << qint64(13);
    QTest::newRow("digits") << QByteArray(", 'fileSize': '123456'") << qint64(123456);
    QTest::newRow("digits and unit") << QByteArray(", 'fileSize': '12MB'") << qint64(0);
    QTest::newRow("text") << QByteArray(", 'fileSize': 'large'") << qint64(0);
    QTest::newRow("null") << QByteArray(", 'fileSize': null") << qint64(0);
}

void TestUpdateDocuments::readsFileSizes()
{
    QFETCH(QByteArray, member);
    const auto info =
        readReleaseDocument(releaseDocument("{'platforms': [{'name': 'windows'" + member + "}]}"), u"windows"_s);
    QVERIFY(info.has_value());
    QTEST(info->fileSize, "fileSize");
}

void TestUpdateDocuments::reportStartsEmpty()
{
    const UpdateReport report;
    QVERIFY(!report.hasUpdate);
    QVERIFY(!report.forceUpdate);
    QCOMPARE(report.currentVersion.toString(), u"0.0.0"_s);
    QCOMPARE(report.latestVersion.toString(), u"0.0.0"_s);
    QCOMPARE(report.downloadUrl + report.size + report.updateLog + report.publishTime + report.hash + report.platform
                 + report.minSystemVersion,
             QString());
}

void TestUpdateDocuments::readsEveryFieldOfAReport()
{
    const UpdateReport report = parseUpdateReport(
        objectOf("{'hasUpdate': true, 'forceUpdate': false, 'latestVersion': '2.8.0', 'updateUrl': 'https://a.test/b',"
                 " 'updateSize': '12MB', 'checksumMD5': 'abc', 'minSystemVersion': '10', 'updateLog': ' new ',"
                 " 'publishTime': '2024/03/05'}"),
        u"2.7.1"_s, u"linux"_s);
    QVERIFY(report.hasUpdate);
    QVERIFY(!report.forceUpdate);
    QCOMPARE(report.currentVersion.toString(), u"2.7.1"_s);
    QCOMPARE(report.latestVersion.toString(), u"2.8.0"_s);
    QCOMPARE(report.downloadUrl, u"https://a.test/b"_s);
    QCOMPARE(report.size, u"12MB"_s);
    QCOMPARE(report.updateLog, u"new"_s);
    QCOMPARE(report.publishTime, u"2024-03-05 00:00"_s);
    QCOMPARE(report.hash, u"abc"_s);
    QCOMPARE(report.platform, u"linux"_s);
    QCOMPARE(report.minSystemVersion, u"10"_s);
}

void TestUpdateDocuments::readsEveryFieldOfAPackage()
{
    const UpdateReport report = parseUpdateReport(
        objectOf("{'packages': {'macos': {'downloadUrl': 'M', 'size': 'M', 'hash': 'M', 'minSystemVersion': 'M'},"
                 " 'windows': {'downloadUrl': 'U', 'size': '12MB', 'hash': 'H', 'minSystemVersion': '10'}},"
                 " 'updateUrl': 'F', 'updateSize': 'F', 'checksumMD5': 'F', 'minSystemVersion': 'F'}"),
        u"2.7.1"_s, u"windows"_s);
    QCOMPARE(report.downloadUrl, u"U"_s);
    QCOMPARE(report.size, u"12MB"_s);
    QCOMPARE(report.hash, u"H"_s);
    QCOMPARE(report.minSystemVersion, u"10"_s);
}

void TestUpdateDocuments::readsASizeAsTextOnly()
{
    const UpdateReport inPackages = parseUpdateReport(
        objectOf("{'packages': {'windows': {'downloadUrl': 'U', 'size': 12, 'hash': 'H'}}, 'updateSize': '5'}"),
        u"2.7.1"_s, u"windows"_s);
    QCOMPARE(inPackages.size, QString());
    QCOMPARE(inPackages.downloadUrl, u"U"_s);
    QCOMPARE(inPackages.hash, u"H"_s);
    const UpdateReport flat =
        parseUpdateReport(objectOf("{'updateUrl': 'U', 'updateSize': 12}"), u"2.7.1"_s, u"windows"_s);
    QCOMPARE(flat.size, QString());
    QCOMPARE(flat.downloadUrl, u"U"_s);
}

void TestUpdateDocuments::readsAnEmptyReport()
{
    const UpdateReport report = parseUpdateReport({}, u"2.7"_s, u"windows"_s);
    QVERIFY(!report.hasUpdate);
    QVERIFY(!report.forceUpdate);
    QCOMPARE(report.currentVersion.toString(), u"0.0.0"_s);
    QCOMPARE(report.latestVersion.toString(), u"0.0.0"_s);
    QCOMPARE(report.downloadUrl + report.size + report.hash + report.minSystemVersion + report.publishTime, QString());
    QCOMPARE(report.updateLog, u"暂无更新说明"_s);
    QCOMPARE(report.platform, u"windows"_s);
}

void TestUpdateDocuments::readsReportTypes_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::newRow("number") << QByteArray("1");
    QTest::newRow("null") << QByteArray("null");
    QTest::newRow("array") << QByteArray("['x']");
    QTest::newRow("object") << QByteArray("{'x': 'y'}");
    QTest::newRow("boolean") << QByteArray("false");
}

void TestUpdateDocuments::readsReportTypes()
{
    QFETCH(QByteArray, value);
    const UpdateReport report =
        parseUpdateReport(objectOf("{'hasUpdate': " + value + ", 'forceUpdate': " + value + ", 'latestVersion': "
                                   + value + ", 'packages': " + value + ", 'updateUrl': " + value + ", 'updateSize': "
                                   + value + ", 'checksumMD5': " + value + ", 'minSystemVersion': " + value
                                   + ", 'updateLog': " + value + ", 'publishTime': " + value + "}"),
                          u"2.7.1"_s, u"windows"_s);
    QVERIFY(!report.hasUpdate);
    QVERIFY(!report.forceUpdate);
    QCOMPARE(report.latestVersion.toString(), u"0.0.0"_s);
    QCOMPARE(report.downloadUrl, QString());
    QCOMPARE(report.size, QString());
    QCOMPARE(report.hash, QString());
    QCOMPARE(report.minSystemVersion, QString());
    QCOMPARE(report.updateLog, u"暂无更新说明"_s);
    QCOMPARE(report.publishTime, QString());
}

void TestUpdateDocuments::correctsTheFlags_data()
{
    QTest::addColumn<QByteArray>("members");
    QTest::addColumn<bool>("hasUpdate");
    QTest::addColumn<bool>("forceUpdate");
    QTest::newRow("patch step, forced") << QByteArray(
        "'hasUpdate': true, 'forceUpdate': true, 'latestVersion': '2.7.2'")
                                        << true << false;
    QTest::newRow("minor step, forced") << QByteArray(
        "'hasUpdate': true, 'forceUpdate': true, 'latestVersion': '2.8.0'")
                                        << true << false;
    QTest::newRow("major step, not forced")
        << QByteArray("'hasUpdate': true, 'forceUpdate': false, 'latestVersion': '3.0.0'") << true << true;
    QTest::newRow("equal, forced") << QByteArray("'hasUpdate': true, 'forceUpdate': true, 'latestVersion': '2.7.1'")
                                   << false << true;
    QTest::newRow("equal") << QByteArray("'hasUpdate': true, 'latestVersion': '2.7.1'") << false << false;
    QTest::newRow("older") << QByteArray("'hasUpdate': true, 'latestVersion': '2.6.9'") << false << false;
    QTest::newRow("older major, forced") << QByteArray(
        "'hasUpdate': true, 'forceUpdate': true, 'latestVersion': '1.9.9'")
                                         << false << true;
    QTest::newRow("no version") << QByteArray("'hasUpdate': true") << true << false;
    QTest::newRow("no version, forced") << QByteArray("'hasUpdate': true, 'forceUpdate': true") << true << true;
    QTest::newRow("unreadable version") << QByteArray("'hasUpdate': true, 'latestVersion': 'v3.0.0'") << true << false;
    QTest::newRow("no update, newer version")
        << QByteArray("'hasUpdate': false, 'forceUpdate': true, 'latestVersion': '2.7.2'") << false << true;
    QTest::newRow("no update, newer major")
        << QByteArray("'hasUpdate': false, 'latestVersion': '3.0.0'") << false << false;
}

void TestUpdateDocuments::correctsTheFlags()
{
    QFETCH(QByteArray, members);
    const UpdateReport report = parseUpdateReport(objectOf("{" + members + "}"), u"2.7.1"_s, u"windows"_s);
    QTEST(report.hasUpdate, "hasUpdate");
    QTEST(report.forceUpdate, "forceUpdate");
}

void TestUpdateDocuments::selectsThePackage_data()
{
    QTest::addColumn<QByteArray>("report");
    QTest::addColumn<QByteArray>("package");
    QTest::newRow("entry of the platform") << QByteArray("{'packages': {'macos': {'size': '1'}, 'windows':"
                                                         " {'size': '2', 'extra': true}}, 'updateSize': '3'}")
                                           << QByteArray("{'size': '2', 'extra': true}");
    QTest::newRow("entry is empty") << QByteArray("{'packages': {'windows': {}}, 'updateSize': '3'}")
                                    << QByteArray("{}");
    QTest::newRow("entry is no object") << QByteArray("{'packages': {'windows': 'x'}, 'updateSize': '3'}")
                                        << QByteArray("{}");
    QTest::newRow("other platforms only")
        << QByteArray("{'packages': {'Windows': {'size': '1'}}, 'updateSize': '3'}") << QByteArray("{'size': '3'}");
    QTest::newRow("packages is no object")
        << QByteArray("{'packages': ['windows'], 'updateSize': '3'}") << QByteArray("{'size': '3'}");
    QTest::newRow("all flat keys") << QByteArray("{'updateUrl': 'u', 'updateSize': 's', 'checksumMD5': 'c',"
                                                 " 'minSystemVersion': 'm', 'updateLog': 'l'}")
                                   << QByteArray("{'downloadUrl': 'u', 'size': 's', 'hash': 'c',"
                                                 " 'minSystemVersion': 'm'}");
    QTest::newRow("flat keys keep their types")
        << QByteArray("{'updateUrl': null, 'updateSize': 5}") << QByteArray("{'downloadUrl': null, 'size': 5}");
    QTest::newRow("package keys at the root")
        << QByteArray("{'downloadUrl': 'u', 'size': 's', 'hash': 'c'}") << QByteArray("{}");
    QTest::newRow("nothing") << QByteArray("{}") << QByteArray("{}");
}

void TestUpdateDocuments::selectsThePackage()
{
    QFETCH(QByteArray, report);
    QFETCH(QByteArray, package);
    QCOMPARE(selectPackage(objectOf(report), u"windows"_s), objectOf(package));
}

void TestUpdateDocuments::keepsPackageFieldsEmptyForAnEmptyPackage()
{
    const UpdateReport report = parseUpdateReport(
        objectOf("{'packages': {'windows': {}}, 'updateUrl': 'u', 'updateSize': 's', 'checksumMD5': 'c',"
                 " 'minSystemVersion': 'm'}"),
        u"2.7.1"_s, u"windows"_s);
    QCOMPARE(report.downloadUrl, QString());
    QCOMPARE(report.size, QString());
    QCOMPARE(report.hash, QString());
    QCOMPARE(report.minSystemVersion, QString());
}

void TestUpdateDocuments::recognisesTheLatestVersion_data()
{
    QTest::addColumn<QString>("latest");
    QTest::addColumn<QString>("version");
    QTest::addColumn<bool>("same");
    QTest::newRow("equal") << u"2.8.0"_s << u"2.8.0"_s << true;
    QTest::newRow("equal but for zeros") << u"2.8.0"_s << u"2.08.00"_s << true;
    QTest::newRow("other major") << u"2.8.0"_s << u"3.8.0"_s << false;
    QTest::newRow("other minor") << u"2.8.0"_s << u"2.7.0"_s << false;
    QTest::newRow("other patch") << u"2.8.0"_s << u"2.8.1"_s << false;
    QTest::newRow("two numbers") << u"2.8.0"_s << u"2.8"_s << false;
    QTest::newRow("empty against none") << QString() << QString() << false;
    QTest::newRow("unreadable against none") << QString() << u"next"_s << true;
}

void TestUpdateDocuments::recognisesTheLatestVersion()
{
    QFETCH(QString, latest);
    QFETCH(QString, version);
    UpdateReport report;
    report.latestVersion = UpdateVersion::fromString(latest);
    QTEST(report.isLatestVersion(version), "same");
}

void TestUpdateDocuments::cutsReleaseNotes_data()
{
    QTest::addColumn<QString>("notes");
    QTest::addColumn<QString>("shown");
    QTest::newRow("empty") << QString() << u"暂无更新说明"_s;
    QTest::newRow("blanks") << u" \n\t "_s << QString();
    QTest::newRow("short") << u"one"_s << u"one"_s;
    QTest::newRow("blanks around") << u"\n one \n two \n"_s << u"one \n two"_s;
    QTest::newRow("500") << QString(500, u'字') << QString(500, u'字');
    QTest::newRow("501") << QString(501, u'字') << QString(500, u'字') + u"..."_s;
    QTest::newRow("501 with blanks") << QString(499, u'a') + u"  "_s << QString(499, u'a');
}

void TestUpdateDocuments::cutsReleaseNotes()
{
    QFETCH(QString, notes);
    QTEST(formatReleaseNotes(notes), "shown");
}

void TestUpdateDocuments::namesPackages_data()
{
    QTest::addColumn<QString>("platform");
    QTest::addColumn<QString>("name");
    QTest::newRow("windows") << u"windows"_s << u"Quillmarch_v2.7.1_Windows.zip"_s;
    QTest::newRow("macos") << u"macos"_s << u"Quillmarch_v2.7.1_macOS.dmg"_s;
    QTest::newRow("linux") << u"linux"_s << u"Quillmarch_v2.7.1_macOS.zip"_s;
    QTest::newRow("Windows") << u"Windows"_s << u"Quillmarch_v2.7.1_macOS.zip"_s;
    QTest::newRow("empty") << QString() << u"Quillmarch_v2.7.1_macOS.zip"_s;
}

void TestUpdateDocuments::namesPackages()
{
    QFETCH(QString, platform);
    QTEST(packageFileName(UpdateVersion::fromString(u"2.7.1"_s), platform), "name");
}

void TestUpdateDocuments::joinsPackageAddresses_data()
{
    QTest::addColumn<QString>("base");
    QTest::addColumn<QString>("url");
    QTest::newRow("no slash") << u"https://a.test/p"_s << u"https://a.test/p/Quillmarch_v2.7.1_Windows.zip"_s;
    QTest::newRow("slash") << u"https://a.test/p/"_s << u"https://a.test/p/Quillmarch_v2.7.1_Windows.zip"_s;
    QTest::newRow("two slashes") << u"https://a.test//"_s << u"https://a.test//Quillmarch_v2.7.1_Windows.zip"_s;
    QTest::newRow("empty") << QString() << u"/Quillmarch_v2.7.1_Windows.zip"_s;
}

void TestUpdateDocuments::joinsPackageAddresses()
{
    QFETCH(QString, base);
    QTEST(packageUrl(base, UpdateVersion::fromString(u"2.7.1"_s), u"windows"_s), "url");
}

void TestUpdateDocuments::choosesTheReleaseDocumentByLanguage_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<QString>("path");
    QTest::newRow("zh") << u"zh"_s << u"/updates/update-config-zh.json"_s;
    QTest::newRow("en") << u"en"_s << u"/updates/update-config-en.json"_s;
    QTest::newRow("ZH") << u"ZH"_s << u"/updates/update-config-en.json"_s;
    QTest::newRow("fr") << u"fr"_s << u"/updates/update-config-en.json"_s;
    QTest::newRow("empty") << QString() << u"/updates/update-config-en.json"_s;
}

void TestUpdateDocuments::choosesTheReleaseDocumentByLanguage()
{
    QFETCH(QString, language);
    QFETCH(QString, path);
    QCOMPARE(releaseDocumentUrl(language), updateDocumentHost.toString() + path);
}

void TestUpdateDocuments::knowsTheFixedAddresses()
{
    QCOMPARE(checkEndpoint(), serviceHost.toString() + u"/api/update/check"_s);
    QCOMPARE(fallbackPackageName(u"3.0.0"_s), u"Quillmarch_v3.0.0_macOS.dmg"_s);
    QCOMPARE(fallbackPackageUrl(u"3.0.0"_s),
             packageHost.toString() + u"/updates/quillmarch/Quillmarch_v3.0.0_macOS.dmg"_s);
}

QUILLMARCH_TEST_MAIN(TestUpdateDocuments)
#include "tst_updatedocuments.moc"
