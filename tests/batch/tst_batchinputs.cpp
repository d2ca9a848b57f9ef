#include "batchprogram.h"
#include "support/files.h"
#include "support/imagecomparison.h"
#include "support/pdffacts.h"
#include "support/pictures.h"
#include "support/testmain.h"

#include <QBuffer>
#include <QColorSpace>
#include <QDir>
#include <QFile>
#include <QImageWriter>
#include <QJsonArray>

#include <filesystem>

using namespace Qt::StringLiterals;

namespace {

/// Removes what a test has left in the working directory, whatever its name.
void clearFolder()
{
    for (const auto &entry : std::filesystem::directory_iterator(".")) {
        std::filesystem::remove_all(entry.path());
    }
}

/// Runs \a command in a shell, in which "$batch" is the program.
BatchEnd runShell(const QString &command, const QByteArray &input = {})
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"batch"_s, QStringLiteral(QUILLMARCH_BATCH));
    process.setProcessEnvironment(environment);
    process.start(u"bash"_s, {u"-c"_s, command});
    process.write(input);
    process.closeWriteChannel();
    return endOf(process);
}

QStringList partFiles()
{
    return QDir::current().entryList({u"*.part"_s}, QDir::Files | QDir::Hidden);
}

/// The pictures of one color, each in its file.
void savePlain(const QStringList &names)
{
    int blue = 0;
    for (const QString &name : names) {
        savedPicture(plainPicture(20, 20, QColor(0, 0, blue += 20)), name);
    }
}

/// The blue of the single images in the PDF file \a path, in order.
QList<int> bluesIn(const QString &path)
{
    QList<int> blues;
    for (const QImage &image : pdfImages(path)) {
        blues.append(qBlue(image.pixel(5, 5)));
    }
    return blues;
}

/// A TIFF file of \a pages, which are of 8-bit gray. A page is its pixels and its directory.
QByteArray tiffOf(const QList<QImage> &pages)
{
    QByteArray bytes("II*\0\0\0\0\0", 8);
    const auto add = [&bytes](quint32 value, int size) {
        for (int i = 0; i < size; ++i) {
            bytes += char(value >> (8 * i));
        }
    };
    qsizetype link = 4; // where the place of the next page is written
    for (const QImage &image : pages) {
        const auto pixels = quint32(bytes.size());
        for (int y = 0; y < image.height(); ++y) {
            bytes.append(reinterpret_cast<const char *>(image.constScanLine(y)), image.width());
        }
        bytes += bytes.size() % 2 == 1 ? QByteArray(1, '\0') : QByteArray();
        const auto place = quint32(bytes.size());
        for (int i = 0; i < 4; ++i) {
            bytes[link + i] = char(place >> (8 * i));
        }
        const quint32 tags[][2] = {{256, quint32(image.width())},
                                   {257, quint32(image.height())},
                                   {258, 8},
                                   {259, 1},
                                   {262, 1},
                                   {273, pixels},
                                   {277, 1},
                                   {278, quint32(image.height())},
                                   {279, quint32(image.width() * image.height())}};
        add(9, 2);
        for (const auto &[tag, value] : tags) {
            add(tag, 2);
            add(4, 2);
            add(1, 4);
            add(value, 4);
        }
        link = bytes.size();
        add(0, 4);
    }
    return bytes;
}

/// A JPEG file of \a image, which is of 8-bit gray, with a restart marker after 8 rows each.
QByteArray restartingJpeg(const QImage &image)
{
    QByteArray jpeg;
    for (int y = 0; y < image.height(); y += 8) {
        const QByteArray rows = encodedPicture(image.copy(0, y, image.width(), 8), "JPG");
        const qsizetype scan = rows.indexOf("\xff\xda");
        const qsizetype pixels = scan + 10;
        if (y == 0) {
            jpeg = rows.left(scan) + QByteArray::fromHex("ffdd0004") + '\0' + char((image.width() + 7) / 8)
                + rows.mid(scan, 10);
            const char height[] = {char(image.height() >> 8), char(image.height())};
            jpeg.replace(jpeg.indexOf("\xff\xc0") + 5, 2, QByteArray(height, 2));
        } else {
            jpeg += '\xff' + QByteArray(1, char(0xd0 + (y / 8 - 1) % 8));
        }
        jpeg += rows.mid(pixels).chopped(2);
    }
    return jpeg + "\xff\xd9";
}

/// \a image as a progressive JPEG file.
QByteArray progressiveJpeg(const QImage &image)
{
    QBuffer buffer;
    QImageWriter writer(&buffer, "jpeg");
    writer.setProgressiveScanWrite(true);
    return writer.write(image) ? buffer.data() : QByteArray();
}

/// \a jpeg with \a padding before the marker \a code, the first of its kind.
QByteArray padded(QByteArray jpeg, const char *code, const char *padding)
{
    return jpeg.insert(jpeg.indexOf(QByteArray::fromHex(code)), QByteArray::fromHex(padding));
}

/// A GIF file with two frames of 16 x 16 pixels, black and white.
QByteArray animation()
{
    const QByteArray frame = QByteArray::fromHex("2c00000000100010000002") + QByteArray::fromHex("0e");
    QByteArray bytes = QByteArray::fromHex("474946383961100010008000000000 00ffffff");
    for (const char *pixels : {"848fa9cbed0fa39cb4da8bb3de05", "8c8fa9cbed0fa39cb4da8bb3de05"}) {
        bytes += frame + QByteArray::fromHex(pixels) + '\0';
    }
    return bytes + ';';
}

} // namespace

