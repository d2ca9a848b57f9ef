#pragma once

#include <QDialog>
#include <QString>

#include <optional>

class QHBoxLayout;
class QLabel;
class QProgressBar;
class QPushButton;
class QTimer;
class QVBoxLayout;

/// The version that the download dialog offers.
struct DownloadRequestInfo
{
    QString latestVersion;
    QString currentVersion;
    QString downloadUrl;
    QString updateLog; ///< release notes, may be empty
    QString fileSize; ///< size text, may be empty
    QString checksumMD5; ///< hexadecimal, may be empty
    bool isForced = false;
    bool hasUpdate = false;
};

/// Presents a new version, shows the progress of its download, and reports
/// whether the MD5 checksum of the file matches.
///
/// The dialog does no network work: it requests the download by
/// requestStartDownload(), and its slots receive progress and outcome. Closing
/// it does not stop the download.
class DownloadUpdateDialog : public QDialog
{
    Q_OBJECT

public:
    DownloadUpdateDialog(const DownloadRequestInfo &info, QWidget *parent);

    void setupUi();
    void switchToDownloadMode();
    void showFinishedState();
    void showFailedState();
    void showDownloadingText();

    /// True if the MD5 checksum of the file \a path is \a expected, hexadecimal
    /// in either case. An empty \a expected is always true: the file is not read.
    [[nodiscard]] bool verifyChecksum(const QString &path, const QString &expected) const;

    /// A byte count with a space before the unit: "1.5 MB".
    [[nodiscard]] QString formatBytes(qint64 bytes) const;

    /// Bytes per second: "1.5 MB/s".
    [[nodiscard]] QString formatSpeed(qint64 bytesPerSecond) const;

public slots:
    void onUpdateClicked();
    void onLaterClicked();
    void onSkipClicked();
    void onCloseClicked();

    /// \a progress in percent, \a received and \a total in bytes. An unknown
    /// \a total is -1.
    void onDownloadProgress(int progress, qint64 received, qint64 total);

    /// Accepts the downloaded file \a path and verifies its MD5 checksum.
    void onDownloadFinished(const QString &path);
    void onDownloadError(const QString &error);
    void updateProgressDisplay();
    void openDownloadFolder();
    void setDownloadFileSize(qint64 bytes);

signals:
    void requestStartDownload();
    void requestPauseDownload();

private:
    void addVersionLabels();
    void addNotes();
    void addProgress();
    void addStatus();
    void addButtons();
    void applyStyle();
    void placeOnScreen();
    std::optional<qint64> refreshSpeed(qint64 interval);

    QLabel *titleLabel = nullptr;
    QLabel *subtitleLabel = nullptr;
    QLabel *updateLogLabel = nullptr;
    QLabel *fileSizeLabel = nullptr;
    QLabel *checksumLabel = nullptr;
    QLabel *statusLabel = nullptr;
    QProgressBar *progressBar = nullptr;
    QLabel *speedLabel = nullptr;
    QLabel *fileLocationLabel = nullptr;
    QPushButton *updateButton = nullptr;
    QPushButton *laterButton = nullptr;
    QPushButton *skipButton = nullptr;
    QPushButton *openFolderButton = nullptr;
    QPushButton *retryButton = nullptr;
    QPushButton *closeButton = nullptr;
    QVBoxLayout *mainLayout = nullptr;
    QHBoxLayout *buttonLayout = nullptr;
    QHBoxLayout *progressLayout = nullptr; // inside the progress container
    QHBoxLayout *statusLayout = nullptr;
    DownloadRequestInfo request;
    int dialogResult = 1; // 0 update, 1 later, 2 skip
    bool isDownloading = false;
    bool isFinished = false;
    bool checksumOk = false;
    QString filePath; // the finished file
    qint64 currentSpeed = 0; // bytes per second
    QString errorMessage;
    QTimer *displayTimer = nullptr;
    QTimer *speedTimer = nullptr;
    qint64 lastSpeedTime = 0; // ms since the epoch
    qint64 speedBytes = 0; // received in total at the last progress report
};
