#include "authoring/header_database.h"

#include "authoring/error.h"
#include "tests/authoring/authoring_support.h"

#include <gtest/gtest.h>

namespace {

using namespace cw::authoring;
using namespace cw::test;
namespace formats = cw::formats;

TEST(header_database, is_what_readers_expect)
{
    temporary_folder folder;
    header_database database(folder / "h");
    database.finish();
    const fs::path file = folder / "h";
    EXPECT_EQ(query(file, "PRAGMA application_id")[0], std::to_string(0x43574D48));
    EXPECT_EQ(query(file, "PRAGMA user_version")[0], "1");
    EXPECT_EQ(query(file, "PRAGMA page_size")[0], "4096");
    EXPECT_EQ(query(file, "PRAGMA auto_vacuum")[0], "0");
    EXPECT_EQ(query(file, "PRAGMA encoding")[0], "UTF-8");
    EXPECT_EQ(query(file, "PRAGMA integrity_check")[0], "ok");
    const std::string bytes = read_file(file);
    EXPECT_EQ(bytes[18], 1) << "no write-ahead log";
    EXPECT_EQ(bytes[19], 1);
    EXPECT_EQ(names_in(folder.path()), std::vector<std::string>{"h"});
}

TEST(header_database, has_all_tables_with_all_columns)
{
    temporary_folder folder;
    header_database(folder / "h").finish();
    for (const formats::table& table : formats::header_tables) {
        const std::vector<std::string> columns =
            query(folder / "h", "SELECT name FROM pragma_table_info('" + std::string(table.name) + "')");
        ASSERT_GE(columns.size(), table.members.size() + 1) << table.name;
        for (std::size_t i = 0; i < table.members.size(); ++i)
            EXPECT_EQ(columns[columns.size() - table.members.size() + i], table.members[i].name) << table.name;
    }
    EXPECT_EQ(query(folder / "h", "SELECT count(*) FROM sqlite_schema WHERE type = 'table'")[0],
              std::to_string(formats::header_tables.size()));
    EXPECT_EQ(query(folder / "h", "SELECT name FROM sqlite_schema WHERE type = 'index' AND sql NOT NULL ORDER BY name"),
              (std::vector<std::string>{"component_by_name", "file_by_name"}));
}

TEST(header_database, stores_values_of_all_kinds)
{
    temporary_folder folder;
    header_database database(folder / "h");
    database.insert(table_number("feature_property"),
                    {std::int64_t{1}, std::int64_t{0}, cell(), std::int64_t{-5}, std::int64_t{0}, 1.5});
    database.insert(table_number("feature_property"), {std::int64_t{1}, std::int64_t{1}, std::string("a\0b", 3),
                                                       std::int64_t{3}, std::int64_t{0}, formats::bytes{1, 0xFF}});
    database.finish();
    EXPECT_EQ(query(folder / "h", "SELECT name, type, value, typeof(value) FROM feature_property ORDER BY position"),
              (std::vector<std::string>{"null|-5|1.5|real", std::string("a\0b|3|01ff|blob", 15)}));
}

TEST(header_database, lives_in_memory_alone_without_a_name)
{
    header_database database({});
    database.finish();
    const formats::bytes image = database.image();
    EXPECT_EQ(std::string(image.begin(), image.begin() + 15), "SQLite format 3");
    EXPECT_EQ(image.size() % 4096, 0u);
}

TEST(header_database, tells_what_goes_wrong)
{
    temporary_folder folder;
    EXPECT_EQ(error_of([&] { header_database database(folder.path() / "no/such"); }),
              "cannot write the header: unable to open database file");
    header_database database(folder / "h");
    database.insert(table_number("old_version"), {std::int64_t{0}, std::string("x")});
    EXPECT_EQ(error_of([&] {
                  database.insert(table_number("old_version"), {std::int64_t{0}, std::string("y")});
              }),
              "cannot write the header: UNIQUE constraint failed: old_version.position");
}

TEST(make_row, places_members_by_name)
{
    const row members =
        make_row(formats::shell_folder_columns, {{u"Shared", std::int64_t{1}}, {u"Name", std::string("n")}});
    EXPECT_EQ(members, (row{std::string("n"), cell(), std::int64_t{1}}));
    EXPECT_THROW((void)make_row(formats::shell_folder_columns, {{u"Nome", cell()}}), std::invalid_argument);
}

} // namespace
