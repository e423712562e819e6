#include "readers/fixture/model_file.h"

#include "tests/readers/fixture_support.h"

#include <cerrno>
#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#include <system_error>

using namespace cw;
using namespace cw::fixture_tests;

namespace {

class FixtureModelFile : public fixture_test {
protected:
    std::size_t files_in_folder()
    {
        const auto folder = std::filesystem::directory_iterator(path_of(""));
        return static_cast<std::size_t>(std::distance(begin(folder), end(folder)));
    }
};

int error_of(const auto& work)
{
    try {
        work();
        return 0;
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code().category(), std::generic_category());
        return error.code().value();
    }
}

TEST_F(FixtureModelFile, WritesAndReadsEveryByte)
{
    const std::string bytes("a\0\r\n\xFF", 5);
    fixture::write_whole_file(path_of("file"), bytes);
    EXPECT_EQ(fixture::read_whole_file(path_of("file")), bytes);
    fixture::write_whole_file(path_of("empty"), "");
    EXPECT_EQ(fixture::read_whole_file(path_of("empty")), "");
    const std::string big(300'000, 'x');
    fixture::write_whole_file(path_of("file"), big);
    EXPECT_EQ(fixture::read_whole_file(path_of("file")), big) << "replaced, larger than one read";
    EXPECT_EQ(files_in_folder(), 2u);
}

TEST_F(FixtureModelFile, ObeysTheMaskOfNewFiles)
{
    const mode_t before = ::umask(027);
    fixture::write_whole_file(path_of("file"), "x");
    ::umask(before);
    struct stat status = {};
    ASSERT_EQ(::stat(path_of("file").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0640u);
}

TEST_F(FixtureModelFile, TellsWhyItCannotRead)
{
    EXPECT_EQ(error_of([&] { (void)fixture::read_whole_file(path_of("none")); }), ENOENT);
    EXPECT_EQ(error_of([&] { (void)fixture::read_whole_file(""); }), ENOENT);
    EXPECT_EQ(error_of([&] { (void)fixture::read_whole_file(path_of("")); }), EISDIR);
    EXPECT_EQ(error_of([&] { (void)fixture::read_whole_file(write("") + "/below"); }), ENOTDIR);
    EXPECT_EQ(error_of([&] { (void)fixture::read_whole_file(std::string("a\0b", 3)); }), EINVAL);
}

TEST_F(FixtureModelFile, DoesNotWaitForAPipe)
{
    ASSERT_EQ(::mkfifo(path_of("pipe").c_str(), 0600), 0);
    EXPECT_EQ(error_of([&] { (void)fixture::read_whole_file(path_of("pipe")); }), EINVAL);
    EXPECT_EQ(error_of([&] { fixture::write_whole_file(path_of("pipe"), "x"); }), EINVAL);
}

TEST_F(FixtureModelFile, TellsWhyItCannotWriteAndLeavesNothing)
{
    EXPECT_EQ(error_of([&] { fixture::write_whole_file(path_of("no/such"), "x"); }), ENOENT);
    EXPECT_EQ(error_of([&] { fixture::write_whole_file(path_of(""), "x"); }), EISDIR);
    EXPECT_EQ(error_of([&] { fixture::write_whole_file(std::string("a\0b", 3), "x"); }), EINVAL);
    EXPECT_EQ(files_in_folder(), 0u);
}

TEST_F(FixtureModelFile, KeepsTheOldFileWhenTheDiskIsFull)
{
    write("old", "file");
    rlimit before = {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto old_handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{10, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    const int error = error_of([&] { fixture::write_whole_file(path_of("file"), "more than ten bytes"); });
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, old_handler);
    EXPECT_EQ(error, EFBIG);
    EXPECT_EQ(read(path_of("file")), "old");
    EXPECT_EQ(files_in_folder(), 1u);
}

} // namespace
