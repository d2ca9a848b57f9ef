#include "downloaddialogview.h"
#include "support/openedurls.h"
#include "support/pictures.h"
#include "support/testmain.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

namespace {

const QColor blue(0x00, 0x7a, 0xff);
const QColor gray(0xf0, 0xf0, 0xf0);

/// Writes a package into \a dir and returns its path.
QString savedPackage(const QTemporaryDir &dir, const QByteArray &contents)
{
    return savedBytes(contents, dir.filePath(u"package.zip"_s));
}

/// The color of a button next to its text.
QColor fillOf(QPushButton *button)
{
    return button->grab().toImage().pixelColor(12, 18);
}

} // namespace

class TestDownloadDialogOutcome : public QObject
{
    Q_OBJECT

private slots:
    void verifiesChecksums_data();
    void verifiesChecksums();
    void verifiesLongFiles_data();
    void verifiesLongFiles();
    void finishes_data();
    void finishes();
    void closeButtonFollowsEachFile();
    void finishesWithoutAChecksum();
    void downloadsAgainAfterAnInvalidChecksum();
    void failsAndRetries();
    void repeatedErrorChangesNothing();
    void failsWhenForced();

    void closesFromEachState_data();
    void closesFromEachState();
    void installsThePackage();
    void installsNothingWithoutAPath();
    void updateSlotOpensThePackage();
    void opensTheFolder();
};

void TestDownloadDialogOutcome::verifiesChecksums_data()
{
    QTest::addColumn<QByteArray>("contents");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<bool>("valid");
    QTest::newRow("lower case") << QByteArray("abc") << u"900150983cd24fb0d6963f7d28e17f72"_s << true;
    QTest::newRow("upper case") << QByteArray("abc") << u"900150983CD24FB0D6963F7D28E17F72"_s << true;
    QTest::newRow("mixed case") << QByteArray("abc") << u"900150983Cd24Fb0D6963f7d28e17f72"_s << true;
    QTest::newRow("empty file") << QByteArray() << u"d41d8cd98f00b204e9800998ecf8427e"_s << true;
    QTest::newRow("other file") << QByteArray("abd") << u"900150983cd24fb0d6963f7d28e17f72"_s << false;
    QTest::newRow("trailing space") << QByteArray("abc") << u"900150983cd24fb0d6963f7d28e17f72 "_s << false;
    QTest::newRow("first half") << QByteArray("abc") << u"900150983cd24fb0"_s << false;
    QTest::newRow("no checksum") << QByteArray("abc") << QString() << true;
}

void TestDownloadDialogOutcome::verifiesChecksums()
{
    QFETCH(QByteArray, contents);
    QFETCH(QString, expected);
    const QTemporaryDir dir;
    const DownloadUpdateDialog dialog(someRequest(), nullptr);
    QTEST(dialog.verifyChecksum(savedPackage(dir, contents), expected), "valid");
    const QString missing = dir.filePath(u"missing"_s);
    QCOMPARE(dialog.verifyChecksum(missing, expected), expected.isEmpty()); // which is not even read
    QCOMPARE(dialog.verifyChecksum(dir.path(), expected), expected.isEmpty());
}

void TestDownloadDialogOutcome::verifiesLongFiles_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<QString>("checksum"); // from the md5sum command
    QTest::newRow("8191") << 8191 << u"8d1c0b25f7c566bf9d517c304ead2562"_s;
    QTest::newRow("8192") << 8192 << u"2b632128d20055d0bd434db7d023024f"_s;
    QTest::newRow("8193") << 8193 << u"0c456b58641114a95715e1b3ff980324"_s;
    QTest::newRow("100000") << 100000 << u"6126d7345db69dd7335fc154e24ca462"_s;
}

void TestDownloadDialogOutcome::verifiesLongFiles()
{
    QFETCH(int, size);
    QFETCH(QString, checksum);
    const QTemporaryDir dir;
    const DownloadUpdateDialog dialog(someRequest(), nullptr);
    QVERIFY(dialog.verifyChecksum(savedPackage(dir, QByteArray(size, 'q')), checksum));
    QVERIFY(!dialog.verifyChecksum(savedPackage(dir, QByteArray(size - 1, 'q') + 'r'), checksum));
}

void TestDownloadDialogOutcome::finishes_data()
{
    QTest::addColumn<QByteArray>("contents");
    QTest::addColumn<QString>("status");
    QTest::addColumn<QString>("checksum");
    QTest::addColumn<QString>("checksumColor");
    QTest::addColumn<QString>("buttons");
    QTest::addColumn<QString>("updateText");
    QTest::addColumn<QString>("closeText");
    QTest::addColumn<QString>("closeName");
    QTest::addColumn<QColor>("closeFill");
    QTest::newRow("valid file") << QByteArray("abc") << u"下载完成，校验通过！"_s << u"MD5校验：通过 ✓"_s
                                << u"#28a745"_s << u"oc"_s << u"暂停"_s << u"安装更新"_s << u"primaryButton"_s << blue;
    QTest::newRow("invalid file") << QByteArray("abd") << u"下载完成，但校验失败！"_s << u"MD5校验：失败 ✗"_s
                                  << u"#dc3545"_s << u"uoc"_s << u"重新下载"_s << u"关闭"_s << QString() << gray;
}

