#pragma once

#include "batch/batchplan.h"

#include <QByteArray>
#include <QJsonObject>

#include <functional>
#include <optional>
#include <variant>

/// How one picture is divided.
struct PictureFacts
{
    int index = 0; // of the picture in its file
    int pages = 0;
    double scale = 0; // points of the paper for each pixel
    QList<int> cuts; // the first row below each cut, in the trimmed image
    std::optional<QList<int>> through; // the cuts through content; for calm cuts only
    int offset = 0; // the first row of the trimmed image in the image
    QString remark; // what a user should know; may be empty

    friend bool operator==(const PictureFacts &, const PictureFacts &) = default;
};

// The events of a job, in this order. It can fail at any time.

/// The job has reached its worker process.
struct JobBegun
{
    friend bool operator==(const JobBegun &, const JobBegun &) = default;
};

/// The unfinished file was created.
struct FileBegun
{
    QString path;

    friend bool operator==(const FileBegun &, const FileBegun &) = default;
};

/// Page `page` of the `pages` of a picture is encoded.
struct PageDone
{
    int page = 0;
    int pages = 0;

    friend bool operator==(const PageDone &, const PageDone &) = default;
};

/// One of several pictures is divided, and encoded unless it is a dry run.
struct PictureDone
{
    QString image;
    PictureFacts facts;

    friend bool operator==(const PictureDone &, const PictureDone &) = default;
};

/// The file, or the dry run, is complete.
struct JobDone
{
    int pages = 0;
    qint64 bytes = 0; // size of the file; 0 after a dry run
    double seconds = 0;
    std::optional<PictureFacts> picture; // if there is only one

    friend bool operator==(const JobDone &, const JobDone &) = default;
};

struct JobFailed
{
    BatchFailure failure = BatchFailure::Unwritable;
    QString text; // the error message
    QString image; // the one of the job that it is about; may be empty

    friend bool operator==(const JobFailed &, const JobFailed &) = default;
};

using BatchEvent = std::variant<JobBegun, FileBegun, PageDone, PictureDone, JobDone, JobFailed>;

/// Called with each event of a job.
using EventSink = std::function<void(const BatchEvent &)>;

/// The event of a job whose process ran out of memory.
[[nodiscard]] JobFailed outOfMemoryEvent();

/// \a object as one line, with a line feed.
[[nodiscard]] QByteArray jsonLine(const QJsonObject &object);

[[nodiscard]] QJsonObject toJson(const BatchEvent &event);

/// The event in \a line, if there is one. A failure without a known code becomes
/// Unwritable: all that is certain is that no file was written.
[[nodiscard]] std::optional<BatchEvent> eventFromJson(const QByteArray &line);

[[nodiscard]] QJsonObject toJson(const BatchJob &job);

/// The job in \a line, if there is one.
[[nodiscard]] std::optional<BatchJob> jobFromJson(const QByteArray &line);
