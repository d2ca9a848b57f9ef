#include "batch/batchworkers.h"

#include "batch/filename.h"
#include "batch/outofmemory.h"
#include "decode/decodethreads.h"

#include <QTimer>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>

#ifdef Q_OS_LINUX
#include <sys/prctl.h>
#include <unistd.h>
#endif

using namespace Qt::StringLiterals;

namespace {

/// Makes \a process end when this one does. Set between fork and exec, since this
/// process may end at any moment.
void endWithParent([[maybe_unused]] QProcess &process)
{
#ifdef Q_OS_LINUX
    process.setChildProcessModifier([parent = ::getpid()] {
        ::prctl(PR_SET_PDEATHSIG, SIGTERM);
        if (::getppid() != parent) {
            ::_exit(EXIT_FAILURE); // the parent has ended already, so no signal will come
        }
    });
#endif
}

/// Whether \a process was started and has not ended.
bool isRunning(const QProcess &process)
{
    return process.state() != QProcess::NotRunning;
}

/// Whether \a process was killed: by the kernel for lack of memory, or by someone.
bool wasKilled([[maybe_unused]] const QProcess &process)
{
#ifdef Q_OS_UNIX
    return process.exitStatus() == QProcess::CrashExit && process.exitCode() == SIGKILL;
#else
    return false;
#endif
}

/// The failure of a job whose \a process ended early; \a isWriting says whether
/// its file was begun.
JobFailed eventOfEnd(const QProcess &process, bool isWriting)
{
    if (process.error() == QProcess::FailedToStart) {
        return {BatchFailure::Unwritable, u"the worker process did not start: %1"_s.arg(process.errorString()), {}};
    }
    if (wasKilled(process)) {
        return {BatchFailure::TooLarge, u"the worker process was killed, possibly for lack of memory"_s, {}};
    }
    const bool isCrash = process.exitStatus() == QProcess::CrashExit;
    if (!isCrash && process.exitCode() == int(BatchFailure::TooLarge)) {
        return outOfMemoryEvent();
    }
    return {isWriting ? BatchFailure::Unwritable : BatchFailure::Unreadable,
            isCrash ? u"the worker process crashed with signal %1"_s.arg(process.exitCode())
                    : u"the worker process ended early"_s,
            {}};
}

void writeEvent(const BatchEvent &event)
{
    const QByteArray bytes = jsonLine(toJson(event));
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
    std::fflush(stdout);
}

} // namespace

BatchWorkers::BatchWorkers(const QString &executable, const QStringList &options, const QList<BatchJob> &jobs,
                           const JobEventSink &eventSink)
    : program(executable)
    , arguments(QStringList(serveArgument()) + options)
    , waiting(jobs)
    , sink(eventSink)
    , jobsLeft(int(jobs.size()))
{
}

BatchWorkers::~BatchWorkers()
{
    for (const auto &worker : workers) {
        worker->process.disconnect();
        worker->process.closeWriteChannel(); // a worker exits at the end of its input
        worker->process.waitForFinished();
    }
}

void BatchWorkers::run(int count)
{
    if (jobsLeft == 0) {
        return;
    }
    for (int i = 0; i < count && i < jobsLeft; ++i) {
        // Only once the loop runs: a process that does not start fails its job at once.
        QTimer::singleShot(0, &loop, [this] { startWorker(); });
    }
    loop.exec();
}

void BatchWorkers::stop()
{
    waiting.clear();
    for (const auto &worker : workers) {
        worker->process.terminate(); // it removes its unfinished file
    }
    loop.quit();
}

void BatchWorkers::startWorker()
{
    if (waiting.isEmpty()) {
        return;
    }
    workers.push_back(std::make_unique<Worker>());
    Worker &worker = *workers.back();
    worker.process.setProgram(program);
    worker.process.setArguments(arguments);
    worker.process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    endWithParent(worker.process);
    QObject::connect(&worker.process, &QProcess::readyReadStandardOutput, &loop,
                     [this, &worker] { readEvents(worker); });
    QObject::connect(&worker.process, &QProcess::finished, &loop, [this, &worker] { onEnd(worker); });
    QObject::connect(&worker.process, &QProcess::errorOccurred, &loop, [this, &worker](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart) {
            onStartFailure(worker); // there is no other signal
        }
    });
    start(worker);
}

