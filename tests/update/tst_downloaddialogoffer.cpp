#include "downloaddialogview.h"
#include "redpicture.h"
#include "support/documents.h"
#include "support/testmain.h"
#include "update/downloaddialogsizes.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QScreen>
#include <QSettings>
#include <QSignalSpy>

#include <algorithm>

using namespace Qt::StringLiterals;

using TextOfRequest = QString DownloadRequestInfo::*;
Q_DECLARE_METATYPE(TextOfRequest)

class TestDownloadDialogOffer : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void followsTheScale_data();
    void followsTheScale();
    void hasUsualSizesWithoutAScreen();
    void followsTheScreen_data();
    void followsTheScreen();
    void followsOwnScreen();

    void offersTheVersion();
    void hasItsLayout();
    void hasItsStyles();
    void hasTheStyleOfTheDialog();
    void hidesButtonsOfAForcedUpdate();
    void shortensTheChecksum_data();
    void shortensTheChecksum();
    void shortensTheNotes_data();
    void shortensTheNotes();
    void showsAnUnknownSize();
    void showsHtmlOfAReportAsText_data();
    void showsHtmlOfAReportAsText();
    void placesNoRetryButton();

    void closesLater();
    void storesTheSkippedVersionInTheWorkingDirectory();
    void storesItWhereTheWorkingDirectoryIsNow();
};

void TestDownloadDialogOffer::init()
{
    QFile::remove(u"user.ini"_s);
}

void TestDownloadDialogOffer::followsTheScale_data()
{
    QTest::addColumn<double>("scale");
    QTest::addColumn<double>("pointSize");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<int>("margin");
    QTest::newRow("0.75") << 0.75 << 10.0 << QSize(480, 580) << 30;
    QTest::newRow("1.0") << 1.0 << 10.0 << QSize(480, 580) << 30;
    QTest::newRow("1.0625") << 1.0625 << 10.625 << QSize(510, 616) << 31;
    QTest::newRow("1.1") << 1.1 << 11.0 << QSize(528, 638) << 33;
    QTest::newRow("1.25") << 1.25 << 11.0 << QSize(600, 725) << 37;
    QTest::newRow("1.5") << 1.5 << 11.0 << QSize(720, 870) << 45;
    QTest::newRow("1.6") << 1.6 << 11.0 << QSize(768, 928) << 48;
    QTest::newRow("1.625") << 1.625 << 11.0 << QSize(768, 928) << 48;
    QTest::newRow("3.0") << 3.0 << 11.0 << QSize(768, 928) << 48;
}

void TestDownloadDialogOffer::followsTheScale()
{
    QFETCH(double, scale);
    QTEST(downloadDialogPointSize(scale), "pointSize");
    QTEST(downloadDialogSize(scale), "size");
    QTEST(downloadDialogMargin(scale), "margin");
}

void TestDownloadDialogOffer::hasUsualSizesWithoutAScreen()
{
    QCOMPARE(downloadDialogPointSize(std::nullopt), 10.0);
    QCOMPARE(downloadDialogSize(std::nullopt), QSize(480, 580));
    QCOMPARE(downloadDialogMargin(std::nullopt), 30);
}

void TestDownloadDialogOffer::followsTheScreen_data()
{
    QTest::addColumn<int>("dpi");
    QTest::newRow("72") << 72;
    QTest::newRow("96") << 96;
    QTest::newRow("102") << 102;
    QTest::newRow("120") << 120;
    QTest::newRow("144") << 144;
    QTest::newRow("192") << 192;
}

/// Runs followsOwnScreen() in a process of its own, as the density is fixed
/// when a process starts.
void TestDownloadDialogOffer::followsTheScreen()
{
    QFETCH(int, dpi);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"QT_ENABLE_HIGHDPI_SCALING"_s, u"0"_s); // otherwise the pixel ratio takes it up
    environment.insert(u"QT_FONT_DPI"_s, QString::number(dpi));
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(QCoreApplication::applicationFilePath(), {u"followsOwnScreen"_s});
    QVERIFY(process.waitForFinished());
    const QByteArray output = process.readAllStandardOutput();
    QVERIFY2(process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0, output.constData());
    QVERIFY2(output.contains("PASS   : TestDownloadDialogOffer::followsOwnScreen()"), output.constData());
}

