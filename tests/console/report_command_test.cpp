#include "tests/console/console_support.h"

#include "platform/utf8.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace cw {
namespace {

namespace fs = std::filesystem;
using namespace console_tests;

constexpr const char* media_model =
    R"({"media": {"Features": [], "Report": {"FirstPart": "a\u00e9\r\n", "SecondPart": "b"}}})";
constexpr const char* log_model = R"({"types": ["OPTYPE_FILE"], "root": {"Name": "Main", "ID": "M1",
    "operations": {"OPTYPE_FILE": [["/opt/tour", "a", true]]}}})";
const std::string media_bytes("\xFF\xFE"
                              "a\0\xE9\0\r\0\n\0b\0",
                              12);

/// ASCII as UTF-16 without a mark.
std::string wide_bytes(std::string_view text)
{
    std::string bytes;
    for (const char character : text)
        bytes.append({character, '\0'});
    return bytes;
}

class report_command : public console_test {
protected:
    outcome report(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), "report");
        return run_program(arguments, folder.path().native());
    }
    static std::string log_report(const std::string& path)
    {
        return "Cratewright Log File Report\r\n" + path +
               "\r\n\r\nMain Feature Log\r\n\r\nFeature Name: Main\r\nFeature ID: M1\r\nParent Feature: \r\n"
               "Feature Properties\r\nState:Not Installed\r\n\r\nMain File Operations\r\n/opt/tour, a, True\r\n";
    }
    /// Names in the folder of the test.
    std::vector<std::string> names() const
    {
        std::vector<std::string> all;
        for (const fs::directory_entry& entry : fs::directory_iterator(folder.path()))
            all.push_back(entry.path().filename().native());
        std::ranges::sort(all);
        return all;
    }
};

TEST_F(report_command, prints_the_report_of_a_log)
{
    const std::string path = write(log_model, "log.clg");
    const outcome ran = report({path});
    EXPECT_EQ(ran.status, 0) << ran.error;
    EXPECT_EQ(ran.out, log_report(path));
    EXPECT_EQ(ran.error, "");
    EXPECT_EQ(report({"log.clg"}).out, log_report(path)) << "the path is that of the window, a whole one";
}

TEST_F(report_command, prints_the_report_of_a_media)
{
    const outcome ran = report({write(media_model)});
    EXPECT_EQ(ran.status, 0) << ran.error;
    EXPECT_EQ(ran.out, "a\u00E9\r\nb");
}

TEST_F(report_command, writes_the_bytes_of_the_window)
{
    const std::string log = write(log_model, "log.clg");
    outcome ran = report({log, "-o", "report.txt"});
    EXPECT_EQ(ran.status, 0) << ran.error;
    EXPECT_EQ(ran.out, "");
    EXPECT_EQ(folder.read("report.txt"), wide_bytes(log_report(log)));

    ran = report({write(media_model), "--output", folder.file("report.txt")});
    EXPECT_EQ(ran.status, 0) << ran.error;
    EXPECT_EQ(folder.read("report.txt"), media_bytes);
    EXPECT_EQ(names(), (std::vector<std::string>{"log.clg", "media.hdr", "report.txt"}));
}

TEST_F(report_command, leaves_what_is_there_where_the_library_fails)
{
    write("before", "report.txt");
    const std::string log = write(
        R"({"root": {"Name": "Main", "features": [{"Name": "Good"}, {"Name": "Bad", "properties": {"fail": "0x80004005"}}]}})",
        "log.clg");
    expect_failure(report({log, "-o", "report.txt"}), log + ": IFeatureLog PropertyNames: the model makes this fail");
    EXPECT_EQ(folder.read("report.txt"), "before");
    const std::string media = write(R"({"media": {"Report": {"FirstPart": {"fail": "0x80004005"}}}})");
    expect_failure(report({media, "-o", "report.txt"}), media + ": IMediaReport FirstPart: the model makes this fail");
    expect_failure(report({media}), media + ": IMediaReport FirstPart: the model makes this fail");
    EXPECT_EQ(folder.read("report.txt"), "before");
    EXPECT_EQ(names(), (std::vector<std::string>{"log.clg", "media.hdr", "report.txt"}));
    // What was printed cannot be taken back.
    const outcome ran = report({log});
    EXPECT_EQ(ran.status, 1);
    EXPECT_NE(ran.out.find("Feature Name: Good"), std::string::npos);
    EXPECT_NE(ran.error.find("the model makes this fail"), std::string::npos);
}

TEST_F(report_command, tells_where_it_cannot_write)
{
    const std::string log = write(log_model, "log.clg");
    fs::create_directory(folder.file("folder"));
    for (const std::string& input : {log, write(media_model)}) {
        expect_failure(report({input, "-o", "folder"}), "folder: a folder stands there");
        expect_failure(report({input, "-o", "gone/report.txt"}), "gone/report.txt: gone");
        expect_failure(report({input, "-o", "/dev/full"}), "/dev/full: ");
        expect_failure(report({input, "-o", ""}), "the name of the file is empty", 2);
        expect_failure(report({input, "-o", ".."}), "a folder stands there");
        expect_failure(report({input, "-o", "folder/"}), "a folder stands there");
        expect_failure(report({input, "-o", "new/"}), "");
    }
    expect_failure(report({log, "-o", "/proc/report.txt"}), "/proc/report.txt: /proc: no file can be made in it");
}

