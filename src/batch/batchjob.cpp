#include "batch/batchjob.h"

#include "base/buildconfig.h"
#include "batch/filename.h"
#include "batch/partfile.h"
#include "batch/picturefile.h"
#include "batch/picturelayout.h"
#include "batch/preview.h"
#include "pdf/pdfwriter.h"

#include <QElapsedTimer>

#include <cstdio>
#include <memory>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

/// \a name without folders, as a title.
QString titleOf(const QString &name)
{
    return printable(name.mid(name.lastIndexOf(u'/') + 1));
}

/// The cuts of the picture \a index of \a image that the user has asked for, if any.
std::optional<QList<int>> cutsOf(const JobImage &image, int index)
{
    const auto cuts = image.cuts.constFind(index);
    return cuts == image.cuts.constEnd() ? std::nullopt : std::optional(*cuts);
}

/// The file that a job writes: a part file, or standard output.
class JobOutput
{
public:
    explicit JobOutput(const QString &name)
    {
        if (name != "-"_L1) {
            part.emplace(name);
        } else if (!standard.open(stdout, QIODevice::WriteOnly)) {
            throw BatchError(BatchFailure::Unwritable, standard.errorString());
        }
    }

    QFile &device() { return part ? part->device() : standard; }
    QString path() const { return part ? part->name() : QString(); }

    /// Returns the size of the file.
    qint64 commit()
    {
        if (!device().flush()) {
            throw BatchError(BatchFailure::Unwritable, device().errorString());
        }
        const qint64 size = part ? device().size() : 0;
        if (part) {
            part->commit();
        }
        return size;
    }

private:
    std::optional<PartFile> part;
    QFile standard;
};

/// One job while it runs.
class JobRun
{
public:
    JobRun(const BatchJob &batchJob, const BatchOptions &batchOptions, const EventSink &eventSink)
        : job(batchJob)
        , options(batchOptions)
        , sink(eventSink)
    {
    }

    JobDone run();

    /// The image that is being read, for an error message; empty while it is written.
    QString current;

private:
    void convertFile(const JobImage &image);
    void convertPicture(const PictureFile &file, const JobImage &image, int index);
    void write(const FilePicture &picture, const LaidOutPicture &laidOut, const QString &name);
    void beginOutput();
    PictureUse pictureUse() const;
    PdfPicture pdfPicture(const FilePicture &picture, const QString &title) const;
    bool isWriting() const { return !options.dryRun && !job.output.isEmpty(); }

    const BatchJob &job;
    const BatchOptions &options;
    const EventSink &sink;
    std::optional<JobOutput> output;
    std::unique_ptr<PdfWriter> writer;
    int pages = 0;
    QList<PictureDone> pictures;
};

JobDone JobRun::run()
{
    QElapsedTimer timer;
    timer.start();
    for (const JobImage &image : job.images) {
        current = image.name;
        convertFile(image);
    }
    current.clear();
    qint64 bytes = 0;
    if (writer) {
        writer->finish();
        bytes = output->commit();
    }
    JobDone done{pages, bytes, double(timer.elapsed()) / 1000, std::nullopt};
    if (pictures.size() == 1) {
        done.picture = pictures.first().facts;
    }
    return done;
}

void JobRun::convertFile(const JobImage &image)
{
    const PictureFile file(image.name);
    if (!image.cuts.isEmpty() && image.cuts.lastKey() >= file.count()) {
        throw BatchError(
            BatchFailure::Unreadable,
            u"there are cuts of picture %1, but the image has %2"_s.arg(image.cuts.lastKey() + 1).arg(file.count()));
    }
    for (int i = 0; i < file.count(); ++i) {
        convertPicture(file, image, i);
        if (job.images.size() > 1 || file.count() > 1) {
            sink(pictures.last());
        }
    }
}

void JobRun::convertPicture(const PictureFile &file, const JobImage &image, int index)
{
    FilePicture picture = file.read(index, pictureUse());
    if (options.pages.trim) {
        trim(picture);
    }
    LaidOutPicture laidOut = layOut(picture, options.pages, cutsOf(image, index), pages + 1);
    laidOut.facts.index = index;
    laidOut.facts.offset = picture.offset;
    laidOut.facts.remark = picture.remarks.join(u"; "_s);
    if (!options.preview.isEmpty() && index == 0) {
        writePreview(picture.image, laidOut.facts.cuts, options.preview);
    }
    if (isWriting()) {
        write(picture, laidOut, image.name);
    }
    pages += laidOut.facts.pages;
    pictures.append({image.name, laidOut.facts});
}

PictureUse JobRun::pictureUse() const
{
    const bool looksEverywhere =
        options.pages.trim || !options.preview.isEmpty() || options.pages.layout == PageLayout::Window;
    PictureUse use;
    use.isDamageAccepted = options.pages.acceptDamaged;
    use.mayStayPacked = isWriting() && options.pages.lossless && !looksEverywhere;
    use.threads = job.threads == 1 ? DecodeThreads::One : decodeThreads();
    return use;
}

PdfPicture JobRun::pdfPicture(const FilePicture &picture, const QString &title) const
{
    if (picture.copied) {
        return {{}, picture.copied, title, picture.copied->colorSpace()};
    }
    const bool isCopied = options.pages.lossless && !picture.jpeg.isEmpty();
    return {picture.image, isCopied ? JpegBands::read(picture.jpeg) : nullptr, title, picture.image.colorSpace()};
}

void JobRun::write(const FilePicture &picture, const LaidOutPicture &laidOut, const QString &name)
{
    const QString reading = std::exchange(current, QString());
    beginOutput();
    writer->addPicture(pdfPicture(picture, titleOf(name)), laidOut.sheets, [&](int index) {
        sink(PageDone{index + 1, laidOut.facts.pages});
    });
    current = reading;
}

void JobRun::beginOutput()
{
    if (writer) {
        return;
    }
    output.emplace(job.output);
    sink(FileBegun{output->path()});
    PdfOptions pdf;
    pdf.lossless = options.pages.lossless;
    pdf.quality = options.pages.quality;
    pdf.title = options.pages.title.isEmpty() && job.images.size() == 1 ? titleOf(job.images.first().name)
                                                                        : options.pages.title;
    pdf.threads = job.threads;
    writer = std::make_unique<PdfWriter>(&output->device(), pdf);
}

/// The failure \a error of \a run.
JobFailed failureOf(const BatchError &error, const JobRun &run, const BatchJob &job)
{
    const bool isWriting = error.failure == BatchFailure::Unwritable && run.current.isEmpty();
    const QString text = isWriting ? u"cannot write \"%1\": %2"_s.arg(printable(job.output), error.text) : error.text;
    return {error.failure, text, run.current};
}

} // namespace

void runJob(const BatchJob &job, const BatchOptions &options, const EventSink &sink)
{
    JobRun run(job, options, sink);
    try {
        sink(run.run());
    } catch (const BatchError &error) {
        sink(failureOf(error, run, job));
    } catch (const PdfError &error) {
        sink(failureOf({BatchFailure::Unwritable, error.reason()}, run, job));
    }
}
