#include "tests/console/console_support.h"

#include "console/commands.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace cw::console_tests {
namespace {

constexpr int not_started = 127;

std::vector<const char*> pointers(const char* program, const std::vector<std::string>& arguments)
{
    std::vector<const char*> all{program};
    for (const std::string& argument : arguments)
        all.push_back(argument.c_str());
    return all;
}

void redirect(int descriptor, const std::string& file)
{
    const int target = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (target < 0 || dup2(target, descriptor) < 0)
        _exit(not_started);
    close(target);
}

} // namespace

outcome run_program(const std::vector<std::string>& arguments, const std::string& directory, const std::string& out,
                    const char* program)
{
    const test_support::temporary_folder folder;
    std::vector<const char*> all = pointers(program, arguments);
    all.push_back(nullptr);
    const pid_t child = fork();
    if (child < 0)
        throw std::system_error(errno, std::generic_category());
    if (child == 0) {
        // It must not ask whoever runs the tests.
        setsid();
        redirect(STDOUT_FILENO, out.empty() ? folder.file("out") : out);
        redirect(STDERR_FILENO, folder.file("error"));
        if (!directory.empty() && chdir(directory.c_str()) != 0)
            _exit(not_started);
        execv(program, const_cast<char* const*>(all.data()));
        _exit(not_started);
    }
    int state = 0;
    while (waitpid(child, &state, 0) < 0 && errno == EINTR) {
    }
    outcome result;
    result.status = WIFEXITED(state) ? WEXITSTATUS(state) : -WTERMSIG(state);
    result.out = folder.read("out");
    result.error = folder.read("error");
    return result;
}

outcome run_here(const std::vector<std::string>& arguments)
{
    const std::vector<const char*> all = pointers(fixture_program, arguments);
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    outcome result;
    result.status = console::run(static_cast<int>(all.size()), all.data());
    result.out = testing::internal::GetCapturedStdout();
    result.error = testing::internal::GetCapturedStderr();
    return result;
}

bool is_one_line(std::string_view text)
{
    return text.size() > 1 && text.find('\n') == text.size() - 1;
}

void console_test::expect_failure(const outcome& ran, std::string_view reason, int status)
{
    EXPECT_EQ(ran.status, status) << reason;
    EXPECT_EQ(ran.out, "") << reason;
    EXPECT_TRUE(is_one_line(ran.error)) << ran.error;
    EXPECT_TRUE(ran.error.starts_with("cwcab: ")) << ran.error;
    EXPECT_NE(ran.error.find(reason), std::string::npos) << ran.error << " and not " << reason;
}

} // namespace cw::console_tests