class TestBatchInputs : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();

    void makesOneFileOfAFolder();
    void makesAFileOfEachImageOfAFolder();
    void takesFoldersInFolders();
    void readsListsOfNames_data();
    void readsListsOfNames();
    void refusesZeroBytesBetweenLines();
    void reportsUnreadableInput();
    void namesFilesByAForm();
    void readsAndWritesStandardStreams();
    void oneBadImageFailsTheWholeFile();
    void numbersThePagesOfSeveralImages();
    void makesBookmarks();
    void makesTheSameBytesAgain();

    void refusesToReplaceOtherFiles_data();
    void refusesToReplaceOtherFiles();
    void opensOddNames_data();
    void opensOddNames();
    void reportsDamage_data();
    void reportsDamage();
    void acceptsOtherBytesOfAJpeg_data();
    void acceptsOtherBytesOfAJpeg();
    void namesAFileOnceInMessages();
    void takesAllPagesOfATiff();
    void reportsLostPages_data();
    void reportsLostPages();
    void takesTheFirstFrameOfAnAnimation();
    void reportsTooManyRows();
    void reads16BitsOverTheOldLimit();
    void runsOutOfMemory();
    void saysThatMemoryRanOut();
    void threadsRunOutOfMemory();
    void quitSignalLeavesNothing_data();
    void quitSignalLeavesNothing();
    void endsWithAClosedPipe();

    void cutsWhereAListSays();
    void readsCutsFromPipes_data();
    void readsCutsFromPipes();
    void refusesCutsOutsideTheImage();
    void refusesCutsOfOtherPictures();
    void drawsAPreview();
    void completesInBash();
};

void TestBatchInputs::cleanup()
{
    clearFolder();
}

void TestBatchInputs::makesOneFileOfAFolder()
{
    QVERIFY(QDir::current().mkpath(u"shots"_s));
    savePlain({u"shots/s1.png"_s, u"shots/s2.png"_s, u"shots/s10.png"_s, u"shots/.hidden.png"_s});
    savedBytes("notes", u"shots/notes.txt"_s);
    const BatchEnd end = runBatchProgram({u"--lossless"_s, u"shots"_s, u"-o"_s, u"all.pdf"_s});
    QCOMPARE(end.errors, QByteArray());
    QCOMPARE(end.code, 0);
    QCOMPARE(end.output, "3 images -> all.pdf: 3 pages\n");
    QCOMPARE(bluesIn(u"all.pdf"_s), (QList<int>{20, 40, 60}));
}

void TestBatchInputs::makesAFileOfEachImageOfAFolder()
{
    QVERIFY(QDir::current().mkpath(u"shots"_s));
    savePlain({u"shots/s1.png"_s, u"shots/s2.PNG"_s});
    QCOMPARE(runBatchProgram({u"shots"_s, u"-o"_s, u"pages"_s}).code, 0);
    QCOMPARE(fileNamesIn(u"pages"_s), (QStringList{u"s1.pdf"_s, u"s2.pdf"_s}));
}

void TestBatchInputs::takesFoldersInFolders()
{
    QVERIFY(QDir::current().mkpath(u"shots/more"_s));
    savePlain({u"shots/a.png"_s, u"shots/more/b.png"_s});
    QCOMPARE(runBatchProgram({u"shots"_s, u"-o"_s, u"one.pdf"_s}).code, 0);
    QCOMPARE(pdfFacts(u"one.pdf"_s).pages, 1);
    QCOMPARE(runBatchProgram({u"--recursive"_s, u"shots"_s, u"-o"_s, u"two.pdf"_s}).code, 0);
    QCOMPARE(pdfFacts(u"two.pdf"_s).pages, 2);
    const BatchEnd none = runBatchProgram({u"shots/more/.."_s, u"--files-from"_s, u"/dev/null"_s, u"-o"_s, u"x.pdf"_s});
    QCOMPARE(none.code, 2);
    QFile::link(u"nowhere.png"_s, u"shots/link.png"_s);
    const BatchEnd dangling = runBatchProgram({u"shots"_s, u"--dry-run"_s});
    QCOMPARE(dangling.code, 3);
    QVERIFY(dangling.errors.contains("shots/link.png: cannot read image: no such file"));
    QVERIFY(QDir::current().mkpath(u"empty"_s));
    const BatchEnd empty = runBatchProgram({u"empty"_s, u"-o"_s, u"x.pdf"_s});
    QCOMPARE(empty.code, 2);
    QVERIFY(empty.errors.contains("there is no image in the folder \"empty\""));
}

void TestBatchInputs::readsListsOfNames_data()
{
    QTest::addColumn<QString>("command");
    QTest::newRow("lines") << u"ls *.png > list; \"$batch\" -o all.pdf --files-from list"_s;
    QTest::newRow("standard input") << u"ls *.png | \"$batch\" -o all.pdf --files-from -"_s;
    QTest::newRow("lines of another system")
        << u"ls *.png | sed 's/$/\\r/' > list; \"$batch\" -o all.pdf --files-from list"_s;
    QTest::newRow("zero bytes")
        << u"find . -name '*.png' -print0 | sort -z | \"$batch\" -o all.pdf -0 --files-from -"_s;
}

