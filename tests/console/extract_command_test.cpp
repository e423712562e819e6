#include "tests/console/console_support.h"
#include "tests/console/terminal_support.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <random>

namespace cw {
namespace {

namespace fs = std::filesystem;
using namespace console_tests;
using nlohmann::json;

constexpr const char* sample_model = R"({"media": {"Components": [
    {"Name": "Program", "Files": [{"Name": "a.txt", "content": "first"}, {"Name": "sub\\b.txt", "content": "second"},
                                  {"Name": "\\"}, {"Name": "sub/c.txt", "Size": -1, "content": "third"}]},
    {"Name": "Empty"},
    {"Name": "Help", "Files": [{"Name": "a.txt", "content": "help"}]}]}})";

class extract_command : public console_test {
protected:
    outcome extract(std::vector<std::string> arguments, const char* program = fixture_program)
    {
        arguments.insert(arguments.begin(), "extract");
        return run_program(arguments, folder.path().native(), {}, program);
    }
    /// All paths below a folder of the test, those of folders with a slash at the end.
    [[nodiscard]] std::vector<std::string> paths(const std::string& below = "out") const
    {
        std::vector<std::string> all;
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder.path() / below))
            all.push_back(fs::relative(entry.path(), folder.path() / below).native() +
                          (entry.is_directory() && !entry.is_symlink() ? "/" : ""));
        std::ranges::sort(all);
        return all;
    }
    /// A media of one component with these files, each holding its own index.
    std::string media_of(const std::vector<std::string>& names, const std::string& component = "C")
    {
        json files = json::array();
        for (std::size_t i = 0; i < names.size(); ++i)
            files.push_back({{"Name", names[i]}, {"content", std::to_string(i)}});
        return write(json{{"media", {{"Components", {{{"Name", component}, {"Files", files}}}}}}}.dump());
    }
    /// Bytes that do not get smaller.
    static std::string noise(unsigned seed)
    {
        std::minstd_rand numbers(seed);
        std::string bytes(20'000, ' ');
        for (char& byte : bytes)
            byte = static_cast<char>(numbers() >> 8);
        return bytes;
    }
    /// A media of the real format with two volumes, a file in each.
    std::string build(const std::string& password = {})
    {
        write(first_content, "a.txt");
        write(second_content, "b.txt");
        const std::string manifest = write(R"({"name": "tour", "Components": [{"Name": "Program", "Files": ["a.txt"]},
                                                     {"Name": "Help", "Files": ["b.txt"]}]})",
                                           "manifest.json");
        std::vector<std::string> arguments{"build", manifest, "-o", folder.file("media"), "--volume-size", "25000"};
        if (!password.empty()) {
            arguments.push_back("--password-file");
            arguments.push_back(write(password, "password"));
        }
        const outcome ran = run_program(arguments);
        EXPECT_EQ(ran.status, 0) << ran.error;
        return folder.file("media/tour.hdr");
    }

    const std::string first_content = noise(1);
    const std::string second_content = noise(2);
};

// ---- one file ------------------------------------------------------------------------------------

TEST_F(extract_command, takes_out_one_file)
{
    const std::string media = write(sample_model);
    const outcome ran = extract({media, "Program", "sub\\b.txt", "target"});
    EXPECT_EQ(ran.status, 0) << ran.error;
    EXPECT_EQ(ran.out, "");
    EXPECT_EQ(ran.error, "");
    EXPECT_EQ(folder.read("target"), "second");
    EXPECT_EQ(extract({"media.hdr", "Help", "a.txt", folder.file("other")}).status, 0);
    EXPECT_EQ(folder.read("other"), "help");
    // Nothing else was left.
    EXPECT_EQ(paths("."), std::vector<std::string>({"media.hdr", "other", "target"}));
}

