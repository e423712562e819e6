// The full tree of a big media, compared with reading the names of its components by key, which is
// the least that any viewer must do; and a media of a million files compared with one of few.

#include "bench/big_media.h"
#include "bench/plain_cursor.h"
#include "bench/ratios.h"
#include "console/headless_application.h"

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <stdexcept>
#include <string>

namespace {

using namespace cw;

constexpr bench::media_size million_files{1'000, 20'000, 1'000'000};
constexpr bench::media_size few_files{1'000, 20'000, 20'000};

std::filesystem::path media(const bench::media_size& size)
{
    return bench::make_big_media(CW_BENCH_DATA_DIR, size);
}

void rebuild_tree(benchmark::State& state, const bench::media_size& size)
{
    console::headless_application viewer;
    if (const auto failure = viewer.open(media(size).u16string())) {
        state.SkipWithError("the media does not open");
        return;
    }
    for (auto _ : state)
        viewer.frame().RebuildTree();
    state.counters["items"] = static_cast<double>(viewer.frame().Tree().GetItemCount());
}

void full_tree_of_a_million_files(benchmark::State& state)
{
    rebuild_tree(state, million_files);
}

void full_tree_of_few_files(benchmark::State& state)
{
    rebuild_tree(state, few_files);
}

void component_names_by_key(benchmark::State& state)
{
    const bench::plain_cursor cursor(media(million_files), "SELECT name FROM component WHERE id = ?");
    sqlite3_stmt* const statement = cursor.statement();
    for (auto _ : state) {
        for (int id = 1; id <= million_files.components; ++id) {
            sqlite3_bind_int(statement, 1, id);
            if (sqlite3_step(statement) == SQLITE_ROW)
                benchmark::DoNotOptimize(std::string(reinterpret_cast<const char*>(sqlite3_column_text(statement, 0))));
            sqlite3_reset(statement);
        }
    }
}

BENCHMARK(component_names_by_key)->Unit(benchmark::kMillisecond)->Repetitions(5);
BENCHMARK(full_tree_of_a_million_files)->Unit(benchmark::kMillisecond)->Repetitions(5);
BENCHMARK(full_tree_of_few_files)->Unit(benchmark::kMillisecond)->Repetitions(5);

constexpr bench::promise promises[] = {
    {"full tree / names of its 20,000 components by key", "full_tree_of_a_million_files", "component_names_by_key", 15},
    {"full tree of 1,000,000 files / of 20,000 files", "full_tree_of_a_million_files", "full_tree_of_few_files", 1.2},
};

} // namespace

int main(int argument_count, char** arguments)
{
    return bench::run_with_promises(argument_count, arguments, promises);
}
