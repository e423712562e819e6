#include "tests/console/console_support.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <utility>

namespace cw {
namespace {

using namespace console_tests;

const std::string main_feature = R"({"feature": "A", "name": "Main"})"
                                 "\n";

std::string operation(const std::string& data)
{
    return R"({"operation": "OPTYPE_GENERAL", "feature": "A", "action": "Step", "data": ")" + data + "\"}\n";
}

/// A recorder at work, whose lines and answers go through pipes.
class working_recorder {
public:
    explicit working_recorder(const std::vector<std::string>& arguments)
    {
        int lines[2];
        int answers[2];
        if (::pipe(lines) != 0 || ::pipe(answers) != 0)
            throw std::runtime_error("no pipes");
        m_child = ::fork();
        if (m_child == 0) {
            ::dup2(lines[0], STDIN_FILENO);
            ::dup2(answers[1], STDOUT_FILENO);
            for (const int descriptor : {lines[0], lines[1], answers[0], answers[1]})
                ::close(descriptor);
            std::vector<const char*> all{fixture_program, "record"};
            for (const std::string& argument : arguments)
                all.push_back(argument.c_str());
            all.push_back(nullptr);
            ::execv(fixture_program, const_cast<char* const*>(all.data()));
            ::_exit(127);
        }
        ::close(lines[0]);
        ::close(answers[1]);
        m_lines = lines[1];
        m_answers = answers[0];
    }
    ~working_recorder()
    {
        send(SIGKILL);
        end_of_lines();
        ::close(m_answers);
        (void)status();
    }
    working_recorder(const working_recorder&) = delete;
    working_recorder& operator=(const working_recorder&) = delete;