/// Starts the process of \a worker, for the first time or after a crash.
void BatchWorkers::start(Worker &worker)
{
    worker.input.clear();
    worker.finished = 0;
    takeJob(worker); // first, since the start may fail at once
    worker.process.start();
    if (isRunning(worker.process)) {
        worker.process.write(jsonLine(toJson(worker.job)));
    }
}

/// Makes the next job that of \a worker.
void BatchWorkers::takeJob(Worker &worker)
{
    worker.isBusy = true;
    worker.hasBegun = false;
    worker.job = waiting.takeFirst();
    worker.partPath.clear();
}

/// Gives the next job to \a worker, which runs.
void BatchWorkers::giveJob(Worker &worker)
{
    takeJob(worker);
    worker.process.write(jsonLine(toJson(worker.job)));
}

void BatchWorkers::readEvents(Worker &worker)
{
    worker.input += worker.process.readAllStandardOutput();
    qsizetype end = 0;
    while ((end = worker.input.indexOf('\n')) >= 0) {
        const std::optional<BatchEvent> event = eventFromJson(worker.input.left(end));
        worker.input.remove(0, end + 1);
        if (event && worker.isBusy) {
            onEvent(worker, *event);
        }
    }
}

void BatchWorkers::onEvent(Worker &worker, const BatchEvent &event)
{
    worker.hasBegun = true;
    if (const auto *file = std::get_if<FileBegun>(&event)) {
        worker.partPath = file->path;
    }
    sink(worker.job, event);
    if (!std::holds_alternative<JobDone>(event) && !std::holds_alternative<JobFailed>(event)) {
        return;
    }
    worker.isBusy = false;
    ++worker.finished;
    if (--jobsLeft == 0) {
        loop.quit();
    } else if (!waiting.isEmpty()) {
        giveJob(worker);
    }
}

/// Leaves the job of \a worker, whose process did not start, to the others. It has
/// failed if none of them runs.
void BatchWorkers::onStartFailure(Worker &worker)
{
    const auto runs = [](const auto &other) { return isRunning(other->process); };
    if (std::none_of(workers.begin(), workers.end(), runs)) {
        onEnd(worker);
        return;
    }
    worker.isBusy = false;
    waiting.prepend(worker.job);
    const auto isIdle = [&](const auto &other) { return runs(other) && !other->isBusy; };
    const auto idle = std::find_if(workers.begin(), workers.end(), isIdle);
    if (idle != workers.end()) { // it waits for no event after which it would get the job
        giveJob(**idle);
    }
}

/// Handles the unexpected end of the process of \a worker: its job has failed.
void BatchWorkers::onEnd(Worker &worker)
{
    readEvents(worker);
    const bool isInnocent = !worker.hasBegun && worker.finished > 0; // the job before it ended the process
    if (worker.isBusy && isInnocent) {
        waiting.prepend(worker.job);
    } else if (worker.isBusy) {
        std::error_code failure;
        std::filesystem::remove(nativePath(worker.partPath), failure);
        sink(worker.job, eventOfEnd(worker.process, !worker.partPath.isEmpty()));
        --jobsLeft;
    }
    worker.isBusy = false;
    if (jobsLeft == 0) {
        loop.quit();
    } else if (!waiting.isEmpty()) { // in the loop: a process that does not start fails its job at once
        QTimer::singleShot(0, &loop, [this, &worker] {
            if (!waiting.isEmpty()) {
                start(worker);
            }
        });
    }
}

void serveJobs(const BatchOptions &options)
{
    setDecodeThreads(DecodeThreads::One); // the other processors have worker processes of their own
    exitWhenOutOfMemory([] {}); // the parent reports it and starts another worker
    std::cin.exceptions(std::ios::badbit); // or a failed allocation would look like the end of the input
    std::string line;
    while (std::getline(std::cin, line)) {
        const std::optional<BatchJob> job = jobFromJson(QByteArray::fromStdString(line));
        if (!job) {
            return; // not from a parent of this version
        }
        writeEvent(JobBegun());
        runJob(*job, options, writeEvent);
    }
}
