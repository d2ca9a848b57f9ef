#include "batch/batchevent.h"
#include "batch/batchoptions.h"
#include "batch/batchplan.h"
#include "batch/batchworkers.h"
#include "batch/completion.h"
#include "batch/filename.h"
#include "batch/inputs.h"
#include "batch/partfile.h"
#include "batch/picturefile.h"
#include "batch/preview.h"
#include "batch/truncation.h"
#include "support/files.h"
#include "support/pictures.h"
#include "support/testmain.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>
#include <QScopeGuard>

#ifdef Q_OS_UNIX
#include "../faults/fulldisk.h"
#include "../faults/unprivileged.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>
#endif

using namespace Qt::StringLiterals;

namespace {

QStringList commandLine(const QStringList &arguments)
{
    return QStringList(u"quillmarch-batch"_s) + arguments;
}

QStringList partFiles()
{
    return QDir::current().entryList({u"*.part"_s});
}

/// The message with which \a arguments are refused; empty if they are not.
QString mistakeIn(const QStringList &arguments)
{
    try {
        (void)readCommandLine(commandLine(arguments));
        return {};
    } catch (const BatchError &error) {
        return error.failure == BatchFailure::WrongUse ? error.text : QString();
    }
}

BatchOptions optionsFor(const QString &output)
{
    BatchOptions options;
    options.output = output;
    return options;
}

/// The message with which jobs for \a images are refused; empty if they are not.
QString planMistake(const QStringList &images, const BatchOptions &options)
{
    try {
        (void)planJobs(options, images);
        return {};
    } catch (const BatchError &error) {
        return error.failure == BatchFailure::WrongUse ? error.text : QString();
    }
}

QString commitError(PartFile &part)
{
    try {
        part.commit();
        return {};
    } catch (const BatchError &error) {
        return error.text;
    }
}

BatchJob jobOf(int number, const QString &image, const QString &output)
{
    return {number, {{image, {}}}, output, 0};
}

#ifdef Q_OS_LINUX
constexpr auto simpleJob =
    "read job || exit 0; echo '{\"event\":\"begun\"}'; echo '{\"event\":\"done\",\"pages\":1}'\n";

/// Lets this process open \a spare more files, and no others, while the object lives.
/// Silences Qt, which prints each pipe that it cannot create.
class FewFiles
{
public:
    explicit FewFiles(int spare)
        : usualHandler(qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {}))
    {
        ::getrlimit(RLIMIT_NOFILE, &usualLimit);
        const rlimit few{64, usualLimit.rlim_max};
        ::setrlimit(RLIMIT_NOFILE, &few);
        for (int file = 0; (file = ::open("/dev/null", O_RDONLY | O_CLOEXEC)) >= 0;) {
            taken.append(file);
        }
        for (int i = 0; i < spare; ++i) {
            ::close(taken.takeLast());
        }
    }
    ~FewFiles()
    {
        for (const int file : taken) {
            ::close(file);
        }
        ::setrlimit(RLIMIT_NOFILE, &usualLimit);
        qInstallMessageHandler(usualHandler);
    }
    Q_DISABLE_COPY_MOVE(FewFiles)

private:
    QtMessageHandler usualHandler = nullptr;
    rlimit usualLimit{};
    QList<int> taken;
};

/// A worker program that is the shell script \a commands.
QString savedWorker(const QByteArray &commands)
{
    const QString script = savedBytes("#!/bin/sh\n" + commands, u"worker.sh"_s);
    QFile::setPermissions(script, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    return script;
}

/// How many jobs ended in which way.
struct JobCounts
{
    int done = 0;
    int failed = 0;
    int notStarted = 0; // of those that failed
};

/// Runs \a jobs jobs in \a count processes of the program \a worker.
JobCounts countsOf(const QString &worker, int jobs, int count)
{
    QList<BatchJob> list;
    for (int i = 0; i < jobs; ++i) {
        list.append(jobOf(i, QString::number(i), QString()));
    }
    JobCounts counts;
    BatchWorkers workers(worker, {}, list, [&](const BatchJob &, const BatchEvent &event) {
        counts.done += std::holds_alternative<JobDone>(event) ? 1 : 0;
        if (const auto *failure = std::get_if<JobFailed>(&event)) {
            const bool isStart = failure->text.startsWith("the worker process did not start: "_L1);
            counts.notStarted += isStart && failure->failure == BatchFailure::Unwritable ? 1 : 0;
            ++counts.failed;
        }
    });
    workers.run(count);
    return counts;
}
#endif

using Places = QList<qsizetype>;

/// Files of 3 directories without pixels, in this order: the first, the third, the second.
QByteArray littleTiff()
{
    return QByteArray::fromHex("49492a00 08000000"
                               "0100 0001 0300 01000000 07000000 2c000000" // 8
                               "0100 0001 0300 01000000 07000000 00000000" // 26
                               "0100 4a01 0400 01000000 08000000 1a000000"); // 44, with a directory below it
}

QByteArray bigEndianTiff()
{
    return QByteArray::fromHex("4d4d002a 00000008"
                               "0001 0100 0003 00000001 00070000 0000002c"
                               "0001 0100 0003 00000001 00070000 00000000"
                               "0001 0100 0003 00000001 00070000 0000001a");
}

QByteArray bigTiff()
{
    return QByteArray::fromHex("49492b0008000000 1000000000000000"
                               "0100000000000000 0001 0300 0100000000000000 0700000000000000 5800000000000000" // 16
                               "0100000000000000 0001 0300 0100000000000000 0700000000000000 0000000000000000" // 52
                               "0100000000000000 0001 0300 0100000000000000 0700000000000000 3400000000000000"); // 88
}

QByteArray bigEndianBigTiff()
{
    return QByteArray::fromHex("4d4d002b00080000 0000000000000010"
                               "0000000000000001 0100 0003 0000000000000001 0007000000000000 0000000000000058"
                               "0000000000000001 0100 0003 0000000000000001 0007000000000000 0000000000000000"
                               "0000000000000001 0100 0003 0000000000000001 0007000000000000 0000000000000034");
}

/// \a bytes with those written in \a hex from \a at on.
QByteArray changed(QByteArray bytes, qsizetype at, const char *hex)
{
    const QByteArray part = QByteArray::fromHex(hex);
    return bytes.replace(at, part.size(), part);
}

} // namespace

class TestBatchParts : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();

    void readsDefaults();
    void readsAllOptions_data();
    void readsAllOptions();
    void readsTheCutRule_data();
    void readsTheCutRule();
    void dryRunNeedsNoOutput();
    void rejects_data();
    void rejects();
    void answers_data();
    void answers();
    void serves();
    void helpNamesEveryOption();
    void manualNamesTheOptionsOfTheHelp();

    void plansOutputs_data();
    void plansOutputs();
    void plansOneFileOfSeveralImages();
    void namesFilesByAForm();
    void plansToReplaceNothingButPdfFiles();
    void plansPreviewsBesideOtherFiles_data();
    void plansPreviewsBesideOtherFiles();
    void givesManyEqualNamesNumbers();
    void refusesTwoNamesOfOneFile();
    void refusesImpossiblePlans();

    void readsStandardInputOnce_data();
    void readsStandardInputOnce();
    void sortsNaturally_data();
    void sortsNaturally();
    void keepsTheBytesOfNames_data();
    void keepsTheBytesOfNames();
    void readsCutLists();
    void rejectsCutLists_data();
    void rejectsCutLists();

    void eventsSurviveTheirJson_data();
    void eventsSurviveTheirJson();
    void jobsSurviveTheirJson();
    void rejectsOtherLines();

    void hidesControlCharacters();
    void drawsCutsOverTheSmallPicture();

    void completesInEveryShell_data();
    void completesInEveryShell();

    void partFileReplacesTheTargetOnCommit();
    void partFileIsRemovedUnlessCommitted();
    void partFileThatIsGoneReplacesNothing();
    void partFileKeepsPermissions();
    void partFileFollowsLinks();
    void seesWhereAFileIsTruncated_data();
    void seesWhereAFileIsTruncated();
    void findsThePagesOfATiff_data();
    void findsThePagesOfATiff();
    void keepsSomePagesOfATiff_data();
    void keepsSomePagesOfATiff();
    void completeFileIsNotRemoved();
    void opensANewFileOnlyOnce();
    void partFileRejects_data();
    void partFileRejects();
