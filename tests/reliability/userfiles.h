#pragma once

#include <QList>
#include <QSize>
#include <QString>

/// A file that a user may open.
struct UserFile
{
    QString path;
    QSize size; ///< of its image; invalid if it is refused
};

/// Writes images of several kinds, formats and sizes into the working directory.
/// All of them can be opened.
QList<UserFile> writeGoodFiles();

/// Writes files that are not images, damaged images and images that are too
/// small, and adds a folder and a missing file. All of them are refused.
QList<UserFile> writeBadFiles();
