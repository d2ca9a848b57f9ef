#include "app/mainwindow.h"

#include "app/settings.h"
#include "output/pagelayout.h"
#include "output/previewitem.h"
#include "ui/popup.h"

#include <QFileDialog>
#include <QGraphicsScene>
#include <QPageLayout>
#include <QPageSize>
#include <QPainter>
#include <QPrintDialog>
#include <QPrinter>

using namespace Qt::StringLiterals;

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
        if (isPageWanted(page->pageNumber() + 1, printer->fromPage(), printer->toPage())) {
            page->renderPage(painter);
            if (page->nextPage() != nullptr) {
                printer->newPage(); // also behind a range that ends before the last page
            }
        }
        painter->scale(1.0 / scale, 1.0 / scale);
    }
}
