#include "update/simpleupdater.h"

#include "base/buildconfig.h"
#include "update/updatedialog.h"

#include <QMessageBox>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPointer>
#include <QSettings>
#include <QVersionNumber>

using namespace Qt::StringLiterals;

namespace {

/// Compares texts: 3.0 is not silenced by a skipped 3.0.0.
bool isSkipped(const QString &version)
{
    return QSettings().value(u"updater/skippedVersion"_s).toString() == version;
}

} // namespace

SimpleUpdater::SimpleUpdater(QObject *parent)
    : QObject(parent)
    , networkManager(new QNetworkAccessManager(this))
{
}

SimpleUpdater::~SimpleUpdater()
{
    if (reply) {
        reply->disconnect(this); // no message box out of a destructor
        reply->abort();
        reply->deleteLater();
    }
}

void SimpleUpdater::setUpdateUrl(const QString &url)
{
    updateUrl = url;
}

void SimpleUpdater::checkForUpdates()
{
    if (updateUrl.isEmpty()) {
        qWarning("Update URL is not set");
        return;
    }
    while (reply) {
        // The abort delivers finished() at once. onUpdateCheckFinished() then
        // clears the member and may run an event loop, in which the next check
        // can start.
        const QPointer<QNetworkReply> replaced = reply;
        replaced->abort();
        if (replaced == reply) {
            reply = nullptr;
        }
        if (replaced) {
            replaced->disconnect(this);
            replaced->deleteLater();
        }
    }
    QNetworkRequest request{QUrl(updateUrl)};
    request.setHeader(QNetworkRequest::UserAgentHeader, u"Quillmarch/%1"_s.arg(programVersion));
    request.setRawHeader("Accept", "application/json");
    reply = networkManager->get(request);
    connect(reply, &QNetworkReply::finished, this, &SimpleUpdater::onUpdateCheckFinished);
    connect(reply, &QNetworkReply::downloadProgress, this, &SimpleUpdater::onDownloadProgress);
}

void SimpleUpdater::checkForUpdatesSilently()
{
    silent = true;
    checkForUpdates();
}

QString SimpleUpdater::currentPlatform() const
{
    return buildPlatform.toString();
}

bool SimpleUpdater::isNewerVersion(const QString &latest, const QString &current) const
{
    return QVersionNumber::compare(QVersionNumber::fromString(latest), QVersionNumber::fromString(current)) > 0;
}

bool SimpleUpdater::parseReleaseDocument(const QByteArray &body)
{
    const std::optional<ReleaseInfo> read = readReleaseDocument(body, currentPlatform());
    if (!read) {
        return false;
    }
    release = *read;
    return true;
}

void SimpleUpdater::showCheckError(const QString &message)
{
    QMessageBox::critical(nullptr, u"更新检查错误"_s, message, QMessageBox::Ok);
}

void SimpleUpdater::showUpToDate()
{
    QMessageBox::information(nullptr, u"检查更新"_s, u"您已使用最新版本"_s, QMessageBox::Ok);
}

void SimpleUpdater::presentRelease(const ReleaseInfo &offer)
{
    auto *dialog = new UpdateDialog(offer);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->show();
}

void SimpleUpdater::onUpdateCheckFinished()
{
    if (!reply) {
        return;
    }
    const QNetworkReply::NetworkError error = reply->error();
    const QByteArray body = reply->isReadable() ? reply->readAll() : QByteArray(); // closed by an abort
    reply->deleteLater();
    reply = nullptr;

    if (error != QNetworkReply::NoError) {
        if (!silent) {
            showCheckError(u"网络连接失败"_s);
        }
        return;
    }
    if (!parseReleaseDocument(body)) {
        if (!silent) {
            showCheckError(u"解析更新信息失败"_s);
        }
        return;
    }
    if (!isNewerVersion(release.version, programVersion.toString()) || isSkipped(release.version)) {
        if (!silent) {
            showUpToDate();
        }
        return;
    }
    presentRelease(release);
}

void SimpleUpdater::onDownloadProgress(qint64 bytesReceived, qint64 bytesTotal)
{
    // A release document is too short for a progress display.
    Q_UNUSED(bytesReceived)
    Q_UNUSED(bytesTotal)
}
