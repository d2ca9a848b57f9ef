#include "batch/batchoptions.h"
#include "batchprogram.h"
#include "support/files.h"
#include "support/imagecomparison.h"
#include "support/pdffacts.h"
#include "support/pictures.h"
#include "support/testmain.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>
#include <cstdlib>

#ifdef Q_OS_UNIX
#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#endif
#ifdef Q_OS_LINUX
#include <sys/prctl.h>
#endif

using namespace Qt::StringLiterals;

namespace {

constexpr int processTime = 60000; // milliseconds

// An image that is too wide for any memory.
constexpr auto hugeDrawing = R"(<svg xmlns="http://www.w3.org/2000/svg" width="100000000" height="50"/>)";

constexpr auto oldFile = "%PDF-1.4 of before"; // which a run may replace

/// An image of 58 pages, which take a while to write. The file is kept for other
/// tests.
QString longPicture()
{
    static const QString path = savedPicture(blockPicture(700, 57600), u"../long.png"_s);
    return path;
}

/// Light marks on a dark ground in the rows below the first \a border, except from
/// 440 to 460 and 1050 to 1064 of them. They fill the width.
QImage darkPicture(int height, int border = 0)
{
    QImage image(350, border + height, QImage::Format_RGB32);
    image.fill(qRgb(25, 28, 35));
    for (int y = 0; y < height; ++y) {
        const bool isBlank = (y >= 440 && y < 460) || (y >= 1050 && y < 1064);
        for (int x = 0; x < image.width() && !isBlank; x += 1 + (x * 7 + y * 13) % 5) {
            image.setPixel(x, border + y, qRgb(220, 220, 225));
        }
    }
    return image;
}

/// How often neighboring pixels of row \a y clearly differ: in a blank row only at
/// the edges of bubbles.
int changesAlong(const QImage &image, int y)
{
    int changes = 0;
    for (int x = 1; x < image.width(); ++x) {
        changes += std::abs(qGray(image.pixel(x, y)) - qGray(image.pixel(x - 1, y))) > 16 ? 1 : 0;
    }
    return changes;
}

/// The most changes along the rows beside \a cuts of \a image.
int mostChangesBeside(const QJsonArray &cuts, const QImage &image)
{
    int most = 0;
    for (const QJsonValue &cut : cuts) {
        most = std::max({most, changesAlong(image, cut.toInt() - 1), changesAlong(image, cut.toInt())});
    }
    return most;
}

QStringList partFiles()
{
    return QDir::current().entryList({u"*.part"_s}, QDir::Files | QDir::Hidden);
}

/// Starts a run with \a arguments, which must include --json, and waits for its
/// first page.
bool startAndAwaitPage(QProcess &process, const QStringList &arguments)
{
    setUpBatch(process, arguments);
    process.start();
    QByteArray output;
    while (!output.contains("\"page\"") && process.waitForReadyRead(processTime)) {
        output += process.readAllStandardOutput();
    }
    return output.contains("\"page\"");
}

/// The objects in \a lines whose event is \a name.
QList<QJsonObject> eventsIn(const QList<QJsonObject> &lines, const QString &name)
{
    QList<QJsonObject> events;
    for (const QJsonObject &line : lines) {
        if (line["event"_L1].toString() == name) {
            events.append(line);
        }
    }
    return events;
}

QJsonObject pageEvent(int page, int pages)
{
    return {{u"event"_s, u"page"_s},
            {u"image"_s, u"a.png"_s},
            {u"output"_s, u"out/a.pdf"_s},
            {u"page"_s, page},
            {u"pages"_s, pages}};
}

#ifdef Q_OS_LINUX
/// Sets up \a process to run the program with \a arguments and at most \a files open
/// files, the standard streams among them.
void setUpWithFiles(QProcess &process, int files, const QStringList &arguments)
{
    setUpBatch(process, arguments);
    process.setChildProcessModifier([files] {
        for (int inherited = 3; inherited < 256; ++inherited) { // opened by whoever started the test
            ::fcntl(inherited, F_SETFD, FD_CLOEXEC);
        }
        const rlimit limit{rlim_t(files), rlim_t(files)};
        ::setrlimit(RLIMIT_NOFILE, &limit);
    });
}

/// The child processes of the process \a parent.
QList<qint64> childrenOf(qint64 parent)
{
    QList<qint64> children;
    const QByteArray text = contentOf(u"/proc/%1/task/%1/children"_s.arg(parent));
    for (const QByteArray &number : text.simplified().split(' ')) {
        if (!number.isEmpty()) {
            children.append(number.toLongLong());
        }
    }
    return children;
}
#endif

} // namespace

class TestBatchRun : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();

    void endsWith_data();
    void endsWith();
    void answersOnTheStandardOutput_data();
    void answersOnTheStandardOutput();
    void refusalChangesNothing();

    void continuesAfterAFailure_data();
    void continuesAfterAFailure();
    void givesEqualNamesDifferentFiles();
    void createsTheFolder();
    void reportsAnUnusableFolder();
    void worksOnManyFiles();

    void reportsInText();
    void reportsInJson_data();
    void reportsInJson();
    void reportsWhereItCuts_data();
    void reportsWhereItCuts();
    void reportsACutThroughContent();
    void countsRowsOfTheTrimmedImage();
    void dryRunWritesNothing_data();
    void dryRunWritesNothing();
    void dryRunReportsInJson();
    void cutsADarkChatCleanly();
    void printsNothingWhenQuiet();
    void printsFailuresWhenQuiet();
    void fullStandardOutputIsAFailure();
    void closedStreamsLeaveTheFileComplete_data();
    void closedStreamsLeaveTheFileComplete();
    void endsIfNoThreadStarts();
    void endsIfNoWorkerStarts_data();
    void endsIfNoWorkerStarts();
    void saysWhyWithoutFiles_data();
    void saysWhyWithoutFiles();
    void workerEndsAtALineThatIsNoJob();

    void needsNoEnvironment();
    void saysWhatOfQtIsMissing();
    void readsNoFonts_data();
    void readsNoFonts();
    void ignoresSettings();

    void failedWriteKeepsTheOldFile_data();
    void failedWriteKeepsTheOldFile();
    void fullDiskDoesNotBreakStandardError();
    void killKeepsTheOldFile();
    void signalRemovesTheUnfinishedFile_data();
    void signalRemovesTheUnfinishedFile();
    void killedWorkerCostsOneFile();
    void workersEndWithTheProgram();
    void workerThatHasJustStartedEndsWithTheProgram();
};

