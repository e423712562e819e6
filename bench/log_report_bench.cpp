// Reports of logs: a million records compared with a plain cursor that formats the same columns, and
// the memory of a report with ten times the features.

#include "bench/big_log.h"
#include "bench/plain_cursor.h"
#include "bench/ratios.h"
#include "bridges/log_interface.h"
#include "console/headless_application.h"

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include <malloc.h>

namespace {

using namespace cw;

constexpr int list_length = 1'000'000;
constexpr bench::log_size few_features{2, 200'000};
constexpr bench::log_size many_features{20, 2'000'000};
constexpr const char* target_name = "/report.txt";

/// A field of /proc/self/status, in bytes.
double status_field(const std::string& name)
{
    constexpr double bytes_a_unit = 1024;
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        double value = 0;
        if (word == name + ":" && status >> value)
            return value * bytes_a_unit;
    }
    return 0;
}

/// Gives freed memory back and makes the process's peak its present size.
void reset_peak()
{
    malloc_trim(0);
    std::ofstream("/proc/self/clear_refs") << "5";
}

void write_report(benchmark::State& state, const std::filesystem::path& log)
{
    console::headless_application viewer;
    if (viewer.open(log.u16string())) {
        state.SkipWithError("the log does not open");
        return;
    }
    const std::string target = std::string(CW_BENCH_DATA_DIR) + target_name;
    const string path(std::filesystem::path(target).u16string());
    double peak = 0;
    for (auto _ : state) {
        reset_peak();
        const double before = status_field("VmRSS");
        viewer.frame().WriteLogReport(path);
        peak = std::max(peak, status_field("VmHWM") - before);
    }
    state.counters[bench::memory_counter] = peak;
    state.counters["report"] = static_cast<double>(std::filesystem::file_size(target));
    std::filesystem::remove(target);
}

void report(benchmark::State& state)
{
    write_report(state, bench::make_long_log(CW_BENCH_DATA_DIR, bench::long_list::files, list_length));
}

void report_of_few_features(benchmark::State& state)
{
    write_report(state, bench::make_big_log(CW_BENCH_DATA_DIR, few_features));
}

void report_of_many_features(benchmark::State& state)
{
    write_report(state, bench::make_big_log(CW_BENCH_DATA_DIR, many_features));
}

/// The same columns as the same text, in one piece, by a cursor of its own.
void plain_cursor(benchmark::State& state)
{
    const bench::plain_cursor cursor(bench::make_long_log(CW_BENCH_DATA_DIR, bench::long_list::files, list_length),
                                     bench::select_long_list(log_operation_type::file));
    sqlite3_stmt* const statement = cursor.statement();
    const std::string target = std::string(CW_BENCH_DATA_DIR) + target_name;
    for (auto _ : state) {
        std::u16string text;
        while (sqlite3_step(statement) == SQLITE_ROW) {
            for (int column = 0; column < sqlite3_column_count(statement); ++column) {
                if (column > 0)
                    text += u", ";
                if (sqlite3_column_type(statement, column) == SQLITE_TEXT)
                    text.append(static_cast<const char16_t*>(sqlite3_column_text16(statement, column)),
                                static_cast<std::size_t>(sqlite3_column_bytes16(statement, column)) / sizeof(char16_t));
                else
                    text += sqlite3_column_int64(statement, column) ? u"True" : u"False";
            }
            text += u"\r\n";
        }
        sqlite3_reset(statement);
        std::ofstream(target, std::ios::binary)
            .write(reinterpret_cast<const char*>(text.data()),
                   static_cast<std::streamsize>(text.size() * sizeof(char16_t)));
    }
    state.counters["report"] = static_cast<double>(std::filesystem::file_size(target));
    std::filesystem::remove(target);
}

BENCHMARK(plain_cursor)->Unit(benchmark::kMillisecond)->Repetitions(5);
BENCHMARK(report)->Unit(benchmark::kMillisecond)->Repetitions(5);
BENCHMARK(report_of_few_features)->Unit(benchmark::kMillisecond)->Repetitions(3);
BENCHMARK(report_of_many_features)->Unit(benchmark::kMillisecond)->Repetitions(3);

constexpr bench::promise promises[] = {
    {"report of 1,000,000 records / plain cursor that formats their columns", "report", "plain_cursor", 3},
    {"memory of a report of 20 features / of 2 of the same size", "report_of_many_features", "report_of_few_features",
     1.5, bench::figure::memory},
};

} // namespace

int main(int argument_count, char** arguments)
{
    return bench::run_with_promises(argument_count, arguments, promises);
}
