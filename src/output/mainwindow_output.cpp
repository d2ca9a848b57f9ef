#include "app/mainwindow.h"

#include "app/settings.h"
#include "output/previewitem.h"
#include "ui/popup.h"

#include <QFileDialog>
#include <QGraphicsScene>
#include <QPageLayout>
#include <QPageSize>
#include <QPainter>
#include <QPrintDialog>
#include <QPrinter>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// The scale at which the whole of \a page fits \a area.
double fitScale(const QSizeF &page, const QSizeF &area)
{
    return std::min(area.width() / page.width(), area.height() / page.height());
}

/// Whether the user asked for page \a number, counted from 1. A range of 0 and
/// 0 asks for all pages.
bool isWanted(const QPrinter *printer, int number)
{
    return (printer->fromPage() <= number && number <= printer->toPage())
        || printer->fromPage() + printer->toPage() == 0;
}

} // namespace

void MainWindow::onSaveClicked()
{
    const QString path = QFileDialog::getSaveFileName(this, tr("导出到PDF"), rememberedFolder(u"savepath"_s),
                                                      tr("PDF文件(*.pdf)"), nullptr, {});
    if (path.isEmpty()) {
        return;
    }
    rememberFolderOf(path, u"savepath"_s);

    QPrinter printer(QPrinter::HighResolution);
    printer.setPageSize(QPageSize(QPageSize::A4));
    printer.setPageOrientation(QPageLayout::Portrait);
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(path);
    QPainter painter(&printer);
    renderDocument(&painter, &printer);
    painter.end();

    popUp->setPopupText(tr("处理结果已输出至文件") + path);
    popUp->show();
}

void MainWindow::onPrintClicked()
{
    QPrinter printer(QPrinter::ScreenResolution);
    QPrintDialog dialog(&printer, this);
    dialog.setWindowTitle(tr("打印"));
    if (dialog.exec() != QDialog::Accepted) {
        return;
    }
    QPainter painter(&printer);
    renderDocument(&painter, &printer);
    painter.end();
}

void MainWindow::renderDocument(QPainter *painter, QPrinter *printer)
{
    const QSizeF area = painter->viewport().size();
    auto *page = dynamic_cast<PreviewItem *>(currentOutputScene->itemAt(QPointF(1.0, 1.0), QTransform()));
    for (; page != nullptr; page = page->nextPage()) {
        const double scale = fitScale(page->boundingRect().size(), area);
        painter->scale(scale, scale);
        if (isWanted(printer, page->pageNumber() + 1)) {
            page->renderPage(painter);
            if (page->nextPage() != nullptr) {
                printer->newPage(); // also behind a range that ends before the last page
            }
        }
        painter->scale(1.0 / scale, 1.0 / scale);
    }
}
