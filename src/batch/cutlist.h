#pragma once

#include <QHash>
#include <QList>
#include <QMap>
#include <QString>

/// The cuts of the pictures of one file, by their index in it. Those of a picture without
/// an entry are placed automatically.
using FileCuts = QMap<int, QList<int>>;

/// Reads the list of cuts \a name, or "-" for standard input: lines of JSON with an
/// "image", its "cuts" and, for the pages of one file, an "index". Other lines are
/// ignored. Returns the cuts by image. Throws BatchError if it cannot be read, or has no
/// such line, or a wrong one.
[[nodiscard]] QHash<QString, FileCuts> readCutList(const QString &name);

/// The cuts that \a list contains, which errors call \a name.
[[nodiscard]] QHash<QString, FileCuts> parseCutList(const QByteArray &list, const QString &name);
