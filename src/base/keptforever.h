#pragma once

#include <vector>

/// Keeps \a object until the process ends, and returns it.
///
/// For objects that outlive their creator by design. They stay reachable, so
/// that leak checkers do not report them.
template <typename T>
T *keepForever(T *object)
{
    static auto &kept = *new std::vector<T *>; // never destroyed, like the objects in it
    kept.push_back(object);
    return object;
}
