#include "batch/batchreport.h"

#include <algorithm>

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

/// The cuts of \a event as text.
QString cutsText(const BatchEvent &event)
{
    QString text = u"cuts: %1"_s.arg(listed(event.cuts));
    if (event.through && !event.through->isEmpty()) {
        text += u"; through content: %1"_s.arg(listed(*event.through));
    }
    if (event.offset > 0) {
        text += u"; counted from row %1 of the image"_s.arg(event.offset);
    }
    return text;
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

QString printable(const QString &text)
{
    QString result = text;
    for (QChar &character : result) {
        if (character.category() == QChar::Other_Control) {
            character = u'?';
        }
    }
    return result;
}

BatchReport::BatchReport(const BatchOptions &options, int files, std::FILE *outputStream, std::FILE *errorStream,
                         bool isTerminal)
    : output(outputStream)
    , errors(errorStream)
    , json(options.json)
    , quiet(options.quiet)
    , onTerminal(isTerminal)
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
    reportInText(job, event);
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
    const bool isStep = event.kind == BatchEvent::Kind::Writing || (event.kind == BatchEvent::Kind::Page && quiet);
    if (!isStep) {
        QJsonObject object = toJson(event);
        object.insert(u"image"_s, job.image);
        if (!job.output.isEmpty()) {
            object.insert(u"output"_s, job.output);
        }
        write(output, jsonLine(object));
    }
}

void BatchReport::reportInText(const BatchJob &job, const BatchEvent &event)
{
    if (event.kind == BatchEvent::Kind::Failed) {
        write(errors, u"quillmarch-batch: %1: %2\n"_s.arg(printable(job.image), printable(event.text)).toUtf8());
    } else if (event.kind == BatchEvent::Kind::Done && !json && !quiet) {
        const QString remark = event.text.isEmpty() ? QString() : u" (%1)"_s.arg(event.text);
        const QString cuts = job.dryRun ? u"; "_s + cutsText(event) : QString();
        const QString target = job.dryRun ? QString() : u" -> "_s + printable(job.output);
        write(output,
              u"%1%2: %3%4%5\n"_s.arg(printable(job.image), target, pagesText(event.pages), cuts, remark).toUtf8());
    }
}

void BatchReport::count(const BatchJob &job, const BatchEvent &event)
{
    switch (event.kind) {
    case BatchEvent::Kind::Writing:
        break;
    case BatchEvent::Kind::Page:
        running.insert(job.output, {event.page, event.pages});
        break;
    case BatchEvent::Kind::Done:
        ++filesDone;
        pagesDone += event.pages;
        running.remove(job.output);
        break;
    case BatchEvent::Kind::Failed:
        ++filesFailed;
        exitCode = std::max(exitCode, int(event.failure));
        running.remove(job.output);
        break;
    }
}

void BatchReport::write(std::FILE *stream, const QByteArray &bytes)
{
    hideProgress();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream);
    std::fflush(stream);
}

void BatchReport::showProgress()
{
    const qint64 now = timer.elapsed();
    if (!onTerminal || quiet || (isProgressShown && now - lastShown < progressInterval)) {
        return;
    }
    int pages = pagesDone;
    for (const auto &[drawn, all] : std::as_const(running)) {
        pages += drawn;
    }
    QString line = u"%1 of %2 files, %3"_s.arg(filesDone + filesFailed).arg(fileCount).arg(pagesText(pages));
    const QString rest = timeLeft(now, finishedShare());
    line += rest.isEmpty() ? QString() : u", %1"_s.arg(rest);
    std::fprintf(errors, "\r\033[K%s", qPrintable(line));
    std::fflush(errors);
    lastShown = now;
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

double BatchReport::finishedShare() const
{
    double files = filesDone + filesFailed;
    for (const auto &[drawn, all] : running) {
        files += double(drawn) / std::max(all, 1);
    }
    return files / fileCount;
}