void TestBatchInputs::readsListsOfNames()
{
    QFETCH(QString, command);
    savePlain({u"a b.png"_s, u"c.png"_s});
    const BatchEnd end = runShell(command + " --lossless"_L1);
    QCOMPARE(end.errors, QByteArray());
    QCOMPARE(end.code, 0);
    QCOMPARE(bluesIn(u"all.pdf"_s), (QList<int>{20, 40}));
}

void TestBatchInputs::refusesZeroBytesBetweenLines()
{
    savePlain({u"a b.png"_s, u"c.png"_s});
    const BatchEnd end = runShell(u"find . -name '*.png' -print0 | \"$batch\" -o all.pdf --files-from -"_s);
    QCOMPARE(end.code, 2);
    QVERIFY2(end.errors.contains("there are zero bytes in \"-\": use -0 if they separate the names"),
             end.errors.constData());
    QVERIFY(!QFile::exists(u"all.pdf"_s));
}

void TestBatchInputs::reportsUnreadableInput()
{
    const BatchEnd end = runShell(u"mkdir folder; \"$batch\" - -o a.pdf < folder"_s);
    QCOMPARE(end.code, 3);
    QVERIFY2(end.errors.contains("cannot read image: Is a directory"), end.errors.constData());
}

void TestBatchInputs::namesFilesByAForm()
{
    savePlain({u"a.png"_s, u"b.png"_s});
    QCOMPARE(runBatchProgram({u"a.png"_s, u"b.png"_s, u"--name"_s, u"{n} {stem}.pdf"_s, u"-o"_s, u"out/"_s}).code, 0);
    QCOMPARE(fileNamesIn(u"out"_s), (QStringList{u"1 a.pdf"_s, u"2 b.pdf"_s}));
}

void TestBatchInputs::readsAndWritesStandardStreams()
{
    QVERIFY(QDir::current().mkpath(u"-"_s)); // a folder of that name is not meant
    const BatchEnd end = runShell(u"\"$batch\" - -o - > all.pdf"_s, encodedPicture(textPicture(70, 250), "PNG"));
    QCOMPARE(end.code, 0);
    QCOMPARE(end.output, QByteArray());
    QCOMPARE(end.errors, "- -> -: 3 pages\n");
    QCOMPARE(pdfFacts(u"all.pdf"_s).pages, 3);
    QCOMPARE(runShell(u"\"$batch\" - -o all.pdf"_s, "no image").code, 3);
    QCOMPARE(pdfFacts(u"all.pdf"_s).pages, 3);
}

void TestBatchInputs::oneBadImageFailsTheWholeFile()
{
    savePlain({u"a.png"_s, u"c.png"_s});
    savedBytes("no image", u"b.png"_s);
    savedBytes("%PDF-of before", u"all.pdf"_s);
    const BatchEnd end = runBatchProgram({u"--json"_s, u"a.png"_s, u"b.png"_s, u"c.png"_s, u"-o"_s, u"all.pdf"_s});
    QCOMPARE(end.code, 3);
    QVERIFY(end.errors.startsWith("quillmarch-batch: b.png: cannot read image"));
    QCOMPARE(contentOf(u"all.pdf"_s), "%PDF-of before");
    QCOMPARE(partFiles(), QStringList());
    const QList<QJsonObject> lines = jsonLinesOf(end.output);
    QCOMPARE(lines.at(lines.size() - 2).value("image"_L1), QJsonValue(u"b.png"_s));
}

void TestBatchInputs::numbersThePagesOfSeveralImages()
{
    savedPicture(textPicture(70, 150), u"a.png"_s);
    savedPicture(textPicture(70, 150), u"b.png"_s);
    QCOMPARE(runBatchProgram({u"--page-numbers"_s, u"a.png"_s, u"b.png"_s, u"-o"_s, u"all.pdf"_s}).code, 0);
    QProcess text;
    text.start(u"pdftotext"_s, {u"all.pdf"_s, u"-"_s});
    QVERIFY(text.waitForFinished());
    QCOMPARE(text.readAllStandardOutput().simplified(), "1 2 3 4");
}

void TestBatchInputs::makesBookmarks()
{
    savePlain({u"first.png"_s, u"second.png"_s});
    QCOMPARE(runBatchProgram({u"first.png"_s, u"second.png"_s, u"--title"_s, u"Both"_s, u"-o"_s, u"all.pdf"_s}).code,
             0);
    QProcess info;
    info.start(u"pdfinfo"_s, {u"all.pdf"_s});
    QVERIFY(info.waitForFinished());
    QVERIFY(info.readAllStandardOutput().contains("Both"));
    QVERIFY(contentOf(u"all.pdf"_s).contains("second.png"));
}

void TestBatchInputs::makesTheSameBytesAgain()
{
    savedPicture(textPicture(350, 3000), u"a.png"_s);
    const BatchEnd end = runShell(u"export SOURCE_DATE_EPOCH=1700000000; \"$batch\" -q -j 1 a.png -o one.pdf &&"
                                  " \"$batch\" -q -j 4 a.png -o two.pdf && cmp one.pdf two.pdf"_s);
    QCOMPARE(end.output, QByteArray());
    QCOMPARE(end.code, 0);
}

