#pragma once

#include <QString>

/// Reads \a key of the group "config" of the ini file \a file into \a value.
///
/// \a value is cleared first and stays empty if there is no such key or file, so
/// the caller applies the default afterwards. Returns false only if \a file or
/// \a key is empty.
bool readConfigValue(const QString &file, const QString &key, QString &value);

/// Writes \a value under \a key in the group "config" of the ini file
/// \a file. Returns false and does nothing if \a file or \a key is empty.
///
/// This process can read the value at once; it is written to disk when control
/// returns to the event loop.
bool writeConfigValue(const QString &file, const QString &key, const QString &value);

/// The folder of the executable, without a trailing slash.
[[nodiscard]] QString executableFolder();

/// The path of `user.ini` in the folder of the executable.
[[nodiscard]] QString configFilePath();

/// The folder stored under \a key in `user.ini`, or the folder of the executable
/// if there is none.
QString rememberedFolder(const QString &key);

/// Stores the folder of the file \a path under \a key in `user.ini`. Does nothing
/// for a path without a folder, or directly in the root folder.
void rememberFolderOf(const QString &path, const QString &key);
