#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

/// The contents of the file \a path; empty if it cannot be read.
[[nodiscard]] inline QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
