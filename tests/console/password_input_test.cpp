#include "console/password_input.h"

#include "tests/console/console_support.h"
#include "tests/console/terminal_support.h"

#include <csignal>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace cw {
namespace {

using namespace console_tests;
using console::ask_password;
using console::read_password;

class password_input : public console_test {
protected:
    void expect_refusal(const std::string& file, std::string_view reason) const
    {
        try {
            (void)read_password(file);
            ADD_FAILURE() << file;
        } catch (const std::runtime_error& error) {
            EXPECT_TRUE(std::string_view(error.what()).starts_with(file)) << error.what();
            EXPECT_NE(std::string_view(error.what()).find(reason), std::string_view::npos) << error.what();
            EXPECT_EQ(std::string_view(error.what()).find("secret"), std::string_view::npos) << error.what();
        }
    }
};

/// A child's exit status: whether the answer was the expected one.
int compare(const std::optional<std::string>& expected)
{
    return ask_password("Name of the sea: ") == expected ? 0 : 1;
}

TEST_F(password_input, is_the_first_line_of_a_file)
{
    EXPECT_EQ(read_password(write("secret", "p")), "secret");
    EXPECT_EQ(read_password(write("secret\n", "p")), "secret");
    EXPECT_EQ(read_password(write("secret\r\nmore\n", "p")), "secret");
    EXPECT_EQ(read_password(write(" se cret \n", "p")), " se cret ");
    EXPECT_EQ(read_password(write("tøff 🗝\n", "p")), "tøff 🗝");
    const std::string longest(1024, 'x');
    EXPECT_EQ(read_password(write(longest, "p")), longest);
    EXPECT_EQ(read_password(write(longest + "\n", "p")), longest);
}

TEST_F(password_input, is_refused_where_nobody_could_type_it)
{
    expect_refusal(write("\nsecret\n", "p"), "the password is empty");
    expect_refusal(write("\r\n", "p"), "the password is empty");
    expect_refusal(write(std::string("secret\0more\n", 12), "p"), "a zero");
    expect_refusal(write("secret\xff\n", "p"), "not in UTF-8");
    expect_refusal(write(std::string(1100, 'x'), "p"), "too long");
    expect_refusal("/dev/zero", "too long");
}

TEST_F(password_input, needs_a_file_that_can_be_read)
{
    expect_refusal(write("", "p"), "no password can be read");
    expect_refusal(folder.file("absent"), "no password can be read");
    expect_refusal(folder.path().native(), "no password can be read");
}

TEST(password_prompt_at_terminal, takes_a_line_without_showing_it)
{
    const terminal_outcome ran = run_at_terminal([] { return compare("North Sea"); }, {{"sea: ", "North Sea\n"}});
    EXPECT_TRUE(ran.finished) << ran.screen;
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.screen, "Name of the sea: \r\n");
    EXPECT_TRUE(ran.echoes);
}

TEST(password_prompt_at_terminal, lets_a_person_correct_and_give_an_empty_answer)
{
    EXPECT_EQ(run_at_terminal([] { return compare("Sea"); }, {{"sea: ", "See\x7f"
                                                                        "a\n"}})
                  .status,
              0);
    EXPECT_EQ(run_at_terminal([] { return compare(""); }, {{"sea: ", "\n"}}).status, 0);
}

TEST(password_prompt_at_terminal, ends_without_an_answer_at_the_end_of_the_input)
{
    const terminal_outcome ran = run_at_terminal([] { return compare(std::nullopt); }, {{"sea: ", "\x04"}});
    EXPECT_EQ(ran.status, 0) << ran.screen;
    EXPECT_TRUE(ran.echoes);
}

TEST(password_prompt_at_terminal, refuses_what_is_too_long)
{
    const auto ask = [] {
        try {
            (void)ask_password("Name of the sea: ");
        } catch (const std::runtime_error&) {
            return 5;
        }
        return 0;
    };
    const terminal_outcome ran = run_at_terminal(ask, {{"sea: ", std::string(2000, 'x') + "\n"}});
    EXPECT_EQ(ran.status, 5);
    EXPECT_EQ(ran.screen.find('x'), std::string::npos);
    EXPECT_TRUE(ran.echoes);
}

TEST(password_prompt_at_terminal, brings_the_echo_back_before_a_signal_ends_the_program)
{
    const terminal_outcome interrupted = run_at_terminal([] { return compare("x"); }, {{"sea: ", "abc\x03"}});
    EXPECT_EQ(interrupted.status, -SIGINT);
    EXPECT_TRUE(interrupted.echoes);
    EXPECT_EQ(interrupted.screen.find("abc"), std::string::npos);

    const auto ended_by = [](int number) {
        return run_at_terminal(
            [number] {
                const pid_t asking = getpid();
                if (fork() == 0) {
                    usleep(300'000); // until the question stands
                    kill(asking, number);
                    _exit(0);
                }
                return compare("x");
            },
            {{"sea: ", ""}});
    };
    for (const int number : {SIGTERM, SIGHUP}) {
        const terminal_outcome ended = ended_by(number);
        EXPECT_EQ(ended.status, -number);
        EXPECT_TRUE(ended.echoes) << number;
    }
}

TEST(password_prompt_at_terminal, asks_again_after_a_stop)
{
    // Nobody could let this program go on, so the system does not stop it in earnest.
    const terminal_outcome ran =
        run_at_terminal([] { return compare("North Sea"); }, {{"sea: ", "No\x1a"}, {"sea: ", "North Sea\n"}});
    EXPECT_TRUE(ran.finished) << ran.screen;
    EXPECT_EQ(ran.status, 0);
    EXPECT_TRUE(ran.echoes);
}

TEST(password_prompt_at_terminal, asks_nobody_where_there_is_no_terminal)
{
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        setsid();
        _exit(ask_password("Name of the sea: ") ? 1 : 0);
    }
    int state = 0;
    ASSERT_EQ(waitpid(child, &state, 0), child);
    EXPECT_EQ(state, 0);
}

TEST(wipe, leaves_nothing)
{
    std::string narrow(100, 's');
    const char* bytes = narrow.data();
    console::wipe(narrow);
    EXPECT_TRUE(narrow.empty());
    EXPECT_EQ(std::string_view(bytes, 100).find('s'), std::string_view::npos);
    std::u16string wide(100, u's');
    const char16_t* units = wide.data();
    console::wipe(wide);
    EXPECT_TRUE(wide.empty());
    EXPECT_EQ(std::u16string_view(units, 100).find(u's'), std::u16string_view::npos);
}

} // namespace
} // namespace cw
