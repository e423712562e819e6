#include "authoring/log_file.h"

#include "authoring/log_database.h"
#include "formats/log_format.h"
#include "formats/media_format.h"
#include "tests/authoring/authoring_support.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using namespace cw::authoring;
using cw::test::error_of;
using cw::test::names_in;
using cw::test::read_file;
using cw::test::write_file;

std::string image()
{
    const cw::formats::bytes bytes = empty_log_image();
    return {bytes.begin(), bytes.end()};
}

std::string with_number(std::string file, std::size_t place, std::uint32_t number)
{
    for (std::size_t i = 0; i < 4; ++i)
        file[place + i] = static_cast<char>(number >> (24 - 8 * i));
    return file;
}

class log_file_test : public testing::Test {
protected:
    /// What opening it fails with; it stays as it is then.
    std::string failure_on(const std::string& content)
    {
        write_file(path, content);
        const std::string reason = error_of([&] { log_file file(path); });
        EXPECT_TRUE(read_file(path) == content);
        EXPECT_EQ(names_in(folder.path()), std::vector<std::string>{"a.clg"});
        return reason;
    }

    cw::test::temporary_folder folder;
    fs::path path = folder / "a.clg";
};

TEST_F(log_file_test, makes_a_whole_log_where_nothing_is)
{
    const log_file file(path);
    EXPECT_TRUE(read_file(path) == image());
    EXPECT_EQ(file.path(), fs::canonical(path).string());
    EXPECT_EQ(names_in(folder.path()), std::vector<std::string>{"a.clg"});
    file.require_in_place();
}

TEST_F(log_file_test, a_new_log_has_the_rights_that_new_files_have)
{
    const mode_t mask = ::umask(027);
    {
        const log_file file(path);
    }
    ::umask(mask);
    EXPECT_EQ(fs::status(path).permissions(), static_cast<fs::perms>(0640));
}

TEST_F(log_file_test, takes_an_empty_file_over_with_its_rights)
{
    write_file(path, "");
    fs::permissions(path, static_cast<fs::perms>(0604));
    {
        const log_file file(path);
        EXPECT_EQ(error_of([&] { log_file second(path); }),
                  path.string() + ": the log is being recorded by another program");
    }
    EXPECT_TRUE(read_file(path) == image());
    EXPECT_EQ(fs::status(path).permissions(), static_cast<fs::perms>(0604));
    EXPECT_EQ(names_in(folder.path()), std::vector<std::string>{"a.clg"});
}

TEST_F(log_file_test, goes_on_with_a_log_and_leaves_it_as_it_is)
{
    write_file(path, image());
    const log_file file(path);
    EXPECT_TRUE(read_file(path) == image());
}

TEST_F(log_file_test, follows_links_to_a_log_and_to_nothing)
{
    fs::create_directory(folder / "real");
    fs::create_symlink("real/b.clg", folder / "link.clg");
    EXPECT_NE(error_of([&] { log_file file(folder / "link.clg"); }).find("a link that leads nowhere"),
              std::string::npos);
    write_file(folder / "real/b.clg", image());
    const log_file file(folder / "link.clg");
    EXPECT_EQ(file.path(), fs::canonical(folder / "real/b.clg").string());
}

TEST_F(log_file_test, refuses_what_is_no_log)
{
    const std::string is_no_log = path.string() + ": that is no installation log";
    EXPECT_EQ(failure_on("x"), is_no_log);
    EXPECT_EQ(failure_on("some text that is much longer than the header of a database, and that says nothing at "
                         "all of any installation"),
              is_no_log);
    EXPECT_EQ(failure_on(image().substr(0, 99)), is_no_log);
    EXPECT_EQ(failure_on(with_number(image(), 68, 0)), is_no_log);
    EXPECT_EQ(failure_on(with_number(image(), 68, cw::formats::header_application_id)),
              path.string() + ": that is a setup media and no installation log");
    EXPECT_NE(failure_on(with_number(image(), 60, 2)).find("newer form (2)"), std::string::npos);
    EXPECT_NE(failure_on(with_number(image(), 60, 0)).find("damaged"), std::string::npos);
}

TEST_F(log_file_test, refuses_what_is_no_file)
{
    EXPECT_EQ(error_of([&] { log_file file(folder.path()); }), folder.path().string() + ": that is a folder");
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(error_of([&] { log_file file(path); }), path.string() + ": that is no file");
    EXPECT_NE(error_of([&] { log_file file(folder.path() / "no" / "a.clg"); }).find("there is no such folder"),
              std::string::npos);
    for (const char* name : {"", ".", "..", "x/"})
        EXPECT_NE(error_of([&] { log_file file(folder.path() / name); }).find("not the name of a file"),
                  std::string::npos)
            << name;
    EXPECT_NE(error_of([&] { log_file file(folder.path() / std::string(300, 'x')); }).find("a.clg"), 0u);
}

TEST_F(log_file_test, a_new_log_does_not_inherit_the_journal_of_another)
{
    for (const char* ending : {"-wal", "-journal"}) {
        const fs::path beside = path.string() + ending;
        write_file(beside, "x");
        EXPECT_NE(error_of([&] { log_file file(path); }).find(std::string("a.clg") + ending), std::string::npos);
        EXPECT_FALSE(fs::exists(path));
        fs::remove(beside);
    }
}

TEST_F(log_file_test, what_a_maker_left_that_was_killed_is_taken_away)
{
    write_file(folder / ".a.clg.cw-new", std::string(1'000'000, 'x'));
    const log_file file(path);
    EXPECT_TRUE(read_file(path) == image());
    EXPECT_EQ(names_in(folder.path()), std::vector<std::string>{"a.clg"});
}

