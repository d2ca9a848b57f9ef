#pragma once

#include "app/mainwindow.h"
#include "downloaddialogview.h"
#include "support/dialoganswer.h"

#include <functional>

/// Opens the download dialog of \a window by a click in the status bar, and
/// calls \a drive while it is open. Closes the dialog afterwards. Returns false
/// if no dialog opened.
inline bool driveDownloadDialog(MainWindow &window, const std::function<void(DownloadUpdateDialog &)> &drive)
{
    const NextDialog next =
        onNextDialog<DownloadUpdateDialog>([&drive](DownloadUpdateDialog *dialog) { drive(*dialog); });
    childOf<QPushButton>(window, "updateButton")->click();
    return next.wasMet();
}
