#include "batch/batchevent.h"
#include "batch/batchoptions.h"
#include "batch/batchplan.h"
#include "batch/batchreport.h"
#include "batch/finishedpdf.h"
#include "batch/partfile.h"
#include "output/pagerun.h"
#include "support/files.h"
#include "support/pictures.h"
#include "support/testmain.h"

#include <QDir>
#include <QFile>
#include <QPainter>
#include <QPrinter>
#include <QRegularExpression>

#include <cstdio>

#ifdef Q_OS_UNIX
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

/// The bytes of a PDF file of \a pages pages, as the program writes it.
QByteArray pdfOf(int pages)
{
    QPrinter printer(QPrinter::HighResolution);
    setUpForPdf(printer, u"made.pdf"_s);
    QPainter painter(&printer);
    for (int i = 0; i < pages; ++i) {
        painter.drawImage(QRectF(0, 0, 400, 400), blockPicture(64, 64, quint32(i)));
        if (i + 1 < pages) {
            printer.newPage();
        }
    }
    painter.end();
    return contentOf(u"made.pdf"_s);
}

/// A temporary stream whose contents can be read back.
class Stream
{
public:
    Stream()
        : file(std::tmpfile())
    {
    }
    ~Stream() { std::fclose(file); }
    Stream(const Stream &) = delete;
    Stream &operator=(const Stream &) = delete;

    std::FILE *handle() const { return file; }
    QByteArray text() const
    {
        std::fflush(file);
        QByteArray bytes(std::ftell(file), '\0');
        std::rewind(file);
        bytes.resize(qsizetype(std::fread(bytes.data(), 1, size_t(bytes.size()), file)));
        return bytes;
    }

private:
    std::FILE *file;
};

BatchEvent eventOf(BatchEvent::Kind kind, int page, int pages)
{
    BatchEvent event;
    event.kind = kind;
    event.page = page;
    event.pages = pages;
    return event;
}

BatchEvent failureOf(BatchFailure failure)
{
    BatchEvent event;
    event.failure = failure;
    event.text = u"broken"_s;
    return event;
}

} // namespace

class TestBatchParts : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();

    void readsDefaults();
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
    void plansToOverwriteNoImage();

    void eventsSurviveTheirJson_data();
    void eventsSurviveTheirJson();
    void jobsSurviveTheirJson();
    void rejectsOtherLines();

    void formatsTheTimeLeft_data();
    void formatsTheTimeLeft();
    void hidesControlCharacters();
    void highestFailureDecides_data();
    void highestFailureDecides();
    void replacesProgressOnATerminal();
    void writesNoProgressElsewhere();

    void acceptsACompletePdf_data();
    void acceptsACompletePdf();
    void rejectsEveryTruncation();
    void rejectsMissingBytes();
    void rejectsAWrongPageCount();
    void rejectsOtherFiles_data();
    void rejectsOtherFiles();

    void partFileReplacesTheTargetOnCommit();
    void partFileIsRemovedUnlessCommitted();
    void partFileThatIsGoneReplacesNothing();
    void partFileKeepsPermissions();
    void partFileFollowsLinks();
    void partFileRejects_data();
    void partFileRejects();
};

void TestBatchParts::cleanup()
{
    QCOMPARE(partFiles(), QStringList());
}

void TestBatchParts::readsDefaults()
{
    const CommandLine line = readCommandLine(commandLine({u"a.png"_s, u"-o"_s, u"a.pdf"_s}));
    QCOMPARE(line.mistake, QString());
    QVERIFY(line.request == CommandLine::Request::Convert);
    QCOMPARE(line.options.images, QStringList(u"a.png"_s));
    QCOMPARE(line.options.output, u"a.pdf"_s);
    QCOMPARE(line.options.pages.columns, 1);
    QCOMPARE(line.options.pages.marginPercent, 10);
    QVERIFY(!line.options.pages.pageNumbers);
    QVERIFY(!line.options.pages.trim);
    QVERIFY(line.options.pages.autoCut);
    QVERIFY(line.options.pages.cutRule == CutRule::Calm);
    QVERIFY(!line.options.pages.lossless);
    QVERIFY(!line.options.dryRun);
    QCOMPARE(line.options.jobs, 1);
    QVERIFY(!line.options.json);
    QVERIFY(!line.options.quiet);
}

