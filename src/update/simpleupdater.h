#pragma once

#include "update/updatedocuments.h"

#include <QObject>

class QNetworkAccessManager;
class QNetworkReply;

/// Fetches the release document, and opens an UpdateDialog if it offers a
/// newer release for this platform that the user has not skipped.
///
/// An interactive check tells every other outcome in a message box, a silent
/// one tells nothing. A check that is started while one runs replaces it.
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
    QString currentPlatform() const;

    /// True if \a latest is a higher version than \a current. Takes any
    /// number of segments and ignores what follows them; a text that does not
    /// begin with a number is never newer.
    bool isNewerVersion(const QString &latest, const QString &current) const;

    /// Takes over the release that \a body offers to this platform. Returns
    /// false and keeps the earlier release if there is none.
    bool parseReleaseDocument(const QByteArray &body);

    /// The release of the last document that could be read.
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
