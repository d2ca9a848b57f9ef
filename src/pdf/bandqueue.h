#pragma once

#include "pdf/packedband.h"

#include <functional>

/// Calls \a pack for 0 to \a count - 1 on \a threads threads, the caller's
/// included, and \a take with the results, in order and on the caller's thread.
///
/// At most two results for each thread wait to be taken, so memory is bounded. The
/// first exception ends the work and is thrown again when all threads have ended.
void packInOrder(int count, int threads, const std::function<PackedBand(int)> &pack,
                 const std::function<void(int, PackedBand)> &take);
