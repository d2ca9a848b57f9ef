#include "batch/batchplan.h"

#include "batch/filename.h"

#include <QSet>

#include <algorithm>

using namespace Qt::StringLiterals;
namespace fs = std::filesystem;

namespace {

BatchError wrongUse(const QString &text)
{
    return {BatchFailure::WrongUse, text};
}

QString quoted(const QString &name)
{
    return u"\"%1\""_s.arg(printable(name));
}

bool isFile(const QString &name)
{
    std::error_code failure;
    return fs::is_regular_file(nativePath(name), failure);
}

bool isFolder(const QString &name)
{
    std::error_code failure;
    return fs::is_directory(nativePath(name), failure);
}

QString withoutSlashes(QString name)
{
    while (name.endsWith(u'/')) {
        name.chop(1);
    }
    return name;
}

/// The name of \a image without folders and suffix.
QString stemOf(const QString &image)
{
    QString name = withoutSlashes(image);
    name = name.mid(name.lastIndexOf(u'/') + 1);
    const qsizetype dot = name.lastIndexOf(u'.');
    return name.isEmpty() ? u"image"_s : name.left(dot > 0 ? dot : name.size());
}

/// The name of image \a number, \a image, in the form \a form, without ".pdf".
QString nameInFolder(const QString &form, const QString &image, int number)
{
    const QString chopped = form.isEmpty() ? u"{stem}"_s : form.chopped(4);
    QString name;
    for (qsizetype at = 0; at < chopped.size(); ++at) { // not replace(): a stem may contain "{n}"
        const QStringView rest = QStringView(chopped).mid(at);
        if (rest.startsWith("{stem}"_L1)) {
            name += stemOf(image);
            at += 5;
        } else if (rest.startsWith("{n}"_L1)) {
            name += QString::number(number);
            at += 2;
        } else {
            name += rest.first();
        }
    }
    return name;
}

/// Gives each file in a folder a name of its own. Ignores case, as some file systems do.
class UniqueNames
{
public:
    /// \a base, with a number appended if it was given before.
    QString nameFor(const QString &base)
    {
        int &number = numbers[base.toCaseFolded()];
        QString name;
        do {
            ++number;
            name = number == 1 ? base : base + u'-' + QString::number(number);
        } while (taken.contains(name.toCaseFolded()));
        taken.insert(name.toCaseFolded());
        return name;
    }

private:
    QSet<QString> taken;
    QHash<QString, int> numbers; // the last one of each base
};

bool isToFolder(const BatchOptions &options, qsizetype images)
{
    const QString &output = options.output;
    if (output.isEmpty() || output == "-"_L1) {
        return false;
    }
    return output.endsWith(u'/') || isFolder(output)
        || (images > 1 && !output.endsWith(".pdf"_L1, Qt::CaseInsensitive));
}

QString inFolder(const QString &folder, const QString &name)
{
    return folder + (folder.endsWith(u'/') ? u""_s : u"/"_s) + name;
}

/// A job for each of \a images.
QList<BatchJob> separateJobs(const BatchOptions &options, const QList<JobImage> &images, bool toFolder)
{
    QList<BatchJob> jobs;
    UniqueNames names;
    for (const JobImage &image : images) {
        BatchJob job{int(jobs.size()), {image}, options.output, 0};
        if (toFolder) {
            const QString base = nameInFolder(options.nameForm, image.name, job.number + 1);
            job.output = inFolder(options.output, names.nameFor(base) + ".pdf"_L1);
        }
        jobs.append(job);
    }
    return jobs;
}

/// The files that \a jobs read, by their real paths.
QSet<QString> filesRead(const QList<BatchJob> &jobs)
{
    QSet<QString> files;
    for (const BatchJob &job : jobs) {
        for (const JobImage &image : job.images) {
            std::error_code failure;
            const fs::path path = fs::canonical(nativePath(image.name), failure);
            files += failure ? QSet<QString>() : QSet<QString>{nameFromNative(path)};
        }
    }
    return files;
}

/// Refuses to replace the file \a name unless it begins with \a start and may be.
void checkExisting(const QString &name, const QByteArray &start, bool isReplacingAllowed)
{
    std::error_code failure;
    if (!fs::is_regular_file(nativePath(name), failure)) {
        return; // nothing to replace, or an error of its job
    }
    QFile file;
    if (!isReplacingAllowed) {
        throw wrongUse(u"%1 exists already"_s.arg(quoted(name)));
    }
    const QString mistake = openFile(file, name, QIODevice::ReadOnly);
    if (!mistake.isEmpty()) {
        throw wrongUse(u"%1 exists and cannot be read: %2; it is not replaced"_s.arg(quoted(name), mistake));
    }
    if (file.read(start.size()) != start) {
        throw wrongUse(u"%1 exists and is no %2 file; it is not replaced"_s.arg(quoted(name),
                                                                                QString::fromLatin1(start.mid(1, 3))));
    }
}

/// A file to write.
struct Target
{
    QString name;
    QByteArray start; // of a file that it may replace
};

/// The files that \a jobs write with \a options.
QList<Target> targetsOf(const QList<BatchJob> &jobs, const BatchOptions &options)
{
    QList<Target> targets;
    for (const BatchJob &job : jobs) {
        if (!options.dryRun && !job.output.isEmpty() && job.output != "-"_L1) {
            targets.append({job.output, "%PDF-"});
        }
    }
    if (!options.preview.isEmpty()) {
        targets.append({options.preview, "\x89PNG"});
    }
    return targets;
}

/// Refuses \a targets that would overwrite an image of \a jobs, each other, or any file that
/// may not be replaced.
void checkTargets(const QList<Target> &targets, const QList<BatchJob> &jobs, bool isReplacingAllowed)
{
    const QSet<QString> read = targets.isEmpty() ? QSet<QString>() : filesRead(jobs);
    QSet<QString> written;
    for (const Target &target : targets) {
        const QString file = nameFromNative(targetOf(nativePath(target.name)));
        if (read.contains(file)) {
            throw wrongUse(u"%1 is an image to read; it would be overwritten"_s.arg(quoted(target.name)));
        }
        if (written.contains(file)) {
            throw wrongUse(u"%1 would be written twice"_s.arg(quoted(target.name)));
        }
        written.insert(file);
        checkExisting(target.name, target.start, isReplacingAllowed);
    }
}

/// Refuses what \a options ask for if it is impossible with \a images.
void checkUse(const BatchOptions &options, const QStringList &images, bool toFolder, bool isMerged)
{
    if (toFolder && isFile(withoutSlashes(options.output))) {
        throw wrongUse(u"%1 is a file, and a folder is needed"_s.arg(quoted(options.output)));
    }
    if (!toFolder && !options.nameForm.isEmpty()) {
        throw wrongUse(u"--name is for files in a folder"_s);
    }
    if (!isMerged && images.size() > 1 && images.contains(u"-"_s)) {
        throw wrongUse(u"standard input cannot be one of several images with files of their own"_s);
    }
    if (!options.preview.isEmpty() && images.size() > 1) {
        throw wrongUse(u"--preview is for one image"_s);
    }
}

QList<JobImage> withCuts(const QStringList &images, const QString &list)
{
    const QHash<QString, FileCuts> cuts = list.isEmpty() ? QHash<QString, FileCuts>() : readCutList(list);
    QList<JobImage> result;
    for (const QString &image : images) {
        result.append({image, cuts.value(image)});
    }
    return result;
}

} // namespace

BatchPlan planJobs(const BatchOptions &options, const QStringList &images)
{
    const bool toFolder = isToFolder(options, images.size());
    const bool isWriting = !options.dryRun && !options.output.isEmpty();
    const bool isMerged = !toFolder && images.size() > 1 && isWriting;
    checkUse(options, images, toFolder, isMerged);
    const QList<JobImage> found = withCuts(images, options.cutsFrom);
    BatchPlan plan{isMerged ? QList<BatchJob>{{0, found, options.output, 0}} : separateJobs(options, found, toFolder),
                   toFolder ? options.output : QString()};
    checkTargets(targetsOf(plan.jobs, options), plan.jobs, !options.noClobber);
    return plan;
}
