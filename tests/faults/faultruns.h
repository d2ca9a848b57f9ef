#pragma once

#include <QtGlobal>

/// How often a test with chance in it runs: QUILLMARCH_FAULT_RUNS of the
/// environment, or \a usual times without it.
inline int faultRuns(int usual)
{
    bool isSet = false;
    const int runs = qEnvironmentVariableIntValue("QUILLMARCH_FAULT_RUNS", &isSet);
    return isSet ? runs : usual;
}
