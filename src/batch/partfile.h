#pragma once

#include <QString>

#include <filesystem>

/// A file that gets its final name only when it is complete.
///
/// Until then it is beside its target as "quillmarch-NUMBER.pdf.part". It is
/// removed if the object is destroyed before `commit`, or if a signal that can be
/// caught ends the process; the target then stays as it was. There may be several
/// at a time, all in the thread that called `removePartFileOnSignals`.
class PartFile
{
public:
    /// Creates an empty file beside the target \a path. `error` says why if it fails.
    explicit PartFile(const QString &path);
    ~PartFile();
    PartFile(const PartFile &) = delete;
    PartFile &operator=(const PartFile &) = delete;

    /// The path of the file; empty if it could not be created.
    QString path() const { return m_path; }

    /// The last error, as the system describes it.
    QString error() const { return m_error; }

    /// Flushes the file to disk and renames it to the target, with the permissions
    /// of an existing target. Returns false if that fails; the target then stays.
    bool commit();

private:
    bool mayReplaceTarget();
    void create();

    QString target;
    std::filesystem::path nativePath; // absolute; a signal handler reads it
    QString m_path;
    QString m_error;
};

/// Makes signals that end this process, crashes included, remove its files first,
/// and a file size limit a failed write. Signals that are ignored or handled are
/// left alone. Does nothing where there are no signals. Once this process has
/// started another one, Qt also turns SIGPIPE into a failed write.
void removePartFileOnSignals();

/// Removes the unfinished files of this process. Async-signal-safe.
void removePartFiles();