void TestDownloadDialogOffer::followsOwnScreen()
{
    struct Row
    {
        double dpi;
        double pointSize;
        QSize size;
        int margin;
    };
    const QList<Row> rows{{72, 10.0, {480, 580}, 30},  {96, 10.0, {480, 580}, 30},  {102, 10.625, {510, 616}, 31},
                          {120, 11.0, {600, 725}, 37}, {144, 11.0, {720, 870}, 45}, {192, 11.0, {768, 928}, 48}};
    const double dpi = QGuiApplication::primaryScreen()->logicalDotsPerInchX();
    if (qEnvironmentVariableIsSet("QT_FONT_DPI")) {
        QCOMPARE(dpi, qEnvironmentVariable("QT_FONT_DPI").toDouble());
    }
    const auto row = std::find_if(rows.begin(), rows.end(), [dpi](const Row &each) { return each.dpi == dpi; });
    QVERIFY(row != rows.end());

    DownloadUpdateDialog dialog(someRequest(), nullptr);
    QCOMPARE(dialog.font().pointSizeF(), row->pointSize);
    QCOMPARE(dialog.minimumSize(), row->size);
    QCOMPARE(dialog.maximumSize(), row->size);
    QCOMPARE(dialog.layout()->contentsMargins(), QMargins(row->margin, row->margin, row->margin, row->margin));
    const QSize room = QGuiApplication::primaryScreen()->availableGeometry().size();
    QCOMPARE(dialog.pos(), QPoint((room.width() - row->size.width()) / 2, (room.height() - row->size.height()) / 2));
}

void TestDownloadDialogOffer::offersTheVersion()
{
    DownloadUpdateDialog dialog(someRequest(), nullptr);
    const DialogView view(dialog);
    dialog.show();
    QVERIFY(dialog.isModal());
    QCOMPARE(view.title->text(), u"发现新版本"_s);
    QCOMPARE(view.subtitle->text(), u"Quillmarch 3.0.0 现已可用！"_s);
    QCOMPARE(view.currentVersion->text(), u"当前版本：2.7.1"_s); // the build's, not the request's
    QCOMPARE(view.fileSize->text(), u"文件大小：12.3MB"_s);
    QCOMPARE(view.checksum->text(), u"MD5校验：90015098...28e17f72"_s);
    QCOMPARE(view.notesHeading->text(), u"更新内容："_s);
    QCOMPARE(view.notes->text(), u"更快\n更稳"_s);
    QCOMPARE(view.percent->text(), u"0%"_s);
    QCOMPARE(view.bar->value(), 0);
    QCOMPARE(view.status->text(), u"准备下载..."_s);
    QCOMPARE(view.speed->text(), QString());
    QCOMPARE(view.location->text(), QString());
    QCOMPARE(view.skip->text(), u"跳过此版本"_s);
    QCOMPARE(view.later->text(), u"稍后提醒"_s);
    QCOMPARE(view.update->text(), u"立即更新"_s);
    QCOMPARE(view.openFolder->text(), u"打开文件夹"_s);
    QCOMPARE(view.close->text(), u"关闭"_s);

    QVERIFY(!view.container->isVisible());
    QVERIFY(view.status->isVisible());
    QVERIFY(!view.speed->isVisible());
    QVERIFY(!view.location->isVisible());
    QCOMPARE(view.visibleButtons(), u"slu"_s);
    QVERIFY(view.update->isDefault());
    QVERIFY(!dialog.testAttribute(Qt::WA_TranslucentBackground));
    QVERIFY(!dialog.testAttribute(Qt::WA_NoSystemBackground));
}

