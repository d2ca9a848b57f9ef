#include "app/settings.h"
#include "support/testmain.h"

#include <QFile>
#include <QTemporaryDir>
#include <QWidget>

using namespace Qt::StringLiterals;

namespace {

/// Records at each paint event whether a file exists.
class FileWatchingWidget : public QWidget
{
public:
    QString file;
    QList<bool> existed;

protected:
    void paintEvent(QPaintEvent *) override { existed.append(QFile::exists(file)); }
};

} // namespace

class TestSettings : public QObject
{
    Q_OBJECT

private slots:
    void refusesEmptyNames_data();
    void refusesEmptyNames();
    void readsAbsentKeyAsEmpty();
    void overwritesThePresetValue();
    void readsBackInTheSameRun();
    void writesOneSectionOnReturnToTheEventLoop();
    void writesWhenEverythingIsPainted();
    void isNextToTheExecutable();
    void rememberedFolderStartsAtTheExecutable();
    void remembersTheFolderOfAPath_data();
    void remembersTheFolderOfAPath();
};

void TestSettings::refusesEmptyNames_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("key");
    QTest::newRow("no file") << QString() << u"language"_s;
    QTest::newRow("no key") << u"some.ini"_s << QString();
    QTest::newRow("neither") << QString() << QString();
}

void TestSettings::refusesEmptyNames()
{
    QFETCH(QString, file);
    QFETCH(QString, key);
    QString value = u"preset"_s;
    QVERIFY(!readConfigValue(file, key, value));
    QCOMPARE(value, QString());
    QVERIFY(!writeConfigValue(file, key, u"text"_s));
    QCoreApplication::processEvents();
    QVERIFY(!QFile::exists(u"some.ini"_s));
}

void TestSettings::readsAbsentKeyAsEmpty()
{
    QString value = u"preset"_s;
    QVERIFY(readConfigValue(u"nowhere/absent.ini"_s, u"language"_s, value));
    QCOMPARE(value, QString());
}

void TestSettings::overwritesThePresetValue()
{
    QTemporaryDir dir;
    const QString file = dir.filePath(u"user.ini"_s);
    QFile ini(file);
    QVERIFY(ini.open(QIODevice::WriteOnly));
    ini.write("[config]\nlanguage=en\nautopage=\n[other]\nmarginsc=5\n");
    ini.close();

    QString value = u"preset"_s;
    QVERIFY(readConfigValue(file, u"language"_s, value));
    QCOMPARE(value, u"en"_s);
    QVERIFY(readConfigValue(file, u"autopage"_s, value));
    QCOMPARE(value, QString());
    QVERIFY(readConfigValue(file, u"marginsc"_s, value));
    QCOMPARE(value, QString());
}

void TestSettings::readsBackInTheSameRun()
{
    QTemporaryDir dir;
    const QString file = dir.filePath(u"user.ini"_s);
    QString value;
    for (const QString &path : {u"/first"_s, u"/second, with a comma"_s, u"/第三"_s}) {
        QVERIFY(writeConfigValue(file, u"imagedir"_s, path));
        QVERIFY(readConfigValue(file, u"imagedir"_s, value));
        QCOMPARE(value, path);
    }
}

void TestSettings::writesOneSectionOnReturnToTheEventLoop()
{
    QTemporaryDir dir;
    const QString file = dir.filePath(u"user.ini"_s);
    QVERIFY(writeConfigValue(file, u"marginsc"_s, u"15"_s));
    QVERIFY(!QFile::exists(file));
    QTRY_VERIFY(QFile::exists(file));
    QFile ini(file);
    QVERIFY(ini.open(QIODevice::ReadOnly));
    QCOMPARE(ini.readAll(), QByteArray("[config]\nmarginsc=15\n"));
}

void TestSettings::writesWhenEverythingIsPainted()
{
    const QTemporaryDir dir;
    FileWatchingWidget widget;
    widget.file = dir.filePath(u"user.ini"_s);
    widget.show();
    QVERIFY(QTest::qWaitForWindowExposed(&widget));
    QCoreApplication::processEvents();
    widget.existed.clear();

    QVERIFY(writeConfigValue(widget.file, u"marginsc"_s, u"15"_s));
    widget.update();
    QCoreApplication::processEvents();
    QCOMPARE(widget.existed, QList<bool>{false});
    QVERIFY(QFile::exists(widget.file));
}

void TestSettings::isNextToTheExecutable()
{
    QCOMPARE(executableFolder(), QCoreApplication::applicationDirPath());
    QCOMPARE(configFilePath(), QCoreApplication::applicationDirPath() + u"/user.ini"_s);
}

void TestSettings::rememberedFolderStartsAtTheExecutable()
{
    QCOMPARE(rememberedFolder(u"unusedFolder"_s), executableFolder());
    QVERIFY(writeConfigValue(configFilePath(), u"unusedFolder"_s, QString()));
    QCOMPARE(rememberedFolder(u"unusedFolder"_s), executableFolder());
}

void TestSettings::remembersTheFolderOfAPath_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("folder");
    const QString before = u"/set/before"_s;
    QTest::newRow("/a/b.png") << u"/a/b.png"_s << u"/a"_s;
    QTest::newRow("/a/b c/图.png") << u"/a/b c/图.png"_s << u"/a/b c"_s;
    QTest::newRow("C:/b.png") << u"C:/b.png"_s << u"C:"_s;
    QTest::newRow("a/b.png") << u"a/b.png"_s << u"a"_s;
    QTest::newRow("/a/") << u"/a/"_s << u"/a"_s;
    QTest::newRow("/b.png") << u"/b.png"_s << before;
    QTest::newRow("b.png") << u"b.png"_s << before;
    QTest::newRow("nothing") << QString() << before;
}

void TestSettings::remembersTheFolderOfAPath()
{
    QFETCH(QString, path);
    QFETCH(QString, folder);
    QVERIFY(writeConfigValue(configFilePath(), u"someFolder"_s, u"/set/before"_s));
    rememberFolderOf(path, u"someFolder"_s);
    QCOMPARE(rememberedFolder(u"someFolder"_s), folder);
}

QUILLMARCH_TEST_MAIN(TestSettings)
#include "tst_settings.moc"