#ifdef Q_OS_UNIX
    void partFileReportsAFullDisk();
    void previewReportsAFullDisk_data();
    void previewReportsAFullDisk();
    void reportsWhatIsNotReadable();
#endif
#ifdef Q_OS_LINUX
    void survivesTheEndOfAWorker_data();
    void survivesTheEndOfAWorker();
    void failsJobsThatNoWorkerTakes_data();
    void failsJobsThatNoWorkerTakes();
    void leavesJobsToTheWorkersThatStart();
    void leavesAJobToAnIdleWorker();
#endif
};

void TestBatchParts::cleanup()
{
    QCOMPARE(partFiles(), QStringList());
}

void TestBatchParts::readsDefaults()
{
    const CommandLine line = readCommandLine(commandLine({u"a.png"_s, u"-o"_s, u"a.pdf"_s}));
    QVERIFY(line.request == CommandLine::Request::Convert);
    QCOMPARE(line.options.operands, QStringList(u"a.png"_s));
    QCOMPARE(line.options.output, u"a.pdf"_s);
    const PageOptions &pages = line.options.pages;
    QVERIFY(pages.layout == PageLayout::Flow);
    QCOMPARE(pages.columns, 1);
    QCOMPARE(pages.paper.size, QSizeF(595, 842));
    QCOMPARE(pages.margin, Margin());
    QVERIFY(!pages.pageNumbers);
    QVERIFY(!pages.trim);
    QVERIFY(pages.cutRule == CutRule::Calm);
    QVERIFY(!pages.lossless);
    QCOMPARE(pages.quality, 94);
    QVERIFY(!pages.acceptDamaged);
    QVERIFY(!line.options.dryRun);
    QVERIFY(!line.options.noClobber);
    QVERIFY(!line.options.recursive);
    QCOMPARE(line.options.jobs, 0);
    QVERIFY(!line.options.json);
    QVERIFY(!line.options.quiet);
}

void TestBatchParts::readsAllOptions_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("long") << QStringList{u"--columns"_s,
                                         u"3"_s,
                                         u"--margin"_s,
                                         u"30"_s,
                                         u"--page-numbers"_s,
                                         u"--trim"_s,
                                         u"--no-auto-cut"_s,
                                         u"--lossless"_s,
                                         u"--jobs"_s,
                                         u"64"_s,
                                         u"--json"_s,
                                         u"--quiet"_s,
                                         u"--output"_s,
                                         u"out"_s,
                                         u"--paper"_s,
                                         u"a3"_s,
                                         u"--landscape"_s,
                                         u"--quality"_s,
                                         u"7"_s,
                                         u"--accept-damaged"_s,
                                         u"--title"_s,
                                         u"T"_s,
                                         u"--recursive"_s,
                                         u"--files-from"_s,
                                         u"list"_s,
                                         u"--null"_s,
                                         u"--name"_s,
                                         u"{n}.pdf"_s,
                                         u"--no-clobber"_s,
                                         u"--preview"_s,
                                         u"p.png"_s,
                                         u"--cuts-from"_s,
                                         u"c"_s,
                                         u"--"_s,
                                         u"-a.png"_s,
                                         u"b.png"_s};
    QTest::newRow("short") << QStringList{u"-oout"_s,
                                          u"-q"_s,
                                          u"-j64"_s,
                                          u"-0"_s,
                                          u"--columns=3"_s,
                                          u"--margin=30"_s,
                                          u"--page-numbers"_s,
                                          u"--trim"_s,
                                          u"--no-auto-cut"_s,
                                          u"--lossless"_s,
                                          u"--json"_s,
                                          u"--landscape"_s,
                                          u"--paper=A3"_s,
                                          u"--quality=7"_s,
                                          u"--accept-damaged"_s,
                                          u"--title=T"_s,
                                          u"--recursive"_s,
                                          u"--files-from=list"_s,
                                          u"--name={n}.pdf"_s,
                                          u"--no-clobber"_s,
                                          u"--preview=p.png"_s,
                                          u"--cuts-from=c"_s,
                                          u"--"_s,
                                          u"-a.png"_s,
                                          u"b.png"_s};
}

void TestBatchParts::readsAllOptions()
{
    QFETCH(QStringList, arguments);
    const CommandLine line = readCommandLine(commandLine(arguments));
    QVERIFY(line.request == CommandLine::Request::Convert);
    QCOMPARE(line.options.operands, QStringList({u"-a.png"_s, u"b.png"_s}));
    // A worker process reads the same options from what it is given.
    const CommandLine worker = readCommandLine(commandLine(QStringList(serveArgument()) + line.options.arguments));
    QVERIFY(worker.request == CommandLine::Request::Serve);
    for (const BatchOptions &options : {line.options, worker.options}) {
        QCOMPARE(options.output, u"out"_s);
        QCOMPARE(options.pages.columns, 3);
        QCOMPARE(options.pages.paper.size, QSizeF(1191, 842));
        QCOMPARE(options.pages.margin, (Margin{30, false}));
        QVERIFY(options.pages.pageNumbers);
        QVERIFY(options.pages.trim);
        QVERIFY(!options.pages.cutRule.has_value());
        QVERIFY(options.pages.lossless);
        QCOMPARE(options.pages.quality, 7);
        QVERIFY(options.pages.acceptDamaged);
        QCOMPARE(options.pages.title, u"T"_s);
        QVERIFY(options.recursive);
        QCOMPARE(options.filesFrom, u"list"_s);
        QVERIFY(options.isNulSeparated);
        QCOMPARE(options.nameForm, u"{n}.pdf"_s);
        QVERIFY(options.noClobber);
        QCOMPARE(options.preview, u"p.png"_s);
        QCOMPARE(options.cutsFrom, u"c"_s);
        QCOMPARE(options.jobs, 64);
        QVERIFY(options.json);
        QVERIFY(options.quiet);
    }
}

void TestBatchParts::readsTheCutRule_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<bool>("isAutomatic");
    QTest::addColumn<CutRule>("rule");
    QTest::newRow("calm") << u"--cuts calm"_s << true << CutRule::Calm;
    QTest::newRow("bright") << u"--cuts=bright"_s << true << CutRule::Bright;
    QTest::newRow("regular") << u"--cuts regular"_s << false << CutRule::Calm;
    QTest::newRow("regular twice") << u"--cuts regular --no-auto-cut"_s << false << CutRule::Calm;
}

void TestBatchParts::readsTheCutRule()
{
    QFETCH(QString, arguments);
    const CommandLine line = readCommandLine(commandLine(u"a.png -o a.pdf "_s.append(arguments).split(u' ')));
    QTEST(line.options.pages.cutRule.has_value(), "isAutomatic");
    QTEST(line.options.pages.cutRule.value_or(CutRule::Calm), "rule");
}

void TestBatchParts::dryRunNeedsNoOutput()
{
    const CommandLine line = readCommandLine(commandLine({u"--dry-run"_s, u"a.png"_s, u"b.png"_s}));
    QVERIFY(line.options.dryRun);
    const BatchPlan plan = planJobs(line.options, line.options.operands);
    QCOMPARE(plan.folder, QString());
    QCOMPARE(plan.jobs.size(), 2);
    for (const BatchJob &job : plan.jobs) {
        QCOMPARE(job.output, QString());
    }
}

