#pragma once

/// Vector instructions that not every processor has. QUILLMARCH_AVX2 and
/// QUILLMARCH_AVX512 compile a function for them. Call such a function only if
/// hasAvx2() or hasAvx512() returns true, and a portable version otherwise.
///
/// Not for Windows, where gcc does not align the stack for such vectors.
#if defined(__x86_64__) && defined(__GNUC__) && defined(__linux__)
#define QUILLMARCH_HAS_VECTORS
#define QUILLMARCH_AVX2 __attribute__((target("avx2")))
#define QUILLMARCH_AVX512 __attribute__((target("avx512bw,avx512vbmi,popcnt")))
#endif

/// Whether the processor has AVX2, and this build has functions for it.
[[nodiscard]] bool hasAvx2();

/// The same for AVX2 and the parts of AVX-512 that QUILLMARCH_AVX512 names.
[[nodiscard]] bool hasAvx512();

/// Has hasAvx2() and hasAvx512() return false from now on, so that a test reaches the
/// portable functions. Call it before the first picture.
void useNoVectors();

/// The function \a avx2, which is compiled for AVX2, if hasAvx2(), otherwise its
/// portable version \a portable.
#ifdef QUILLMARCH_HAS_VECTORS
#define QUILLMARCH_FASTEST(portable, avx2) (hasAvx2() ? (avx2) : (portable))
#else
#define QUILLMARCH_FASTEST(portable, avx2) (portable)
#endif