void TestBatchRun::cleanup()
{
    QDir folder = QDir::current();
    for (const QString &name : fileNamesIn(folder.path())) {
        if (QFileInfo(name).isDir() && !QFileInfo(name).isSymLink()) {
            QDir(name).removeRecursively();
        } else {
            QFile::remove(name);
        }
    }
}

void TestBatchRun::endsWith_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("words");
    const auto row = [](const char *name, const QString &arguments, int code, const QString &words) {
        QTest::newRow(name) << arguments.split(u' ', Qt::SkipEmptyParts) << code << words;
    };
    const QString longName(300, u'x');
    row("done", u"a.png -o a.pdf"_s, 0, QString());
    row("no arguments", QString(), 2, u"--help"_s);
    row("wrong option", u"a.png -o a.pdf --wrong"_s, 2, u"Unknown option"_s);
    row("output is the image", u"a.png -o a.png"_s, 2, u"overwritten"_s);
    row("several to a file", u"a.png b.png -o text.png"_s, 2, u"folder"_s);
    row("no such image", u"none.png -o a.pdf"_s, 3, u"none.png: cannot read image: no such file"_s);
    row("text", u"text.png -o a.pdf"_s, 3, u"text.png: cannot read image: unsupported format or corrupted file"_s);
    row("empty", u"empty.png -o a.pdf"_s, 3, u"cannot read image: unsupported format"_s);
    row("empty folder", u"folder -o a.pdf"_s, 2, u"there is no image in the folder \"folder\""_s);
    row("unknown shell", u"--completion csh"_s, 2, u"--completion"_s);
    row("device", u"/dev/zero -o a.pdf"_s, 3, u"cannot read image: not a regular file"_s);
    row("PDF", u"named.PDF -o a.pdf"_s, 3, u"named.PDF: cannot read image: PDF files are not supported"_s);
    row("10 pixels wide", u"narrow.png -o a.pdf"_s, 3, u"cannot read image: too small: 10 x 500 pixels"_s);
    row("no folder", u"a.png -o none/a.pdf"_s, 4, u"cannot write \"none/a.pdf\""_s);
    row("output is a device", u"a.png -o /dev/full"_s, 4, u"not a regular file"_s);
#ifdef Q_OS_LINUX
    row("file that cannot be read", u"/proc/self/mem -o a.pdf"_s, 3, u"cannot read image: Input/output error"_s);
#endif
    row("long name", u"%1.png -o a.pdf"_s.arg(longName), 3, u"cannot read image: File name too long"_s);
    row("long name of a PDF", u"%1.pdf -o a.pdf"_s.arg(longName), 3, u"PDF files are not supported"_s);
    row("missing PDF", u"none.pdf -o a.pdf"_s, 3, u"none.pdf: cannot read image: no such file"_s);
    row("long name of a folder", u"a.png -o %1/"_s.arg(longName), 4, u"File name too long"_s);
    row("no folder of the preview", u"a.png --preview none/p.png"_s, 4, u"cannot write \"none/p.png\": No such file"_s);
    row("no list of cuts", u"a.png -o a.pdf --cuts-from none"_s, 3, u"cannot read \"none\": No such file"_s);
    row("folder as a list of cuts", u"a.png -o a.pdf --cuts-from folder"_s, 3, u"cannot read \"folder\""_s);
    row("no list of files", u"-o a.pdf --files-from none"_s, 3, u"cannot read \"none\": No such file"_s);
    row("folder as a list of files", u"-o a.pdf --files-from folder"_s, 3, u"cannot read \"folder\""_s);
    row("huge", u"huge.svg -o a.pdf"_s, 5, u"too large: 100000000 x 50 pixels"_s);
}

void TestBatchRun::endsWith()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, code);
    QFETCH(QString, words);
    savedPicture(textPicture(70, 250), u"a.png"_s);
    savedPicture(textPicture(70, 250), u"b.png"_s);
    savedPicture(textPicture(70, 250), u"named.PDF"_s, "PNG");
    savedPicture(textPicture(10, 500), u"narrow.png"_s);
    savedBytes("no image", u"text.png"_s);
    savedBytes(QByteArray(), u"empty.png"_s);
    savedBytes(hugeDrawing, u"huge.svg"_s);
    QVERIFY(QDir::current().mkpath(u"folder"_s));
    const QByteArray image = contentOf(u"a.png"_s);

    const BatchEnd end = runBatchProgram(arguments);
    QCOMPARE(end.code, code);
    QVERIFY2(QString::fromUtf8(end.errors).contains(words), end.errors.constData());
    QCOMPARE(end.errors.isEmpty(), code == 0);
    QCOMPARE(QFile::exists(u"a.pdf"_s), code == 0);
    QCOMPARE(partFiles(), QStringList());
    QCOMPARE(contentOf(u"a.png"_s), image);
}

void TestBatchRun::answersOnTheStandardOutput_data()
{
    QTest::addColumn<QString>("argument");
    QTest::addColumn<QString>("words");
    QTest::newRow("help") << u"--help"_s << u"Usage: quillmarch-batch [options] IMAGE... -o OUT"_s;
    QTest::newRow("version") << u"--version"_s << u"quillmarch-batch 2.7.1\n"_s;
}

