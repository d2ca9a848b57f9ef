#pragma once

#include <QStringList>

/// Runs the program with \a arguments; the first is its name. Returns the exit
/// code: 0 if all files were written, 2 if the arguments are wrong, otherwise a
/// value of BatchFailure. Creates the application object, so there must be none.
int runBatch(const QStringList &arguments);
