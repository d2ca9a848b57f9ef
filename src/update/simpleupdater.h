#pragma once

#include "update/updatedocuments.h"

#include <QObject>

class QNetworkAccessManager;
class QNetworkReply;

/// Fetches the release document, and opens an UpdateDialog if it offers a
/// newer release for this platform that the user has not skipped.
///
/// An interactive check reports every other outcome in a message box, a silent
/// one reports nothing. A new check replaces a running one.
class SimpleUpdater : public QObject
{
    Q_OBJECT

public:
    explicit SimpleUpdater(QObject *parent = nullptr);
    ~SimpleUpdater() override;

    /// Sets the address of the release document, for the next check.
    void setUpdateUrl(const QString &url);

    void checkForUpdates();

    /// Makes this and all later checks of this object silent, and starts one.
    void checkForUpdatesSilently();

    /// The platform identifier of the build.
    [[nodiscard]] QString currentPlatform() const;

    /// True if \a latest is a higher version than \a current. Accepts any
    /// number of segments and ignores a suffix; a text that does not begin
    /// with a number is never newer.
    [[nodiscard]] bool isNewerVersion(const QString &latest, const QString &current) const;

    /// Stores the release that \a body offers for this platform. Returns false
    /// and keeps the stored release if there is none.
    bool parseReleaseDocument(const QByteArray &body);

    /// The release from the last document that was readable.
    const ReleaseInfo &foundRelease() const { return release; }

    void showCheckError(const QString &message);
    void showUpToDate();

    /// Opens a dialog with no parent, which deletes itself when it is closed.
    void presentRelease(const ReleaseInfo &offer);

public slots:
    void onUpdateCheckFinished();
    void onDownloadProgress(qint64 bytesReceived, qint64 bytesTotal);

private:
    QNetworkAccessManager *networkManager = nullptr;
    QNetworkReply *reply = nullptr; // the running check
    QString updateUrl;
    bool silent = false;
    ReleaseInfo release;
};
