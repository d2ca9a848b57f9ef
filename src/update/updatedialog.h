#pragma once

#include "update/updatedocuments.h"

#include <QDialog>

class NotesBrowser;
class QLabel;
class QPushButton;

/// The notes of \a release as HTML: title, date if there is one, description.
/// Nothing is escaped, so HTML in a release document takes effect.
[[nodiscard]] QString releaseHtml(const ReleaseInfo &release);

/// Offers a new release: the user downloads it in the web browser, is reminded
/// by the next check, or skips it.
///
/// Downloads nothing itself, and stores nothing but a skipped version.
class UpdateDialog : public QDialog
{
    Q_OBJECT

public:
    explicit UpdateDialog(const ReleaseInfo &offer, QWidget *parent = nullptr);

public slots:
    void onDownloadClicked();
    void onRemindLaterClicked();

    /// Silences all later checks that find exactly this version text.
    void onSkipVersionClicked();

private:
    void buildLayout();
    void applyStyle();

    ReleaseInfo release;
    QLabel *titleLabel = nullptr;
    QLabel *iconLabel = nullptr;
    NotesBrowser *notesBrowser = nullptr;
    QPushButton *downloadButton = nullptr;
    QPushButton *remindLaterButton = nullptr;
    QPushButton *skipVersionButton = nullptr;
};