void TestBatchInputs::refusesToReplaceOtherFiles_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("another image") << QStringList{u"a.png"_s, u"-o"_s, u"b.png"_s};
    QTest::newRow("from a pattern") << QStringList{u"-o"_s, u"b.png"_s, u"a.png"_s};
    QTest::newRow("in a folder") << QStringList{u"a.png"_s, u"-o"_s, u"."_s, u"--name"_s, u"{stem}1.pdf"_s};
    QTest::newRow("a PDF file, if that is asked") << QStringList{u"--no-clobber"_s, u"a.png"_s, u"-o"_s, u"old.pdf"_s};
    QTest::newRow("by the preview") << QStringList{u"a.png"_s, u"-o"_s, u"c.pdf"_s, u"--preview"_s, u"a1.pdf"_s};
}

void TestBatchInputs::refusesToReplaceOtherFiles()
{
    QFETCH(QStringList, arguments);
    savePlain({u"a.png"_s, u"b.png"_s});
    savedBytes("notes", u"a1.pdf"_s);
    savedBytes("%PDF-1.4", u"old.pdf"_s);
    const QByteArray image = contentOf(u"b.png"_s);
    const BatchEnd end = runBatchProgram(arguments);
    QCOMPARE(end.code, 2);
    QCOMPARE(contentOf(u"b.png"_s), image);
    QCOMPARE(contentOf(u"a1.pdf"_s), "notes");
    QCOMPARE(contentOf(u"old.pdf"_s), "%PDF-1.4");
    QCOMPARE(fileNamesIn(u"."_s).size(), 4);
}

void TestBatchInputs::opensOddNames_data()
{
    QTest::addColumn<QString>("name"); // as bash writes it
    QTest::newRow("colon") << u":a"_s;
    QTest::newRow("two colons") << u"::"_s;
    QTest::newRow("Latin-1") << u"gr\\xfc\\xdfe"_s;
    QTest::newRow("line feed") << u"a\\nb"_s;
    QTest::newRow("cut off UTF-8") << u"\\xe5\\x90"_s;
    QTest::newRow("a resource") << u":images"_s;
}

void TestBatchInputs::opensOddNames()
{
    QFETCH(QString, name);
    savePlain({u"a.png"_s});
    const BatchEnd end = runShell(
        u"n=$'%1'; mv a.png \"$n.png\"; \"$batch\" -q -o out/ -- \"$n.png\" &&"
        " \"$batch\" --json \"$n.png\" -o \"$n.pdf\" && \"$batch\" \"$n.png\" . -o two/ &&"
        " ls -d \"out/$n.pdf\" \"$n.pdf\" \"two/$n.pdf\" \"two/$n-2.pdf\" > /dev/null && set -- * && echo $#"_s.arg(
            name));
    QCOMPARE(end.code, 0);
    QCOMPARE(end.errors, QByteArray());
    QVERIFY2(end.output.endsWith("\n4\n"), end.output.constData()); // the image, its PDF file and two folders
}

void TestBatchInputs::reportsDamage_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("bytes");
    const QImage picture = noisePicture(QSize(200, 300));
    const auto truncated = [](const QByteArray &bytes) { return bytes.left(bytes.size() / 2); };
    QTest::newRow("truncated JPEG") << u"a.jpg"_s << truncated(encodedPicture(picture, "JPG"));
    const QByteArray jpeg = encodedPicture(picture, "JPG");
    QTest::newRow("truncated JPEG, padded") << u"a.jpg"_s << truncated(padded(jpeg, "ffdb", "000000"));
    QTest::newRow("JPEG, longer table") << u"a.jpg"_s << padded(jpeg, "ffc0", "1111");
    QByteArray restarting = restartingJpeg(picture.convertToFormat(QImage::Format_Grayscale8));
    QTest::newRow("JPEG without a restart marker")
        << u"a.jpg"_s << restarting.remove(restarting.indexOf("\xff\xd0"), 2);
    const QByteArray progressive = progressiveJpeg(picture);
    QTest::newRow("progressive JPEG, bytes inserted")
        << u"a.jpg"_s << QByteArray(progressive).insert(progressive.indexOf("\xff\xda") + 14, QByteArray(20, '\0'));
    QTest::newRow("truncated BMP") << u"a.bmp"_s << truncated(encodedPicture(picture, "BMP"));
    const QByteArray noSize = encodedPicture(picture, "BMP").replace(2, 4, QByteArray(4, '\0'));
    QTest::newRow("truncated BMP, 0 bytes long") << u"a.bmp"_s << truncated(noSize);
    QTest::newRow("truncated XBM") << u"a.xbm"_s << truncated(encodedPicture(picture, "XBM"));
    QTest::newRow("truncated GIF") << u"a.gif"_s
                                   << QByteArray::fromHex("474946383961c8002c018000000000 00ffffff"
                                                          "2c00000000c8002c0100020e848fa9cbed0fa39cb4da8bb3de05");
}

