#pragma once

#include <QtGlobal>

#include <csignal>
#include <sys/resource.h>

/// A disk without room, for as long as this object lives: no file grows past
/// \a size bytes, and a write beyond fails.
class FullDisk
{
public:
    explicit FullDisk(rlim_t size)
        : formerAction(std::signal(SIGXFSZ, SIG_IGN))
    {
        if (getrlimit(RLIMIT_FSIZE, &former) != 0) {
            qFatal("Cannot read the limit of file sizes");
        }
        rlimit full = former;
        full.rlim_cur = size;
        if (setrlimit(RLIMIT_FSIZE, &full) != 0) {
            qFatal("Cannot limit file sizes");
        }
    }
    ~FullDisk()
    {
        setrlimit(RLIMIT_FSIZE, &former);
        std::signal(SIGXFSZ, formerAction);
    }
    Q_DISABLE_COPY_MOVE(FullDisk)

private:
    void (*formerAction)(int);
    rlimit former{};
};
