#include "update/downloadupdatedialog.h"

#include "ui/screendensity.h"
#include "update/downloaddialogsizes.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDesktopServices>
#include <QFile>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSettings>
#include <QStyle>
#include <QTimer>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace {

constexpr int displayInterval = 100; // ms
constexpr int speedInterval = 1000; // ms
constexpr qint64 hashBlockSize = 8192; // bytes

void openExternally(const QString &path)
{
    QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

} // namespace

DownloadUpdateDialog::DownloadUpdateDialog(const DownloadRequestInfo &info, QWidget *parent)
    : QDialog(parent)
    , request(info)
    , displayTimer(new QTimer(this))
    , speedTimer(new QTimer(this))
{
    QFont dialogFont = font();
    dialogFont.setPointSizeF(downloadDialogPointSize(screenDensity()));
    setFont(dialogFont);
    setAttribute(Qt::WA_TranslucentBackground, false);
    setAttribute(Qt::WA_NoSystemBackground, false);
    setupUi();
    applyStyle();
    connect(displayTimer, &QTimer::timeout, this, &DownloadUpdateDialog::updateProgressDisplay);
    connect(speedTimer, &QTimer::timeout, this,
            [this] { currentSpeed = refreshSpeed(speedInterval).value_or(currentSpeed); });
    setModal(true);
    placeOnScreen();
}

void DownloadUpdateDialog::switchToDownloadMode()
{
    progressLayout->parentWidget()->show();
    speedLabel->show();
    updateButton->setText(tr("暂停"));
    updateButton->show();
    skipButton->hide();
    laterButton->hide();
    openFolderButton->hide();
    closeButton->setHidden(request.isForced);
}

void DownloadUpdateDialog::showFinishedState()
{
    speedLabel->hide();
    statusLabel->setText(checksumOk ? tr("下载完成，校验通过！") : tr("下载完成，但校验失败！"));
    checksumLabel->setText(checksumOk ? tr("MD5校验：通过 ✓") : tr("MD5校验：失败 ✗"));
    checksumLabel->setStyleSheet(
        checksumOk ? u"font-size: 13pt; color: #28a745; margin-bottom: 16px; font-family: monospace;"_s
                   : u"font-size: 13pt; color: #dc3545; margin-bottom: 16px; font-family: monospace;"_s);
    fileLocationLabel->setText(tr("文件位置：%1").arg(filePath));
    fileLocationLabel->show();
    skipButton->hide();
    laterButton->hide();
    openFolderButton->show();
    closeButton->show();
    if (checksumOk) {
        updateButton->hide();
        closeButton->setText(tr("安装更新"));
        closeButton->setObjectName(u"primaryButton"_s);
        closeButton->setDefault(true);
    } else {
        updateButton->setText(tr("重新下载"));
        updateButton->show();
        closeButton->setText(tr("关闭"));
        closeButton->setObjectName(QString());
    }
    // Style sheets match object names only when a widget is polished.
    style()->unpolish(closeButton);
    style()->polish(closeButton);
}

void DownloadUpdateDialog::showFailedState()
{
    statusLabel->setText(tr("下载失败：%1").arg(errorMessage));
    updateButton->setText(tr("重试"));
    updateButton->show();
    skipButton->hide();
    laterButton->hide();
    openFolderButton->hide();
    closeButton->show();
}

void DownloadUpdateDialog::showDownloadingText()
{
    progressLayout->parentWidget()->show();
    statusLabel->setText(tr("正在下载..."));
}

bool DownloadUpdateDialog::verifyChecksum(const QString &path, const QString &expected) const
{
    if (expected.isEmpty()) {
        return true;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return false;
    }
    QCryptographicHash hash(QCryptographicHash::Md5);
    for (QByteArray block = file.read(hashBlockSize); !block.isEmpty(); block = file.read(hashBlockSize)) {
        hash.addData(block);
    }
    return QString::fromLatin1(hash.result().toHex()).toLower() == expected.toLower();
}