void TestBatchParts::readsAllOptions()
{
    const QStringList spellings[] = {
        {u"--columns"_s, u"2"_s, u"--margin"_s, u"30"_s, u"--page-numbers"_s, u"--trim"_s, u"--no-auto-cut"_s,
         u"--lossless"_s, u"--jobs"_s, u"64"_s, u"--json"_s, u"--quiet"_s, u"--output"_s, u"out"_s, u"--"_s,
         u"-a.png"_s, u"b.png"_s},
        {u"-oout"_s, u"-q"_s, u"-j64"_s, u"--columns=2"_s, u"--margin=30"_s, u"--page-numbers"_s, u"--trim"_s,
         u"--no-auto-cut"_s, u"--lossless"_s, u"--json"_s, u"--"_s, u"-a.png"_s, u"b.png"_s},
    };
    for (const QStringList &arguments : spellings) {
        const CommandLine line = readCommandLine(commandLine(arguments));
        QCOMPARE(line.mistake, QString());
        QVERIFY(line.request == CommandLine::Request::Convert);
        QCOMPARE(line.options.images, QStringList({u"-a.png"_s, u"b.png"_s}));
        QCOMPARE(line.options.output, u"out"_s);
        QCOMPARE(line.options.pages.columns, 2);
        QCOMPARE(line.options.pages.marginPercent, 30);
        QVERIFY(line.options.pages.pageNumbers);
        QVERIFY(line.options.pages.trim);
        QVERIFY(!line.options.pages.autoCut);
        QVERIFY(line.options.pages.lossless);
        QCOMPARE(line.options.jobs, 64);
        QVERIFY(line.options.json);
        QVERIFY(line.options.quiet);
    }
}

void TestBatchParts::readsTheCutRule_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<bool>("autoCut");
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
    QCOMPARE(line.mistake, QString());
    QTEST(line.options.pages.autoCut, "autoCut");
    QTEST(line.options.pages.cutRule, "rule");
}

void TestBatchParts::dryRunNeedsNoOutput()
{
    const CommandLine line = readCommandLine(commandLine({u"--dry-run"_s, u"a.png"_s, u"b.png"_s}));
    QCOMPARE(line.mistake, QString());
    QVERIFY(line.options.dryRun);
    const BatchPlan plan = planJobs(line.options);
    QCOMPARE(plan.mistake, QString());
    QCOMPARE(plan.folder, QString());
    QCOMPARE(plan.jobs.size(), 2);
    for (const BatchJob &job : plan.jobs) {
        QVERIFY(job.dryRun);
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
    row("3 columns", u"a.png -o out --columns 3"_s, u"--columns"_s);
    row("margin of -1", u"a.png -o out --margin=-1"_s, u"--margin"_s);
    row("margin of 31", u"a.png -o out --margin 31"_s, u"--margin"_s);
    row("half a margin", u"a.png -o out --margin 2.5"_s, u"--margin"_s);
    row("margin with a percent sign", u"a.png -o out --margin 10%"_s, u"--margin"_s);
    row("margin past 32 bits", u"a.png -o out --margin 99999999999"_s, u"--margin"_s);
    row("no job", u"a.png -o out -j 0"_s, u"--jobs"_s);
    row("65 jobs", u"a.png -o out -j 65"_s, u"--jobs"_s);
    row("unknown rule for cuts", u"a.png -o out --cuts dark"_s, u"--cuts must be calm, bright or regular"_s);
    row("rule in capitals", u"a.png -o out --cuts Calm"_s, u"--cuts must be"_s);
    row("no rule", u"a.png -o out --cuts="_s, u"--cuts must be"_s);
    row("calm and not", u"a.png -o out --cuts calm --no-auto-cut"_s, u"--no-auto-cut contradicts --cuts calm"_s);
    row("bright and not", u"a.png -o out --no-auto-cut --cuts bright"_s, u"--no-auto-cut contradicts --cuts bright"_s);
    row("dry run of nothing", u"--dry-run"_s, u"no image"_s);
    row("jobs in words", u"a.png -o out -j two"_s, u"--jobs"_s);
    QTest::newRow("empty output") << QStringList{u"a.png"_s, u"-o"_s, QString()} << u"-o OUT"_s;
    QTest::newRow("empty image") << QStringList{QString(), u"-o"_s, u"out"_s} << u"empty"_s;
    QTest::newRow("serving with an image") << QStringList{serveArgument(), u"a.png"_s} << serveArgument().mid(2);
}

void TestBatchParts::rejects()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, mistake);
    const CommandLine line = readCommandLine(commandLine(arguments));
    QVERIFY(line.request == CommandLine::Request::Refuse);
    QVERIFY2(line.mistake.contains(mistake), qPrintable(line.mistake));
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
    for (const char *name :
         {"--output", "--columns", "--margin", "--page-numbers", "--trim", "--cuts", "--no-auto-cut", "--dry-run",
          "--lossless", "--jobs", "--json", "--quiet", "--version", "--help", "Exit status"}) {
        QVERIFY2(help.contains(QLatin1StringView(name)), name);
    }
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
    BatchOptions options;
    options.images = images;
    options.output = output;
    options.pages.columns = 2;
    const BatchPlan plan = planJobs(options);
    QCOMPARE(plan.mistake, QString());
    QCOMPARE(plan.folder, folder);
    QCOMPARE(plan.jobs.size(), images.size());
    for (qsizetype i = 0; i < images.size(); ++i) {
        QCOMPARE(plan.jobs.at(i).image, images.at(i));
        QCOMPARE(plan.jobs.at(i).output, outputs.at(i));
        QCOMPARE(plan.jobs.at(i).pages.columns, 2);
    }
    QVERIFY(!QFile::exists(u"new"_s));
}

