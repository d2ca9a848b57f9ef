#include "app/mainwindow.h"

#include "pixels/blankborders.h"
#include "ui/busypointer.h"
#include "ui/popup.h"

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace {

constexpr auto localPrefix = "file:///"_L1;

#ifdef Q_OS_WIN
constexpr qsizetype pathStart = localPrefix.size();
#else
constexpr qsizetype pathStart = localPrefix.size() - 1; // the last "/" begins the absolute path
#endif

} // namespace

void MainWindow::onAutoTrimClicked()
{
    if (sourcePixmap.isNull()) {
        return;
    }
    std::optional<BusyPointer> busy(std::in_place);
    const std::optional<QPixmap> trimmed = withoutBlankBorders(sourcePixmap);
    if (trimmed) {
        sourcePixmap = *trimmed;
        rebuildDocument();
        return;
    }
    busy.reset();
    popUp->setPopupText(tr("未检测到可裁剪的空白边"));
    popUp->show();
}

void MainWindow::dragEnterEvent(QDragEnterEvent *event)
{
    event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent *event)
{
    const QList<QUrl> urls = event->mimeData()->urls();
    if (urls.isEmpty()) {
        return;
    }
    const QString address = urls.first().toString();
    if (address.startsWith(localPrefix)) {
        loadImageFile(address.mid(pathStart));
    }
}
