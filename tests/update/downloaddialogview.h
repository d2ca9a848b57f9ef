#pragma once

#include "support/windowprobe.h"
#include "update/downloadupdatedialog.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

#include <utility>

/// A request with all texts filled in.
[[nodiscard]] inline DownloadRequestInfo someRequest()
{
    DownloadRequestInfo request;
    request.latestVersion = QStringLiteral("3.0.0");
    request.currentVersion = QStringLiteral("1.2.3");
    request.downloadUrl = QStringLiteral("https://packages.example/q.zip");
    request.updateLog = QStringLiteral("更快\n更稳");
    request.fileSize = QStringLiteral("12.3MB");
    request.checksumMD5 = QStringLiteral("900150983cd24fb0d6963f7d28e17f72"); // of "abc"
    request.hasUpdate = true;
    return request;
}

[[nodiscard]] inline DownloadRequestInfo forcedRequest()
{
    DownloadRequestInfo request = someRequest();
    request.isForced = true;
    return request;
}

/// The widgets and layouts of a download dialog, found by their object names, and the
/// close button, whose name changes, by its place.
struct DialogView
{
    explicit DialogView(const DownloadUpdateDialog &dialog)
        : layout(qobject_cast<QVBoxLayout *>(dialog.layout()))
        , scrollArea(childOf<QScrollArea>(dialog, "notesArea"))
        , container(childOf<QWidget>(dialog, "progressContainer"))
        , progressLayout(qobject_cast<QHBoxLayout *>(container->layout()))
        , statusLayout(childOf<QHBoxLayout>(dialog, "statusLayout"))
        , buttonLayout(childOf<QHBoxLayout>(dialog, "buttonLayout"))
        , title(childOf<QLabel>(dialog, "titleLabel"))
        , subtitle(childOf<QLabel>(dialog, "subtitleLabel"))
        , currentVersion(childOf<QLabel>(dialog, "currentVersionLabel"))
        , fileSize(childOf<QLabel>(dialog, "fileSizeLabel"))
        , checksum(childOf<QLabel>(dialog, "checksumLabel"))
        , notesHeading(childOf<QLabel>(dialog, "notesHeading"))
        , notes(childOf<QLabel>(dialog, "updateLogLabel"))
        , bar(childOf<QProgressBar>(dialog, "progressBar"))
        , percent(childOf<QLabel>(dialog, "percentLabel"))
        , status(childOf<QLabel>(dialog, "statusLabel"))
        , speed(childOf<QLabel>(dialog, "speedLabel"))
        , location(childOf<QLabel>(dialog, "fileLocationLabel"))
        , skip(childOf<QPushButton>(dialog, "skipButton"))
        , later(childOf<QPushButton>(dialog, "laterButton"))
        , update(childOf<QPushButton>(dialog, "primaryButton"))
        , openFolder(childOf<QPushButton>(dialog, "openFolderButton"))
        , close(lastButtonOf(*buttonLayout))
        , retry(childOf<QPushButton>(dialog, "retryButton"))
    {
    }

    QVBoxLayout *layout;
    QScrollArea *scrollArea;
    QWidget *container;
    QHBoxLayout *progressLayout;
    QHBoxLayout *statusLayout;
    QHBoxLayout *buttonLayout;
    QLabel *title;
    QLabel *subtitle;
    QLabel *currentVersion;
    QLabel *fileSize;
    QLabel *checksum;
    QLabel *notesHeading;
    QLabel *notes;
    QProgressBar *bar;
    QLabel *percent;
    QLabel *status;
    QLabel *speed;
    QLabel *location;
    QPushButton *skip;
    QPushButton *later;
    QPushButton *update;
    QPushButton *openFolder;
    QPushButton *close;
    QPushButton *retry;

    /// The visible buttons, each by its letter: s, l, u, o, c.
    [[nodiscard]] QString visibleButtons() const
    {
        QString letters;
        for (const auto &[button, letter] : {std::pair(skip, 's'), std::pair(later, 'l'), std::pair(update, 'u'),
                                             std::pair(openFolder, 'o'), std::pair(close, 'c')}) {
            if (button->isVisible()) {
                letters += QLatin1Char(letter);
            }
        }
        return letters;
    }

private:
    static QPushButton *lastButtonOf(const QHBoxLayout &row)
    {
        for (int i = row.count() - 1; i >= 0; --i) {
            if (auto *button = qobject_cast<QPushButton *>(row.itemAt(i)->widget())) {
                return button;
            }
        }
        return nullptr;
    }
};

/// Visibility, text and value of every widget of the dialog: all that a user can
/// see.
[[nodiscard]] inline QStringList look(const DownloadUpdateDialog &dialog)
{
    QStringList lines;
    const auto widgets = dialog.findChildren<QWidget *>();
    for (const QWidget *widget : widgets) {
        lines.append(QStringLiteral("%1 %2 %3")
                         .arg(widget->isVisible())
                         .arg(widget->property("text").toString(), widget->property("value").toString()));
    }
    return lines;
}