void TestBatchParts::plansToOverwriteNoImage()
{
    savedBytes("an image", u"a.png"_s);
    savedBytes("another", u"named.pdf"_s);
    QFile::link(u"a.png"_s, u"link.pdf"_s);
    const auto mistakeOf = [](const QStringList &images, const QString &output) {
        BatchOptions options;
        options.images = images;
        options.output = output;
        return planJobs(options).mistake;
    };
    QVERIFY(mistakeOf({u"a.png"_s}, u"./a.png"_s).contains(u"overwritten"_s));
    QVERIFY(mistakeOf({u"a.png"_s}, u"link.pdf"_s).contains(u"overwritten"_s));
    QVERIFY(mistakeOf({u"a.png"_s, u"named.pdf"_s}, u"."_s).contains(u"overwritten"_s));
    QVERIFY(mistakeOf({u"a.png"_s, u"b.png"_s}, u"named.pdf"_s).contains(u"folder"_s));
    QVERIFY(mistakeOf({u"a.png"_s}, u"named.pdf/"_s).contains(u"folder"_s));
    QCOMPARE(mistakeOf({u"a.png"_s}, u"named.pdf"_s), QString()); // a file that is not an image is replaced
    QCOMPARE(mistakeOf({u"no such.png"_s}, u"no such.pdf"_s), QString());
    QFile::remove(u"link.pdf"_s);
}

void TestBatchParts::eventsSurviveTheirJson_data()
{
    QTest::addColumn<BatchEvent>("event");
    BatchEvent event;
    event.kind = BatchEvent::Kind::Writing;
    event.text = u"a \"b\"\n名.part"_s;
    QTest::newRow("writing") << event;
    QTest::newRow("page") << eventOf(BatchEvent::Kind::Page, 3, 12);
    event = eventOf(BatchEvent::Kind::Done, 0, 12);
    event.bytes = 5000000000;
    event.seconds = 1.25;
    event.text = u"a remark"_s;
    QTest::newRow("done") << event;
    event.offset = 12;
    event.cuts = {700, 1420};
    QTest::newRow("done with cuts") << event;
    event.through = QList<int>{};
    QTest::newRow("done with calm cuts") << event;
    event.through = QList<int>{1420};
    QTest::newRow("done with a cut through content") << event;
    QTest::newRow("failed") << failureOf(BatchFailure::TooLarge);
}

