#include "jsonmutations.h"

#include "mutations.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <array>

using namespace Qt::StringLiterals;

namespace {

/// A key that some reader looks up.
QString anyKey(std::mt19937 &random)
{
    constexpr std::array keys{"releases",     "platforms",
                              "version",      "title",
                              "description",  "download_url",
                              "release_date", "forced",
                              "packages",     "file_size",
                              "windows",      "macos",
                              "linux",        "hasUpdate",
                              "forceUpdate",  "hash",
                              "size",         "latestVersion",
                              "downloadUrl",  "updateLog",
                              "publishTime",  "minSystemVersion",
                              "event",        "image",
                              "images",       "cuts",
                              "index",        "through",
                              "pages",        "page",
                              "scale",        "offset",
                              "output",       "threads",
                              "code",         "error",
                              "bytes",        "seconds",
                              "number",       "note"};
    return QLatin1StringView(keys.at(size_t(below(random, keys.size()))));
}

QString anyText(std::mt19937 &random)
{
    constexpr std::array texts{
        "",       "2.7.2",   "3.0.0", "2147483648.0.0", "windows", "linux",  "2026-11-22T10:00:00Z",
        "1.5 MB", "1048576", "-1",    "begun",          "done",    "failed", "https://quillmarch.test/a.zip"};
    return QLatin1StringView(texts.at(size_t(below(random, texts.size()))));
}

QJsonValue anyValue(std::mt19937 &random)
{
    constexpr std::array numbers{0.0, 1.0, -1.0, 0.5, 720.0, 2147483647.0, 2147483648.0, 1e18, -1e300};
    switch (below(random, 7)) {
    case 0:
        return {};
    case 1:
        return below(random, 2) == 0;
    case 2:
        return QJsonArray{numbers.at(size_t(below(random, numbers.size()))), anyText(random)};
    case 3:
        return QJsonObject{{anyKey(random), anyText(random)}};
    case 4:
        return numbers.at(size_t(below(random, numbers.size())));
    default:
        return anyText(random);
    }
}

QJsonValue changed(const QJsonValue &value, std::mt19937 &random);

QJsonObject changed(QJsonObject object, std::mt19937 &random)
{
    const qsizetype choice = below(random, 8);
    if (object.isEmpty() || choice == 0) {
        object.insert(anyKey(random), anyValue(random));
        return object;
    }
    const QString key = object.keys().at(below(random, object.size()));
    const QJsonValue value = object.take(key);
    if (choice == 2) {
        object.insert(anyKey(random), value);
    } else if (choice > 2) {
        object.insert(key, changed(value, random));
    }
    return object;
}

QJsonArray changed(QJsonArray array, std::mt19937 &random)
{
    const qsizetype choice = below(random, 8);
    if (array.isEmpty() || choice == 0) {
        array.append(anyValue(random));
        return array;
    }
    const qsizetype at = below(random, array.size());
    const QJsonValue value = array.takeAt(at);
    if (choice == 2) {
        array.prepend(value);
        array.append(value);
    } else if (choice > 2) {
        array.insert(at, changed(value, random));
    }
    return array;
}

QJsonValue changed(const QJsonValue &value, std::mt19937 &random)
{
    if (value.isObject() && below(random, 8) != 0) {
        return changed(value.toObject(), random);
    }
    return value.isArray() && below(random, 8) != 0 ? changed(value.toArray(), random) : anyValue(random);
}

QByteArray mutatedDocument(const QByteArray &text, std::mt19937 &random)
{
    const QJsonDocument document = QJsonDocument::fromJson(text);
    if (document.isObject()) {
        return QJsonDocument(changed(document.object(), random)).toJson(QJsonDocument::Compact);
    }
    return document.isArray() ? QJsonDocument(changed(document.array(), random)).toJson(QJsonDocument::Compact)
                              : QByteArray();
}

} // namespace

QByteArray mutatedJson(const QByteArray &document, std::mt19937 &random)
{
    const QByteArray whole = mutatedDocument(document, random);
    QByteArrayList lines = document.split('\n');
    if (!whole.isEmpty() || lines.size() == 1) {
        return whole;
    }
    QByteArray &line = lines[below(random, lines.size())];
    line = mutatedDocument(line, random);
    return line.isEmpty() ? QByteArray() : lines.join('\n');
}
