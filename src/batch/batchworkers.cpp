#include "batch/batchworkers.h"

#include "decode/decodethreads.h"

#include <QFile>
#include <QTimer>

#include <csignal>
#include <cstdio>
#include <iostream>
#include <string>

#ifdef Q_OS_LINUX
#include <sys/prctl.h>
#endif

using namespace Qt::StringLiterals;

namespace {

/// Ends this process when the one that started it ends.
void endWithParent()
{
#ifdef Q_OS_LINUX
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
#endif
}

QString howItEnded(const QProcess &process)
{
    if (process.error() == QProcess::FailedToStart) {
        return u"its process did not start: %1"_s.arg(process.errorString());
    }
    return process.exitStatus() == QProcess::CrashExit ? u"its process crashed, by signal %1"_s.arg(process.exitCode())
                                                       : u"its process ended early"_s;
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
        worker->process.closeWriteChannel(); // a server without jobs ends
        worker->process.waitForFinished();
    }
}

void BatchWorkers::run(int count)
{
    if (jobsLeft == 0) {
        return;
    }
    for (int i = 0; i < count && i < jobsLeft; ++i) {
        // Not before the loop runs: a process that does not start ends its job at once.
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
    QObject::connect(&worker.process, &QProcess::readyReadStandardOutput, &loop,
                     [this, &worker] { readEvents(worker); });
    QObject::connect(&worker.process, &QProcess::finished, &loop, [this, &worker] { onEnd(worker); });
    QObject::connect(&worker.process, &QProcess::errorOccurred, &loop, [this, &worker](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart) {
            onEnd(worker); // nothing else is told of it
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

/// The process of \a worker has ended, which none should: its job has failed.
void BatchWorkers::onEnd(Worker &worker)
{
    readEvents(worker);
    if (worker.isBusy) {
        if (!worker.partPath.isEmpty()) {
            QFile::remove(worker.partPath);
        }
        BatchEvent event;
        event.kind = BatchEvent::Kind::Failed;
        event.failure = worker.partPath.isEmpty() ? BatchFailure::Unreadable : BatchFailure::Unwritable;
        event.text = howItEnded(worker.process);
        worker.isBusy = false;
        sink(worker.job, event);
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
    setDecodeThreads(DecodeThreads::One); // the other processors have servers of their own
    endWithParent();
    std::string line;
    while (std::getline(std::cin, line)) {
        const std::optional<BatchJob> job = jobFromJson(QByteArray::fromStdString(line));
        if (!job) {
            return; // the other end does not speak our language
        }
        runJob(*job, [](const BatchEvent &event) {
            const QByteArray told = jsonLine(toJson(event));
            std::fwrite(told.constData(), 1, size_t(told.size()), stdout);
            std::fflush(stdout);
        });
    }
}
