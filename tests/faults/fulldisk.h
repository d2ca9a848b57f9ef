#pragma once

#include <QtGlobal>

#include <csignal>
#include <sys/resource.h>

/// A full disk, while this object lives: no file can grow past \a size bytes, and
/// writing more fails.
class FullDisk
{
public:
    explicit FullDisk(rlim_t size)
        : previousAction(std::signal(SIGXFSZ, SIG_IGN))
    {
        if (getrlimit(RLIMIT_FSIZE, &previous) != 0) {
            qFatal("Cannot read the limit of file sizes");
        }
        rlimit limited = previous;
        limited.rlim_cur = size;
        if (setrlimit(RLIMIT_FSIZE, &limited) != 0) {
            qFatal("Cannot limit file sizes");
        }
    }
    ~FullDisk()
    {
        setrlimit(RLIMIT_FSIZE, &previous);
        std::signal(SIGXFSZ, previousAction);
    }
    Q_DISABLE_COPY_MOVE(FullDisk)

private:
    void (*previousAction)(int);
    rlimit previous{};
};