TEST_F(extract_command, takes_names_exactly)
{
    const std::string media = write(sample_model);
    expect_failure(extract({media, "program", "a.txt", "target"}), "there is no component \"program\"");
    expect_failure(extract({media, "Program", "A.txt", "target"}), "there is no file \"A.txt\"");
    expect_failure(extract({media, "Program", "b.txt", "target"}), "there is no file \"b.txt\"");
    expect_failure(extract({media, "Program", "1", "target"}), "there is no file \"1\"");
    expect_failure(extract({media, "", "a.txt", "target"}), "there is no component \"\"");
    expect_failure(extract({media, "Program", "\\", "target"}), "stands for no file");
    EXPECT_FALSE(fs::exists(folder.file("target")));
    const std::string real = build();
    expect_failure(extract({real, "program", "a.txt", "target"}, real_program), "there is no component \"program\"");
    expect_failure(extract({real, "Program", "A.TXT", "target"}, real_program), "there is no file \"A.TXT\"");
}

TEST_F(extract_command, leaves_an_existing_target_alone_unless_told_otherwise)
{
    const std::string media = write(sample_model);
    write("old", "target");
    fs::create_symlink("nothing", folder.path() / "broken");
    fs::create_directory(folder.path() / "folder");
    for (const char* target : {"target", "broken"})
        expect_failure(extract({media, "Program", "a.txt", target}), "exists already");
    EXPECT_EQ(folder.read("target"), "old");
    for (const char* target : {"target", "broken"}) {
        EXPECT_EQ(extract({media, "Program", "a.txt", target, "--force"}).status, 0);
        EXPECT_EQ(folder.read(target), "first");
    }
    EXPECT_FALSE(fs::exists(folder.file("nothing")));
    expect_failure(extract({media, "Program", "a.txt", "folder", "--force"}), "a folder stands there");
    for (const char* target : {"folder/", ".", "..", "folder/."})
        expect_failure(extract({media, "Program", "a.txt", target, "--force"}), "not the name of a file");
}

TEST_F(extract_command, needs_the_folder_of_the_target)
{
    const std::string media = write(sample_model);
    expect_failure(extract({media, "Program", "a.txt", "absent/target"}), "absent: No such file or directory");
    expect_failure(extract({media, "Program", "a.txt", "media.hdr/target"}), "media.hdr: Not a directory");
    EXPECT_FALSE(fs::exists(folder.file("absent")));
    // A link on the way to it is the person's own.
    fs::create_directory(folder.path() / "far");
    fs::create_directory_symlink("far", folder.path() / "near");
    EXPECT_EQ(extract({media, "Program", "a.txt", "near/target"}).status, 0);
    EXPECT_EQ(folder.read("far/target"), "first");
}

TEST_F(extract_command, refuses_wrong_usage)
{
    const std::string media = write(sample_model);
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{},
                                                      {media},
                                                      {media, "Program"},
                                                      {media, "Program", "a.txt"},
                                                      {media, "Program", "a.txt", "target", "more"},
                                                      {media, "Program", "a.txt", "target", "--component", "Help"},
                                                      {media, "Program", "--all", "out"},
                                                      {media, "Program", "a.txt", "target", "--all", "out"},
                                                      {media, "--all"},
                                                      {media, "--all", ""},
                                                      {media, "--component", "Help"}})
        expect_failure(extract(arguments), "", 2);
    EXPECT_EQ(paths("."), std::vector<std::string>({"media.hdr"}));
}

TEST_F(extract_command, needs_a_media)
{
    expect_failure(extract({folder.file("absent.hdr"), "C", "a", "target"}), "absent.hdr");
    expect_failure(extract({folder.file("absent.hdr"), "--all", "out"}), "absent.hdr");
    write("no log", "a.clg");
    EXPECT_EQ(extract({"a.clg", "--all", "out"}).status, 1);
    EXPECT_FALSE(fs::exists(folder.file("out")));
}