void TestBatchInputs::reportsDamage()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, bytes);
    savedBytes(bytes, name);
    const BatchEnd end = runBatchProgram({name, u"-o"_s, u"a.pdf"_s});
    QCOMPARE(end.code, 3);
    QVERIFY2(end.errors.contains("damaged"), end.errors.constData());
    QVERIFY(!QFile::exists(u"a.pdf"_s));
    const BatchEnd accepted = runBatchProgram({u"--accept-damaged"_s, name, u"-o"_s, u"a.pdf"_s});
    QCOMPARE(accepted.code, 0);
    QVERIFY2(accepted.output.contains("(damaged: "), accepted.output.constData());
    QVERIFY(pdfFacts(u"a.pdf"_s).pages > 0);
    const qint64 pixels = 200LL * 300;
    QCOMPARE(runBatchProgram({u"--accept-damaged"_s, u"--lossless"_s, name, u"-o"_s, u"a.pdf"_s}).code, 0);
    qint64 stored = 0;
    for (const QImage &image : pdfImages(u"a.pdf"_s)) {
        stored += qint64(image.width()) * image.height();
    }
    QCOMPARE(stored, pixels);
}

void TestBatchInputs::acceptsOtherBytesOfAJpeg_data()
{
    QTest::addColumn<QByteArray>("bytes");
    const QImage picture = noisePicture(QSize(200, 300));
    const QByteArray jpeg = encodedPicture(picture, "JPG");
    QTest::newRow("zero bytes before the tables") << padded(jpeg, "ffdb", "000000");
    QTest::newRow("zero bytes before the frame") << padded(jpeg, "ffc0", "00");
    QTest::newRow("zero bytes before the scan") << padded(jpeg, "ffda", "00");
    QTest::newRow("zero bytes before all of them")
        << padded(padded(padded(jpeg, "ffe0", "0000"), "ffc0", "00"), "ffda", "00000000");
    QTest::newRow("fill bytes before the frame") << padded(jpeg, "ffc0", "ffff");
    QTest::newRow("bytes before the end") << jpeg.chopped(2) + QByteArray::fromHex("123456ffd9");
    QTest::newRow("zero bytes before the end") << jpeg.chopped(2) + QByteArray::fromHex("0000ffd9");
    QTest::newRow("bytes after the end") << jpeg + "notes";
    QTest::newRow("a picture after the end") << jpeg + jpeg;
    QTest::newRow("progressive") << progressiveJpeg(picture);
    QTest::newRow("restart markers") << restartingJpeg(picture.convertToFormat(QImage::Format_Grayscale8));
}

void TestBatchInputs::acceptsOtherBytesOfAJpeg()
{
    QFETCH(QByteArray, bytes);
    savedBytes(bytes, u"a.jpg"_s);
    const BatchEnd end = runBatchProgram({u"a.jpg"_s, u"-o"_s, u"a.pdf"_s});
    QCOMPARE(end.errors, QByteArray());
    QCOMPARE(end.code, 0);
    QVERIFY2(!end.output.contains("damaged"), end.output.constData());
    QCOMPARE(runBatchProgram({u"--lossless"_s, u"a.jpg"_s, u"-o"_s, u"b.pdf"_s}).code, 0);
    const QImage expected = QImage::fromData(bytes).convertToFormat(QImage::Format_RGB32);
    const QImage first = pdfImages(u"b.pdf"_s).first().convertToFormat(QImage::Format_RGB32);
    QCOMPARE(first.width(), 200);
    QCOMPARE(firstDifference(first.copy(0, 0, 200, 8), expected.copy(0, 0, 200, 8)), QString());
}

void TestBatchInputs::namesAFileOnceInMessages()
{
    const QByteArray png = encodedPicture(noisePicture(QSize(200, 300)), "PNG");
    savedBytes(png.left(png.size() / 2), u"half.png"_s);
    const BatchEnd end = runBatchProgram({u"half.png"_s, u"-o"_s, u"a.pdf"_s});
    QCOMPARE(end.code, 3);
    QCOMPARE(end.errors.count('\n'), 1);
    QCOMPARE(end.errors.count("half.png"), 1);
    QVERIFY2(end.errors.contains("libpng"), end.errors.constData());
}

void TestBatchInputs::takesAllPagesOfATiff()
{
    const QImage first = noisePicture(QSize(50, 60)).convertToFormat(QImage::Format_Grayscale8);
    const QImage second =
        noisePicture(QSize(40, 90), QImage::Format_RGB32, 2).convertToFormat(QImage::Format_Grayscale8);
    savedBytes(tiffOf({first, second}), u"two.tif"_s);
    const BatchEnd end = runBatchProgram({u"--json"_s, u"-q"_s, u"--lossless"_s, u"two.tif"_s, u"-o"_s, u"a.pdf"_s});
    QCOMPARE(end.errors, QByteArray());
    QCOMPARE(end.code, 0);
    const QList<QImage> images = pdfImages(u"a.pdf"_s);
    QCOMPARE(images.size(), 3); // the second is cut once
    QCOMPARE(firstDifference(images.at(0), first.convertToFormat(QImage::Format_RGB32)), QString());
    const QList<QJsonObject> lines = jsonLinesOf(end.output);
    QCOMPARE(lines.at(0).value("event"_L1), QJsonValue(u"picture"_s));
    QCOMPARE(lines.at(1).value("index"_L1), QJsonValue(1));
    QCOMPARE(lines.at(1).value("cuts"_L1).toArray().size(), 1);
    QCOMPARE(lines.at(2).value("pages"_L1), QJsonValue(3));
}

