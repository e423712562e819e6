#include "tests/console/terminal_support.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <system_error>
#include <termios.h>
#include <unistd.h>
#include <utmp.h>

namespace cw::console_tests {
namespace {

constexpr std::chrono::seconds patience{30};
constexpr int step_in_milliseconds = 20;

/// What came since the last call.
std::string read_screen(int master)
{
    std::string text;
    pollfd waiting{master, POLLIN, 0};
    while (poll(&waiting, 1, text.empty() ? step_in_milliseconds : 0) > 0) {
        char buffer[4096];
        const ssize_t got = read(master, buffer, sizeof buffer);
        if (got <= 0)
            break;
        text.append(buffer, static_cast<std::size_t>(got));
    }
    return text;
}

} // namespace

terminal_outcome run_at_terminal(const std::function<int()>& work, const std::vector<terminal_turn>& turns)
{
    int master = -1;
    int terminal = -1; // kept open: its settings outlive the program
    if (openpty(&master, &terminal, nullptr, nullptr, nullptr) != 0)
        throw std::system_error(errno, std::generic_category());
    const pid_t child = fork();
    if (child < 0)
        throw std::system_error(errno, std::generic_category());
    if (child == 0) {
        close(master);
        if (login_tty(terminal) != 0)
            _exit(127);
        _exit(work());
    }

    terminal_outcome result;
    auto turn = turns.begin();
    std::size_t read_to = 0;
    int state = 0;
    const auto end = std::chrono::steady_clock::now() + patience;
    while (std::chrono::steady_clock::now() < end) {
        const bool ended = waitpid(child, &state, WNOHANG) == child;
        result.screen += read_screen(master);
        const std::size_t found =
            turn == turns.end() ? result.screen.npos : result.screen.find(turn->wait_for, read_to);
        if (found != result.screen.npos) {
            read_to = found + turn->wait_for.size();
            if (write(master, turn->typed.data(), turn->typed.size()) < 0)
                break;
            ++turn;
        }
        if (ended) {
            result.status = WIFEXITED(state) ? WEXITSTATUS(state) : -WTERMSIG(state);
            result.finished = turn == turns.end();
            break;
        }
    }
    if (!result.finished && result.status == -1) {
        kill(child, SIGKILL);
        waitpid(child, &state, 0);
    }
    termios settings{};
    result.echoes = tcgetattr(terminal, &settings) == 0 && (settings.c_lflag & ECHO) != 0;
    close(terminal);
    close(master);
    return result;
}

terminal_outcome run_program_at_terminal(const char* program, const std::vector<std::string>& arguments,
                                         const std::vector<terminal_turn>& turns)
{
    return run_at_terminal(
        [&] {
            std::vector<const char*> all{program};
            for (const std::string& argument : arguments)
                all.push_back(argument.c_str());
            all.push_back(nullptr);
            execv(program, const_cast<char* const*>(all.data()));
            return 127;
        },
        turns);
}

} // namespace cw::console_tests