void TestBatchParts::rejects_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("mistake");
    const auto row = [](const char *name, const QString &arguments, const QString &mistake) {
        QTest::newRow(name) << arguments.split(u' ', Qt::SkipEmptyParts) << mistake;
    };
    row("nothing", u""_s, u"no image"_s);
    row("no image", u"-o out"_s, u"no image"_s);
    row("no output", u"a.png"_s, u"-o OUT"_s);
    row("output without value", u"a.png -o"_s, u"Missing value"_s);
    row("unknown option", u"a.png -o out --color"_s, u"color"_s);
    row("value for a flag", u"a.png -o out --trim=1"_s, u"trim"_s);
    row("0 columns", u"a.png -o out --columns 0"_s, u"--columns"_s);
    row("5 columns", u"a.png -o out --columns 5"_s, u"--columns"_s);
    row("3 columns of the window", u"a.png -o out --layout window --columns 3"_s, u"--layout window"_s);
    row("paper of the window", u"a.png -o out --layout window --paper A5"_s, u"--layout window"_s);
    row("unknown layout", u"a.png -o out --layout brick"_s, u"--layout must be"_s);
    row("unknown paper", u"a.png -o out --paper A9"_s, u"--paper must be"_s);
    row("strips with margins", u"a.png -o out --paper strip --margin 3"_s, u"--paper strip"_s);
    row("strips in columns", u"a.png -o out --paper strip --columns 2"_s, u"--paper strip"_s);
    row("margins wider than the paper", u"a.png -o out --margin 100mm --paper A5"_s, u"too little"_s);
    row("columns in a narrow paper", u"a.png -o out --columns 4 --paper 25x200mm --margin 3"_s, u"too little"_s);
    row("quality of 0", u"a.png -o out --quality 0"_s, u"--quality"_s);
    row("name without a suffix", u"a.png -o out --name {stem}"_s, u"--name"_s);
    row("the same name for all", u"a.png -o out --name a.pdf"_s, u"--name"_s);
    row("name in another folder", u"a.png -o out --name ../{stem}.pdf"_s, u"--name"_s);
    row("unknown part of a name", u"a.png -o out --name {stem}{date}.pdf"_s, u"--name"_s);
    row("margin of -1", u"a.png -o out --margin=-1"_s, u"--margin"_s);
    row("margin of 31", u"a.png -o out --margin 31"_s, u"--margin"_s);
    row("half a margin", u"a.png -o out --margin 2.5"_s, u"--margin"_s);
    row("margin with a percent sign", u"a.png -o out --margin 10%"_s, u"--margin"_s);
    row("margin past 32 bits", u"a.png -o out --margin 99999999999"_s, u"--margin"_s);
    row("less than no job", u"a.png -o out -j=-1"_s, u"--jobs"_s);
    row("65 jobs", u"a.png -o out -j 65"_s, u"--jobs"_s);
    row("unknown rule for cuts", u"a.png -o out --cuts dark"_s, u"--cuts must be calm, bright or regular"_s);
    row("rule in capitals", u"a.png -o out --cuts Calm"_s, u"--cuts must be"_s);
    row("no rule", u"a.png -o out --cuts="_s, u"--cuts must be"_s);
    row("calm and not", u"a.png -o out --cuts calm --no-auto-cut"_s, u"--no-auto-cut contradicts --cuts calm"_s);
    row("bright and not", u"a.png -o out --no-auto-cut --cuts bright"_s, u"--no-auto-cut contradicts --cuts bright"_s);
    row("no preview", u"a.png -o out --preview="_s, u"--preview needs a name"_s);
    row("no list of cuts", u"a.png -o out --cuts-from="_s, u"--cuts-from needs a name"_s);
    row("no list of files", u"-o out --files-from="_s, u"--files-from needs a name"_s);
    row("landscape of the window", u"a.png -o out --layout window --landscape"_s, u"--layout window"_s);
    row("millimeters of the window", u"a.png -o out --layout window --margin 5mm"_s, u"--layout window"_s);
    row("strips in landscape", u"a.png -o out --paper strip --landscape"_s, u"--paper strip"_s);
    row("two outputs", u"a.png -o a.pdf -o b.pdf"_s, u"--output is given twice"_s);
    row("two lists of files", u"-o out --files-from a --files-from b"_s, u"--files-from is given twice"_s);
    row("two lists of cuts", u"a.png -o out --cuts-from a --cuts-from b"_s, u"--cuts-from is given twice"_s);
    row("two previews", u"a.png --preview a --preview b"_s, u"--preview is given twice"_s);
    row("dry run of nothing", u"--dry-run"_s, u"no image"_s);
    row("jobs in words", u"a.png -o out -j two"_s, u"--jobs"_s);
    QTest::newRow("empty output") << QStringList{u"a.png"_s, u"-o"_s, QString()} << u"-o OUT"_s;
    QTest::newRow("empty image") << QStringList{QString(), u"-o"_s, u"out"_s} << u"empty"_s;
    QTest::newRow("serving after an image") << QStringList{u"a.png"_s, serveArgument()} << serveArgument().mid(2);
}

void TestBatchParts::rejects()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, mistake);
    const QString actual = mistakeIn(arguments);
    QVERIFY(!actual.isEmpty());
    QVERIFY2(actual.contains(mistake), qPrintable(actual));
}

void TestBatchParts::answers_data()
{
    QTest::addColumn<QString>("argument");
    QTest::addColumn<bool>("isHelp");
    QTest::newRow("-h") << u"-h"_s << true;
    QTest::newRow("--help") << u"--help"_s << true;
    QTest::newRow("-v") << u"-v"_s << false;
    QTest::newRow("--version") << u"--version"_s << false;
}

void TestBatchParts::answers()
{
    QFETCH(QString, argument);
    QFETCH(bool, isHelp);
    const CommandLine line = readCommandLine(commandLine({u"a.png"_s, argument})); // the other arguments are ignored
    QVERIFY(line.request == (isHelp ? CommandLine::Request::ShowHelp : CommandLine::Request::ShowVersion));
}

void TestBatchParts::serves()
{
    QVERIFY(readCommandLine(commandLine({serveArgument()})).request == CommandLine::Request::Serve);
}

void TestBatchParts::helpNamesEveryOption()
{
    const QString help = batchHelp();
    QVERIFY(optionFacts().size() > 20);
    for (const OptionFacts &option : optionFacts()) {
        QVERIFY2(help.contains(u"--"_s + option.names.last()), qPrintable(option.names.last()));
    }
    QVERIFY(help.contains(u"Exit status"_s));
    QVERIFY(!help.contains(serveArgument()));
}

void TestBatchParts::manualNamesTheOptionsOfTheHelp()
{
    const QString manual = QString::fromUtf8(contentOf(QStringLiteral(MANUAL)));
    static const QRegularExpression option(u"--([a-z-]+)"_s);
    int options = 0;
    for (const QRegularExpressionMatch &match : option.globalMatch(batchHelp())) {
        QVERIFY2(manual.contains("Fl -"_L1 + match.captured(1)), qPrintable(match.captured(1)));
        ++options;
    }
    QVERIFY(options > 10);
}

void TestBatchParts::plansOutputs_data()
{
    QTest::addColumn<QStringList>("images");
    QTest::addColumn<QString>("output");
    QTest::addColumn<QStringList>("outputs");
    QTest::addColumn<QString>("folder");
    const QString none;
    QTest::newRow("a file") << QStringList{u"x.png"_s} << u"y.pdf"_s << QStringList{u"y.pdf"_s} << none;
    QTest::newRow("no suffix is added") << QStringList{u"x.png"_s} << u"y"_s << QStringList{u"y"_s} << none;
    QTest::newRow("a folder by its slash")
        << QStringList{u"p/x.png"_s} << u"new/"_s << QStringList{u"new/x.pdf"_s} << u"new/"_s;
    QTest::newRow("an existing folder") << QStringList{u"p/x.png"_s} << u"there"_s << QStringList{u"there/x.pdf"_s}
                                        << u"there"_s;
    QTest::newRow("several") << QStringList{u"x.png"_s, u"/p/y.tar.jpg"_s, u"z"_s} << u"new"_s
                             << QStringList{u"new/x.pdf"_s, u"new/y.tar.pdf"_s, u"new/z.pdf"_s} << u"new"_s;
    QTest::newRow("same names") << QStringList{u"p/x.png"_s, u"q/x.png"_s, u"x.jpg"_s} << u"new"_s
                                << QStringList{u"new/x.pdf"_s, u"new/x-2.pdf"_s, u"new/x-3.pdf"_s} << u"new"_s;
    QTest::newRow("a name that is already taken")
        << QStringList{u"p/x.png"_s, u"q/x.png"_s, u"x-2.png"_s} << u"new"_s
        << QStringList{u"new/x.pdf"_s, u"new/x-2.pdf"_s, u"new/x-2-2.pdf"_s} << u"new"_s;
    QTest::newRow("names that differ in case")
        << QStringList{u"x.png"_s, u"X.png"_s} << u"new"_s << QStringList{u"new/x.pdf"_s, u"new/X-2.pdf"_s} << u"new"_s;
    QTest::newRow("the same image twice")
        << QStringList{u"x.png"_s, u"x.png"_s} << u"new"_s << QStringList{u"new/x.pdf"_s, u"new/x-2.pdf"_s} << u"new"_s;
    QTest::newRow("odd names") << QStringList{u".png"_s, u"folder/"_s, u"/"_s} << u"new"_s
                               << QStringList{u"new/.png.pdf"_s, u"new/folder.pdf"_s, u"new/image.pdf"_s} << u"new"_s;
}

