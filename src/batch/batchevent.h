#pragma once

#include "batch/batchplan.h"

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QString>

#include <optional>

/// Why a file failed. The values are exit codes; none is 0.
enum class BatchFailure {
    Unreadable = 3,
    Unwritable = 4,
    TooLarge = 5, // or memory ran out, even if that ended the process
};

/// An event of a job. The order is: the file is begun, its pages are drawn, the
/// job is done. It can fail at any time.
struct BatchEvent
{
    enum class Kind {
        Writing, ///< `text` is the path of the unfinished file
        Page, ///< `page` of `pages` is drawn
        Done, ///< the file, or the dry run, is complete; `text` is a remark or empty
        Failed, ///< `text` is the error message
    };

    Kind kind = Kind::Failed;
    int page = 0;
    int pages = 0;
    qint64 bytes = 0; // size of the file; 0 after a dry run
    QList<int> cuts; // the first row below each cut, in the trimmed image
    std::optional<QList<int>> through; // the cuts through content; for calm cuts only
    int offset = 0; // the first row of the trimmed image in the image
    double seconds = 0; // duration of the job
    BatchFailure failure = BatchFailure::Unwritable; // for Failed
    QString text;
};

/// The event of a failed job, with the error message \a text.
BatchEvent failedEvent(BatchFailure failure, const QString &text);

/// The event of a job whose process ran out of memory.
BatchEvent outOfMemoryEvent();

/// \a object as one line, with a line feed.
QByteArray jsonLine(const QJsonObject &object);

QJsonObject toJson(const BatchEvent &event);

/// The event in \a line, if there is one. A failure without a known code becomes
/// Unwritable: all that is certain is that no file was written.
std::optional<BatchEvent> eventFromJson(const QByteArray &line);

QJsonObject toJson(const BatchJob &job);

/// The job in \a line, if there is one.
std::optional<BatchJob> jobFromJson(const QByteArray &line);
