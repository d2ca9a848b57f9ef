#pragma once

#include "app/mainwindow.h"
#include "support/files.h"

#include <QDir>
#include <QNetworkReply>
#include <QStandardPaths>

// Package downloads of a window: what they have stored, and whether one is running.

[[nodiscard]] inline QString downloadFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::DownloadLocation);
}

/// Returns whether the download folder exists and is empty now.
inline bool emptyDownloadFolder()
{
    return QDir(downloadFolder()).removeRecursively() && QDir().mkpath(downloadFolder());
}

/// The names of the downloaded files.
[[nodiscard]] inline QStringList downloads()
{
    return QDir(downloadFolder()).entryList(QDir::Files);
}

/// The contents of the downloaded file \a name; empty if there is none.
[[nodiscard]] inline QByteArray downloaded(const QString &name)
{
    return contentOf(QDir(downloadFolder()).filePath(name));
}

[[nodiscard]] inline bool isDownloading(const MainWindow &window)
{
    return !window.findChildren<QNetworkReply *>().isEmpty();
}