void TestBatchParts::eventsSurviveTheirJson()
{
    QFETCH(BatchEvent, event);
    const QByteArray line = jsonLine(toJson(event));
    QCOMPARE(line.count('\n'), 1);
    const std::optional<BatchEvent> passed = eventFromJson(line);
    QVERIFY(passed.has_value());
    QVERIFY(passed->kind == event.kind);
    QCOMPARE(passed->page, event.page);
    QCOMPARE(passed->pages, event.pages);
    QCOMPARE(passed->bytes, event.bytes);
    QCOMPARE(passed->seconds, event.seconds);
    QVERIFY(passed->failure == event.failure);
    QCOMPARE(passed->text, event.text);
    QCOMPARE(passed->offset, event.offset);
    QCOMPARE(passed->cuts, event.cuts);
    QVERIFY(passed->through == event.through);
}

void TestBatchParts::jobsSurviveTheirJson()
{
    BatchJob job{u"a\n\"名\".png"_s, u"b.pdf"_s, {}};
    for (const bool isOther : {false, true}) {
        if (isOther) {
            job.pages = {2, 25, true, true, false, true, CutRule::Bright};
            job.dryRun = true;
        }
        const std::optional<BatchJob> passed = jobFromJson(jsonLine(toJson(job)));
        QVERIFY(passed.has_value());
        QCOMPARE(passed->image, job.image);
        QCOMPARE(passed->output, job.output);
        QCOMPARE(passed->pages.columns, job.pages.columns);
        QCOMPARE(passed->pages.marginPercent, job.pages.marginPercent);
        QCOMPARE(passed->pages.pageNumbers, job.pages.pageNumbers);
        QCOMPARE(passed->pages.trim, job.pages.trim);
        QCOMPARE(passed->pages.autoCut, job.pages.autoCut);
        QCOMPARE(passed->pages.lossless, job.pages.lossless);
        QVERIFY(passed->pages.cutRule == job.pages.cutRule);
        QCOMPARE(passed->dryRun, job.dryRun);
    }
}

void TestBatchParts::rejectsOtherLines()
{
    for (const char *line : {"", "{}", "[]", "page", R"({"event":"lunch"})", R"({"image":"a.png"})", "{\"event\":"}) {
        QVERIFY(!eventFromJson(line).has_value());
        QVERIFY(!jobFromJson(line).has_value());
    }
}

void TestBatchParts::formatsTheTimeLeft_data()
{
    QTest::addColumn<qint64>("elapsed");
    QTest::addColumn<double>("share");
    QTest::addColumn<QString>("text");
    QTest::newRow("nothing done") << qint64(5000) << 0.0 << QString();
    QTest::newRow("all done") << qint64(5000) << 1.0 << QString();
    QTest::newRow("half") << qint64(5000) << 0.5 << u"5 s left"_s;
    QTest::newRow("a quarter") << qint64(20000) << 0.25 << u"1 min 0 s left"_s;
    QTest::newRow("long") << qint64(3600000) << 0.25 << u"3 h 0 min left"_s;
    QTest::newRow("very long") << qint64(86400000) << 0.01 << u"2376 h 0 min left"_s;
}

void TestBatchParts::formatsTheTimeLeft()
{
    QFETCH(qint64, elapsed);
    QFETCH(double, share);
    QTEST(timeLeft(elapsed, share), "text");
}

void TestBatchParts::hidesControlCharacters()
{
    QCOMPARE(printable(u"a\033[2J\nb\u009b名.png"_s), u"a?[2J?b?名.png"_s);
}

void TestBatchParts::highestFailureDecides_data()
{
    QTest::addColumn<QList<int>>("failures"); // by file; 0 for success
    QTest::addColumn<int>("code");
    QTest::newRow("none") << QList<int>{0, 0} << 0;
    QTest::newRow("one") << QList<int>{0, 3, 0} << 3;
    QTest::newRow("rising") << QList<int>{3, 4, 5} << 5;
    QTest::newRow("falling") << QList<int>{5, 4, 3} << 5;
    QTest::newRow("at first") << QList<int>{4, 0, 3} << 4;
}

