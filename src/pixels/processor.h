#pragma once

/// Vector instructions that not every processor has. A function marked with one
/// of the macros is compiled for them, and may be called only where the function
/// of that name returns true; a plain twin serves all other processors.
///
/// Not on Windows, where gcc does not align the stack for such vectors.
#if defined(__x86_64__) && defined(__GNUC__) && defined(__linux__)
#define QUILLMARCH_HAS_VECTORS
#define QUILLMARCH_AVX2 __attribute__((target("avx2")))
#define QUILLMARCH_AVX512 __attribute__((target("avx512bw,avx512vbmi,popcnt")))

inline bool hasAvx2()
{
    return __builtin_cpu_supports("avx2") != 0;
}

inline bool hasAvx512()
{
    return hasAvx2() && __builtin_cpu_supports("avx512bw") != 0 && __builtin_cpu_supports("avx512vbmi") != 0;
}
#endif

/// \a plain, or \a avx2, the same compiled for AVX2, if the processor has that.
#ifdef QUILLMARCH_HAS_VECTORS
#define QUILLMARCH_FASTEST(plain, avx2) (hasAvx2() ? (avx2) : (plain))
#else
#define QUILLMARCH_FASTEST(plain, avx2) (plain)
#endif
