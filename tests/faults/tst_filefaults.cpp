#include "app/imagebytes.h"
#include "app/mainwindow.h"
#include "opendocument.h"
#include "page/pageitem.h"
#include "support/configvalues.h"
#include "support/dialoganswer.h"
#include "support/imagecomparison.h"
#include "support/pictures.h"
#include "support/testmain.h"
#include "support/windowprobe.h"
#include "ui/mainview.h"
#include "unprivileged.h"

#include <QBuffer>
#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QGraphicsScene>
#include <QImageReader>
#include <QImageWriter>
#include <QLocalServer>
#include <QSaveFile>

#include <atomic>
#include <sys/stat.h>
#include <thread>

using namespace Qt::StringLiterals;

namespace {

const QString failure = u"不支持的图片格式或文件已损坏"_s;

QByteArray written(const QImage &image, const char *format, bool progressive = false)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, format);
    writer.setProgressiveScanWrite(progressive);
    if (!writer.write(image)) {
        qFatal("Cannot write the format %s", format);
    }
    return bytes;
}

QByteArray pngChunk(const QByteArray &name, const QByteArray &data)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly); // big-endian, as in PNG
    stream << quint32(data.size());
    stream.writeRawData(name.constData(), int(name.size()));
    stream.writeRawData(data.constData(), int(data.size()));
    stream << crc32(name + data);
    return bytes;
}

/// A black PNG file in RGB with \a depth bits per channel, which contains only the
/// first \a size bytes of its pixel data.
QByteArray blackPng(int width, int height, int depth, qsizetype size)
{
    QByteArray header;
    QDataStream(&header, QIODevice::WriteOnly)
        << width << height << qint8(depth) << qint8(2) << qint8(0) << qint8(0) << qint8(0);
    const QByteArray pixels = qCompress(QByteArray(size, '\0'), 1).mid(4); // without the length that Qt prepends
    return QByteArray("\x89PNG\r\n\x1a\n", 8) + pngChunk("IHDR", header) + pngChunk("IDAT", pixels)
        + pngChunk("IEND", {});
}

void writeInPlace(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (file.open(QIODevice::WriteOnly)) {
        file.write(bytes);
    }
}

void replaceAtOnce(const QString &path, const QByteArray &bytes)
{
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly)) {
        file.write(bytes);
        file.commit();
    }
}

} // namespace

class TestFileFaults : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void keepsTheDocument_data();
    void keepsTheDocument();
    void keepsTheDocumentIfAFileIsLocked_data();
    void keepsTheDocumentIfAFileIsLocked();
    void fileIsRemovedBetweenDialogAndReading();
    void rejectsEveryTruncatedPng();
    void survivesEveryTruncatedJpeg_data();
    void survivesEveryTruncatedJpeg();
    void rejectsSixteenBitsBeyondTheLimit();
    void showsTheFirstFrameOfAnAnimation();
    void doesNotNeedTheOpenedFile_data();
    void doesNotNeedTheOpenedFile();
    void survivesAFileThatChangesWhileItIsRead_data();
    void survivesAFileThatChangesWhileItIsRead();
};

void TestFileFaults::initTestCase()
{
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
}

void TestFileFaults::cleanup()
{
    clearConfigValues();
}

void TestFileFaults::keepsTheDocument_data()
{
    QDir::current().mkpath(u"folder.png"_s);
    QFile::link(u"nowhere.png"_s, u"dangling.png"_s);
    QFile::link(u"loop.png"_s, u"loop.png"_s);
    mkfifo("pipe.png", 0600);
    const auto pathOf = [](const char *name) { return QDir::current().absoluteFilePath(QLatin1String(name)); };

    QTest::addColumn<QString>("path");
    QTest::newRow("no file") << pathOf("nowhere.png");
    QTest::newRow("a file instead of its folder") << savedBytes("x", u"file"_s) + u"/a.png"_s;
    QTest::newRow("folder") << pathOf("folder.png");
    QTest::newRow("link to nothing") << pathOf("dangling.png");
    QTest::newRow("link to itself") << pathOf("loop.png");
    QTest::newRow("pipe") << pathOf("pipe.png");
    QTest::newRow("socket") << pathOf("socket.png");
    QTest::newRow("endless device") << u"/dev/zero"_s;
    QTest::newRow("empty device") << u"/dev/null"_s;
    QTest::newRow("name that is too long") << u"/tmp/"_s + QString(5000, u'n') + u".png"_s;
    QTest::newRow("name with a NUL") << u"/tmp/a"_s + QChar(u'\0') + u".png"_s;
    QTest::newRow("60000x60000 in 2 kB") << savedBytes(blackPng(60000, 60000, 8, 900000), u"absurd.png"_s);
    QTest::newRow("60000x60000 with 16 bits in 2 kB") << savedBytes(blackPng(60000, 60000, 16, 900000), u"deep.png"_s);
}