void TestBatchParts::plansOutputs()
{
    QFETCH(QStringList, images);
    QFETCH(QString, output);
    QFETCH(QStringList, outputs);
    QFETCH(QString, folder);
    QVERIFY(QDir::current().mkpath(u"there"_s));
    const BatchPlan plan = planJobs(optionsFor(output), images);
    QCOMPARE(plan.folder, folder);
    QCOMPARE(plan.jobs.size(), images.size());
    for (qsizetype i = 0; i < images.size(); ++i) {
        QCOMPARE(plan.jobs.at(i).number, i);
        QCOMPARE(plan.jobs.at(i).images.size(), 1);
        QCOMPARE(plan.jobs.at(i).images.first().name, images.at(i));
        QCOMPARE(plan.jobs.at(i).output, outputs.at(i));
    }
    QVERIFY(!QFile::exists(u"new"_s));
}

void TestBatchParts::plansOneFileOfSeveralImages()
{
    const BatchPlan plan = planJobs(optionsFor(u"all.pdf"_s), {u"a.png"_s, u"-"_s, u"c.png"_s});
    QCOMPARE(plan.folder, QString());
    QCOMPARE(plan.jobs.size(), 1);
    QCOMPARE(plan.jobs.first().output, u"all.pdf"_s);
    QCOMPARE(plan.jobs.first().images.size(), 3);
    QCOMPARE(plan.jobs.first().images.at(2).name, u"c.png"_s);
    QCOMPARE(planJobs(optionsFor(u"-"_s), {u"a.png"_s, u"b.png"_s}).jobs.size(), 1);
}

void TestBatchParts::namesFilesByAForm()
{
    BatchOptions options = optionsFor(u"new/"_s);
    options.nameForm = u"{n}-{stem}.pdf"_s;
    const BatchPlan plan = planJobs(options, {u"p/x.png"_s, u"{n}.png"_s});
    QCOMPARE(plan.jobs.at(0).output, u"new/1-x.pdf"_s);
    QCOMPARE(plan.jobs.at(1).output, u"new/2-{n}.pdf"_s);
}

void TestBatchParts::plansToReplaceNothingButPdfFiles()
{
    savedBytes("an image", u"a.png"_s);
    savedBytes("%PDF-1.4 of before", u"named.pdf"_s);
    savedBytes("an image", u"picture.pdf"_s);
    QFile::link(u"a.png"_s, u"link.pdf"_s);
    const auto mistakeOf = [](const QStringList &images, const QString &output) {
        return planMistake(images, optionsFor(output));
    };
    QVERIFY(mistakeOf({u"a.png"_s}, u"./a.png"_s).contains(u"overwritten"_s));
    QVERIFY(mistakeOf({u"a.png"_s}, u"link.pdf"_s).contains(u"overwritten"_s));
    QVERIFY(mistakeOf({u"a.png"_s, u"named.pdf"_s}, u"."_s).contains(u"overwritten"_s));
    QVERIFY(mistakeOf({u"a.png"_s, u"b.png"_s}, u"a.png/"_s).contains(u"folder"_s));
    QVERIFY(mistakeOf({u"a.png"_s}, u"named.pdf/"_s).contains(u"folder"_s));
    QVERIFY(mistakeOf({u"b.png"_s}, u"a.png"_s).contains(u"no PDF file"_s));
    QVERIFY(mistakeOf({u"b.png"_s}, u"picture.pdf"_s).contains(u"no PDF file"_s));
    QVERIFY(mistakeOf({u"x/picture.png"_s}, u"."_s).contains(u"no PDF file"_s));
    QCOMPARE(mistakeOf({u"a.png"_s}, u"named.pdf"_s), QString());
    QCOMPARE(mistakeOf({u"no such.png"_s}, u"no such.pdf"_s), QString());
    BatchOptions careful = optionsFor(u"named.pdf"_s);
    careful.noClobber = true;
    QVERIFY(planMistake({u"a.png"_s}, careful).contains(u"exists already"_s));
    QFile::remove(u"link.pdf"_s);
}

void TestBatchParts::plansPreviewsBesideOtherFiles_data()
{
    QTest::addColumn<QString>("preview");
    QTest::addColumn<bool>("isDryRun");
    QTest::addColumn<QString>("mistake");
    for (const bool isDryRun : {false, true}) {
        const char *run = isDryRun ? "dry run" : "run";
        QTest::addRow("new file, %s", run) << u"new.png"_s << isDryRun << QString();
        QTest::addRow("image, %s", run) << u"./image.png"_s << isDryRun << u"overwritten"_s;
        QTest::addRow("link to the image, %s", run) << u"link.png"_s << isDryRun << u"overwritten"_s;
    }
    QTest::newRow("output") << u"./a.pdf"_s << false << u"written twice"_s;
    QTest::newRow("output of a dry run") << u"./a.pdf"_s << true << QString();
}

void TestBatchParts::plansPreviewsBesideOtherFiles()
{
    QFETCH(QString, preview);
    QFETCH(bool, isDryRun);
    QFETCH(QString, mistake);
    savedPicture(textPicture(70, 250), u"image.png"_s);
    QFile::link(u"image.png"_s, u"link.png"_s);
    BatchOptions options = optionsFor(u"a.pdf"_s);
    options.preview = preview;
    options.dryRun = isDryRun;
    const QString actual = planMistake({u"image.png"_s}, options);
    QVERIFY2(mistake.isEmpty() ? actual.isEmpty() : actual.contains(mistake), qPrintable(actual));
    QFile::remove(u"link.png"_s);
}

void TestBatchParts::givesManyEqualNamesNumbers()
{
    const QStringList images(20000, u"50%1.png"_s);
    QElapsedTimer timer;
    timer.start();
    const QList<BatchJob> jobs = planJobs(optionsFor(u"new/"_s), images + QStringList{u"50%1-2.png"_s}).jobs;
    QCOMPARE_LT(timer.elapsed(), 10000); // some 30 ms; if each name tried all before it, a minute
    QCOMPARE(jobs.at(0).output, u"new/50%1.pdf"_s);
    QCOMPARE(jobs.at(1).output, u"new/50%1-2.pdf"_s);
    QCOMPARE(jobs.at(19999).output, u"new/50%1-20000.pdf"_s);
    QCOMPARE(jobs.at(20000).output, u"new/50%1-2-2.pdf"_s);
}

void TestBatchParts::refusesTwoNamesOfOneFile()
{
    QVERIFY(QDir::current().mkpath(u"linked"_s));
    QFile::link(u"b.pdf"_s, u"linked/a.pdf"_s); // b.pdf does not exist yet
    QVERIFY(planMistake({u"a.png"_s, u"b.png"_s}, optionsFor(u"linked"_s)).contains(u"written twice"_s));
    QCOMPARE(planMistake({u"a.png"_s, u"c.png"_s}, optionsFor(u"linked"_s)), QString());
    QVERIFY(QDir(u"linked"_s).removeRecursively());
}

