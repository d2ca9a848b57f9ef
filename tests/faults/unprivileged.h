#pragma once

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <unistd.h>

/// Drops root privileges while this object lives, because root ignores file
/// permissions.
///
/// Files keep their owner. The working directory and its parent become
/// searchable for others, so that only the permissions under test deny access.
class Unprivileged
{
public:
    Unprivileged()
        : wasRoot(geteuid() == 0)
    {
        if (wasRoot) {
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
            qFatal("Cannot regain root privileges");
        }
    }
    Q_DISABLE_COPY_MOVE(Unprivileged)

    /// Whether permissions are enforced now.
    [[nodiscard]] bool isEffective() const { return !wasRoot || isSwitched; }

private:
    static constexpr uid_t nobody = 65534;

    bool wasRoot = false;
    bool isSwitched = false;
};
