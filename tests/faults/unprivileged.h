#pragma once

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <unistd.h>

/// A user without rights, for as long as this object lives: nothing is locked
/// to the superuser, so locks are real for everybody else only.
///
/// Files keep their owner. The folders above the working directory are opened
/// to others, so that it is the lock under test that refuses.
class Unprivileged
{
public:
    Unprivileged()
        : wasSuperuser(geteuid() == 0)
    {
        if (wasSuperuser) {
            const QString work = QDir::currentPath();
            for (const QString &folder : {work, QFileInfo(work).path()}) {
                QFile::setPermissions(folder, QFile::permissions(folder) | QFile::ExeGroup | QFile::ExeOther);
            }
            isSwitched = seteuid(nobody) == 0;
        }
    }
    ~Unprivileged()
    {
        if (isSwitched && seteuid(0) != 0) {
            qFatal("Cannot become the superuser again");
        }
    }
    Q_DISABLE_COPY_MOVE(Unprivileged)

    /// Whether locks hold now.
    bool isReal() const { return !wasSuperuser || isSwitched; }

private:
    static constexpr uid_t nobody = 65534;

    bool wasSuperuser = false;
    bool isSwitched = false;
};
