#include "support/testmain.h"
#include "update/updatevocabulary.h"

using namespace Qt::StringLiterals;

class TestUpdateVocabulary : public QObject
{
    Q_OBJECT

private slots:
    void startsAtZero();
    void readsThreeNumbers_data();
    void readsThreeNumbers();
    void writesWithoutLeadingZeros();
    void ordersVersions_data();
    void ordersVersions();
    void namesPlatforms_data();
    void namesPlatforms();
    void namesThePlatformOfTheBuild();
    void formatsSizes_data();
    void formatsSizes();
    void formatsPublishTimes_data();
    void formatsPublishTimes();
};

void TestUpdateVocabulary::startsAtZero()
{
    const UpdateVersion version;
    QCOMPARE(version.major, 0);
    QCOMPARE(version.minor, 0);
    QCOMPARE(version.patch, 0);
}

void TestUpdateVocabulary::readsThreeNumbers_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("major");
    QTest::addColumn<int>("minor");
    QTest::addColumn<int>("patch");
    QTest::newRow("2.7.1") << u"2.7.1"_s << 2 << 7 << 1;
    QTest::newRow("02.007.0001") << u"02.007.0001"_s << 2 << 7 << 1;
    QTest::newRow("largest patch") << u"2.7.2147483647"_s << 2 << 7 << 2147483647;
    QTest::newRow("patch past 32 bits") << u"2.7.2147483648"_s << 2 << 7 << 0;
    QTest::newRow("2.7.99999999999") << u"2.7.99999999999"_s << 2 << 7 << 0;
    QTest::newRow("major past 32 bits") << u"4294967297.7.1"_s << 0 << 7 << 1;
    QTest::newRow("minor past 32 bits") << u"2.99999999999.1"_s << 2 << 0 << 1;
    QTest::newRow("trailing line feed") << u"2.7.1\n"_s << 2 << 7 << 1; // $ also matches before a trailing line feed
    QTest::newRow("empty") << QString() << 0 << 0 << 0;
    QTest::newRow("2.7") << u"2.7"_s << 0 << 0 << 0;
    QTest::newRow("v2.7.1") << u"v2.7.1"_s << 0 << 0 << 0;
    QTest::newRow("trailing space") << u"2.7.1 "_s << 0 << 0 << 0;
    QTest::newRow("leading space") << u" 2.7.1"_s << 0 << 0 << 0;
    QTest::newRow("2.7.1.4") << u"2.7.1.4"_s << 0 << 0 << 0;
    QTest::newRow("2.7.1-beta") << u"2.7.1-beta"_s << 0 << 0 << 0;
    QTest::newRow("-2.7.1") << u"-2.7.1"_s << 0 << 0 << 0;
    QTest::newRow("2..1") << u"2..1"_s << 0 << 0 << 0;
    QTest::newRow("second line") << u"x\n2.7.1"_s << 0 << 0 << 0;
    QTest::newRow("Arabic digits") << u"٢.٧.١"_s << 0 << 0 << 0;
}

void TestUpdateVocabulary::readsThreeNumbers()
{
    QFETCH(QString, text);
    const UpdateVersion version = UpdateVersion::fromString(text);
    QTEST(version.major, "major");
    QTEST(version.minor, "minor");
    QTEST(version.patch, "patch");
}

void TestUpdateVocabulary::writesWithoutLeadingZeros()
{
    const UpdateVersion version = UpdateVersion::fromString(u"02.007.0010"_s);
    QCOMPARE(version.toString(), u"2.7.10"_s);
    QCOMPARE(version.toDisplayString(), u"v2.7.10"_s);
    QCOMPARE(UpdateVersion().toString(), u"0.0.0"_s);
    QCOMPARE(UpdateVersion().toDisplayString(), u"v0.0.0"_s);
}

void TestUpdateVocabulary::ordersVersions_data()
{
    QTest::addColumn<QString>("reference");
    QTest::addColumn<QString>("candidate");
    QTest::addColumn<bool>("newer");
    QTest::newRow("equal") << u"2.7.1"_s << u"2.7.1"_s << false;
    QTest::newRow("equal but for zeros") << u"2.7.1"_s << u"2.07.1"_s << false;
    QTest::newRow("patch above") << u"2.7.1"_s << u"2.7.2"_s << true;
    QTest::newRow("patch below") << u"2.7.1"_s << u"2.7.0"_s << false;
    QTest::newRow("patch compared as a number") << u"2.7.9"_s << u"2.7.10"_s << true;
    QTest::newRow("minor above, patch below") << u"2.7.1"_s << u"2.8.0"_s << true;
    QTest::newRow("minor below, patch above") << u"2.7.1"_s << u"2.6.9"_s << false;
    QTest::newRow("major above, rest below") << u"2.7.1"_s << u"3.0.0"_s << true;
    QTest::newRow("major below, rest above") << u"2.7.1"_s << u"1.9.9"_s << false;
    QTest::newRow("unreadable reference") << u"next"_s << u"0.0.1"_s << true;
    QTest::newRow("unreadable candidate") << u"0.0.1"_s << u"next"_s << false;
    QTest::newRow("both unreadable") << u"last"_s << u"next"_s << false;
    QTest::newRow("unreadable against 0.0.0") << u"last"_s << u"0.0.0"_s << false;
    QTest::newRow("two numbers") << u"2.7.1"_s << u"2.8"_s << false;
}