void TestDownloadDialogOutcome::finishes()
{
    QFETCH(QByteArray, contents);
    QFETCH(QString, checksumColor);
    QFETCH(QString, closeName);
    const QTemporaryDir dir;
    const QString path = savedPackage(dir, contents);
    DownloadUpdateDialog dialog(someRequest(), nullptr);
    const DialogView view(dialog);
    dialog.show();
    view.update->click();
    dialog.onDownloadProgress(100, 3, 3);
    dialog.onDownloadFinished(path);
    QTEST(view.status->text(), "status");
    QTEST(view.checksum->text(), "checksum");
    QCOMPARE(view.checksum->styleSheet(),
             u"font-size: 13pt; color: %1; margin-bottom: 16px; font-family: monospace;"_s.arg(checksumColor));
    QCOMPARE(view.location->text(), u"文件位置："_s + path);
    QVERIFY(view.location->isVisible());
    QVERIFY(!view.speed->isVisible());
    QVERIFY(view.container->isVisible());
    QTEST(view.visibleButtons(), "buttons");
    QTEST(view.update->text(), "updateText");
    QTEST(view.close->text(), "closeText");
    QCOMPARE(view.close->objectName(), closeName);
    QCOMPARE(view.close->isDefault(), !closeName.isEmpty());
    QCOMPARE(view.update->isDefault(), closeName.isEmpty());
    QTEST(fillOf(view.close), "closeFill"); // the style for the object name is applied
    QVERIFY(QFile::exists(path));
}

void TestDownloadDialogOutcome::closeButtonFollowsEachFile()
{
    const QTemporaryDir dir;
    DownloadUpdateDialog dialog(someRequest(), nullptr);
    const DialogView view(dialog);
    dialog.show();
    dialog.onDownloadFinished(savedPackage(dir, "abd"));
    QCOMPARE(fillOf(view.close), gray);
    dialog.onDownloadFinished(savedPackage(dir, "abc"));
    QCOMPARE(fillOf(view.close), blue);
    dialog.onDownloadFinished(savedPackage(dir, "abd"));
    QCOMPARE(fillOf(view.close), gray);
    QCOMPARE(view.close->text(), u"关闭"_s);
}

void TestDownloadDialogOutcome::finishesWithoutAChecksum()
{
    DownloadRequestInfo request = someRequest();
    request.checksumMD5.clear();
    DownloadUpdateDialog dialog(request, nullptr);
    const DialogView view(dialog);
    dialog.onDownloadFinished(u"nowhere/missing.zip"_s);
    QCOMPARE(view.status->text(), u"下载完成，校验通过！"_s);
    QCOMPARE(view.checksum->text(), u"MD5校验：通过 ✓"_s);
}

void TestDownloadDialogOutcome::downloadsAgainAfterAnInvalidChecksum()
{
    const QTemporaryDir dir;
    const OpenedUrls opened({u"file"_s});
    DownloadUpdateDialog dialog(someRequest(), nullptr);
    const DialogView view(dialog);
    dialog.show();
    dialog.onDownloadFinished(savedPackage(dir, "abd"));
    QSignalSpy started(&dialog, &DownloadUpdateDialog::requestStartDownload);
    view.update->click();
    QCOMPARE(started.count(), 1);
    QCOMPARE(view.update->text(), u"暂停"_s);
    QCOMPARE(view.visibleButtons(), u"uc"_s);
    QVERIFY(view.location->isVisible()); // the previous outcome remains until the next one
    QCOMPARE(view.checksum->text(), u"MD5校验：失败 ✗"_s);
    dialog.openDownloadFolder(); // there is no file anymore
    QCOMPARE(opened.urls(), QList<QUrl>());
    dialog.onDownloadFinished(savedPackage(dir, "abc"));
    QCOMPARE(view.status->text(), u"下载完成，校验通过！"_s);
}

void TestDownloadDialogOutcome::failsAndRetries()
{
    DownloadUpdateDialog dialog(someRequest(), nullptr);
    const DialogView view(dialog);
    dialog.show();
    view.update->click();
    dialog.onDownloadProgress(30, 30, 100);
    dialog.onDownloadError(u"Host not found"_s);
    QCOMPARE(view.status->text(), u"下载失败：Host not found"_s);
    QCOMPARE(view.update->text(), u"重试"_s);
    QCOMPARE(view.visibleButtons(), u"uc"_s);
    QCOMPARE(view.close->text(), u"关闭"_s);
    QVERIFY(view.container->isVisible());
    QVERIFY(view.speed->isVisible());

    QSignalSpy started(&dialog, &DownloadUpdateDialog::requestStartDownload);
    view.update->click();
    QCOMPARE(started.count(), 1);
    QCOMPARE(view.update->text(), u"暂停"_s);
    QCOMPARE(view.bar->value(), 30);
    QCOMPARE(view.percent->text(), u"30%"_s);
    QCOMPARE(view.status->text(), u"下载失败：Host not found"_s);
    dialog.onDownloadProgress(1, 1, 100);
    QCOMPARE(view.bar->value(), 1);
    QCOMPARE(view.percent->text(), u"1%"_s);
    QCOMPARE(view.status->text(), u"正在下载... 1 B / 100 B"_s);
}