void TestBatchInputs::reportsLostPages_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("damage");
    QTest::addColumn<QList<int>>("heights"); // of the pages that are left
    const auto page = [](int height) {
        return plainPicture(100, height, Qt::white).convertToFormat(QImage::Format_Grayscale8);
    };
    const QByteArray file = tiffOf({page(60), page(61), page(62)});
    const auto withLast = [&file](const char *next) { return file.chopped(4) + QByteArray::fromHex(next); };
    const auto with = [&file](const char *before, const char *after) {
        return QByteArray(file).replace(QByteArray::fromHex(before), QByteArray::fromHex(after));
    };
    const QList<int> all{60, 61, 62};
    QTest::newRow("page 3 truncated") << file.chopped(5) << u"the pages after page 2 cannot be found"_s
                                      << QList<int>{60, 61};
    QTest::newRow("page 2 truncated") << file.left(6200) << u"the pages after page 1 cannot be found"_s
                                      << QList<int>{60};
    const QString noEnd = u"the pages after page 3 cannot be found"_s;
    QTest::newRow("truncated at the last link") << file.chopped(4) << noEnd << all;
    QTest::newRow("one more after the end") << withLast("ffff0000") << noEnd << all;
    QTest::newRow("one more at the last byte") << withLast("d9480000") << noEnd << all;
    QTest::newRow("one more at 4 GiB") << withLast("ffffffff") << noEnd << all;
    QTest::newRow("one more in the pixels") << withLast("09000000") << noEnd << all;
    QTest::newRow("page 3 follows itself") << withLast("68480000") << noEnd << all;
    QTest::newRow("height of page 2 is 0") << with("0101 0400 01000000 3d000000", "0101 0400 01000000 00000000")
                                           << u"page 2 cannot be read"_s << QList<int>{60, 62};
    QTest::newRow("height of page 1 is 0") << with("0101 0400 01000000 3c000000", "0101 0400 01000000 00000000")
                                           << u"page 1 cannot be read"_s << QList<int>{61, 62};
    QTest::newRow("height of page 3 is 0") << with("0101 0400 01000000 3e000000", "0101 0400 01000000 00000000")
                                           << u"page 3 cannot be read"_s << QList<int>{60, 61};
}

void TestBatchInputs::reportsLostPages()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, damage);
    savedBytes(bytes, u"a.tif"_s);
    const BatchEnd end = runBatchProgram({u"a.tif"_s, u"-o"_s, u"a.pdf"_s});
    QCOMPARE(end.code, 3);
    const QByteArray reason = "the file is damaged: " + damage.toUtf8();
    QVERIFY2(end.errors.contains(reason), end.errors.constData());
    QVERIFY(!QFile::exists(u"a.pdf"_s));
    const BatchEnd accepted =
        runBatchProgram({u"--accept-damaged"_s, u"--lossless"_s, u"a.tif"_s, u"-o"_s, u"a.pdf"_s});
    QCOMPARE(accepted.code, 0);
    QCOMPARE(accepted.output.count(u"(damaged: %1)"_s.arg(damage).toUtf8()), 1);
    QList<int> heights;
    for (const QImage &image : pdfImages(u"a.pdf"_s)) {
        heights.append(image.height());
    }
    QTEST(heights, "heights");
}

void TestBatchInputs::takesTheFirstFrameOfAnAnimation()
{
    savedBytes(animation(), u"a.gif"_s);
    const BatchEnd end = runBatchProgram({u"a.gif"_s, u"-o"_s, u"a.pdf"_s});
    QCOMPARE(end.errors, QByteArray());
    QVERIFY2(end.output.contains("(only the first frame of the animation)"), end.output.constData());
    QCOMPARE(pdfFacts(u"a.pdf"_s).pages, 1);
}

void TestBatchInputs::reportsTooManyRows()
{
    const QByteArray png = encodedPicture(plainPicture(16, 16, Qt::white), "PNG");
    QByteArray rows = png;
    rows.replace(20, 4, QByteArray::fromHex("00124f80")); // 1,200,000
    savedBytes(rows, u"rows.png"_s);
    const BatchEnd end = runBatchProgram({u"rows.png"_s, u"-o"_s, u"a.pdf"_s});
    QCOMPARE(end.code, 5);
    QVERIFY2(end.errors.contains("too large: more than 1000000 rows"), end.errors.constData());
}

void TestBatchInputs::reads16BitsOverTheOldLimit()
{
    // 400 million bytes at 16 bits a channel, of which a limit of 4 bytes a pixel allows half.
    QImage deep(5000, 10000, QImage::Format_RGBX64);
    deep.fill(Qt::white);
    savedPicture(deep, u"deep.png"_s);
    deep = QImage();
    const BatchEnd end = runBatchProgram({u"--dry-run"_s, u"--cuts"_s, u"regular"_s, u"deep.png"_s});
    QCOMPARE(end.errors, QByteArray());
    QCOMPARE(end.code, 0);
}

void TestBatchInputs::runsOutOfMemory()
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    QSKIP("The sanitizer reserves more memory than any limit");
#endif
    savedPicture(blockPicture(2000, 20000), u"a.png"_s);
    savedBytes("%PDF-of before", u"a.pdf"_s);
    savedBytes("<fontconfig/>", u"fonts.conf"_s); // or it stores a list of the few fonts that fitted
    int ended = 0;
    for (int megabytes = 150; megabytes <= 900; megabytes += 50) {
        const BatchEnd end = runShell(
            u"ulimit -v %1; FONTCONFIG_FILE=$PWD/fonts.conf \"$batch\" a.png -o a.pdf"_s.arg(megabytes * 1024));
        QCOMPARE(partFiles(), QStringList());
        if (end.code == 0) {
            break;
        }
        // Below some size the program cannot even start: 127 is the loader's.
        QVERIFY2(end.code == 5 || (end.code == 127 && ended == 0),
                 qPrintable(u"%1 MiB: %2 %3"_s.arg(megabytes).arg(end.code).arg(QString::fromUtf8(end.errors))));
        ended += end.code == 5 ? 1 : 0;
        QCOMPARE(contentOf(u"a.pdf"_s), "%PDF-of before");
    }
    QVERIFY(ended > 0);
}