void TestBatchRun::answersOnTheStandardOutput()
{
    QFETCH(QString, argument);
    QFETCH(QString, words);
    const BatchEnd end = runBatchProgram({argument});
    QCOMPARE(end.code, 0);
    QVERIFY2(QString::fromUtf8(end.output).startsWith(words), end.output.constData());
    QCOMPARE(end.errors, QByteArray());
}

void TestBatchRun::refusalChangesNothing()
{
    savedPicture(textPicture(70, 250), u"a.png"_s);
    QCOMPARE(runBatchProgram({u"a.png"_s, u"b.png"_s, u"-o"_s, u"new"_s, u"--columns"_s, u"9"_s}).code, 2);
    QCOMPARE(fileNamesIn(u"."_s), QStringList(u"a.png"_s));
}

void TestBatchRun::continuesAfterAFailure_data()
{
    QTest::addColumn<QString>("jobs");
    QTest::newRow("1 job") << u"1"_s;
    QTest::newRow("3 jobs") << u"3"_s;
}

void TestBatchRun::continuesAfterAFailure()
{
    QFETCH(QString, jobs);
    savedPicture(textPicture(70, 250), u"a.png"_s);
    savedPicture(textPicture(70, 350), u"b.png"_s);
    savedBytes("no image", u"text.png"_s);
    savedBytes(hugeDrawing, u"huge.svg"_s);
    QVERIFY(QDir::current().mkpath(u"out/taken.pdf"_s)); // a folder in the way
    savedPicture(textPicture(70, 250), u"taken.png"_s);
    const BatchEnd end = runBatchProgram(
        {u"text.png"_s, u"huge.svg"_s, u"a.png"_s, u"taken.png"_s, u"b.png"_s, u"-o"_s, u"out"_s, u"--jobs"_s, jobs});
    QCOMPARE(end.code, 5);
    QCOMPARE(end.errors.count('\n'), 3);
    QVERIFY(end.output.endsWith("2 of 5 files done, 7 pages, 3 failed\n"));
    QCOMPARE(fileNamesIn(u"out"_s), QStringList({u"a.pdf"_s, u"b.pdf"_s, u"taken.pdf"_s}));
    QCOMPARE(pdfFacts(u"out/a.pdf"_s).pages, 3);
    QCOMPARE(pdfFacts(u"out/b.pdf"_s).pages, 4);
}

void TestBatchRun::givesEqualNamesDifferentFiles()
{
    QVERIFY(QDir::current().mkpath(u"p"_s) && QDir::current().mkpath(u"q"_s));
    savedPicture(textPicture(70, 250), u"p/a.png"_s);
    savedPicture(textPicture(70, 450), u"q/a.png"_s);
    QCOMPARE(runBatchProgram({u"p/a.png"_s, u"q/a.png"_s, u"-o"_s, u"out"_s, u"-j2"_s}).code, 0);
    QCOMPARE(fileNamesIn(u"out"_s), QStringList({u"a-2.pdf"_s, u"a.pdf"_s}));
    QCOMPARE(pdfFacts(u"out/a.pdf"_s).pages, 3);
    QCOMPARE(pdfFacts(u"out/a-2.pdf"_s).pages, 5);
}

void TestBatchRun::createsTheFolder()
{
    savedPicture(textPicture(70, 250), u"a.png"_s);
    QCOMPARE(runBatchProgram({u"a.png"_s, u"-o"_s, u"new/one/"_s}).code, 0);
    QCOMPARE(fileNamesIn(u"new/one"_s), QStringList(u"a.pdf"_s));
}

void TestBatchRun::reportsAnUnusableFolder()
{
    savedPicture(textPicture(70, 250), u"a.png"_s);
    savedBytes("a file", u"file"_s);
    const BatchEnd end = runBatchProgram({u"a.png"_s, u"-o"_s, u"file/below/"_s});
    QCOMPARE(end.code, 4);
    QVERIFY(end.errors.contains("cannot make the folder \"file/below/\": Not a directory"));
}

void TestBatchRun::worksOnManyFiles()
{
    constexpr int count = 40;
    QStringList arguments{u"--jobs"_s, u"2"_s, u"-o"_s, u"out"_s, u"--layout"_s, u"window"_s};
    for (int i = 0; i < count; ++i) {
        arguments.append(savedPicture(textPicture(70, 100 + i * 10), u"%1.png"_s.arg(i)));
    }
    const BatchEnd end = runBatchProgram(arguments);
    QCOMPARE(end.errors, QByteArray());
    QCOMPARE(end.code, 0);
    QVERIFY(end.output.contains("40 of 40 files done"));
    QCOMPARE(fileNamesIn(u"out"_s).size(), count);
    for (const int i : {0, 17, 39}) {
        QCOMPARE(pdfFacts(u"out/%1.pdf"_s.arg(i)).pages, (100 + i * 10) / 100 + 1);
    }
}

void TestBatchRun::reportsInText()
{
    savedPicture(textPicture(70, 50), u"名\033[2J.png"_s);
    const BatchEnd end = runBatchProgram({u"名\033[2J.png"_s, u"-o"_s, u"a.pdf"_s});
    QCOMPARE(end.code, 0);
    QCOMPARE(QString::fromUtf8(end.output), u"名?[2J.png -> a.pdf: 1 page\n"_s);
    QCOMPARE(end.errors, QByteArray());
}

void TestBatchRun::reportsInJson_data()
{
    QTest::addColumn<QString>("jobs");
    QTest::newRow("1 job") << u"1"_s;
    QTest::newRow("2 jobs") << u"2"_s;
}

