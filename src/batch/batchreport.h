#pragma once

#include "batch/batchevent.h"

#include <QElapsedTimer>
#include <QHash>

#include <cstdio>

/// The time left, as text, if \a share of the work, 0 to 1, took \a elapsed
/// milliseconds; empty while there is no estimate.
QString timeLeft(qint64 elapsed, double share);

/// Where the progress of a run is shown.
struct ProgressPlace
{
    enum Kind {
        Lines, ///< a pipe or a file, or a terminal that knows no control sequences
        Terminal, ///< a line that is replaced in place
    };
    Kind kind = Lines;
    int width = 0; ///< of the terminal, in columns; 0 if unknown
    qint64 lineInterval = 10000; ///< milliseconds between lines that cannot be replaced

    /// The place that \a stream is.
    static ProgressPlace of(std::FILE *stream);
};

/// Reports progress and results to people or programs.
///
/// Lines about files, or lines of JSON, go to the output stream, failures and progress
/// to the error stream.
class BatchReport
{
public:
    /// The report on \a files files.
    BatchReport(const BatchOptions &options, int files, std::FILE *outputStream, std::FILE *errorStream,
                const ProgressPlace &place);

    /// Reports \a event of \a job.
    void report(const BatchJob &job, const BatchEvent &event);

    /// Whether nobody reads the output stream any more.
    bool isPipeClosed() const { return pipeClosed; }

    /// Reports the end and returns the exit code: the highest of all failures, or 0.
    int finish();

private:
    void reportInJson(const BatchJob &job, const BatchEvent &event);
    void reportInText(const BatchJob &job, const JobDone &done);
    void reportInText(const PictureDone &picture);
    void reportFailure(const BatchJob &job, const JobFailed &failed);
    void count(const BatchJob &job, const BatchEvent &event);
    void write(std::FILE *stream, const QByteArray &bytes);
    void showProgress();
    void hideProgress();
    QString progressText(qint64 now) const;
    double finishedShare() const;

    /// How far a running job is.
    struct Progress
    {
        int pictures = 0; // finished
        int page = 0; // of the next one
        int pages = 0;
    };

    std::FILE *output;
    std::FILE *errors;
    bool json;
    bool quiet;
    bool dryRun;
    ProgressPlace progressPlace;
    int fileCount;
    int filesDone = 0;
    int filesFailed = 0;
    int pagesDone = 0; // of finished files
    int exitCode = 0;
    QHash<int, Progress> running; // by number of the job
    QHash<int, int> pictureCounts; // of these jobs
    QElapsedTimer timer;
    qint64 lastShown = 0;
    bool isProgressShown = false;
    bool pipeClosed = false;
};
