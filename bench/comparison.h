#pragma once

#include <benchmark/benchmark.h>
#include <functional>
#include <regex>
#include <string>
#include <vector>

/// Runs one side of a comparison. Reports a failure as the label of the state, not
/// by SkipWithError(): the library aborts if only some repetitions fail by that.
using Measured = std::function<void(benchmark::State &)>;

/// Which time of a measured function is used.
enum class Clock {
    Processor, ///< processor time of all threads of this process
    Manual, ///< set by the function with SetIterationTime(), for child processes
};

/// Whether a side takes milliseconds or less; such sides are repeated more often.
enum class Pace { Slow, Quick };

/// A step of the program, compared with the least work that its result needs.
struct Comparison
{
    std::string step;
    std::string image; ///< the sample, or what varies instead
    double target = 1.0; ///< the highest acceptable ratio of the two times
    Measured program;
    Measured floor;
    double floorFactor = 1.0; ///< how many times the step does the floor's work
    Clock clock = Clock::Processor;
    Pace pace = Pace::Slow;
};

/// \a group with all comparisons set to Pace::Quick.
[[nodiscard]] std::vector<Comparison> quick(std::vector<Comparison> group);

/// One row of the table.
struct Row
{
    std::string step;
    std::string image;
    const char *unit = "ms";
    double program = 0.0;
    double floor = 0.0;
    std::string target;
    bool reached = false;
    std::string failure; ///< why there are no values, otherwise empty
};

/// Measures comparisons and collects the table.
class Table
{
public:
    /// A table of the rows whose "step/image" matches \a pattern.
    explicit Table(const std::string &pattern)
        : wanted(pattern)
    {
    }

    [[nodiscard]] bool wants(const std::string &step, const std::string &image) const;

    /// Whether any row of \a group is wanted. If not, its image need not be loaded.
    [[nodiscard]] bool wantsAny(const std::vector<Comparison> &group) const;

    /// Runs both sides of each comparison in \a group several times, in random
    /// order, and adds a row with the shortest time of each.
    void measure(const std::vector<Comparison> &group);

    void add(const Row &row);

    /// Prints all rows.
    void print() const;

    /// Whether every row has values.
    [[nodiscard]] bool isComplete() const;

private:
    std::regex wanted;
    std::vector<Row> rows;
};
