#include "app/mainwindow.h"

#include "base/buildconfig.h"
#include "update/downloadupdatedialog.h"
#include "update/simpleupdater.h"
#include "update/updatedocuments.h"

#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QMessageBox>
#include <QNetworkAccessManager>
#include <QPointer>
#include <QPushButton>
#include <QStandardPaths>
#include <QStatusBar>

using namespace Qt::StringLiterals;

namespace {

constexpr int newVersionMessageTime = 5000; // ms
constexpr int upToDateMessageTime = 3000; // ms

// The property of a reply that carries the path of the target file.
constexpr const char *savePathProperty = "savePath";

QString savePathFor(const QString &url, const QString &version)
{
    // The whole address counts as a path, so a query becomes part of the name.
    QString name = QFileInfo(url).fileName();
    if (name.isEmpty()) {
        name = fallbackPackageName(version);
    }
    return QStandardPaths::writableLocation(QStandardPaths::DownloadLocation) + u'/' + name;
}

} // namespace

void MainWindow::createUpdater()
{
    downloadManager = new QNetworkAccessManager(this);
    updater = new SimpleUpdater(this);
    updater->setUpdateUrl(checkEndpoint());
}

void MainWindow::onCheckUpdateClicked()
{
    if (updater) {
        updater->checkForUpdates();
    } else {
        QMessageBox::warning(this, tr("检查更新"), tr("更新器未初始化"));
    }
}

void MainWindow::onVersionInfoReceived(const QString &version, bool hasUpdate, const QString &url, const QString &log,
                                       const QString &checksum, const QString &packageSize)
{
    if (!hasUpdate) {
        versionLabel->setText(u"v%1"_s.arg(programVersion));
        versionLabel->setStyleSheet(
            u"QLabel {     color: #8E8E93;     font-size: 12px;     font-weight: 500;     padding: 2px 6px;     "
            u"background-color: rgba(142, 142, 147, 0.1);     border-radius: 4px; }"_s);
        versionLabel->setToolTip(tr("当前版本: %1（已是最新）").arg(programVersion));
        versionLabel->setVisible(true);
        updateButton->setVisible(false);
        statusBar()->showMessage(tr("当前已是最新版本"), upToDateMessageTime);
        updateKnown = false;
        return;
    }
    versionLabel->setText(u"v%1→v%2"_s.arg(programVersion, version));
    versionLabel->setStyleSheet(
        u"QLabel {     color: #FF9F0A;     font-size: 12px;     font-weight: 500;     padding: 2px 6px;     "
        u"background-color: rgba(255, 159, 10, 0.1);     border-radius: 4px; }"_s);
    versionLabel->setToolTip(tr("当前版本: %1\n服务器版本: %2\n点击右侧图标下载更新").arg(programVersion, version));
    versionLabel->setVisible(true);
    updateButton->setVisible(true);
    statusBar()->showMessage(tr("发现新版本 v%1 可用，点击右侧按钮下载").arg(version), newVersionMessageTime);
    latestVersion = version;
    updateUrl = url.isEmpty() ? fallbackPackageUrl(version) : url;
    updateLog = log;
    checksumMD5 = checksum;
    updateSize = packageSize;
    updateKnown = true;
}

void MainWindow::showUpdateDialog()
{
    if (!updateKnown) {
        QMessageBox::information(this, tr("检查更新"), tr("当前已是最新版本"));
        return;
    }
    DownloadRequestInfo request;
    request.latestVersion = latestVersion;
    request.currentVersion = programVersion.toString();
    request.downloadUrl = updateUrl;
    request.updateLog = updateLog;
    request.fileSize = updateSize;
    request.checksumMD5 = checksumMD5;
    request.isForced = false;
    request.hasUpdate = true;

    auto *dialog = new DownloadUpdateDialog(request, this);
    downloadDialog = dialog;
    // Its other request, to pause, has no answer: a download cannot be paused.
    connect(dialog, &DownloadUpdateDialog::requestStartDownload, this, &MainWindow::startDownload);
    dialog->move(x() + (width() - dialog->width()) / 2, y() + (height() - dialog->height()) / 2);
    dialog->exec();
    dialog->deleteLater();
    downloadDialog = nullptr;
}

void MainWindow::startDownload()
{
    if (updateUrl.isEmpty()) {
        if (downloadDialog) {
            downloadDialog->onDownloadError(tr("下载地址无效"));
        }
        return;
    }
    if (downloadReply) {
        // The abort delivers the error and finished() at once, and these slots
        // clear the member.
        const QPointer<QNetworkReply> replaced = downloadReply;
        replaced->abort();
        if (replaced) {
            replaced->disconnect(this);
            replaced->deleteLater();
        }
        downloadReply = nullptr;
    }
    const QString savePath = savePathFor(updateUrl, latestVersion);
    QNetworkRequest request{QUrl(updateUrl)};
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, int(QNetworkRequest::NoLessSafeRedirectPolicy));
    request.setHeader(QNetworkRequest::UserAgentHeader, u"Quillmarch/%1 (macOS)"_s.arg(programVersion));
    downloadReply = downloadManager->get(request);
    connect(downloadReply, &QNetworkReply::downloadProgress, this, &MainWindow::onDownloadProgress);
    connect(downloadReply, &QNetworkReply::finished, this, &MainWindow::onDownloadFinished);
    connect(downloadReply, &QNetworkReply::errorOccurred, this, &MainWindow::onDownloadError);
    downloadReply->setProperty(savePathProperty, savePath);
}

void MainWindow::onDownloadProgress(qint64 bytesReceived, qint64 bytesTotal)
{
    if (!downloadDialog) {
        return;
    }
    const qint64 percent = bytesTotal > 0 ? bytesReceived * 100 / bytesTotal : 0;
    downloadDialog->onDownloadProgress(int(percent), bytesReceived, bytesTotal);
}

void MainWindow::onDownloadFinished()
{
    if (!downloadReply) {
        return;
    }
    if (downloadReply->error() != QNetworkReply::NoError) {
        if (downloadDialog) {
            downloadDialog->onDownloadError(downloadReply->errorString());
        }
        downloadReply->deleteLater();
        downloadReply = nullptr;
        return;
    }
    const QString savePath = downloadReply->property(savePathProperty).toString();
    const QByteArray body = downloadReply->readAll();
    QFile file(savePath);
    if (file.open(QIODevice::WriteOnly)) {
        file.write(body);
        file.close();
        if (downloadDialog) {
            downloadDialog->onDownloadFinished(savePath);
        }
    } else if (downloadDialog) {
        downloadDialog->onDownloadError(tr("无法保存文件: %1").arg(file.errorString()));
    }
    downloadReply->deleteLater();
    downloadReply = nullptr;
}

void MainWindow::onDownloadError(QNetworkReply::NetworkError error)
{
    Q_UNUSED(error)
    if (downloadReply && downloadDialog) {
        downloadDialog->onDownloadError(downloadReply->errorString());
    }
}