void TestBatchRun::reportsInJson()
{
    QFETCH(QString, jobs);
    savedPicture(textPicture(70, 250), u"a.png"_s);
    savedBytes("no image", u"text.png"_s);
    const BatchEnd end = runBatchProgram({u"--json"_s, u"-j"_s, jobs, u"a.png"_s, u"text.png"_s, u"-o"_s, u"out"_s});
    QCOMPARE(end.code, 3);
    const QList<QJsonObject> lines = jsonLinesOf(end.output);
    QCOMPARE(lines.size(), 6); // three pages, and one line of each other event
    QCOMPARE(eventsIn(lines, u"page"_s), (QList<QJsonObject>{pageEvent(1, 3), pageEvent(2, 3), pageEvent(3, 3)}));
    QJsonObject done = eventsIn(lines, u"done"_s).value(0);
    QCOMPARE(done.take("bytes"_L1).toInteger(), QFileInfo(u"out/a.pdf"_s).size());
    QVERIFY(done.take("seconds"_L1).isDouble());
    QCOMPARE(done.take("cuts"_L1).toArray().size(), 2);
    QCOMPARE(done.take("offset"_L1), QJsonValue(0));
    QVERIFY(done.take("through"_L1).isArray());
    QVERIFY(done.take("scale"_L1).toDouble() > 0);
    const QJsonObject expectedDone{
        {u"event"_s, u"done"_s}, {u"image"_s, u"a.png"_s}, {u"output"_s, u"out/a.pdf"_s}, {u"pages"_s, 3}};
    QCOMPARE(done, expectedDone);
    const QJsonObject expectedFailure{{u"event"_s, u"failed"_s},
                                      {u"image"_s, u"text.png"_s},
                                      {u"output"_s, u"out/text.pdf"_s},
                                      {u"code"_s, 3},
                                      {u"message"_s, u"cannot read image: unsupported format or corrupted file"_s}};
    QCOMPARE(eventsIn(lines, u"failed"_s).value(0), expectedFailure);
    QJsonObject last = lines.last();
    QVERIFY(last.take("seconds"_L1).isDouble());
    const QJsonObject expectedLast{{u"event"_s, u"end"_s}, {u"files"_s, 2}, {u"done"_s, 1},
                                   {u"failed"_s, 1},       {u"pages"_s, 3}, {u"exit"_s, 3}};
    QCOMPARE(last, expectedLast);
}

void TestBatchRun::reportsWhereItCuts_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QJsonArray>("cuts");
    QTest::addColumn<bool>("knowsContent");
    QTest::newRow("calm") << QStringList{u"--cuts"_s, u"calm"_s} << QJsonArray{450, 1057} << true;
    QTest::newRow("regular") << QStringList{u"--cuts"_s, u"regular"_s} << QJsonArray{500, 1000} << false;
    QTest::newRow("no auto cut") << QStringList{u"--no-auto-cut"_s} << QJsonArray{500, 1000} << false;
}

void TestBatchRun::reportsWhereItCuts()
{
    QFETCH(QStringList, arguments);
    QFETCH(bool, knowsContent);
    savedPicture(darkPicture(1499), u"a.png"_s);
    const BatchEnd end = runBatchProgram(QStringList{u"--layout"_s, u"window"_s} + arguments
                                         + QStringList{u"--json"_s, u"-q"_s, u"a.png"_s, u"-o"_s, u"a.pdf"_s});
    QCOMPARE(end.code, 0);
    const QJsonObject done = jsonLinesOf(end.output).value(0);
    QTEST(done.value("cuts"_L1).toArray(), "cuts");
    QCOMPARE(done.contains("through"_L1), knowsContent);
    QCOMPARE(done.value("through"_L1).toArray(), QJsonArray());
    QCOMPARE(done.value("offset"_L1), QJsonValue(0));
}

void TestBatchRun::reportsACutThroughContent()
{
    savedPicture(darkPicture(1900).copy(0, 600, 350, 999), u"a.png"_s); // the only gap is 450 to 464
    savedPicture(darkPicture(1900).copy(0, 1100, 350, 800), u"b.png"_s); // there is none
    const BatchEnd end =
        runBatchProgram({u"-j1"_s, u"--layout=window"_s, u"--dry-run"_s, u"--json"_s, u"a.png"_s, u"b.png"_s});
    QCOMPARE(end.code, 0);
    const QList<QJsonObject> lines = jsonLinesOf(end.output);
    QCOMPARE(lines.size(), 3);
    QCOMPARE(lines.at(0).value("cuts"_L1).toArray(), QJsonArray{457});
    QCOMPARE(lines.at(0).value("through"_L1).toArray(), QJsonArray());
    QCOMPARE(lines.at(1).value("cuts"_L1).toArray().size(), 1);
    QCOMPARE(lines.at(1).value("through"_L1), lines.at(1).value("cuts"_L1));
}

void TestBatchRun::countsRowsOfTheTrimmedImage()
{
    QImage picture = darkPicture(1499, 40);
    picture.invertPixels();
    savedPicture(picture, u"a.png"_s);
    const BatchEnd end = runBatchProgram({u"--layout=window"_s, u"--dry-run"_s, u"--trim"_s, u"a.png"_s});
    QCOMPARE(end.output, "a.png: 3 pages; cuts: 450, 1057; counted from row 40 of the image\n");
    const BatchEnd json = runBatchProgram({u"--layout=window"_s, u"--dry-run"_s, u"--trim"_s, u"--json"_s, u"a.png"_s});
    QCOMPARE(jsonLinesOf(json.output).value(0).value("cuts"_L1).toArray(), (QJsonArray{450, 1057}));
    QCOMPARE(jsonLinesOf(json.output).value(0).value("offset"_L1), QJsonValue(40));
}

