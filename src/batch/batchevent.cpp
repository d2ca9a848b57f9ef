#include "batch/batchevent.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <array>

using namespace Qt::StringLiterals;

namespace {

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

QJsonArray arrayOf(const QList<int> &rows)
{
    QJsonArray array;
    for (const int row : rows) {
        array.append(row);
    }
    return array;
}

QList<int> rowsFrom(const QJsonValue &array)
{
    QList<int> rows;
    for (const QJsonValue row : array.toArray()) {
        rows.append(row.toInt());
    }
    return rows;
}

void insertFacts(QJsonObject &object, const PictureFacts &facts)
{
    object.insert(u"pages"_s, facts.pages);
    object.insert(u"scale"_s, facts.scale);
    object.insert(u"offset"_s, facts.offset);
    object.insert(u"cuts"_s, arrayOf(facts.cuts));
    if (facts.index > 0) {
        object.insert(u"index"_s, facts.index);
    }
    if (facts.through) {
        object.insert(u"through"_s, arrayOf(*facts.through));
    }
    if (!facts.remark.isEmpty()) {
        object.insert(u"note"_s, facts.remark);
    }
}

PictureFacts factsFrom(const QJsonObject &object)
{
    PictureFacts facts;
    facts.index = object.value("index"_L1).toInt();
    facts.pages = object.value("pages"_L1).toInt();
    facts.scale = object.value("scale"_L1).toDouble();
    facts.offset = object.value("offset"_L1).toInt();
    facts.cuts = rowsFrom(object.value("cuts"_L1));
    if (object.contains("through"_L1)) {
        facts.through = rowsFrom(object.value("through"_L1));
    }
    facts.remark = object.value("note"_L1).toString();
    return facts;
}

QJsonObject jsonOf(const JobBegun &)
{
    return {{u"event"_s, u"begun"_s}};
}

QJsonObject jsonOf(const FileBegun &file)
{
    return {{u"event"_s, u"writing"_s}, {u"path"_s, file.path}};
}

QJsonObject jsonOf(const PageDone &page)
{
    return {{u"event"_s, u"page"_s}, {u"page"_s, page.page}, {u"pages"_s, page.pages}};
}

QJsonObject jsonOf(const JobDone &done)
{
    QJsonObject object{{u"event"_s, u"done"_s}, {u"pages"_s, done.pages}, {u"seconds"_s, done.seconds}};
    if (done.bytes > 0) {
        object.insert(u"bytes"_s, done.bytes);
    }
    if (done.picture) {
        insertFacts(object, *done.picture);
    }
    return object;
}

JobDone doneFrom(const QJsonObject &object)
{
    JobDone done{object.value("pages"_L1).toInt(), object.value("bytes"_L1).toInteger(),
                 object.value("seconds"_L1).toDouble(), std::nullopt};
    if (object.contains("cuts"_L1)) {
        done.picture = factsFrom(object);
    }
    return done;
}

QJsonObject jsonOf(const PictureDone &picture)
{
    QJsonObject object{{u"event"_s, u"picture"_s}, {u"image"_s, picture.image}};
    insertFacts(object, picture.facts);
    return object;
}

QJsonObject jsonOf(const JobFailed &failed)
{
    QJsonObject object{{u"event"_s, u"failed"_s}, {u"code"_s, int(failed.failure)}, {u"message"_s, failed.text}};
    if (!failed.image.isEmpty()) {
        object.insert(u"image"_s, failed.image);
    }
    return object;
}

/// The rows of each picture, by the index of the picture as text.
QJsonObject toJson(const FileCuts &cuts)
{
    QJsonObject object;
    for (auto rows = cuts.begin(); rows != cuts.end(); ++rows) {
        object.insert(QString::number(rows.key()), arrayOf(rows.value()));
    }
    return object;
}

FileCuts cutsFrom(const QJsonObject &object)
{
    FileCuts cuts;
    for (auto rows = object.begin(); rows != object.end(); ++rows) {
        cuts.insert(rows.key().toInt(), rowsFrom(rows.value()));
    }
    return cuts;
}

} // namespace

JobFailed outOfMemoryEvent()
{
    return {BatchFailure::TooLarge, u"too large: out of memory"_s, {}};
}

QByteArray jsonLine(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

QJsonObject toJson(const BatchEvent &event)
{
    return std::visit([](const auto &kind) { return jsonOf(kind); }, event);
}

std::optional<BatchEvent> eventFromJson(const QByteArray &line)
{
    const QJsonObject object = QJsonDocument::fromJson(line).object();
    const auto text = [&object](QLatin1StringView name) { return object.value(name).toString(); };
    const QString event = text("event"_L1);
    if (event == "begun"_L1) {
        return JobBegun();
    }
    if (event == "writing"_L1) {
        return FileBegun{text("path"_L1)};
    }
    if (event == "page"_L1) {
        return PageDone{object.value("page"_L1).toInt(), object.value("pages"_L1).toInt()};
    }
    if (event == "picture"_L1) {
        return PictureDone{text("image"_L1), factsFrom(object)};
    }
    if (event == "done"_L1) {
        return doneFrom(object);
    }
    if (event == "failed"_L1) {
        return JobFailed{failureOf(object.value("code"_L1).toInt()), text("message"_L1), text("image"_L1)};
    }
    return std::nullopt;
}

QJsonObject toJson(const BatchJob &job)
{
    QJsonArray images;
    for (const JobImage &image : job.images) {
        images.append(QJsonObject{{u"name"_s, image.name}, {u"cuts"_s, toJson(image.cuts)}});
    }
    return {{u"number"_s, job.number}, {u"images"_s, images}, {u"output"_s, job.output}, {u"threads"_s, job.threads}};
}

std::optional<BatchJob> jobFromJson(const QByteArray &line)
{
    const QJsonObject object = QJsonDocument::fromJson(line).object();
    if (!object.contains("images"_L1) || !object.contains("output"_L1)) {
        return std::nullopt;
    }
    BatchJob job{object.value("number"_L1).toInt(),
                 {},
                 object.value("output"_L1).toString(),
                 object.value("threads"_L1).toInt()};
    for (const QJsonValue image : object.value("images"_L1).toArray()) {
        job.images.append({image["name"_L1].toString(), cutsFrom(image["cuts"_L1].toObject())});
    }
    return job;
}
