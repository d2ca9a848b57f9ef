#pragma once

#include "batch/batchjob.h"

#include <QByteArray>
#include <QEventLoop>
#include <QProcess>

#include <functional>
#include <memory>
#include <vector>

/// Is told of an event of one of several jobs.
using JobEventSink = std::function<void(const BatchJob &, const BatchEvent &)>;

/// Runs jobs in processes of this same program, so that one that crashes costs
/// a single file.
class BatchWorkers
{
public:
    /// \a program is the executable that understands serveArgument().
    BatchWorkers(const QString &program, const QList<BatchJob> &jobs, const JobEventSink &sink);
    ~BatchWorkers();
    BatchWorkers(const BatchWorkers &) = delete;
    BatchWorkers &operator=(const BatchWorkers &) = delete;

    /// Runs all jobs, \a count at a time, and returns when the last has ended.
    void run(int count);

private:
    struct Worker
    {
        QProcess process;
        BatchJob job;
        bool isBusy = false;
        QString partPath; // of the unfinished file of the job
        QByteArray input; // that makes no whole line yet
    };

    void startWorker();
    void start(Worker &worker);
    void giveJob(Worker &worker);
    void readEvents(Worker &worker);
    void onEvent(Worker &worker, const BatchEvent &event);
    void onEnd(Worker &worker);

    QString program;
    QList<BatchJob> waiting;
    JobEventSink sink;
    std::vector<std::unique_ptr<Worker>> workers;
    int jobsLeft = 0; // that have not ended
    QEventLoop loop;
};

/// Works on the jobs that come in on the standard input, and tells of their
/// events on the standard output. Returns when there are no more. Ends the
/// process with the code of BatchFailure::TooLarge if memory runs out.
void serveJobs();
