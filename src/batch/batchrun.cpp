#include "batch/batchrun.h"

#include "base/buildconfig.h"
#include "batch/batchreport.h"
#include "batch/batchworkers.h"
#include "batch/outofmemory.h"
#include "batch/partfile.h"

#include <QDir>
#include <QGuiApplication>

#include <cstdio>

#ifdef Q_OS_UNIX
#include <unistd.h>
#endif

using namespace Qt::StringLiterals;

namespace {

constexpr int usageMistake = 2;

bool isTerminal([[maybe_unused]] std::FILE *stream)
{
#ifdef Q_OS_UNIX
    return ::isatty(::fileno(stream)) == 1;
#else
    return false; // the console may not understand control sequences
#endif
}

/// Adjusts what Qt reads from the environment to a program without a window. Call
/// it before there is an application object.
void prepareEnvironment()
{
    qputenv("QT_QPA_PLATFORM", "offscreen"); // even if another one is set
    qunsetenv("QT_QPA_PLATFORMTHEME"); // some themes exit without a display
    qputenv("CUPS_SERVER", "/dev/null"); // PDF output needs no printer, so no server is asked
    qputenv("LC_ALL", "C.UTF-8"); // for UTF-8 file names, also in cron
}

/// Keeps warnings of Qt from the error stream; some decoders still write their
/// own.
void onMessage(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    if (type == QtCriticalMsg || type == QtFatalMsg) {
        std::fprintf(stderr, "quillmarch-batch: %s\n", qPrintable(text));
    }
}

int say(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    const bool isWritten = std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout) == size_t(bytes.size());
    return isWritten && std::fflush(stdout) == 0 ? 0 : int(BatchFailure::Unwritable);
}

int refuse(const QString &mistake)
{
    std::fprintf(stderr, "quillmarch-batch: %s\nTry 'quillmarch-batch --help' for more information.\n",
                 qPrintable(printable(mistake)));
    return usageMistake;
}

void sayOutOfMemory()
{
    std::fputs("quillmarch-batch: there is not enough memory\n", stderr);
}

/// Runs \a job in this process.
void convertOne(const BatchJob &job, BatchReport &report)
{
    exitWhenOutOfMemory([&] {
        report.report(job, outOfMemoryEvent());
        report.finish();
    });
    runJob(job, [&](const BatchEvent &event) { report.report(job, event); });
    exitWhenOutOfMemory(sayOutOfMemory);
}

int convert(const BatchOptions &options, const BatchPlan &plan)
{
    BatchReport report(options, int(plan.jobs.size()), stdout, stderr, isTerminal(stderr));
    if (plan.jobs.size() == 1) {
        convertOne(plan.jobs.first(), report);
    } else {
        const auto sink = [&report](const BatchJob &job, const BatchEvent &event) { report.report(job, event); };
        BatchWorkers(QCoreApplication::applicationFilePath(), plan.jobs, sink).run(options.jobs);
    }
    return report.finish();
}

int planAndConvert(const BatchOptions &options)
{
    const BatchPlan plan = planJobs(options);
    if (!plan.mistake.isEmpty()) {
        return refuse(plan.mistake);
    }
    if (!options.dryRun && !plan.folder.isEmpty() && !QDir().mkpath(plan.folder)) {
        std::fprintf(stderr, "quillmarch-batch: cannot make the folder \"%s\"\n", qPrintable(printable(plan.folder)));
        return int(BatchFailure::Unwritable);
    }
    return convert(options, plan);
}

} // namespace

int runBatch(const QStringList &arguments)
{
    exitWhenOutOfMemory(sayOutOfMemory);
    prepareEnvironment();
    qInstallMessageHandler(onMessage);
    removePartFileOnSignals();

    // Without the arguments: this program does not have the options of Qt.
    static char name[] = "quillmarch-batch";
    char *ownArguments[] = {name, nullptr};
    int count = 1;
    const QGuiApplication app(count, ownArguments);

    const CommandLine line = readCommandLine(arguments);
    switch (line.request) {
    case CommandLine::Request::Serve:
        serveJobs();
        return 0;
    case CommandLine::Request::ShowHelp:
        return say(batchHelp());
    case CommandLine::Request::ShowVersion:
        return say(u"quillmarch-batch %1\n"_s.arg(programVersion));
    case CommandLine::Request::Refuse:
        return refuse(line.mistake);
    case CommandLine::Request::Convert:
        return planAndConvert(line.options);
    }
    return usageMistake;
}