TEST_F(report_command, does_not_write_over_its_input)
{
    const std::string log = write(log_model, "log.clg");
    const std::string password = write("x\n", "password");
    fs::create_symlink("log.clg", folder.file("link.txt"));
    fs::create_hard_link(log, folder.file("other.txt"));
    for (const char* target : {"log.clg", "./log.clg", "link.txt", "other.txt"})
        expect_failure(report({log, "-o", target}), "that is a file that the report is made from");
    EXPECT_EQ(folder.read("log.clg"), log_model);
    const std::string media = write(R"({"password": "x", "media": {}})");
    expect_failure(report({media, "--password-file", password, "-o", "password"}),
                   "that is a file that the report is made from");
    EXPECT_EQ(folder.read("password"), "x\n");
}

TEST_F(report_command, does_not_write_over_parts_of_its_media)
{
    const std::string media = write(media_model);
    write("volume", "media1.CAB");
    fs::create_hard_link(folder.file("media1.CAB"), folder.file("other.txt"));
    for (const char* target : {"media1.CAB", "other.txt"})
        expect_failure(report({"media.hdr", "-o", target}), "that is a part of a media");
    EXPECT_EQ(folder.read("media1.CAB"), "volume");
    expect_failure(report({write(media_model, "media2.cab"), "-o", "media.hdr"}), "that is a part of a media");
}

TEST_F(report_command, writes_to_the_file_behind_a_link)
{
    write("before", "real.txt");
    fs::create_symlink("real.txt", folder.file("link.txt"));
    EXPECT_EQ(report({write(media_model), "-o", "link.txt"}).status, 0);
    EXPECT_TRUE(fs::is_symlink(folder.file("link.txt")));
    EXPECT_EQ(folder.read("real.txt"), media_bytes);
}

TEST_F(report_command, leaves_links_that_lead_nowhere)
{
    const std::string media = write(media_model);
    fs::create_symlink("gone.txt", folder.file("dangling.txt"));
    fs::create_symlink("circle.txt", folder.file("circle.txt"));
    expect_failure(report({media, "-o", "dangling.txt"}), "a link that leads nowhere stands there");
    expect_failure(report({media, "-o", "circle.txt"}), "circle.txt: ");
    EXPECT_TRUE(fs::is_symlink(folder.file("dangling.txt")));
    EXPECT_TRUE(fs::is_symlink(folder.file("circle.txt")));
    EXPECT_FALSE(fs::exists(folder.file("gone.txt")));
}

TEST_F(report_command, keeps_the_permissions_of_what_it_replaces)
{
    const std::string media = write(media_model);
    write("before", "report.txt");
    fs::permissions(folder.file("report.txt"), fs::perms(0640));
    EXPECT_EQ(report({media, "-o", "report.txt"}).status, 0);
    EXPECT_EQ(fs::status(folder.file("report.txt")).permissions(), fs::perms(0640));
    fs::permissions(folder.file("report.txt"), fs::perms(0444));
    expect_failure(report({media, "-o", "report.txt"}), "a file that is read-only stands there");
}

TEST_F(report_command, writes_to_what_is_no_file_as_it_is)
{
    const std::string log = write(log_model, "log.clg");
    for (const auto& [input, bytes] :
         {std::pair(write(media_model), media_bytes), std::pair(log, wide_bytes(log_report(log)))}) {
        EXPECT_EQ(report({input, "-o", "/dev/null"}).status, 0);
        // A pipe that nobody reads is not waited for.
        const std::string pipe = folder.file("pipe");
        fs::remove(pipe);
        ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
        expect_failure(report({input, "-o", "pipe"}), "pipe: ");
        const int reading = ::open(pipe.c_str(), O_RDONLY | O_NONBLOCK);
        ASSERT_GE(reading, 0);
        EXPECT_EQ(report({input, "-o", "pipe"}).status, 0);
        std::string got(1000, ' ');
        const ssize_t count = ::read(reading, got.data(), got.size());
        ::close(reading);
        got.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        EXPECT_EQ(got, bytes);
    }
}

TEST_F(report_command, writes_to_an_open_descriptor_where_that_stands)
{
    const std::string log = write(log_model, "log.clg");
    for (const auto& [input, bytes] :
         {std::pair(write(media_model), media_bytes), std::pair(log, wide_bytes(log_report(log)))}) {
        for (const std::string target : {"/dev/stdout", "/dev/fd/1", "/proc/self/fd/1"}) {
            const std::string command =
                "echo before; " + std::string(fixture_program) + " report " + input + " -o " + target + "; echo behind";
            const std::string file = folder.file("out.txt");
            ASSERT_EQ(std::system(("( " + command + " ) > " + file).c_str()), 0);
            EXPECT_EQ(folder.read("out.txt"), "before\n" + bytes + "behind\n") << target;
            ASSERT_EQ(std::system(("( " + command + " ) | cat > " + file).c_str()), 0);
            EXPECT_EQ(folder.read("out.txt"), "before\n" + bytes + "behind\n") << target;
        }
    }
    expect_failure(report({log, "-o", "/dev/fd/77"}), "/dev/fd/77: ");
}

