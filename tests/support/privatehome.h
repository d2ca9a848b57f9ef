#pragma once

#include <QTemporaryDir>

/// A temporary home directory for one run of a test program.
///
/// Construct it before the application object: HOME, the XDG directories, the
/// download folder and the working directory all point into a temporary
/// directory, which this object removes. Even when started by hand, a test
/// program never touches the settings of the user and shows no window.
class PrivateHome
{
public:
    PrivateHome();
    ~PrivateHome();

    /// Path of the temporary directory.
    QString path() const { return dir.path(); }

    /// Removes the `user.ini` of earlier runs next to the executable. Needs the
    /// application object.
    static void removeConfigFile();

private:
    QTemporaryDir dir;
};
