#include "authoring/payload_writer.h"

#include "authoring/error.h"
#include "authoring/stored_names.h"
#include "tests/authoring/authoring_support.h"

#include <gtest/gtest.h>

namespace {

using namespace cw::authoring;
using namespace cw::test;
namespace formats = cw::formats;
using rows = std::vector<std::string>;

constexpr media_id id{9};
constexpr formats::seal_cost cheap{1, 8192};

class payload_writer_test : public testing::Test {
protected:
    source_file file(const std::string& name, const std::string& content)
    {
        write_file(folder / ("in/" + name), content);
        source_file result;
        result.name = name;
        result.path = (folder / ("in/" + name)).string();
        result.size_in_bytes = content.size();
        result.date = 36925.5;
        return result;
    }
    source_file with(source_file result, const file_details& details)
    {
        result.details = std::make_shared<const file_details>(details);
        return result;
    }
    void write(const std::vector<source_file>& files, const std::string& password = {},
               const progress_callback& progress = {})
    {
        staged_files stage(folder.path() / "out");
        media_writer media(stage, "m", id, password, cheap);
        cabinet_options options;
        options.folder_size_in_bytes = 50'000;
        options.set_id = 77;
        options.compression = password.empty() ? cabinet_compression::mszip : cabinet_compression::none;
        payload_writer payload(media, stage, "m", options, 1000, progress);
        media.add_component(make_row(formats::component_columns, {}));
        for (const source_file& item : files)
            payload.add(1, "Comp", item);
        volumes = payload.finish();
        media.finish();
        stage.publish();
    }
    rows ask(const std::string& statement, const std::string& password = {})
    {
        return query(folder / "out/m.hdr", statement, password);
    }
    temporary_folder folder;
    std::size_t volumes = 0;
};

TEST_F(payload_writer_test, writes_rows_and_volumes)
{
    file_details details;
    details.version = "1.2";
    details.flags = 65536;
    details.compressed_size_in_bytes = 1234;
    write({file("a.txt", "hello"), with(file("b.txt", "world"), details)});
    EXPECT_EQ(volumes, 1u);
    EXPECT_EQ(ask("SELECT name, size, date, version, md5, flags, volume, entry FROM file"),
              (rows{"a.txt|5|36925.5|null|5d41402abc4b2a76b9719d911017c592|0|1|0",
                    "b.txt|5|36925.5|1.2|7d793037a0760186574b0282f2f435e7|65536|1|1"}));
    EXPECT_EQ(ask("SELECT compressed_size FROM file WHERE position = 1"), (rows{"1234"}));
    const fs::path volume = folder / "out/m1.cab";
    EXPECT_EQ(ask("SELECT * FROM volume"), (rows{"1|" + std::to_string(fs::file_size(volume)) + "|77|2"}));
    const cabinet_content cabinet = read_cabinet(volume);
    EXPECT_EQ(cabinet.entries[0].name, "Comp\\a.txt");
    EXPECT_EQ(cabinet.entries[1].content, "world");
    EXPECT_EQ(cabinet.set_id, 77);
}

TEST_F(payload_writer_test, keeps_the_order_of_files_that_wait_and_files_that_do_not)
{
    file_details none;
    none.has_payload = false;
    source_file row;
    row.name = "\\";
    file_details text;
    text.content = "grüße";
    source_file inline_file;
    inline_file.name = "inline";
    inline_file.size_in_bytes = 7;
    write({with(row, none), file("a", noise(49'000)), with(row, none), file("long", noise(120'000)), with(row, none),
           with(inline_file, text), file("empty", ""), with(row, none)});
    EXPECT_EQ(ask("SELECT name, size, volume, entry FROM file"),
              (rows{"\\|0|null|null", "a|49000|1|0", "\\|0|null|null", "long|120000|null|null", "\\|0|null|null",
                    "inline|7|1|4", "empty|0|1|5", "\\|0|null|null"}));
    EXPECT_EQ(ask("SELECT file, position, volume, entry, size FROM file_part"),
              (rows{"3|0|1|1|50000", "3|1|1|2|50000", "3|2|1|3|20000"}));
    EXPECT_EQ(ask("SELECT file_count FROM component"), (rows{"8"}));
    const cabinet_content cabinet = read_cabinet(folder / "out/m1.cab");
    EXPECT_EQ(cabinet.entries[1].content + cabinet.entries[2].content + cabinet.entries[3].content, noise(120'000));
    EXPECT_EQ(cabinet.entries[4].content, "grüße");
}

TEST_F(payload_writer_test, reports_its_progress)
{
    std::vector<std::uint64_t> done;
    std::string last_file;
    write({file("a", noise(600'000)), file("b", "x")}, "",
          [&](std::uint64_t bytes, std::uint64_t total, const std::string& current) {
              EXPECT_EQ(total, 1000u);
              done.push_back(bytes);
              last_file = current;
          });
    EXPECT_EQ(done, (std::vector<std::uint64_t>{262'144, 524'288, 600'000, 600'001}));
    EXPECT_EQ(last_file, (folder / "in/b").string());
}

TEST_F(payload_writer_test, checks_the_expected_digest)
{
    file_details details;
    details.expected_md5 = formats::md5_digest{};
    EXPECT_EQ(error_of([&] { write({with(file("a.txt", "hello"), details)}); }),
              "Md5Signature: 00000000000000000000000000000000 given, but a.txt has 5d41402abc4b2a76b9719d911017c592");
    EXPECT_FALSE(fs::exists(folder.path() / "out"));
}

TEST_F(payload_writer_test, notices_files_that_changed_since_they_were_found)
{
    for (const char* password : {"", "secret"}) {
        source_file longer = file("a", noise(300'000));
        longer.size_in_bytes = 299'999;
        EXPECT_EQ(error_of([&] { write({longer}, password); }),
                  "the file was changed while it was read: " + longer.path);
        source_file shorter = file("a", noise(262'144));
        shorter.size_in_bytes = 262'145;
        EXPECT_EQ(error_of([&] { write({shorter}, password); }),
                  "the file was changed while it was read: " + shorter.path);
        source_file gone = file("a", "x");
        fs::remove(gone.path);
        EXPECT_EQ(error_of([&] { write({gone}, password); }),
                  "cannot read " + gone.path + ": No such file or directory");
        source_file grown = file("a", "x");
        grown.size_in_bytes = 0;
        EXPECT_EQ(error_of([&] { write({grown}, password); }), "the file was changed while it was read: " + grown.path);
        EXPECT_FALSE(fs::exists(folder.path() / "out"));
    }
}

TEST_F(payload_writer_test, notices_a_file_that_grew_to_a_whole_piece)
{
    source_file grown = file("a", noise(262'145));
    grown.size_in_bytes = 262'144;
    EXPECT_EQ(error_of([&] { write({grown}); }), "the file was changed while it was read: " + grown.path);
}

TEST_F(payload_writer_test, seals_what_is_protected)
{
    const std::string long_content = noise(120'000);
    write({file("secret name.txt", "hello"), file("long", long_content), file("empty", ""), file("copy", "hello")},
          "secret");
    EXPECT_EQ(ask("SELECT name, size, md5 FROM file WHERE position = 0", "secret"),
              (rows{"secret name.txt|5|5d41402abc4b2a76b9719d911017c592"}));
    const fs::path volume = folder / "out/m1.cab";
    expect_sound_cabinet(volume);
    const cabinet_content cabinet = read_cabinet(volume);
    // Neither names nor dates nor contents show, nor that two files are equal.
    EXPECT_EQ(cabinet.entries[0].name, "1");
    EXPECT_EQ(cabinet.entries[0].year, 1980);
    EXPECT_EQ(cabinet.entries[0].month, 1);
    EXPECT_EQ(read_file(volume).find("hello"), std::string::npos);
    EXPECT_NE(cabinet.entries.front().content, cabinet.entries.back().content);

    const formats::bytes key = formats::derive_payload_key(id, "secret", cheap);
    const auto open = [&](std::size_t first, std::size_t last) {
        formats::payload_opener opener(key);
        formats::bytes content;
        for (std::size_t i = first; i <= last; ++i) {
            const std::string& sealed = cabinet.entries[i].content;
            opener.add({reinterpret_cast<const std::uint8_t*>(sealed.data()), sealed.size()}, content);
        }
        opener.finish();
        return std::string(content.begin(), content.end());
    };
    EXPECT_EQ(open(0, 0), "hello");
    ASSERT_EQ(ask("SELECT entry FROM file_part", "secret"), (rows{"1", "2", "3"}));
    EXPECT_EQ(open(1, 3), long_content) << "the parts are one stream";
    EXPECT_EQ(open(4, 4), "");
    EXPECT_EQ(open(5, 5), "hello");
}

} // namespace
