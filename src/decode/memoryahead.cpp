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

uchar *startOfPage(uchar *address)
{
    static const auto pageLength = quintptr(sysconf(_SC_PAGESIZE));
    return address - quintptr(address) % pageLength;
}

} // namespace

MemoryAhead::MemoryAhead(uchar *begin, uchar *afterLast)
    : next(startOfPage(begin))
    , end(afterLast)
{
}

void MemoryAhead::reach(const uchar *to)
{
    if (next < end && quintptr(to) + leastAhead > quintptr(next)) {
        const quintptr length = std::min(pieceLength, quintptr(end - next));
        madvise(next, length, MADV_POPULATE_WRITE); // if it fails, there are page faults
        next += length;
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
