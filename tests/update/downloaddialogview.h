#pragma once

#include "update/downloadupdatedialog.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

#include <utility>

/// A request with something in every text.
inline DownloadRequestInfo someRequest()
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

/// The widgets of a download dialog, found by their places in its layouts.
struct DialogView
{
    explicit DialogView(const DownloadUpdateDialog &dialog)
        : layout(qobject_cast<QVBoxLayout *>(dialog.layout()))
        , scrollArea(dialog.findChild<QScrollArea *>())
        , container(layout->itemAt(7)->widget())
        , progressLayout(qobject_cast<QHBoxLayout *>(container->layout()))
        , statusLayout(qobject_cast<QHBoxLayout *>(layout->itemAt(8)->layout()))
        , buttonLayout(qobject_cast<QHBoxLayout *>(layout->itemAt(10)->layout()))
        , title(label(layout, 0))
        , subtitle(label(layout, 1))
        , currentVersion(label(layout, 2))
        , fileSize(label(layout, 3))
        , checksum(label(layout, 4))
        , notesHeading(label(layout, 5))
        , notes(qobject_cast<QLabel *>(scrollArea->widget()))
        , bar(qobject_cast<QProgressBar *>(progressLayout->itemAt(0)->widget()))
        , percent(label(progressLayout, 1))
        , status(label(statusLayout, 0))
        , speed(label(statusLayout, 2))
        , location(label(layout, 9))
        , skip(button(1))
        , later(button(2))
        , update(button(3))
        , openFolder(button(4))
        , close(button(5))
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

    /// The visible buttons, each by its letter: s, l, u, o, c.
    QString visibleButtons() const
    {
        QString letters;
        for (const auto &[shown, letter] : {std::pair(skip, 's'), std::pair(later, 'l'), std::pair(update, 'u'),
                                            std::pair(openFolder, 'o'), std::pair(close, 'c')}) {
            if (shown->isVisible()) {
                letters += QLatin1Char(letter);
            }
        }
        return letters;
    }

private:
    static QLabel *label(const QLayout *layout, int index)
    {
        return qobject_cast<QLabel *>(layout->itemAt(index)->widget());
    }
    QPushButton *button(int index) const { return qobject_cast<QPushButton *>(buttonLayout->itemAt(index)->widget()); }
};

/// Everything that a user can read or see in the window.
inline QStringList look(const DownloadUpdateDialog &dialog)
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
