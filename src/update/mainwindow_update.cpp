#include "app/mainwindow.h"

#include <QMessageBox>

void MainWindow::showUpdateDialog()
{
    if (!updateKnown) {
        QMessageBox::information(this, tr("检查更新"), tr("当前已是最新版本"));
    }
}
