#include "comparison.h"

#include <algorithm>
#include <cstdio>
#include <map>

namespace {

constexpr int processRepetitions = 20;
constexpr int quickRepetitions = 20;
constexpr double quickMinTime = 0.03; // seconds

struct Measurement
{
    double time = 0.0; // milliseconds
    std::string failure;
};

/// Keeps the shortest time of each benchmark, and prints each time as progress.
class ShortestTimes : public benchmark::BenchmarkReporter
{
public:
    bool ReportContext(const Context &) override { return true; }

    void ReportRuns(const std::vector<Run> &runs) override
    {
        for (const Run &run : runs) {
            if (run.run_type == Run::RT_Iteration) {
                record(run);
            }
        }
    }

    const Measurement &of(const std::string &name) { return times[name]; }

private:
    void record(const Run &run)
    {
        const std::string &name = run.run_name.function_name;
        const bool manual = run.run_name.time_type == "manual_time";
        const double time = manual ? run.GetAdjustedRealTime() : run.GetAdjustedCPUTime();
        Measurement &shortest = times.try_emplace(name, Measurement{time, {}}).first->second;
        shortest.time = std::min(shortest.time, time);
        if (!run.report_label.empty()) {
            shortest.failure = run.report_label;
        }
        std::fprintf(stderr, "%-60s %10.3f ms\n", name.c_str(), time);
    }

    std::map<std::string, Measurement> times;
};

std::string nameOf(const Comparison &comparison, const char *side)
{
    return comparison.step + '/' + comparison.image + '/' + side;
}

void registerSide(const Comparison &comparison, const char *side, const Measured &measured)
{
    auto *benchmark = benchmark::RegisterBenchmark(nameOf(comparison, side).c_str(), measured);
    benchmark->Unit(benchmark::kMillisecond);
    if (comparison.clock == Clock::Manual) {
        benchmark->UseManualTime()->Iterations(1)->Repetitions(processRepetitions);
        return;
    }
    benchmark->MeasureProcessCPUTime();
    if (comparison.pace == Pace::Quick) {
        benchmark->Repetitions(quickRepetitions)->MinTime(quickMinTime);
    }
}

std::string limitText(double target)
{
    char text[32];
    std::snprintf(text, sizeof text, "<= %.2f", target);
    return text;
}

} // namespace

bool Table::wants(const std::string &step, const std::string &image) const
{
    return std::regex_search(step + '/' + image, wanted);
}

bool Table::wantsAny(const std::vector<Comparison> &group) const
{
    return std::any_of(group.cbegin(), group.cend(),
                       [this](const Comparison &each) { return wants(each.step, each.image); });
}

std::vector<Comparison> quick(std::vector<Comparison> group)
{
    for (Comparison &each : group) {
        each.pace = Pace::Quick;
    }
    return group;
}

void Table::measure(const std::vector<Comparison> &group)
{
    std::vector<Comparison> chosen;
    std::copy_if(group.cbegin(), group.cend(), std::back_inserter(chosen),
                 [this](const Comparison &each) { return wants(each.step, each.image); });
    if (chosen.empty()) {
        return;
    }
    for (const Comparison &each : chosen) {
        registerSide(each, "program", each.program);
        registerSide(each, "floor", each.floor);
    }
    ShortestTimes times;
    benchmark::RunSpecifiedBenchmarks(&times, "all");
    benchmark::ClearRegisteredBenchmarks();
    for (const Comparison &each : chosen) {
        const Measurement program = times.of(nameOf(each, "program"));
        const Measurement floor = times.of(nameOf(each, "floor"));
        const double floorTime = floor.time * each.floorFactor;
        add({each.step, each.image, "ms", program.time, floorTime, limitText(each.target),
             program.time <= each.target * floorTime, program.failure + floor.failure});
    }
}

void Table::add(const Row &row)
{
    rows.push_back(row);
}

void Table::print() const
{
    std::printf("| %-26s | %-14s | %10s | %10s | %6s | %-14s | |\n", "Step", "Image", "Program", "Floor", "Ratio",
                "Target");
    std::printf(
        "|:---------------------------|:---------------|-----------:|-----------:|-------:|:---------------|-|\n");
    for (const Row &row : rows) {
        if (row.failure.empty()) {
            std::printf("| %-26s | %-14s | %7.2f %s | %7.2f %s | %6.3f | %-14s |%s|\n", row.step.c_str(),
                        row.image.c_str(), row.program, row.unit, row.floor, row.unit, row.program / row.floor,
                        row.target.c_str(), row.reached ? " " : "!");
        } else {
            std::printf("| %-26s | %-14s | %s |\n", row.step.c_str(), row.image.c_str(), row.failure.c_str());
        }
    }
}

bool Table::isComplete() const
{
    return std::all_of(rows.cbegin(), rows.cend(), [](const Row &row) { return row.failure.empty(); });
}
