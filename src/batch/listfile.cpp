#include "batch/listfile.h"

#include "batch/filename.h"

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

/// Opens the list \a name with \a file. Returns the error message, or an empty string.
QString openList(QFile &file, const QString &name)
{
    if (name == "-"_L1) {
        return file.open(stdin, QIODevice::ReadOnly) ? QString() : file.errorString();
    }
    return openFile(file, name, QIODevice::ReadOnly);
}

} // namespace

BatchError unreadable(const QString &name, const QString &reason)
{
    return {BatchFailure::Unreadable, u"cannot read \"%1\": %2"_s.arg(printable(name), reason)};
}

QByteArray readListFile(const QString &name)
{
    QFile file;
    const QString mistake = openList(file, name);
    if (!mistake.isEmpty()) {
        throw unreadable(name, mistake);
    }
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError) { // a folder can be opened, but not read
        throw unreadable(name, file.errorString());
    }
    return bytes;
}
