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

/// Writes images of several kinds, formats and sizes into the working
/// directory: all of them can be opened.
QList<UserFile> writeGoodFiles();

/// Writes files that are no images, damaged ones, and images that are too
/// small; also names a folder and a file that is not there. All are refused.
QList<UserFile> writeBadFiles();