void TestBatchRun::dryRunWritesNothing_data()
{
    QTest::addColumn<QStringList>("output");
    QTest::newRow("without an output") << QStringList();
    QTest::newRow("a file") << QStringList{u"-o"_s, u"a.pdf"_s};
    QTest::newRow("a folder") << QStringList{u"-o"_s, u"out/"_s};
}

void TestBatchRun::dryRunWritesNothing()
{
    QFETCH(QStringList, output);
    savedPicture(darkPicture(1499), u"a.png"_s);
    const BatchEnd end = runBatchProgram(QStringList{u"--layout=window"_s, u"--dry-run"_s, u"a.png"_s} + output);
    QCOMPARE(end.code, 0);
    QCOMPARE(end.errors, QByteArray());
    QCOMPARE(end.output, "a.png: 3 pages; cuts: 450, 1057\n");
    QCOMPARE(fileNamesIn(u"."_s), QStringList(u"a.png"_s));
}

void TestBatchRun::dryRunReportsInJson()
{
    savedPicture(darkPicture(1499), u"a.png"_s);
    savedPicture(darkPicture(300), u"b.png"_s);
    const BatchEnd end = runBatchProgram(
        {u"-j1"_s, u"--layout=window"_s, u"--dry-run"_s, u"--json"_s, u"a.png"_s, u"b.png"_s, u"none.png"_s});
    QCOMPARE(end.code, 3);
    const QList<QJsonObject> lines = jsonLinesOf(end.output);
    QCOMPARE(lines.size(), 4);
    QJsonObject done = lines.first();
    QVERIFY(done.take("seconds"_L1).isDouble());
    QVERIFY(done.take("scale"_L1).isDouble());
    QCOMPARE(done,
             QJsonObject({{u"event"_s, u"done"_s},
                          {u"image"_s, u"a.png"_s},
                          {u"pages"_s, 3},
                          {u"offset"_s, 0},
                          {u"cuts"_s, QJsonArray{450, 1057}},
                          {u"through"_s, QJsonArray()}}));
    QCOMPARE(lines.at(1).value("cuts"_L1), QJsonValue(QJsonArray()));
    QCOMPARE(lines.at(2).value("code"_L1), QJsonValue(3));
    QCOMPARE(fileNamesIn(u"."_s), (QStringList{u"a.png"_s, u"b.png"_s}));
}

void TestBatchRun::cutsADarkChatCleanly()
{
    const QString chat = QFINDTESTDATA("../../samples/dark-chat.png");
    const QImage image(chat);
    const auto doneWith = [&chat](const QStringList &arguments) {
        const BatchEnd end =
            runBatchProgram(QStringList{u"--layout=window"_s, u"--dry-run"_s, u"--json"_s, chat} + arguments);
        return jsonLinesOf(end.output).value(0);
    };
    constexpr int mostOfABlankRow = 6;
    const QJsonObject calm = doneWith({});
    QCOMPARE(calm.value("cuts"_L1).toArray().size(), 6);
    QCOMPARE(calm.value("through"_L1), QJsonValue(QJsonArray()));
    QCOMPARE_LE(mostChangesBeside(calm.value("cuts"_L1).toArray(), image), mostOfABlankRow);
    for (const QString &other : {u"bright"_s, u"regular"_s}) {
        QCOMPARE_GT(mostChangesBeside(doneWith({u"--cuts"_s, other}).value("cuts"_L1).toArray(), image),
                    mostOfABlankRow);
    }
}

void TestBatchRun::printsNothingWhenQuiet()
{
    savedPicture(textPicture(70, 250), u"a.png"_s);
    savedPicture(textPicture(70, 250), u"b.png"_s);
    const BatchEnd end = runBatchProgram({u"-q"_s, u"a.png"_s, u"b.png"_s, u"-o"_s, u"out"_s});
    QCOMPARE(end.code, 0);
    QCOMPARE(end.output, QByteArray());
    QCOMPARE(end.errors, QByteArray());
}

void TestBatchRun::printsFailuresWhenQuiet()
{
    const BatchEnd end = runBatchProgram({u"-q"_s, u"none.png"_s, u"-o"_s, u"a.pdf"_s});
    QCOMPARE(end.code, 3);
    QCOMPARE(end.output, QByteArray());
    QCOMPARE(end.errors, "quillmarch-batch: none.png: cannot read image: no such file\n");
}

void TestBatchRun::fullStandardOutputIsAFailure()
{
    if (!QFile::exists(u"/dev/full"_s)) {
        QSKIP("There is no device that is always full");
    }
    savedPicture(textPicture(70, 250), u"a.png"_s);
    QProcess process;
    setUpBatch(process, {u"a.png"_s, u"-o"_s, u"a.pdf"_s});
    process.setStandardOutputFile(u"/dev/full"_s);
    process.start();
    QCOMPARE(endOf(process).code, 4);
    QCOMPARE(pdfFacts(u"a.pdf"_s).pages, 3);
}

void TestBatchRun::closedStreamsLeaveTheFileComplete_data()
{
    QTest::addColumn<QList<int>>("closed");
    QTest::addColumn<int>("code");
    QTest::newRow("input") << QList<int>{0} << 0;
    QTest::newRow("output") << QList<int>{1} << 4;
    QTest::newRow("errors") << QList<int>{2} << 0;
    QTest::newRow("input and output") << QList<int>{0, 1} << 4;
    QTest::newRow("all") << QList<int>{0, 1, 2} << 4;
}

