#pragma once

#include <algorithm>
#include <chrono>
#include <ctime>
#include <limits>

/// The least times of several runs, in seconds.
struct LeastTimes
{
    double processor = std::numeric_limits<double>::max(); ///< of all threads
    double elapsed = std::numeric_limits<double>::max();

    /// Measures \a run and returns its result.
    template <typename Run>
    auto measure(const Run &run)
    {
        const auto start = std::chrono::steady_clock::now();
        const std::clock_t processorStart = std::clock();
        auto result = run();
        const double processorTime = double(std::clock() - processorStart) / CLOCKS_PER_SEC;
        const std::chrono::duration<double> elapsedTime = std::chrono::steady_clock::now() - start;
        processor = std::min(processor, processorTime);
        elapsed = std::min(elapsed, elapsedTime.count());
        return result;
    }
};
