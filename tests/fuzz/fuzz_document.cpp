#include "batch/batchoptions.h"
#include "batch/picturefile.h"
#include "batch/picturelayout.h"
#include "fuzzing.h"
#include "output/documentitems.h"
#include "output/pagerun.h"
#include "output/previewitem.h"
#include "page/pageitem.h"
#include "pdf/pdfwriter.h"
#include "pixels/blankborders.h"
#include "pixels/imagefile.h"
#include "support/pictures.h"
#include "usedwindow.h"

#include <QBuffer>
#include <QImageReader>
#include <QPainter>
#include <QPrinter>

using namespace Qt::StringLiterals;

namespace {

// What an input may declare, so that it takes milliseconds.
constexpr qint64 mostPixels = 300'000;
constexpr int mostStrips = 60;

constexpr int pagesInPdf = 2;

/// What is done with the picture: the length of the input decides.
struct Choice
{
    CutRule rule = CutRule::Bright;
    bool isTwoColumns = false;
    PageOptions options;
};

Choice choiceOf(size_t size)
{
    Choice choice;
    choice.rule = size % 2 == 0 ? CutRule::Bright : CutRule::Calm;
    choice.isTwoColumns = size / 2 % 2 == 1;
    choice.options.cutRule = choice.rule;
    choice.options.lossless = size / 4 % 2 == 1;
    choice.options.layout = size / 8 % 2 == 1 ? PageLayout::Window : PageLayout::Flow;
    choice.options.columns = 1 + int(choice.isTwoColumns);
    choice.options.trim = size / 16 % 2 == 1;
    choice.options.pageNumbers = size / 32 % 2 == 1;
    choice.options.acceptDamaged = true;
    if (choice.options.layout == PageLayout::Flow && size / 64 % 2 == 1) {
        choice.options.paper = Paper();
        choice.options.columns = 1;
    }
    return choice;
}

/// The chain is complete, and its strips follow each other down to the end of the picture.
/// Regular bands are truncated, so that a row can be missing between two of them.
void requireWholeCover(const QList<PageItem *> &strips, const QPixmap &source)
{
    requireCompleteChain(strips);
    double bottom = 0;
    for (const PageItem *strip : strips) {
        const double gap = strip->sourceRect().top() - bottom;
        require(gap > -0.001 && gap < 1.001, "strips follow each other");
        require(strip->sourceRect().height() > 0, "a strip has a height");
        bottom = strip->sourceRect().bottom();
    }
    require(bottom > source.height() - 0.001, "strips cover the picture");
}

void paintSmall(PreviewItem *page)
{
    const QSizeF size = page->boundingRect().size();
    QImage canvas(90, 127, QImage::Format_RGB32);
    canvas.fill(Qt::gray);
    QPainter painter(&canvas);
    painter.scale(canvas.width() / size.width(), canvas.height() / size.height());
    page->renderPage(&painter);
}

/// As the window exports its pages.
void exportPages(PreviewItem *first)
{
    QPrinter printer(QPrinter::HighResolution);
    setUpForPdf(printer, u"pages.pdf"_s);
    printer.setFromTo(1, pagesInPdf);
    QPainter painter(&printer);
    renderPages(first, &painter, &printer);
    require(painter.end(), "the export succeeds");
}

void useDocument(const QPixmap &source, const Choice &choice)
{
    resetMinAspect();
    resetColumnMaxHeight();
    const OwnedDocumentItems items(makeDocumentItems(source, 10));
    requireWholeCover(items->strips, source);
    placeCuts(items->strips.first(), choice.rule);
    requireWholeCover(items->strips, source);
    const QList<PreviewItem *> &pages = choice.isTwoColumns ? items->twoColumnPages : items->oneColumnPages;
    paintSmall(pages.first());
    paintSmall(pages.last());
    exportPages(pages.first());
}

PdfPicture pdfPicture(const FilePicture &picture, bool isLossless)
{
    if (picture.copied) {
        return {{}, picture.copied, u"title"_s, picture.copied->colorSpace()};
    }
    return {picture.image, isLossless ? JpegBands::read(picture.jpeg) : nullptr, u"title"_s};
}

/// As the batch program converts a file.
void convert(const QString &path, const Choice &choice)
{
    try {
        const PictureFile file(path);
        PictureUse use;
        use.isDamageAccepted = choice.options.acceptDamaged;
        use.mayStayPacked =
            choice.options.lossless && !choice.options.trim && choice.options.layout == PageLayout::Flow;
        FilePicture picture = file.read(0, use);
        if (choice.options.trim) {
            trim(picture);
        }
        const LaidOutPicture laidOut = layOut(picture, choice.options, std::nullopt, 1);
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        PdfOptions pdf;
        pdf.lossless = choice.options.lossless;
        pdf.threads = 1;
        PdfWriter writer(&buffer, pdf);
        writer.addPicture(pdfPicture(picture, choice.options.lossless),
                          laidOut.sheets.first(std::min<qsizetype>(laidOut.sheets.size(), pagesInPdf)));
        writer.finish();
        require(buffer.data().startsWith("%PDF-"), "a PDF file is written");
    } catch (const BatchError &) {
        // The file is refused.
    }
}

} // namespace

/// The way of an image through the program without a window: file, strips, cuts, pages in
/// a picture, trim, and the PDF files of the window and of the batch program.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString path = savedBytes(bytesOf(data, size), u"input"_s);
    if (!isQuick(QImageReader(path).size(), mostPixels, mostStrips)) {
        return 0;
    }
    const Choice choice = choiceOf(size);
    const QPixmap source = decodeImageFile(path);
    if (!source.isNull() && isLargeEnough(source.size())) {
        useDocument(source, choice);
        const std::optional<QPixmap> trimmed = withoutBlankBorders(source);
        if (trimmed && trimmed->size() != source.size() && isLargeEnough(trimmed->size())) {
            useDocument(*trimmed, choice);
        }
    }
    convert(path, choice);
    return 0;
}
