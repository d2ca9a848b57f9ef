#include "batch/batchjob.h"

#include "batch/finishedpdf.h"
#include "batch/partfile.h"
#include "output/documentitems.h"
#include "output/pagerun.h"
#include "output/previewitem.h"
#include "page/pageitem.h"
#include "pixels/blankborders.h"
#include "pixels/imagefile.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QImageReader>
#include <QPainter>
#include <QPrinter>

using namespace Qt::StringLiterals;

namespace {

BatchEvent unwritten(const QString &path, const QString &reason)
{
    return failedEvent(BatchFailure::Unwritable, u"cannot write \"%1\": %2"_s.arg(path, reason));
}

/// Why the image \a path was not decoded.
BatchEvent whyUndecoded(const QString &path)
{
    const QFileInfo file(path);
    if (!file.exists()) {
        return failedEvent(BatchFailure::Unreadable, u"there is no such file"_s);
    }
    if (!file.isFile()) {
        return failedEvent(BatchFailure::Unreadable, u"that is no file"_s);
    }
    if (!file.isReadable()) {
        return failedEvent(BatchFailure::Unreadable, u"reading it is not permitted"_s);
    }
    if (path.endsWith(".pdf"_L1, Qt::CaseInsensitive)) {
        return failedEvent(BatchFailure::Unreadable, u"PDF files are not read"_s);
    }
    const QSize size = QImageReader(path).size();
    // Takes room for an image of that size, but no memory: nothing is written into it.
    if (size.isValid() && !size.isEmpty() && QImage(size, QImage::Format_RGB32).isNull()) {
        return failedEvent(BatchFailure::TooLarge,
                           u"too large: %1 x %2 pixels do not fit the memory"_s.arg(size.width()).arg(size.height()));
    }
    return failedEvent(BatchFailure::Unreadable, u"unsupported image format or corrupted file"_s);
}

/// \a source without its blank border; as it is if there is nothing to keep
/// behind, or too little. \a remark says so then.
QPixmap trimmedOrWhole(const QPixmap &source, QString &remark)
{
    const std::optional<QPixmap> trimmed = withoutBlankBorders(source);
    if (!trimmed) {
        remark = u"nothing to trim"_s;
        return source;
    }
    if (!isLargeEnough(trimmed->size())) {
        remark = u"not trimmed: too little would be left"_s;
        return source;
    }
    return *trimmed;
}

/// The strips and pages of one image. There may be one at a time.
class BatchDocument
{
public:
    BatchDocument(const QPixmap &source, const PageOptions &options)
        : items(makeDocumentItems(source, unsigned(options.marginPercent)))
        , pages(options.columns == 1 ? items->oneColumnPages : items->twoColumnPages)
    {
        resetMinAspect();
        resetColumnMaxHeight();
        if (options.autoCut) {
            placeCuts(items->strips.first());
        }
        if (showPageNumbers() != options.pageNumbers) {
            pages.first()->togglePageNumbers();
        }
    }

    PreviewItem *firstPage() const { return pages.first(); }
    int pageCount() const { return int(pages.size()); }

private:
    OwnedDocumentItems items;
    QList<PreviewItem *> pages; // of the chosen layout
};

/// Writes the pages of \a document to the file \a path. Returns what went wrong,
/// or an empty text.
QString writePages(const BatchDocument &document, const QString &path, bool lossless, const EventSink &sink)
{
    QPrinter printer(QPrinter::HighResolution);
    setUpForPdf(printer, path);
    QPainter painter;
    if (!painter.begin(&printer)) {
        return u"it cannot be opened"_s;
    }
    painter.setRenderHint(QPainter::LosslessImageRendering, lossless);
    renderPages(document.firstPage(), &painter, &printer, [&](int number) {
        BatchEvent event;
        event.kind = BatchEvent::Kind::Page;
        event.page = number + 1;
        event.pages = document.pageCount();
        sink(event);
    });
    painter.end();
    const QString mistake = pdfMistake(path, document.pageCount());
    return mistake.isEmpty() ? QString() : u"%1; is the disk full?"_s.arg(mistake);
}

BatchEvent writeOutput(const BatchDocument &document, const BatchJob &job, const EventSink &sink)
{
    PartFile part(job.output);
    if (part.path().isEmpty()) {
        return unwritten(job.output, part.error());
    }
    BatchEvent event;
    event.kind = BatchEvent::Kind::Writing;
    event.text = part.path();
    sink(event);

    const QString mistake = writePages(document, part.path(), job.pages.lossless, sink);
    if (!mistake.isEmpty()) {
        return unwritten(job.output, mistake);
    }
    if (!part.commit()) {
        return unwritten(job.output, part.error());
    }
    event.kind = BatchEvent::Kind::Done;
    event.pages = document.pageCount();
    event.bytes = QFileInfo(job.output).size();
    return event;
}

BatchEvent outcome(const BatchJob &job, const EventSink &sink)
{
    QPixmap source = decodeImageFile(job.image);
    if (source.isNull()) {
        return whyUndecoded(job.image);
    }
    if (!isLargeEnough(source.size())) {
        return failedEvent(BatchFailure::Unreadable,
                           u"too small: %1 x %2 pixels"_s.arg(source.width()).arg(source.height()));
    }
    QString remark;
    if (job.pages.trim) {
        source = trimmedOrWhole(source, remark);
    }
    BatchEvent event = writeOutput(BatchDocument(source, job.pages), job, sink);
    if (event.kind == BatchEvent::Kind::Done) {
        event.text = remark;
    }
    return event;
}

} // namespace

void runJob(const BatchJob &job, const EventSink &sink)
{
    QElapsedTimer timer;
    timer.start();
    BatchEvent event = outcome(job, sink);
    event.seconds = double(timer.elapsed()) / 1000;
    sink(event);
}
