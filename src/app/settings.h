#pragma once

#include <QString>

/// Reads \a key of the group "config" of the ini file \a file into \a value.
///
/// \a value is cleared first and stays empty for an absent key, so a default
/// is applied by the caller after the call. Returns false if \a file or
/// \a key is empty, otherwise true, also when there is no such file or key.
bool readConfigValue(const QString &file, const QString &key, QString &value);

/// Writes \a value under \a key in the group "config" of the ini file
/// \a file. Returns false and touches nothing if \a file or \a key is empty.
///
/// The value is readable at once in this process; it reaches the disk when
/// control returns to the event loop.
bool writeConfigValue(const QString &file, const QString &key, const QString &value);

/// The folder of the executable, with no trailing slash.
QString executableFolder();

/// The path of `user.ini` in the folder of the executable.
QString configFilePath();

/// The folder that \a key of `user.ini` holds, or the folder of the executable
/// if it holds none.
QString rememberedFolder(const QString &key);

/// Stores the folder of the file \a path under \a key of `user.ini`. A path
/// without a folder, or directly in the root folder, leaves the key alone.
void rememberFolderOf(const QString &path, const QString &key);
