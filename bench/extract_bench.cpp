// Extraction out of half a gigabyte: one file compared with unpacking the same bytes by libmspack
// alone, media and volume being open on either side, and all files compared with the command
// `cabextract`. What the reader does beyond that is to look the file up, to check its size and
// signature, and to give it its name last.

#include "bench/payload_media.h"
#include "bench/ratios.h"
#include "bridges/media_objects.h"
#include "console/headless_application.h"
#include "formats/media_format.h"

#include <benchmark/benchmark.h>
#include <mspack.h>
#include <sqlite3.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

using namespace cw;
namespace fs = std::filesystem;

enum class place { first, middle, last };

const fs::path& header()
{
    static const fs::path path = bench::make_payload_media(CW_BENCH_DATA_DIR);
    return path;
}

/// A folder in memory where the system has one, otherwise beside the media, while the program runs: a
/// disk that still writes what the run before left would be measured with the next. Nothing in it is
/// written twice: some file systems pass by the place of every file that was deleted in the last
/// minutes.
class target_folder {
public:
    target_folder()
    {
        fs::remove_all(root());
        fs::create_directories(root());
    }
    ~target_folder() { fs::remove_all(root()); }
    target_folder(const target_folder&) = delete;
    target_folder& operator=(const target_folder&) = delete;

    [[nodiscard]] static fs::path next_file() { return root() / std::to_string(++count); }
    [[nodiscard]] static fs::path next_folder()
    {
        const fs::path path = next_file();
        fs::create_directory(path);
        return path;
    }

private:
    static const fs::path& root()
    {
        static const fs::path chosen = [] {
            const fs::path memory = "/dev/shm";
            constexpr std::uintmax_t room_in_bytes = 5ull << 30;
            std::error_code failure;
            const fs::space_info space = fs::space(memory, failure);
            return !failure && space.available > room_in_bytes ? memory / "cw_extract_bench"
                                                               : fs::path(CW_BENCH_DATA_DIR) / "extracted";
        }();
        return chosen;
    }
    static inline int count = 0;
};

struct stored_place {
    int index = 0; // of the file in its component, from 1
    int volume = 0;
    int entry = 0;
    std::int64_t size_in_bytes = 0;
};

stored_place find_file(const std::string& conditions)
{
    const std::string sql =
        "SELECT position + 1, volume, entry, size FROM file WHERE component = 1 AND " + conditions + " LIMIT 1";
    stored_place found;
    sqlite3* database = nullptr;
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_open_v2(header().c_str(), &database, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK &&
        sqlite3_prepare_v2(database, sql.c_str(), -1, &statement, nullptr) == SQLITE_OK &&
        sqlite3_step(statement) == SQLITE_ROW)
        found = {sqlite3_column_int(statement, 0), sqlite3_column_int(statement, 1), sqlite3_column_int(statement, 2),
                 sqlite3_column_int64(statement, 3)};
    sqlite3_finalize(statement);
    sqlite3_close(database);
    return found;
}

/// A file that lies in one piece, at or near the place.
stored_place find_file(place wanted)
{
    switch (wanted) {
    case place::first:
        return find_file("volume IS NOT NULL ORDER BY position");
    case place::middle:
        return find_file("volume IS NOT NULL AND position >= (SELECT count(*) / 2 FROM file) ORDER BY position");
    default:
        return find_file("volume IS NOT NULL ORDER BY position DESC");
    }
}

/// The file of the same volume that lies farthest away. It is taken out between two measurements, so
/// that neither side finds what it wants already unpacked.
stored_place far_from(const stored_place& file)
{
    return find_file("volume = " + std::to_string(file.volume) + " ORDER BY abs(entry - " + std::to_string(file.entry) +
                     ") DESC");
}

automation::com_ptr<IDispatch> files_of(IDispatch* media)
{
    return get(collection_item(get(media, media::Components).get(), 1).get(), media_component::Files);
}

void extract_item(IDispatch* files, int index, const fs::path& target)
{
    extract(collection_item(files, index, component_files).get(), string(target.u16string()));
}

void one_by_the_reader(benchmark::State& state, place wanted)
{
    console::headless_application viewer;
    const stored_place file = find_file(wanted);
    const stored_place other = far_from(file);
    if (viewer.open(header().u16string()) || file.index == 0) {
        state.SkipWithError("the media does not open");
        return;
    }
    fs::path target;
    const automation::com_ptr<IDispatch> files = files_of(viewer.frame().Media());
    for (auto _ : state) {
        state.PauseTiming();
        extract_item(files.get(), other.index, target_folder::next_file());
        target = target_folder::next_file();
        state.ResumeTiming();
        extract_item(files.get(), file.index, target);
    }
    if (fs::file_size(target) != static_cast<std::uintmax_t>(file.size_in_bytes))
        state.SkipWithError("the file is not whole");
}