void TestBatchRun::closedStreamsLeaveTheFileComplete()
{
#ifdef Q_OS_UNIX
    QFETCH(QList<int>, closed);
    QFETCH(int, code);
    savedPicture(textPicture(70, 250), u"a.png"_s);
    const QList<QStringList> runs{{u"a.png"_s, u"-o"_s, u"a.pdf"_s}, {u"a.png"_s, u"a.png"_s, u"-o"_s, u"out"_s}};
    for (const QStringList &arguments : runs) {
        QProcess process;
        setUpBatch(process, arguments + QStringList(u"--json"_s));
        process.setChildProcessModifier([closed] {
            for (const int stream : closed) {
                ::close(stream);
            }
        });
        process.start();
        QCOMPARE(endOf(process).code, code);
    }
    for (const QString &name : {u"a.pdf"_s, u"out/a.pdf"_s, u"out/a-2.pdf"_s}) {
        QCOMPARE(pdfFacts(name).pages, 3);
        QVERIFY(contentOf(name).startsWith("%PDF-"));
        QVERIFY(contentOf(name).endsWith("%%EOF\n"));
    }
#else
    QSKIP("has no streams that can be closed this way");
#endif
}

void TestBatchRun::endsIfNoThreadStarts()
{
#ifdef __SANITIZE_THREAD__
    QSKIP("The sanitizer does not start with such stacks");
#endif
#ifdef Q_OS_LINUX
    constexpr rlim_t moreThanThereIs = rlim_t(1) << 46; // bytes for the stack of a thread
    savedBytes(R"svg(<svg xmlns="http://www.w3.org/2000/svg" width="400" height="400">
        <linearGradient id="g"><stop offset="0" stop-color="red"/><stop offset="1"/></linearGradient>
        <rect width="400" height="400" fill="url(#g)"/></svg>)svg",
               u"gradient.svg"_s); // Qt draws it with threads
    for (const QStringList &images : {QStringList(u"gradient.svg"_s), {u"gradient.svg"_s, u"gradient.svg"_s}}) {
        QProcess process;
        setUpBatch(process, images + QStringList{u"-o"_s, u"out/"_s});
        process.setChildProcessModifier([] {
            const rlimit limit{moreThanThereIs, RLIM_INFINITY};
            ::setrlimit(RLIMIT_STACK, &limit);
        });
        process.start();
        const BatchEnd end = endOf(process);
        QCOMPARE(end.code, 5);
        QCOMPARE(end.errors.count("gradient.svg: too large: out of memory\n"), images.size());
    }
#else
    QSKIP("has no limit of threads that is certain");
#endif
}

void TestBatchRun::endsIfNoWorkerStarts_data()
{
    QTest::addColumn<QStringList>("arguments");
    for (const QString &jobs : {u"-j1"_s, u"-j2"_s, u"-j3"_s}) {
        QTest::newRow(qPrintable(jobs)) << QStringList{jobs, u"-o"_s, u"out/"_s};
        QTest::newRow(qPrintable(jobs + u" --dry-run"_s)) << QStringList{jobs, u"--dry-run"_s};
    }
}

void TestBatchRun::endsIfNoWorkerStarts()
{
#ifdef Q_OS_LINUX
    QFETCH(QStringList, arguments);
    savedPicture(textPicture(70, 250), u"a.png"_s);
    savedPicture(textPicture(70, 250), u"b.png"_s);
    QProcess process;
    setUpWithFiles(process, 8, QStringList{u"a.png"_s, u"b.png"_s} + arguments); // too few for the pipes to a worker
    process.start();
    const BatchEnd end = endOf(process);
    QCOMPARE(end.code, 4);
    const QByteArray reason = ": the worker process did not start: Too many open files";
    QList<QByteArray> lines = end.errors.trimmed().split('\n');
    std::sort(lines.begin(), lines.end());
    QCOMPARE(lines, (QList<QByteArray>{"quillmarch-batch: a.png" + reason, "quillmarch-batch: b.png" + reason}));
#else
    QSKIP("has no limit of files that is certain");
#endif
}

void TestBatchRun::saysWhyWithoutFiles_data()
{
    QTest::addColumn<int>("files"); // that the program may have open
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    constexpr int least = 8; // a sanitizer opens files itself
#else
    constexpr int least = 5;
#endif
    for (int files = least; files <= 8; ++files) {
        QTest::addRow("%d files", files) << files;
    }
}

void TestBatchRun::saysWhyWithoutFiles()
{
#ifdef Q_OS_LINUX
    QFETCH(int, files);
    savedPicture(noisePicture(QSize(70, 250)), u"a.png"_s);
    savedBytes(contentOf(u"a.png"_s).first(2742), u"a.png"_s);
    QProcess process;
    setUpWithFiles(process, files, {u"a.png"_s, u"-o"_s, u"a.pdf"_s});
    process.start();
    const BatchEnd end = endOf(process);
    QCOMPARE(end.code, 3);
    QVERIFY2(end.errors.contains("quillmarch-batch: a.png: cannot read image: "), end.errors.constData());
#else
    QSKIP("has no limit of files that is certain");
#endif
}

void TestBatchRun::workerEndsAtALineThatIsNoJob()
{
    QProcess worker;
    setUpBatch(worker, {serveArgument()});
    worker.start();
    worker.write("convert a.png\n"); // no job
    const BatchEnd end = endOf(worker);
    QCOMPARE(end.code, 0);
    QCOMPARE(end.output, QByteArray());
    QCOMPARE(end.errors, QByteArray());
}

void TestBatchRun::needsNoEnvironment()
{
    savedPicture(textPicture(70, 250), u"名.png"_s);
    for (const bool isBare : {true, false}) {
        QProcess process;
        setUpBatch(process, {u"名.png"_s, u"-o"_s, u"名.pdf"_s});
        QProcessEnvironment environment; // as in cron, or with an unreachable display
        environment.insert(u"HOME"_s, QDir::homePath()); // for the font cache
        if (!isBare) {
            environment.insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
            environment.insert(u"QT_QPA_PLATFORMTHEME"_s, u"gtk3"_s);
            environment.insert(u"DISPLAY"_s, u":12345"_s);
            environment.insert(u"LC_ALL"_s, u"C"_s);
        } else {
            environment.insert(u"LANG"_s, u"C"_s);
        }
        process.setProcessEnvironment(environment);
        process.start();
        const BatchEnd end = endOf(process);
        QCOMPARE(end.code, 0);
        QCOMPARE(end.errors, QByteArray());
        QCOMPARE(QString::fromUtf8(end.output), u"名.png -> 名.pdf: 3 pages\n"_s);
    }
}

