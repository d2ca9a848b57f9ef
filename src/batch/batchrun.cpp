#include "batch/batchrun.h"

#include "base/buildconfig.h"
#include "base/keptforever.h"
#include "batch/batchreport.h"
#include "batch/batchworkers.h"
#include "batch/completion.h"
#include "batch/filename.h"
#include "batch/inputs.h"
#include "batch/outofmemory.h"
#include "batch/partfile.h"

#include <QGuiApplication>
#include <QThread>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#ifdef __GLIBC__
#include <malloc.h>
#endif

#ifdef Q_OS_UNIX
#include <fcntl.h>
#include <unistd.h>
#endif

using namespace Qt::StringLiterals;

namespace {

/// Keeps memory that is freed between two bands for the next one: each takes megabytes,
/// which the system would have to provide and clear again.
void keepFreedMemory()
{
#ifdef M_MMAP_THRESHOLD
    mallopt(M_MMAP_THRESHOLD, 32 << 20);
    mallopt(M_TRIM_THRESHOLD, 64 << 20);
#endif
}

/// Takes the numbers of standard streams that are closed: otherwise the next files to be
/// opened get them, the PDF file among them, and messages are written into it.
void occupyClosedStreams()
{
#ifdef Q_OS_UNIX
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(stream, F_GETFD) < 0) {
            ::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY); // using it still fails
        }
    }
#endif
}

/// Adjusts what Qt reads from the environment to a program without a window. Call
/// it before there is an application object.
void prepareEnvironment()
{
    qputenv("QT_NO_GLIB", "1"); // GLib aborts the program if memory is short
    qputenv("QT_QPA_PLATFORM", "offscreen"); // even if another one is set
    qunsetenv("QT_QPA_PLATFORMTHEME"); // some themes exit without a display
    qputenv("CUPS_SERVER", "/dev/null"); // PDF output needs no printer, so no server is asked
    qputenv("LC_ALL", "C.UTF-8"); // for UTF-8 file names, also in cron
}

/// Keeps warnings of Qt from the error stream; some decoders still write their
/// own. A process that cannot be started is reported with its job.
void onMessage(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    exitIfThreadIsMissing(text);
    const bool isAboutProcess = text.startsWith("QProcess"_L1);
    if (type == QtFatalMsg || (type == QtCriticalMsg && !isAboutProcess)) {
        std::fprintf(stderr, "quillmarch-batch: %s\n", qPrintable(text));
    }
}

int say(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    const bool isWritten = std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout) == size_t(bytes.size());
    return isWritten && std::fflush(stdout) == 0 ? 0 : int(BatchFailure::Unwritable);
}

/// Reports that nothing was done because of \a error; returns the exit code.
int refuse(const BatchError &error)
{
    std::fprintf(stderr, "quillmarch-batch: %s\n", qPrintable(printable(error.text)));
    if (error.failure == BatchFailure::WrongUse) {
        std::fputs("Try 'quillmarch-batch --help' for more information.\n", stderr);
    }
    return int(error.failure);
}

void sayOutOfMemory()
{
    std::fputs("quillmarch-batch: there is not enough memory\n", stderr);
}

/// Runs \a job in this process, on all processors or as many as there may be jobs.
void convertHere(BatchJob job, const BatchOptions &options, BatchReport &report)
{
    exitWhenOutOfMemory([&] {
        report.report(job, outOfMemoryEvent());
        report.finish();
    });
    job.threads = options.jobs;
    runJob(job, options, [&](const BatchEvent &event) { report.report(job, event); });
    exitWhenOutOfMemory(sayOutOfMemory);
}

/// Runs \a jobs in worker processes, and shares the processors among them.
void convertInWorkers(QList<BatchJob> jobs, const BatchOptions &options, BatchReport &report)
{
    const int processors = std::max(1, QThread::idealThreadCount());
    const int count = std::min(options.jobs == 0 ? processors : options.jobs, int(jobs.size()));
    for (BatchJob &job : jobs) {
        job.threads = std::max(1, processors / count);
    }
    BatchWorkers *running = nullptr;
    const auto sink = [&](const BatchJob &job, const BatchEvent &event) {
        report.report(job, event);
        if (report.isPipeClosed()) {
            running->stop();
        }
    };
    BatchWorkers workers(QCoreApplication::applicationFilePath(), options.arguments, jobs, sink);
    running = &workers;
    workers.run(count);
}

void makeFolder(const QString &name)
{
    std::error_code failure;
    std::filesystem::create_directories(nativePath(name), failure);
    std::error_code unknown;
    if (!std::filesystem::is_directory(nativePath(name), unknown)) {
        const QString reason = QString::fromStdString(failure.message());
        throw BatchError(BatchFailure::Unwritable, u"cannot make the folder \"%1\": %2"_s.arg(name, reason));
    }
}

int convert(const BatchOptions &options)
{
    const BatchPlan plan = planJobs(options, findImages(options));
    if (!options.dryRun && !plan.folder.isEmpty()) {
        makeFolder(plan.folder);
    }
    std::FILE *output = options.output == "-"_L1 ? stderr : stdout; // not into the PDF file
    BatchReport report(options, int(plan.jobs.size()), output, stderr, ProgressPlace::of(stderr));
    if (plan.jobs.size() == 1) {
        convertHere(plan.jobs.first(), options, report);
    } else {
        convertInWorkers(plan.jobs, options, report);
    }
    return report.finish();
}

/// Does what \a line asks for; returns the exit code.
int run(const CommandLine &line)
{
    switch (line.request) {
    case CommandLine::Request::Serve:
        serveJobs(line.options);
        return 0;
    case CommandLine::Request::ShowHelp:
        return say(batchHelp());
    case CommandLine::Request::ShowVersion:
        return say(u"quillmarch-batch %1\n"_s.arg(programVersion));
    case CommandLine::Request::ShowCompletion:
        return say(completionFor(line.shell));
    case CommandLine::Request::Convert:
        break;
    }
    return convert(line.options);
}

} // namespace

int runBatch(const QStringList &arguments)
{
    occupyClosedStreams();
    exitWhenOutOfMemory(sayOutOfMemory);
    keepFreedMemory();
    prepareEnvironment();
    qInstallMessageHandler(onMessage);
    removePartFileOnSignals();

    // Without the arguments: this program does not have the options of Qt.
    static char name[] = "quillmarch-batch";
    static char *ownArguments[] = {name, nullptr};
    static int count = 1;
    // Its destructor would read the configuration of all fonts, which takes a quarter of a
    // short run, and can crash for lack of memory when all files are written.
    keepForever(new QGuiApplication(count, ownArguments));

    try {
        return run(readCommandLine(arguments));
    } catch (const BatchError &error) {
        return refuse(error);
    }
}
