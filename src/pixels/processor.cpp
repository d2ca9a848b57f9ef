#include "pixels/processor.h"

#ifdef QUILLMARCH_HAS_VECTORS

namespace {

bool areVectorsUsed = true;

} // namespace

bool hasAvx2()
{
    return areVectorsUsed && __builtin_cpu_supports("avx2") != 0;
}

bool hasAvx512()
{
    return hasAvx2() && __builtin_cpu_supports("avx512bw") != 0 && __builtin_cpu_supports("avx512vbmi") != 0
        && __builtin_cpu_supports("popcnt") != 0;
}

void useNoVectors()
{
    areVectorsUsed = false;
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

void useNoVectors()
{
}

#endif
