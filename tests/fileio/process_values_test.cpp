#include "fileio/process_values.h"

#include "foundation/exceptions.h"
#include "platform/system_module.h"
#include "tests/foundation/printing.h"
#include "tests/support/scripted_services.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <string>
#include <sys/wait.h>

namespace {

namespace platform = cw::platform;
using cw::string;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

struct outcome {
    int status; // as `wait` tells it
    std::string output;
};

/// Starts a program whose system cannot tell a folder.
outcome start_without(const std::string& folder)
{
    // An abort is expected: it need not leave a core file.
    const std::string command =
        "ulimit -c 0; CW_FOLDER_THAT_FAILS=" + folder + " exec '" CW_START_WITHOUT_FOLDERS "' 2>&1";
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe)
        return {-1, "no shell"};
    outcome result{};
    char bytes[256];
    while (const std::size_t count = fread(bytes, 1, sizeof bytes, pipe))
        result.output.append(bytes, count);
    result.status = pclose(pipe);
    return result;
}

TEST(start, ends_by_an_unhandled_exception_where_the_windows_folder_is_not_told)
{
    const outcome ended = start_without("windows");
    EXPECT_TRUE(WIFSIGNALED(ended.status) && WTERMSIG(ended.status) == SIGABRT) << ended.status;
    EXPECT_THAT(ended.output, StartsWith("looked for GetNativeSystemInfo\nasked for windows\nterminate called"));
    EXPECT_THAT(ended.output, HasSubstr("cw::win32_exception"));
    EXPECT_THAT(ended.output, Not(HasSubstr("started")));
}

TEST(start, ends_by_an_unhandled_exception_where_the_system_folder_is_not_told)
{
    const outcome ended = start_without("system");
    EXPECT_TRUE(WIFSIGNALED(ended.status) && WTERMSIG(ended.status) == SIGABRT) << ended.status;
    EXPECT_THAT(ended.output,
                StartsWith("looked for GetNativeSystemInfo\nasked for windows\nlooked for IsWow64Process\n"
                           "asked for system\nterminate called"));
    EXPECT_THAT(ended.output, HasSubstr("cw::win32_exception"));
    EXPECT_THAT(ended.output, Not(HasSubstr("started")));
}

TEST(start, works_the_folders_out_in_their_order)
{
    const outcome ended = start_without("none");
    EXPECT_EQ(ended.status, 0);
    // The first is asked for on behalf of the 32-bit system folder.
    EXPECT_EQ(ended.output, "looked for GetNativeSystemInfo\nasked for windows\nlooked for IsWow64Process\n"
                            "asked for system\nasked for windows\nstarted\n");
}

TEST(start, leaves_the_folders_of_this_system)
{
    EXPECT_EQ(cw::wow64_folder, cw::find_wow64_folder());
    EXPECT_EQ(cw::sysnative_folder, u"");
    EXPECT_EQ(cw::system_folder, u"/usr/lib/");
    EXPECT_EQ(cw::windows_folder, u"/usr/");
}

bool tell_wow64(platform::process_handle, bool* is_wow64) noexcept
{
    return *is_wow64 = true;
}

class system_folders : public testing::Test {
protected:
    template <class Question>
    static std::uint32_t error_of(Question question)
    {
        try {
            static_cast<void>(question());
        } catch (const cw::win32_exception& failure) {
            return failure.code;
        }
        return 0;
    }
    void run_under_wow64()
    {
        const platform::is_wow64_process_entry entry = &tell_wow64;
        scripted.libraries.system_module.exports["IsWow64Process"] = reinterpret_cast<void*>(entry);
    }

    cw::test_support::scripted_services scripted;
};

TEST_F(system_folders, end_in_one_backslash)
{
    scripted.system.windows = u"D:\\Win";
    scripted.system.system = u"D:\\Win\\Sys";
    EXPECT_EQ(cw::find_windows_folder(), u"D:\\Win\\");
    EXPECT_EQ(cw::find_system_folder(), u"D:\\Win\\Sys\\");
    scripted.system.windows = u"D:\\";
    scripted.system.system = u"D:\\";
    EXPECT_EQ(cw::find_windows_folder(), u"D:\\");
    EXPECT_EQ(cw::find_system_folder(), u"D:\\");
    scripted.system.windows = u"/win";
    scripted.system.architecture = platform::processor_architecture_amd64;
    EXPECT_EQ(cw::find_windows_folder(), u"/win/");
    EXPECT_EQ(cw::find_wow64_folder(), u"/win/syswow64/");
}

TEST_F(system_folders, raise_the_error_of_the_system)
{
    scripted.log.fail("GetWindowsDirectoryW", 21);
    scripted.log.fail("GetSystemDirectoryW", 23);
    EXPECT_EQ(error_of(&cw::find_windows_folder), 21u);
    EXPECT_EQ(error_of(&cw::find_system_folder), 23u);
    scripted.system.architecture = platform::processor_architecture_amd64;
    EXPECT_EQ(error_of(&cw::find_wow64_folder), 21u);
    run_under_wow64();
    EXPECT_EQ(error_of(&cw::find_sysnative_folder), 21u);
}

TEST_F(system_folders, have_room_for_260_code_units)
{
    const std::u16string longest(259, u'w');
    scripted.system.windows = longest;
    scripted.system.system = longest;
    EXPECT_EQ(cw::find_windows_folder(), longest + u"\\");
    EXPECT_EQ(cw::find_system_folder(), longest + u"\\");
    scripted.system.windows = longest + u"w";
    scripted.system.system = longest + u"w";
    EXPECT_EQ(error_of(&cw::find_windows_folder), platform::error_insufficient_buffer);
    EXPECT_EQ(error_of(&cw::find_system_folder), platform::error_insufficient_buffer);
}

TEST_F(system_folders, the_32_bit_one_is_there_on_64_bit_machines)
{
    for (const std::uint16_t wide : {platform::processor_architecture_ia64, platform::processor_architecture_amd64}) {
        scripted.system.architecture = wide;
        EXPECT_EQ(cw::find_wow64_folder(), u"C:\\Windows\\syswow64\\") << wide;
    }
    scripted.log.lines.clear();
    for (const std::uint16_t narrow : {platform::processor_architecture_intel, platform::processor_architecture_unknown,
                                       std::uint16_t{5}, std::uint16_t{12}}) {
        scripted.system.architecture = narrow;
        EXPECT_EQ(cw::find_wow64_folder(), u"") << narrow;
    }
    EXPECT_EQ(scripted.log.count("GetWindowsDirectoryW"), 0u);
}

TEST_F(system_folders, the_alias_is_there_for_32_bit_processes_on_such_machines)
{
    EXPECT_EQ(cw::find_sysnative_folder(), u"");
    EXPECT_EQ(scripted.log.count("GetWindowsDirectoryW"), 0u);
    run_under_wow64();
    EXPECT_EQ(cw::find_sysnative_folder(), u"C:\\Windows\\sysnative\\");
}

} // namespace
