#pragma once

#include <QtGlobal>

/// The number of runs of a randomized test: the environment variable
/// QUILLMARCH_FAULT_RUNS, or \a usual if it is not set.
[[nodiscard]] inline int faultRuns(int usual)
{
    bool isSet = false;
    const int runs = qEnvironmentVariableIntValue("QUILLMARCH_FAULT_RUNS", &isSet);
    return isSet ? runs : usual;
}