void TestBatchParts::highestFailureDecides()
{
    QFETCH(QList<int>, failures);
    QFETCH(int, code);
    const Stream output;
    const Stream errors;
    BatchReport report(BatchOptions(), int(failures.size()), output.handle(), errors.handle(), false);
    for (qsizetype i = 0; i < failures.size(); ++i) {
        const BatchJob job{u"a%1.png"_s.arg(i), u"a%1.pdf"_s.arg(i), {}};
        report.report(
            job, failures.at(i) == 0 ? eventOf(BatchEvent::Kind::Done, 0, 1) : failureOf(BatchFailure(failures.at(i))));
    }
    QCOMPARE(report.finish(), code);
    QCOMPARE(errors.text().count('\n'), failures.size() - failures.count(0));
}

void TestBatchParts::replacesProgressOnATerminal()
{
    const Stream output;
    const Stream errors;
    BatchReport report(BatchOptions(), 2, output.handle(), errors.handle(), true);
    const BatchJob job{u"a.png"_s, u"a.pdf"_s, {}};
    report.report(job, eventOf(BatchEvent::Kind::Page, 1, 2));
    QVERIFY(errors.text().startsWith("\r\033[K0 of 2 files, 1 page, "));
    report.report(job, eventOf(BatchEvent::Kind::Done, 0, 2));
    QCOMPARE(output.text(), "a.png -> a.pdf: 2 pages\n");
    QVERIFY(errors.text().contains("\r\033[K\r\033[K1 of 2 files, 2 pages"));
    report.finish();
    QVERIFY(errors.text().endsWith("\r\033[K"));
    QVERIFY(!errors.text().contains('\n'));
}

void TestBatchParts::writesNoProgressElsewhere()
{
    const Stream output;
    const Stream errors;
    BatchReport report(BatchOptions(), 1, output.handle(), errors.handle(), false);
    const BatchJob job{u"a.png"_s, u"a.pdf"_s, {}};
    report.report(job, eventOf(BatchEvent::Kind::Page, 1, 1));
    report.report(job, eventOf(BatchEvent::Kind::Done, 0, 1));
    QCOMPARE(report.finish(), 0);
    QCOMPARE(output.text(), "a.png -> a.pdf: 1 page\n");
    QCOMPARE(errors.text(), QByteArray());
}

void TestBatchParts::acceptsACompletePdf_data()
{
    QTest::addColumn<int>("pages");
    for (const int pages : {1, 2, 9, 200}) { // the page tree of 200 pages does not fit into one read
        QTest::addRow("%d pages", pages) << pages;
    }
}

void TestBatchParts::acceptsACompletePdf()
{
    QFETCH(int, pages);
    QCOMPARE(pdfError(savedBytes(pdfOf(pages), u"whole.pdf"_s), pages), QString());
}

void TestBatchParts::rejectsEveryTruncation()
{
    const QByteArray whole = pdfOf(2);
    // At every byte near the end, and in larger steps before.
    for (qsizetype size = whole.size() - 2; size > 0; size -= size > whole.size() - 100 ? 1 : 997) {
        QVERIFY2(!pdfError(savedBytes(whole.left(size), u"cut.pdf"_s), 2).isEmpty(),
                 qPrintable(u"%1 of %2 bytes"_s.arg(size).arg(whole.size())));
    }
}

void TestBatchParts::rejectsMissingBytes()
{
    // One failed write between successful ones.
    QByteArray holed = pdfOf(2);
    holed.remove(holed.size() / 2, 1000);
    QVERIFY(!pdfError(savedBytes(holed, u"holed.pdf"_s), 2).isEmpty());
    QByteArray blank = pdfOf(2);
    const qsizetype object = blank.indexOf("\n4 0 obj") + 1;
    blank.replace(object, 7, "       ");
    QVERIFY(pdfError(savedBytes(blank, u"holed.pdf"_s), 2).contains(u"object 4"_s));
}

void TestBatchParts::rejectsAWrongPageCount()
{
    const QString path = savedBytes(pdfOf(2), u"two.pdf"_s);
    QVERIFY(pdfError(path, 1).contains(u"2 pages instead of 1"_s));
    QVERIFY(!pdfError(path, 3).isEmpty());
}