QString DownloadUpdateDialog::formatBytes(qint64 bytes) const
{
    constexpr qint64 kilobyte = 1024;
    constexpr qint64 megabyte = kilobyte * 1024;
    constexpr qint64 gigabyte = megabyte * 1024;
    if (bytes < kilobyte) {
        return tr("%1 B").arg(bytes);
    }
    if (bytes < megabyte) {
        return tr("%1 KB").arg(double(bytes) / kilobyte, 0, 'f', 1);
    }
    if (bytes < gigabyte) {
        return tr("%1 MB").arg(double(bytes) / megabyte, 0, 'f', 1);
    }
    return tr("%1 GB").arg(double(bytes) / gigabyte, 0, 'f', 1);
}

QString DownloadUpdateDialog::formatSpeed(qint64 bytesPerSecond) const
{
    return formatBytes(bytesPerSecond) + u"/s"_s;
}

void DownloadUpdateDialog::onUpdateClicked()
{
    if (isDownloading) {
        emit requestPauseDownload();
        return;
    }
    if (isFinished && checksumOk) {
        openExternally(filePath);
        return;
    }
    if (isFinished) {
        isFinished = false;
        checksumOk = false;
        filePath.clear();
    }
    dialogResult = 0;
    switchToDownloadMode();
    emit requestStartDownload();
}

void DownloadUpdateDialog::onLaterClicked()
{
    dialogResult = 1;
    reject();
}

void DownloadUpdateDialog::onSkipClicked()
{
    dialogResult = 2;
    // The file in the working directory, not the one next to the executable.
    QSettings(u"user.ini"_s, QSettings::IniFormat).setValue(u"update/skippedVersion"_s, request.latestVersion);
    reject();
}

void DownloadUpdateDialog::onCloseClicked()
{
    if (closeButton->text() != tr("安装更新")) {
        reject();
        return;
    }
    if (!filePath.isEmpty()) {
        openExternally(filePath);
    }
    dialogResult = 0;
    accept();
}

void DownloadUpdateDialog::onDownloadProgress(int progress, qint64 received, qint64 total)
{
    if (!isDownloading) {
        isDownloading = true;
        switchToDownloadMode();
        displayTimer->start(displayInterval);
        speedTimer->start(speedInterval);
        lastSpeedTime = QDateTime::currentMSecsSinceEpoch();
        speedBytes = 0;
        if (total > 0) {
            setDownloadFileSize(total);
        }
    }
    // The total so far, not the bytes since the last report: the displayed speed
    // rises during the download.
    speedBytes = received;
    progressBar->setValue(progress);
    if (auto *percentLabel = qobject_cast<QLabel *>(progressLayout->itemAt(1)->widget())) {
        percentLabel->setText(tr("%1%").arg(progress));
    }
    statusLabel->setText(tr("正在下载... %1 / %2").arg(formatBytes(received), formatBytes(total)));
}

void DownloadUpdateDialog::onDownloadFinished(const QString &path)
{
    isDownloading = false;
    isFinished = true;
    filePath = path;
    checksumOk = verifyChecksum(filePath, request.checksumMD5);
    showFinishedState();
    displayTimer->stop();
    speedTimer->stop();
}

void DownloadUpdateDialog::onDownloadError(const QString &error)
{
    isDownloading = false;
    errorMessage = error;
    showFailedState();
    displayTimer->stop();
    speedTimer->stop();
}

void DownloadUpdateDialog::updateProgressDisplay()
{
    refreshSpeed(displayInterval);
}

void DownloadUpdateDialog::openDownloadFolder()
{
    if (!filePath.isEmpty()) {
        openExternally(QFileInfo(filePath).absolutePath());
    }
}

void DownloadUpdateDialog::setDownloadFileSize(qint64 bytes)
{
    fileSizeLabel->setText(tr("文件大小：%1").arg(formatBytes(bytes)));
}

/// Shows the speed if more than \a interval ms have passed since it was last
/// shown, and starts a new measurement. Returns the speed in bytes per second,
/// or nothing if it was not shown.
std::optional<qint64> DownloadUpdateDialog::refreshSpeed(qint64 interval)
{
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    const qint64 elapsed = now - lastSpeedTime;
    if (!isDownloading || lastSpeedTime <= 0 || elapsed <= interval) {
        return std::nullopt;
    }
    const qint64 speed = speedBytes * 1000 / elapsed;
    speedLabel->setText(tr("下载速度：%1").arg(formatSpeed(speed)));
    lastSpeedTime = now;
    speedBytes = 0;
    return speed;
}