void TestBatchInputs::saysThatMemoryRanOut()
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    QSKIP("The sanitizer reserves more memory than any limit");
#endif
    savedPicture(textPicture(200, 6000).convertToFormat(QImage::Format_Grayscale8), u"a.pgm"_s);
    savedBytes("<fontconfig/>", u"fonts.conf"_s); // or it stores a list of the few fonts that fitted
    const auto endWithin = [](int kibibytes) {
        return runShell(
            u"ulimit -c 0 -v %1; FONTCONFIG_FILE=$PWD/fonts.conf \"$batch\" a.pgm -o a.pdf"_s.arg(kibibytes));
    };
    int enough = 60 << 10;
    while (endWithin(enough).code != 0) {
        QVERIFY(enough < 1024 << 10);
        enough += 1 << 10;
    }
    int ended = 0;
    for (int size = enough - (4 << 10); size < enough; size += 32) {
        const BatchEnd end = endWithin(size);
        if (end.code == 5) {
            QVERIFY2(end.errors.contains("memory"),
                     qPrintable(u"%1 KiB: %2"_s.arg(size).arg(QString::fromUtf8(end.errors))));
            ++ended;
        }
    }
    QVERIFY(ended > 0);
}

void TestBatchInputs::threadsRunOutOfMemory()
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    QSKIP("The sanitizer reserves more memory than any limit");
#endif
    savedBytes(R"svg(<svg xmlns="http://www.w3.org/2000/svg" width="400" height="400">
        <linearGradient id="g"><stop offset="0" stop-color="red"/><stop offset="1"/></linearGradient>
        <rect width="400" height="400" fill="url(#g)"/></svg>)svg",
               u"gradient.svg"_s); // Qt draws it with threads
    savedBytes("<fontconfig/>", u"fonts.conf"_s); // or it stores a list of the few fonts that fitted
    const auto codeWithin = [](int kibibytes) {
        return runShell(u"ulimit -c 0 -v %1; FONTCONFIG_FILE=$PWD/fonts.conf \"$batch\" gradient.svg -o a.pdf"_s.arg(
                            kibibytes))
            .code;
    };
    int enough = 60 << 10;
    while (codeWithin(enough) != 0) {
        QVERIFY(enough < 1024 << 10);
        enough += 1 << 10;
    }
    for (int size = enough - (2 << 10); size < enough; size += 16) { // the last threads start, but have no more memory
        const int code = codeWithin(size);
        QVERIFY2(code >= 0 && code <= 5, qPrintable(u"%1 KiB: %2"_s.arg(size).arg(code)));
        QCOMPARE(partFiles(), QStringList());
    }
}

void TestBatchInputs::quitSignalLeavesNothing_data()
{
    QTest::addColumn<QString>("images");
    QTest::newRow("one image") << u"a.png"_s;
    QTest::newRow("several images") << u"a.png b.png c.png"_s;
}

void TestBatchInputs::quitSignalLeavesNothing()
{
    QFETCH(QString, images);
    for (const QString &name : images.split(u' ')) {
        savedPicture(blockPicture(700, 57600), name);
    }
    const qsizetype before = fileNamesIn(u"."_s).size();
    // A terminal sends the signal to all processes of the group.
    const BatchEnd end =
        runShell(u"set -m; ulimit -c unlimited; \"$batch\" --lossless %1 -o ./ & p=$!;"
                 " until ls | grep -q part; do sleep 0.01; done; kill -QUIT -- -$p; wait $p"_s.arg(images));
    QVERIFY(end.code != 0);
    QTRY_COMPARE(partFiles(), QStringList());
    QTRY_COMPARE(fileNamesIn(u"."_s).size(), before);
}

void TestBatchInputs::endsWithAClosedPipe()
{
    savePlain({u"a.png"_s});
    QString names;
    for (int i = 0; i < 300; ++i) {
        names += u" a.png"_s;
    }
    const BatchEnd end = runShell(u"\"$batch\" --json%1 -o out | head -1; exit ${PIPESTATUS[0]}"_s.arg(names));
    QVERIFY(end.code != 0);
    QVERIFY2(fileNamesIn(u"out"_s).size() < 250, qPrintable(QString::number(fileNamesIn(u"out"_s).size())));
}