void TestBatchParts::rejectsOtherFiles_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("only the header") << QByteArray("%PDF-1.4\n");
    QTest::newRow("text") << QByteArray("hello\nstartxref\n0\n%%EOF\n");
    QTest::newRow("no table") << QByteArray("%PDF-1.4\nstartxref\n0\n%%EOF\n");
    QTest::newRow("place beyond the end") << QByteArray("%PDF-1.4\nstartxref\n99999999999999\n%%EOF\n");
    QTest::newRow("huge table") << QByteArray("%PDF-1.4\nxref\n0 99999999999\nstartxref\n9\n%%EOF\n");
}

void TestBatchParts::rejectsOtherFiles()
{
    QFETCH(QByteArray, bytes);
    QVERIFY(!pdfError(savedBytes(bytes, u"other.pdf"_s), 1).isEmpty());
    QVERIFY(!pdfError(u"no such.pdf"_s, 1).isEmpty());
}

void TestBatchParts::partFileReplacesTheTargetOnCommit()
{
    savedBytes("old", u"target.pdf"_s);
    PartFile part(QDir::current().filePath(u"target.pdf"_s));
    QVERIFY2(!part.path().isEmpty(), qPrintable(part.error()));
    QCOMPARE(partFiles().size(), 1);
    QVERIFY(QRegularExpression(u"^quillmarch-[0-9]+[.]pdf[.]part$"_s).match(partFiles().first()).hasMatch());
    QFile file(part.path());
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("new");
    file.close();
    QCOMPARE(contentOf(u"target.pdf"_s), "old");
    QVERIFY(part.commit());
    QCOMPARE(contentOf(u"target.pdf"_s), "new");
    QCOMPARE(part.path(), QString());
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
    QVERIFY(QFile::remove(part.path()));
    QVERIFY(!part.commit());
    QCOMPARE(part.error(), u"No such file or directory"_s);
    QCOMPARE(contentOf(u"target.pdf"_s), "old");
}

void TestBatchParts::partFileKeepsPermissions()
{
    const auto kept = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup;
    const auto shown = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther;
    savedBytes("old", u"target.pdf"_s);
    QVERIFY(QFile::setPermissions(u"target.pdf"_s, kept));
    PartFile part(u"target.pdf"_s);
    QVERIFY(part.commit());
    QCOMPARE(QFile::permissions(u"target.pdf"_s) & shown, QFile::permissions(u"target.pdf"_s) & kept);

    QFile plain(u"plain.pdf"_s); // with the permissions of a file from any other program
    QVERIFY(plain.open(QIODevice::WriteOnly));
    PartFile fresh(u"fresh.pdf"_s);
    QVERIFY(fresh.commit());
    QCOMPARE(QFile::permissions(u"fresh.pdf"_s), plain.permissions());
}

void TestBatchParts::partFileFollowsLinks()
{
    QVERIFY(QDir::current().mkpath(u"elsewhere"_s));
    savedBytes("old", u"elsewhere/real.pdf"_s);
    QFile::remove(u"link.pdf"_s);
    QVERIFY(QFile::link(u"elsewhere/real.pdf"_s, u"link.pdf"_s));
    PartFile part(u"link.pdf"_s);
    QVERIFY(part.commit());
    QVERIFY(QFileInfo(u"link.pdf"_s).isSymLink());
    QCOMPARE(contentOf(u"elsewhere/real.pdf"_s), QByteArray());

    QVERIFY(QFile::remove(u"elsewhere/real.pdf"_s)); // the link is dangling now
    PartFile missing(u"link.pdf"_s);
    QVERIFY(missing.commit());
    QVERIFY(QFileInfo(u"link.pdf"_s).isSymLink());
    QVERIFY(QFile::exists(u"elsewhere/real.pdf"_s));
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
    const PartFile part(target);
    QCOMPARE(part.path(), QString());
    QVERIFY(!part.error().isEmpty());
    QFile::setPermissions(u"protected.pdf"_s, QFile::ReadOwner | QFile::WriteOwner);
}

QUILLMARCH_TEST_MAIN(TestBatchParts)
#include "tst_batchparts.moc"
