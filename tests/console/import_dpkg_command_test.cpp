#include "tests/console/console_support.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace cw {
namespace {

using namespace console_tests;

class import_dpkg_command : public console_test {
protected:
    import_dpkg_command()
    {
        std::filesystem::create_directories(folder.path() / "root/var/lib/dpkg/info");
        folder.write("root/var/lib/dpkg/status", "Package: tour\nStatus: install ok installed\nArchitecture: all\n");
        folder.write("root/var/lib/dpkg/info/tour.list", "/.\n/usr\n/usr/tour\n");
    }
    outcome import(const std::vector<std::string>& options = {})
    {
        std::vector<std::string> arguments{"import-dpkg", log, "--root", folder.file("root")};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return run_program(arguments);
    }

    std::string log = folder.file("a.clg");
};

TEST_F(import_dpkg_command, makes_a_log_and_tells_of_what)
{
    const outcome ran = import();
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.error, "");
    EXPECT_EQ(ran.out, log + ": 1 packages, 2 files, 0 actions\n");
    EXPECT_TRUE(folder.read("a.clg").starts_with("SQLite format 3"));
}

TEST_F(import_dpkg_command, replaces_a_file_by_force_alone)
{
    folder.write("a.clg", "precious");
    const outcome refused = import();
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.out, "");
    EXPECT_EQ(refused.error, "cwcab: " + log + ": the file is there already\n");
    EXPECT_EQ(folder.read("a.clg"), "precious");
    EXPECT_EQ(import({"--force"}).status, 0);
    EXPECT_TRUE(folder.read("a.clg").starts_with("SQLite format 3"));
}

TEST_F(import_dpkg_command, needs_records_and_a_name)
{
    std::filesystem::remove(folder.file("root/var/lib/dpkg/status"));
    const outcome ran = import();
    EXPECT_EQ(ran.status, 1);
    EXPECT_TRUE(is_one_line(ran.error)) << ran.error;
    EXPECT_FALSE(std::filesystem::exists(log));
    EXPECT_EQ(run_program({"import-dpkg"}).status, 2);
}

} // namespace
} // namespace cw
