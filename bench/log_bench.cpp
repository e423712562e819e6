// Logs of many operations: opening one and building its tree compared with one of few, a million
// records in the list compared with a plain cursor over the same columns, and the list's memory.

#include "bench/big_log.h"
#include "bench/plain_cursor.h"
#include "bench/ratios.h"
#include "bridges/log_interface.h"
#include "console/headless_application.h"

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <filesystem>
#include <string>
#include <vector>

namespace {

using namespace cw;

constexpr bench::log_size many_operations{200, 1'000'000};
constexpr bench::log_size few_operations{200, 10'000};
constexpr int list_length = 1'000'000;

void open_log(benchmark::State& state, const bench::log_size& size)
{
    const std::u16string path = bench::make_big_log(CW_BENCH_DATA_DIR, size).u16string();
    console::headless_application viewer;
    for (auto _ : state) {
        if (viewer.open(path)) {
            state.SkipWithError("the log does not open");
            return;
        }
    }
    state.counters["items"] = static_cast<double>(viewer.frame().Tree().GetItemCount());
}

void tree_of_many_operations(benchmark::State& state)
{
    open_log(state, many_operations);
}

void tree_of_few_operations(benchmark::State& state)
{
    open_log(state, few_operations);
}

/// The viewer with a log, showing its one long list where one asks for it.
class list_viewer {
public:
    /// False with a skipped benchmark.
    bool open(benchmark::State& state, bench::long_list list)
    {
        if (m_viewer.open(bench::make_long_log(CW_BENCH_DATA_DIR, list, list_length).u16string())) {
            state.SkipWithError("the log does not open");
            return false;
        }
        const CTreeCtrl& tree = m_viewer.frame().Tree();
        m_feature = tree.GetChildItem(tree.GetChildItem(tree.GetRootItem()));
        m_group = tree.GetChildItem(m_feature);
        fill();
        if (this->list().GetItemCount() != static_cast<std::size_t>(list_length)) {
            state.SkipWithError("the list lacks records");
            return false;
        }
        return true;
    }
    CListCtrl& list() { return m_viewer.frame().List(); }
    void empty() { m_viewer.frame().Tree().SelectItem(m_feature); }
    void fill() { m_viewer.frame().Tree().SelectItem(m_group); }

private:
    console::headless_application m_viewer;
    HTREEITEM m_feature;
    HTREEITEM m_group;
};

void fill_list(benchmark::State& state, bench::long_list list)
{
    list_viewer viewer;
    if (!viewer.open(state, list))
        return;
    for (auto _ : state) {
        state.PauseTiming();
        viewer.empty();
        state.ResumeTiming();
        viewer.fill();
    }
    state.counters[bench::memory_counter] = static_cast<double>(viewer.list().storage_in_bytes());
}

void list_of_files(benchmark::State& state)
{
    fill_list(state, bench::long_list::files);
}

void list_of_both_registries(benchmark::State& state)
{
    fill_list(state, bench::long_list::registries);
}

/// One row as a plain program would hold it.
struct plain_row {
    std::vector<std::string> texts;
    std::vector<std::int64_t> numbers;
};

/// Reads all columns of the tables through one cursor each.
void read_plainly(benchmark::State& state, bench::long_list list, std::initializer_list<std::u16string_view> types)
{
    const std::filesystem::path log = bench::make_long_log(CW_BENCH_DATA_DIR, list, list_length);
    for (auto _ : state) {
        int count = 0;
        for (const std::u16string_view type : types) {
            const bench::plain_cursor cursor(log, bench::select_long_list(type));
            sqlite3_stmt* const statement = cursor.statement();
            while (sqlite3_step(statement) == SQLITE_ROW) {
                plain_row row;
                for (int column = 0; column < sqlite3_column_count(statement); ++column) {
                    if (sqlite3_column_type(statement, column) == SQLITE_TEXT)
                        row.texts.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(statement, column)),
                                               static_cast<std::size_t>(sqlite3_column_bytes(statement, column)));
                    else
                        row.numbers.push_back(sqlite3_column_int64(statement, column));
                }
                benchmark::DoNotOptimize(&row);
                ++count;
            }
        }
        if (count != list_length)
            state.SkipWithError("the log lacks records");
    }
}

void plain_cursor_over_files(benchmark::State& state)
{
    read_plainly(state, bench::long_list::files, {log_operation_type::file});
}

void plain_cursor_over_both_registries(benchmark::State& state)
{
    read_plainly(state, bench::long_list::registries, {log_operation_type::registry, log_operation_type::registry64});
}

void memory_allowed(benchmark::State& state)
{
    list_viewer viewer;
    if (!viewer.open(state, bench::long_list::files))
        return;
    constexpr double of_the_texts = 1.5;
    constexpr double bytes_a_cell = 16;
    const CListCtrl& list = viewer.list();
    double texts = 0;
    for (auto _ : state) {
        texts = 0;
        for (std::size_t row = 0; row < list.GetItemCount(); ++row)
            for (std::size_t column = 0; column < list.GetColumnCount(); ++column)
                texts += static_cast<double>(list.GetItemText(row, column).size() * sizeof(char16_t));
    }
    state.counters[bench::memory_counter] =
        of_the_texts * texts + bytes_a_cell * static_cast<double>(list.GetItemCount() * list.GetColumnCount());
}

BENCHMARK(tree_of_few_operations)->Unit(benchmark::kMillisecond)->Repetitions(5);
BENCHMARK(tree_of_many_operations)->Unit(benchmark::kMillisecond)->Repetitions(5);
BENCHMARK(plain_cursor_over_files)->Unit(benchmark::kMillisecond)->Repetitions(3);
BENCHMARK(list_of_files)->Unit(benchmark::kMillisecond)->Repetitions(3);
BENCHMARK(memory_allowed)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(plain_cursor_over_both_registries)->Unit(benchmark::kMillisecond)->Repetitions(3);
BENCHMARK(list_of_both_registries)->Unit(benchmark::kMillisecond)->Repetitions(3);

constexpr bench::promise promises[] = {
    {"tree of a log of 1,000,000 operations / of 10,000", "tree_of_many_operations", "tree_of_few_operations", 1.2},
    {"list of 1,000,000 files / plain cursor over their columns", "list_of_files", "plain_cursor_over_files", 5},
    {"list's memory / 1.5 times its texts and 16 bytes a cell", "list_of_files", "memory_allowed", 1,
     bench::figure::memory},
    {"list of 1,000,000 registry operations / plain cursor over their columns", "list_of_both_registries",
     "plain_cursor_over_both_registries", 5},
};

} // namespace

int main(int argument_count, char** arguments)
{
    return bench::run_with_promises(argument_count, arguments, promises);
}
