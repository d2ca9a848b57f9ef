#include "output/pagerun.h"

#include "output/pagelayout.h"
#include "output/previewitem.h"
#include "page/pageitem.h"

#include <QPageLayout>
#include <QPageSize>
#include <QPainter>
#include <QPrinter>

void setUpForPdf(QPrinter &printer, const QString &path)
{
    printer.setPageSize(QPageSize(QPageSize::A4));
    printer.setPageOrientation(QPageLayout::Portrait);
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(path);
}

void renderPages(PreviewItem *first, QPainter *painter, QPrinter *printer, const std::function<void(int)> &drawn)
{
    const QSizeF area = painter->viewport().size();
    for (PreviewItem *page = first; page != nullptr; page = page->nextPage()) {
        const double scale = fitScale(page->boundingRect().size(), area);
        painter->scale(scale, scale);
        if (isPageWanted(page->pageNumber() + 1, printer->fromPage(), printer->toPage())) {
            page->renderPage(painter);
            if (drawn) {
                drawn(page->pageNumber());
            }
            if (page->nextPage() != nullptr) {
                printer->newPage(); // also behind a range that ends before the last page
            }
        }
        painter->scale(1.0 / scale, 1.0 / scale);
    }
    if (first != nullptr) {
        first->shownStrips().first()->freeConvertedRows();
    }
}
