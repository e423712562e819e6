#include "tests/console/console_support.h"

#include <nlohmann/json.hpp>

#include <filesystem>

namespace cw {
namespace {

namespace fs = std::filesystem;
using namespace console_tests;
using nlohmann::json;

class readers_command : public console_test {
protected:
    /// A companion in a folder of its own, with these libraries beside it.
    std::string copy_program(const std::vector<std::pair<std::string, std::string>>& libraries)
    {
        fs::create_directory(folder.path() / "bin");
        fs::create_directory_symlink(CW_TEST_BUILD_DIR "/lib", folder.path() / "lib");
        fs::copy_file(real_program, folder.path() / "bin/cwcab");
        for (const auto& [name, from] : libraries)
            fs::copy_file(from, folder.path() / "bin" / name);
        return folder.file("bin/cwcab");
    }
    static std::string media_library() { return CW_TEST_BUILD_DIR "/bin/MediaForge40.dll"; }
    outcome run(const std::string& program, std::vector<std::string> arguments = {})
    {
        arguments.insert(arguments.begin(), "readers");
        return run_program(arguments, {}, {}, program.c_str());
    }
};

TEST_F(readers_command, tells_where_a_reader_was_found)
{
    const outcome ran = run(copy_program({{"MediaForge40.dll", media_library()}}));
    const std::string path = folder.file("bin/MediaForge40.dll");
    EXPECT_TRUE(ran.out.starts_with("MediaForge40.dll\n"
                                    "  beside the program: " +
                                    path + ": there\n  found\n  loaded: " + path + "\n"))
        << ran.out;
}

TEST_F(readers_command, tells_every_place_of_a_reader_that_is_not_there)
{
    const outcome ran = run(copy_program({{"MediaForge40.dll", media_library()}}));
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.error, "cwcab: not usable: LogKit.dll\n");
    std::size_t at = ran.out.find("\nLogKit.dll\n");
    ASSERT_NE(at, std::string::npos) << ran.out;
    for (const std::string& line :
         {"  beside the program: " + folder.file("bin/LogKit.dll") + ": not there\n",
          "  in System beside the program: " + folder.file("bin/System/LogKit.dll") + ": not there\n",
          std::string("  in Cratewright in the common files: "), std::string("  in Cratewright/Demowright in "),
          std::string("  in System/x64 of a folder above the program: "), std::string("  left to the system\n"),
          std::string("  not loaded: ")}) {
        at = ran.out.find(line, at);
        EXPECT_NE(at, std::string::npos) << line << ran.out;
    }
}

TEST_F(readers_command, tells_why_a_library_is_refused)
{
    write("this is no library", "text");
    const outcome ran = run(copy_program({{"MediaForge40.dll", folder.file("text")}}));
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.error, "cwcab: not usable: MediaForge40.dll, LogKit.dll\n");
    const std::size_t verdict = ran.out.find("  not loaded: ");
    ASSERT_NE(verdict, std::string::npos) << ran.out;
    EXPECT_GT(ran.out.find('\n', verdict), verdict + 20) << ran.out;
    EXPECT_NE(ran.out.find(": there\n  found\n"), std::string::npos) << ran.out;
}

TEST_F(readers_command, tells_a_reader_of_something_else)
{
    // The class that the log's reader should have is not among those of the media's.
    const outcome ran = run(copy_program({{"MediaForge40.dll", media_library()}, {"LogKit.dll", media_library()}}));
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.error, "cwcab: not usable: LogKit.dll\n");
    EXPECT_NE(ran.out.find("loaded, but it gives no object (0x80040111"), std::string::npos) << ran.out;
}

TEST_F(readers_command, prints_json_for_scripts)
{
    const outcome ran = run(copy_program({{"MediaForge40.dll", media_library()}}), {"--json"});
    EXPECT_EQ(ran.status, 1);
    EXPECT_TRUE(is_one_line(ran.out)) << ran.out;
    const json readers = json::parse(ran.out)["readers"];
    ASSERT_EQ(readers.size(), 2u);
    const std::string path = folder.file("bin/MediaForge40.dll");
    EXPECT_EQ(readers[0], json({{"name", "MediaForge40.dll"},
                                {"places", {{{"place", "beside the program"}, {"path", path}, {"present", true}}}},
                                {"outcome", "found"},
                                {"loaded_path", path},
                                {"loaded", true},
                                {"refusal", ""},
                                {"result", "0x00000000"}}));
    EXPECT_EQ(readers[1]["name"], "LogKit.dll");
    EXPECT_EQ(readers[1]["loaded"], false);
    EXPECT_EQ(readers[1]["outcome"], "left to the system");
    EXPECT_EQ(readers[1]["loaded_path"], "LogKit.dll");
    EXPECT_EQ(readers[1]["result"], "0x80040154");
    EXPECT_NE(readers[1]["refusal"], "");
    ASSERT_GE(readers[1]["places"].size(), 4u);
    for (const json& place : readers[1]["places"])
        EXPECT_EQ(place["present"], false);
}

TEST_F(readers_command, searches_anew_within_a_process)
{
    const outcome first = run_here({"readers"});
    const outcome second = run_here({"readers"});
    EXPECT_EQ(first.out, second.out);
    EXPECT_EQ(second.out.find("loaded before"), std::string::npos) << second.out;
}

} // namespace
} // namespace cw
