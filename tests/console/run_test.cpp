#include "console/commands.h"

#include "tests/console/console_support.h"

namespace cw {
namespace {

using namespace console_tests;

TEST(run, tells_its_version_and_its_commands)
{
    const outcome version = run_program({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_TRUE(version.out.starts_with("cwcab ")) << version.out;
    const outcome help = run_program({"--help"});
    EXPECT_EQ(help.status, 0);
    for (const char* command : {"tree", "build", "extract", "readers"})
        EXPECT_NE(help.out.find(command), std::string::npos) << command;
    EXPECT_EQ(help.error, "");
    EXPECT_EQ(run_program({"tree", "--help"}).status, 0);
}

TEST(run, refuses_wrong_usage_in_one_line)
{
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{}, {"unknown"}, {"--unknown"}, {"\x1b[31m\n"}}) {
        const outcome ran = run_program(arguments);
        EXPECT_EQ(ran.status, 2);
        EXPECT_EQ(ran.out, "");
        EXPECT_TRUE(is_one_line(ran.error)) << ran.error;
        EXPECT_TRUE(ran.error.starts_with("cwcab: ")) << ran.error;
        EXPECT_EQ(ran.error.find('\x1b'), std::string::npos);
    }
}

TEST(run, answers_the_same_within_a_process)
{
    EXPECT_EQ(run_here({"--version"}).status, console::exit_done);
    const outcome ran = run_here({"unknown"});
    EXPECT_EQ(ran.status, console::exit_wrong_usage);
    EXPECT_TRUE(is_one_line(ran.error)) << ran.error;
}

TEST(run, turns_an_exception_into_one_line)
{
    const outcome ran = run_here({"build", "/absent\x1b/manifest.json", "-o", "/absent"});
    EXPECT_EQ(ran.status, console::exit_failed);
    EXPECT_TRUE(is_one_line(ran.error)) << ran.error;
    EXPECT_TRUE(ran.error.starts_with("cwcab: ")) << ran.error;
    EXPECT_EQ(ran.error.find('\x1b'), std::string::npos);
    EXPECT_EQ(run_here({"tree", ""}).status, console::exit_failed);
}

TEST(run, tells_that_its_output_cannot_be_written)
{
    EXPECT_EQ(run_program({"--version"}, {}, "/dev/full").status, 1);
    EXPECT_EQ(run_program({"--help"}, {}, "/dev/full").status, 1);
}

} // namespace
} // namespace cw
