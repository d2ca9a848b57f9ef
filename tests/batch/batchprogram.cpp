#include "batchprogram.h"

#include <QDir>
#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace {

constexpr int processTime = 60000; // milliseconds

} // namespace

void setUpBatch(QProcess &process, const QStringList &arguments)
{
    process.setProgram(QStringLiteral(QUILLMARCH_BATCH));
    process.setArguments(arguments);
}

BatchEnd runBatchProgram(const QStringList &arguments)
{
    QProcess process;
    setUpBatch(process, arguments);
    process.start();
    return endOf(process);
}

BatchEnd endOf(QProcess &process)
{
    BatchEnd end;
    if (process.waitForFinished(processTime) && process.exitStatus() == QProcess::NormalExit) {
        end.code = process.exitCode();
    }
    end.output = process.readAllStandardOutput();
    end.errors = process.readAllStandardError();
    return end;
}

QList<QJsonObject> jsonLinesOf(const QByteArray &output)
{
    QList<QJsonObject> objects;
    for (const QByteArray &line : output.split('\n')) {
        if (line.isEmpty()) {
            continue;
        }
        const QJsonDocument document = QJsonDocument::fromJson(line);
        if (!document.isObject()) {
            return {};
        }
        objects.append(document.object());
    }
    return objects;
}

QStringList fileNamesIn(const QString &folder)
{
    return QDir(folder).entryList(QDir::Files | QDir::Dirs | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                                  QDir::Name);
}
