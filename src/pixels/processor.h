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
#endif

/// Whether the processor runs AVX2, and the program has functions for it.
[[nodiscard]] bool hasAvx2();

/// The same for the parts of AVX-512 that QUILLMARCH_AVX512 names; AVX2 is then
/// there, too.
[[nodiscard]] bool hasAvx512();

/// \a plain, or \a avx2, the same compiled for AVX2, if the processor has that.
#ifdef QUILLMARCH_HAS_VECTORS
#define QUILLMARCH_FASTEST(plain, avx2) (hasAvx2() ? (avx2) : (plain))
#else
#define QUILLMARCH_FASTEST(plain, avx2) (plain)
#endif
