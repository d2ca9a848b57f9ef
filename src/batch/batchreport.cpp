#include "batch/batchreport.h"

#include "batch/filename.h"

#include <algorithm>
#include <cerrno>

#ifdef Q_OS_UNIX
#include <sys/ioctl.h>
#include <unistd.h>
#endif

using namespace Qt::StringLiterals;

namespace {

constexpr int writeFailure = int(BatchFailure::Unwritable);
constexpr qint64 progressInterval = 100; // milliseconds between updates of the progress line

// The share of the work below which there is no estimate of the time left.
constexpr double smallestShare = 0.01;

QString pagesText(int pages)
{
    return pages == 1 ? u"1 page"_s : u"%1 pages"_s.arg(pages);
}

QString listed(const QList<int> &rows)
{
    QStringList numbers;
    for (const int row : rows) {
        numbers.append(QString::number(row));
    }
    return numbers.isEmpty() ? u"none"_s : numbers.join(u", "_s);
}

QString cutsText(const PictureFacts &facts)
{
    QString text = u"cuts: %1"_s.arg(listed(facts.cuts));
    if (facts.through && !facts.through->isEmpty()) {
        text += u"; through content: %1"_s.arg(listed(*facts.through));
    }
    if (facts.offset > 0) {
        text += u"; counted from row %1 of the image"_s.arg(facts.offset);
    }
    return text;
}

QString remarkText(const PictureFacts &facts)
{
    return facts.remark.isEmpty() ? QString() : u" (%1)"_s.arg(facts.remark);
}

} // namespace

QString timeLeft(qint64 elapsed, double share)
{
    if (share < smallestShare || share >= 1) {
        return {};
    }
    const auto seconds = qint64(double(elapsed) / 1000 * (1 - share) / share + 0.5);
    if (seconds >= 3600) {
        return u"%1 h %2 min left"_s.arg(seconds / 3600).arg(seconds / 60 % 60);
    }
    return seconds >= 60 ? u"%1 min %2 s left"_s.arg(seconds / 60).arg(seconds % 60) : u"%1 s left"_s.arg(seconds);
}