void TestFileFaults::keepsTheDocument()
{
    QFETCH(QString, path);
    QLocalServer socket;
    QVERIFY(socket.listen(QDir::current().absoluteFilePath(u"socket.png"_s)));
    OpenDocument document;
    document.window.loadImageFile(path);
    QCOMPARE(toastText(document.window), failure);
    QCOMPARE(document.change(), QString());

    hideToast(document.window);
    document.window.loadImageFile(savedPicture(blockPicture(70, 250, 2), u"next.png"_s));
    QCOMPARE(toastText(document.window), QString());
    QCOMPARE(stripsOf(document.window).size(), 3);
}

void TestFileFaults::keepsTheDocumentIfAFileIsLocked_data()
{
    QTest::addColumn<bool>("isFolderLocked");
    QTest::newRow("file") << false;
    QTest::newRow("folder") << true;
}

void TestFileFaults::keepsTheDocumentIfAFileIsLocked()
{
    QFETCH(bool, isFolderLocked);
    const QString folder = QDir::current().absoluteFilePath(u"vault"_s);
    QVERIFY(QDir().mkpath(folder));
    const QString path = savedPicture(blockPicture(100, 100), u"vault/locked.png"_s);
    QVERIFY(QFile::setPermissions(path, isFolderLocked ? QFile::Permissions(0x6644) : QFile::Permissions()));
    QVERIFY(QFile::setPermissions(folder, isFolderLocked ? QFile::Permissions() : QFile::Permissions(0x7755)));
    OpenDocument document;
    {
        const Unprivileged user;
        QVERIFY(user.isEffective());
        document.window.loadImageFile(path);
    }
    QCOMPARE(toastText(document.window), failure);
    QCOMPARE(document.change(), QString());

    QVERIFY(QFile::setPermissions(folder, QFile::Permissions(0x7755)));
    QVERIFY(QFile::setPermissions(path, QFile::Permissions(0x6644)));
    {
        const Unprivileged user; // the permissions were the reason
        document.window.loadImageFile(path);
    }
    QCOMPARE(stripsOf(document.window).size(), 1);
    QVERIFY(QDir(folder).removeRecursively());
}

void TestFileFaults::fileIsRemovedBetweenDialogAndReading()
{
    const QString path = savedPicture(blockPicture(100, 100), u"short-lived.png"_s);
    OpenDocument document;
    bool isGone = false;
    const NextDialog next = onNextDialog<QFileDialog>([&](QFileDialog *dialog) {
        connect(dialog, &QDialog::accepted, dialog, [&] { isGone = QFile::remove(path); });
        choosePath(dialog, path);
    });
    trigger(document.window, "openAction");
    QVERIFY(isGone);
    QCOMPARE(toastText(document.window), failure);
    QCOMPARE(document.change(), QString());
}

void TestFileFaults::rejectsEveryTruncatedPng()
{
    const QByteArray whole = written(blockPicture(70, 450, 3), "PNG");
    OpenDocument document;
    for (int percent = 0; percent < 100; ++percent) {
        hideToast(document.window);
        document.window.loadImageFile(savedBytes(whole.left(whole.size() * percent / 100), u"cut.png"_s));
        QVERIFY2(toastText(document.window) == failure, qPrintable(u"%1 %"_s.arg(percent)));
        QVERIFY2(document.change().isEmpty(), qPrintable(u"%1 %: %2"_s.arg(percent).arg(document.change())));
    }
    document.window.loadImageFile(savedBytes(whole, u"cut.png"_s));
    QVERIFY(stripsOf(document.window) != document.strips);
}

void TestFileFaults::survivesEveryTruncatedJpeg_data()
{
    QTest::addColumn<bool>("progressive");
    QTest::newRow("baseline") << false;
    QTest::newRow("progressive") << true;
}

void TestFileFaults::survivesEveryTruncatedJpeg()
{
    // If the file is truncated after its header, the decoder fills in the rest of
    // the picture: it then opens at its full size.
    QFETCH(bool, progressive);
    const QImage other = blockPicture(70, 450, 3);
    const QByteArray whole = written(other, "JPG", progressive);
    int rejected = 0;
    for (int percent = 0; percent <= 100; ++percent) {
        OpenDocument document;
        document.window.loadImageFile(savedBytes(whole.left(whole.size() * percent / 100), u"cut.jpg"_s));
        if (toastText(document.window) == failure) {
            ++rejected;
            QVERIFY2(document.change().isEmpty(), qPrintable(u"%1 %: %2"_s.arg(percent).arg(document.change())));
        } else {
            QCOMPARE(toastText(document.window), QString());
            QCOMPARE(stripsOf(document.window).size(), 5);
            QCOMPARE(mainViewOf(document.window)->scene()->sceneRect().width(), 70.0);
        }
        if (percent == 100) {
            QCOMPARE(firstDifference(shownPicture(document.window, other.size()), QImage::fromData(whole)), QString());
        }
    }
    QVERIFY(rejected > 0);
    QVERIFY(rejected < 100);
}

