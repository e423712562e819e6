#include "authoring/cabinet_writer.h"

#include "authoring/dates.h"
#include "authoring/error.h"
#include "tests/authoring/authoring_support.h"

#include <gtest/gtest.h>

#include <numeric>
#include <set>

namespace {

using namespace cw::authoring;
using namespace cw::test;

struct content {
    std::string name;
    std::string data;
};
struct written {
    std::vector<written_volume> volumes;
    std::vector<stored_part> parts;
};

constexpr double date = 36925.546631944446; // 2001-02-03 13:07:09

/// Writes the files, each in pieces, and checks that every volume is sound, that parts and entries
/// agree, and that all content is there.
written write_and_check(const temporary_folder& folder, const std::vector<content>& files,
                        const cabinet_options& options, std::size_t piece = 10'000)
{
    written result;
    {
        staged_files stage(folder.path());
        cabinet_writer writer(stage, "t", options, [&](const stored_part& part) { result.parts.push_back(part); });
        for (const content& file : files) {
            writer.begin_file(file.name, date);
            for (std::size_t at = 0; at < file.data.size(); at += piece) {
                const std::string part = file.data.substr(at, piece);
                writer.write({reinterpret_cast<const std::uint8_t*>(part.data()), part.size()});
            }
        }
        result.volumes = writer.finish();
        stage.publish();
    }
    std::vector<std::string> contents(files.size());
    std::vector<bool> ended(files.size());
    std::map<int, cabinet_content> cabinets;
    std::vector<std::string> expected_names;
    for (const written_volume& volume : result.volumes) {
        const fs::path path = folder / ("t" + std::to_string(volume.number) + ".cab");
        expected_names.push_back(path.filename().string());
        expect_sound_cabinet(path);
        const cabinet_content cabinet = read_cabinet(path);
        EXPECT_EQ(cabinet.length, fs::file_size(path));
        EXPECT_EQ(volume.size_in_bytes, fs::file_size(path));
        EXPECT_LE(volume.size_in_bytes, options.volume_size_in_bytes);
        EXPECT_EQ(volume.entries, cabinet.entries.size());
        EXPECT_LE(volume.entries, options.files_per_volume);
        EXPECT_EQ(cabinet.set_id, options.set_id);
        EXPECT_EQ(cabinet.set_index, volume.number - 1);
        EXPECT_EQ(cabinet.flags, 0) << "every volume stands alone";
        std::set<std::string> names;
        for (const cabinet_entry& entry : cabinet.entries) {
            EXPECT_TRUE(names.insert(entry.name).second) << entry.name;
            EXPECT_LE(entry.offset + entry.content.size(), options.folder_size_in_bytes);
        }
        cabinets.emplace(volume.number, cabinet);
    }
    std::sort(expected_names.begin(), expected_names.end());
    EXPECT_EQ(names_in(folder.path()), expected_names);
    for (const stored_part& part : result.parts) {
        const cabinet_entry& entry = cabinets.at(part.volume).entries.at(part.entry);
        EXPECT_EQ(entry.content.size(), part.size_in_bytes);
        EXPECT_FALSE(ended[part.file]);
        contents[part.file] += entry.content;
        ended[part.file] = part.last;
    }
    for (std::size_t i = 0; i < files.size(); ++i) {
        EXPECT_TRUE(ended[i]) << i;
        EXPECT_EQ(contents[i], files[i].data) << i;
    }
    return result;
}

cabinet_options small_folders(std::uint64_t folder_size)
{
    cabinet_options options;
    options.folder_size_in_bytes = folder_size;
    options.set_id = 0xBEEF;
    return options;
}

TEST(cabinet_writer, writes_files_of_all_boundary_sizes)
{
    std::vector<content> files;
    for (const std::size_t size : {0u, 1u, 32'767u, 32'768u, 32'769u, 65'536u, 0u, 100'000u, 0u})
        files.push_back({"d\\" + std::to_string(files.size()), noise(size, static_cast<unsigned>(size))});
    temporary_folder folder;
    const written result = write_and_check(folder, files, {});
    EXPECT_EQ(result.volumes.size(), 1u);
    EXPECT_EQ(result.parts.size(), files.size());
}

TEST(cabinet_writer, splits_what_is_longer_than_a_folder)
{
    constexpr std::size_t limit = 40'000;
    for (const std::size_t size :
         {limit - 1, limit, limit + 1, 2 * limit - 1, 2 * limit, 2 * limit + 1, 5 * limit + 7}) {
        temporary_folder folder;
        const written result = write_and_check(folder, {{"long.bin", noise(size)}}, small_folders(limit));
        const std::size_t parts = (size + limit - 1) / limit;
        ASSERT_EQ(result.parts.size(), parts) << size;
        const cabinet_content cabinet = read_cabinet(folder / "t1.cab");
        EXPECT_EQ(cabinet.entries[0].name, parts == 1 ? "long.bin" : "long.bin.001");
        EXPECT_EQ(cabinet.entries.back().name, parts == 1 ? "long.bin" : "long.bin.00" + std::to_string(parts));
    }
}

TEST(cabinet_writer, moves_a_file_that_does_not_fit_into_a_folder_of_its_own)
{
    temporary_folder folder;
    const written result = write_and_check(folder,
                                           {{"a", noise(700)},
                                            {"b", noise(700)},
                                            {"c", noise(1000)},
                                            {"d", ""},
                                            {"e", noise(1024)},
                                            {"f", noise(3000)},
                                            {"g", noise(10)}},
                                           small_folders(1024), 100);
    const cabinet_content cabinet = read_cabinet(folder / "t1.cab");
    std::vector<std::size_t> folders;
    for (const cabinet_entry& entry : cabinet.entries)
        folders.push_back(entry.folder);
    // a | b | c d | e | f f f g
    EXPECT_EQ(folders, (std::vector<std::size_t>{0, 1, 2, 2, 3, 4, 5, 6, 6}));
    EXPECT_EQ(result.parts.size(), 9u);
}

TEST(cabinet_writer, does_not_depend_on_the_pieces)
{
    std::vector<content> files;
    for (unsigned i = 0; i < 30; ++i)
        files.push_back({std::to_string(i), noise(i * 377, i) + std::string(i * 100, 'x')});
    std::string first;
    for (const std::size_t piece : {1u, 1023u, 1u << 20}) {
        temporary_folder folder;
        (void)write_and_check(folder, files, small_folders(2048), piece);
        const std::string bytes = read_file(folder / "t1.cab");
        EXPECT_TRUE(first.empty() || bytes == first) << piece;
        first = bytes;
    }
}

TEST(cabinet_writer, begins_a_new_volume_before_one_grows_too_long)
{
    std::vector<content> files;
    for (unsigned i = 0; i < 200; ++i)
        files.push_back({"files\\number " + std::to_string(i), noise(i * 13 % 1500, i)});
    cabinet_options options = small_folders(1024);
    options.volume_size_in_bytes = 4096;
    temporary_folder folder;
    const written result = write_and_check(folder, files, options);
    EXPECT_GT(result.volumes.size(), 30u);
    int last = 0;
    for (const written_volume& volume : result.volumes)
        EXPECT_EQ(volume.number, ++last);
}

TEST(cabinet_writer, keeps_to_the_volume_size_with_the_longest_names)
{
    std::vector<content> files;
    for (unsigned i = 0; i < 60; ++i)
        files.push_back({std::to_string(100 + i) + std::string(252, 'n'), noise(i % 3 * 700, i)});
    cabinet_options options = small_folders(largest_folder_size_in_bytes);
    options.volume_size_in_bytes = smallest_volume_size_in_bytes;
    temporary_folder folder;
    (void)write_and_check(folder, files, options);
}

TEST(cabinet_writer, limits_the_files_of_a_volume)
{
    std::vector<content> files;
    for (unsigned i = 0; i < 25; ++i)
        files.push_back({std::to_string(i), noise(i, i)});
    cabinet_options options;
    options.files_per_volume = 10;
    temporary_folder folder;
    const written result = write_and_check(folder, files, options);
    ASSERT_EQ(result.volumes.size(), 3u);
    EXPECT_EQ(result.volumes[0].entries, 10u);
    EXPECT_EQ(result.volumes[2].entries, 5u);

    options.files_per_volume = 1;
    temporary_folder other;
    EXPECT_EQ(write_and_check(other, {{"a", noise(9000)}, {"b", ""}}, options).volumes.size(), 2u);
}

TEST(cabinet_writer, holds_sixty_thousand_files_and_no_more)
{
    temporary_folder folder;
    staged_files stage(folder.path());
    std::uint64_t placed = 0;
    cabinet_writer writer(stage, "t", {}, [&](const stored_part&) { ++placed; });
    const std::uint8_t byte = 'x';
    for (int i = 0; i < 60'001; ++i) {
        writer.begin_file("f" + std::to_string(i), date);
        writer.write({&byte, 1});
    }
    const std::vector<written_volume> volumes = writer.finish();
    stage.publish();
    EXPECT_EQ(placed, 60'001u);
    ASSERT_EQ(volumes.size(), 2u);
    EXPECT_EQ(volumes[0].entries, 60'000u);
    EXPECT_EQ(volumes[1].entries, 1u);
    expect_sound_cabinet(folder / "t1.cab");
    expect_sound_cabinet(folder / "t2.cab");
}

TEST(cabinet_writer, takes_files_without_bytes_alone)
{
    temporary_folder folder;
    const written result = write_and_check(folder, {{"empty", ""}, {"too", ""}}, {});
    EXPECT_EQ(result.parts[1].compressed_size_in_bytes, 0u);
    temporary_folder other;
    EXPECT_TRUE(write_and_check(other, {}, {}).volumes.empty());
}

TEST(cabinet_writer, shares_out_the_compressed_size_of_a_folder)
{
    temporary_folder folder;
    const written result =
        write_and_check(folder, {{"a", noise(5000)}, {"b", ""}, {"c", std::string(5000, 'x')}, {"d", noise(777)}}, {});
    std::uint64_t sum = 0;
    for (const stored_part& part : result.parts)
        sum += part.compressed_size_in_bytes;
    // What is left of the volume: its header, one folder, the entries.
    EXPECT_EQ(sum, result.volumes[0].size_in_bytes - 36 - 8 - 4 * (16 + 2));
    EXPECT_EQ(result.parts[1].compressed_size_in_bytes, 0u);
    // Equal sizes have equal shares, but for the rounding.
    EXPECT_NEAR(static_cast<double>(result.parts[0].compressed_size_in_bytes),
                static_cast<double>(result.parts[2].compressed_size_in_bytes), 1.0);
}

TEST(cabinet_writer, marks_names_that_are_not_ascii)
{
    temporary_folder folder;
    (void)write_and_check(folder, {{"Прогулки\\中文🐟.txt", "x"}, {"plain.txt", "y"}}, {});
    const cabinet_content cabinet = read_cabinet(folder / "t1.cab");
    EXPECT_EQ(cabinet.entries[0].name, "Прогулки\\中文🐟.txt");
    EXPECT_EQ(cabinet.entries[0].attributes, 0xA0);
    EXPECT_EQ(cabinet.entries[1].attributes, 0x20);
}

TEST(cabinet_writer, keeps_the_dates)
{
    temporary_folder folder;
    (void)write_and_check(folder, {{"a", "x"}}, {});
    const cabinet_entry entry = read_cabinet(folder / "t1.cab").entries[0];
    EXPECT_EQ((std::vector<int>{entry.year, entry.month, entry.day, entry.hour, entry.minute, entry.second}),
              (std::vector<int>{2001, 2, 3, 13, 7, 8}));
}

TEST(cabinet_writer, makes_equal_names_differ_within_a_volume)
{
    temporary_folder folder;
    (void)write_and_check(folder, {{"a.txt", "1"}, {"A.txt", "2"}, {"a.txt", "3"}}, {});
    const cabinet_content cabinet = read_cabinet(folder / "t1.cab");
    EXPECT_EQ(cabinet.entries[1].name, "A~2.txt");
    EXPECT_EQ(cabinet.entries[2].name, "a~3.txt");
}

TEST(cabinet_writer, names_long_parts_within_the_limit)
{
    temporary_folder folder;
    (void)write_and_check(folder, {{std::string(251, 'n') + ".bin", noise(3000)}}, small_folders(1024));
    const cabinet_content cabinet = read_cabinet(folder / "t1.cab");
    EXPECT_EQ(cabinet.entries[0].name, std::string(247, 'n') + ".001.bin");
    EXPECT_EQ(cabinet.entries[2].name, std::string(247, 'n') + ".003.bin");
}

TEST(cabinet_writer, stores_without_compression)
{
    cabinet_options options = small_folders(50'000);
    options.compression = cabinet_compression::none;
    temporary_folder folder;
    const written result = write_and_check(folder, {{"a", std::string(90'000, 'x')}, {"b", noise(32'768)}}, options);
    EXPECT_GT(result.volumes[0].size_in_bytes, 122'768u);
}

TEST(cabinet_writer, refuses_options_beyond_the_format)
{
    temporary_folder folder;
    staged_files stage(folder.path());
    const auto refused = [&](const std::function<void(cabinet_options&)>& change) {
        cabinet_options options;
        change(options);
        return error_of([&] { cabinet_writer(stage, "t", options, [](const stored_part&) {}); });
    };
    EXPECT_EQ(refused([](auto& options) { options.folder_size_in_bytes = 1023; }),
              "the folder size must be from 1024 to 536870912, not 1023");
    EXPECT_EQ(refused([](auto& options) { options.folder_size_in_bytes = 1u << 30; }),
              "the folder size must be from 1024 to 536870912, not 1073741824");
    EXPECT_EQ(refused([](auto& options) { options.volume_size_in_bytes = 4095; }),
              "the volume size must be from 4096 to 1073741824, not 4095");
    EXPECT_EQ(refused([](auto& options) { options.volume_size_in_bytes = (1u << 30) + 1; }),
              "the volume size must be from 4096 to 1073741824, not 1073741825");
    EXPECT_EQ(refused([](auto& options) { options.files_per_volume = 0; }),
              "the number of files in a volume must be from 1 to 60000, not 0");
    EXPECT_EQ(refused([](auto& options) { options.files_per_volume = 60'001; }),
              "the number of files in a volume must be from 1 to 60000, not 60001");
}

TEST(cabinet_writer, leaves_nothing_behind_when_it_is_given_up)
{
    temporary_folder folder;
    {
        staged_files stage(folder.path());
        cabinet_options options = small_folders(1024);
        options.volume_size_in_bytes = 4096;
        cabinet_writer writer(stage, "t", options, [](const stored_part&) {});
        const std::string data = noise(20'000);
        writer.begin_file("a", date);
        writer.write({reinterpret_cast<const std::uint8_t*>(data.data()), data.size()});
    }
    EXPECT_TRUE(names_in(folder.path()).empty());
}

} // namespace
