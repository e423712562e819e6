#include "bench/ratios.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace cw::bench {
namespace {

/// Prints what the console reporter prints and keeps every repetition's figures.
class keeping_reporter final : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration || run.error_occurred)
                continue;
            const std::string& name = run.run_name.function_name;
            const double unit = benchmark::GetTimeUnitMultiplier(run.time_unit);
            m_figures[{name, figure::processor_time}].push_back(run.GetAdjustedCPUTime() / unit);
            m_figures[{name, figure::wall_time}].push_back(run.GetAdjustedRealTime() / unit);
            if (const auto memory = run.counters.find(memory_counter); memory != run.counters.end())
                m_figures[{name, figure::memory}].push_back(memory->second.value);
        }
        ConsoleReporter::ReportRuns(runs);
    }

    /// The median in seconds or bytes, negative where the benchmark did not run.
    [[nodiscard]] double median(std::string_view name, figure which) const
    {
        const auto found = m_figures.find({std::string(name), which});
        if (found == m_figures.end())
            return -1;
        std::vector<double> values = found->second;
        std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2), values.end());
        return values[values.size() / 2];
    }

private:
    std::map<std::pair<std::string, figure>, std::vector<double>> m_figures;
};

} // namespace

int run_with_promises(int argument_count, char** arguments, std::span<const promise> promises)
{
    benchmark::Initialize(&argument_count, arguments);
    if (benchmark::ReportUnrecognizedArguments(argument_count, arguments))
        return 2;
    keeping_reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    for (const promise& entry : promises) {
        const double measured = reporter.median(entry.measured, entry.figure);
        const double baseline = reporter.median(entry.baseline, entry.figure);
        if (measured < 0 || baseline <= 0)
            continue;
        const double ratio = measured / baseline;
        std::printf("%-64.*s %6.2f  (at most %.1f)%s\n", static_cast<int>(entry.what.size()), entry.what.data(), ratio,
                    entry.at_most, ratio <= entry.at_most ? "" : "  <-- broken");
    }
    return 0;
}

} // namespace cw::bench
