#pragma once

#include "app/mainwindow.h"
#include "downloaddialogview.h"

#include <QApplication>
#include <QPushButton>
#include <QTimer>

#include <functional>

/// Opens the download dialog of \a window by a click in the status bar, and
/// calls \a drive while it is open. Closes the dialog afterwards, should
/// \a drive have left it open. Returns false if no dialog came.
inline bool driveDownloadDialog(MainWindow &window, const std::function<void(DownloadUpdateDialog &)> &drive)
{
    bool came = false;
    QTimer::singleShot(0, &window, [&] {
        QWidget *modal = QApplication::activeModalWidget();
        if (auto *dialog = qobject_cast<DownloadUpdateDialog *>(modal)) {
            came = true;
            drive(*dialog);
        }
        if (modal) {
            modal->close();
        }
    });
    window.findChild<QPushButton *>(QStringLiteral("updateButton"))->click();
    return came;
}