TEST_F(extract_command, tells_the_words_of_the_reader)
{
    const std::string media =
        write(R"({"media": {"Components": [{"Name": "C", "Files": [{"Name": "a", "content": {"fail": "0x80004005"}}]},
                                           {"Name": "D", "Files": {"fail": "0x80004005"}}]}})");
    expect_failure(extract({media, "C", "a", "target"}), "target: IMediaFile Extract: ");
    expect_failure(extract({media, "D", "a", "target"}), "media.hdr: IMedia");
    expect_failure(extract({write(R"({"media": {"Components": null}})"), "C", "a", "target"}),
                   "there is no component \"C\": 0x80004003");
}

// ---- all files -----------------------------------------------------------------------------------

TEST_F(extract_command, takes_out_all_files)
{
    const outcome ran = extract({write(sample_model), "--all", "out/deep"});
    EXPECT_EQ(ran.status, 0) << ran.error;
    EXPECT_EQ(ran.out, "out/deep: 4 files\n");
    EXPECT_EQ(ran.error, "");
    EXPECT_EQ(paths("out/deep"), std::vector<std::string>({"Help/", "Help/a.txt", "Program/", "Program/a.txt",
                                                           "Program/sub/", "Program/sub/b.txt", "Program/sub/c.txt"}));
    EXPECT_EQ(folder.read("out/deep/Program/a.txt"), "first");
    EXPECT_EQ(folder.read("out/deep/Program/sub/c.txt"), "third");
    EXPECT_EQ(folder.read("out/deep/Help/a.txt"), "help");
}

TEST_F(extract_command, takes_out_the_files_of_one_component)
{
    const std::string media = write(sample_model);
    EXPECT_EQ(extract({media, "--all", "out", "--component", "Help"}).out, "out: 1 files\n");
    EXPECT_EQ(paths(), std::vector<std::string>({"Help/", "Help/a.txt"}));
    EXPECT_EQ(extract({media, "--all", "none", "--component", "Empty"}).out, "none: 0 files\n");
    expect_failure(extract({media, "--all", "absent", "--component", "help"}), "there is no component \"help\"");
    expect_failure(extract({media, "--all", "absent", "--component", ""}), "there is no component \"\"");
    EXPECT_FALSE(fs::exists(folder.file("absent")));
}

TEST_F(extract_command, counts_existing_files_as_failures_unless_told_otherwise)
{
    const std::string media = write(sample_model);
    fs::create_directories(folder.path() / "out/Help");
    folder.write("out/Help/a.txt", "old");
    const outcome ran = extract({media, "--all", "out"});
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.out, "out: 3 files, 1 failed\n");
    EXPECT_EQ(ran.error, "cwcab: out/Help/a.txt: it exists already (--force replaces it)\n");
    EXPECT_EQ(folder.read("out/Help/a.txt"), "old");
    EXPECT_EQ(extract({media, "--all", "out", "--force"}).out, "out: 4 files\n");
    EXPECT_EQ(folder.read("out/Help/a.txt"), "help");
}

TEST_F(extract_command, writes_nothing_outside_the_folder_whatever_the_names)
{
    const std::string long_part(256, 'x');
    const std::string outside = folder.file("outside");
    const std::vector<std::string> names{
        "good", "..\\up",    "../up",    "a\\..\\..\\up", outside,    "\\\\host\\a", "C:\\up", "c:up",
        ".",    "..",        "",         "a//b",          "dir\\",    "\x1b[31m",    "a\nb",   long_part,
        "/",    "trailing ", "trailing", "good",          "good/sub", ".cwx12.tmp",  "x/./y",  "GOOD"};
    const outcome ran = extract({media_of(names), "--all", "out"});
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.out, "out: 5 files, 19 failed\n");
    EXPECT_EQ(std::ranges::count(ran.error, '\n'), 19) << ran.error;
    EXPECT_EQ(ran.error.find('\x1b'), std::string::npos);
    EXPECT_EQ(paths(),
              std::vector<std::string>({"C/", "C/.cwx12.tmp", "C/GOOD", "C/good", "C/trailing", "C/trailing "}));
    EXPECT_EQ(folder.read("out/C/good"), "0");
    EXPECT_EQ(paths(".").size(), 8u); // with the media and the folder itself
    EXPECT_NE(ran.error.find("cwcab: out/C/good: another file of the media has the same place\n"), std::string::npos);
    EXPECT_NE(ran.error.find("cwcab: out/C/: the name is empty\n"), std::string::npos);
    EXPECT_NE(ran.error.find("cwcab: out/C/../up: the name leads out of its folder\n"), std::string::npos);
}