void TestBatchParts::refusesImpossiblePlans()
{
    BatchOptions named = optionsFor(u"a.pdf"_s);
    named.nameForm = u"{n}.pdf"_s;
    QVERIFY(planMistake({u"a.png"_s}, named).contains(u"--name"_s));
    QVERIFY(planMistake({u"a.png"_s, u"-"_s}, optionsFor(u"new/"_s)).contains(u"standard input"_s));
    BatchOptions preview = optionsFor(u"new/"_s);
    preview.preview = u"p.png"_s;
    QVERIFY(planMistake({u"a.png"_s, u"b.png"_s}, preview).contains(u"--preview"_s));
    savedBytes("no picture", u"p.png"_s);
    QVERIFY(planMistake({u"a.png"_s}, preview).contains(u"no PNG file"_s));
}

void TestBatchParts::readsStandardInputOnce_data()
{
    QTest::addColumn<QStringList>("images");
    QTest::addColumn<QString>("filesFrom");
    QTest::addColumn<QString>("cutsFrom");
    QTest::addColumn<bool>("isRefused");
    const QStringList input(u"-"_s);
    QTest::newRow("once") << input << QString() << QString() << false;
    QTest::newRow("in the list") << QStringList() << u"list"_s << QString() << false;
    QTest::newRow("two images") << input + input << QString() << QString() << true;
    QTest::newRow("image and names") << input << u"-"_s << QString() << true;
    QTest::newRow("image and cuts") << input << QString() << u"-"_s << true;
    QTest::newRow("names and cuts") << QStringList() << u"-"_s << u"-"_s << true;
    QTest::newRow("image, and in the list") << input << u"list"_s << QString() << true;
    QTest::newRow("cuts, and in the list") << QStringList() << u"list"_s << u"-"_s << true;
}

void TestBatchParts::readsStandardInputOnce()
{
    QFETCH(QStringList, images);
    QFETCH(QString, filesFrom);
    QFETCH(QString, cutsFrom);
    QFETCH(bool, isRefused);
    savedBytes("a.png\n-\n", u"list"_s);
    BatchOptions options;
    options.operands = images;
    options.filesFrom = filesFrom;
    options.cutsFrom = cutsFrom;
    QString mistake;
    try {
        (void)findImages(options);
    } catch (const BatchError &error) {
        mistake = error.text;
    }
    QCOMPARE(mistake, isRefused ? u"standard input can be read only once"_s : QString());
}

void TestBatchParts::sortsNaturally_data()
{
    QTest::addColumn<QStringList>("names"); // in order
    QTest::newRow("numbers") << QStringList{u"a1"_s, u"a2"_s, u"a10"_s, u"a100"_s};
    QTest::newRow("two numbers") << QStringList{u"a1-9"_s, u"a1-10"_s, u"a2-1"_s};
    QTest::newRow("zeros") << QStringList{u"a08"_s, u"a9"_s, u"a010"_s};
    QTest::newRow("case") << QStringList{u"a"_s, u"B"_s, u"c"_s};
    QTest::newRow("beginnings") << QStringList{u"a"_s, u"a1"_s, u"ab"_s};
    QTest::newRow("only case differs") << QStringList{u"A"_s, u"a"_s};
    QTest::newRow("full-width digits") << QStringList{u"a１0"_s, u"a１1"_s, u"a１２"_s, u"a２"_s};
    QTest::newRow("large") << QStringList{u"99999999999999999999"_s, u"100000000000000000000"_s};
}

void TestBatchParts::sortsNaturally()
{
    QFETCH(QStringList, names);
    for (qsizetype i = 0; i < names.size(); ++i) {
        for (qsizetype j = 0; j < names.size(); ++j) {
            QCOMPARE(isNaturallyBefore(names.at(i), names.at(j)), i < j);
        }
    }
}

void TestBatchParts::keepsTheBytesOfNames_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("plain") << QByteArray("a b.png");
    QTest::newRow("UTF-8") << QByteArray("\xe5\x90\x8d \xf0\x9f\x98\x80.png");
    QTest::newRow("Latin-1") << QByteArray("gr\xfc\xdf\x65.png");
    QTest::newRow("cut off") << QByteArray("a\xe5\x90");
    QTest::newRow("byte order marks") << QByteArray("\xef\xbb\xbf"
                                                    "a\xef\xbb\xbf.png");
    QTest::newRow("a surrogate in UTF-8") << QByteArray("\xed\xb2\x80");
    QTest::newRow("all bytes") << QByteArray("\x80\xff\xc0\x80\xfe");
}

void TestBatchParts::keepsTheBytesOfNames()
{
    QFETCH(QByteArray, bytes);
    const QString name = nameFromBytes(bytes);
    QCOMPARE(bytesOfName(name), bytes);
    const std::optional<BatchJob> passed = jobFromJson(jsonLine(toJson(jobOf(0, name, name))));
    QVERIFY(passed.has_value());
    QCOMPARE(bytesOfName(passed->images.first().name), bytes);
    QCOMPARE(bytesOfName(passed->output), bytes);
}

void TestBatchParts::readsCutLists()
{
    const QString list = savedBytes("{\"event\":\"done\",\"image\":\"a.png\",\"cuts\":[5,9]}\n\n"
                                    "{\"event\":\"picture\",\"image\":\"b.tif\",\"cuts\":[],\"index\":1}\n"
                                    "{\"event\":\"end\",\"files\":2}\n",
                                    u"cuts.txt"_s);
    const QHash<QString, FileCuts> cuts = readCutList(list);
    QCOMPARE(cuts.size(), 2);
    QCOMPARE(cuts.value(u"a.png"_s), (FileCuts{{0, {5, 9}}}));
    QCOMPARE(cuts.value(u"b.tif"_s), (FileCuts{{1, {}}}));
}

void TestBatchParts::rejectsCutLists_data()
{
    QTest::addColumn<QByteArray>("list");
    for (const char *list :
         {"", "text", R"({"image":"a","cuts":[9,5]})", R"({"image":"a","cuts":[0]})", R"({"image":"a","cuts":[5,5]})",
          R"({"image":"a","cuts":["5"]})", R"({"image":"a","cuts":5})", R"({"image":"a","cuts":"5"})",
          R"({"image":"a","cuts":null})", R"({"image":7,"cuts":[5]})", R"({"image":"a","cuts":[5],"index":"1"})",
          R"({"image":"a","cuts":[5],"index":0.5})", R"({"image":"a","cuts":[5],"index":-1})", R"({"event":"end"})"}) {
        QTest::newRow(list) << QByteArray(list);
    }
}

void TestBatchParts::rejectsCutLists()
{
    QFETCH(QByteArray, list);
    QVERIFY_THROWS_EXCEPTION(BatchError, (void)readCutList(savedBytes(list, u"cuts.txt"_s)));
}

void TestBatchParts::eventsSurviveTheirJson_data()
{
    QTest::addColumn<BatchEvent>("event");
    const PictureFacts facts{2, 12, 0.5, {700, 1420}, QList<int>{1420}, 12, u"a remark"_s};
    QTest::newRow("begun") << BatchEvent(JobBegun());
    QTest::newRow("writing") << BatchEvent(FileBegun{u"a \"b\"\n名.part"_s});
    QTest::newRow("page") << BatchEvent(PageDone{3, 12});
    QTest::newRow("picture") << BatchEvent(PictureDone{u"a.tif"_s, facts});
    QTest::newRow("done") << BatchEvent(JobDone{12, 5000000000, 1.25, facts});
    QTest::newRow("done with nothing to cut") << BatchEvent(JobDone{1, 7, 0.5, PictureFacts{0, 1, 1, {}, {}, 0, {}}});
    QTest::newRow("done with several pictures") << BatchEvent(JobDone{12, 0, 1.25, std::nullopt});
    QTest::newRow("failed") << BatchEvent(JobFailed{BatchFailure::TooLarge, u"broken"_s, u"a.png"_s});
}

