#include "bench/ratios.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace cw::bench {
namespace {

/// Prints what the console reporter prints and keeps every repetition's time.
class keeping_reporter final : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs)
            if (run.run_type == Run::RT_Iteration && !run.error_occurred)
                m_times[run.run_name.function_name].push_back(run.GetAdjustedCPUTime() /
                                                              benchmark::GetTimeUnitMultiplier(run.time_unit));
        ConsoleReporter::ReportRuns(runs);
    }

    /// The median processor time in seconds (other programs of the machine do not show in it), negative where the
    /// benchmark did not run.
    [[nodiscard]] double median(std::string_view name) const
    {
        const auto found = m_times.find(std::string(name));
        if (found == m_times.end() || found->second.empty())
            return -1;
        std::vector<double> times = found->second;
        std::nth_element(times.begin(), times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2), times.end());
        return times[times.size() / 2];
    }

private:
    std::map<std::string, std::vector<double>> m_times;
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
        const double measured = reporter.median(entry.measured);
        const double baseline = reporter.median(entry.baseline);
        if (measured < 0 || baseline <= 0)
            continue;
        const double ratio = measured / baseline;
        std::printf("%-64.*s %6.2f  (at most %.1f)%s\n", static_cast<int>(entry.what.size()), entry.what.data(), ratio,
                    entry.at_most, ratio <= entry.at_most ? "" : "  <-- broken");
    }
    return 0;
}

} // namespace cw::bench
