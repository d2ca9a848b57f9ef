#pragma once

#include <QtGlobal>

/// Has the system provide memory a piece ahead of where it is written for the
/// first time, which takes less than one page fault for each page. Does nothing
/// on systems that cannot do that.
class MemoryAhead
{
public:
    /// For writing from \a begin upward, to before \a afterLast.
    MemoryAhead(uchar *begin, uchar *afterLast);

    /// To be called before writing at \a to.
    void reach(const uchar *to);

private:
    uchar *next = nullptr; ///< start of the first page that has not been requested
    uchar *end = nullptr;
};