TEST_F(report_command, leaves_nothing_behind_where_a_signal_stops_it)
{
    std::string features;
    for (int i = 0; i < 20'000; ++i)
        features += std::string(i > 0 ? "," : "") + R"({"Name": "A feature", "ID": "I"})";
    const std::string log = write(R"({"root": {"Name": "Main", "features": [)" + features + "]}}", "log.clg");
    write("before", "report.txt");
    const std::string command = std::string(fixture_program) + " report " + log + " -o " + folder.file("report.txt") +
                                " 2> " + folder.file("error.txt") + " & ";
    // The signal comes as soon as the folder of the unfinished file is there.
    const std::string signal =
        "job=$!; while ! ls -d " + folder.file(".cwcab-*") +
        " > /dev/null 2>&1; do kill -0 $job 2> /dev/null || break; done; kill -TERM $job; wait $job";
    const int status = std::system((command + signal).c_str());
    EXPECT_EQ(WEXITSTATUS(status), 1);
    EXPECT_NE(folder.read("error.txt").find("stopped by a signal"), std::string::npos) << folder.read("error.txt");
    EXPECT_EQ(names(), (std::vector<std::string>{"error.txt", "log.clg", "report.txt"}));
    EXPECT_EQ(folder.read("report.txt"), "before");
}

TEST_F(report_command, tells_why_the_input_does_not_open)
{
    expect_failure(report({"gone.hdr"}), "gone.hdr: ");
    expect_failure(report({write(R"({"open_error": "0x80004005"})", "log.clg")}), "log.clg: ");
    expect_failure(report({write(R"({"password": "x", "media": {}})")}), "a password is needed");
    expect_failure(report({}), "FILE", 2);
}

/// The report of a sample, as the real reader and the window's own code write it.
class sample_report : public report_command {
protected:
    sample_report() { ::setenv("LC_ALL", "C", 1); }
    ~sample_report() override { ::unsetenv("LC_ALL"); }

    /// The expected file of a room, the sample's path being put in, with the line ends of reports.
    static std::string expected(const std::string& name, const std::string& sample)
    {
        std::ifstream file(CW_TEST_SOURCE_DIR "/tests/" + name, std::ios::binary);
        std::string text{std::istreambuf_iterator<char>(file), {}};
        constexpr std::string_view place = "@PATH@";
        if (const std::size_t at = text.find(place); at != text.npos)
            text.replace(at, place.size(), sample);
        return std::regex_replace(text, std::regex("\n"), "\r\n");
    }
    /// The same as the window's bytes, behind a mark or without one.
    static std::string wide(const std::string& text, bool mark)
    {
        const std::u16string units = (mark ? u"\uFEFF" : u"") + platform::from_utf8(text);
        return {reinterpret_cast<const char*>(units.data()), units.size() * sizeof(char16_t)};
    }
    void expect_report(const std::string& sample_name, const std::string& expected_name, bool mark)
    {
        const std::string sample = std::string(CW_TEST_BUILD_DIR "/samples/") + sample_name;
        const std::string text = expected(expected_name, sample);
        EXPECT_GT(text.size(), 5000u);
        outcome ran = run_program({"report", sample}, {}, {}, real_program);
        EXPECT_EQ(ran.status, 0) << ran.error;
        EXPECT_EQ(ran.out, text);
        ran = run_program({"report", sample, "-o", folder.file("report.txt")}, {}, {}, real_program);
        EXPECT_EQ(ran.status, 0) << ran.error;
        EXPECT_TRUE(folder.read("report.txt") == wide(text, mark));
    }
};

TEST_F(sample_report, of_the_log)
{
    expect_report("tour.clg", "console/expected/tour_log_report.txt", false);
}

TEST_F(sample_report, of_the_media)
{
    expect_report("tour.hdr", "readers/expected/tour_report.txt", true);
}

TEST_F(report_command, takes_a_password)
{
    const std::string media = write(R"({"password": "x", "media": {"Report": {"FirstPart": "a"}}})");
    EXPECT_EQ(report({media, "--password-file", write("x\n", "password")}).out, "a");
}

TEST_F(report_command, does_without_a_tree)
{
    const outcome ran =
        report({write(R"({"media": {"Features": {"fail": "0x80004005"}, "Report": {"FirstPart": "a"}}})")});
    EXPECT_EQ(ran.status, 0) << ran.error;
    EXPECT_EQ(ran.out, "a");
}

} // namespace
} // namespace cw
