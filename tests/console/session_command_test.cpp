#include "tests/console/console_support.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <sstream>

namespace cw {
namespace {

using namespace console_tests;
using nlohmann::json;

constexpr const char* sample_model = R"({"media": {"Features": [{"Name": "Main"}, {"Name": "x<Support>"}]}})";

class session_command : public console_test {
protected:
    /// What a session writes that gets all its lines from a file.
    outcome run_session(std::string_view lines, std::vector<std::string> options = {"--json"},
                        const char* program = fixture_program)
    {
        const std::string input = folder.write("lines", lines);
        std::string command = std::string("exec \"") + program + "\" session";
        for (const std::string& option : options)
            command += " '" + option + "'";
        return run_program({"-c", command + " <'" + input + "'"}, {}, {}, "/bin/sh");
    }
};

TEST_F(session_command, answers_each_line_with_one)
{
    const std::string file = write(sample_model);
    const outcome ran = run_session("# a remark\n\nopen " + file + "\r\ncommand 32772\ntree\nnonsense\nenabled 32801");
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.error, "");
    EXPECT_EQ(ran.out,
              "{\"ok\":true,\"result\":true}\n"
              "{\"ok\":true}\n"
              "{\"ok\":true,\"tree\":[{\"text\":\"Features\",\"kind\":null,\"images\":[11,11],\"expanded\":true,"
              "\"children\":[{\"text\":\"Main\",\"kind\":0,\"images\":[1,2],\"expanded\":false,\"children\":[]}]}]}\n"
              "{\"ok\":false,\"error\":\"no command \\\"nonsense\\\"\"}\n"
              "{\"ok\":true,\"enabled\":true,\"checked\":false}\n");
}

TEST_F(session_command, reads_nothing_behind_close)
{
    const outcome ran = run_session("close\ntree\n");
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.out, "{\"ok\":true}\n");
}

TEST_F(session_command, of_no_lines_is_no_error)
{
    const outcome ran = run_session("");
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.out + ran.error, "");
}

TEST_F(session_command, speaks_to_people_without_json)
{
    EXPECT_EQ(run_session("command 32772\ntree\n", {}).out, "error: disabled\n");
}

TEST_F(session_command, keeps_settings_in_the_file_that_it_is_given)
{
    const std::string file = write(sample_model);
    const std::string settings = folder.file("settings.ini");
    const std::vector<std::string> options{"--json", "--settings", settings};
    EXPECT_EQ(run_session("open " + file + "\ncommand 32778\nclose\n", options).status, 0);
    // Expert Mode and the recent files come back, also where a session ends without `close`.
    const outcome ran = run_session("state\nopen " + file + "\nenabled 32778\ncommand 32778\n", options);
    std::istringstream lines(ran.out);
    std::string line;
    std::getline(lines, line);
    EXPECT_EQ(json::parse(line)["recent"], json::array({{{"path", file}, {"display", file}}}));
    std::getline(lines, line);
    std::getline(lines, line);
    EXPECT_EQ(json::parse(line)["checked"], true);
    EXPECT_NE(run_session("open " + file + "\nenabled 32778\n", options).out.find("\"checked\":false"),
              std::string::npos);
}

TEST_F(session_command, tells_that_the_settings_cannot_be_read)
{
    const std::string settings = folder.path().native();
    const outcome ran = run_session("state\n", {"--json", "--settings", settings});
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.out, "");
    EXPECT_EQ(ran.error, "cwcab: " + settings + ": the settings cannot be read\n");
}

TEST_F(session_command, keeps_nothing_without_one)
{
    const std::string file = write(sample_model);
    EXPECT_EQ(run_session("open " + file + "\ncommand 32778\nclose\n").status, 0);
    const outcome ran = run_session("state\nopen " + file + "\nenabled 32778\n");
    EXPECT_NE(ran.out.find("\"recent\":[]"), std::string::npos);
    EXPECT_NE(ran.out.find("\"checked\":false"), std::string::npos);
}

TEST_F(session_command, opens_files_whose_names_are_no_text)
{
    const std::string name = folder.file("a\xFF.hdr");
    std::filesystem::copy_file(CW_TEST_BUILD_DIR "/samples/tour.hdr", name);
    const outcome ran = run_session("open " + name + "\nstate\n", {"--json"}, real_program);
    EXPECT_EQ(ran.out.substr(0, ran.out.find('\n')), "{\"ok\":true,\"result\":true}");
    EXPECT_NE(ran.out.find("/a\uFFFD.hdr\""), std::string::npos) << ran.out;
}

TEST_F(session_command, refuses_what_it_does_not_take)
{
    EXPECT_EQ(run_session("", {"--colour"}).status, 2);
    EXPECT_EQ(run_session("", {"file.hdr"}).status, 2);
}

/// A session at the other end of two pipes.
class piped_session {
public:
    piped_session()
    {
        int in[2];
        int out[2];
        if (pipe(in) != 0 || pipe(out) != 0)
            throw std::runtime_error("no pipe");
        m_child = fork();
        if (m_child == 0) {
            dup2(in[0], STDIN_FILENO);
            dup2(out[1], STDOUT_FILENO);
            for (const int end : {in[0], in[1], out[0], out[1]})
                close(end);
            execl(fixture_program, fixture_program, "session", "--json", nullptr);
            _exit(127);
        }
        close(in[0]);
        close(out[1]);
        m_in = in[1];
        m_out = out[0];
    }
    ~piped_session()
    {
        close(m_in);
        close(m_out);
        kill(m_child, SIGKILL);
        waitpid(m_child, nullptr, 0);
    }
    /// The answer to one line while the pipe stays open; empty where none comes.
    std::string ask(const std::string& line)
    {
        const std::string sent = line + "\n";
        if (write(m_in, sent.data(), sent.size()) != static_cast<ssize_t>(sent.size()))
            return {};
        std::string answer;
        constexpr int patience_ms = 60'000;
        pollfd wanted{m_out, POLLIN, 0};
        char character = 0;
        while (poll(&wanted, 1, patience_ms) > 0 && read(m_out, &character, 1) == 1) {
            if (character == '\n')
                return answer;
            answer += character;
        }
        return {};
    }

private:
    pid_t m_child;
    int m_in;
    int m_out;
};

TEST_F(session_command, hands_out_each_answer_before_it_waits_for_the_next_line)
{
    piped_session session;
    EXPECT_EQ(session.ask("open " + write(sample_model)), "{\"ok\":true,\"result\":true}");
    EXPECT_EQ(session.ask("select 0/0"), "{\"ok\":true}");
    EXPECT_EQ(session.ask("row 7000"), "{\"ok\":false,\"error\":\"no row 7000\"}");
    EXPECT_EQ(session.ask("close"), "{\"ok\":true}");
}

} // namespace
} // namespace cw
