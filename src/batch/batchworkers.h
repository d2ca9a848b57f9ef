#pragma once

#include "batch/batchjob.h"

#include <QByteArray>
#include <QEventLoop>
#include <QProcess>

#include <functional>
#include <memory>
#include <vector>

/// Called with each event of several jobs.
using JobEventSink = std::function<void(const BatchJob &, const BatchEvent &)>;

/// Runs jobs in worker processes of this program, so that a crash costs one file.
class BatchWorkers
{
public:
    /// \a executable is the program that understands serveArgument(); \a options are
    /// more arguments for it.
    BatchWorkers(const QString &executable, const QStringList &options, const QList<BatchJob> &jobs,
                 const JobEventSink &eventSink);
    ~BatchWorkers();
    BatchWorkers(const BatchWorkers &) = delete;
    BatchWorkers &operator=(const BatchWorkers &) = delete;

    /// Runs all jobs, \a count at a time, and returns when the last has ended.
    void run(int count);

    /// Ends all processes and run(). To be called by the sink.
    void stop();

private:
    struct Worker
    {
        QProcess process;
        BatchJob job;
        bool isBusy = false;
        bool hasBegun = false; // the job has reached the process
        int finished = 0; // jobs since the process was started
        QString partPath; // the unfinished file of the job
        QByteArray input; // the incomplete last line
    };

    void startWorker();
    void start(Worker &worker);
    void takeJob(Worker &worker);
    void giveJob(Worker &worker);
    void readEvents(Worker &worker);
    void onEvent(Worker &worker, const BatchEvent &event);
    void onStartFailure(Worker &worker);
    void onEnd(Worker &worker);

    QString program;
    QStringList arguments;
    QList<BatchJob> waiting;
    JobEventSink sink;
    std::vector<std::unique_ptr<Worker>> workers;
    int jobsLeft = 0; // not done or failed yet
    QEventLoop loop;
};

/// Runs the jobs that it reads from standard input with \a options and writes their
/// events to standard output. Returns at the end of the input. Ends the process with the
/// code of BatchFailure::TooLarge if memory runs out.
void serveJobs(const BatchOptions &options);