void TestBatchParts::eventsSurviveTheirJson()
{
    QFETCH(BatchEvent, event);
    const QByteArray line = jsonLine(toJson(event));
    QCOMPARE(line.count('\n'), 1);
    const std::optional<BatchEvent> passed = eventFromJson(line);
    QVERIFY(passed.has_value());
    QVERIFY(*passed == event);
}

void TestBatchParts::jobsSurviveTheirJson()
{
    const BatchJob job{7, {{u"a\n\"名\".png"_s, {{1, {1, 5}}, {70, {}}}}, {u"b"_s, {}}}, u"b.pdf"_s, 3};
    const std::optional<BatchJob> passed = jobFromJson(jsonLine(toJson(job)));
    QVERIFY(passed.has_value());
    QCOMPARE(passed->number, 7);
    QCOMPARE(passed->images.size(), 2);
    QCOMPARE(passed->images.first().name, job.images.first().name);
    QCOMPARE(passed->images.first().cuts, job.images.first().cuts);
    QCOMPARE(passed->output, job.output);
    QCOMPARE(passed->threads, 3);
}

void TestBatchParts::rejectsOtherLines()
{
    for (const char *line :
         {"", "{}", "[]", "page", R"({"event":"lunch"})", R"({"images":["a.png"]})", "{\"event\":"}) {
        QVERIFY(!eventFromJson(line).has_value());
        QVERIFY(!jobFromJson(line).has_value());
    }
}

void TestBatchParts::hidesControlCharacters()
{
    QCOMPARE(printable(u"a\033[2J\nb\u009b名.png"_s), u"a?[2J?b?名.png"_s);
}

void TestBatchParts::drawsCutsOverTheSmallPicture()
{
    const QImage image = noisePicture(QSize(40, 60));
    QImage expected = image;
    for (const int y : {0, 1, 6, 7, 29, 30}) { // a cut at row 0 is drawn below its place
        for (int x = 0; x < expected.width(); ++x) {
            expected.setPixel(x, y, qRgb(255, 0, 0));
        }
    }
    QCOMPARE(previewOf(image, {0, 7, 30}), expected);

    const QImage small = previewOf(plainPicture(720, 100, Qt::white), {40});
    QCOMPARE(small.size(), QSize(360, 50));
    for (int y = 0; y < small.height(); ++y) {
        QCOMPARE(small.pixelColor(359, y), QColor(y == 19 || y == 20 ? Qt::red : Qt::white));
    }
}

void TestBatchParts::completesInEveryShell_data()
{
    QTest::addColumn<QString>("shell");
    for (const QString &shell : {u"bash"_s, u"zsh"_s, u"fish"_s}) {
        QTest::newRow(qPrintable(shell)) << shell;
    }
}

void TestBatchParts::completesInEveryShell()
{
    QFETCH(QString, shell);
    const QString script = completionFor(shell);
    for (const OptionFacts &option : optionFacts()) {
        const QString name = option.names.last();
        QVERIFY2(script.contains(shell == "fish"_L1 ? u" -l "_s + name : u"--"_s + name), qPrintable(name));
    }
    QVERIFY(script.contains(u"calm bright regular"_s));
    QVERIFY_THROWS_EXCEPTION(BatchError, (void)completionFor(u"csh"_s));
}

void TestBatchParts::partFileReplacesTheTargetOnCommit()
{
    savedBytes("old", u"target.pdf"_s);
    PartFile part(QDir::current().filePath(u"target.pdf"_s));
    QCOMPARE(partFiles().size(), 1);
    QVERIFY(QRegularExpression(u"^quillmarch-[0-9]+[.]pdf[.]part$"_s).match(partFiles().first()).hasMatch());
    part.device().write("new");
    QCOMPARE(contentOf(u"target.pdf"_s), "old");
    part.commit();
    QCOMPARE(contentOf(u"target.pdf"_s), "new");
}

void TestBatchParts::partFileIsRemovedUnlessCommitted()
{
    savedBytes("old", u"target.pdf"_s);
    {
        const PartFile part(u"target.pdf"_s);
        QCOMPARE(partFiles().size(), 1);
    }
    QCOMPARE(partFiles(), QStringList());
    QCOMPARE(contentOf(u"target.pdf"_s), "old");
}

void TestBatchParts::partFileThatIsGoneReplacesNothing()
{
    savedBytes("old", u"target.pdf"_s);
    PartFile part(u"target.pdf"_s);
    QVERIFY(QFile::remove(part.name()));
    QCOMPARE(commitError(part), u"No such file or directory"_s);
    QCOMPARE(contentOf(u"target.pdf"_s), "old");
}

void TestBatchParts::partFileKeepsPermissions()
{
    const auto kept = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup;
    const auto shown = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther;
    savedBytes("old", u"target.pdf"_s);
    QVERIFY(QFile::setPermissions(u"target.pdf"_s, kept));
    PartFile part(u"target.pdf"_s);
    QCOMPARE(QFile::permissions(part.name()) & shown, (QFile::ReadOwner | QFile::WriteOwner) & shown);
    part.commit();
    QCOMPARE(QFile::permissions(u"target.pdf"_s) & shown, QFile::permissions(u"target.pdf"_s) & kept);

    QFile plain(u"plain.pdf"_s); // with the permissions of a file from any other program
    QVERIFY(plain.open(QIODevice::WriteOnly));
    PartFile fresh(u"fresh.pdf"_s);
    fresh.commit();
    QCOMPARE(QFile::permissions(u"fresh.pdf"_s), plain.permissions());
}

void TestBatchParts::partFileFollowsLinks()
{
    QVERIFY(QDir::current().mkpath(u"elsewhere"_s));
    savedBytes("old", u"elsewhere/real.pdf"_s);
    QFile::remove(u"link.pdf"_s);
    QVERIFY(QFile::link(u"elsewhere/real.pdf"_s, u"link.pdf"_s));
    PartFile part(u"link.pdf"_s);
    part.commit();
    QVERIFY(QFileInfo(u"link.pdf"_s).isSymLink());
    QCOMPARE(contentOf(u"elsewhere/real.pdf"_s), QByteArray());

    QVERIFY(QFile::remove(u"elsewhere/real.pdf"_s)); // the link is dangling now
    PartFile missing(u"link.pdf"_s);
    missing.commit();
    QVERIFY(QFileInfo(u"link.pdf"_s).isSymLink());
    QVERIFY(QFile::exists(u"elsewhere/real.pdf"_s));

    QFile::remove(u"second.pdf"_s);
    QVERIFY(QFile::link(QFileInfo(u"link.pdf"_s).absoluteFilePath(), u"second.pdf"_s));
    QCOMPARE(nameFromNative(targetOf("second.pdf")), QFileInfo(u"elsewhere/real.pdf"_s).canonicalFilePath());
}

