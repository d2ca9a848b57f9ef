#include "app/mainwindow.h"

#include "app/settings.h"
#include "output/pagerun.h"
#include "output/previewitem.h"
#include "ui/busypointer.h"
#include "ui/popup.h"

#include <QFileDialog>
#include <QGraphicsScene>
#include <QPainter>
#include <QPrintDialog>
#include <QPrinter>

#include <optional>

using namespace Qt::StringLiterals;

void MainWindow::onSaveClicked()
{
    const QString path = QFileDialog::getSaveFileName(this, tr("导出到PDF"), rememberedFolder(u"savepath"_s),
                                                      tr("PDF文件(*.pdf)"), nullptr, {});
    if (path.isEmpty()) {
        return;
    }
    rememberFolderOf(path, u"savepath"_s);

    std::optional<BusyPointer> busy(std::in_place);
    QPrinter printer(QPrinter::HighResolution);
    setUpForPdf(printer, path);
    QPainter painter(&printer);
    renderDocument(&painter, &printer);
    painter.end();
    busy.reset();

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
    const BusyPointer busy;
    QPainter painter(&printer);
    renderDocument(&painter, &printer);
    painter.end();
}

void MainWindow::renderDocument(QPainter *painter, QPrinter *printer)
{
    renderPages(dynamic_cast<PreviewItem *>(currentOutputScene->itemAt(QPointF(1.0, 1.0), QTransform())), painter,
                printer);
}
