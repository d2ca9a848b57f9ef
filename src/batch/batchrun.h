#pragma once

#include <QStringList>

/// Does what \a arguments ask for, of which the first is the name of the
/// program, and returns the exit code: 0 if all was done, 2 if the arguments are
/// wrong, and otherwise a value of BatchFailure. Needs no application object, and
/// there must be none.
int runBatch(const QStringList &arguments);
