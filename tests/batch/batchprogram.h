#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QProcess>
#include <QString>
#include <QStringList>

/// The result of a run of the batch program.
struct BatchEnd
{
    int code = -1; // exit code; -1 if it crashed or did not end in time
    QByteArray output;
    QByteArray errors;
};

/// Sets up \a process to run the batch program with \a arguments in the working
/// directory.
void setUpBatch(QProcess &process, const QStringList &arguments);

/// Runs the batch program with \a arguments.
BatchEnd runBatchProgram(const QStringList &arguments);

/// Waits for the end of \a process, which has been started.
BatchEnd endOf(QProcess &process);

/// The JSON objects in \a output, one a line; empty if a line is not one.
QList<QJsonObject> jsonLinesOf(const QByteArray &output);

/// The names of the files and folders in \a folder, sorted.
QStringList fileNamesIn(const QString &folder);
