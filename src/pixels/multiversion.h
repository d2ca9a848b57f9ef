#pragma once

/// Put before a small hot function: it is then built for several generations
/// of processors, and the best one for the machine is chosen at start. Expands
/// to nothing where the compiler or the platform cannot do that; the function
/// must not rely on it.
#if defined(__GNUC__) && !defined(__clang__) && defined(__x86_64__) && defined(__linux__)                              \
    && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define QUILLMARCH_MULTIVERSION __attribute__((target_clones("avx2", "default")))
#else
#define QUILLMARCH_MULTIVERSION
#endif
