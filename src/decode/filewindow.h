#pragma once

#include <QtGlobal>

#include <mutex>
#include <span>
#include <vector>

class QIODevice;

/// A random-access device that several threads read from.
class SharedDevice
{
public:
    explicit SharedDevice(QIODevice &device)
        : source(device)
    {
    }

    /// Reads up to \a size bytes from the position \a at; returns how many, 0 at
    /// the end and on an error.
    qsizetype read(qint64 at, uchar *to, qsizetype size);

private:
    QIODevice &source;
    std::mutex mutex;
};

/// A device seen through a buffer, by one thread.
class FileWindow
{
public:
    explicit FileWindow(SharedDevice &shared)
        : device(shared)
        , buffer(size_t(capacity))
    {
    }

    static constexpr qsizetype capacity = qsizetype(128) * 1024;

    /// The bytes from the position \a at on: \a wanted of them, or less where
    /// the file ends or the capacity is passed. Valid until the next call.
    std::span<const uchar> bytes(qint64 at, qsizetype wanted);

    /// All bytes from the position \a at on that need no further reading, but no
    /// less than \a least unless the file ends. Valid until the next call.
    std::span<const uchar> buffered(qint64 at, qsizetype least);

private:
    SharedDevice &device;
    std::vector<uchar> buffer;
    qint64 start = 0;
    qsizetype length = 0;
};
