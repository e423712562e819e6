#include "platform/last_error.h"
#include "platform/posix_services.h"
#include "platform/utf8.h"

#include "tests/support/surroundings.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <climits>
#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <tuple>
#include <unistd.h>
#include <vector>

namespace {

using namespace cw::platform;
using cw::platform::file_handle; // the system's headers have one as well
using cw::test_support::as_nobody;
using cw::test_support::environment_variable;
using cw::test_support::file_mode_mask;
using cw::test_support::mode_of;
using cw::test_support::open_descriptors;
using cw::test_support::temporary_folder;

constexpr std::uint32_t read_and_write = generic_read | generic_write;

class posix_open_files : public testing::Test {
protected:
    temporary_folder folder;
    std::unique_ptr<open_files> files = make_posix_open_files();
    std::filesystem::path before = std::filesystem::current_path();
    ~posix_open_files() override
    {
        std::filesystem::current_path(before);
        std::filesystem::permissions(folder.path(), std::filesystem::perms(0755));
    }

    file_handle open(const std::string& path, std::uint32_t access, std::uint32_t disposition)
    {
        return files->create_file(path_from_bytes(path).c_str(), access, file_share_read, nullptr, disposition,
                                  file_attribute_normal, 0);
    }
    file_handle open_file(std::string_view name, std::uint32_t access, std::uint32_t disposition)
    {
        return open(folder.file(name), access, disposition);
    }
    /// The error of an open that must fail.
    std::uint32_t error_of(const std::string& path, std::uint32_t access, std::uint32_t disposition)
    {
        set_last_error(0);
        EXPECT_EQ(open(path, access, disposition), invalid_file_handle) << path;
        return get_last_error();
    }
    bool write(file_handle file, std::string_view bytes)
    {
        const bool done = files->write(file, bytes.data(), static_cast<std::uint32_t>(bytes.size()), &written);
        return done && written == bytes.size();
    }
    std::string read(file_handle file, std::uint32_t size_in_bytes)
    {
        std::string bytes(size_in_bytes, '#');
        std::uint32_t count = 99;
        EXPECT_TRUE(files->read(file, bytes.data(), size_in_bytes, &count));
        bytes.resize(count);
        return bytes;
    }
    /// Where the position is, without the halves.
    std::int64_t position(file_handle file) { return lseek(static_cast<int>(file), 0, SEEK_CUR); }
    std::uint32_t written = 0;
};

TEST_F(posix_open_files, writes_and_reads)
{
    const file_handle file = open_file("file", generic_write, create_always);
    ASSERT_NE(file, invalid_file_handle);
    EXPECT_TRUE(write(file, "hello "));
    EXPECT_TRUE(write(file, std::string_view("wo\0rld", 6)));
    EXPECT_TRUE(write(file, ""));
    EXPECT_TRUE(files->close(file));
    EXPECT_EQ(folder.read("file"), std::string("hello wo\0rld", 12));

    const file_handle again = open_file("file", generic_read, open_existing);
    ASSERT_NE(again, invalid_file_handle);
    EXPECT_EQ(read(again, 5), "hello");
    EXPECT_EQ(read(again, 0), "");
    EXPECT_EQ(read(again, 100), std::string(" wo\0rld", 7));
    EXPECT_EQ(read(again, 100), "");
    EXPECT_TRUE(files->close(again));
}

TEST_F(posix_open_files, keeps_to_the_disposition)
{
    struct row {
        std::uint32_t disposition;
        std::uint32_t error_where_absent;
        std::uint32_t error_where_present;
        const char* left_where_present;
    };
    for (const row& expected : {row{create_new, 0, 80, "old"}, row{create_always, 0, 0, ""},
                                row{open_existing, 2, 0, "old"}, row{open_always, 0, 0, "old"},
                                row{truncate_existing, 2, 0, ""}, row{0, 87, 87, "old"}, row{6, 87, 87, "old"}}) {
        SCOPED_TRACE(expected.disposition);
        std::filesystem::remove(folder.file("absent"));
        folder.write("present", "old");
        for (const auto& [name, error] :
             {std::pair{"absent", expected.error_where_absent}, {"present", expected.error_where_present}}) {
            set_last_error(0);
            const file_handle file = open_file(name, generic_write, expected.disposition);
            EXPECT_EQ(file == invalid_file_handle, error != 0) << name;
            EXPECT_EQ(get_last_error(), error) << name;
            if (file != invalid_file_handle) {
                EXPECT_TRUE(files->close(file));
            }
        }
        EXPECT_EQ(std::filesystem::exists(folder.file("absent")), expected.error_where_absent == 0);
        EXPECT_EQ(folder.read("present"), expected.left_where_present);
    }
}

TEST_F(posix_open_files, does_not_empty_what_it_may_not_write)
{
    folder.write("file", "old");
    EXPECT_EQ(error_of(folder.file("file"), generic_read, create_always), error_invalid_parameter);
    EXPECT_EQ(error_of(folder.file("file"), generic_read, truncate_existing), error_invalid_parameter);
    EXPECT_EQ(error_of(folder.file("absent"), 0, create_always), error_invalid_parameter);
    EXPECT_EQ(folder.read("file"), "old");
    EXPECT_FALSE(std::filesystem::exists(folder.file("absent")));
}

TEST_F(posix_open_files, keeps_to_the_access)
{
    folder.write("file", "old");
    char bytes[4];
    std::uint32_t count = 99;
    for (const std::uint32_t access : {0u, generic_read}) {
        const file_handle file = open_file("file", access, open_existing);
        ASSERT_NE(file, invalid_file_handle);
        EXPECT_EQ(read(file, 4), "old");
        set_last_error(0);
        EXPECT_FALSE(files->write(file, "x", 1, &count));
        EXPECT_EQ(count, 0u);
        EXPECT_EQ(get_last_error(), error_access_denied);
        set_last_error(0);
        EXPECT_FALSE(files->write(file, "", 0, &count));
        EXPECT_EQ(get_last_error(), error_access_denied);
        files->close(file);
    }
    const file_handle file = open_file("file", generic_write, open_existing);
    count = 99;
    set_last_error(0);
    EXPECT_FALSE(files->read(file, bytes, 4, &count));
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(get_last_error(), error_access_denied);
    files->close(file);

    const file_handle both = open_file("file", read_and_write, open_existing);
    EXPECT_EQ(read(both, 1), "o");
    EXPECT_TRUE(write(both, "LD"));
    files->close(both);
    EXPECT_EQ(folder.read("file"), "oLD");
}

TEST_F(posix_open_files, is_not_inherited_and_waits_for_bytes)
{
    const file_handle file = open_file("file", generic_write, create_new);
    EXPECT_EQ(fcntl(static_cast<int>(file), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    EXPECT_EQ(fcntl(static_cast<int>(file), F_GETFL) & O_NONBLOCK, 0);
    files->close(file);
}

TEST_F(posix_open_files, a_folder_is_no_file)
{
    std::filesystem::create_directory(folder.path() / "below");
    std::filesystem::create_directory_symlink("below", folder.path() / "link");
    for (const std::uint32_t disposition : {create_new, create_always, open_existing, open_always, truncate_existing}) {
        for (const std::uint32_t access : {generic_write, read_and_write}) {
            EXPECT_EQ(error_of(folder.file("below"), access, disposition), error_access_denied) << disposition;
            EXPECT_EQ(error_of(folder.file("link"), access, disposition), error_access_denied) << disposition;
        }
    }
    for (const std::uint32_t disposition : {create_new, open_existing, open_always})
        EXPECT_EQ(error_of(folder.file("below"), generic_read, disposition), error_access_denied) << disposition;
}

TEST_F(posix_open_files, tells_why_it_cannot_open)
{
    folder.write("file", "x");
    EXPECT_EQ(error_of("", generic_read, open_existing), error_path_not_found);
    EXPECT_EQ(error_of(folder.file("file/below"), generic_read, open_existing), error_path_not_found);
    EXPECT_EQ(error_of(folder.file("absent/below"), generic_read, open_existing), error_file_not_found);
    EXPECT_EQ(error_of(folder.file("absent/below"), generic_write, create_always), error_path_not_found);
    EXPECT_EQ(error_of(folder.file("absent/below"), generic_write, open_always), error_path_not_found);
    EXPECT_EQ(error_of(folder.file(std::string(300, 'n')), generic_write, create_always), 206u);
    EXPECT_EQ(error_of("ftp://host/file", generic_write, create_always), error_path_not_found);

    std::filesystem::permissions(folder.file("file"), std::filesystem::perms(0444));
    std::filesystem::permissions(folder.path(), std::filesystem::perms(0555));
    const as_nobody nobody;
    if (!nobody.is_denied_things())
        GTEST_SKIP() << "the rights of an administrator cannot be given up";
    EXPECT_EQ(error_of(folder.file("file"), generic_write, create_always), error_access_denied);
    EXPECT_EQ(error_of(folder.file("new"), generic_write, create_always), error_access_denied);
    EXPECT_EQ(folder.read("file"), "x");
}

TEST_F(posix_open_files, a_backslash_path_is_one_relative_name)
{
    std::filesystem::current_path(folder.path());
    const file_handle file = open("C:\\a\\b", generic_write, create_new);
    ASSERT_NE(file, invalid_file_handle);
    files->close(file);
    EXPECT_TRUE(std::filesystem::exists(folder.path() / "C:\\a\\b"));
}

TEST_F(posix_open_files, follows_links_and_the_mask_for_new_files)
{
    const file_mode_mask mask(027);
    std::filesystem::create_symlink("target", folder.path() / "link");
    const file_handle file = open_file("link", generic_write, create_always);
    ASSERT_NE(file, invalid_file_handle);
    EXPECT_TRUE(write(file, "x"));
    files->close(file);
    EXPECT_EQ(folder.read("target"), "x");
    EXPECT_EQ(mode_of(folder.file("target")), 0640u);
    EXPECT_EQ(error_of(folder.file("link"), generic_write, create_new), error_file_exists);
}

TEST_F(posix_open_files, a_temporary_file_is_the_user_s_alone)
{
    const environment_variable variable("TMPDIR", folder.path());
    const file_mode_mask mask(0);
    std::filesystem::create_directory(folder.path() / "below");
    std::filesystem::current_path(folder.path());
    const auto mode_made = [&](const std::string& path) {
        const file_handle file = open(path, generic_write, create_always);
        EXPECT_NE(file, invalid_file_handle);
        files->close(file);
        return mode_of(path);
    };
    EXPECT_EQ(mode_made(folder.file("a")), 0600u);
    EXPECT_EQ(mode_made(folder.file("below/../b")), 0600u);
    EXPECT_EQ(mode_made("c"), 0600u);
    EXPECT_EQ(mode_made(folder.file("below/d")), 0666u);
    std::filesystem::current_path(folder.path() / "below");
    EXPECT_EQ(mode_made("e"), 0666u);
}

TEST_F(posix_open_files, a_link_among_temporary_files_is_not_written_through)
{
    const environment_variable variable("TMPDIR", folder.path());
    folder.write("target", "precious");
    std::filesystem::create_symlink("target", folder.path() / "link");
    std::filesystem::create_symlink("nowhere", folder.path() / "dangling");
    for (const std::uint32_t disposition : {create_always, open_existing, open_always, truncate_existing}) {
        EXPECT_EQ(error_of(folder.file("link"), generic_write, disposition), 1921u) << disposition;
        EXPECT_EQ(error_of(folder.file("dangling"), generic_write, disposition), 1921u) << disposition;
    }
    EXPECT_EQ(error_of(folder.file("link"), generic_write, create_new), error_file_exists);
    EXPECT_EQ(folder.read("target"), "precious");
    EXPECT_FALSE(std::filesystem::exists(folder.file("nowhere")));

    const file_handle file = open_file("link", generic_read, open_existing);
    EXPECT_EQ(read(file, 20), "precious");
    files->close(file);
}

TEST_F(posix_open_files, a_stranger_s_file_among_temporary_files_is_not_written)
{
    folder.write("theirs", "precious");
    std::filesystem::permissions(folder.file("theirs"), std::filesystem::perms(0666));
    std::filesystem::permissions(folder.path(), std::filesystem::perms(0777));
    if (geteuid() != 0)
        GTEST_SKIP() << "only an administrator has strangers at hand";
    ASSERT_EQ(chown(folder.file("theirs").c_str(), 1, 1), 0);
    const auto try_all = [&](std::uint32_t expected) {
        for (const std::uint32_t disposition : {create_always, open_existing, open_always, truncate_existing}) {
            folder.write("theirs", "precious");
            set_last_error(0);
            const file_handle file = open_file("theirs", generic_write, disposition);
            EXPECT_EQ(file == invalid_file_handle, expected != 0);
            EXPECT_EQ(get_last_error(), expected) << disposition;
            if (file != invalid_file_handle) {
                files->close(file);
            } else {
                EXPECT_EQ(folder.read("theirs"), "precious");
            }
        }
    };
    try_all(0);
    {
        const as_nobody nobody;
        try_all(0);
    }
    const environment_variable variable("TMPDIR", folder.path());
    try_all(error_access_denied);
    const file_handle file = open_file("theirs", generic_read, open_existing);
    EXPECT_EQ(read(file, 20), "precious");
    files->close(file);
    const as_nobody nobody;
    try_all(error_access_denied);
}

TEST_F(posix_open_files, takes_the_same_care_in_every_folder_that_is_everybody_s)
{
    const environment_variable variable("TMPDIR", "/elsewhere");
    const file_mode_mask mask(0);
    folder.write("target", "precious");
    std::filesystem::create_symlink("target", folder.path() / "link");
    const auto made_in = [&](mode_t mode) {
        EXPECT_EQ(chmod(folder.path().c_str(), mode), 0);
        std::filesystem::remove(folder.path() / "new");
        files->close(open_file("new", generic_write, create_always));
        return mode_of(folder.file("new"));
    };
    // Only both together make such a folder.
    for (const mode_t mode : {0755u, 0777u, 01755u, 01775u}) {
        EXPECT_EQ(made_in(mode), 0666u) << mode;
        const file_handle file = open_file("link", generic_write, open_existing);
        EXPECT_NE(file, invalid_file_handle) << mode;
        files->close(file);
    }
    EXPECT_EQ(made_in(01777), 0600u);
    for (const std::uint32_t disposition : {create_always, open_existing, open_always, truncate_existing})
        EXPECT_EQ(error_of(folder.file("link"), generic_write, disposition), 1921u) << disposition;
    EXPECT_EQ(folder.read("target"), "precious");
    const file_handle file = open_file("link", generic_read, open_existing);
    EXPECT_EQ(read(file, 20), "precious");
    files->close(file);

    // Only an administrator has strangers at hand.
    if (geteuid() == 0) {
        ASSERT_EQ(chown(folder.file("target").c_str(), 1, 1), 0);
        EXPECT_EQ(error_of(folder.file("target"), generic_write, open_existing), error_access_denied);
    }
}

TEST_F(posix_open_files, a_file_of_two_names_among_temporary_files_is_not_written)
{
    std::filesystem::create_directory(folder.path() / "below");
    folder.write("below/target", "precious");
    std::filesystem::create_hard_link(folder.path() / "below/target", folder.path() / "other name");
    const auto refuses_all = [&] {
        for (const std::uint32_t disposition : {create_always, open_existing, open_always, truncate_existing})
            EXPECT_EQ(error_of(folder.file("other name"), generic_write, disposition), error_access_denied)
                << disposition;
        EXPECT_EQ(folder.read("below/target"), "precious");
    };
    ASSERT_EQ(chmod(folder.path().c_str(), 01777), 0);
    refuses_all();
    ASSERT_EQ(chmod(folder.path().c_str(), 0755), 0);
    {
        const environment_variable variable("TMPDIR", folder.path());
        refuses_all();
        const file_handle reader = open_file("other name", generic_read, open_existing);
        EXPECT_EQ(read(reader, 20), "precious");
        files->close(reader);
    }
    const file_handle file = open_file("other name", generic_write, create_always);
    EXPECT_TRUE(write(file, "x"));
    files->close(file);
    EXPECT_EQ(folder.read("below/target"), "x");
}

TEST_F(posix_open_files, keeps_nothing_open_that_it_refuses)
{
    folder.write("file", "x");
    std::filesystem::create_directory(folder.path() / "below");
    std::filesystem::create_symlink("file", folder.path() / "link");
    std::filesystem::create_hard_link(folder.path() / "file", folder.path() / "other name");
    ASSERT_EQ(mkfifo(folder.file("pipe").c_str(), 0600), 0);
    ASSERT_EQ(chmod(folder.path().c_str(), 01777), 0);
    const std::ptrdiff_t open_before = open_descriptors();
    for (const std::uint32_t disposition : {create_new, create_always, open_existing, open_always, truncate_existing}) {
        for (const char* name : {"below", "link", "other name", "pipe", "absent/file", "file/below"})
            error_of(folder.file(name), generic_write, disposition);
    }
    // This one is open before it is refused.
    error_of(folder.path(), generic_read, open_existing);
    error_of(folder.file("file"), generic_read, create_always);
    EXPECT_EQ(open_descriptors(), open_before);
}

TEST_F(posix_open_files, never_waits_for_the_other_end_of_a_pipe)
{
    ASSERT_EQ(mkfifo(folder.file("pipe").c_str(), 0600), 0);
    EXPECT_EQ(error_of(folder.file("pipe"), generic_write, create_always), 20u);
    const file_handle reader = open_file("pipe", generic_read, open_existing);
    ASSERT_NE(reader, invalid_file_handle);
    EXPECT_EQ(fcntl(static_cast<int>(reader), F_GETFL) & O_NONBLOCK, 0);
    EXPECT_EQ(read(reader, 10), "");
    EXPECT_EQ(files->size(reader, nullptr), 0u);

    const file_handle writer = open_file("pipe", generic_write, create_always);
    ASSERT_NE(writer, invalid_file_handle);
    EXPECT_TRUE(write(writer, "abc"));
    // What is there comes at once; the rest is not waited for.
    EXPECT_EQ(read(reader, 10), "abc");
    // There is no position, and so nowhere to go but to the start.
    set_last_error(99);
    EXPECT_EQ(files->seek(reader, 0, nullptr, seek_begin), 0u);
    std::int32_t high = 0;
    EXPECT_EQ(files->seek(writer, 0, &high, seek_begin), 0u);
    EXPECT_EQ(high, 0);
    EXPECT_EQ(get_last_error(), 99u);
    for (const auto& [distance, high_half, method] :
         {std::tuple{1, 0, seek_begin}, {0, 1, seek_begin}, {0, 0, seek_current}, {0, 0, seek_end}}) {
        high = high_half;
        set_last_error(0);
        EXPECT_EQ(files->seek(reader, distance, &high, method), invalid_file_position) << method;
        EXPECT_EQ(get_last_error(), 25u) << method;
    }

    files->close(reader);
    set_last_error(0);
    EXPECT_FALSE(write(writer, "abc"));
    EXPECT_EQ(written, 0u);
    EXPECT_EQ(get_last_error(), 109u);
    files->close(writer);
}

TEST_F(posix_open_files, a_terminal_has_no_position_either)
{
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (terminal < 0)
        GTEST_SKIP() << "no terminals";
    EXPECT_EQ(files->seek(terminal, 0, nullptr, seek_begin), 0u);
    set_last_error(0);
    EXPECT_EQ(files->seek(terminal, 1, nullptr, seek_begin), invalid_file_position);
    EXPECT_EQ(get_last_error(), 25u);
    files->close(terminal);
}

std::atomic<int> interruptions = 0;

/// Interrupts the calls of a thread over and over while `during` runs.
template <class During>
void interrupted(std::thread& thread, During during)
{
    for (int i = 0; i < 5; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        pthread_kill(thread.native_handle(), SIGUSR1);
    }
    during();
    thread.join();
}

TEST_F(posix_open_files, goes_on_after_an_interruption)
{
    struct sigaction action {};
    struct sigaction action_before {};
    action.sa_handler = [](int) { ++interruptions; };
    ASSERT_EQ(sigaction(SIGUSR1, &action, &action_before), 0);
    interruptions = 0;

    ASSERT_EQ(mkfifo(folder.file("pipe").c_str(), 0600), 0);
    const file_handle reader = open_file("pipe", generic_read, open_existing);
    const file_handle writer = open_file("pipe", generic_write, open_existing);
    std::string got;
    std::thread reading([&] { got = read(reader, 10); });
    interrupted(reading, [&] { EXPECT_TRUE(write(writer, "abc")); });
    EXPECT_EQ(got, "abc");

    // More than a pipe holds, so that a part is written when the signals come.
    const std::string much(1'000'000, 'x');
    std::atomic<bool> done = false;
    std::thread writing([&] { done = write(writer, much); });
    std::size_t count = 0;
    interrupted(writing, [&] {
        while (count < much.size())
            count += read(reader, 4096).size();
    });
    EXPECT_TRUE(done);
    EXPECT_EQ(written, much.size());
    EXPECT_GT(interruptions, 0);
    files->close(reader);
    files->close(writer);
    sigaction(SIGUSR1, &action_before, nullptr);
}

TEST_F(posix_open_files, a_full_device_takes_nothing)
{
    const file_handle file = open("/dev/full", generic_write, create_always);
    if (file == invalid_file_handle)
        GTEST_SKIP() << "no /dev/full";
    set_last_error(0);
    EXPECT_FALSE(write(file, "abc"));
    EXPECT_EQ(written, 0u);
    EXPECT_EQ(get_last_error(), error_disk_full);
    EXPECT_TRUE(files->close(file));
}

TEST_F(posix_open_files, what_takes_nothing_is_not_asked_for_ever)
{
    // The memory of a process that has ended takes no bytes, and gives no error.
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    const pid_t process = fork();
    if (process == 0) {
        char byte = 0;
        ::close(ends[1]);
        _exit(static_cast<int>(::read(ends[0], &byte, 1)));
    }
    const file_handle file = open("/proc/" + std::to_string(process) + "/mem", generic_write, open_existing);
    ::close(ends[0]);
    ::close(ends[1]);
    waitpid(process, nullptr, 0);
    if (file == invalid_file_handle)
        GTEST_SKIP() << "the memory of a process is out of reach";
    set_last_error(0);
    EXPECT_FALSE(write(file, "abc"));
    EXPECT_EQ(written, 0u);
    EXPECT_EQ(get_last_error(), error_disk_full);
    EXPECT_TRUE(write(file, ""));
    files->close(file);
}

TEST_F(posix_open_files, a_limit_for_files_is_an_error_and_not_the_end)
{
    const file_handle file = open_file("file", generic_write, create_new);
    rlimit limit_before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &limit_before), 0);
    const rlimit small{100, limit_before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    set_last_error(0);
    const bool first = write(file, std::string(150, 'x'));
    const std::uint32_t error = get_last_error();
    const std::uint32_t count = written;
    const bool second = write(file, "x");
    setrlimit(RLIMIT_FSIZE, &limit_before);

    EXPECT_FALSE(first);
    EXPECT_EQ(count, 100u);
    EXPECT_EQ(error, 223u);
    EXPECT_FALSE(second);
    EXPECT_EQ(written, 0u);
    files->close(file);
    EXPECT_EQ(folder.read("file"), std::string(100, 'x'));

    sigset_t signals;
    sigpending(&signals);
    EXPECT_EQ(sigismember(&signals, SIGXFSZ), 0);
    pthread_sigmask(SIG_BLOCK, nullptr, &signals);
    EXPECT_EQ(sigismember(&signals, SIGXFSZ), 0);
    EXPECT_EQ(sigismember(&signals, SIGPIPE), 0);
}

TEST_F(posix_open_files, a_signal_that_was_waiting_before_still_waits)
{
    sigset_t pipes;
    sigset_t mask_before;
    sigemptyset(&pipes);
    sigaddset(&pipes, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipes, &mask_before);
    pthread_kill(pthread_self(), SIGPIPE);
    const file_handle file = open_file("file", generic_write, create_new);
    EXPECT_TRUE(write(file, "x"));
    files->close(file);
    constexpr timespec at_once{};
    EXPECT_EQ(sigtimedwait(&pipes, nullptr, &at_once), SIGPIPE);
    pthread_sigmask(SIG_SETMASK, &mask_before, nullptr);
}

TEST_F(posix_open_files, moves_by_one_half)
{
    folder.write("file", "0123456789");
    const file_handle file = open_file("file", generic_read, open_existing);
    EXPECT_EQ(files->seek(file, 4, nullptr, seek_begin), 4u);
    EXPECT_EQ(read(file, 1), "4");
    EXPECT_EQ(files->seek(file, -2, nullptr, seek_current), 3u);
    EXPECT_EQ(read(file, 1), "3");
    EXPECT_EQ(files->seek(file, -1, nullptr, seek_end), 9u);
    EXPECT_EQ(read(file, 5), "9");
    EXPECT_EQ(files->seek(file, 5, nullptr, seek_end), 15u);
    EXPECT_EQ(read(file, 5), "");
    EXPECT_EQ(files->seek(file, 0, nullptr, seek_begin), 0u);

    EXPECT_EQ(files->seek(file, 3, nullptr, seek_begin), 3u);
    for (const auto& [distance, method, error] :
         {std::tuple{-1, seek_begin, 131u}, {-4, seek_current, 131u}, {-11, seek_end, 131u}, {0, 3u, 87u}}) {
        set_last_error(0);
        EXPECT_EQ(files->seek(file, distance, nullptr, method), invalid_file_position);
        EXPECT_EQ(get_last_error(), error) << method;
        EXPECT_EQ(position(file), 3) << method;
    }
    files->close(file);
}

TEST_F(posix_open_files, moves_by_both_halves)
{
    folder.write("large", "");
    std::filesystem::resize_file(folder.path() / "large", 0x3'0000'0010);
    const file_handle file = open_file("large", generic_read, open_existing);
    std::int32_t high = 2;
    EXPECT_EQ(files->seek(file, static_cast<std::int32_t>(0x80000001), &high, seek_begin), 0x80000001u);
    EXPECT_EQ(high, 2);
    EXPECT_EQ(position(file), 0x2'8000'0001);
    high = -1;
    EXPECT_EQ(files->seek(file, -2, &high, seek_current), 0x7FFFFFFFu);
    EXPECT_EQ(high, 2);
    high = -1;
    EXPECT_EQ(files->seek(file, -0x20, &high, seek_end), 0xFFFFFFF0u);
    EXPECT_EQ(high, 2);
    EXPECT_EQ(position(file), 0x2'FFFF'FFF0);

    // Beyond what the one half can tell nothing moves.
    for (const std::uint32_t method : {seek_current, seek_end}) {
        set_last_error(0);
        EXPECT_EQ(files->seek(file, 0, nullptr, method), invalid_file_position);
        EXPECT_EQ(get_last_error(), error_invalid_parameter);
        EXPECT_EQ(position(file), 0x2'FFFF'FFF0);
    }
    EXPECT_EQ(files->seek(file, INT_MAX, nullptr, seek_begin), 0x7FFFFFFFu);
    EXPECT_EQ(files->seek(file, INT_MAX, nullptr, seek_current), 0xFFFFFFFEu);
    set_last_error(0);
    EXPECT_EQ(files->seek(file, 2, nullptr, seek_current), invalid_file_position);
    EXPECT_EQ(get_last_error(), error_invalid_parameter);
    EXPECT_EQ(position(file), 0xFFFF'FFFE);

    high = -1;
    set_last_error(0);
    EXPECT_EQ(files->seek(file, -1, &high, seek_begin), invalid_file_position);
    EXPECT_EQ(get_last_error(), error_negative_seek);
    EXPECT_EQ(high, -1);
    // More than a file can be long, and more than can be counted.
    for (const std::uint32_t method : {seek_begin, seek_current}) {
        high = INT_MAX;
        set_last_error(0);
        EXPECT_EQ(files->seek(file, -1, &high, method), invalid_file_position);
        EXPECT_EQ(get_last_error(), error_invalid_parameter);
        EXPECT_EQ(position(file), 0xFFFF'FFFE);
    }
    files->close(file);
}

TEST_F(posix_open_files, a_true_position_that_looks_like_failure_is_no_error)
{
    folder.write("large", "");
    std::filesystem::resize_file(folder.path() / "large", 0x1'FFFF'FFFF);
    const file_handle file = open_file("large", generic_read, open_existing);
    set_last_error(99);
    EXPECT_EQ(files->seek(file, INT_MAX, nullptr, seek_begin), 0x7FFFFFFFu);
    EXPECT_EQ(get_last_error(), 99u);
    EXPECT_EQ(files->seek(file, INT_MAX, nullptr, seek_current), 0xFFFFFFFEu);
    EXPECT_EQ(files->seek(file, 1, nullptr, seek_current), 0xFFFFFFFFu);
    EXPECT_EQ(get_last_error(), 0u);
    EXPECT_EQ(position(file), 0xFFFF'FFFF);

    std::int32_t high = 0;
    set_last_error(99);
    EXPECT_EQ(files->seek(file, 0, &high, seek_end), 0xFFFFFFFFu);
    EXPECT_EQ(high, 1);
    EXPECT_EQ(get_last_error(), 0u);

    std::uint32_t size_high = 0;
    set_last_error(99);
    EXPECT_EQ(files->size(file, &size_high), 0xFFFFFFFFu);
    EXPECT_EQ(size_high, 1u);
    EXPECT_EQ(get_last_error(), 0u);
    files->close(file);
}

TEST_F(posix_open_files, tells_the_size_in_halves)
{
    folder.write("file", "12345");
    file_handle file = open_file("file", generic_read, open_existing);
    std::uint32_t size_high = 9;
    set_last_error(99);
    EXPECT_EQ(files->size(file, &size_high), 5u);
    EXPECT_EQ(size_high, 0u);
    EXPECT_EQ(files->size(file, nullptr), 5u);
    EXPECT_EQ(get_last_error(), 99u);
    files->close(file);

    std::filesystem::resize_file(folder.path() / "file", 0x2'3456'789A);
    file = open_file("file", generic_read, open_existing);
    EXPECT_EQ(files->size(file, &size_high), 0x3456789Au);
    EXPECT_EQ(size_high, 2u);
    EXPECT_EQ(files->size(file, nullptr), 0x3456789Au);
    files->close(file);
}

TEST_F(posix_open_files, reads_more_than_one_piece)
{
    // Pieces are of 16 MiB; nothing but the end of a file may make a count short.
    constexpr std::uint32_t size_in_bytes = 0x2000003;
    folder.write("large", "");
    std::filesystem::resize_file(folder.path() / "large", size_in_bytes);
    std::vector<char> bytes(size_in_bytes, '#');
    const file_handle file = open_file("large", generic_read, open_existing);
    std::uint32_t count = 0;
    EXPECT_TRUE(files->read(file, bytes.data(), size_in_bytes, &count));
    EXPECT_EQ(count, size_in_bytes);
    EXPECT_EQ(bytes, std::vector<char>(size_in_bytes));
    EXPECT_EQ(files->seek(file, -0x2000000, nullptr, seek_end), 3u);
    EXPECT_TRUE(files->read(file, bytes.data(), size_in_bytes, &count));
    EXPECT_EQ(count, 0x2000000u);
    files->close(file);
}

TEST_F(posix_open_files, a_handle_that_is_not_open_is_an_error)
{
    const file_handle stays_open = open_file("other", read_and_write, create_new);
    const file_handle closed = open_file("file", read_and_write, create_new);
    EXPECT_TRUE(files->close(closed));
    // The last ones would be files of the process if they were cut to what a descriptor can be.
    for (const file_handle handle : {closed, invalid_file_handle, file_handle{-2}, file_handle{INT_MAX},
                                     stays_open + (file_handle{1} << 32), stays_open - (file_handle{1} << 32)}) {
        SCOPED_TRACE(handle);
        char bytes[1];
        std::uint32_t count = 99;
        const auto expect_error = [](bool failed) {
            EXPECT_TRUE(failed);
            EXPECT_EQ(get_last_error(), error_invalid_handle);
            set_last_error(0);
        };
        set_last_error(0);
        expect_error(!files->read(handle, bytes, 1, &count));
        EXPECT_EQ(count, 0u);
        expect_error(!files->write(handle, bytes, 1, &count));
        expect_error(!files->write(handle, bytes, 0, &count));
        expect_error(files->seek(handle, 0, nullptr, seek_begin) == invalid_file_position);
        expect_error(files->seek(handle, 0, nullptr, seek_current) == invalid_file_position);
        expect_error(files->seek(handle, 0, nullptr, seek_end) == invalid_file_position);
        expect_error(files->size(handle, &count) == invalid_file_position);
        expect_error(!files->close(handle));
    }
    EXPECT_TRUE(files->close(stays_open));
}

} // namespace