void TestBatchParts::seesWhereAFileIsTruncated_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QByteArray>("format");
    QTest::addColumn<int>("least"); // bytes of a whole picture; 0 if the decoder tells
    const QByteArray header = QByteArray::fromHex("474946383961100010008000000000 00ffffff");
    const QByteArray pixels = QByteArray::fromHex("020e848fa9cbed0fa39cb4da8bb3de0500");
    const QByteArray extension = QByteArray::fromHex("21f9040000000000");
    const QByteArray frame = QByteArray::fromHex("2c00000000100010000 0") + pixels;
    const QByteArray ownColors = QByteArray::fromHex("2c0000000010001000800000000 1ffff") + pixels;
    const auto sizeOf = [](const QByteArray &bytes) { return int(bytes.size()); };
    QTest::newRow("GIF") << header + frame + ';' << QByteArray("gif") << sizeOf(header + frame);
    QTest::newRow("GIF, two frames") << header + frame + frame + ';' << QByteArray("gif") << sizeOf(header + frame);
    QTest::newRow("GIF, extensions") << header + extension + extension + frame << QByteArray("gif")
                                     << sizeOf(header + extension + extension + frame);
    QTest::newRow("GIF, colors of the frame")
        << header + ownColors + ';' << QByteArray("gif") << sizeOf(header + ownColors);
    const QImage picture = noisePicture(QSize(16, 16));
    const QByteArray bmp = encodedPicture(picture, "BMP");
    QTest::newRow("BMP") << bmp << QByteArray("bmp") << sizeOf(bmp);
    QByteArray noSize = bmp;
    QTest::newRow("BMP, 0 bytes long") << noSize.replace(2, 4, QByteArray(4, '\0')) << QByteArray("bmp") << sizeOf(bmp);
    QTest::newRow("BMP, as long as its headers")
        << noSize.replace(2, 4, QByteArray::fromHex("36000000")) << QByteArray("bmp") << sizeOf(bmp);
    QByteArray upperFirst = noSize;
    QTest::newRow("BMP, upper row first")
        << upperFirst.replace(22, 4, QByteArray::fromHex("f0ffffff")) << QByteArray("bmp") << sizeOf(bmp);
    const QByteArray core =
        QByteArray::fromHex("424d000000000000000 020000000 0c000000 1000 0200 0100 0100 ffffff 000000")
        + QByteArray(8, '\x55');
    QTest::newRow("BMP, short header") << core << QByteArray("bmp") << sizeOf(core);
    const QByteArray masks = QByteArray::fromHex("424d0000000000000000420000002800000002000000020000000100100003000000"
                                                 "0000000000000000000000000000000000000000"
                                                 "00f80000e00700001f000000")
        + QByteArray(8, '\x55');
    QTest::newRow("BMP, masks of colors") << masks << QByteArray("bmp") << sizeOf(masks);
    const QByteArray xbm = encodedPicture(picture, "XBM");
    QTest::newRow("XBM") << xbm << QByteArray("xbm") << int(xbm.lastIndexOf('}')) + 1;
    QTest::newRow("PNG") << encodedPicture(picture, "PNG") << QByteArray("png") << 0;
}

void TestBatchParts::seesWhereAFileIsTruncated()
{
    QFETCH(QByteArray, file);
    QFETCH(QByteArray, format);
    QFETCH(int, least);
    QVERIFY(!QImage::fromData(file).isNull());
    for (int size = 6; size <= file.size(); ++size) {
        QVERIFY2(isTruncated(file.left(size), format) == (size < least), qPrintable(QString::number(size)));
    }
}

void TestBatchParts::findsThePagesOfATiff_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<Places>("places");
    QTest::addColumn<bool>("isSound");
    const QByteArray tiff = littleTiff();
    const QByteArray big = bigTiff();
    const Places all{8, 44, 26};
    const Places allBig{16, 88, 52};
    QTest::newRow("little endian") << tiff << all << true;
    QTest::newRow("big endian") << bigEndianTiff() << all << true;
    QTest::newRow("BigTIFF") << big << allBig << true;
    QTest::newRow("BigTIFF, big endian") << bigEndianBigTiff() << allBig << true;
    QTest::newRow("no directory") << changed(tiff, 4, "00000000") << Places() << true;
    QTest::newRow("the first one at the end") << changed(tiff, 4, "3e000000") << Places() << false;
    QTest::newRow("the first one after the end") << changed(tiff, 4, "ffffffff") << Places() << false;
    QTest::newRow("the next one at the last byte") << changed(tiff, 58, "3d000000") << Places{8, 44} << false;
    QTest::newRow("the next one after the end") << changed(tiff, 58, "ffffffff") << Places{8, 44} << false;
    QTest::newRow("the same again") << changed(tiff, 58, "2c000000") << Places{8, 44} << false;
    QTest::newRow("back to the first") << changed(tiff, 40, "08000000") << all << false;
    QTest::newRow("no entries") << changed(tiff, 44, "0000") << Places{8} << false;
    QTest::newRow("2 entries, no link") << changed(tiff, 44, "0200") << Places{8} << false;
    QTest::newRow("65535 entries") << changed(tiff, 44, "ffff") << Places{8} << false;
    QTest::newRow("2^64-1 entries") << changed(big, 88, "ffffffffffffffff") << Places{16} << false;
    QTest::newRow("2^60 entries") << changed(big, 88, "0000000000000010") << Places{16} << false;
    QTest::newRow("at 2^64-1") << changed(big, 44, "ffffffffffffffff") << Places{16} << false;
    QTest::newRow("at 2^63") << changed(big, 44, "0000000000000080") << Places{16} << false;
    QTest::newRow("truncated link") << tiff.chopped(1) << Places{8, 44} << false;
    QTest::newRow("truncated entries") << tiff.chopped(5) << Places{8} << false;
    QTest::newRow("truncated header") << tiff.left(7) << Places() << false;
    QTest::newRow("PNG") << encodedPicture(plainPicture(16, 16, Qt::white), "PNG") << Places() << false;
    QTest::newRow("nothing") << QByteArray() << Places() << false;
}

void TestBatchParts::findsThePagesOfATiff()
{
    QFETCH(QByteArray, file);
    const TiffPages pages = tiffPages(file);
    QTEST(pages.places, "places");
    QTEST(pages.isChainSound, "isSound");
    for (qsizetype size = 0; size < file.size(); ++size) {
        QVERIFY(tiffPages(file.left(size)).places.size() <= pages.places.size());
    }
}

void TestBatchParts::keepsSomePagesOfATiff_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<Places>("places");
    QTest::newRow("little endian") << littleTiff() << Places{8, 44, 26};
    QTest::newRow("big endian") << bigEndianTiff() << Places{8, 44, 26};
    QTest::newRow("BigTIFF") << bigTiff() << Places{16, 88, 52};
    QTest::newRow("BigTIFF, big endian") << bigEndianBigTiff() << Places{16, 88, 52};
    QTest::newRow("no last link") << changed(littleTiff(), 58, "00000000").chopped(4) << Places{8, 44};
}

void TestBatchParts::keepsSomePagesOfATiff()
{
    QFETCH(const QByteArray, file);
    QFETCH(const Places, places);
    for (const Places &kept : {places, places.mid(1), places.first(1), Places{places.last(), places.first()}}) {
        QByteArray bytes = file;
        keepTiffPages(bytes, kept);
        QCOMPARE(tiffPages(bytes).places, kept);
        QVERIFY(tiffPages(bytes).isChainSound);
    }
    QByteArray bytes = file;
    beginTiffAt(bytes, places.at(1));
    QCOMPARE(tiffPages(bytes).places, places.mid(1));
}

void TestBatchParts::completeFileIsNotRemoved()
{
    PartFile part(u"complete.pdf"_s);
    const QString name = part.name();
    part.commit();
    savedBytes("of another process", name);
    removePartFiles(); // as at a signal
    QCOMPARE(contentOf(name), QByteArray("of another process"));
    QVERIFY(QFile::exists(u"complete.pdf"_s));
    QVERIFY(QFile::remove(name));
}

void TestBatchParts::opensANewFileOnlyOnce()
{
    savedBytes("taken", u"taken.part"_s);
    QFile file;
    QVERIFY(!openFile(file, u"taken.part"_s, QIODevice::WriteOnly | QIODevice::NewOnly).isEmpty());
    QVERIFY(!file.isOpen());
    QCOMPARE(contentOf(u"taken.part"_s), QByteArray("taken"));
    QCOMPARE(openFile(file, u"free.part"_s, QIODevice::WriteOnly | QIODevice::NewOnly), QString());
    QVERIFY(!openFile(file, u"third.part"_s, QIODevice::WriteOnly | QIODevice::NewOnly).isEmpty()); // it is open
    QVERIFY(!QFile::exists(u"third.part"_s));
    QVERIFY(QFile::remove(u"taken.part"_s) && QFile::remove(u"free.part"_s));
}

void TestBatchParts::partFileRejects_data()
{
    QTest::addColumn<QString>("target");
    QTest::newRow("folder") << u"there"_s;
    QTest::newRow("device") << u"/dev/null"_s;
    QTest::newRow("no folder") << u"no such/target.pdf"_s;
#ifdef Q_OS_UNIX
    if (::geteuid() != 0) { // root may write everywhere
        QTest::newRow("protected file") << u"protected.pdf"_s;
        QTest::newRow("protected folder") << u"/target.pdf"_s;
    }
#endif
}