TEST_F(log_file_test, a_second_recorder_is_told_of_the_first)
{
    const std::string busy = path.string() + ": the log is being recorded by another program";
    {
        const log_file first(path);
        EXPECT_EQ(error_of([&] { log_file second(path); }), busy);
        fs::create_symlink("a.clg", folder / "link.clg");
        EXPECT_NE(error_of([&] { log_file second(folder / "link.clg"); }).find("another program"), std::string::npos);
    }
    const log_file again(path);
}

/// Does the work in another process; answers its exit status.
int elsewhere(const std::function<int()>& work)
{
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(work());
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(log_file_test, a_recorder_of_another_process_is_told_of_the_first)
{
    write_file(path, "");
    {
        // The process is told by the lock, not by what it remembers.
        const pid_t child = ::fork();
        if (child == 0) {
            const log_file held(path);
            ::pause();
        }
        while (fs::file_size(path) == 0)
            std::this_thread::yield();
        EXPECT_NE(error_of([&] { log_file second(path); }).find("another program"), std::string::npos);
        ::kill(child, SIGKILL);
        int status = 0;
        ::waitpid(child, &status, 0);
    }
    const log_file after_its_end(path);
}

TEST_F(log_file_test, of_many_that_make_a_log_at_once_one_gets_it)
{
    for (int round = 0; round < 20; ++round) {
        fs::remove(path);
        int go[2];
        ASSERT_EQ(::pipe(go), 0);
        std::vector<pid_t> children;
        for (int i = 0; i < 4; ++i) {
            children.push_back(::fork());
            if (children.back() == 0) {
                ::close(go[1]);
                char byte = 0;
                (void)!::read(go[0], &byte, 1); // all start together
                int status = 1;
                try {
                    const log_file file(path);
                    ::usleep(30'000);
                    status = 0;
                } catch (const error& failure) {
                    status = std::string(failure.what()).find("another program") != std::string::npos ? 1 : 2;
                }
                ::_exit(status);
            }
        }
        ::close(go[0]);
        ::close(go[1]);
        int winners = 0;
        for (const pid_t child : children) {
            int status = 0;
            ::waitpid(child, &status, 0);
            ASSERT_TRUE(WIFEXITED(status));
            EXPECT_LT(WEXITSTATUS(status), 2);
            winners += WEXITSTATUS(status) == 0 ? 1 : 0;
        }
        EXPECT_GE(winners, 1);
        EXPECT_TRUE(read_file(path) == image());
        EXPECT_EQ(names_in(folder.path()), std::vector<std::string>{"a.clg"});
    }
}

TEST_F(log_file_test, what_may_not_be_written_is_an_error)
{
    write_file(folder / "there.clg", image());
    fs::permissions(folder / "there.clg", fs::perms::owner_read | fs::perms::others_read);
    fs::permissions(folder.path(), static_cast<fs::perms>(0555));
    const int status = elsewhere([&] {
        // Nothing is forbidden to root.
        if (::geteuid() == 0 && ::seteuid(65534) != 0)
            return 1;
        if (error_of([&] { log_file file(path); }).find("the log cannot be made") == std::string::npos)
            return 2;
        return error_of([&] { log_file file(folder / "there.clg"); }).find("cannot be opened for recording") ==
                       std::string::npos
                   ? 3
                   : 0;
    });
    EXPECT_EQ(status, 0);
    fs::permissions(folder.path(), fs::perms::owner_all);
    EXPECT_EQ(names_in(folder.path()), std::vector<std::string>{"there.clg"});
}

TEST_F(log_file_test, the_disk_being_full_leaves_nothing)
{
    const int status = elsewhere([&] {
        ::signal(SIGXFSZ, SIG_IGN);
        const rlimit small{10'000, 10'000};
        ::setrlimit(RLIMIT_FSIZE, &small);
        return error_of([&] { log_file file(path); }).find("the log cannot be made") != std::string::npos ? 0 : 1;
    });
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(names_in(folder.path()).empty());
}

TEST_F(log_file_test, notices_that_another_file_has_its_name)
{
    const log_file file(path);
    fs::rename(path, folder / "b.clg");
    EXPECT_NE(error_of([&] { file.require_in_place(); }).find("another file"), std::string::npos);
    write_file(path, image());
    EXPECT_NE(error_of([&] { file.require_in_place(); }).find("another file"), std::string::npos);
}

TEST_F(log_file_test, a_file_is_put_into_place)
{
    write_file(folder / "new", "new");
    put_into_place(folder / "new", path, false);
    EXPECT_EQ(read_file(path), "new");
    write_file(folder / "newer", "newer");
    EXPECT_EQ(error_of([&] { put_into_place(folder / "newer", path, false); }),
              path.string() + ": the file is there already");
    EXPECT_EQ(read_file(path), "new");
    put_into_place(folder / "newer", path, true);
    EXPECT_EQ(read_file(path), "newer");
    EXPECT_EQ(names_in(folder.path()), std::vector<std::string>{"a.clg"});
}

TEST_F(log_file_test, nothing_but_a_file_at_rest_is_replaced)
{
    write_file(folder / "new", "new");
    fs::create_directory(folder / "sub");
    EXPECT_NE(error_of([&] { put_into_place(folder / "new", folder / "sub", true); }).find("a folder"),
              std::string::npos);
    fs::create_symlink("new", folder / "link");
    EXPECT_NE(error_of([&] { put_into_place(folder / "new", folder / "link", true); }).find("no file"),
              std::string::npos);
    write_file(path, image());
    write_file(path.string() + "-wal", "x");
    EXPECT_NE(error_of([&] { put_into_place(folder / "new", path, true); }).find("a.clg-wal"), std::string::npos);
    EXPECT_TRUE(read_file(path) == image());
    EXPECT_EQ(read_file(folder / "new"), "new");
}

} // namespace
