#pragma once

#include <QString>

#include <filesystem>

/// A file that gets its name only when it is complete.
///
/// Until then it lies beside its target as "quillmarch-NUMBER.pdf.part". An
/// object that goes before `commit` removes it, and so does the end of the
/// process by a signal that can be caught; the target keeps what it held. There
/// may be several at a time, all in the thread that called
/// `removePartFileOnSignals`.
class PartFile
{
public:
    /// Makes an empty file beside \a target. See `error` for a failure.
    explicit PartFile(const QString &target);
    ~PartFile();
    PartFile(const PartFile &) = delete;
    PartFile &operator=(const PartFile &) = delete;

    /// The path of the file. Empty if it could not be made.
    QString path() const { return m_path; }

    /// What went wrong last, in the words of the system.
    QString error() const { return m_error; }

    /// Brings the file to the disk and renames it to the target, with the
    /// target's permissions if that is there. Returns false, and the target
    /// stays, if that fails.
    bool commit();

private:
    bool mayReplaceTarget();
    void create();

    QString target;
    std::filesystem::path nativePath; // absolute; a signal handler reads it
    QString m_path;
    QString m_error;
};

/// Makes the signals that end this process, by itself or from outside, remove
/// its files first, and a file size limit a failed write. Signals that are
/// ignored or handled stay so. Does nothing where there are no signals. Once this
/// process has started another, Qt makes SIGPIPE a failed write, too.
void removePartFileOnSignals();

/// Removes the files of this process. Safe in a signal handler.
void removePartFiles();