void TestBatchParts::partFileRejects()
{
    QFETCH(QString, target);
    QVERIFY(QDir::current().mkpath(u"there"_s));
    savedBytes("old", u"protected.pdf"_s);
    QFile::setPermissions(u"protected.pdf"_s, QFile::ReadOwner);
    QVERIFY_THROWS_EXCEPTION(BatchError, PartFile{target});
    QFile::setPermissions(u"protected.pdf"_s, QFile::ReadOwner | QFile::WriteOwner);
}

#ifdef Q_OS_UNIX
void TestBatchParts::partFileReportsAFullDisk()
{
    PartFile part(u"full.pdf"_s);
    part.device().write("new"); // into its buffer
    const FullDisk disk(0);
    QCOMPARE(commitError(part), u"File too large"_s);
    QVERIFY(!QFile::exists(u"full.pdf"_s));
}

void TestBatchParts::previewReportsAFullDisk_data()
{
    QTest::addColumn<QImage>("image");
    QTest::newRow("while it is written") << noisePicture(QSize(300, 300));
    QTest::newRow("at its end") << plainPicture(50, 50, Qt::blue);
}

void TestBatchParts::previewReportsAFullDisk()
{
    QFETCH(QImage, image);
    const FullDisk disk(0);
    try {
        writePreview(image, {}, u"full.png"_s);
        QFAIL("no error");
    } catch (const BatchError &error) {
        QVERIFY(error.failure == BatchFailure::Unwritable);
        QCOMPARE(error.text, u"cannot write \"full.png\": File too large"_s);
    }
    QVERIFY(!QFile::exists(u"full.png"_s));
}

void TestBatchParts::reportsWhatIsNotReadable()
{
    QVERIFY(QDir::current().mkpath(u"locked"_s));
    QVERIFY(QDir::current().mkpath(u"outer/locked"_s));
    savedBytes("bytes", u"locked.png"_s);
    QVERIFY(QFile::setPermissions(u"locked"_s, {}));
    QVERIFY(QFile::setPermissions(u"outer/locked"_s, {}));
    QVERIFY(QFile::setPermissions(u"locked.png"_s, {}));
    const auto unlock = qScopeGuard([] {
        QFile::setPermissions(u"locked"_s, QFile::ReadOwner | QFile::ExeOwner);
        QFile::setPermissions(u"outer/locked"_s, QFile::ReadOwner | QFile::ExeOwner);
        QFile::setPermissions(u"locked.png"_s, QFile::ReadOwner | QFile::WriteOwner);
    });
    const Unprivileged user;
    if (!user.isEffective()) {
        QSKIP("may read everything");
    }
    const auto reason = [](const auto &read) {
        try {
            read();
            return QString();
        } catch (const BatchError &error) {
            return error.failure == BatchFailure::Unreadable ? error.text : QString();
        }
    };
    QCOMPARE(reason([] { PictureFile(u"locked.png"_s); }), u"cannot read image: permission denied"_s);
    QCOMPARE(reason([] { PictureFile(u"locked/a.pdf"_s); }), u"cannot read image: PDF files are not supported"_s);
    BatchOptions options;
    options.operands = {u"locked"_s};
    QCOMPARE(reason([&] { (void)findImages(options); }), u"cannot read \"locked\": Permission denied"_s);
    options.recursive = true;
    options.operands = {u"outer"_s};
    QCOMPARE(reason([&] { (void)findImages(options); }), u"cannot read \"outer/locked\": Permission denied"_s);
    options.operands.clear();
    options.filesFrom = u"locked/list"_s;
    QCOMPARE(reason([&] { (void)findImages(options); }), u"cannot read \"locked/list\": Permission denied"_s);
    const QString unknown = planMistake({u"a.png"_s}, optionsFor(u"locked.png"_s));
    QVERIFY2(unknown.contains(u"exists and cannot be read: Permission denied; it is not replaced"_s),
             qPrintable(unknown));
}
#endif

#ifdef Q_OS_LINUX
void TestBatchParts::survivesTheEndOfAWorker_data()
{
    QTest::addColumn<QByteArray>("worker"); // shell commands; its files are named by its process
    QTest::addColumn<int>("done"); // of five jobs
    const QByteArray job = simpleJob;
    const QByteArray crash = "kill -SEGV $$\n";
    // As one does that its last file has damaged: the next job is not to blame.
    QTest::newRow("after each job") << job + crash << 5;
    // What it has written of a line is not the beginning of what the next one writes.
    QTest::newRow("in the middle of a line") << "read job || exit 0; [ -e half ] || { touch half; printf '{\"eve'; "
            + crash + "}; echo '{\"event\":\"done\",\"pages\":1}'\n" + job + job + job
            + job << 4;
    // The second one has finished no job, so its first one is to blame, and not tried for ever.
    QTest::newRow("before the first event")
        << "[ -e one ] && { read job; " + crash + "}; touch one\n" + job + crash << 1;
}

void TestBatchParts::survivesTheEndOfAWorker()
{
    QFETCH(QByteArray, worker);
    QFETCH(int, done);
    const JobCounts counts = countsOf(savedWorker(worker), 5, 1);
    QCOMPARE(counts.done, done);
    QCOMPARE(counts.failed, 5 - done);
}

void TestBatchParts::failsJobsThatNoWorkerTakes_data()
{
    QTest::addColumn<QString>("program"); // empty for one that works
    QTest::addColumn<int>("jobs");
    QTest::addColumn<int>("count");
    for (const int count : {1, 3}) {
        QTest::addRow("no files left, %d at a time", count) << QString() << 5 << count;
        QTest::addRow("no such program, %d at a time", count) << u"./none"_s << 5 << count;
    }
    QTest::newRow("many jobs") << QString() << 10000 << 2;
}

void TestBatchParts::failsJobsThatNoWorkerTakes()
{
    QFETCH(QString, program);
    QFETCH(int, jobs);
    QFETCH(int, count);
    const QString worker = program.isEmpty() ? savedWorker(simpleJob) : program;
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    std::optional<FewFiles> files;
    if (program.isEmpty()) {
        files.emplace(0);
    }
    const JobCounts counts = countsOf(worker, jobs, count);
    QCOMPARE(counts.done, 0);
    QCOMPARE(counts.failed, jobs);
    QCOMPARE(counts.notStarted, jobs);
}

void TestBatchParts::leavesJobsToTheWorkersThatStart()
{
    const QString worker = savedWorker(QByteArray("while :; do ") + simpleJob + "done\n");
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    QList<int> done; // with more and more files, which are enough for none up to four workers
    for (int spare = 0; spare <= 40; ++spare) {
        const FewFiles files(spare);
        const JobCounts counts = countsOf(worker, 8, 4);
        QCOMPARE(counts.failed, counts.notStarted);
        QCOMPARE(counts.done + counts.failed, 8);
        done.append(counts.done);
    }
    const qsizetype enough = done.indexOf(8);
    QVERIFY(enough > 0);
    QCOMPARE(done.first(enough), QList<int>(enough, 0)); // one worker is enough for all
    QCOMPARE(done.mid(enough), QList<int>(done.size() - enough, 8));
}

void TestBatchParts::leavesAJobToAnIdleWorker()
{
    // The first worker to come is idle when the second one has crashed, just before its
    // second job, and cannot start again.
    const QString worker = savedWorker(QByteArray("if mkdir first 2>/dev/null; then\n"
                                                  "while [ ! -e taken ]; do sleep 0.01; done\n")
                                       + simpleJob + "touch idle\n" + simpleJob + "else\n" + simpleJob
                                       + "read job; touch taken\n"
                                         "while [ ! -e idle ]; do sleep 0.01; done\n"
                                         "sleep 0.2; chmod -x worker.sh; kill -SEGV $$\n"
                                         "fi\n");
    const JobCounts counts = countsOf(worker, 3, 2);
    QCOMPARE(counts.done, 3);
    QCOMPARE(counts.failed, 0);
}
#endif

QUILLMARCH_TEST_MAIN(TestBatchParts)
#include "tst_batchparts.moc"