TEST_F(extract_command, lists_every_file_of_a_component_whose_name_is_no_folder)
{
    for (const char* component : {"..", ".", "", "/abs", "C:", "a\\..\\.."}) {
        const outcome ran = extract({media_of({"a", "b"}, component), "--all", "out"});
        EXPECT_EQ(ran.out, "out: 0 files, 2 failed\n") << component;
        EXPECT_EQ(std::ranges::count(ran.error, '\n'), 2) << ran.error;
        EXPECT_NE(ran.error.find("its component: "), std::string::npos) << ran.error;
        EXPECT_TRUE(paths().empty()) << component;
    }
}

TEST_F(extract_command, never_puts_one_file_of_the_media_over_another)
{
    const std::string media = write(R"({"media": {"Components": [
        {"Name": "C", "Files": [{"Name": "a", "content": "1"}, {"Name": "d\\e", "content": "2"}, {"Name": "d/e"}]},
        {"Name": "C", "Files": [{"Name": "a", "content": "4"}, {"Name": "b", "content": "5"}]},
        {"Name": "C\\d", "Files": [{"Name": "e", "content": "6"}]}]}})");
    for (const char* force : {"--force", "--force=false"}) {
        const outcome ran = extract({media, "--all", std::string("out") + force, force});
        EXPECT_EQ(ran.status, 1);
        EXPECT_TRUE(ran.out.ends_with(": 3 files, 3 failed\n")) << ran.out;
        EXPECT_EQ(folder.read(std::string("out") + force + "/C/a"), "1");
        EXPECT_EQ(folder.read(std::string("out") + force + "/C/d/e"), "2");
        EXPECT_EQ(folder.read(std::string("out") + force + "/C/b"), "5");
    }
}

TEST_F(extract_command, goes_through_no_link_inside_the_folder)
{
    const std::string media = write(sample_model);
    fs::create_directories(folder.path() / "outside");
    fs::create_directories(folder.path() / "out/Program");
    fs::create_directory_symlink(folder.file("outside"), folder.path() / "out/Help");
    fs::create_directory_symlink("../../outside", folder.path() / "out/Program/sub");
    for (const char* force : {"--force=false", "--force"}) {
        const outcome ran = extract({media, "--all", "out", force});
        EXPECT_EQ(ran.status, 1);
        EXPECT_NE(ran.error.find("cwcab: out/Help/a.txt: a link stands in place of the folder \"Help\"\n"),
                  std::string::npos)
            << ran.error;
        EXPECT_TRUE(fs::is_empty(folder.path() / "outside"));
    }
    EXPECT_EQ(folder.read("out/Program/a.txt"), "first");
}

TEST_F(extract_command, goes_on_after_what_cannot_be_read)
{
    const outcome ran = extract({write(R"({"media": {"Components": [
        {"Name": "A", "Files": [{"fail": "0x80004005"}, {"Name": "a", "content": {"fail": "0x80004005"}}, null,
                                {"Name": {"fail": "0x80004005"}}, {"Name": "b", "content": "good"}]},
        {"Name": "B", "Files": {"fail": "0x80004005"}},
        {"Name": "N", "Files": {"items": [{"Name": "x"}], "counts": [-3]}},
        {"fail": "0x80004005"},
        {"Name": "C", "Files": [{"Name": "c", "content": "good"}]}]}})"),
                                 "--all", "out"});
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.out, "out: 2 files, 6 failed\n") << ran.error;
    EXPECT_EQ(paths(), std::vector<std::string>({"A/", "A/b", "C/", "C/c"}));
    for (const char* label :
         {"cwcab: out/A, file number 1: ", "cwcab: out/A/a: ", "cwcab: out/A, file number 3: ",
          "cwcab: out/A, file number 4: ", "cwcab: component \"B\": ", "cwcab: component number 4: "})
        EXPECT_NE(ran.error.find(label), std::string::npos) << ran.error;
}

