#pragma once

#include "batch/batchevent.h"

#include <QElapsedTimer>
#include <QHash>

#include <cstdio>

/// How long the rest takes if \a share of the work, 0 to 1, took \a elapsed
/// milliseconds, as a text; empty as long as that cannot be told.
QString timeLeft(qint64 elapsed, double share);

/// \a text with a question mark for each character that would steer a terminal.
QString printable(const QString &text);

/// Tells people or programs how the work goes on.
///
/// Lines about files, or lines of JSON, go to the output stream, failures to the
/// error stream. If that is a terminal, it also shows one line that is written
/// over again and again.
class BatchReport
{
public:
    /// The report on \a files files. \a isTerminal says whether \a errorStream is
    /// a terminal.
    BatchReport(const BatchOptions &options, int files, std::FILE *outputStream, std::FILE *errorStream,
                bool isTerminal);

    /// Tells of \a event, which belongs to \a job.
    void tell(const BatchJob &job, const BatchEvent &event);

    /// Tells of the end, and returns the exit code: the highest of all failures.
    int finish();

private:
    void tellInJson(const BatchJob &job, const BatchEvent &event);
    void tellInWords(const BatchJob &job, const BatchEvent &event);
    void count(const BatchJob &job, const BatchEvent &event);
    void write(std::FILE *stream, const QByteArray &bytes);
    void showProgress();
    void hideProgress();
    double finishedShare() const;

    std::FILE *output;
    std::FILE *errors;
    bool json;
    bool quiet;
    bool onTerminal;
    int fileCount;
    int filesDone = 0;
    int filesFailed = 0;
    int pagesDone = 0; // of finished files
    int exitCode = 0;
    QHash<QString, QPair<int, int>> running; // pages drawn and pages in all, by output
    QElapsedTimer timer;
    qint64 lastShown = 0;
    bool progressStands = false;
};
