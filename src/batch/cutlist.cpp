#include "batch/cutlist.h"

#include "batch/batcherror.h"
#include "batch/filename.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <functional>

using namespace Qt::StringLiterals;

namespace {

constexpr int mostPictures = 100000; // in one file

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
    const int index = line.value("index"_L1).toInt();
    const std::optional<QList<int>> rows = rowsFrom(line.value("cuts"_L1).toArray());
    if (!rows || index < 0 || index > mostPictures) {
        return false;
    }
    FileCuts &file = cuts[line.value("image"_L1).toString()];
    file.resize(std::max(file.size(), qsizetype(index) + 1));
    file[index] = rows;
    return true;
}

} // namespace

QHash<QString, FileCuts> readCutList(const QString &name)
{
    QFile file;
    const QString mistake = openFile(file, name, QIODevice::ReadOnly);
    if (!mistake.isEmpty()) {
        throw BatchError(BatchFailure::Unreadable, u"cannot read \"%1\": %2"_s.arg(printable(name), mistake));
    }
    return readCutList(file, name);
}

QHash<QString, FileCuts> readCutList(QIODevice &file, const QString &name)
{
    QHash<QString, FileCuts> cuts;
    for (int number = 1; !file.atEnd(); ++number) {
        const QByteArray text = file.readLine().trimmed();
        const QJsonDocument line = QJsonDocument::fromJson(text);
        const bool isCuts = line.object().contains("cuts"_L1) && line.object().contains("image"_L1);
        if (!text.isEmpty() && (!line.isObject() || (isCuts && !addLine(line.object(), cuts)))) {
            throw wrongList(name, u"line %1"_s.arg(number));
        }
    }
    return cuts.isEmpty() ? throw wrongList(name, u"no line has cuts"_s) : cuts;
}
