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
BatchEvent decodeError(const QString &path)
{
    const QFileInfo file(path);
    if (!file.exists()) {
        return failedEvent(BatchFailure::Unreadable, u"cannot read image: no such file"_s);
    }
    if (!file.isFile()) {
        return failedEvent(BatchFailure::Unreadable, u"cannot read image: not a regular file"_s);
    }
    if (!file.isReadable()) {
        return failedEvent(BatchFailure::Unreadable, u"cannot read image: permission denied"_s);
    }
    if (path.endsWith(".pdf"_L1, Qt::CaseInsensitive)) {
        return failedEvent(BatchFailure::Unreadable, u"cannot read image: PDF files are not supported"_s);
    }
    const QSize size = QImageReader(path).size();
    // Reserves address space for an image of that size, but writes nothing into it.
    if (size.isValid() && !size.isEmpty() && QImage(size, QImage::Format_RGB32).isNull()) {
        return failedEvent(BatchFailure::TooLarge,
                           u"too large: %1 x %2 pixels do not fit into memory"_s.arg(size.width()).arg(size.height()));
    }
    return failedEvent(BatchFailure::Unreadable, u"cannot read image: unsupported format or corrupted file"_s);
}

/// The image to cut.
struct PageSource
{
    QPixmap pixmap;
    int offset = 0; ///< its first row in the whole image
    QString remark; ///< why it was not trimmed, or empty
};

/// \a image without its blank border; unchanged if too little would be left.
PageSource trimmedOrWhole(const QPixmap &image)
{
    int topRow = 0;
    const std::optional<QPixmap> trimmed = withoutBlankBorders(image, &topRow);
    if (!trimmed) {
        return {image, 0, u"nothing to trim"_s};
    }
    if (!isLargeEnough(trimmed->size())) {
        return {image, 0, u"not trimmed: too little would be left"_s};
    }
    return {*trimmed, topRow, {}};
}

/// The strips and pages of one image. Only one object may exist at a time.
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
            placeCuts(items->strips.first(), options.cutRule);
        }
        if (showPageNumbers() != options.pageNumbers) {
            pages.first()->togglePageNumbers();
        }
    }

    PreviewItem *firstPage() const { return pages.first(); }
    int pageCount() const { return int(pages.size()); }
    const QList<PageItem *> &strips() const { return items->strips; }

private:
    OwnedDocumentItems items;
    QList<PreviewItem *> pages; // of the chosen layout
};

int cutBelow(const PageItem *strip)
{
    return qRound(strip->sourceRect().bottom());
}

/// The end of a job, with the pages and cuts of \a document.
BatchEvent doneEvent(const BatchDocument &document, const PageOptions &options)
{
    BatchEvent event;
    event.kind = BatchEvent::Kind::Done;
    event.pages = document.pageCount();
    QList<int> through;
    for (const PageItem *strip : document.strips()) {
        if (strip->nextItem() != nullptr) {
            event.cuts.append(cutBelow(strip));
        }
        if (strip->isCutThroughContent()) {
            through.append(cutBelow(strip));
        }
    }
    if (options.autoCut && options.cutRule == CutRule::Calm) {
        event.through = through;
    }
    return event;
}

/// Writes the pages of \a document to the file \a path. Returns the error message,
/// or an empty string.
QString writePages(const BatchDocument &document, const QString &path, bool lossless, const EventSink &sink)
{
    QPrinter printer(QPrinter::HighResolution);
    setUpForPdf(printer, path);
    QPainter painter;
    if (!painter.begin(&printer)) {
        return u"cannot open the file"_s;
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
    const QString mistake = pdfError(path, document.pageCount());
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
    event = doneEvent(document, job.pages);
    event.bytes = QFileInfo(job.output).size();
    return event;
}

BatchEvent outcome(const BatchJob &job, const EventSink &sink)
{
    PageSource source{decodeImageFile(job.image), 0, {}};
    if (source.pixmap.isNull()) {
        return decodeError(job.image);
    }
    if (!isLargeEnough(source.pixmap.size())) {
        return failedEvent(
            BatchFailure::Unreadable,
            u"cannot read image: too small: %1 x %2 pixels"_s.arg(source.pixmap.width()).arg(source.pixmap.height()));
    }
    if (job.pages.trim) {
        source = trimmedOrWhole(source.pixmap);
    }
    const BatchDocument document(source.pixmap, job.pages);
    BatchEvent event = job.dryRun ? doneEvent(document, job.pages) : writeOutput(document, job, sink);
    if (event.kind == BatchEvent::Kind::Done) {
        event.offset = source.offset;
        event.text = source.remark;
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
