#include "batch/cutlist.h"

#include "batch/batcherror.h"
#include "batch/filename.h"
#include "batch/listfile.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <functional>

using namespace Qt::StringLiterals;

namespace {

BatchError wrongList(const QString &name, const QString &reason)
{
    return {BatchFailure::WrongUse, u"\"%1\" is not a list of cuts: %2"_s.arg(printable(name), reason)};
}

/// The rows in \a array; nothing unless they rise.
std::optional<QList<int>> rowsFrom(const QJsonArray &array)
{
    QList<int> rows;
    for (const QJsonValue &row : array) {
        rows.append(row.toInt(-1));
    }
    const bool isRising = std::adjacent_find(rows.begin(), rows.end(), std::greater_equal<>()) == rows.end();
    return isRising && (rows.isEmpty() || rows.first() > 0) ? std::optional(rows) : std::nullopt;
}

/// Adds the cuts of \a line to \a cuts; false if there is something wrong with them.
bool addLine(const QJsonObject &line, QHash<QString, FileCuts> &cuts)
{
    const QJsonValue image = line.value("image"_L1);
    const QJsonValue array = line.value("cuts"_L1);
    const int index = line.contains("index"_L1) ? line.value("index"_L1).toInt(-1) : 0;
    if (!image.isString() || !array.isArray() || index < 0) {
        return false;
    }
    const std::optional<QList<int>> rows = rowsFrom(array.toArray());
    if (!rows) {
        return false;
    }
    cuts[image.toString()].insert(index, *rows);
    return true;
}

} // namespace

QHash<QString, FileCuts> readCutList(const QString &name)
{
    return parseCutList(readListFile(name), name);
}

QHash<QString, FileCuts> parseCutList(const QByteArray &list, const QString &name)
{
    QHash<QString, FileCuts> cuts;
    int number = 0;
    for (const QByteArray &untrimmed : list.split('\n')) {
        ++number;
        const QByteArray text = untrimmed.trimmed();
        const QJsonDocument line = QJsonDocument::fromJson(text);
        const bool isCuts = line.object().contains("cuts"_L1) && line.object().contains("image"_L1);
        if (!text.isEmpty() && (!line.isObject() || (isCuts && !addLine(line.object(), cuts)))) {
            throw wrongList(name, u"line %1"_s.arg(number));
        }
    }
    return cuts.isEmpty() ? throw wrongList(name, u"no line has cuts"_s) : cuts;
}