ProgressPlace ProgressPlace::of([[maybe_unused]] std::FILE *stream)
{
    ProgressPlace place;
#ifdef Q_OS_UNIX
    const QByteArray terminal = qgetenv("TERM");
    if (::isatty(::fileno(stream)) == 1 && !terminal.isEmpty() && terminal != "dumb") {
        place.kind = Terminal;
        winsize size{};
        place.width = ::ioctl(::fileno(stream), TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
    }
#endif
    return place; // elsewhere the console may not understand control sequences
}

BatchReport::BatchReport(const BatchOptions &options, int files, std::FILE *outputStream, std::FILE *errorStream,
                         const ProgressPlace &place)
    : output(outputStream)
    , errors(errorStream)
    , json(options.json)
    , quiet(options.quiet)
    , dryRun(options.dryRun)
    , progressPlace(place)
    , fileCount(files)
{
    timer.start();
}

void BatchReport::report(const BatchJob &job, const BatchEvent &event)
{
    count(job, event);
    if (json) {
        reportInJson(job, event);
    }
    if (const auto *failed = std::get_if<JobFailed>(&event)) {
        reportFailure(job, *failed);
    } else if (const auto *done = std::get_if<JobDone>(&event)) {
        reportInText(job, *done);
    } else if (const auto *picture = std::get_if<PictureDone>(&event)) {
        reportInText(*picture);
    }
    showProgress();
}

int BatchReport::finish()
{
    hideProgress();
    if (json) {
        write(output,
              jsonLine({{u"event"_s, u"end"_s},
                        {u"files"_s, fileCount},
                        {u"done"_s, filesDone},
                        {u"failed"_s, filesFailed},
                        {u"pages"_s, pagesDone},
                        {u"seconds"_s, double(timer.elapsed()) / 1000},
                        {u"exit"_s, exitCode}}));
    } else if (fileCount > 1 && !quiet) {
        const QString failures = filesFailed > 0 ? u", %1 failed"_s.arg(filesFailed) : QString();
        write(output,
              u"%1 of %2 files done, %3%4\n"_s.arg(filesDone)
                  .arg(fileCount)
                  .arg(pagesText(pagesDone), failures)
                  .toUtf8());
    }
    if (std::fflush(output) != 0 || std::ferror(output) != 0) {
        write(errors, "quillmarch-batch: cannot write to the standard output\n");
        exitCode = std::max(exitCode, writeFailure);
    }
    return exitCode;
}

void BatchReport::reportInJson(const BatchJob &job, const BatchEvent &event)
{
    const bool isInternal = std::holds_alternative<JobBegun>(event) || std::holds_alternative<FileBegun>(event);
    if (isInternal || (quiet && std::holds_alternative<PageDone>(event))) {
        return;
    }
    QJsonObject object = toJson(event);
    if (job.images.size() == 1) {
        object.insert(u"image"_s, job.images.first().name);
    } else if (std::holds_alternative<JobDone>(event)) {
        object.insert(u"images"_s, job.images.size());
    }
    if (!job.output.isEmpty()) {
        object.insert(u"output"_s, job.output);
    }
    write(output, jsonLine(object));
}

void BatchReport::reportInText(const BatchJob &job, const JobDone &done)
{
    if (json || quiet) {
        return;
    }
    const qsizetype count = job.images.size();
    QString line = count == 1 ? printable(job.images.first().name) : u"%1 images"_s.arg(count);
    line += dryRun || job.output.isEmpty() ? QString() : u" -> "_s + printable(job.output);
    line += u": "_s + pagesText(done.pages);
    if (done.picture) {
        line += dryRun ? u"; "_s + cutsText(*done.picture) : QString();
        line += remarkText(*done.picture);
    }
    write(output, line.toUtf8() + '\n');
}

/// Reports one of several pictures, if there is something to say.
void BatchReport::reportInText(const PictureDone &picture)
{
    const PictureFacts &facts = picture.facts;
    if (json || quiet || (!dryRun && facts.remark.isEmpty())) {
        return;
    }
    const QString cuts = dryRun ? u"; "_s + cutsText(facts) : QString();
    const QString line = u"%1, picture %2: %3%4%5\n"_s.arg(printable(picture.image), QString::number(facts.index + 1),
                                                           pagesText(facts.pages), cuts, remarkText(facts));
    write(output, line.toUtf8());
}

void BatchReport::reportFailure(const BatchJob &job, const JobFailed &failed)
{
    const QString only = job.images.size() == 1 ? job.images.first().name : QString();
    const QString &name = failed.image.isEmpty() ? only : failed.image;
    const QString about = name.isEmpty() ? QString() : printable(name) + u": "_s;
    write(errors, u"quillmarch-batch: %1%2\n"_s.arg(about, printable(failed.text)).toUtf8());
}

void BatchReport::count(const BatchJob &job, const BatchEvent &event)
{
    Progress &progress = running[job.number];
    pictureCounts[job.number] = int(job.images.size());
    if (const auto *page = std::get_if<PageDone>(&event)) {
        progress.page = page->page;
        progress.pages = page->pages;
    } else if (std::holds_alternative<PictureDone>(event)) {
        progress = {progress.pictures + 1, 0, 0};
    } else if (const auto *done = std::get_if<JobDone>(&event)) {
        ++filesDone;
        pagesDone += done->pages;
        running.remove(job.number);
    } else if (const auto *failed = std::get_if<JobFailed>(&event)) {
        ++filesFailed;
        exitCode = std::max(exitCode, int(failed->failure));
        running.remove(job.number);
    }
}

void BatchReport::write(std::FILE *stream, const QByteArray &bytes)
{
    hideProgress();
    errno = 0;
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream);
    std::fflush(stream);
    pipeClosed = pipeClosed || (stream == output && errno == EPIPE);
}

void BatchReport::showProgress()
{
    const qint64 now = timer.elapsed();
    const bool isTerminal = progressPlace.kind == ProgressPlace::Terminal;
    const qint64 interval = isTerminal ? (isProgressShown ? progressInterval : 0) : progressPlace.lineInterval;
    if (quiet || now - lastShown < interval || (!isTerminal && fileCount == 1)) {
        return;
    }
    lastShown = now;
    if (!isTerminal) {
        write(errors, progressText(now).toUtf8() + '\n');
        return;
    }
    QString line = progressText(now);
    line.truncate(progressPlace.width > 1 ? progressPlace.width - 1 : line.size()); // a longer one would wrap
    std::fprintf(errors, "\r\033[K%s", qPrintable(line));
    std::fflush(errors);
    isProgressShown = true;
}

void BatchReport::hideProgress()
{
    if (isProgressShown) {
        std::fputs("\r\033[K", errors);
        std::fflush(errors);
        isProgressShown = false;
    }
}

QString BatchReport::progressText(qint64 now) const
{
    const int files = filesDone + filesFailed;
    int pages = pagesDone;
    for (const Progress &progress : running) {
        pages += progress.page;
    }
    QStringList parts{u"%1 of %2 files"_s.arg(files).arg(fileCount), pagesText(pages)};
    if (files > 1 && now > 0) {
        parts.append(u"%1 files/s"_s.arg(1000.0 * files / double(now), 0, 'f', 1));
    }
    const QString rest = timeLeft(now, finishedShare());
    return (rest.isEmpty() ? parts : parts << rest).join(u", "_s);
}

double BatchReport::finishedShare() const
{
    double files = filesDone + filesFailed;
    for (auto job = running.begin(); job != running.end(); ++job) {
        const double pictures = job->pictures + double(job->page) / std::max(job->pages, 1);
        files += std::min(1.0, pictures / std::max(pictureCounts.value(job.key()), 1));
    }
    return files / fileCount;
}
