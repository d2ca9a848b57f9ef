#pragma once

#include "batch/batcherror.h"

#include <QByteArray>
#include <QString>

/// The failure to read the list or the folder \a name because of \a reason.
[[nodiscard]] BatchError unreadable(const QString &name, const QString &reason);

/// All bytes of the file \a name, which can be a pipe, or of standard input if the name is
/// "-". Throws BatchError if they cannot be read.
[[nodiscard]] QByteArray readListFile(const QString &name);
