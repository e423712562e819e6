// Searches through logs: a text that is nowhere among a million records compared with a plain cursor
// that looks for it in the same columns, and the way from hit to hit in a big log compared with the
// same way in a small one.

#include "app/menus.h"
#include "bench/big_log.h"
#include "bench/plain_cursor.h"
#include "bench/ratios.h"
#include "bridges/log_interface.h"
#include "console/headless_application.h"

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <cctype>
#include <filesystem>
#include <string>
#include <string_view>

namespace {

using namespace cw;

constexpr int list_length = 1'000'000;
/// Every record has it but for the last digit.
constexpr std::u16string_view text_nowhere = u"Section 97";
constexpr std::string_view text_nowhere_in_small_letters = "section 97";

// Features of the same size, more of them.
constexpr bench::log_size big_log{200, 1'000'000};
constexpr bench::log_size small_log{20, 100'000};
/// What features are called and operations are not.
constexpr std::u16string_view text_of_features = u"FEATURE ";
/// So many features follow the first one in either log.
constexpr int hits = 15;

void find(console::headless_application& viewer, std::u16string_view text)
{
    viewer.person().answer(question_kind::find, std::u16string(text));
    (void)viewer.run_command(ID_SEARCH_FIND);
}

bool open(benchmark::State& state, console::headless_application& viewer, const std::filesystem::path& log)
{
    if (!viewer.open(log.u16string()))
        return true;
    state.SkipWithError("the log does not open");
    return false;
}

void find_nothing(benchmark::State& state)
{
    console::headless_application viewer;
    if (!open(state, viewer, bench::make_long_log(CW_BENCH_DATA_DIR, bench::long_list::files, list_length)))
        return;
    for (auto _ : state)
        find(viewer, text_nowhere);
    if (viewer.person().take_messages().size() != static_cast<std::size_t>(state.iterations()))
        state.SkipWithError("the search ended in another way than with nothing found");
}

/// The same columns by a cursor of its own, with no letters beyond ASCII; flags are searched as their
/// words.
void plain_cursor(benchmark::State& state)
{
    const bench::plain_cursor cursor(bench::make_long_log(CW_BENCH_DATA_DIR, bench::long_list::files, list_length),
                                     bench::select_long_list(log_operation_type::file));
    sqlite3_stmt* const statement = cursor.statement();
    for (auto _ : state) {
        int count = 0;
        int found = 0;
        std::string text;
        for (; sqlite3_step(statement) == SQLITE_ROW; ++count) {
            for (int column = 0; column < sqlite3_column_count(statement); ++column) {
                if (sqlite3_column_type(statement, column) == SQLITE_TEXT)
                    text.assign(reinterpret_cast<const char*>(sqlite3_column_text(statement, column)),
                                static_cast<std::size_t>(sqlite3_column_bytes(statement, column)));
                else
                    text = sqlite3_column_int64(statement, column) ? "True" : "False";
                for (char& letter : text)
                    letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
                if (text.find(text_nowhere_in_small_letters) != text.npos)
                    ++found;
            }
        }
        sqlite3_reset(statement);
        if (count != list_length || found != 0)
            state.SkipWithError("the log has other records");
    }
}

/// Find Next from the first feature on, each time to the next one, past the operations between.
void walk_hits(benchmark::State& state, const bench::log_size& size)
{
    console::headless_application viewer;
    if (!open(state, viewer, bench::make_big_log(CW_BENCH_DATA_DIR, size)))
        return;
    CTreeCtrl& tree = viewer.frame().Tree();
    for (auto _ : state) {
        state.PauseTiming();
        find(viewer, text_of_features);
        state.ResumeTiming();
        for (int hit = 0; hit < hits; ++hit)
            (void)viewer.run_command(ID_SEARCH_FIND_NEXT);
        if (tree.GetItemText(tree.GetSelectedItem()) != u"Feature 15")
            state.SkipWithError("the search went another way");
    }
}

void hits_in_a_big_log(benchmark::State& state)
{
    walk_hits(state, big_log);
}

void hits_in_a_small_log(benchmark::State& state)
{
    walk_hits(state, small_log);
}

BENCHMARK(plain_cursor)->Unit(benchmark::kMillisecond)->Repetitions(5);
BENCHMARK(find_nothing)->Unit(benchmark::kMillisecond)->Repetitions(5);
BENCHMARK(hits_in_a_small_log)->Unit(benchmark::kMillisecond)->Repetitions(5);
BENCHMARK(hits_in_a_big_log)->Unit(benchmark::kMillisecond)->Repetitions(5);

constexpr bench::promise promises[] = {
    {"find a text that is nowhere in 1,000,000 records / plain cursor", "find_nothing", "plain_cursor", 6},
    {"15 times to the next hit in 1,000,000 operations / in 100,000", "hits_in_a_big_log", "hits_in_a_small_log", 1.5},
};

} // namespace

int main(int argument_count, char** arguments)
{
    return bench::run_with_promises(argument_count, arguments, promises);
}
