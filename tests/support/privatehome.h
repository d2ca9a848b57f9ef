#pragma once

#include <QTemporaryDir>

/// A home of its own for one run of a test program.
///
/// Construct it before the application object: HOME, the XDG directories, the
/// download folder and the working directory all point into a temporary
/// directory, which goes with this object. A test program that is started by
/// hand thus never touches the settings of the user, and shows no window.
class PrivateHome
{
public:
    PrivateHome();
    ~PrivateHome();

    /// Path of the temporary directory.
    QString path() const { return dir.path(); }

    /// Removes what earlier runs left beside the executable. Needs the
    /// application object.
    static void removeConfigFile();

private:
    QTemporaryDir dir;
};
