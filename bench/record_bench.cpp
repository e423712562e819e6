// Recording a log compared with plain prepared inserts of the same rows, both in transactions of the
// same size and with the same care for the disk.

#include "authoring/log_recorder.h"
#include "bench/ratios.h"

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace cw;

constexpr int row_count = 200'000;
constexpr int rows_per_transaction = 1'000;

std::filesystem::path fresh_file(std::string_view name)
{
    const std::filesystem::path folder(CW_BENCH_DATA_DIR);
    std::filesystem::create_directories(folder);
    for (const char* suffix : {"", "-wal", "-shm", "-journal"})
        std::filesystem::remove(folder / (std::string(name) + suffix));
    return folder / name;
}

struct file_row {
    std::string folder;
    std::string file_name;
    bool shared;
    bool is_directory;
    bool potentially_locked;
    bool permanent;
};

file_row row_at(int number)
{
    return {"/opt/harbour-tour/section " + std::to_string(number % 97),
            "file " + std::to_string(number) + ".dat",
            number % 3 == 0,
            number % 10 == 0,
            number % 7 == 0,
            number % 5 == 0};
}

void recorded_operations(benchmark::State& state)
{
    const auto text = [](std::string value) { return authoring::typed_value{VT_BSTR, std::move(value), 0, {}}; };
    const auto flag = [](bool value) { return authoring::typed_value{VT_BOOL, std::int64_t{value ? -1 : 0}, 0, {}}; };
    for (auto _ : state) {
        state.PauseTiming();
        authoring::log_recorder recorder(fresh_file("recorded.clg"));
        recorder.add_feature("MAIN", "Main", {});
        recorder.commit();
        state.ResumeTiming();
        for (int i = 0; i < row_count; ++i) {
            file_row row = row_at(i);
            const std::vector<authoring::typed_value> elements{
                text(std::move(row.folder)), text(std::move(row.file_name)), flag(row.shared),
                flag(row.is_directory),      flag(row.potentially_locked),   flag(row.permanent)};
            recorder.add_operation("OPTYPE_FILE", "MAIN", elements);
            if ((i + 1) % rows_per_transaction == 0)
                recorder.commit();
        }
        state.PauseTiming();
        recorder.close();
        state.ResumeTiming();
    }
}

void plain_inserts(benchmark::State& state)
{
    for (auto _ : state) {
        state.PauseTiming();
        sqlite3* database = nullptr;
        sqlite3_open(fresh_file("plain.db").c_str(), &database);
        const auto run = [&](const std::string& statement) {
            if (sqlite3_exec(database, statement.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK)
                state.SkipWithError("the plain database cannot be written");
        };
        run("PRAGMA journal_mode = WAL");
        run("PRAGMA synchronous = FULL");
        run(formats::create_statement(*formats::find_operation_table(log_operation_type::file)));
        sqlite3_stmt* insert = nullptr;
        sqlite3_prepare_v2(database, "INSERT INTO file_operation VALUES (1, ?, ?, ?, ?, ?, ?, ?)", -1, &insert,
                           nullptr);
        state.ResumeTiming();
        run("BEGIN");
        for (int i = 0; i < row_count; ++i) {
            const file_row row = row_at(i);
            sqlite3_bind_int(insert, 1, i);
            sqlite3_bind_text(insert, 2, row.folder.data(), static_cast<int>(row.folder.size()), SQLITE_STATIC);
            sqlite3_bind_text(insert, 3, row.file_name.data(), static_cast<int>(row.file_name.size()), SQLITE_STATIC);
            sqlite3_bind_int(insert, 4, row.shared);
            sqlite3_bind_int(insert, 5, row.is_directory);
            sqlite3_bind_int(insert, 6, row.potentially_locked);
            sqlite3_bind_int(insert, 7, row.permanent);
            sqlite3_step(insert);
            sqlite3_reset(insert);
            if ((i + 1) % rows_per_transaction == 0)
                run("COMMIT; BEGIN");
        }
        run("COMMIT");
        state.PauseTiming();
        sqlite3_finalize(insert);
        sqlite3_close(database);
        state.ResumeTiming();
    }
}

// By the clock: waiting for the disk is part of both.
BENCHMARK(plain_inserts)->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(5);
BENCHMARK(recorded_operations)->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(5);

constexpr bench::promise promises[] = {
    {"200,000 recorded operations / plain prepared inserts, by the clock", "recorded_operations", "plain_inserts", 2,
     bench::figure::wall_time},
    {"the same by processor time", "recorded_operations", "plain_inserts", 2},
};

} // namespace

int main(int argument_count, char** arguments)
{
    return bench::run_with_promises(argument_count, arguments, promises);
}
