// Runs Google Benchmark and then tells each promise as a ratio of two benchmarks of the same run.
// What a machine takes for something says little; what it takes compared with the plain way of
// doing the same does.
#pragma once

#include <span>
#include <string_view>

namespace cw::bench {

enum class figure {
    processor_time, // other programs of the machine do not show in it
    wall_time,      // where a side works in another process or thread
    memory,         // the counter of that name, in bytes
};
inline constexpr const char* memory_counter = "bytes";

struct promise {
    std::string_view what;
    std::string_view measured; // benchmark names
    std::string_view baseline;
    double at_most;
    bench::figure figure = bench::figure::processor_time;
};

/// The body of a benchmark program's main.
int run_with_promises(int argument_count, char** arguments, std::span<const promise> promises);

} // namespace cw::bench