/// A volume that is open through libmspack and nothing else.
class plain_volume {
public:
    explicit plain_volume(int number)
        : m_path(header().parent_path() / formats::volume_file_name(header().filename().string(), number)),
          m_decompressor(mspack_create_cab_decompressor(nullptr)),
          m_cabinet(m_decompressor->open(m_decompressor, m_path.c_str()))
    {
    }
    ~plain_volume()
    {
        m_decompressor->close(m_decompressor, m_cabinet);
        mspack_destroy_cab_decompressor(m_decompressor);
    }
    plain_volume(const plain_volume&) = delete;
    plain_volume& operator=(const plain_volume&) = delete;
    bool extract(int entry, const fs::path& target)
    {
        mscabd_file* file = m_cabinet ? m_cabinet->files : nullptr;
        for (int i = 0; file && i < entry; ++i)
            file = file->next;
        return file && m_decompressor->extract(m_decompressor, file, target.c_str()) == MSPACK_ERR_OK;
    }

private:
    std::string m_path; // libmspack keeps a pointer to it
    mscab_decompressor* m_decompressor;
    mscabd_cabinet* m_cabinet;
};

void one_by_libmspack(benchmark::State& state, place wanted)
{
    const stored_place file = find_file(wanted);
    const stored_place other = far_from(file);
    fs::path target;
    plain_volume volume(file.volume);
    bool well = true;
    for (auto _ : state) {
        state.PauseTiming();
        well = well && volume.extract(other.entry, target_folder::next_file());
        target = target_folder::next_file();
        state.ResumeTiming();
        well = well && volume.extract(file.entry, target);
    }
    if (!well || fs::file_size(target) != static_cast<std::uintmax_t>(file.size_in_bytes))
        state.SkipWithError("libmspack does not extract");
}

void all_by_the_reader(benchmark::State& state)
{
    console::headless_application viewer;
    if (viewer.open(header().u16string())) {
        state.SkipWithError("the media does not open");
        return;
    }
    const string path(header().u16string());
    for (auto _ : state) {
        const fs::path folder = target_folder::next_folder();
        const auto media = open_media(viewer.frame().MediaFactory(), path, {});
        for_each_file(files_of(media.get()).get(), [&](std::int32_t, IDispatch* file) {
            // The names divide the files among folders, as the command does.
            std::u16string name(get(file, media_file::Name).view());
            std::ranges::replace(name, u'\\', u'/');
            const fs::path target = folder / name;
            fs::create_directory(target.parent_path());
            extract(file, string(target.u16string()));
        });
    }
}

void all_by_cabextract(benchmark::State& state)
{
    const std::string stem = (header().parent_path() / header().stem()).string();
    for (auto _ : state) {
        const std::string folder = target_folder::next_folder().string();
        const std::string command = "cabextract -q -d '" + folder + "' '" + stem + "'?.cab";
        if (std::system(command.c_str()) != 0) {
            state.SkipWithError("cabextract does not extract");
            return;
        }
    }
}

// What is not measured takes longest, so the library is not left to find the number of rounds.
constexpr int rounds = 50;

#define CW_ONE_FILE_BENCHMARKS(which)                                                                                  \
    BENCHMARK_CAPTURE(one_by_libmspack, which, place::which)                                                           \
        ->Unit(benchmark::kMillisecond)                                                                                \
        ->Iterations(rounds)                                                                                           \
        ->Repetitions(5);                                                                                              \
    BENCHMARK_CAPTURE(one_by_the_reader, which, place::which)                                                          \
        ->Unit(benchmark::kMillisecond)                                                                                \
        ->Iterations(rounds)                                                                                           \
        ->Repetitions(5)
CW_ONE_FILE_BENCHMARKS(first);
CW_ONE_FILE_BENCHMARKS(middle);
CW_ONE_FILE_BENCHMARKS(last);
BENCHMARK(all_by_cabextract)->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(3)->UseRealTime();
BENCHMARK(all_by_the_reader)->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(3)->UseRealTime();

constexpr bench::promise promises[] = {
    {"first of the files / by libmspack alone", "one_by_the_reader/first", "one_by_libmspack/first", 2},
    {"middle of the files / by libmspack alone", "one_by_the_reader/middle", "one_by_libmspack/middle", 2},
    {"last of the files / by libmspack alone", "one_by_the_reader/last", "one_by_libmspack/last", 2},
    {"all files / the command cabextract", "all_by_the_reader", "all_by_cabextract", 1.2, bench::figure::wall_time},
};

} // namespace

int main(int argument_count, char** arguments)
{
    const target_folder targets;
    return bench::run_with_promises(argument_count, arguments, promises);
}
