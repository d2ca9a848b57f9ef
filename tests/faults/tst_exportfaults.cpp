#include "app/mainwindow.h"
#include "fulldisk.h"
#include "opendocument.h"
#include "page/pageitem.h"
#include "support/documents.h"
#include "support/testmain.h"
#include "unprivileged.h"

#include <QAbstractButton>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QTimer>

#include <functional>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

const QString told = u"处理结果已输出至文件"_s;

/// Answers yes to every question, for as long as this object lives.
class Consent
{
public:
    Consent()
    {
        QObject::connect(&timer, &QTimer::timeout, &timer, [] {
            if (auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget())) {
                box->button(QMessageBox::Yes)->click();
            }
        });
        timer.start(5);
    }

private:
    QTimer timer;
};

/// Exports by the action; the dialog is given \a path, and its question
/// whether to replace a file is answered yes. Calls \a fault between the
/// dialog and the export.
void exportTo(
    MainWindow &window, const QString &path, const std::function<void()> &fault = [] {})
{
    const Consent consent;
    const NextDialog next = onNextDialog<QFileDialog>([&](QFileDialog *dialog) {
        QObject::connect(dialog, &QDialog::accepted, dialog, fault);
        dialog->findChild<QLineEdit *>(u"fileNameEdit"_s)->setText(path);
        static_cast<QDialog *>(dialog)->accept();
    });
    trigger(window, "exportPdfAction");
}

QString pathOf(const QString &name)
{
    return QDir::current().absoluteFilePath(name);
}

QByteArray bytesOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// A number of /proc/self/status in kibibytes, or -1.
qint64 memoryStatus(const QByteArray &name)
{
    const QList<QByteArray> lines = bytesOf(u"/proc/self/status"_s).split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith(name + ':')) {
            return line.mid(name.size() + 1).trimmed().split(' ').first().toLongLong();
        }
    }
    return -1;
}

/// Starts a new measurement of the greatest memory use, VmHWM.
bool forgetGreatestMemory()
{
    QFile file(u"/proc/self/clear_refs"_s);
    return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && file.write("5") == 1;
}

} // namespace

class TestExportFaults : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void tellsOfAFailedExportAsOfAnyOther_data();
    void tellsOfAFailedExportAsOfAnyOther();
    void survivesAFullDisk_data();
    void survivesAFullDisk();
    void survivesAFullDevice();
    void exportsOverTheOpenFile();
    void exportsFiveHundredPagesInLittleMemory();
};

void TestExportFaults::initTestCase()
{
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
}

void TestExportFaults::cleanup()
{
    clearConfigValues();
}

void TestExportFaults::tellsOfAFailedExportAsOfAnyOther_data()
{
    QTest::addColumn<QString>("fault");
    for (const char *fault : {"locked folder", "locked file", "folder is gone", "file becomes a folder"}) {
        QTest::newRow(fault) << QString::fromLatin1(fault);
    }
}

void TestExportFaults::tellsOfAFailedExportAsOfAnyOther()
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
        QVERIFY(user.isReal());
    }
    std::unique_ptr<Unprivileged> user;
    exportTo(document.window, path, [&] {
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
        user = std::make_unique<Unprivileged>();
    });
    QVERIFY(user != nullptr);
    user.reset();
    QCOMPARE(toastText(document.window), told + path);
    QCOMPARE(document.change(), QString());
    QCOMPARE(bytesOf(path), fault == u"locked file"_s ? QByteArray("an older file") : QByteArray());
    QCOMPARE(configValue(u"savepath"_s), folder);

    QFile::setPermissions(folder, QFile::Permissions(0x7755));
    QDir(folder).removeRecursively();
    exportTo(document.window, pathOf(u"next.pdf"_s));
    QCOMPARE(pdfFacts(pathOf(u"next.pdf"_s)).pages, 5);
}

void TestExportFaults::survivesAFullDisk_data()
{
    QTest::addColumn<int>("room"); // bytes
    for (const int room : {0, 1, 100, 1000, 4000}) {
        QTest::addRow("%d bytes", room) << room;
    }
}

void TestExportFaults::survivesAFullDisk()
{
    QFETCH(int, room);
    const QString path = pathOf(u"out.pdf"_s);
    QFile::remove(path);
    OpenDocument document;
    std::unique_ptr<FullDisk> disk;
    exportTo(document.window, path, [&] { disk = std::make_unique<FullDisk>(rlim_t(room)); });
    QVERIFY(disk != nullptr);
    disk.reset();
    QVERIFY2(QFileInfo(path).size() <= room, qPrintable(QString::number(QFileInfo(path).size())));
    QCOMPARE(toastText(document.window), told + path);
    QCOMPARE(document.change(), QString());

    exportTo(document.window, path); // over what is there of the first
    QCOMPARE(pdfFacts(path).pages, 5);
    QVERIFY2(QFileInfo(path).size() > room, qPrintable(QString::number(QFileInfo(path).size())));
}

void TestExportFaults::survivesAFullDevice()
{
    OpenDocument document;
    exportTo(document.window, u"/dev/full"_s);
    QCOMPARE(toastText(document.window), told + u"/dev/full"_s);
    QCOMPARE(document.change(), QString());
    QVERIFY(!QFileInfo(u"/dev/full"_s).isFile());
}

void TestExportFaults::exportsOverTheOpenFile()
{
    OpenDocument document;
    for (int times = 0; times < 2; ++times) {
        exportTo(document.window, document.path);
        QCOMPARE(toastText(document.window), told + document.path);
        QCOMPARE(pdfFacts(document.path).pages, 5);
        QCOMPARE(document.change(), QString());
    }
    const QList<QImage> sheets = pdfPictures(document.path, 30);
    QCOMPARE(sheets.size(), 5);
    QVERIFY(sheets.first() != sheets.last());
}

void TestExportFaults::exportsFiveHundredPagesInLittleMemory()
{
    constexpr int width = 210;
    constexpr int height = 149900; // 120 MiB
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(savedPicture(textPicture(width, height), u"long.png"_s));
    QCOMPARE(stripsOf(window).size(), 500);
    const QString path = pathOf(u"long.pdf"_s);
    QVERIFY(forgetGreatestMemory());
    const qint64 before = memoryStatus("VmRSS");
    QVERIFY(before > 0);
    exportTo(window, path);
    const qint64 growth = memoryStatus("VmHWM") - before;
    QCOMPARE(toastText(window), told + path);
    QCOMPARE(pdfFacts(path).pages, 500);
    qInfo("500 pages: %lld KiB more memory, a file of %lld KiB", growth, QFileInfo(path).size() / 1024);
#ifndef QUILLMARCH_SANITIZED
    // Half of the picture: neither it nor its pages are held a second time.
    QVERIFY2(growth < 60 * 1024, qPrintable(u"%1 KiB"_s.arg(growth)));
#endif
    QFile::remove(path);
}

QUILLMARCH_TEST_MAIN(TestExportFaults)
#include "tst_exportfaults.moc"
