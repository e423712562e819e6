#include "logkit_support.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <map>

namespace cw::logkit_tests {
namespace {

namespace fs = std::filesystem;
using lines = std::vector<std::string>;

std::string general_rows(int from, int to)
{
    return "WITH RECURSIVE n(i) AS (SELECT " + std::to_string(from) + " UNION ALL SELECT i + 1 FROM n WHERE i < " +
           std::to_string(to - 1) + ") INSERT INTO general_operation SELECT 1, i, 'o' || i, NULL FROM n;";
}

class logkit_recording : public log_test {
protected:
    /// All files of the test's folder with their content.
    [[nodiscard]] std::map<std::string, std::string> contents() const
    {
        std::map<std::string, std::string> all;
        for (const std::string& name : listing())
            all[name] = m_folder.read(name);
        return all;
    }
    /// Runs statements in a process of its own that ends without closing the log.
    void run_and_die(const std::string& path, const std::string& sql) const
    {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            sqlite3* handle = nullptr;
            const bool ran = sqlite3_open(path.c_str(), &handle) == SQLITE_OK &&
                             sqlite3_exec(handle, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK;
            _exit(ran ? 0 : 1);
        }
        int status = -1;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_EQ(status, 0);
    }
    /// A log of 500 operations whose recorder was killed in the middle of changing them all.
    [[nodiscard]] std::string broken_off() const
    {
        const std::string path = write_log(plain_log() + general_rows(0, 500));
        run_and_die(path,
                    "PRAGMA cache_size = 1; PRAGMA cache_spill = 1; BEGIN; UPDATE general_operation SET operation = "
                    "operation || hex(zeroblob(500));" +
                        general_rows(500, 900));
        EXPECT_GT(fs::file_size(path + "-journal"), 512u);
        return path;
    }
    void expect_broken_off_is_undone(const std::string& path) const
    {
        const com_ptr<ILogDocument> document = open(path);
        ASSERT_TRUE(document);
        const lines all = records(main_feature(document.get()).get(), log_operation_type::general);
        ASSERT_EQ(all.size(), 500u);
        EXPECT_EQ(all.front(), "\"o0\" \"\"");
        EXPECT_EQ(all.back(), "\"o499\" \"\"");
    }
    /// A log of 300 operations, 200 of them only in the file beside it.
    [[nodiscard]] std::string written_ahead(bool with_index) const
    {
        const std::string path = write_log(plain_log() + general_rows(0, 100), "source.clg");
        const sql_file recorder(path);
        recorder.run("PRAGMA journal_mode = WAL; PRAGMA wal_autocheckpoint = 0;" + general_rows(100, 300));
        fs::copy_file(path, path_of("setup.clg"));
        fs::copy_file(path + "-wal", path_of("setup.clg-wal"));
        if (with_index)
            fs::copy_file(path + "-shm", path_of("setup.clg-shm"));
        return path_of("setup.clg");
    }
};

TEST_F(logkit_recording, goes_on_while_a_list_is_walked)
{
    const std::string path = write_log(plain_log() + general_rows(0, 1000));
    const feature main = open_main(path);
    const operations found = list(main.get(), log_operation_type::general);
    const sql_file recorder(path); // does not wait for anybody
    LONG position = -1;
    ASSERT_EQ(found->First(0, &position), S_OK);
    LONG count = 0;
    int rows = 1000;
    for (LONG i = 0; found->Count(&count) == S_OK && i < count; ++i) {
        SAFEARRAY* record = nullptr;
        ASSERT_EQ(found->Next(&position, &record), S_OK) << last_error();
        EXPECT_EQ(shown(record), "\"o" + std::to_string(i) + "\" \"\"");
        if (i % 100 == 50 && rows < 1500) {
            EXPECT_EQ(recorder.result_of(general_rows(rows, rows + 100)), SQLITE_OK);
            rows += 100;
        }
    }
    EXPECT_EQ(position, 1500);
    EXPECT_EQ(count, 1500);
    EXPECT_EQ(recorder.result_of("BEGIN EXCLUSIVE; COMMIT;"), SQLITE_OK);
}

TEST_F(logkit_recording, lists_that_were_empty_find_rows_later)
{
    const std::string path = write_log(plain_log());
    const feature main = open_main(path);
    const operations found = list(main.get(), log_operation_type::general);
    EXPECT_EQ(records(found.get()), lines{});
    sql_file(path).run(general_rows(0, 2));
    EXPECT_EQ(records(found.get()), (lines{"\"o0\" \"\"", "\"o1\" \"\""}));
    EXPECT_EQ(records(main.get(), log_operation_type::general).size(), 2u);
}

TEST_F(logkit_recording, that_holds_the_log_too_long_is_told)
{
    const std::string path = write_log(plain_log() + general_rows(0, 3));
    const feature main = open_main(path);
    const operations found = list(main.get(), log_operation_type::general);
    const sql_file recorder(path);
    recorder.run("BEGIN EXCLUSIVE;");
    LONG count = 1;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(found->Count(&count), failure(33));
    EXPECT_EQ(count, 0);
    EXPECT_NE(last_error().find("locked by another program"), std::string::npos);
    expect_error(path, 33, "locked");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(8));
    recorder.run("COMMIT;");
    EXPECT_EQ(records(found.get()).size(), 3u);
    EXPECT_TRUE(open(path));
}

TEST_F(logkit_recording, open_transactions_are_not_waited_for)
{
    const std::string path = write_log(plain_log() + general_rows(0, 3));
    const sql_file recorder(path);
    recorder.run("BEGIN;" + general_rows(3, 5));
    const feature main = open_main(path);
    const operations found = list(main.get(), log_operation_type::general);
    EXPECT_EQ(records(found.get()).size(), 3u);
    recorder.run("COMMIT;");
    EXPECT_EQ(records(found.get()).size(), 5u);
}

TEST_F(logkit_recording, a_rolled_back_change_leaves_no_trace)
{
    const std::string path = write_log(plain_log() + general_rows(0, 300));
    const feature main = open_main(path);
    const operations found = list(main.get(), log_operation_type::general);
    EXPECT_EQ(records(found.get()).size(), 300u);
    sql_file(path).run("PRAGMA cache_size = 1; BEGIN; UPDATE general_operation SET operation = hex(zeroblob(500));"
                       "ROLLBACK;");
    const lines all = records(found.get());
    ASSERT_EQ(all.size(), 300u);
    EXPECT_EQ(all[299], "\"o299\" \"\"");
}

TEST_F(logkit_recording, broken_off_is_undone_in_a_copy)
{
    const std::string path = broken_off();
    const auto before = contents();
    const auto count_temporary = [] {
        int count = 0;
        for (const auto& entry : fs::directory_iterator(fs::temp_directory_path()))
            count += entry.path().filename().string().starts_with("cratewright-log-");
        return count;
    };
    const int temporary = count_temporary();
    {
        const com_ptr<ILogDocument> document = open(path);
        ASSERT_TRUE(document);
        EXPECT_EQ(count_temporary(), temporary);
        const feature main = main_feature(document.get());
        const lines all = records(main.get(), log_operation_type::general);
        EXPECT_EQ(all.size(), 500u);
        EXPECT_EQ(all.back(), "\"o499\" \"\"");
        EXPECT_EQ(contents(), before);
    }
    EXPECT_EQ(contents(), before);
    EXPECT_EQ(count_temporary(), temporary);
}

TEST_F(logkit_recording, broken_off_where_nothing_may_be_written)
{
    const std::string path = broken_off();
    const as_nobody rights(m_folder.path());
    expect_broken_off_is_undone(path);
}

TEST_F(logkit_recording, broken_off_with_an_unreadable_journal_is_told)
{
    const std::string path = broken_off();
    fs::permissions(path + "-journal", fs::perms::none);
    const as_nobody rights(m_folder.path());
    com_ptr<ILogDocument> document;
    EXPECT_LT(open_path(path, document), 0);
    EXPECT_NE(last_error().find("setup.clg"), std::string::npos);
}

TEST_F(logkit_recording, broken_off_with_other_files_leaves_those_alone)
{
    const std::string path = broken_off();
    // Behind the journal, as where one change is of several files: the name of the one that they share,
    // its length, the sum of its bytes, and the sign that a name is there.
    const std::string shared = m_folder.write("precious", "mine");
    const auto number = [](std::uint32_t value) {
        std::string bytes;
        for (int shift = 24; shift >= 0; shift -= 8)
            bytes += static_cast<char>(value >> shift & 0xFF);
        return bytes;
    };
    std::uint32_t sum = 0;
    for (const char c : shared)
        sum += static_cast<std::uint32_t>(c);
    m_folder.write("setup.clg-journal", m_folder.read("setup.clg-journal") + number(0x40000000 / 4096 + 1) + shared +
                                            number(static_cast<std::uint32_t>(shared.size())) + number(sum) +
                                            "\xd9\xd5\x05\xf9\x20\xa1\x63\xd7");
    const auto before = contents();
    expect_error(path, 34, "other files");
    EXPECT_EQ(contents(), before);
}

TEST_F(logkit_recording, pipes_beside_a_log_are_not_waited_for)
{
    const auto with_pipe = [this](const std::string& path, const char* ending) {
        fs::remove(path + ending);
        EXPECT_EQ(mkfifo((path + ending).c_str(), 0600), 0);
        return path;
    };
    expect_error(with_pipe(write_log(plain_log()), "-journal"), 34);
    fs::remove(path_of("setup.clg-journal"));
    expect_error(with_pipe(write_log(plain_log()), "-wal"), 23);
    for (const std::string& name : listing())
        fs::remove(path_of(name));
    EXPECT_EQ(records(open_main(with_pipe(written_ahead(false), "-shm")).get(), log_operation_type::general).size(),
              300u);
}

TEST_F(logkit_recording, broken_off_while_it_is_shown_is_told)
{
    const std::string path = write_log(plain_log() + general_rows(0, 500));
    const feature main = open_main(path);
    const operations found = list(main.get(), log_operation_type::general);
    EXPECT_EQ(count_of(found.get()), 500);
    run_and_die(path, "PRAGMA cache_size = 1; BEGIN; UPDATE general_operation SET operation = hex(zeroblob(500));");
    LONG count = 0;
    EXPECT_EQ(found->Count(&count), failure(34));
    EXPECT_NE(last_error().find("broken off"), std::string::npos);
    expect_broken_off_is_undone(path);
}

TEST_F(logkit_recording, changes_of_a_recorder_at_work_are_there)
{
    const std::string path = write_log(plain_log() + general_rows(0, 100));
    const sql_file recorder(path);
    recorder.run("PRAGMA journal_mode = WAL; PRAGMA wal_autocheckpoint = 0;" + general_rows(100, 300));
    const feature main = open_main(path);
    const operations found = list(main.get(), log_operation_type::general);
    EXPECT_EQ(records(found.get()).size(), 300u);
    for (int rows = 300; rows < 800; rows += 100) {
        LONG position = 0;
        SAFEARRAY* record = nullptr;
        EXPECT_EQ(found->Next(&position, &record), S_OK) << last_error();
        EXPECT_EQ(recorder.result_of(general_rows(rows, rows + 100)), SQLITE_OK);
        EXPECT_EQ(recorder.result_of("PRAGMA wal_checkpoint(TRUNCATE)"), SQLITE_OK);
        const lines all = records(found.get());
        ASSERT_EQ(all.size(), static_cast<std::size_t>(rows) + 100);
        EXPECT_EQ(all.back(), "\"o" + std::to_string(rows + 99) + "\" \"\"");
    }
}

TEST_F(logkit_recording, a_recorder_at_work_finds_its_files_as_it_left_them)
{
    const std::string path = write_log(plain_log());
    const sql_file recorder(path);
    recorder.run("PRAGMA journal_mode = WAL; PRAGMA wal_autocheckpoint = 0;" + general_rows(0, 300));
    const std::string log = m_folder.read("setup.clg");
    const std::string pending = m_folder.read("setup.clg-wal");
    const auto names = listing();
    EXPECT_EQ(records(open_main(path).get(), log_operation_type::general).size(), 300u);
    EXPECT_EQ(m_folder.read("setup.clg"), log);
    EXPECT_EQ(m_folder.read("setup.clg-wal"), pending);
    EXPECT_EQ(listing(), names);
    recorder.run(general_rows(300, 400));
}

TEST_F(logkit_recording, changes_that_a_killed_recorder_left_are_there)
{
    for (const bool with_index : {false, true}) {
        SCOPED_TRACE(with_index);
        for (const std::string& name : listing())
            fs::remove(path_of(name));
        const std::string path = written_ahead(with_index);
        const auto before = contents();
        const auto check = [&] {
            const com_ptr<ILogDocument> document = open(path);
            ASSERT_TRUE(document);
            const lines all = records(main_feature(document.get()).get(), log_operation_type::general);
            EXPECT_EQ(all.size(), 300u);
            EXPECT_EQ(all.back(), "\"o299\" \"\"");
            EXPECT_EQ(contents(), before);
        };
        check();
        EXPECT_EQ(contents(), before);
        {
            const as_nobody rights(m_folder.path());
            check();
        }
        EXPECT_EQ(contents(), before);
    }
}

TEST_F(logkit_recording, an_index_of_no_use_is_done_without)
{
    const std::string path = written_ahead(false);
    for (const std::string& index : {std::string(), std::string(32768, '\0'), std::string(100, 'x')}) {
        m_folder.write("setup.clg-shm", index);
        EXPECT_EQ(records(open_main(path).get(), log_operation_type::general).size(), 300u) << index.size();
        EXPECT_EQ(m_folder.read("setup.clg-shm"), index);
    }
}

TEST_F(logkit_recording, changes_that_were_never_written_are_not_waited_for)
{
    const std::string path = written_ahead(true);
    const std::string changes = m_folder.read("setup.clg-wal");
    for (const std::string& left : {changes.substr(0, 32), std::string(32, '\0'), std::string(changes.size(), '\0'),
                                    std::string(changes).replace(8, 1, "x")}) {
        m_folder.write("setup.clg-wal", left);
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_EQ(records(open_main(path).get(), log_operation_type::general).size(), 100u);
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
    }
}

TEST_F(logkit_recording, damaged_changes_do_no_harm)
{
    const std::string path = written_ahead(false);
    const std::string pending = m_folder.read("setup.clg-wal");
    for (std::size_t size = 0; size <= pending.size(); size += 1 + pending.size() / 40) {
        m_folder.write("setup.clg-wal", pending.substr(0, size));
        const com_ptr<ILogDocument> document = open(path);
        ASSERT_TRUE(document);
        const std::size_t count = records(main_feature(document.get()).get(), log_operation_type::general).size();
        EXPECT_TRUE(count == 100 || count == 300) << count;
    }
}

TEST_F(logkit_recording, a_recorder_that_keeps_all_to_itself_is_told)
{
    const std::string path = write_log(plain_log());
    const sql_file recorder(path);
    recorder.run("PRAGMA locking_mode = EXCLUSIVE; PRAGMA journal_mode = WAL;" + general_rows(0, 3));
    expect_error(path, 33, "locked");
}

TEST_F(logkit_recording, one_that_comes_back_to_what_it_left_is_noticed)
{
    const std::string path = written_ahead(false);
    const feature main = open_main(path);
    const operations found = list(main.get(), log_operation_type::general);
    EXPECT_EQ(count_of(found.get()), 300);
    sql_file(path).run("PRAGMA wal_checkpoint(TRUNCATE);" + general_rows(300, 2000) +
                       "PRAGMA wal_checkpoint(TRUNCATE);");
    bool is_told = false;
    LONG position = 0;
    for (LONG i = 0; i < 300 && !is_told; ++i) {
        SAFEARRAY* record = nullptr;
        const HRESULT result = found->Next(&position, &record);
        is_told = result == failure(35);
        ASSERT_TRUE(is_told || result == S_OK) << last_error();
        if (!is_told) {
            EXPECT_EQ(shown(record), "\"o" + std::to_string(i) + "\" \"\"");
        }
    }
    EXPECT_EQ(records(open_main(path).get(), log_operation_type::general).size(), 2000u);
}

TEST_F(logkit_recording, a_log_whose_changes_are_all_brought_in_makes_no_files)
{
    const std::string path = write_log(plain_log() + general_rows(0, 100));
    sql_file(path).run("PRAGMA journal_mode = WAL;" + general_rows(100, 200));
    ASSERT_EQ(listing(), std::vector<std::string>{"setup.clg"});
    const auto before = contents();
    const com_ptr<ILogDocument> document = open(path);
    const operations found = list(main_feature(document.get()).get(), log_operation_type::general);
    EXPECT_EQ(records(found.get()).size(), 200u);
    EXPECT_EQ(contents(), before);
    // What is written into it later is told, or what was there is shown.
    sql_file(path).run("UPDATE general_operation SET operation = 'changed'; PRAGMA wal_checkpoint(TRUNCATE);");
    LONG position = 0;
    SAFEARRAY* record = nullptr;
    const HRESULT result = found->Next(&position, &record);
    EXPECT_TRUE(result == failure(35) || (result == S_OK && shown(record) == "\"o0\" \"\"")) << last_error();
}

TEST_F(logkit_recording, a_change_of_the_way_to_write_is_followed)
{
    const std::string path = write_log(plain_log() + general_rows(0, 300));
    const com_ptr<ILogDocument> document = open(path);
    const operations found = list(main_feature(document.get()).get(), log_operation_type::general);
    EXPECT_EQ(records(found.get()).size(), 300u);
    {
        // A whole recording between two looks.
        const sql_file recorder(path);
        recorder.run("PRAGMA journal_mode = WAL;" + general_rows(300, 400) + "PRAGMA journal_mode = DELETE;");
    }
    EXPECT_EQ(listing(), std::vector<std::string>{"setup.clg"});
    EXPECT_EQ(records(found.get()).size(), 400u);
    {
        const sql_file recorder(path);
        recorder.run("PRAGMA journal_mode = WAL;" + general_rows(400, 500));
        EXPECT_EQ(records(found.get()).size(), 500u);
        recorder.run(general_rows(500, 600));
        EXPECT_EQ(records(found.get()).size(), 600u);
        // It stays with the new way for as long as somebody has a look at it.
        EXPECT_EQ(recorder.result_of("PRAGMA journal_mode = DELETE"), SQLITE_BUSY);
    }
    EXPECT_EQ(records(found.get()).size(), 600u);
    EXPECT_EQ(records(open_main(path).get(), log_operation_type::general).size(), 600u);
}

TEST_F(logkit_recording, recorders_that_come_and_go_hardly_disturb)
{
    const std::string path = write_log(plain_log() + general_rows(0, 600));
    const pid_t recorders = fork();
    ASSERT_GE(recorders, 0);
    if (recorders == 0) {
        for (int i = 600;; ++i) {
            sqlite3* handle = nullptr;
            sqlite3_open(path.c_str(), &handle);
            sqlite3_busy_timeout(handle, 1000);
            const std::string sql = "PRAGMA synchronous = OFF; PRAGMA journal_mode = WAL;" + general_rows(i, i + 1) +
                                    "PRAGMA journal_mode = DELETE;";
            sqlite3_exec(handle, sql.c_str(), nullptr, nullptr, nullptr);
            sqlite3_close(handle);
        }
    }
    int last = 600;
    int opened = 0;
    int disturbed = 0;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    while (std::chrono::steady_clock::now() < end) {
        ++opened;
        com_ptr<ILogDocument> document;
        const bool is_open = SUCCEEDED(open_path(path, document));
        const walked all = is_open ? walk(document.get()) : walked{};
        if (!is_open || all.failures != 0) {
            ++disturbed;
            continue;
        }
        EXPECT_GE(all.records, last);
        last = all.records;
    }
    kill(recorders, SIGKILL);
    waitpid(recorders, nullptr, 0);
    EXPECT_GT(last, 600);
    // A recorder that is held up for long just where it has nothing beside the log looks like none.
    EXPECT_LE(disturbed * 20, opened) << opened;
}

TEST_F(logkit_recording, changes_that_vanish_between_two_looks_are_told)
{
    const std::string path = write_log(plain_log() + general_rows(0, 300));
    const com_ptr<ILogDocument> document = open(path);
    const operations found = list(main_feature(document.get()).get(), log_operation_type::general);
    // The file now asks for others beside it, and there are none.
    sql_file(path).run("PRAGMA journal_mode = WAL;" + general_rows(300, 400));
    ASSERT_EQ(listing(), std::vector<std::string>{"setup.clg"});
    LONG count = 0;
    EXPECT_EQ(found->Count(&count), failure(23));
    EXPECT_NE(last_error().find("setup.clg\" cannot be read: what its writer"), std::string::npos);
    EXPECT_EQ(listing(), std::vector<std::string>{"setup.clg"});
    EXPECT_EQ(records(open_main(path).get(), log_operation_type::general).size(), 400u);
}

} // namespace
} // namespace cw::logkit_tests
