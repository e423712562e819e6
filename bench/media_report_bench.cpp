// The report of a media with a million files, written as the window writes it, compared with a plain
// cursor over the rows of those files that writes as much text and composes none of it.

#include "bench/big_media.h"
#include "bench/plain_cursor.h"
#include "bench/ratios.h"
#include "console/headless_application.h"
#include "fileio/file.h"
#include "fileio/text_file.h"

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace {

using namespace cw;
namespace fs = std::filesystem;

constexpr bench::media_size million_files{1'000, 20'000, 1'000'000};

fs::path media()
{
    return bench::make_big_media(CW_BENCH_DATA_DIR, million_files);
}

/// A file in memory where the system has such a folder: a disk would be measured with it.
fs::path target()
{
    const fs::path memory = "/dev/shm";
    return (fs::exists(memory) ? memory : fs::path(CW_BENCH_DATA_DIR)) / "cw_media_report_bench.txt";
}

void write(std::u16string_view text)
{
    std::ofstream(target(), std::ios::binary)
        .write(reinterpret_cast<const char*>(text.data()),
               static_cast<std::streamsize>(text.size() * sizeof(char16_t)));
}

void report_of_a_million_files(benchmark::State& state)
{
    console::headless_application viewer;
    if (viewer.open(media().u16string())) {
        state.SkipWithError("the media does not open");
        return;
    }
    const string path(target().u16string());
    for (auto _ : state) {
        if (write_text_file(path, viewer.frame().MediaReport(), code_page_utf16_little_endian, true) != 0)
            state.SkipWithError("the report cannot be written");
    }
    state.counters["bytes"] = static_cast<double>(fs::file_size(target()));
    fs::remove(target());
}

/// How long the report is in characters, so that as much is written without it.
std::size_t report_length()
{
    console::headless_application viewer;
    return viewer.open(media().u16string()) ? 0 : viewer.frame().MediaReport().length() + 1;
}

void as_much_text_by_a_plain_cursor(benchmark::State& state)
{
    static const std::size_t length = report_length();
    const std::u16string line(length / static_cast<std::size_t>(million_files.files), u'x');
    const bench::plain_cursor cursor(
        media(), "SELECT component, name, size, compressed_size, date, version, md5, flags FROM file "
                 "ORDER BY component, position");
    sqlite3_stmt* const statement = cursor.statement();
    for (auto _ : state) {
        std::u16string text;
        while (sqlite3_step(statement) == SQLITE_ROW) {
            for (const int column : {0, 2, 3, 7})
                benchmark::DoNotOptimize(sqlite3_column_int64(statement, column));
            for (const int column : {1, 5})
                benchmark::DoNotOptimize(sqlite3_column_text(statement, column));
            benchmark::DoNotOptimize(sqlite3_column_double(statement, 4));
            benchmark::DoNotOptimize(sqlite3_column_blob(statement, 6));
            text.append(line);
        }
        sqlite3_reset(statement);
        if (text.size() > length || length == 0)
            state.SkipWithError("the report cannot be compared");
        text.append(length - std::min(length, text.size()), u'x');
        write(text);
    }
    fs::remove(target());
}

BENCHMARK(as_much_text_by_a_plain_cursor)->Unit(benchmark::kMillisecond)->Repetitions(5);
BENCHMARK(report_of_a_million_files)->Unit(benchmark::kMillisecond)->Repetitions(5);

constexpr bench::promise promises[] = {
    {"report of 1,000,000 files / plain cursor that writes as much", "report_of_a_million_files",
     "as_much_text_by_a_plain_cursor", 3},
};

} // namespace

int main(int argument_count, char** arguments)
{
    return bench::run_with_promises(argument_count, arguments, promises);
}