void TestBatchInputs::cutsWhereAListSays()
{
    savedPicture(textPicture(350, 1500), u"a.png"_s);
    savedPicture(textPicture(350, 1500), u"b.png"_s);
    const BatchEnd dry = runBatchProgram({u"--dry-run"_s, u"--json"_s, u"a.png"_s, u"b.png"_s});
    QCOMPARE(dry.code, 0);
    savedBytes("{\"event\":\"done\",\"image\":\"a.png\",\"cuts\":[100,333,900]}\n", u"cuts.txt"_s);
    for (const QString &layout : {u"flow"_s, u"window"_s}) {
        const BatchEnd end =
            runBatchProgram({u"--layout"_s, layout, u"--json"_s, u"-q"_s, u"--lossless"_s, u"--cuts-from"_s,
                             u"cuts.txt"_s, u"a.png"_s, u"b.png"_s, u"-o"_s, u"out"_s});
        QCOMPARE(end.errors, QByteArray());
        const QList<QImage> strips = pdfImages(u"out/a.pdf"_s);
        QCOMPARE(strips.size(), 4);
        QCOMPARE(strips.at(0).height(), 100);
        QCOMPARE(strips.at(1).height(), 233);
        QCOMPARE(strips.at(3).height(), 600);
        QVERIFY(pdfFacts(u"out/b.pdf"_s).pages > 1);
    }
    // What a dry run prints changes nothing.
    savedBytes(dry.output, u"cuts.txt"_s);
    const BatchEnd again =
        runBatchProgram({u"--dry-run"_s, u"--json"_s, u"--cuts-from"_s, u"cuts.txt"_s, u"a.png"_s, u"b.png"_s});
    QCOMPARE(jsonLinesOf(again.output).at(0).value("cuts"_L1), jsonLinesOf(dry.output).at(0).value("cuts"_L1));
}

void TestBatchInputs::readsCutsFromPipes_data()
{
    QTest::addColumn<QString>("command");
    QTest::newRow("standard input") << u"%1 | \"$batch\" --cuts-from -"_s;
    QTest::newRow("named pipe") << u"mkfifo list; %1 | timeout 60 tee list > /dev/null & \"$batch\" --cuts-from list"_s;
}

void TestBatchInputs::readsCutsFromPipes()
{
    QFETCH(QString, command);
    savedPicture(textPicture(350, 1500), u"a.png"_s);
    const QString list = u"printf '{\"image\":\"a.png\",\"cuts\":[100,333]}'"_s;
    const BatchEnd end = runShell(command.arg(list) + " --lossless a.png -o a.pdf"_L1);
    QCOMPARE(end.errors, QByteArray());
    QCOMPARE(end.code, 0);
    const QList<QImage> strips = pdfImages(u"a.pdf"_s);
    QCOMPARE(strips.size(), 3);
    QCOMPARE(strips.at(0).height(), 100);
    QCOMPARE(strips.at(1).height(), 233);
}

void TestBatchInputs::refusesCutsOutsideTheImage()
{
    savedPicture(textPicture(350, 1500), u"a.png"_s);
    savedBytes("{\"image\":\"a.png\",\"cuts\":[100,1500]}\n", u"cuts.txt"_s);
    const BatchEnd end = runBatchProgram({u"--cuts-from"_s, u"cuts.txt"_s, u"a.png"_s, u"-o"_s, u"a.pdf"_s});
    QCOMPARE(end.code, 3);
    QVERIFY2(end.errors.contains("the cut at row 1500 is not inside the image of 1500 rows"), end.errors.constData());
}

void TestBatchInputs::refusesCutsOfOtherPictures()
{
    savedPicture(textPicture(350, 1500), u"a.png"_s);
    savedBytes("{\"image\":\"a.png\",\"cuts\":[100],\"index\":2000000000}\n", u"cuts.txt"_s);
    const BatchEnd end = runBatchProgram({u"--cuts-from"_s, u"cuts.txt"_s, u"a.png"_s, u"-o"_s, u"a.pdf"_s});
    QCOMPARE(end.code, 3);
    QVERIFY2(end.errors.contains("there are cuts of picture 2000000001, but the image has 1"), end.errors.constData());
}

void TestBatchInputs::drawsAPreview()
{
    savedPicture(plainPicture(720, 3000, Qt::white), u"a.png"_s);
    const BatchEnd end = runBatchProgram(
        {u"--dry-run"_s, u"--json"_s, u"--cuts"_s, u"regular"_s, u"a.png"_s, u"--preview"_s, u"p.png"_s});
    QCOMPARE(end.errors, QByteArray());
    const QImage preview(u"p.png"_s);
    QCOMPARE(preview.size(), QSize(360, 1500));
    const int cut = jsonLinesOf(end.output).first().value("cuts"_L1).toArray().first().toInt();
    QCOMPARE(preview.pixelColor(100, cut / 2), QColor(Qt::red));
    QCOMPARE(preview.pixelColor(100, cut / 2 - 5), QColor(Qt::white));
    QCOMPARE(fileNamesIn(u"."_s), (QStringList{u"a.png"_s, u"p.png"_s}));
}

void TestBatchInputs::completesInBash()
{
    const BatchEnd end = runShell(u"source <(\"$batch\" --completion bash);"
                                  " COMP_WORDS=(quillmarch-batch --cuts c) COMP_CWORD=2; _quillmarch_batch;"
                                  " echo \"${COMPREPLY[@]}\"; COMP_WORDS=(quillmarch-batch --page) COMP_CWORD=1;"
                                  " _quillmarch_batch; echo \"${COMPREPLY[@]}\""_s);
    QCOMPARE(end.errors, QByteArray());
    QCOMPARE(end.output, "calm\n--page-numbers\n");
}

QUILLMARCH_TEST_MAIN(TestBatchInputs)
#include "tst_batchinputs.moc"
