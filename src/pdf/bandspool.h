#pragma once

#include <QByteArray>
#include <QString>
#include <QTemporaryFile>

/// Keeps packed bytes until the file is written: the first ones in memory, the
/// others in a temporary file.
class BandSpool
{
public:
    struct Entry
    {
        QByteArray kept; ///< empty if the bytes are in the file
        qint64 offset = 0;
        qsizetype size = 0;
    };

    /// Keeps up to \a memory bytes in memory. The file is created in \a folder, or in
    /// that of the system if \a folder is empty.
    BandSpool(const QString &folder, qint64 memory);

    /// Throws PdfError if the file cannot be written.
    Entry add(QByteArray bytes);

    /// The bytes of \a entry. Throws PdfError if the file cannot be read.
    QByteArray read(const Entry &entry);

private:
    QTemporaryFile file;
    qint64 memoryLeft;
};
