#pragma once

#include "batch/batchplan.h"

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QString>

#include <optional>

/// What went wrong with a file; the numbers are exit codes, none of them 0.
enum class BatchFailure {
    Unreadable = 3,
    Unwritable = 4,
    TooLarge = 5, // or memory ran out, be it that the process died of it
};

/// What happens to a job, in this order: any number of pages between the file
/// that is being written and the end, done or failed.
struct BatchEvent
{
    enum class Kind {
        Writing, ///< `text` is the path of the unfinished file
        Page, ///< `page` of `pages` is drawn
        Done, ///< the file is complete, or a dry run; `text` is a remark, mostly empty
        Failed, ///< `text` says why
    };

    Kind kind = Kind::Failed;
    int page = 0;
    int pages = 0;
    qint64 bytes = 0; // of the file; none after a dry run
    QList<int> cuts; // the first rows below them, in the image as trimmed
    std::optional<QList<int>> through; // those through content; only known of calm cuts
    int offset = 0; // the row of the image at which the trimmed one begins
    double seconds = 0; // that the job took
    BatchFailure failure = BatchFailure::Unwritable; // of Failed
    QString text;
};

/// The event of a job that failed. \a text says why.
BatchEvent failedEvent(BatchFailure failure, const QString &text);

/// The event of a job whose process ran out of memory.
BatchEvent outOfMemoryEvent();

/// \a object as one line, with its line end.
QByteArray jsonLine(const QJsonObject &object);

QJsonObject toJson(const BatchEvent &event);

/// The event in \a line; nothing if it holds none. A failure without a known code
/// is Unwritable: no file was written is all that is sure of it.
std::optional<BatchEvent> eventFromJson(const QByteArray &line);

QJsonObject toJson(const BatchJob &job);

/// The job in \a line; nothing if it holds none.
std::optional<BatchJob> jobFromJson(const QByteArray &line);
