#include "console/open_input.h"

#include "platform/utf8.h"
#include "tests/console/console_support.h"
#include "tests/console/terminal_support.h"

namespace cw {
namespace {

using namespace console_tests;

constexpr const char* protected_model = R"({"password": "secret", "media": {"Features": [{"Name": "Main"}]}})";
constexpr const char* open_model = R"({"media": {"Features": [{"Name": "Main"}]}})";
constexpr const char* tree = "Features\n  Main\n";

class open_input : public console_test {
protected:
    outcome show(const std::string& file, const std::string& password, const char* program = fixture_program)
    {
        return run_program({"tree", file, "--view", "Features", "--password-file", write(password, "password")}, {}, {},
                           program);
    }
    terminal_outcome show_at_terminal(const std::string& file, const std::vector<terminal_turn>& turns,
                                      const char* program = fixture_program)
    {
        return run_program_at_terminal(program, {"tree", file, "--view", "Features"}, turns);
    }
    /// A protected media of the real format; its password is "secret".
    std::string build()
    {
        write("hello", "a.txt");
        write("secret\n", "its password");
        const std::string manifest = write(R"({"name": "tour", "Components": [{"Name": "Program", "Files": ["a.txt"]}],
                                               "Features": [{"Name": "Main", "IncludedComponents": ["Program"]}]})",
                                           "manifest.json");
        const outcome ran =
            run_program({"build", manifest, "-o", folder.file("out"), "--password-file", folder.file("its password")});
        EXPECT_EQ(ran.status, 0) << ran.error;
        return folder.file("out/tour.hdr");
    }
};

TEST_F(open_input, takes_the_password_from_a_file)
{
    for (const char* password : {"secret", "secret\r\n"}) {
        const outcome ran = show(write(protected_model), password);
        EXPECT_EQ(ran.status, 0) << ran.error;
        EXPECT_EQ(ran.out, tree);
        EXPECT_EQ(ran.error, "");
    }
}

TEST_F(open_input, tells_a_wrong_password_from_a_missing_one)
{
    const std::string path = write(protected_model);
    const outcome wrong = show(path, "a wild guess");
    EXPECT_EQ(wrong.status, 1);
    EXPECT_EQ(wrong.out, "");
    EXPECT_EQ(wrong.error, "cwcab: " + path + ": the password is not correct\n");

    const outcome missing = run_program({"tree", path});
    EXPECT_EQ(missing.status, 1);
    EXPECT_TRUE(is_one_line(missing.error)) << missing.error;
    EXPECT_NE(missing.error.find("a password is needed"), std::string::npos) << missing.error;
    EXPECT_NE(missing.error.find("--password-file"), std::string::npos) << missing.error;

    const outcome no_file = run_program({"tree", path, "--password-file", folder.file("absent")});
    EXPECT_EQ(no_file.status, 1);
    EXPECT_NE(no_file.error.find("no password can be read"), std::string::npos) << no_file.error;
}

TEST_F(open_input, does_not_mind_a_password_that_nobody_asks_for)
{
    const outcome ran = show(write(open_model), "secret");
    EXPECT_EQ(ran.status, 0) << ran.error;
    EXPECT_EQ(ran.out, tree);
    const outcome absent = show(folder.file("absent.hdr"), "secret");
    EXPECT_EQ(absent.status, 1);
    EXPECT_EQ(absent.error.find("password"), std::string::npos) << absent.error;
}

TEST_F(open_input, leaves_no_reply_for_a_later_question)
{
    console::headless_application viewer;
    const std::string password_file = write("secret", "password");
    EXPECT_EQ(console::open_input(viewer, write("no log", "a.clg"), password_file).has_value(),
              !viewer.frame().HasLog());
    EXPECT_EQ(viewer.person().ask_password({u"/a.hdr", u""}), std::nullopt);
}

TEST_F(open_input, opens_a_protected_media)
{
    const std::string media = build();
    const outcome ran = show(media, "secret", real_program);
    EXPECT_EQ(ran.status, 0) << ran.error;
    EXPECT_EQ(ran.out, tree);
    EXPECT_EQ(show(media, "Secret", real_program).error, "cwcab: " + media + ": the password is not correct\n");
    EXPECT_NE(run_program({"tree", media}, {}, {}, real_program).error.find("a password is needed"), std::string::npos);
}

TEST_F(open_input, tells_damage_that_shows_behind_the_password)
{
    const std::string media = build();
    std::string bytes = folder.read("out/tour.hdr");
    bytes.resize(bytes.size() - 1);
    folder.write("out/tour.hdr", bytes);
    const outcome ran = show(media, "secret", real_program);
    EXPECT_EQ(ran.status, 1);
    EXPECT_NE(ran.error.find("tour.hdr"), std::string::npos) << ran.error;
    EXPECT_TRUE(ran.error.find("damaged") != std::string::npos || ran.error.find("not correct") != std::string::npos)
        << ran.error;
}

TEST_F(open_input, asks_at_the_terminal)
{
    const std::string media = build();
    const terminal_outcome ran = show_at_terminal(media, {{"Password for " + media + ": ", "secret\n"}}, real_program);
    EXPECT_TRUE(ran.finished) << ran.screen;
    EXPECT_EQ(ran.status, 0);
    EXPECT_NE(ran.screen.find("Features\r\n  Main\r\n"), std::string::npos) << ran.screen;
    EXPECT_EQ(ran.screen.find("secret"), std::string::npos);
    EXPECT_TRUE(ran.echoes);
}

TEST_F(open_input, asks_three_times)
{
    const std::string path = write(protected_model);
    const terminal_outcome third =
        show_at_terminal(path, {{": ", "wild guess\n"}, {"not correct.", "\n"}, {"not correct.", "secret\n"}});
    EXPECT_TRUE(third.finished) << third.screen;
    EXPECT_EQ(third.status, 0) << third.screen;
    EXPECT_EQ(third.screen.find("wild"), std::string::npos) << third.screen;
    const terminal_outcome never =
        show_at_terminal(path, {{": ", "one\n"}, {"not correct.", "two\n"}, {"not correct.", "three\n"}});
    EXPECT_EQ(never.status, 1) << never.screen;
    EXPECT_TRUE(never.screen.ends_with(": the password is not correct\r\n")) << never.screen;
}

TEST_F(open_input, is_given_up_at_the_terminal)
{
    const terminal_outcome ran = show_at_terminal(write(protected_model), {{": ", "\x04"}});
    EXPECT_EQ(ran.status, 1);
    EXPECT_NE(ran.screen.find("a password is needed"), std::string::npos) << ran.screen;
    EXPECT_TRUE(ran.echoes);
    const terminal_outcome interrupted = show_at_terminal(write(protected_model), {{": ", "\x03"}});
    EXPECT_LT(interrupted.status, 0);
    EXPECT_TRUE(interrupted.echoes);
}

TEST_F(open_input, asks_nothing_for_a_media_without_a_password)
{
    const terminal_outcome ran = show_at_terminal(write(open_model), {});
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.screen, "Features\r\n  Main\r\n");
}

TEST_F(open_input, keeps_the_name_of_the_file_from_steering_the_terminal)
{
    const terminal_outcome ran = show_at_terminal(write(protected_model, "a\x1b[31m.hdr"), {{": ", "secret\n"}});
    EXPECT_EQ(ran.status, 0) << ran.screen;
    EXPECT_EQ(ran.screen.find('\x1b'), std::string::npos);
}

} // namespace
} // namespace cw