    void tell(std::string_view text) const
    {
        EXPECT_EQ(::write(m_lines, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }
    void end_of_lines()
    {
        if (m_lines >= 0)
            ::close(std::exchange(m_lines, -1));
    }
    void send(int number) const
    {
        if (m_child > 0)
            ::kill(m_child, number);
    }
    /// The next line of its answers, without the end; empty at their end or when none comes.
    std::string answer()
    {
        std::string line;
        pollfd waiting{m_answers, POLLIN, 0};
        for (char byte = 0; ::poll(&waiting, 1, 20'000) > 0 && ::read(m_answers, &byte, 1) == 1 && byte != '\n';)
            line += byte;
        return line;
    }
    void hang_up_answers() const { ::close(m_answers); }
    /// Its exit status, or the negative number of the signal that ended it.
    int status()
    {
        if (m_child > 0) {
            int state = 0;
            ::waitpid(std::exchange(m_child, -1), &state, 0);
            m_status = WIFEXITED(state) ? WEXITSTATUS(state) : -WTERMSIG(state);
        }
        return m_status;
    }

private:
    pid_t m_child = -1;
    int m_lines = -1;
    int m_answers = -1;
    int m_status = -1;
};

class record_command : public console_test {
protected:
    outcome record(std::string_view lines, const std::vector<std::string>& options = {})
    {
        const std::string input = folder.write("lines", lines);
        std::string command = std::string("exec \"") + fixture_program + "\" record '" + log + "'";
        for (const std::string& option : options)
            command += " '" + option + "'";
        return run_program({"-c", command + " <'" + input + "'"}, {}, {}, "/bin/sh");
    }
    /// The number that a query on the log answers, as a reader sees it now.
    [[nodiscard]] int number(const std::string& query) const
    {
        int result = -1;
        sqlite3* database = nullptr;
        sqlite3_stmt* statement = nullptr;
        sqlite3_open_v2(log.c_str(), &database, SQLITE_OPEN_READONLY, nullptr);
        if (sqlite3_prepare_v2(database, query.c_str(), -1, &statement, nullptr) == SQLITE_OK &&
            sqlite3_step(statement) == SQLITE_ROW)
            result = sqlite3_column_int(statement, 0);
        sqlite3_finalize(statement);
        sqlite3_close(database);
        return result;
    }
    [[nodiscard]] int operations() const { return number("SELECT COUNT(*) FROM general_operation"); }
    [[nodiscard]] bool is_plain() const
    {
        return std::filesystem::exists(log) && !std::filesystem::exists(log + "-wal") &&
               !std::filesystem::exists(log + "-shm");
    }

    std::string log = folder.file("a.clg");
};

TEST_F(record_command, records_lines_and_tells_how_many)
{
    const outcome ran = record(main_feature + "\n  \r\n" + R"({"property": "State", "feature": "A", "value": 2})" +
                               "\r\n" + operation("1") + R"({"operation": "MINE", "feature": "A", "record": []})");
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.error, "");
    EXPECT_EQ(ran.out, log + ": 1 features, 1 properties, 2 operations\n");
    EXPECT_EQ(operations(), 1);
    EXPECT_EQ(number("SELECT COUNT(*) FROM other_operation"), 1) << "the last line has no end";
    EXPECT_TRUE(is_plain());
}

TEST_F(record_command, goes_on_with_a_log)
{
    EXPECT_EQ(record(main_feature + operation("1")).status, 0);
    EXPECT_EQ(record(operation("2") + operation("3")).status, 0);
    EXPECT_EQ(number("SELECT MAX(position) FROM general_operation"), 2);
}

TEST_F(record_command, no_lines_make_an_empty_log)
{
    const outcome ran = record("");
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.out, log + ": 0 features, 0 properties, 0 operations\n");
    EXPECT_EQ(operations(), 0);
}

TEST_F(record_command, passes_over_wrong_lines_and_says_which)
{
    const outcome ran = record(main_feature + "\nnonsense\n" + operation("1") +
                               "{\"feature\": \"B\", \"name\": \"b\", \"\\u001b[2J\\n\": 1}\n" + operation("2"));
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.out, log + ": 1 features, 0 properties, 2 operations\n");
    EXPECT_EQ(ran.error, "cwcab: line 3: column 2: not valid JSON\ncwcab: line 5: ?[2J?: unknown key\n");
    EXPECT_EQ(operations(), 2);
}

TEST_F(record_command, ends_at_the_first_wrong_line_when_told_to)
{
    const outcome ran = record(main_feature + operation("1") + "nonsense\n" + operation("2"), {"--strict"});
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.error, "cwcab: line 3: column 2: not valid JSON\n");
    EXPECT_EQ(operations(), 1);
    EXPECT_TRUE(is_plain());
    const outcome acknowledged = record(operation("2") + "nonsense\n" + operation("3"), {"--strict", "--acknowledge"});
    EXPECT_EQ(acknowledged.out, "1\n");
    EXPECT_EQ(operations(), 2);
}

TEST_F(record_command, cuts_long_reasons_short)
{
    const outcome ran = record("{\"" + std::string(100'000, 'x') + "\": 1, \"feature\": \"A\", \"name\": \"\"}\n" +
                               R"({"property": "P", "feature": "A", "value": {"vt": ")" + std::string(100'000, 'x') +
                               "\", \"value\": 1}}\n");
    EXPECT_EQ(ran.status, 1);
    EXPECT_LT(ran.error.size(), 1200u);
    EXPECT_EQ(std::count(ran.error.begin(), ran.error.end(), '\n'), 2);
}

TEST_F(record_command, a_line_without_an_end_in_sight_is_wrong_and_takes_no_room)
{
    const std::string blanks(5u << 20, ' ');
    const outcome ran = record(main_feature + blanks + "\n" + operation("1") + blanks);
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.error, "cwcab: line 2: the line is longer than 4194304 bytes\n"
                         "cwcab: line 4: the line is longer than 4194304 bytes\n");
    EXPECT_EQ(operations(), 1);
}

TEST_F(record_command, acknowledges_what_is_on_the_disk_whenever_the_lines_pause)
{
    working_recorder recorder({log, "--acknowledge"});
    recorder.tell(main_feature + operation("1"));
    EXPECT_EQ(recorder.answer(), "2");
    EXPECT_EQ(operations(), 1) << "a reader sees it while it is recorded";
    recorder.tell("\n" + operation("2") + operation("half a line").substr(0, 20));
    EXPECT_EQ(recorder.answer(), "4");
    EXPECT_EQ(operations(), 2);
    recorder.tell(operation("half a line").substr(20));
    EXPECT_EQ(recorder.answer(), "5");
    recorder.send(SIGKILL);
    EXPECT_EQ(recorder.status(), -SIGKILL);
    EXPECT_EQ(operations(), 3);
    EXPECT_EQ(record(operation("next")).status, 0);
    EXPECT_EQ(number("SELECT MAX(position) FROM general_operation"), 3);
    EXPECT_TRUE(is_plain());
}

