#include "logkit_support.h"

#include "formats/media_format.h"

#include <sys/stat.h>

#include <chrono>
#include <random>

namespace cw::logkit_tests {
namespace {

namespace fs = std::filesystem;
using logkit_opening = log_test;

TEST_F(logkit_opening, what_is_not_there)
{
    expect_error(path_of("none.clg"), 2, "cannot be found");
    expect_error(path_of("none/none.clg"), 2);
    m_folder.write("file", "x");
    expect_error(path_of("file/none.clg"), 2);
    expect_error("", 2);
    expect_error("C:\\setup\\setup.clg", 2);
    expect_error(path_of(std::string(300, 'n') + ".clg"), 2);
    fs::create_symlink(path_of("loop.clg"), path_of("loop.clg"));
    expect_error(path_of("loop.clg"), 2);
    com_ptr<ILogDocument> document;
    EXPECT_EQ(open_path(write_log(plain_log()) + std::string(1, '\0'), document), failure(2));
}

TEST_F(logkit_opening, what_is_no_file)
{
    expect_error(m_folder.path().string(), 21, "is a folder");
    ASSERT_EQ(mkfifo(path_of("pipe.clg").c_str(), 0600), 0);
    expect_error(path_of("pipe.clg"), 22, "pipe"); // and nobody waits for its other end
    expect_error("/dev/zero", 22);
    expect_error("/dev/null", 22);
}

TEST_F(logkit_opening, what_may_not_be_read)
{
    const std::string path = write_log(plain_log());
    fs::permissions(path, fs::perms::none);
    const as_nobody rights(m_folder.path());
    expect_error(path, 5, "denied");
}

TEST_F(logkit_opening, what_is_no_log)
{
    const auto refuse = [&](std::string_view bytes, std::string_view told) {
        expect_error(m_folder.write("x.clg", bytes), 13, told);
    };
    refuse("", "empty");
    refuse("x", "another kind");
    refuse(std::string(4096, '\0'), "another kind");
    refuse("{\"log\": {}}", "another kind");
    refuse("SQLite format 3", "another kind"); // without its last byte
    refuse(std::string("SQLite format 3\0", 16), "cut short");
    refuse(std::string("SQLite format 3\0", 16) + std::string(84, '\0'), "page size");
    refuse("MSCF" + std::string(60, '\0'), "a cabinet");
    refuse(std::string(reinterpret_cast<const char*>(formats::envelope_magic.data()), formats::envelope_magic.size()) +
               std::string(80, '\0'),
           "a protected setup media");
    sql_file(path_of("media.hdr"))
        .run("CREATE TABLE t (a); PRAGMA application_id = " + std::to_string(formats::header_application_id));
    expect_error(path_of("media.hdr"), 13, "header of a setup media");
    sql_file(path_of("other.db")).run("CREATE TABLE t (a)");
    expect_error(path_of("other.db"), 13, "another program");
}

TEST_F(logkit_opening, a_newer_schema)
{
    EXPECT_TRUE(open(write_log(plain_log())));
    expect_error(write_log(plain_log() + "PRAGMA user_version = 2;"), 30, "its schema is number 2");
    expect_error(write_log(plain_log() + "PRAGMA user_version = 0;"), 13, "no number");
    expect_error(write_log(plain_log() + "PRAGMA user_version = -1;"), 13, "no number");
}

TEST_F(logkit_opening, paths_of_all_kinds)
{
    const std::string log = write_log(rich_log());
    for (const char* name : {"a b.clg", "100%25 ?#&=.clg", "Ünïcode Ω 😀.clg", "noextension", ".clg", "a\\b.clg"}) {
        SCOPED_TRACE(name);
        fs::copy_file(log, path_of(name));
        EXPECT_TRUE(open(path_of(name)));
        fs::remove(path_of(name));
    }
    // A name that is no UTF-8: the byte 0xFF stands in the text as a lone surrogate.
    fs::copy_file(log, path_of("\xFF.clg"));
    const bstr path(wide(path_of("")) + u"\xDCFF.clg");
    com_ptr<ILogDocument> document;
    EXPECT_EQ(m_loader->Open(path.get(), document.put()), S_OK);
    fs::create_symlink(log, path_of("link.clg"));
    EXPECT_TRUE(open(path_of("link.clg")));
    fs::create_directory(path_of("folder"));
    fs::create_symlink("..", path_of("folder/up"));
    EXPECT_TRUE(open(path_of("folder/up/link.clg")));
    const fs::path before = fs::current_path();
    fs::current_path(m_folder.path());
    const com_ptr<ILogDocument> relative = open("setup.clg");
    fs::current_path(before);
    EXPECT_EQ(records(main_feature(relative.get()).get(), log_operation_type::file).size(), 2u);
}

TEST_F(logkit_opening, a_path_that_the_database_library_has_no_room_for)
{
    const std::string folders =
        path_of(std::string(200, 'a') + "/" + std::string(200, 'b') + "/" + std::string(200, 'c'));
    fs::create_directories(folders);
    fs::copy_file(write_log(rich_log()), folders + "/a.clg");
    expect_error(folders + "/a.clg", 23, "cannot be read");
}

TEST_F(logkit_opening, leaves_the_log_alone)
{
    const std::string log = write_log(rich_log());
    const std::string bytes = m_folder.read("setup.clg");
    const auto time = fs::last_write_time(log);
    {
        const com_ptr<ILogDocument> first = open(log);
        const com_ptr<ILogDocument> second = open(log);
        EXPECT_EQ(walk(first.get()).failures, 0);
        EXPECT_EQ(walk(second.get()).failures, 0);
        EXPECT_EQ(listing(), std::vector<std::string>{"setup.clg"});
    }
    EXPECT_EQ(m_folder.read("setup.clg"), bytes);
    EXPECT_EQ(fs::last_write_time(log), time);
    EXPECT_EQ(listing(), std::vector<std::string>{"setup.clg"});
}

TEST_F(logkit_opening, works_where_nothing_may_be_written)
{
    const std::string log = write_log(rich_log());
    const as_nobody rights(m_folder.path());
    const com_ptr<ILogDocument> document = open(log);
    EXPECT_EQ(walk(document.get()).failures, 0);
}

TEST_F(logkit_opening, costs_the_same_for_few_and_many_operations)
{
    const auto log = [&](int count) {
        return write_log(plain_log() + "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < " +
                             std::to_string(count - 1) +
                             ") INSERT INTO file_operation SELECT 1, i, '/folder', 'file' || i, 0, 0, 0, 0 FROM n;",
                         std::to_string(count) + ".clg");
    };
    const auto cost = [&](const std::string& path) {
        double best = 1e9;
        for (int i = 0; i < 10; ++i) {
            const auto start = std::chrono::steady_clock::now();
            const feature main = open_main(path);
            const operations files = list(main.get(), log_operation_type::file);
            LONG position = -1;
            SAFEARRAY* record = nullptr;
            EXPECT_EQ(files->First(0, &position), S_OK);
            EXPECT_GE(count_of(files.get()), 10);
            EXPECT_EQ(files->Next(&position, &record), S_OK);
            best = std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        }
        return best;
    };
    const double few = cost(log(10));
    const double many = cost(log(300'000));
    EXPECT_LT(many, few * 5 + 0.005);
}

using logkit_check = log_test;

TEST_F(logkit_check, tables_and_columns_must_be_there)
{
    const auto refuse = [&](const std::string& change, std::string_view told) {
        expect_error(write_log(plain_log() + change), 13, told);
    };
    for (const formats::log_table& table : formats::log_tables)
        refuse("DROP TABLE " + std::string(table.name) + ";", "the table " + std::string(table.name) + " is missing");
    for (const formats::operation_table& table : formats::operation_tables) {
        const std::string name(table.name);
        refuse("DROP TABLE " + name + ";", "the table " + name + " is missing");
        for (const formats::record_column& column : table.columns)
            refuse("ALTER TABLE " + name + " DROP COLUMN " + std::string(column.name) + ";",
                   "the table " + name + " has no column " + std::string(column.name));
    }
    for (const char* column : {"property.value", "property_element.text", "operation_element.value_type",
                               "operation_element.value", "feature.name"}) {
        const std::string whole(column);
        const std::string table = whole.substr(0, whole.find('.'));
        const std::string name = whole.substr(whole.find('.') + 1);
        refuse("ALTER TABLE " + table + " DROP COLUMN " + name + ";", "the table " + table + " has no column " + name);
    }
    refuse("DROP TABLE general_operation; CREATE TABLE general_operation (feature, position, operation, data);",
           "the table general_operation has no key");
    refuse("DROP TABLE feature; CREATE TABLE feature (id, parent, position, name, identifier);",
           "the table feature has no key");
}

TEST_F(logkit_check, tables_must_be_tables)
{
    expect_error(write_log(plain_log() + "DROP TABLE general_operation; CREATE VIEW general_operation AS SELECT 1 AS "
                                         "feature, 0 AS position, 'x' AS operation, 'y' AS data;"),
                 13, "the table general_operation is missing");
    expect_error(write_log(plain_log() + "DROP TABLE general_operation; CREATE VIRTUAL TABLE general_operation USING "
                                         "fts5(feature, position, operation, data);"),
                 13, "the table general_operation is missing");
}

TEST_F(logkit_check, more_tables_and_columns_do_no_harm)
{
    const feature main =
        open_main(write_log(rich_log() + "CREATE TABLE note (a); ALTER TABLE file_operation ADD COLUMN mood TEXT;"
                                         "ALTER TABLE feature ADD COLUMN mood TEXT;"));
    EXPECT_EQ(records(main.get(), log_operation_type::file)[0], R"("/opt/a" "a.bin" yes no no yes)");
}

TEST_F(logkit_check, features_make_one_tree)
{
    const auto contradict = [&](const std::string& rows, std::string_view told) {
        expect_error(write_log(empty_log() + "INSERT INTO feature VALUES " + rows + ";"), 31, told);
    };
    expect_error(write_log(empty_log()), 31, "no main feature");
    contradict("(1, 0, 0, 'a', 'a'), (2, 0, 1, 'b', 'b')", "several main features");
    contradict("(1, 1, 0, 'a', 'a')", "below themselves");
    contradict("(1, 2, 0, 'a', 'a'), (2, 1, 0, 'b', 'b')", "below themselves");
    contradict("(1, 0, 0, 'a', 'a'), (2, 3, 0, 'b', 'b'), (3, 2, 0, 'c', 'c')", "below themselves");
    contradict("(1, 0, 0, 'a', 'a'), (2, 7, 0, 'b', 'b')", "not there");
    contradict("(1, 0, 0, 'a', 'a'), (2, 1, 1, 'b', 'b')", "gap");
    contradict("(1, 0, 1, 'a', 'a')", "gap");
    contradict("(1, 0, 0, 'a', 'a'), (2, 1, 0, 'b', 'b'), (3, 1, 2, 'c', 'c')", "gap");
    contradict("(1, 0, 0, 'a', 'a'), (2, 1, -1, 'b', 'b')", "gap");
    contradict("(1, 0, 0, 'a', 'a'), (2, 1, 'x', 'b', 'b')", "a text stands where an integer belongs");
    contradict("(1, 0, 0, 'a', 'a'), (0, 1, 0, 'b', 'b')", "number of the root");
}

/// The rows of `feature` are exchanged behind its indexes, and these are not to be gone by in order.
TEST_F(logkit_check, features_at_odds_with_their_index_make_no_tree)
{
    const auto at_odds = [&](const std::string& rows) {
        const std::string path = write_log(
            plain_log() +
            "INSERT INTO feature VALUES (2, 1, 0, 'b', 'b'), (3, 2, 0, 'c', 'c');"
            "CREATE TABLE other (id INTEGER PRIMARY KEY, parent, position, name, identifier);" +
            rows +
            "ANALYZE sqlite_schema; DELETE FROM sqlite_stat1; INSERT INTO sqlite_stat1 VALUES ('feature', "
            "'sqlite_autoindex_feature_2', '3 3 3 unordered');"
            "PRAGMA writable_schema = ON; UPDATE sqlite_schema SET rootpage = (SELECT rootpage FROM sqlite_schema "
            "WHERE name = 'other') WHERE name = 'feature'; DELETE FROM sqlite_schema WHERE name = 'other';"
            "PRAGMA writable_schema = OFF;");
        com_ptr<ILogDocument> document;
        if (FAILED(open_path(path, document)))
            return last_error();
        // What opens is a tree, whichever of the two it is.
        EXPECT_EQ(walk(document.get()).features, 3);
        return std::string();
    };
    EXPECT_NE(at_odds(""), "");
    EXPECT_NE(at_odds("INSERT INTO other VALUES (1, 0, 0, 'a', 'a'), (2, 9, 0, 'b', 'b'), (3, 2, 0, 'c', 'c');"), "");
    at_odds("INSERT INTO other VALUES (1, 0, 0, 'a', 'a'), (2, 3, 0, 'b', 'b'), (3, 2, 0, 'c', 'c');");
}

TEST_F(logkit_check, features_nest_up_to_their_limit)
{
    const auto nested = [&](int levels) {
        return write_log(empty_log() + "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " +
                         std::to_string(levels) + ") INSERT INTO feature SELECT i, i - 1, 0, 'f', 'f' || i FROM n;");
    };
    feature deepest = open_main(nested(formats::deepest_feature_level));
    int level = 1;
    for (; child_count(deepest.get()) != 0; ++level)
        deepest = child(deepest.get(), 1);
    EXPECT_EQ(level, formats::deepest_feature_level);
    expect_error(nested(formats::deepest_feature_level + 1), 31, "deeper than 1000");
}

TEST_F(logkit_check, numbers_of_features_need_no_order)
{
    const feature main = open_main(
        write_log(empty_log() +
                  "INSERT INTO feature VALUES (9, 0, 0, 'Main', 'm'), (-5, 9, 0, 'A', 'a'), (3, -5, 0, 'B', 'b');"));
    EXPECT_EQ(name_of(main.get()), "Main");
    EXPECT_EQ(name_of(child(child(main.get(), 1).get(), 1).get()), "B");
}

} // namespace
} // namespace cw::logkit_tests
