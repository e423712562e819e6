#include "app/command_line.h"

#include "tests/support/scripted_services.h"

#include <gtest/gtest.h>

#include <vector>

namespace cw {
namespace {

class command_line : public testing::Test {
protected:
    CCommandLineInfo parse(std::vector<std::u16string> arguments)
    {
        CCommandLineInfo info;
        ParseCommandLine(arguments, info);
        return info;
    }
    void expect_opens(std::vector<std::u16string> arguments, std::u16string_view path)
    {
        const CCommandLineInfo info = parse(std::move(arguments));
        EXPECT_EQ(info.m_nShellCommand, shell_command::file_open);
        EXPECT_EQ(info.m_strFileName, path);
    }

    test_support::scripted_services services;
};

TEST_F(command_line, without_a_file_opens_nothing)
{
    const CCommandLineInfo info = parse({});
    EXPECT_EQ(info.m_nShellCommand, shell_command::file_new);
    EXPECT_TRUE(info.m_strFileName.IsEmpty());
    EXPECT_EQ(parse({u""}).m_nShellCommand, shell_command::file_new);
}

TEST_F(command_line, opens_the_first_name)
{
    expect_opens({u"/media/a.hdr"}, u"/media/a.hdr");
    expect_opens({u"/a.hdr", u"/b.hdr"}, u"/a.hdr");
    expect_opens({u"", u"/b.hdr"}, u"/b.hdr");
}

TEST_F(command_line, makes_a_relative_name_absolute)
{
    services.files.directory = u"/home/me";
    expect_opens({u"a.hdr"}, u"/home/me/a.hdr");
    expect_opens({u"below/a.hdr"}, u"/home/me/below/a.hdr");
    services.files.directory = u"/";
    expect_opens({u"a.hdr"}, u"/a.hdr");
    services.files.directory = u"C:\\start";
    expect_opens({u"a.hdr"}, u"C:\\start\\a.hdr");
}

TEST_F(command_line, leaves_an_absolute_name_alone)
{
    for (const char16_t* path : {u"C:\\media\\a.hdr", u"\\\\server\\share\\a.hdr", u"\\a.hdr", u"/a.hdr"})
        expect_opens({path}, path);
}

TEST_F(command_line, keeps_a_relative_name_where_there_is_no_current_directory)
{
    services.files.directory.clear();
    expect_opens({u"a.hdr"}, u"a.hdr");
}

TEST_F(command_line, knows_the_other_shell_commands)
{
    EXPECT_EQ(parse({u"-p", u"/a.hdr"}).m_nShellCommand, shell_command::file_print);
    EXPECT_EQ(parse({u"-pt", u"/a.hdr"}).m_nShellCommand, shell_command::file_print_to);
    EXPECT_EQ(parse({u"-dde"}).m_nShellCommand, shell_command::file_dde);
    EXPECT_EQ(parse({u"-DDE"}).m_nShellCommand, shell_command::file_dde);
    EXPECT_EQ(parse({u"/a.hdr", u"-p"}).m_nShellCommand, shell_command::file_print);
    EXPECT_EQ(parse({u"-p", u"/a.hdr"}).m_strFileName, u"/a.hdr");
}

TEST_F(command_line, passes_over_options_that_it_does_not_know)
{
    expect_opens({u"-style", u"/a.hdr"}, u"/a.hdr");
    EXPECT_EQ(parse({u"-style"}).m_nShellCommand, shell_command::file_new);
}

TEST_F(command_line, takes_a_name_behind_two_dashes_as_it_is)
{
    services.files.directory = u"/home/me";
    expect_opens({u"--", u"-p"}, u"/home/me/-p");
    expect_opens({u"--", u"--"}, u"/home/me/--");
    expect_opens({u"-"}, u"/home/me/-");
}

} // namespace
} // namespace cw