TEST_F(extract_command, needs_a_folder_that_can_be_made)
{
    const std::string media = write(sample_model);
    expect_failure(extract({media, "--all", "media.hdr"}), "media.hdr: ");
    expect_failure(extract({media, "--all", "media.hdr/out"}), "media.hdr/out: ");
    fs::create_symlink("nothing", folder.path() / "broken");
    expect_failure(extract({media, "--all", "broken"}), "broken: ");
    expect_failure(extract({media, "--all", "/proc/out"}), "/proc/out: ");
}

TEST_F(extract_command, deals_with_many_files_in_their_order)
{
    constexpr int count = 5'000;
    std::vector<std::string> names;
    for (int i = 0; i < count; ++i)
        names.push_back("file" + std::to_string(i));
    const outcome ran = extract({media_of(names), "--all", "out"});
    EXPECT_EQ(ran.out, "out: 5000 files\n");
    EXPECT_EQ(folder.read("out/C/file4999"), "4999");
}

TEST_F(extract_command, shows_its_progress_to_a_person_only)
{
    const std::string media = write(sample_model);
    const terminal_outcome ran =
        run_program_at_terminal(fixture_program, {"extract", media, "--all", folder.file("out")}, {});
    EXPECT_EQ(ran.status, 0);
    EXPECT_NE(ran.screen.find(" % "), std::string::npos) << ran.screen;
    EXPECT_TRUE(ran.screen.ends_with(folder.file("out") + ": 4 files\r\n")) << ran.screen;
    EXPECT_EQ(extract({media, "--all", "other"}).error, "");
}

