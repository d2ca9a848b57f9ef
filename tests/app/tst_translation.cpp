#include "app/mainwindow.h"
#include "app/startup.h"
#include "support/testmain.h"
#include "support/windowprobe.h"

#include <QAction>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QMenu>
#include <QStatusBar>
#include <QToolBar>
#include <QTranslator>
#include <QXmlStreamReader>

using namespace Qt::StringLiterals;

namespace {

struct Entry
{
    QString context;
    QString source;
    QString translation;
    bool unfinished = false;
};

QList<Entry> catalogueEntries()
{
    QFile file(QFINDTESTDATA("../../resources/zrnw480_en.ts"));
    if (!file.open(QIODevice::ReadOnly)) {
        qFatal("No catalogue source");
    }
    QList<Entry> entries;
    QString context;
    QXmlStreamReader reader(&file);
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement) {
            continue;
        }
        if (reader.name() == "name"_L1) {
            context = reader.readElementText();
        } else if (reader.name() == "source"_L1) {
            entries.append({context, reader.readElementText(), {}});
        } else if (reader.name() == "translation"_L1) {
            entries.last().unfinished = !reader.attributes().isEmpty();
            entries.last().translation = reader.readElementText();
        }
    }
    return entries;
}

QString allSources()
{
    QString text;
    const QString folder = QFileInfo(QFINDTESTDATA("../../src/app/main.cpp")).absolutePath() + "/.."_L1;
    QDirIterator files(folder, {u"*.cpp"_s}, QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        QFile file(files.next());
        if (file.open(QIODevice::ReadOnly)) {
            text += QString::fromUtf8(file.readAll());
        }
    }
    return text;
}

} // namespace

class TestTranslation : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void translates_data();
    void translates();
    void leavesUntranslated_data();
    void leavesUntranslated();
    void catalogueHoldsNothingElse();
    void everyEntryIsUsed();
    void windowIsInEnglish_data();
    void windowIsInEnglish();
    void toolBarAndMenusAreInEnglish();
    void failureIsReportedInEnglish();
    void windowIsInChineseWithoutTheCatalogue();

private:
    QTranslator english;
};

void TestTranslation::initTestCase()
{
    QVERIFY(QFile::exists(u":/i18n/zrnw480_en.qm"_s));
    QVERIFY(loadEnglishTexts(english));
}

void TestTranslation::translates_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("translation");
    const auto add = [](const QString &source, const QString &translation) {
        QTest::newRow(qPrintable(source)) << source << translation;
    };
    add(u"打开图像或PDF文件"_s, u"open an image or pdf file"_s);
    add(u"文件(*.pdf *.jpg *.png *.jpeg)"_s, u"files(*.pdf *.jpg *.png *.jpeg)"_s);
    add(u"不支持的图片格式或文件已损坏"_s, u"Unsupported image format or corrupted file"_s);
    add(u"导出到PDF"_s, u"Save as PDF"_s);
    add(u"PDF文件(*.pdf)"_s, u"pdf file(*.pdf)"_s);
    add(u"处理结果已输出至文件"_s, u"Save to PDF file succeeded"_s);
    add(u"打印"_s, u"Print"_s);
    add(u"指南"_s, u"FAQ"_s);
    add(u"打开软件使用指南"_s, u"Open FAQ window"_s);
    add(u"减少边距"_s, u"Decrease margins"_s);
    add(u"放大图片减少打印边距"_s, u"Enlarge image to decrease print margins"_s);
    add(u"增加边距"_s, u"Increase margins"_s);
    add(u"缩小图片增加打印边距"_s, u"Reduce image size to increase print margins"_s);
    add(u"放大"_s, u"Zoom in"_s);
    add(u"放大画布显示更多细节"_s, u"Zoom in the canvas to show more details"_s);
    add(u"缩小"_s, u"Zoom out"_s);
    add(u"缩小画布显示更多图片"_s, u"Zoom out the canvas to show more images"_s);
    add(u"打开文件"_s, u"Open"_s);
    add(u"打开需要处理的长图片文件"_s, u"Open an image file"_s);
    add(u"导出到PDF文件"_s, u"Save paginated images to a PDF file"_s);
    add(u"输出到打印机"_s, u"Print paginated images"_s);
    add(u"退出"_s, u"Exit"_s);
    add(u"关闭窗口退出应用程序"_s, u"Exit the application"_s);
    add(u"双排"_s, u"Switch layout"_s);
    add(u"页面单/双排输出切换"_s, u"Switch layout between single page and double columns"_s);
    add(u"页码"_s, u"Page number"_s);
    add(u"页码显示输出切换"_s, u"Turn on/off of page number display"_s);
    add(u"文件"_s, u"File"_s);
    add(u"编辑"_s, u"Edit"_s);
    add(u"帮助"_s, u"Help"_s);
    add(u"main"_s, u"main"_s);
    add(u"就绪"_s, u"Ready"_s);
}

void TestTranslation::translates()
{
    QFETCH(QString, source);
    QTEST(english.translate("MainWindow", source.toUtf8().constData()), "translation");
    QCOMPARE(english.translate("AboutDialog", source.toUtf8().constData()), QString());
}

