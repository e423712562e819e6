// The list with 100,000 files of one component: filling it compared with a plain cursor over the same
// columns, its memory with its texts, sorting it with sorting the texts alone.

#include "app/menus.h"
#include "app/sort_order.h"
#include "bench/big_media.h"
#include "bench/plain_cursor.h"
#include "bench/ratios.h"
#include "console/headless_application.h"

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

namespace {

using namespace cw;

constexpr bench::media_size files_of_one_component{1, 1, 100'000};
constexpr std::size_t sorted_column = 0;

std::filesystem::path media()
{
    return bench::make_big_media(CW_BENCH_DATA_DIR, files_of_one_component);
}

/// The viewer with that media, showing its files where one asks for them.
class files_viewer {
public:
    /// False with a skipped benchmark.
    bool open(benchmark::State& state)
    {
        if (m_viewer.open(media().u16string()) || m_viewer.run_command(ID_VIEW_COMPONENTS)) {
            state.SkipWithError("the media does not open");
            return false;
        }
        const CTreeCtrl& tree = m_viewer.frame().Tree();
        m_component = tree.GetChildItem(tree.GetRootItem());
        m_files = tree.GetChildItem(m_component);
        fill();
        if (list().GetItemCount() != static_cast<std::size_t>(files_of_one_component.files)) {
            state.SkipWithError("the list lacks files");
            return false;
        }
        return true;
    }
    CListCtrl& list() { return m_viewer.frame().List(); }
    void empty() { m_viewer.frame().Tree().SelectItem(m_component); }
    void fill() { m_viewer.frame().Tree().SelectItem(m_files); }

private:
    console::headless_application m_viewer;
    HTREEITEM m_component;
    HTREEITEM m_files;
};

void list_of_files(benchmark::State& state)
{
    files_viewer viewer;
    if (!viewer.open(state))
        return;
    for (auto _ : state) {
        state.PauseTiming();
        viewer.empty();
        state.ResumeTiming();
        viewer.fill();
    }
    state.counters[bench::memory_counter] = static_cast<double>(viewer.list().storage_in_bytes());
}

struct plain_row {
    std::string name;
    std::int64_t size;
    std::int64_t compressed_size;
    double date;
    std::string version;
    std::string md5;
    std::int64_t flags;
};

void plain_cursor(benchmark::State& state)
{
    const bench::plain_cursor cursor(media(), "SELECT name, size, compressed_size, date, version, md5, flags FROM file "
                                              "WHERE component = 1 ORDER BY position");
    sqlite3_stmt* const statement = cursor.statement();
    const auto text = [&](int column) {
        return std::string(reinterpret_cast<const char*>(sqlite3_column_text(statement, column)));
    };
    const auto bytes = [&](int column) {
        const void* data = sqlite3_column_blob(statement, column);
        return std::string(static_cast<const char*>(data),
                           static_cast<std::size_t>(sqlite3_column_bytes(statement, column)));
    };
    for (auto _ : state) {
        std::size_t count = 0;
        while (sqlite3_step(statement) == SQLITE_ROW) {
            const plain_row row{text(0),
                                sqlite3_column_int64(statement, 1),
                                sqlite3_column_int64(statement, 2),
                                sqlite3_column_double(statement, 3),
                                text(4),
                                bytes(5),
                                sqlite3_column_int64(statement, 6)};
            benchmark::DoNotOptimize(&row);
            ++count;
        }
        sqlite3_reset(statement);
        if (count != static_cast<std::size_t>(files_of_one_component.files))
            state.SkipWithError("the header lacks files");
    }
}

/// The texts of a column, or of all.
std::vector<std::u16string> texts_of(const CListCtrl& list, std::optional<std::size_t> column)
{
    std::vector<std::u16string> texts;
    for (std::size_t row = 0; row < list.GetItemCount(); ++row)
        for (std::size_t cell = column.value_or(0); cell < (column ? *column + 1 : list.GetColumnCount()); ++cell)
            texts.emplace_back(list.GetItemText(row, cell));
    return texts;
}

void memory_allowed(benchmark::State& state)
{
    files_viewer viewer;
    if (!viewer.open(state))
        return;
    constexpr double of_the_texts = 1.5;
    constexpr double bytes_a_cell = 16;
    double texts = 0;
    double cells = 0;
    for (auto _ : state) {
        texts = cells = 0;
        for (const std::u16string& text : texts_of(viewer.list(), {})) {
            texts += static_cast<double>(text.size() * sizeof(char16_t));
            ++cells;
        }
    }
    state.counters[bench::memory_counter] = of_the_texts * texts + bytes_a_cell * cells;
}

void header_click(benchmark::State& state)
{
    files_viewer viewer;
    if (!viewer.open(state))
        return;
    for (auto _ : state) {
        state.PauseTiming();
        viewer.empty();
        viewer.fill();
        current_sort_order() = {};
        state.ResumeTiming();
        viewer.list().ClickHeader(sorted_column);
    }
    const std::vector<std::u16string> sorted = texts_of(viewer.list(), sorted_column);
    if (!std::ranges::is_sorted(sorted))
        state.SkipWithError("the list is not sorted");
}

void sorted_texts(benchmark::State& state)
{
    files_viewer viewer;
    if (!viewer.open(state))
        return;
    const std::vector<std::u16string> texts = texts_of(viewer.list(), sorted_column);
    for (auto _ : state) {
        state.PauseTiming();
        std::vector<std::u16string> sorted = texts;
        state.ResumeTiming();
        std::ranges::stable_sort(sorted);
        benchmark::DoNotOptimize(sorted.data());
        state.PauseTiming();
        sorted.clear();
        state.ResumeTiming();
    }
}

BENCHMARK(plain_cursor)->Unit(benchmark::kMillisecond)->Repetitions(5);
BENCHMARK(list_of_files)->Unit(benchmark::kMillisecond)->Repetitions(5);
BENCHMARK(memory_allowed)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(sorted_texts)->Unit(benchmark::kMillisecond)->Repetitions(5);
// The list is filled anew before each click, which takes longer than the click.
BENCHMARK(header_click)->Unit(benchmark::kMillisecond)->Iterations(3)->Repetitions(5);

constexpr bench::promise promises[] = {
    {"list of 100,000 files / plain cursor over their columns", "list_of_files", "plain_cursor", 6},
    {"list's memory / 1.5 times its texts and 16 bytes a cell", "list_of_files", "memory_allowed", 1,
     bench::figure::memory},
    {"list of 100,000 rows sorted by a header click / its texts alone", "header_click", "sorted_texts", 3},
};

} // namespace

int main(int argument_count, char** arguments)
{
    return bench::run_with_promises(argument_count, arguments, promises);
}
