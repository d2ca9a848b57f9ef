#pragma once

#include "batch/batchevent.h"

#include <QElapsedTimer>
#include <QHash>

#include <cstdio>

/// The time left, as text, if \a share of the work, 0 to 1, took \a elapsed
/// milliseconds; empty while there is no estimate.
QString timeLeft(qint64 elapsed, double share);

/// \a text with a question mark for each control character.
QString printable(const QString &text);

/// Reports progress and results to people or programs.
///
/// Lines about files, or lines of JSON, go to the output stream, failures to the
/// error stream. If that is a terminal, it also shows a progress line, which is
/// replaced in place.
class BatchReport
{
public:
    /// The report on \a files files. \a isTerminal says whether \a errorStream is
    /// a terminal.
    BatchReport(const BatchOptions &options, int files, std::FILE *outputStream, std::FILE *errorStream,
                bool isTerminal);

    /// Reports \a event of \a job.
    void report(const BatchJob &job, const BatchEvent &event);

    /// Reports the end and returns the exit code: the highest of all failures, or 0.
    int finish();

private:
    void reportInJson(const BatchJob &job, const BatchEvent &event);
    void reportInText(const BatchJob &job, const BatchEvent &event);
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
    bool isProgressShown = false;
};
