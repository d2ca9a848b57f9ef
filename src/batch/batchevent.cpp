#include "batch/batchevent.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <array>

using namespace Qt::StringLiterals;

namespace {

// By the values of BatchEvent::Kind.
constexpr std::array kindNames{"writing"_L1, "page"_L1, "done"_L1, "failed"_L1};

/// The failure with the value \a code; Unwritable if there is none.
BatchFailure failureOf(int code)
{
    constexpr std::array known{BatchFailure::Unreadable, BatchFailure::Unwritable, BatchFailure::TooLarge};
    for (const BatchFailure failure : known) {
        if (int(failure) == code) {
            return failure;
        }
    }
    return BatchFailure::Unwritable;
}

QJsonArray toJson(const QList<int> &rows)
{
    QJsonArray array;
    for (const int row : rows) {
        array.append(row);
    }
    return array;
}

QList<int> rowsFromJson(const QJsonArray &array)
{
    QList<int> rows;
    for (const QJsonValue &row : array) {
        rows.append(row.toInt());
    }
    return rows;
}

void insertDone(QJsonObject &object, const BatchEvent &event)
{
    object.insert(u"pages"_s, event.pages);
    if (event.bytes > 0) {
        object.insert(u"bytes"_s, event.bytes);
    }
    object.insert(u"seconds"_s, event.seconds);
    object.insert(u"offset"_s, event.offset);
    object.insert(u"cuts"_s, toJson(event.cuts));
    if (event.through) {
        object.insert(u"through"_s, toJson(*event.through));
    }
    if (!event.text.isEmpty()) {
        object.insert(u"note"_s, event.text);
    }
}

} // namespace

BatchEvent failedEvent(BatchFailure failure, const QString &text)
{
    BatchEvent event;
    event.kind = BatchEvent::Kind::Failed;
    event.failure = failure;
    event.text = text;
    return event;
}

BatchEvent outOfMemoryEvent()
{
    return failedEvent(BatchFailure::TooLarge, u"too large: out of memory"_s);
}

QByteArray jsonLine(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

QJsonObject toJson(const BatchEvent &event)
{
    QJsonObject object{{u"event"_s, kindNames.at(size_t(event.kind))}};
    switch (event.kind) {
    case BatchEvent::Kind::Writing:
        object.insert(u"path"_s, event.text);
        break;
    case BatchEvent::Kind::Page:
        object.insert(u"page"_s, event.page);
        object.insert(u"pages"_s, event.pages);
        break;
    case BatchEvent::Kind::Done:
        insertDone(object, event);
        break;
    case BatchEvent::Kind::Failed:
        object.insert(u"code"_s, int(event.failure));
        object.insert(u"message"_s, event.text);
        break;
    }
    return object;
}

std::optional<BatchEvent> eventFromJson(const QByteArray &line)
{
    const QJsonObject object = QJsonDocument::fromJson(line).object();
    for (size_t kind = 0; kind < kindNames.size(); ++kind) {
        if (object.value("event"_L1) == kindNames.at(kind)) {
            BatchEvent event;
            event.kind = BatchEvent::Kind(kind);
            event.page = object.value("page"_L1).toInt();
            event.pages = object.value("pages"_L1).toInt();
            event.bytes = object.value("bytes"_L1).toInteger();
            event.seconds = object.value("seconds"_L1).toDouble();
            event.offset = object.value("offset"_L1).toInt();
            event.cuts = rowsFromJson(object.value("cuts"_L1).toArray());
            if (object.contains("through"_L1)) {
                event.through = rowsFromJson(object.value("through"_L1).toArray());
            }
            if (event.kind == BatchEvent::Kind::Failed) {
                event.failure = failureOf(object.value("code"_L1).toInt());
            }
            event.text = object.value("path"_L1).toString() + object.value("note"_L1).toString()
                + object.value("message"_L1).toString(); // an event has at most one of them
            return event;
        }
    }
    return std::nullopt;
}

QJsonObject toJson(const BatchJob &job)
{
    return {{u"image"_s, job.image},
            {u"output"_s, job.output},
            {u"columns"_s, job.pages.columns},
            {u"margin"_s, job.pages.marginPercent},
            {u"numbers"_s, job.pages.pageNumbers},
            {u"trim"_s, job.pages.trim},
            {u"autoCut"_s, job.pages.autoCut},
            {u"brightCuts"_s, job.pages.cutRule == CutRule::Bright},
            {u"lossless"_s, job.pages.lossless},
            {u"dryRun"_s, job.dryRun}};
}

std::optional<BatchJob> jobFromJson(const QByteArray &line)
{
    const QJsonObject object = QJsonDocument::fromJson(line).object();
    if (!object.contains("image"_L1) || !object.contains("output"_L1)) {
        return std::nullopt;
    }
    BatchJob job{object.value("image"_L1).toString(), object.value("output"_L1).toString(), {}, false};
    job.pages.columns = object.value("columns"_L1).toInt(job.pages.columns);
    job.pages.marginPercent = object.value("margin"_L1).toInt(job.pages.marginPercent);
    job.pages.pageNumbers = object.value("numbers"_L1).toBool();
    job.pages.trim = object.value("trim"_L1).toBool();
    job.pages.autoCut = object.value("autoCut"_L1).toBool(true);
    job.pages.cutRule = object.value("brightCuts"_L1).toBool() ? CutRule::Bright : CutRule::Calm;
    job.pages.lossless = object.value("lossless"_L1).toBool();
    job.dryRun = object.value("dryRun"_L1).toBool();
    return job;
}
