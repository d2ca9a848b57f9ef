#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

#include <filesystem>

// File names of this program are text in which a byte that is not UTF-8, or belongs to a
// byte order mark, is a lone surrogate, U+DC80 to U+DCFF. So every name survives JSON and
// a list of names. Qt would replace such a byte and drop such a mark, and takes a leading
// colon for a resource: open files through the functions below, never by a QFile of the
// name.

/// The name with the bytes \a bytes.
[[nodiscard]] QString nameFromBytes(const QByteArray &bytes);

/// The bytes of \a name; UTF-8 on systems whose names are text.
[[nodiscard]] QByteArray bytesOfName(const QString &name);

[[nodiscard]] std::filesystem::path nativePath(const QString &name);
[[nodiscard]] QString nameFromNative(const std::filesystem::path &path);

/// The file that would be written to by the name \a path: the end of a chain of
/// symbolic links, even if that does not exist. Absolute.
[[nodiscard]] std::filesystem::path targetOf(const std::filesystem::path &path);

/// Opens \a name with \a file, which has none itself. Returns the error message, or
/// an empty string. A new file is readable for its owner alone.
[[nodiscard]] QString openFile(QFile &file, const QString &name, QIODevice::OpenMode mode);

/// \a name with a question mark for each control character.
[[nodiscard]] QString printable(const QString &name);
