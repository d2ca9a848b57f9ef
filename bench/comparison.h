#pragma once

#include <benchmark/benchmark.h>
#include <functional>
#include <regex>
#include <string>
#include <vector>

/// Runs one side of a comparison. Tells in the label of the state, and in no
/// other way, that it did not do its work: the library stops the program if
/// only some repetitions fail by SkipWithError().
using Measured = std::function<void(benchmark::State &)>;

/// Which time of a measured function counts.
enum class Clock {
    Processor, ///< of all threads of this process
    Manual, ///< what the function sets by SetIterationTime(), for child processes
};

/// Whether a side takes milliseconds or less, so that it is repeated more often.
enum class Pace { Slow, Quick };

/// A step of the program next to the least work that its result takes.
struct Comparison
{
    std::string step;
    std::string image; ///< the sample, or what else is varied
    double target = 1.0; ///< the highest ratio of the two times that is good
    Measured program;
    Measured floor;
    double floorFactor = 1.0; ///< how often the floor's work goes into the step's
    Clock clock = Clock::Processor;
    Pace pace = Pace::Slow;
};

/// \a group, each of its sides measured as a quick one.
std::vector<Comparison> quick(std::vector<Comparison> group);

/// A line of the table.
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
    /// Takes only the lines whose "step/image" matches \a pattern.
    explicit Table(const std::string &pattern)
        : wanted(pattern)
    {
    }

    bool wants(const std::string &step, const std::string &image) const;

    /// Whether any line of \a group is wanted; saves loading its image.
    bool wantsAny(const std::vector<Comparison> &group) const;

    /// Runs both sides of each comparison in \a group several times, in random
    /// order, and adds a line with the least time of each.
    void measure(const std::vector<Comparison> &group);

    void add(const Row &row);

    /// Prints all lines.
    void print() const;

    /// Whether every line has values.
    bool isComplete() const;

private:
    std::regex wanted;
    std::vector<Row> rows;
};
