#include "decode/memoryahead.h"

#include <algorithm>

#ifdef Q_OS_LINUX
#include <sys/mman.h>
#include <unistd.h>
#endif

#ifdef MADV_POPULATE_WRITE

namespace {

// Little enough for the caches: the pages are cleared first.
constexpr quintptr pieceLength = quintptr(1) << 20;
constexpr quintptr leastAhead = pieceLength / 2;

quintptr startOfPage(quintptr address)
{
    static const auto pageLength = quintptr(sysconf(_SC_PAGESIZE));
    return address - address % pageLength;
}

} // namespace

MemoryAhead::MemoryAhead(uchar *begin, uchar *afterLast)
    : next(startOfPage(quintptr(begin)))
    , end(quintptr(afterLast))
{
}

void MemoryAhead::reach(const uchar *to)
{
    if (next < end && quintptr(to) + leastAhead > next) {
        const quintptr length = std::min(pieceLength, end - next);
        madvise(reinterpret_cast<void *>(next), length, MADV_POPULATE_WRITE); // if it fails, there are page faults
        next += pieceLength;
    }
}

#else

MemoryAhead::MemoryAhead(uchar * /*begin*/, uchar * /*end*/)
{
}

void MemoryAhead::reach(const uchar * /*to*/)
{
}

#endif