void TestFileFaults::rejectsSixteenBitsBeyondTheLimit()
{
    // The limit assumes four bytes per pixel, but eight are needed: 257 MiB here, where 256 are allowed.
    constexpr int width = 2000;
    constexpr int height = 16850;
    const QString path = savedBytes(blackPng(width, height, 16, qsizetype(width * 6 + 1) * height), u"16 bits.png"_s);
    OpenDocument document;
    document.window.loadImageFile(path);
    QCOMPARE(QImageReader::allocationLimit(), 256);
    QCOMPARE(toastText(document.window), failure);
    QCOMPARE(document.change(), QString());

    QImageReader::setAllocationLimit(300); // the file itself is valid
    QCOMPARE(QImageReader(path).read().size(), QSize(width, height));
    QVERIFY(QFile::remove(path));
}

void TestFileFaults::showsTheFirstFrameOfAnAnimation()
{
    constexpr qsizetype frameStart = 6 + 7 + 3 * 128; // after the header and the palette of 128 colors
    const QList<QRgb> colors{qRgb(200, 30, 40), qRgb(30, 40, 180)};
    QImage first(40, 40, QImage::Format_Indexed8);
    first.setColorTable(colors);
    first.fill(0);
    QImage second = first;
    second.fill(1);
    const QByteArray animation = gifOf(first).chopped(1) + gifOf(second).mid(frameStart);
    const QString path = savedBytes(animation, u"animation.gif"_s);
    QImageReader reader(path);
    QVERIFY(!reader.read().isNull());
    QVERIFY(reader.read().pixel(5, 5) == colors.at(1)); // the second frame

    MainWindow window;
    window.loadImageFile(path);
    QCOMPARE(toastText(window), QString());
    QCOMPARE(firstDifference(shownPicture(window, first.size()), first.convertToFormat(QImage::Format_RGB32)),
             QString());
}

void TestFileFaults::doesNotNeedTheOpenedFile_data()
{
    QTest::addColumn<QString>("fault");
    for (const char *fault : {"removed", "emptied", "another picture", "a folder"}) {
        QTest::newRow(fault) << QString::fromLatin1(fault);
    }
}

void TestFileFaults::doesNotNeedTheOpenedFile()
{
    QFETCH(QString, fault);
    OpenDocument document;
    const QString path = QDir::current().absoluteFilePath(u"open.png"_s);
    QVERIFY(QFile::remove(path));
    if (fault == u"emptied"_s) {
        savedBytes({}, u"open.png"_s);
    } else if (fault == u"another picture"_s) {
        savedPicture(blockPicture(70, 450, 3), u"open.png"_s);
    } else if (fault == u"a folder"_s) {
        QVERIFY(QDir().mkdir(path));
    }
    document.strips.first()->moveCut(20);
    QCOMPARE(document.change(), QString());
    trigger(document.window, "autoTrimAction"); // which reads the whole source image
    trigger(document.window, "twoColsAction");
    QCOMPARE(firstDifference(shownPicture(document.window, pictureSize), document.picture), QString());
    QFile::remove(path);
    QDir().rmdir(path);
}

void TestFileFaults::survivesAFileThatChangesWhileItIsRead_data()
{
    QTest::addColumn<bool>("inPlace");
    QTest::newRow("replaced as a whole") << false;
    QTest::newRow("written over") << true;
}

void TestFileFaults::survivesAFileThatChangesWhileItIsRead()
{
    QFETCH(bool, inPlace);
    const QImage pictures[] = {blockPicture(70, 450, 3), blockPicture(70, 450, 4)};
    const QByteArray files[] = {written(pictures[0], "PNG"), written(pictures[1], "PNG")};
    const QString path = savedBytes(files[0], u"changing.png"_s);
    std::atomic<bool> isDone = false;
    std::thread writer([&] {
        for (int i = 0; !isDone; ++i) {
            if (inPlace) {
                writeInPlace(path, files[i % 2]);
            } else {
                replaceAtOnce(path, files[i % 2]);
            }
        }
    });
    QStringList wrong;
    for (int i = 0; i < 60; ++i) {
        OpenDocument document;
        document.window.loadImageFile(path);
        const QImage shown = shownPicture(document.window, pictures[0].size());
        const bool isOne =
            firstDifference(shown, pictures[0]).isEmpty() || firstDifference(shown, pictures[1]).isEmpty();
        const bool isRejected = toastText(document.window) == failure && document.change().isEmpty();
        if (!isOne && !(inPlace && isRejected)) {
            wrong.append(u"%1: %2"_s.arg(i).arg(toastText(document.window)));
        }
    }
    isDone = true;
    writer.join();
    QCOMPARE(wrong, QStringList());
}

QUILLMARCH_TEST_MAIN(TestFileFaults)
#include "tst_filefaults.moc"