void TestDownloadDialogOutcome::repeatedErrorChangesNothing()
{
    DownloadUpdateDialog dialog(someRequest(), nullptr);
    dialog.show();
    dialog.onDownloadProgress(30, 30, 100);
    dialog.onDownloadError(u"Host not found"_s);
    const QStringList once = look(dialog);
    dialog.onDownloadError(u"Host not found"_s);
    QCOMPARE(look(dialog), once);
}

void TestDownloadDialogOutcome::failsWhenForced()
{
    DownloadUpdateDialog dialog(forcedRequest(), nullptr);
    const DialogView view(dialog);
    dialog.show();
    view.update->click();
    dialog.onDownloadError(u"x"_s);
    QCOMPARE(view.visibleButtons(), u"uc"_s);
}

void TestDownloadDialogOutcome::closesFromEachState_data()
{
    QTest::addColumn<QString>("state");
    QTest::newRow("waiting") << u"waiting"_s;
    QTest::newRow("downloading") << u"downloading"_s;
    QTest::newRow("failed") << u"failed"_s;
    QTest::newRow("finished with an invalid file") << u"invalid"_s;
}

void TestDownloadDialogOutcome::closesFromEachState()
{
    QFETCH(QString, state);
    const OpenedUrls opened({u"file"_s});
    DownloadUpdateDialog dialog(someRequest(), nullptr);
    const DialogView view(dialog);
    dialog.show();
    view.update->click();
    if (state != u"waiting"_s) {
        dialog.onDownloadProgress(1, 1, 100);
    }
    if (state == u"failed"_s) {
        dialog.onDownloadError(u"x"_s);
    } else if (state == u"invalid"_s) {
        dialog.onDownloadFinished(u"/nowhere/missing.zip"_s);
    }
    QSignalSpy rejected(&dialog, &QDialog::rejected);
    QCOMPARE(view.close->text(), u"关闭"_s);
    view.close->click();
    QCOMPARE(rejected.count(), 1);
    QVERIFY(!dialog.isVisible());
    QCOMPARE(opened.urls(), QList<QUrl>());
}

void TestDownloadDialogOutcome::installsThePackage()
{
    const QTemporaryDir dir;
    const QString path = savedPackage(dir, "abc");
    const OpenedUrls opened({u"file"_s});
    DownloadUpdateDialog dialog(someRequest(), nullptr);
    const DialogView view(dialog);
    dialog.show();
    dialog.onDownloadFinished(path);
    view.close->click();
    QCOMPARE(opened.urls(), QList<QUrl>({QUrl::fromLocalFile(path)}));
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QVERIFY(!dialog.isVisible());
}

void TestDownloadDialogOutcome::installsNothingWithoutAPath()
{
    const OpenedUrls opened({u"file"_s});
    DownloadRequestInfo request = someRequest();
    request.checksumMD5.clear();
    DownloadUpdateDialog dialog(request, nullptr);
    dialog.show();
    dialog.onDownloadFinished(QString());
    dialog.onCloseClicked();
    QCOMPARE(opened.urls(), QList<QUrl>());
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QVERIFY(!dialog.isVisible());
}

void TestDownloadDialogOutcome::updateSlotOpensThePackage()
{
    const QTemporaryDir dir;
    const QString path = savedPackage(dir, "abc");
    const OpenedUrls opened({u"file"_s});
    DownloadUpdateDialog dialog(someRequest(), nullptr);
    dialog.show();
    dialog.onDownloadFinished(path);
    QSignalSpy started(&dialog, &DownloadUpdateDialog::requestStartDownload);
    const QStringList before = look(dialog);
    dialog.onUpdateClicked();
    QCOMPARE(opened.urls(), QList<QUrl>({QUrl::fromLocalFile(path)}));
    QCOMPARE(started.count(), 0);
    QVERIFY(dialog.isVisible());
    QCOMPARE(look(dialog), before);
}

void TestDownloadDialogOutcome::opensTheFolder()
{
    const QTemporaryDir dir;
    const OpenedUrls opened({u"file"_s});
    DownloadUpdateDialog dialog(someRequest(), nullptr);
    const DialogView view(dialog);
    dialog.show();
    dialog.openDownloadFolder();
    QCOMPARE(opened.urls(), QList<QUrl>());
    dialog.onDownloadFinished(savedPackage(dir, "abc"));
    view.openFolder->click();
    QCOMPARE(opened.urls(), QList<QUrl>({QUrl::fromLocalFile(dir.path())}));
    QVERIFY(dialog.isVisible());
}

QUILLMARCH_TEST_MAIN(TestDownloadDialogOutcome)
#include "tst_downloaddialogoutcome.moc"
