#include "authoring/log_database.h"

#include "formats/log_format.h"
#include "tests/authoring/authoring_support.h"

#include <gtest/gtest.h>

namespace {

using namespace cw::authoring;
using cw::test::error_of;
using cw::test::query;
using cw::test::temporary_folder;
using cw::test::write_file;

class log_database_test : public testing::Test {
protected:
    log_database_test()
    {
        const cw::formats::bytes image = empty_log_image();
        write_file(path, {reinterpret_cast<const char*>(image.data()), image.size()});
    }

    temporary_folder folder;
    std::string path = (folder / "a.clg").string();
};

TEST_F(log_database_test, an_empty_log_has_its_marks_tables_and_known_types)
{
    EXPECT_EQ(query(path, "PRAGMA application_id"), std::vector<std::string>{std::to_string(0x43574C47)});
    EXPECT_EQ(query(path, "PRAGMA user_version"), std::vector<std::string>{"1"});
    EXPECT_EQ(query(path, "PRAGMA journal_mode"), std::vector<std::string>{"delete"});
    EXPECT_EQ(query(path, "PRAGMA integrity_check"), std::vector<std::string>{"ok"});
    EXPECT_EQ(query(path, "SELECT COUNT(*) FROM sqlite_master WHERE type = 'table'"),
              std::vector<std::string>{
                  std::to_string(cw::formats::log_tables.size() + cw::formats::operation_tables.size())});
    const std::vector<std::string> types = query(path, "SELECT id, name FROM operation_type ORDER BY id");
    ASSERT_EQ(types.size(), 9u);
    EXPECT_EQ(types[0], "1|OPTYPE_FILE");
    EXPECT_EQ(types[3], "4|OPTYPE_REGISTRY64");
    EXPECT_EQ(types[8], "9|OPTYPE_GENERAL");
}

TEST_F(log_database_test, statements_bind_all_kinds_of_values)
{
    log_database database(path);
    database.begin();
    {
        log_statement insert(database, "INSERT INTO property VALUES (1, ?, ?, 0, ?)");
        insert.with(std::int64_t{0}, std::string_view("a"), std::string_view("text\0end", 8)).run();
        insert.with(std::int64_t{1}, std::string_view("b"), 1.5).run();
        insert.with(std::int64_t{2}, std::string_view("c"), log_cell()).run();
        insert.with(std::int64_t{3}, std::string_view(), std::string_view()).run();
    }
    database.commit();
    EXPECT_EQ(query(path, "SELECT name, hex(value), typeof(value) FROM property"),
              (std::vector<std::string>{"a|7465787400656E64|text", "b|312E35|real", "c||null", "||text"}));
    log_statement rows(database, "SELECT value, position FROM property ORDER BY position");
    ASSERT_TRUE(rows.next());
    EXPECT_EQ(rows.text(0), std::string("text\0end", 8));
    EXPECT_EQ(rows.integer(1), 0);
    ASSERT_TRUE(rows.next() && rows.next());
    EXPECT_TRUE(rows.is_null(0));
    EXPECT_EQ(rows.text(0), "");
    ASSERT_TRUE(rows.next());
    EXPECT_FALSE(rows.is_null(0));
    EXPECT_FALSE(rows.next());
    EXPECT_TRUE(rows.next()) << "ready again behind its end";
}

TEST_F(log_database_test, a_failed_statement_can_be_run_again)
{
    log_database database(path);
    log_statement insert(database, "INSERT INTO operation_type VALUES (?, ?)");
    EXPECT_EQ(error_of([&] { insert.with(std::int64_t{1}, std::string_view("x")).run(); }).find(path), 0u);
    insert.with(std::int64_t{20}, std::string_view("x")).run();
    EXPECT_EQ(query(path, "SELECT name FROM operation_type WHERE id = 20"), std::vector<std::string>{"x"});
}

TEST_F(log_database_test, a_text_beyond_the_limit_is_the_text_s_fault)
{
    log_database database(path);
    log_statement insert(database, "INSERT INTO operation_type VALUES (20, ?)");
    const std::string text(1'000'000'001, 'x');
    try {
        insert.bind(1, std::string_view(text));
        FAIL();
    } catch (const log_storage_error&) {
        FAIL();
    } catch (const error& failure) {
        EXPECT_STREQ(failure.what(), "a text is longer than a log can hold");
    }
}

TEST_F(log_database_test, transactions_hold_or_are_given_up)
{
    log_database database(path);
    EXPECT_FALSE(database.is_in_transaction());
    database.begin();
    database.begin();
    EXPECT_TRUE(database.is_in_transaction());
    database.run("DELETE FROM operation_type WHERE id = 1");
    database.roll_back();
    EXPECT_FALSE(database.is_in_transaction());
    database.begin();
    database.run("DELETE FROM operation_type WHERE id = 2");
    database.commit();
    database.commit();
    EXPECT_EQ(query(path, "SELECT COUNT(*), MIN(id) FROM operation_type"), std::vector<std::string>{"8|1"});
}

TEST_F(log_database_test, recording_goes_through_a_journal_that_is_gone_at_the_end)
{
    {
        log_database database(path);
        database.start_recording();
        // Readers go by that from the beginning on.
        EXPECT_TRUE(std::filesystem::exists(path + "-wal"));
        database.begin();
        database.run("DELETE FROM operation_type WHERE id = 2");
        database.commit();
        EXPECT_TRUE(std::filesystem::exists(path + "-wal"));
        database.finish();
    }
    EXPECT_EQ(cw::test::names_in(folder.path()), std::vector<std::string>{"a.clg"});
    EXPECT_EQ(query(path, "SELECT COUNT(*) FROM operation_type"), std::vector<std::string>{"8"});
    EXPECT_EQ(query(path, "PRAGMA journal_mode"), std::vector<std::string>{"delete"});
}

TEST_F(log_database_test, triggers_of_a_log_do_nothing)
{
    {
        log_database database(path);
        database.run("CREATE TRIGGER t AFTER DELETE ON operation_type BEGIN DELETE FROM operation_type; END");
        database.run("DELETE FROM operation_type WHERE id = 2");
    }
    EXPECT_EQ(query(path, "SELECT COUNT(*) FROM operation_type"), std::vector<std::string>{"8"});
}

TEST_F(log_database_test, tells_what_is_wrong_with_the_file)
{
    EXPECT_NE(error_of([&] { log_database missing((folder / "no.clg").string()); }).find("cannot be written"),
              std::string::npos);
    log_database database(path);
    EXPECT_NE(error_of([&] { log_statement(database, "SELECT absent FROM feature"); }).find("damaged"),
              std::string::npos);
    write_file(folder / "noise.clg", cw::test::noise(8192));
    EXPECT_NE(error_of([&] { log_database noise((folder / "noise.clg").string()); }).find("damaged"),
              std::string::npos);
}

} // namespace
