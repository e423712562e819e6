// The registry tree of 50,000, 100,000 and 200,000 keys: twice the keys may cost little more than
// twice the time, whether they lie side by side or below long paths.

#include "app/menus.h"
#include "bench/big_media.h"
#include "bench/ratios.h"
#include "console/headless_application.h"

#include <benchmark/benchmark.h>

namespace {

using namespace cw;

void registry_tree(benchmark::State& state, bench::registry_shape shape, int keys)
{
    console::headless_application viewer;
    const std::filesystem::path media = bench::make_registry_media(CW_BENCH_DATA_DIR, shape, keys);
    if (viewer.open(media.u16string()) || viewer.run_command(ID_VIEW_REGISTRY_SETS)) {
        state.SkipWithError("the media does not open");
        return;
    }
    if (viewer.frame().Tree().GetItemCount() < static_cast<std::size_t>(keys)) {
        state.SkipWithError("the tree lacks keys");
        return;
    }
    for (auto _ : state)
        viewer.frame().RebuildTree();
    state.counters["items"] = static_cast<double>(viewer.frame().Tree().GetItemCount());
}

#define CW_REGISTRY_BENCHMARK(shape, keys)                                                                             \
    BENCHMARK_CAPTURE(registry_tree, shape##_##keys, bench::registry_shape::shape, keys)                               \
        ->Unit(benchmark::kMillisecond)                                                                                \
        ->Repetitions(5)
CW_REGISTRY_BENCHMARK(flat, 50000);
CW_REGISTRY_BENCHMARK(flat, 100000);
CW_REGISTRY_BENCHMARK(flat, 200000);
CW_REGISTRY_BENCHMARK(deep, 50000);
CW_REGISTRY_BENCHMARK(deep, 100000);
CW_REGISTRY_BENCHMARK(deep, 200000);

constexpr bench::promise promises[] = {
    {"flat registry of 100,000 keys / of 50,000", "registry_tree/flat_100000", "registry_tree/flat_50000", 2.3},
    {"flat registry of 200,000 keys / of 100,000", "registry_tree/flat_200000", "registry_tree/flat_100000", 2.3},
    {"deep registry of 100,000 keys / of 50,000", "registry_tree/deep_100000", "registry_tree/deep_50000", 2.3},
    {"deep registry of 200,000 keys / of 100,000", "registry_tree/deep_200000", "registry_tree/deep_100000", 2.3},
};

} // namespace

int main(int argument_count, char** arguments)
{
    return bench::run_with_promises(argument_count, arguments, promises);
}