void TestUpdateVocabulary::ordersVersions()
{
    QFETCH(QString, reference);
    QFETCH(QString, candidate);
    QTEST(isVersionNewer(reference, candidate), "newer");
}

void TestUpdateVocabulary::namesPlatforms_data()
{
    QTest::addColumn<QString>("identifier");
    QTest::addColumn<QString>("name");
    QTest::newRow("windows") << u"windows"_s << u"Windows"_s;
    QTest::newRow("macos") << u"macos"_s << u"macOS"_s;
    QTest::newRow("linux") << u"linux"_s << u"Linux"_s;
    QTest::newRow("Windows") << u"Windows"_s << u"未知平台"_s;
    QTest::newRow("haiku") << u"haiku"_s << u"未知平台"_s;
    QTest::newRow("empty") << QString() << u"未知平台"_s;
}

void TestUpdateVocabulary::namesPlatforms()
{
    QFETCH(QString, identifier);
    QTEST(platformDisplayName(identifier), "name");
}

void TestUpdateVocabulary::namesThePlatformOfTheBuild()
{
    QCOMPARE(platformDisplayName(), u"Windows"_s);
}

void TestUpdateVocabulary::formatsSizes_data()
{
    QTest::addColumn<QString>("size");
    QTest::addColumn<QString>("shown");
    QTest::newRow("12MB") << u"12MB"_s << u"12MB"_s;
    QTest::newRow("1.5 GB") << u"1.5 GB"_s << u"1.5 GB"_s;
    QTest::newRow("7KB") << u"7KB"_s << u"7KB"_s;
    QTest::newRow("MB inside a word") << u"COMBO"_s << u"COMBO"_s;
    QTest::newRow("12mb") << u"12mb"_s << u"12mb"_s;
    QTest::newRow("1024B") << u"1024B"_s << u"1024B"_s;
    QTest::newRow("large") << u"large"_s << u"large"_s;
    QTest::newRow("empty") << QString() << QString();
    QTest::newRow("0") << u"0"_s << u"0B"_s;
    QTest::newRow("1") << u"1"_s << u"1B"_s;
    QTest::newRow("-5") << u"-5"_s << u"-5B"_s;
    QTest::newRow("-4096") << u"-4096"_s << u"-4096B"_s;
    QTest::newRow("0.00001") << u"0.00001"_s << u"1e-05B"_s;
    QTest::newRow("1023") << u"1023"_s << u"1023B"_s;
    QTest::newRow("1023.5") << u"1023.5"_s << u"1023.5B"_s;
    QTest::newRow("1023.9999") << u"1023.9999"_s << u"1024B"_s; // rounded to six digits
    QTest::newRow("1024") << u"1024"_s << u"1.0KB"_s;
    QTest::newRow("1536") << u"1536"_s << u"1.5KB"_s;
    QTest::newRow("1048575") << u"1048575"_s << u"1024.0KB"_s;
    QTest::newRow("1048576") << u"1048576"_s << u"1.0MB"_s;
    QTest::newRow("15728640") << u"15728640"_s << u"15.0MB"_s;
    QTest::newRow("1073741823") << u"1073741823"_s << u"1024.0MB"_s;
    QTest::newRow("1073741824") << u"1073741824"_s << u"1.0GB"_s;
    QTest::newRow("2684354560") << u"2684354560"_s << u"2.5GB"_s;
    QTest::newRow("1e9") << u"1e9"_s << u"953.7MB"_s;
}

void TestUpdateVocabulary::formatsSizes()
{
    QFETCH(QString, size);
    QTEST(formatSizeText(size), "shown");
}

void TestUpdateVocabulary::formatsPublishTimes_data()
{
    QTest::addColumn<QString>("time");
    QTest::addColumn<QString>("shown");
    QTest::newRow("empty") << QString() << QString();
    QTest::newRow("ISO") << u"2024-03-05T14:07:59"_s << u"2024-03-05 14:07"_s;
    QTest::newRow("ISO in UTC") << u"2024-03-05T23:30:00Z"_s << u"2024-03-05 23:30"_s;
    QTest::newRow("ISO with offset") << u"2024-03-05T23:30:00+08:00"_s << u"2024-03-05 23:30"_s;
    QTest::newRow("2024-03-05") << u"2024-03-05"_s << u"2024-03-05 00:00"_s;
    QTest::newRow("2024-03-05 14:07:59") << u"2024-03-05 14:07:59"_s << u"2024-03-05 14:07"_s;
    QTest::newRow("2024/03/05 14:07:59") << u"2024/03/05 14:07:59"_s << u"2024-03-05 14:07"_s;
    QTest::newRow("2024/03/05") << u"2024/03/05"_s << u"2024-03-05 00:00"_s;
    QTest::newRow("2024/3/5") << u"2024/3/5"_s << u"2024/3/5"_s;
    QTest::newRow("no such day") << u"2024-02-30"_s << u"2024-02-30"_s;
    QTest::newRow("next week") << u"next week"_s << u"next week"_s;
    QTest::newRow("05.03.2024") << u"05.03.2024"_s << u"05.03.2024"_s;
    QTest::newRow("space") << u" "_s << u" "_s;
}

void TestUpdateVocabulary::formatsPublishTimes()
{
    QFETCH(QString, time);
    QTEST(formatPublishTime(time), "shown");
}

QUILLMARCH_TEST_MAIN(TestUpdateVocabulary)
#include "tst_updatevocabulary.moc"
