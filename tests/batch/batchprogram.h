#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QProcess>
#include <QString>
#include <QStringList>

/// How a run of the batch program ended.
struct BatchEnd
{
    int code = -1; // -1 if it did not end by itself
    QByteArray output;
    QByteArray errors;
};

/// Prepares \a process for a run with \a arguments in the working directory.
void setUpBatch(QProcess &process, const QStringList &arguments);

/// Runs the batch program with \a arguments.
BatchEnd runBatchProgram(const QStringList &arguments);

/// Waits for the end of \a process, which has been started.
BatchEnd endOf(QProcess &process);

/// The lines of JSON in \a output; empty if one of them is none.
QList<QJsonObject> jsonLinesOf(const QByteArray &output);

/// The names of the files in \a folder, sorted.
QStringList fileNamesIn(const QString &folder);
