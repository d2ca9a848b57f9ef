#include "pixels/processor.h"

#ifdef QUILLMARCH_HAS_VECTORS

bool hasAvx2()
{
    return __builtin_cpu_supports("avx2") != 0;
}

bool hasAvx512()
{
    return hasAvx2() && __builtin_cpu_supports("avx512bw") != 0 && __builtin_cpu_supports("avx512vbmi") != 0
        && __builtin_cpu_supports("popcnt") != 0;
}

#else

bool hasAvx2()
{
    return false;
}

bool hasAvx512()
{
    return false;
}

#endif