void TestDownloadDialogOffer::hasItsLayout()
{
    DownloadUpdateDialog dialog(someRequest(), nullptr);
    const DialogView view(dialog);
    QCOMPARE(view.layout->count(), 11);
    QCOMPARE(view.layout->spacing(), 12);
    QCOMPARE(view.layout->itemAt(6)->widget(), view.scrollArea);

    QVERIFY(view.scrollArea->widgetResizable());
    QCOMPARE(view.scrollArea->horizontalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
    QCOMPARE(view.scrollArea->verticalScrollBarPolicy(), Qt::ScrollBarAsNeeded);
    QCOMPARE(view.scrollArea->frameShape(), QFrame::NoFrame);
    QCOMPARE(view.scrollArea->minimumHeight(), 100);
    QCOMPARE(view.scrollArea->maximumHeight(), 120);
    for (const QWidget *widget : {static_cast<QWidget *>(view.scrollArea), view.scrollArea->viewport()}) {
        QVERIFY(!widget->testAttribute(Qt::WA_OpaquePaintEvent));
        QVERIFY(widget->testAttribute(Qt::WA_NoSystemBackground));
    }
    QVERIFY(view.notes->wordWrap());
    QCOMPARE(view.notes->alignment(), Qt::AlignLeft | Qt::AlignTop);

    QCOMPARE(view.progressLayout->contentsMargins(), QMargins(0, 16, 0, 8));
    QCOMPARE(view.progressLayout->count(), 2);
    QCOMPARE(view.progressLayout->stretch(0), 1);
    QCOMPARE(view.progressLayout->stretch(1), 0);
    QCOMPARE(view.bar->minimumHeight(), 8);
    QCOMPARE(view.bar->maximumHeight(), 8);
    QVERIFY(!view.bar->isTextVisible());

    QCOMPARE(view.statusLayout->contentsMargins(), QMargins(0, 0, 0, 16));
    QCOMPARE(view.statusLayout->count(), 3);
    QVERIFY(view.statusLayout->itemAt(1)->spacerItem());
    QVERIFY(view.location->wordWrap());

    QCOMPARE(view.buttonLayout->spacing(), 12);
    QCOMPARE(view.buttonLayout->contentsMargins(), QMargins(0, 8, 0, 0));
    QCOMPARE(view.buttonLayout->count(), 7);
    QVERIFY(view.buttonLayout->itemAt(0)->spacerItem());
    QVERIFY(view.buttonLayout->itemAt(6)->spacerItem());
    const auto buttons = dialog.findChildren<QPushButton *>();
    QCOMPARE(buttons.size(), 6);
    for (const QPushButton *button : buttons) {
        QCOMPARE(button->size(), QSize(100, 36)); // until it is shown
        QCOMPARE(button->maximumSize(), QSize(100, 36));
        QCOMPARE(button->minimumHeight(), 36); // the width is raised by the style sheet
    }
    QCOMPARE(view.update->objectName(), u"primaryButton"_s);
    QCOMPARE(view.close->objectName(), QString());
}

void TestDownloadDialogOffer::hasItsStyles()
{
    DownloadUpdateDialog dialog(someRequest(), nullptr);
    const DialogView view(dialog);
    const QString line = u"font-size: 13pt; color: #48484a; margin-bottom: 4px;"_s;
    QCOMPARE(view.title->styleSheet(), u"font-size: 18pt; font-weight: 600; color: #1d1d1f; margin-bottom: 8px;"_s);
    QCOMPARE(view.subtitle->styleSheet(), u"font-size: 15pt; font-weight: 500; color: #1d1d1f; margin-bottom: 16px;"_s);
    QCOMPARE(view.currentVersion->styleSheet(), line);
    QCOMPARE(view.fileSize->styleSheet(), line);
    QCOMPARE(view.checksum->styleSheet(),
             u"font-size: 13pt; color: #48484a; margin-bottom: 16px; font-family: monospace;"_s);
    QCOMPARE(view.notesHeading->styleSheet(),
             u"font-size: 13pt; font-weight: 500; color: #1d1d1f; margin-bottom: 8px;"_s);
    QCOMPARE(view.notes->styleSheet(),
             u"font-size: 13pt; color: #48484a; background-color: transparent; padding: 12px;"_s);
    QCOMPARE(view.percent->styleSheet(), u"font-size: 13pt; color: #48484a;"_s);
    QCOMPARE(view.status->styleSheet(), u"font-size: 13pt; color: #48484a;"_s);
    QCOMPARE(view.speed->styleSheet(), u"font-size: 13pt; color: #8e8e93;"_s);
    QCOMPARE(view.location->styleSheet(), u"font-size: 12pt; color: #8e8e93;"_s);
    QCOMPARE(view.container->styleSheet(),
             u".QWidget { background-color: #f8f9fa; border-radius: 8px; "
             "border: 1px solid #e9ecef; padding: 12px; }"_s);
    QCOMPARE(view.bar->styleSheet().simplified(),
             u"QProgressBar { border: none; border-radius: 4px; background-color: #f5f5f5; } "
             "QProgressBar::chunk { border-radius: 4px; background-color: #007aff; }"_s);
    QCOMPARE(view.scrollArea->styleSheet().simplified(),
             u"QScrollArea { background-color: #f5f5f5; border-radius: 8px; border: 1px solid #e5e5e7; } "
             "QScrollBar:vertical { width: 12px; background: transparent; } "
             "QScrollBar::handle:vertical { background-color: #c0c0c0; border-radius: 6px; min-height: 20px; "
             "margin: 2px; } "
             "QScrollBar::handle:vertical:hover { background-color: #a0a0a0; } "
             "QScrollBar::add-line:vertical, QScrollBar::sub-line:vertical { height: 0px; } "
             "QScrollBar::add-page:vertical, QScrollBar::sub-page:vertical { background: none; }"_s);
}

void TestDownloadDialogOffer::hasTheStyleOfTheDialog()
{
    const DownloadUpdateDialog dialog(someRequest(), nullptr);
    QCOMPARE(dialog.styleSheet().simplified(),
             u"QDialog { background-color: #F5F5F5; border: 1px solid #d0d0d0; } "
             "QPushButton { background-color: #f0f0f0; color: #333; border: 1px solid #ccc; border-radius: 4px; "
             "padding: 8px 16px; font-size: 11pt; text-align: center; min-width: 80px; } "
             "QPushButton:hover { background-color: #e0e0e0; border-color: #999; } "
             "QPushButton:pressed { background-color: #d0d0d0; } "
             "QPushButton:disabled { background-color: #F7F9FA; color: #BDC3C7; border-color: #E5E8E8; } "
             "#primaryButton { background-color: #007aff; color: white; border: 1px solid #007aff; "
             "font-weight: 600; } "
             "#primaryButton:hover { background-color: #0056cc; border-color: #0056cc; } "
             "#primaryButton:pressed { background-color: #004999; border-color: #004999; }"_s);
}

void TestDownloadDialogOffer::hidesButtonsOfAForcedUpdate()
{
    DownloadRequestInfo request = someRequest();
    request.isForced = true;
    DownloadUpdateDialog dialog(request, nullptr);
    const DialogView view(dialog);
    dialog.show();
    QCOMPARE(view.title->text(), u"重要更新通知"_s);
    QCOMPARE(view.visibleButtons(), u"u"_s);
    QVERIFY(dialog.close());
}

void TestDownloadDialogOffer::shortensTheChecksum_data()
{
    QTest::addColumn<QString>("checksum");
    QTest::addColumn<QString>("shown");
    QTest::newRow("empty") << QString() << u"MD5校验：无校验信息"_s;
    QTest::newRow("1") << u"a"_s << u"MD5校验：a"_s;
    QTest::newRow("16") << u"0123456789abcdef"_s << u"MD5校验：0123456789abcdef"_s;
    QTest::newRow("17") << u"0123456789abcdefg"_s << u"MD5校验：01234567...9abcdefg"_s;
    QTest::newRow("32") << u"D41D8CD98F00B204E9800998ECF8427E"_s << u"MD5校验：D41D8CD9...ECF8427E"_s;
}

void TestDownloadDialogOffer::shortensTheChecksum()
{
    QFETCH(QString, checksum);
    DownloadRequestInfo request = someRequest();
    request.checksumMD5 = checksum;
    const DownloadUpdateDialog dialog(request, nullptr);
    QTEST(DialogView(dialog).checksum->text(), "shown");
}

void TestDownloadDialogOffer::shortensTheNotes_data()
{
    QTest::addColumn<QString>("notes");
    QTest::addColumn<QString>("shown");
    const QString line(50, u'字');
    QTest::newRow("empty") << QString() << u"• 性能优化\n• 稳定性提升\n• 用户体验改进"_s;
    QTest::newRow("blank") << u" "_s << u" "_s;
    QTest::newRow("empty lines") << u"a\n\nb\n"_s << u"a\n\nb\n"_s;
    QTest::newRow("line of 50") << line << line;
    QTest::newRow("line of 51") << line + u"x"_s << QString(47, u'字') + u"..."_s;
    QTest::newRow("second line of 51") << u"a\n"_s + line + u"x\nb"_s << u"a\n"_s + QString(47, u'字') + u"...\nb"_s;

    const QString fifty = QString(49, u'a') + u'\n';
    const QString five = fifty.repeated(5);
    QTest::newRow("300") << fifty.repeated(6) << fifty.repeated(6);
    QTest::newRow("301") << fifty.repeated(6) + u"b"_s << fifty.repeated(6) + u"..."_s;
    QTest::newRow("301, last line of 50 after the cut")
        << five + u"\n\n\n"_s + QString(48, u'b') << five + u"\n\n\n"_s + QString(47, u'b') + u"..."_s;
    QTest::newRow("302, last line of 53 after the cut")
        << five + QString(50, u'b') + u"cc"_s << five + QString(47, u'b') + u"..."_s;
    QTest::newRow("301 in one line") << QString(301, u'c') << QString(47, u'c') + u"..."_s;
}

void TestDownloadDialogOffer::shortensTheNotes()
{
    QFETCH(QString, notes);
    DownloadRequestInfo request = someRequest();
    request.updateLog = notes;
    const DownloadUpdateDialog dialog(request, nullptr);
    QTEST(DialogView(dialog).notes->text(), "shown");
}

void TestDownloadDialogOffer::showsAnUnknownSize()
{
    DownloadRequestInfo request = someRequest();
    request.fileSize.clear();
    const DownloadUpdateDialog dialog(request, nullptr);
    QCOMPARE(DialogView(dialog).fileSize->text(), u"文件大小：计算中..."_s);
}

void TestDownloadDialogOffer::showsHtmlOfAReportAsText_data()
{
    QTest::addColumn<TextOfRequest>("text");
    QTest::newRow("version") << &DownloadRequestInfo::latestVersion;
    QTest::newRow("size") << &DownloadRequestInfo::fileSize;
    QTest::newRow("notes") << &DownloadRequestInfo::updateLog;
}

void TestDownloadDialogOffer::showsHtmlOfAReportAsText()
{
    QFETCH(TextOfRequest, text);
    savedPicture(redPicture(), u"red.png"_s);
    DownloadRequestInfo request = someRequest();
    request.*text = u"9<img src=red.png>"_s;
    DownloadUpdateDialog dialog(request, nullptr);
    QVERIFY(!showsRed(dialog));
}

void TestDownloadDialogOffer::placesNoRetryButton()
{
    DownloadUpdateDialog dialog(someRequest(), nullptr);
    const DialogView view(dialog);
    dialog.show();
    QPushButton *retry = nullptr;
    const auto buttons = dialog.findChildren<QPushButton *>();
    for (QPushButton *button : buttons) {
        retry = button->text() == u"重试"_s ? button : retry;
    }
    QVERIFY(retry);
    QCOMPARE(view.buttonLayout->indexOf(retry), -1);
    QCOMPARE(view.layout->indexOf(retry), -1);
    QVERIFY(!retry->isVisible());
    dialog.onDownloadProgress(1, 1, 100);
    dialog.onDownloadError(u"x"_s);
    QVERIFY(!retry->isVisible());
    QSignalSpy started(&dialog, &DownloadUpdateDialog::requestStartDownload);
    retry->click();
    QCOMPARE(started.count(), 1);
}

void TestDownloadDialogOffer::closesLater()
{
    DownloadUpdateDialog dialog(someRequest(), nullptr);
    const DialogView view(dialog);
    dialog.show();
    QSignalSpy rejected(&dialog, &QDialog::rejected);
    view.later->click();
    QCOMPARE(rejected.count(), 1);
    QVERIFY(!dialog.isVisible());
    QVERIFY(!QFile::exists(u"user.ini"_s));
}

void TestDownloadDialogOffer::storesTheSkippedVersionInTheWorkingDirectory()
{
    QCoreApplication::setOrganizationName(u"zrnw480"_s);
    QCoreApplication::setApplicationName(u"Quillmarch"_s);
    DownloadUpdateDialog dialog(someRequest(), nullptr);
    const DialogView view(dialog);
    dialog.show();
    QSignalSpy rejected(&dialog, &QDialog::rejected);
    view.skip->click();
    QCOMPARE(rejected.count(), 1);
    QVERIFY(!dialog.isVisible());
    QFile file(u"user.ini"_s);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), QByteArray("[update]\nskippedVersion=3.0.0\n"));
    QVERIFY(QSettings().allKeys().isEmpty()); // the store that silences a version is another one
}

void TestDownloadDialogOffer::storesItWhereTheWorkingDirectoryIsNow()
{
    const QString before = QDir::currentPath();
    QFile::remove(u"user.ini"_s);
    DownloadUpdateDialog dialog(someRequest(), nullptr);
    QVERIFY(QDir().mkdir(u"moved"_s));
    QVERIFY(QDir::setCurrent(before + u"/moved"_s));
    dialog.onSkipClicked();
    QVERIFY(QDir::setCurrent(before));
    QVERIFY(!QFile::exists(u"user.ini"_s));
    QVERIFY(!QFile::exists(QCoreApplication::applicationDirPath() + u"/user.ini"_s));
    QFile file(u"moved/user.ini"_s);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), QByteArray("[update]\nskippedVersion=3.0.0\n"));
}

QUILLMARCH_TEST_MAIN(TestDownloadDialogOffer)
#include "tst_downloaddialogoffer.moc"
