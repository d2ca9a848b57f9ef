#include "batch/batchworkers.h"

#include "batch/outofmemory.h"
#include "decode/decodethreads.h"

#include <QFile>
#include <QTimer>

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
BatchEvent eventOfEnd(const QProcess &process, bool isWriting)
{
    if (process.error() == QProcess::FailedToStart) {
        return failedEvent(BatchFailure::Unwritable,
                           u"the worker process did not start: %1"_s.arg(process.errorString()));
    }
    if (wasKilled(process)) {
        return failedEvent(BatchFailure::TooLarge, u"the worker process was killed, possibly for lack of memory"_s);
    }
    const bool isCrash = process.exitStatus() == QProcess::CrashExit;
    if (!isCrash && process.exitCode() == int(BatchFailure::TooLarge)) {
        return outOfMemoryEvent();
    }
    return failedEvent(isWriting ? BatchFailure::Unwritable : BatchFailure::Unreadable,
                       isCrash ? u"the worker process crashed with signal %1"_s.arg(process.exitCode())
                               : u"the worker process ended early"_s);
}

} // namespace

BatchWorkers::BatchWorkers(const QString &executable, const QList<BatchJob> &jobs, const JobEventSink &eventSink)
    : program(executable)
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

void BatchWorkers::startWorker()
{
    if (waiting.isEmpty()) {
        return;
    }
    workers.push_back(std::make_unique<Worker>());
    Worker &worker = *workers.back();
    worker.process.setProgram(program);
    worker.process.setArguments({serveArgument()});
    worker.process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    endWithParent(worker.process);
    QObject::connect(&worker.process, &QProcess::readyReadStandardOutput, &loop,
                     [this, &worker] { readEvents(worker); });
    QObject::connect(&worker.process, &QProcess::finished, &loop, [this, &worker] { onEnd(worker); });
    QObject::connect(&worker.process, &QProcess::errorOccurred, &loop, [this, &worker](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart) {
            onEnd(worker); // there is no other signal
        }
    });
    start(worker);
}

/// Starts the process of \a worker, for the first time or after a crash.
void BatchWorkers::start(Worker &worker)
{
    worker.isBusy = true;
    worker.job = waiting.takeFirst();
    worker.input.clear();
    worker.process.start();
    giveJob(worker);
}

void BatchWorkers::giveJob(Worker &worker)
{
    worker.partPath.clear();
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
    if (event.kind == BatchEvent::Kind::Writing) {
        worker.partPath = event.text;
    }
    sink(worker.job, event);
    if (event.kind != BatchEvent::Kind::Done && event.kind != BatchEvent::Kind::Failed) {
        return;
    }
    worker.isBusy = false;
    if (--jobsLeft == 0) {
        loop.quit();
    } else if (!waiting.isEmpty()) {
        worker.isBusy = true;
        worker.job = waiting.takeFirst();
        giveJob(worker);
    }
}

/// Handles the unexpected end of the process of \a worker: its job has failed.
void BatchWorkers::onEnd(Worker &worker)
{
    readEvents(worker);
    if (worker.isBusy) {
        if (!worker.partPath.isEmpty()) {
            QFile::remove(worker.partPath);
        }
        worker.isBusy = false;
        sink(worker.job, eventOfEnd(worker.process, !worker.partPath.isEmpty()));
        --jobsLeft;
    }
    if (jobsLeft == 0) {
        loop.quit();
    } else if (!waiting.isEmpty()) {
        QTimer::singleShot(0, &loop, [this, &worker] {
            if (!waiting.isEmpty()) {
                start(worker);
            }
        });
    }
}

void serveJobs()
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
        runJob(*job, [](const BatchEvent &event) {
            const QByteArray bytes = jsonLine(toJson(event));
            std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
            std::fflush(stdout);
        });
    }
}
