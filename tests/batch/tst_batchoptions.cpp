#include "batch/batchoptions.h"
#include "batch/batchplan.h"
#include "batch/completion.h"
#include "support/files.h"
#include "support/testmain.h"

#include <QFile>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace {

QStringList commandLine(const QStringList &arguments)
{
    return QStringList(u"quillmarch-batch"_s) + arguments;
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

} // namespace

class TestBatchOptions : public QObject
{
    Q_OBJECT

private slots:
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
    void completesInEveryShell_data();
    void completesInEveryShell();
};

void TestBatchOptions::readsDefaults()
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

void TestBatchOptions::readsAllOptions_data()
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

void TestBatchOptions::readsAllOptions()
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

void TestBatchOptions::readsTheCutRule_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<bool>("isAutomatic");
    QTest::addColumn<CutRule>("rule");
    QTest::newRow("calm") << u"--cuts calm"_s << true << CutRule::Calm;
    QTest::newRow("bright") << u"--cuts=bright"_s << true << CutRule::Bright;
    QTest::newRow("regular") << u"--cuts regular"_s << false << CutRule::Calm;
    QTest::newRow("regular twice") << u"--cuts regular --no-auto-cut"_s << false << CutRule::Calm;
}

void TestBatchOptions::readsTheCutRule()
{
    QFETCH(QString, arguments);
    const CommandLine line = readCommandLine(commandLine(u"a.png -o a.pdf "_s.append(arguments).split(u' ')));
    QTEST(line.options.pages.cutRule.has_value(), "isAutomatic");
    QTEST(line.options.pages.cutRule.value_or(CutRule::Calm), "rule");
}

void TestBatchOptions::dryRunNeedsNoOutput()
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

void TestBatchOptions::rejects_data()
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

void TestBatchOptions::rejects()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, mistake);
    const QString actual = mistakeIn(arguments);
    QVERIFY(!actual.isEmpty());
    QVERIFY2(actual.contains(mistake), qPrintable(actual));
}

void TestBatchOptions::answers_data()
{
    QTest::addColumn<QString>("argument");
    QTest::addColumn<bool>("isHelp");
    QTest::newRow("-h") << u"-h"_s << true;
    QTest::newRow("--help") << u"--help"_s << true;
    QTest::newRow("-v") << u"-v"_s << false;
    QTest::newRow("--version") << u"--version"_s << false;
}

void TestBatchOptions::answers()
{
    QFETCH(QString, argument);
    QFETCH(bool, isHelp);
    const CommandLine line = readCommandLine(commandLine({u"a.png"_s, argument})); // the other arguments are ignored
    QVERIFY(line.request == (isHelp ? CommandLine::Request::ShowHelp : CommandLine::Request::ShowVersion));
}

void TestBatchOptions::serves()
{
    QVERIFY(readCommandLine(commandLine({serveArgument()})).request == CommandLine::Request::Serve);
}

void TestBatchOptions::helpNamesEveryOption()
{
    const QString help = batchHelp();
    QVERIFY(optionFacts().size() > 20);
    for (const OptionFacts &option : optionFacts()) {
        QVERIFY2(help.contains(u"--"_s + option.names.last()), qPrintable(option.names.last()));
    }
    QVERIFY(help.contains(u"Exit status"_s));
    QVERIFY(!help.contains(serveArgument()));
}

void TestBatchOptions::manualNamesTheOptionsOfTheHelp()
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

void TestBatchOptions::completesInEveryShell_data()
{
    QTest::addColumn<QString>("shell");
    for (const QString &shell : {u"bash"_s, u"zsh"_s, u"fish"_s}) {
        QTest::newRow(qPrintable(shell)) << shell;
    }
}

void TestBatchOptions::completesInEveryShell()
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

QUILLMARCH_TEST_MAIN(TestBatchOptions)
#include "tst_batchoptions.moc"
