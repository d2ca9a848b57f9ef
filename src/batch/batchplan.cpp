#include "batch/batchplan.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>

using namespace Qt::StringLiterals;

namespace {

/// The name of the PDF file of \a image, without its suffix.
QString baseNameOf(const QString &image)
{
    const QFileInfo file(QDir::cleanPath(image));
    const QString name = file.completeBaseName().isEmpty() ? file.fileName() : file.completeBaseName();
    return name.isEmpty() ? u"image"_s : name;
}

/// \a base, with a number appended if \a taken contains it; adds the result to
/// \a taken. Ignores case, as some file systems do.
QString untakenName(const QString &base, QSet<QString> &taken)
{
    QString name = base;
    for (int number = 2; taken.contains(name.toCaseFolded()); ++number) {
        name = u"%1-%2"_s.arg(base).arg(number);
    }
    taken.insert(name.toCaseFolded());
    return name;
}

/// The first output of \a jobs that is also one of their images, or empty.
QString overwrittenImage(const QList<BatchJob> &jobs)
{
    QSet<QString> images;
    for (const BatchJob &job : jobs) {
        images.insert(QFileInfo(job.image).canonicalFilePath());
    }
    images.remove(QString()); // from images that do not exist
    for (const BatchJob &job : jobs) {
        if (images.contains(QFileInfo(job.output).canonicalFilePath())) {
            return job.output;
        }
    }
    return {};
}

} // namespace

BatchPlan planJobs(const BatchOptions &options)
{
    BatchPlan plan;
    const QFileInfo output(QDir::cleanPath(options.output));
    const bool toFolder =
        !options.output.isEmpty() && (options.images.size() > 1 || options.output.endsWith(u'/') || output.isDir());
    if (toFolder && output.exists() && !output.isDir()) {
        plan.mistake = u"\"%1\" is a file, and a folder is needed"_s.arg(options.output);
        return plan;
    }
    QSet<QString> taken;
    for (const QString &image : options.images) {
        BatchJob job{image, options.output, options.pages, options.dryRun};
        if (toFolder) {
            job.output = QDir(options.output).filePath(untakenName(baseNameOf(image), taken) + ".pdf"_L1);
        }
        plan.jobs.append(job);
    }
    const QString overwritten = overwrittenImage(plan.jobs);
    if (!overwritten.isEmpty()) {
        plan.mistake = u"\"%1\" is an image to read; it would be overwritten"_s.arg(overwritten);
    }
    plan.folder = toFolder ? options.output : QString();
    return plan;
}