void TestTranslation::leavesUntranslated_data()
{
    QTest::addColumn<QString>("source");
    for (const QString &source : {u"墨舟卷轴翻页器"_s, u"导出为PDF"_s, u"自动切边"_s, u"去除原图四周空白并重新处理"_s,
                                  u"关于"_s, u"未检测到可裁剪的空白边"_s, u"检查更新中..."_s, u"点击下载最新版本"_s,
                                  u"v%1"_s, u"Ctrl+H"_s, u"Ctrl+O"_s, u"Ctrl+S"_s, u"Ctrl+P"_s, u"Ctrl+X"_s}) {
        QTest::newRow(qPrintable(source)) << source;
    }
}

void TestTranslation::leavesUntranslated()
{
    QFETCH(QString, source);
    QVERIFY(allSources().contains(u"tr(\""_s + source + u"\")"_s));
    QCOMPARE(english.translate("MainWindow", source.toUtf8().constData()), QString());
    QVERIFY(QCoreApplication::installTranslator(&english));
    QCOMPARE(MainWindow::tr(source.toUtf8().constData()), source);
    QCoreApplication::removeTranslator(&english);
}

void TestTranslation::catalogueHoldsNothingElse()
{
    QStringList sources;
    const QList<Entry> entries = catalogueEntries();
    for (const Entry &entry : entries) {
        QCOMPARE(entry.context, u"MainWindow"_s);
        QVERIFY2(!entry.unfinished, qPrintable(entry.source));
        QCOMPARE(english.translate("MainWindow", entry.source.toUtf8().constData()), entry.translation);
        sources.append(entry.source);
    }
    QCOMPARE(sources.removeDuplicates(), 0);
    QCOMPARE(sources.size(), 32);
}

void TestTranslation::everyEntryIsUsed()
{
    const QString code = allSources();
    const QList<Entry> entries = catalogueEntries();
    for (const Entry &entry : entries) {
        QVERIFY2(code.contains(u"tr(\""_s + entry.source + u"\")"_s), qPrintable(entry.source));
    }
}

void TestTranslation::windowIsInEnglish_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("tip");
    QTest::newRow("guideAction") << u"FAQ"_s << u"Open FAQ window"_s;
    QTest::newRow("decreaseMarginAction") << u"Decrease margins"_s << u"Enlarge image to decrease print margins"_s;
    QTest::newRow("increaseMarginAction") << u"Increase margins"_s << u"Reduce image size to increase print margins"_s;
    QTest::newRow("zoomInAction") << u"Zoom in"_s << u"Zoom in the canvas to show more details"_s;
    QTest::newRow("zoomOutAction") << u"Zoom out"_s << u"Zoom out the canvas to show more images"_s;
    QTest::newRow("openAction") << u"Open"_s << u"Open an image file"_s;
    QTest::newRow("exportPdfAction") << u"导出为PDF"_s << u"Save paginated images to a PDF file"_s;
    QTest::newRow("printAction") << u"Print"_s << u"Print paginated images"_s;
    QTest::newRow("exitAction") << u"Exit"_s << u"Exit the application"_s;
    QTest::newRow("twoColsAction") << u"Switch layout"_s << u"Switch layout between single page and double columns"_s;
    QTest::newRow("pageNumAction") << u"Page number"_s << u"Turn on/off of page number display"_s;
    QTest::newRow("autoTrimAction") << u"自动切边"_s << u"去除原图四周空白并重新处理"_s;
}

void TestTranslation::windowIsInEnglish()
{
    QVERIFY(QCoreApplication::installTranslator(&english));
    MainWindow window;
    QCoreApplication::removeTranslator(&english);
    const auto *action = actionOf(window, QTest::currentDataTag());
    QTEST(action->text(), "text");
    QTEST(action->statusTip(), "tip");
}

void TestTranslation::toolBarAndMenusAreInEnglish()
{
    QVERIFY(QCoreApplication::installTranslator(&english));
    MainWindow window;
    QCoreApplication::removeTranslator(&english);
    QCOMPARE(window.windowTitle(), u"墨舟卷轴翻页器"_s);
    QCOMPARE(window.statusBar()->currentMessage(), u"Ready"_s);
    QCOMPARE(childOf<QToolBar>(window, "mainToolbar")->windowTitle(), u"main"_s);
    QStringList titles;
    const QList<QMenu *> menus = window.findChildren<QMenu *>();
    for (const QMenu *menu : menus) {
        titles.append(menu->title());
    }
    for (const QString &title : {u"File"_s, u"Edit"_s, u"Help"_s}) {
        QVERIFY2(titles.contains(title), qPrintable(title));
    }
}

void TestTranslation::failureIsReportedInEnglish()
{
    MainWindow window;
    QVERIFY(QCoreApplication::installTranslator(&english));
    window.loadImageFile(u"absent.png"_s);
    QCoreApplication::removeTranslator(&english);
    QCOMPARE(toastText(window), u"Unsupported image format or corrupted file"_s);
}

void TestTranslation::windowIsInChineseWithoutTheCatalogue()
{
    MainWindow window;
    QCOMPARE(actionOf(window, "openAction")->text(), u"打开文件"_s);
    QCOMPARE(window.statusBar()->currentMessage(), u"就绪"_s);
}

QUILLMARCH_TEST_MAIN(TestTranslation)
#include "tst_translation.moc"