TEST_F(record_command, commits_at_the_latest_every_thousand_lines)
{
    std::string lines = main_feature;
    for (int i = 0; i < 2500; ++i)
        lines += operation("x");
    const outcome ran = record(lines, {"--acknowledge"});
    EXPECT_EQ(ran.out, "1000\n2000\n2501\n");
}

TEST_F(record_command, a_signal_ends_it_with_everything_kept)
{
    for (const int number_of_signal : {SIGINT, SIGTERM, SIGHUP}) {
        std::filesystem::remove(log);
        working_recorder recorder({log, "--acknowledge"});
        recorder.tell(main_feature + operation("1"));
        EXPECT_EQ(recorder.answer(), "2");
        recorder.send(number_of_signal);
        EXPECT_EQ(recorder.status(), 1);
        EXPECT_EQ(operations(), 1);
        EXPECT_TRUE(is_plain());
    }
}

TEST_F(record_command, records_on_when_nobody_hears_its_answers)
{
    working_recorder recorder({log, "--acknowledge"});
    recorder.tell(main_feature);
    EXPECT_EQ(recorder.answer(), "1");
    recorder.hang_up_answers();
    recorder.tell(operation("1"));
    recorder.tell(operation("2"));
    recorder.end_of_lines();
    EXPECT_EQ(recorder.status(), 1);
    EXPECT_EQ(operations(), 2);
    EXPECT_TRUE(is_plain());
}

TEST_F(record_command, never_takes_the_log_for_its_input_or_output)
{
    const std::string command = std::string("exec \"") + fixture_program + "\" record '" + log + "' --acknowledge";
    const std::string input = folder.write("lines", main_feature + operation("1"));
    EXPECT_EQ(run_program({"-c", command + " <'" + input + "' >&-"}, {}, {}, "/bin/sh").status, 1);
    EXPECT_EQ(operations(), 1);
    EXPECT_EQ(run_program({"-c", command + " <'" + input + "' 2>&-"}, {}, {}, "/bin/sh").status, 0);
    EXPECT_EQ(operations(), 2);
    const outcome without_input = run_program({"-c", command + " <&-"}, {}, {}, "/bin/sh");
    EXPECT_EQ(without_input.status, 1);
    EXPECT_EQ(without_input.error, "cwcab: standard input is closed\n");
    EXPECT_EQ(operations(), 2);
    EXPECT_TRUE(folder.read("a.clg").starts_with("SQLite format 3"));
}

TEST_F(record_command, a_second_one_is_refused_and_harms_nothing)
{
    working_recorder recorder({log, "--acknowledge"});
    recorder.tell(main_feature);
    EXPECT_EQ(recorder.answer(), "1");
    const outcome second = record(operation("x"));
    EXPECT_EQ(second.status, 1);
    EXPECT_EQ(second.out, "");
    EXPECT_EQ(second.error, "cwcab: " + log + ": the log is being recorded by another program\n");
    recorder.tell(operation("1"));
    EXPECT_EQ(recorder.answer(), "2");
    recorder.end_of_lines();
    EXPECT_EQ(recorder.status(), 0);
    EXPECT_EQ(operations(), 1);
}

TEST_F(record_command, what_is_no_log_is_left_alone)
{
    folder.write("a.clg", "precious");
    const outcome ran = record(main_feature);
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.out, "");
    EXPECT_EQ(ran.error, "cwcab: " + log + ": that is no installation log\n");
    EXPECT_EQ(folder.read("a.clg"), "precious");
    log = folder.file("no/such/folder/a.clg");
    EXPECT_TRUE(is_one_line(record(main_feature).error));
    EXPECT_EQ(run_program({"record"}).status, 2);
}

} // namespace
} // namespace cw
