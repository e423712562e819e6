// A file of 200 MB behind an address on loopback, read through the file object once the first ten seconds with
// their small chunks are over, compared with the command-line `curl`. A clock that runs fast gets there at
// once.

#include "bench/loopback_server.h"
#include "bench/ratios.h"
#include "fileio/file.h"
#include "fileio/http_file.h"
#include "platform/services.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using namespace cw;

constexpr std::uint32_t body_size_in_bytes = 200 * 1000 * 1000;
constexpr std::uint32_t first_bytes = 16 * 1000 * 1000; // more than ten seconds of 1500 bytes a millisecond
constexpr std::uint32_t block_size_in_bytes = 1024 * 1024;

/// The system's clocks, but for a counter that a millisecond is added to at each look while it is hurried.
class hurried_clocks final : public platform::clocks {
public:
    explicit hurried_clocks(platform::clocks& real) : m_real(real) {}
    bool is_hurried = true;

    bool performance_counter(std::int64_t* count) noexcept override
    {
        std::int64_t frequency = 1;
        if (is_hurried && m_real.performance_frequency(&frequency))
            m_ahead += frequency / 1000;
        const bool is_there = m_real.performance_counter(count);
        *count += m_ahead;
        return is_there;
    }
    bool performance_frequency(std::int64_t* counts_per_second) noexcept override
    {
        return m_real.performance_frequency(counts_per_second);
    }
    std::uint32_t tick_count() noexcept override { return m_real.tick_count(); }
    bool to_file_time(const platform::system_time* time, std::uint64_t* file_time) noexcept override
    {
        return m_real.to_file_time(time, file_time);
    }

private:
    platform::clocks& m_real;
    std::int64_t m_ahead = 0;
};

/// Reads `size_in_bytes` bytes by blocks; false where fewer came.
bool read_bytes(file& opened, std::uint32_t size_in_bytes)
{
    std::vector<char> block(block_size_in_bytes);
    while (size_in_bytes > 0) {
        const std::uint32_t came = opened.read(block.data(), std::min(block_size_in_bytes, size_in_bytes));
        if (came == 0)
            return false;
        size_in_bytes -= came;
    }
    return true;
}

void by_the_file_object(benchmark::State& state)
{
    const bench::loopback_server server(std::uint64_t{first_bytes} + body_size_in_bytes);
    platform::services set = platform::current();
    hurried_clocks clocks(*set.time);
    set.time = &clocks;
    const platform::scoped_services in_use(set);
    for (auto _ : state) {
        state.PauseTiming();
        clocks.is_hurried = true;
        file opened;
        bool well = opened.open(string(std::u16string(server.address().begin(), server.address().end())),
                                platform::generic_read, platform::file_share_read, platform::file_attribute_normal,
                                platform::open_existing, nullptr, 0) == 0 &&
                    read_bytes(opened, first_bytes);
        clocks.is_hurried = false;
        state.ResumeTiming();
        well = well && read_bytes(opened, body_size_in_bytes);
        if (!well || opened.network_file->window_ms < 10001)
            state.SkipWithError("the file is not whole");
    }
}

void by_the_command(benchmark::State& state)
{
    const bench::loopback_server server(body_size_in_bytes);
    const std::string command = "curl --silent --show-error --fail --noproxy '*' -o /dev/null " + server.address();
    for (auto _ : state) {
        if (std::system(command.c_str()) != 0)
            state.SkipWithError("curl does not read");
    }
}

BENCHMARK(by_the_file_object)->UseRealTime()->Unit(benchmark::kMillisecond)->Iterations(5)->Repetitions(5);
BENCHMARK(by_the_command)->UseRealTime()->Unit(benchmark::kMillisecond)->Iterations(5)->Repetitions(5);

constexpr bench::promise promises[] = {
    {"200 MB from loopback through the file object / by curl", "by_the_file_object", "by_the_command", 1.5,
     bench::figure::wall_time},
};

} // namespace

int main(int argument_count, char** arguments)
{
    return bench::run_with_promises(argument_count, arguments, promises);
}
