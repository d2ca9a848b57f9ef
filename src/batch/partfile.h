#pragma once

#include <QFile>

#include <filesystem>

/// A file that gets its final name only when it is complete.
///
/// Until then it is beside its target as "quillmarch-NUMBER.pdf.part", for its owner
/// alone. It is removed if the object is destroyed before `commit`, or if a signal that
/// can be caught ends the process; the target then stays as it was. QSaveFile does not
/// do that, nor does it write files whose names are not UTF-8. There may be several at a
/// time, all in the thread that called `removePartFileOnSignals`.
class PartFile
{
public:
    /// Creates an empty file beside the target \a name. Throws BatchError if it cannot.
    explicit PartFile(const QString &name);
    ~PartFile();
    PartFile(const PartFile &) = delete;
    PartFile &operator=(const PartFile &) = delete;

    QString name() const;
    QFile &device() { return file; }

    /// Flushes the file to disk and renames it to the target, with the permissions of an
    /// existing target, or of a new file. Throws BatchError if that fails; the target
    /// then stays.
    void commit();

private:
    void create();

    std::filesystem::path target;
    std::filesystem::path path; // absolute; a signal handler reads it
    QFile file;
    bool exists = false;
};

/// Makes signals that end this process, crashes included, remove its files first,
/// and a file size limit a failed write. Signals that are ignored or handled are
/// left alone. Does nothing where there are no signals. Once this process has
/// started another one, Qt also turns SIGPIPE into a failed write.
void removePartFileOnSignals();

/// Removes the unfinished files of this process. Async-signal-safe.
void removePartFiles();
