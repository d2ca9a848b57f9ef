#include "app/mainwindow.h"
#include "fulldisk.h"
#include "opendocument.h"
#include "page/pageitem.h"
#include "support/configvalues.h"
#include "support/dialoganswer.h"
#include "support/files.h"
#include "support/pdffacts.h"
#include "support/pictures.h"
#include "support/testmain.h"
#include "support/windowprobe.h"
#include "unprivileged.h"

#include <QAbstractButton>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QMessageBox>

#include <functional>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

const QString exportedMessage = u"处理结果已输出至文件"_s;

/// Exports to \a path by the action and its dialog, and confirms that an existing
/// file is replaced. Calls \a fault between the dialog and the export.
void exportTo(
    MainWindow &window, const QString &path, const std::function<void()> &fault = [] {})
{
    const NextDialog next = onNextDialog<QFileDialog>([&](QFileDialog *dialog) {
        QObject::connect(dialog, &QDialog::accepted, dialog, fault);
        const NextDialog question =
            onNextDialog<QMessageBox>([](QMessageBox *box) { box->button(QMessageBox::Yes)->click(); });
        choosePath(dialog, path);
    });
    trigger(window, "exportPdfAction");
}

QString pathOf(const QString &name)
{
    return QDir::current().absoluteFilePath(name);
}

/// The value of \a name in /proc/self/status, in KiB, or -1.
qint64 memoryStatus(const QByteArray &name)
{
    const QList<QByteArray> lines = contentOf(u"/proc/self/status"_s).split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith(name + ':')) {
            return line.mid(name.size() + 1).trimmed().split(' ').first().toLongLong();
        }
    }
    return -1;
}

/// Resets the peak memory use, VmHWM.
bool resetPeakMemory()
{
    QFile file(u"/proc/self/clear_refs"_s);
    return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && file.write("5") == 1;
}

/// Makes it impossible to write the file \a path in one of the ways of
/// reportsAFailedExportAsSuccess_data().
void applyFault(const QString &fault, const QString &path)
{
    const QString folder = QFileInfo(path).path();
    if (fault == u"locked folder"_s) {
        QFile::setPermissions(folder, QFile::Permissions(0x5555));
    } else if (fault == u"locked file"_s) {
        QFile::setPermissions(path, QFile::Permissions(0x4444));
    } else {
        QDir(folder).removeRecursively();
    }
    if (fault == u"file becomes a folder"_s) {
        QDir().mkpath(path);
    }
}

} // namespace

class TestExportFaults : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void reportsAFailedExportAsSuccess_data();
    void reportsAFailedExportAsSuccess();
    void survivesAFullDisk_data();
    void survivesAFullDisk();
    void survivesAFullDevice();
    void exportsOverTheOpenFile();
    void exportsFiveHundredPagesWithLittleMemory();
};

void TestExportFaults::initTestCase()
{
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
}

void TestExportFaults::cleanup()
{
    clearConfigValues();
}

void TestExportFaults::reportsAFailedExportAsSuccess_data()
{
    QTest::addColumn<QString>("fault");
    for (const char *fault : {"locked folder", "locked file", "folder is gone", "file becomes a folder"}) {
        QTest::newRow(fault) << QString::fromLatin1(fault);
    }
}

void TestExportFaults::reportsAFailedExportAsSuccess()
{
    QFETCH(QString, fault);
    const QString folder = pathOf(u"target"_s);
    const QString path = folder + u"/out.pdf"_s;
    QVERIFY(QDir().mkpath(folder));
    if (fault == u"locked file"_s) {
        savedBytes("an older file", u"target/out.pdf"_s);
    }
    OpenDocument document;
    {
        const Unprivileged user;
        QVERIFY(user.isEffective());
    }
    std::unique_ptr<Unprivileged> user;
    exportTo(document.window, path, [&] {
        applyFault(fault, path);
        user = std::make_unique<Unprivileged>();
    });
    QVERIFY(user != nullptr);
    user.reset();
    QCOMPARE(toastText(document.window), exportedMessage + path);
    QCOMPARE(document.change(), QString());
    QCOMPARE(contentOf(path), fault == u"locked file"_s ? QByteArray("an older file") : QByteArray());
    QCOMPARE(configValue(u"savepath"_s), folder);

    QFile::setPermissions(folder, QFile::Permissions(0x7755));
    QDir(folder).removeRecursively();
    exportTo(document.window, pathOf(u"next.pdf"_s));
    QCOMPARE(pdfFacts(pathOf(u"next.pdf"_s)).pages, 5);
}

