#pragma once

#include "update/updatedocuments.h"

#include <QDialog>

class QLabel;
class QPushButton;
class QTextBrowser;

/// The notes of \a release as HTML: title, date if there is one, description.
/// Nothing is escaped, so HTML in a release document takes effect.
QString releaseHtml(const ReleaseInfo &release);

/// Offers a new release: to download it by the web browser, to be reminded by
/// the next check, or to skip it.
///
/// Does not download by itself, and stores nothing but a skipped version.
class UpdateDialog : public QDialog
{
    Q_OBJECT

public:
    explicit UpdateDialog(const ReleaseInfo &offer, QWidget *parent = nullptr);

public slots:
    void onDownloadClicked();
    void onRemindLaterClicked();

    /// Silences this very version text for all later checks.
    void onSkipVersionClicked();

private:
    void buildLayout();
    void applyStyle();

    ReleaseInfo release;
    QLabel *titleLabel = nullptr;
    QLabel *iconLabel = nullptr;
    QTextBrowser *notesBrowser = nullptr;
    QPushButton *downloadButton = nullptr;
    QPushButton *remindLaterButton = nullptr;
    QPushButton *skipVersionButton = nullptr;
};