void TestBatchRun::saysWhatOfQtIsMissing()
{
#ifdef Q_OS_LINUX
    const QString program = QDir::current().filePath(u"alone"_s);
    QVERIFY(QFile::copy(QStringLiteral(QUILLMARCH_BATCH), program));
    savedBytes("[Paths]\nPlugins=nowhere\n", u"qt.conf"_s);
    QProcess process;
    process.start(program, {u"a.png"_s});
    QVERIFY(process.waitForFinished());
    const QByteArray errors = process.readAllStandardError();
    QVERIFY2(errors.startsWith("quillmarch-batch: This application failed to start"), errors.constData());
#else
    QSKIP("plugins are found in another way");
#endif
}

void TestBatchRun::readsNoFonts_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("one image") << QStringList{u"a.png"_s, u"--page-numbers"_s, u"-o"_s, u"a.pdf"_s};
    QTest::newRow("with a worker") << QStringList{u"a.png"_s, u"a.png"_s, u"-o"_s, u"out"_s};
    QTest::newRow("version") << QStringList{u"--version"_s};
}

void TestBatchRun::readsNoFonts()
{
    QFETCH(QStringList, arguments);
    savedPicture(textPicture(70, 250), u"a.png"_s);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"FONTCONFIG_FILE"_s, QDir::current().filePath(savedBytes("broken", u"fonts.conf"_s)));
    QProcess process;
    setUpBatch(process, arguments);
    process.setProcessEnvironment(environment);
    process.start();
    const BatchEnd end = endOf(process);
    QCOMPARE(end.code, 0);
    QCOMPARE(end.errors, QByteArray()); // it would complain of the configuration
}

void TestBatchRun::ignoresSettings()
{
    savedPicture(textPicture(70, 250), u"a.png"_s);
    QCOMPARE(runBatchProgram({u"a.png"_s, u"-o"_s, u"plain.pdf"_s}).code, 0);
    const QImage plain = pdfPictures(u"plain.pdf"_s, 72).first();

    // The same program next to a settings file.
    QVERIFY(QDir::current().mkpath(u"bin"_s));
    QVERIFY(QFile::copy(QStringLiteral(QUILLMARCH_BATCH), u"bin/quillmarch-batch"_s));
    const QByteArray settings = "[config]\nmarginsc=30\nautopage=false\nlanguage=en\n";
    savedBytes(settings, u"bin/user.ini"_s);
    const QStringList home = fileNamesIn(QDir::homePath() + "/.config"_L1);
    QProcess process;
    process.start(u"bin/quillmarch-batch"_s, {u"a.png"_s, u"-o"_s, u"beside.pdf"_s});
    QCOMPARE(endOf(process).code, 0);
    QCOMPARE(firstDifference(pdfPictures(u"beside.pdf"_s, 72).first(), plain), QString());
    QCOMPARE(fileNamesIn(u"bin"_s), QStringList({u"quillmarch-batch"_s, u"user.ini"_s}));
    QCOMPARE(contentOf(u"bin/user.ini"_s), settings);
    QCOMPARE(fileNamesIn(QDir::homePath() + "/.config"_L1), home);
    QCOMPARE(fileNamesIn(u"."_s), QStringList({u"a.png"_s, u"beside.pdf"_s, u"bin"_s, u"plain.pdf"_s}));
}

void TestBatchRun::failedWriteKeepsTheOldFile_data()
{
    QTest::addColumn<int>("limit"); // maximum size of a file in bytes
#ifndef __SANITIZE_THREAD__ // which writes a file before it starts
    QTest::newRow("0 bytes") << 0;
#endif
    for (const int limit : {1, 4096, 20000}) {
        QTest::addRow("%d bytes", limit) << limit;
    }
}

void TestBatchRun::failedWriteKeepsTheOldFile()
{
#ifdef Q_OS_UNIX
    QFETCH(int, limit);
    savedPicture(noisePicture(QSize(350, 1900)), u"a.png"_s); // a file of more than 20000 bytes
    savedBytes(oldFile, u"a.pdf"_s);
    QProcess process;
    setUpBatch(process, {u"a.png"_s, u"-o"_s, u"a.pdf"_s});
    process.setChildProcessModifier([limit] {
        const rlimit size{rlim_t(limit), rlim_t(limit)};
        ::setrlimit(RLIMIT_FSIZE, &size);
    });
    process.start();
    const BatchEnd end = endOf(process);
    QCOMPARE(end.code, 4);
    QVERIFY2(end.errors.contains("cannot write \"a.pdf\""), end.errors.constData());
    QCOMPARE(contentOf(u"a.pdf"_s), QByteArray(oldFile));
    QCOMPARE(partFiles(), QStringList());
#else
    QSKIP("There are no limits of this kind");
#endif
}

void TestBatchRun::fullDiskDoesNotBreakStandardError()
{
#ifdef Q_OS_UNIX
    savedBytes("\x89PNG\r\n\x1a\n", u"a.png"_s); // libpng writes to standard error itself
    QProcess process;
    setUpBatch(process, {u"--json"_s, u"a.png"_s, u"-o"_s, u"-"_s});
    process.setChildProcessModifier([] {
        const rlimit size{1, 1};
        ::setrlimit(RLIMIT_FSIZE, &size);
    });
    process.start();
    const BatchEnd end = endOf(process);
    QCOMPARE(end.code, 3);
    QVERIFY2(end.errors.contains("\"exit\":3"), end.errors.constData()); // below messages of libpng
#else
    QSKIP("There are no limits of this kind");
#endif
}

