#pragma once

#include <vector>

/// Keeps \a object until the process ends, and returns it.
///
/// Some objects outlive their maker by design. They stay reachable from here,
/// so that a leak checker reports only what was really lost.
template <typename T>
T *keepForever(T *object)
{
    static auto &kept = *new std::vector<T *>; // not destroyed at exit: nor are the objects
    kept.push_back(object);
    return object;
}