TEST_F(extract_command, clears_up_when_it_is_stopped)
{
    std::vector<std::string> names;
    for (int i = 0; i < 60'000; ++i)
        names.push_back("f" + std::to_string(i));
    const std::string media = media_of(names);
    // Typed when the progress is told for the second time.
    const terminal_outcome ran = run_program_at_terminal(
        fixture_program, {"extract", media, "--all", folder.file("out")}, {{" % ", ""}, {" % ", "\x03"}});
    EXPECT_EQ(ran.status, 1) << ran.screen;
    EXPECT_NE(ran.screen.find("stopped by a signal"), std::string::npos);
    EXPECT_LT(paths("out/C").size(), 60'000u);
    for (const fs::directory_entry& entry : fs::directory_iterator(folder.path() / "out"))
        EXPECT_EQ(entry.path().filename(), "C");
}

// ---- the real format -----------------------------------------------------------------------------

TEST_F(extract_command, takes_out_what_was_packed)
{
    const std::string media = build();
    ASSERT_TRUE(fs::exists(folder.file("media/tour2.cab")));
    EXPECT_EQ(extract({media, "--all", "out"}, real_program).out, "out: 2 files\n");
    EXPECT_EQ(folder.read("out/Program/a.txt"), first_content);
    EXPECT_EQ(folder.read("out/Help/b.txt"), second_content);
    EXPECT_EQ(extract({media, "Help", "b.txt", "target"}, real_program).status, 0);
    EXPECT_EQ(folder.read("target"), second_content);
}

TEST_F(extract_command, takes_out_all_of_the_sample_media)
{
    const outcome ran = extract({CW_TEST_BUILD_DIR "/samples/tour.hdr", "--all", "out"}, real_program);
    EXPECT_EQ(ran.status, 0) << ran.error;
    EXPECT_EQ(ran.error, "");
    EXPECT_TRUE(fs::exists(folder.file("out/Help Pages/stops/bridge.html")));
}

TEST_F(extract_command, names_the_missing_volume)
{
    const std::string media = build();
    fs::remove(folder.file("media/tour2.cab"));
    const outcome ran = extract({media, "--all", "out"}, real_program);
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.out, "out: 1 files, 1 failed\n");
    EXPECT_NE(ran.error.find("cwcab: out/Help/b.txt: The volume \"tour2.cab\" is missing"), std::string::npos)
        << ran.error;
    EXPECT_EQ(paths(), std::vector<std::string>({"Program/", "Program/a.txt"}));
    expect_failure(extract({media, "Help", "b.txt", "target"}, real_program), "The volume \"tour2.cab\" is missing");
    EXPECT_FALSE(fs::exists(folder.file("target")));
}

TEST_F(extract_command, names_the_damaged_volume_and_keeps_what_stood_there)
{
    const std::string media = build();
    std::string volume = folder.read("media/tour2.cab");
    volume[volume.size() - 3] ^= 0x55;
    folder.write("media/tour2.cab", volume);
    write("old", "target");
    const outcome one = extract({media, "Help", "b.txt", "target", "--force"}, real_program);
    expect_failure(one, "target: The volume \"tour2.cab\" is damaged");
    EXPECT_EQ(folder.read("target"), "old");
    const outcome all = extract({media, "--all", "out"}, real_program);
    EXPECT_EQ(all.status, 1);
    EXPECT_EQ(all.out, "out: 1 files, 1 failed\n");
    EXPECT_EQ(paths(), std::vector<std::string>({"Program/", "Program/a.txt"}));
}

TEST_F(extract_command, leaves_nothing_of_a_file_that_does_not_fit)
{
    const std::string media = build();
    const auto with_little_room = [&](const std::vector<std::string>& arguments) {
        std::vector<std::string> all{"-c", "trap '' XFSZ; ulimit -f 8; exec \"$0\" \"$@\"", real_program, "extract"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        return run_program(all, folder.path().native(), {}, "/bin/sh");
    };
    write("old", "target");
    // The place that a person knows is told, and not where it was written first.
    expect_failure(with_little_room({media, "Help", "b.txt", "target", "--force"}),
                   "cwcab: target: \"target\" cannot be written: writing failed");
    EXPECT_EQ(folder.read("target"), "old");
    const outcome all = with_little_room({media, "--all", "out"});
    EXPECT_EQ(all.out, "out: 0 files, 2 failed\n");
    EXPECT_NE(all.error.find("cwcab: out/Help/b.txt: \"out/Help/b.txt\" cannot be written: writing failed"),
              std::string::npos)
        << all.error;
    EXPECT_TRUE(paths().empty());
}

TEST_F(extract_command, opens_a_protected_media)
{
    const std::string media = build("secret");
    EXPECT_EQ(extract({media, "--all", "out", "--password-file", "password"}, real_program).out, "out: 2 files\n");
    EXPECT_EQ(folder.read("out/Help/b.txt"), second_content);
    write("guess", "other");
    expect_failure(extract({media, "--all", "none", "--password-file", "other"}, real_program),
                   "the password is not correct");
    expect_failure(extract({media, "--all", "none"}, real_program), "a password is needed");
    EXPECT_FALSE(fs::exists(folder.file("none")));
    const terminal_outcome asked = run_program_at_terminal(
        real_program, {"extract", media, "--all", folder.file("asked")}, {{"Password for ", "secret\n"}});
    EXPECT_EQ(asked.status, 0) << asked.screen;
    EXPECT_EQ(asked.screen.find("secret"), std::string::npos);
    EXPECT_EQ(folder.read("asked/Help/b.txt"), second_content);
}

} // namespace
} // namespace cw