void TestBatchRun::killKeepsTheOldFile()
{
    savedBytes(oldFile, u"a.pdf"_s);
    QProcess process;
    QVERIFY(startAndAwaitPage(process, {u"--json"_s, longPicture(), u"-o"_s, u"a.pdf"_s}));
    process.kill();
    QVERIFY(process.waitForFinished(processTime));
    QCOMPARE(process.exitStatus(), QProcess::CrashExit);
    QCOMPARE(contentOf(u"a.pdf"_s), QByteArray(oldFile));
    QCOMPARE(partFiles().size(), 1); // nothing could remove it
}

void TestBatchRun::signalRemovesTheUnfinishedFile_data()
{
    QTest::addColumn<int>("number");
    QTest::addColumn<bool>("several");
#ifdef Q_OS_UNIX
    QTest::newRow("SIGTERM") << SIGTERM << false;
    QTest::newRow("SIGINT") << SIGINT << false;
    QTest::newRow("SIGTERM, with workers") << SIGTERM << true;
#endif
}

void TestBatchRun::signalRemovesTheUnfinishedFile()
{
#ifdef Q_OS_UNIX
    QFETCH(int, number);
    QFETCH(bool, several);
    savedBytes(oldFile, u"long.pdf"_s);
    QProcess process;
    QStringList arguments{u"--json"_s, longPicture(), u"-o"_s, u"."_s};
    if (several) {
        arguments.append(longPicture());
    }
    QVERIFY(startAndAwaitPage(process, arguments));
    ::kill(pid_t(process.processId()), number);
    QVERIFY(process.waitForFinished(processTime));
    QCOMPARE(process.exitStatus(), QProcess::CrashExit);
    QCOMPARE(process.exitCode(), number);
    QTRY_COMPARE_WITH_TIMEOUT(partFiles(), QStringList(), processTime); // a worker ends slightly later
    QCOMPARE(contentOf(u"long.pdf"_s), QByteArray(oldFile));
#else
    QSKIP("There are no signals");
#endif
}

void TestBatchRun::killedWorkerCostsOneFile()
{
#ifdef Q_OS_LINUX
    savedPicture(textPicture(70, 250), u"a.png"_s);
    savedBytes(oldFile, u"long.pdf"_s);
    QProcess process;
    QVERIFY(startAndAwaitPage(process, {u"--json"_s, u"-j1"_s, longPicture(), u"a.png"_s, u"-o"_s, u"."_s}));
    const QList<qint64> workers = childrenOf(process.processId());
    QCOMPARE(workers.size(), 1);
    ::kill(pid_t(workers.first()), SIGKILL);
    const BatchEnd end = endOf(process);
    QCOMPARE(end.code, 5);
    QVERIFY2(end.errors.contains("long.png: the worker process was killed, possibly for lack of memory"),
             end.errors.constData());
    QCOMPARE(partFiles(), QStringList());
    QCOMPARE(contentOf(u"long.pdf"_s), QByteArray(oldFile));
    QCOMPARE(pdfFacts(u"a.pdf"_s).pages, 3);
    QCOMPARE(jsonLinesOf(end.output).last().value("failed"_L1).toInt(), 1);
#else
    QSKIP("There is no list of the processes that a process has started");
#endif
}

void TestBatchRun::workersEndWithTheProgram()
{
#ifdef Q_OS_LINUX
    QProcess process;
    QVERIFY(startAndAwaitPage(process, {u"--json"_s, longPicture(), longPicture(), u"-j2"_s, u"-o"_s, u"out"_s}));
    const QList<qint64> workers = childrenOf(process.processId());
    QVERIFY(!workers.isEmpty());
    process.kill();
    QVERIFY(process.waitForFinished(processTime));
    for (const qint64 worker : workers) {
        // Gone, or a zombie that its new parent has not waited for.
        QTRY_VERIFY_WITH_TIMEOUT(contentOf(u"/proc/%1/cmdline"_s.arg(worker)).isEmpty(), processTime);
    }
    QCOMPARE(fileNamesIn(u"out"_s), QStringList());
#else
    QSKIP("There is no list of the processes that a process has started");
#endif
}

void TestBatchRun::workerThatHasJustStartedEndsWithTheProgram()
{
#ifdef Q_OS_LINUX
    QCOMPARE(::prctl(PR_SET_CHILD_SUBREAPER, 1), 0); // this process is told how the workers end
    for (int pause = 0; pause < 20; pause += 2) {
        QProcess process;
        setUpBatch(process, {u"-j1"_s, longPicture(), longPicture(), u"-o"_s, u"out"_s});
        process.start();
        QVERIFY(process.waitForStarted());
        QList<qint64> workers;
        QTRY_VERIFY_WITH_TIMEOUT(!(workers = childrenOf(process.processId())).isEmpty(), processTime);
        ::usleep(useconds_t(pause) * 1000); // another step of its start each time
        process.kill();
        QVERIFY(process.waitForFinished(processTime));
        int status = 0;
        QCOMPARE(::waitpid(pid_t(workers.first()), &status, 0), pid_t(workers.first()));
        // By SIGPIPE if it reports the job between the end of the pipe and that of the program.
        const bool isAsked = WIFSIGNALED(status) && (WTERMSIG(status) == SIGTERM || WTERMSIG(status) == SIGPIPE);
        QVERIFY2(WIFEXITED(status) || isAsked, qPrintable(u"after %1 ms: %2"_s.arg(pause).arg(status)));
    }
    ::prctl(PR_SET_CHILD_SUBREAPER, 0);
#else
    QSKIP("There is no list of the processes that a process has started");
#endif
}

QUILLMARCH_TEST_MAIN(TestBatchRun)
#include "tst_batchrun.moc"