void TestExportFaults::survivesAFullDisk_data()
{
    QTest::addColumn<int>("space"); // bytes
    for (const int space : {0, 1, 100, 1000, 4000}) {
        QTest::addRow("%d bytes", space) << space;
    }
}

void TestExportFaults::survivesAFullDisk()
{
    QFETCH(int, space);
    const QString path = pathOf(u"out.pdf"_s);
    QFile::remove(path);
    OpenDocument document;
    std::unique_ptr<FullDisk> disk;
    exportTo(document.window, path, [&] { disk = std::make_unique<FullDisk>(rlim_t(space)); });
    QVERIFY(disk != nullptr);
    disk.reset();
    QVERIFY2(QFileInfo(path).size() <= space, qPrintable(QString::number(QFileInfo(path).size())));
    QCOMPARE(toastText(document.window), exportedMessage + path);
    QCOMPARE(document.change(), QString());

    exportTo(document.window, path); // replaces the incomplete file
    QCOMPARE(pdfFacts(path).pages, 5);
    QVERIFY2(QFileInfo(path).size() > space, qPrintable(QString::number(QFileInfo(path).size())));
}

void TestExportFaults::survivesAFullDevice()
{
    OpenDocument document;
    exportTo(document.window, u"/dev/full"_s);
    QCOMPARE(toastText(document.window), exportedMessage + u"/dev/full"_s);
    QCOMPARE(document.change(), QString());
    QVERIFY(!QFileInfo(u"/dev/full"_s).isFile());
}

void TestExportFaults::exportsOverTheOpenFile()
{
    OpenDocument document;
    for (int times = 0; times < 2; ++times) {
        exportTo(document.window, document.path);
        QCOMPARE(toastText(document.window), exportedMessage + document.path);
        QCOMPARE(pdfFacts(document.path).pages, 5);
        QCOMPARE(document.change(), QString());
    }
    const QList<QImage> sheets = pdfPictures(document.path, 30);
    QCOMPARE(sheets.size(), 5);
    QVERIFY(sheets.first() != sheets.last());
}

void TestExportFaults::exportsFiveHundredPagesWithLittleMemory()
{
    constexpr int width = 210;
    constexpr int height = 149900; // 120 MiB
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(savedPicture(textPicture(width, height), u"long.png"_s));
    QCOMPARE(stripsOf(window).size(), 500);
    const QString path = pathOf(u"long.pdf"_s);
    QVERIFY(resetPeakMemory());
    const qint64 before = memoryStatus("VmRSS");
    QVERIFY(before > 0);
    exportTo(window, path);
    const qint64 growth = memoryStatus("VmHWM") - before;
    QCOMPARE(toastText(window), exportedMessage + path);
    QCOMPARE(pdfFacts(path).pages, 500);
    qInfo("500 pages: %lld KiB more memory, a file of %lld KiB", growth, QFileInfo(path).size() / 1024);
#ifndef QUILLMARCH_SANITIZED
    // Half the size of the picture: neither it nor its pages are copied.
    QVERIFY2(growth < qint64(60) * 1024, qPrintable(u"%1 KiB"_s.arg(growth)));
#endif
    QFile::remove(path);
}

QUILLMARCH_TEST_MAIN(TestExportFaults)
#include "tst_exportfaults.moc"
