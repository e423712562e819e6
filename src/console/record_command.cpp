// `cwcab record`: records an installation log from lines on standard input, as an installer tells them
// while it works.

#include "authoring/error.h"
#include "authoring/log_lines.h"
#include "authoring/log_recorder.h"
#include "console/commands.h"
#include "console/safe_text.h"
#include "platform/utf8.h"

#include <CLI/CLI.hpp>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <iostream>
#include <memory>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/signalfd.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace cw::console {
namespace {

// A line of many small elements takes a hundred times its size while it is taken apart.
constexpr std::size_t longest_line_in_bytes = 4u << 20;
constexpr std::size_t read_size_in_bytes = 64u << 10;
constexpr std::uint64_t most_lines_uncommitted = 1000;
constexpr std::size_t longest_reason_in_bytes = 500;
constexpr std::string_view blanks = " \t\r";

struct record_arguments {
    std::string file;
    bool strict = false;
    bool acknowledge = false;
};

/// Signals that ask for the end are waited for beside the input, so that none falls between a look and a
/// wait. An installer that is gone leaves a closed pipe; that is no reason to leave the log unfinished.
class end_signals {
public:
    end_signals()
    {
        sigset_t wanted;
        sigemptyset(&wanted);
        for (const int number : {SIGINT, SIGTERM, SIGHUP})
            sigaddset(&wanted, number);
        sigset_t blocked = wanted;
        sigaddset(&blocked, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &blocked, &m_maskBefore);
        m_descriptor = ::signalfd(-1, &wanted, SFD_CLOEXEC | SFD_NONBLOCK);
        if (m_descriptor < 0) {
            const int number = errno;
            pthread_sigmask(SIG_SETMASK, &m_maskBefore, nullptr);
            throw std::system_error(number, std::generic_category(), "signals cannot be waited for");
        }
    }
    ~end_signals()
    {
        // What came counts as obeyed and must not end the program once it is let through again.
        signalfd_siginfo taken{};
        while (::read(m_descriptor, &taken, sizeof taken) > 0) {
        }
        ::close(m_descriptor);
        sigset_t closed_pipe;
        sigemptyset(&closed_pipe);
        sigaddset(&closed_pipe, SIGPIPE);
        constexpr timespec at_once{};
        sigtimedwait(&closed_pipe, nullptr, &at_once);
        pthread_sigmask(SIG_SETMASK, &m_maskBefore, nullptr);
    }
    end_signals(const end_signals&) = delete;
    end_signals& operator=(const end_signals&) = delete;

    [[nodiscard]] int descriptor() const noexcept { return m_descriptor; }

private:
    int m_descriptor = -1;
    sigset_t m_maskBefore{};
};

enum class input_state { ready, pausing, stopped };

input_state look_at_input(const end_signals& signals, int timeout_ms)
{
    std::array<pollfd, 2> waiting{{{signals.descriptor(), POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}}};
    while (::poll(waiting.data(), waiting.size(), timeout_ms) < 0)
        if (errno != EINTR)
            throw std::system_error(errno, std::generic_category(), "standard input");
    if (waiting[0].revents != 0)
        return input_state::stopped;
    // An end and an error are found by reading.
    return waiting[1].revents != 0 ? input_state::ready : input_state::pausing;
}

/// Whatever is opened next would take the place of an input that is closed.
const record_arguments& with_open_input(const record_arguments& arguments)
{
    if (::fcntl(STDIN_FILENO, F_GETFD) < 0)
        throw std::runtime_error("standard input is closed");
    return arguments;
}

class recording {
public:
    explicit recording(const record_arguments& arguments)
        : m_arguments(with_open_input(arguments)), m_recorder(arguments.file), m_lines(m_recorder)
    {
    }

    int run()
    {
        const bool is_stopped = read_input();
        acknowledge_all();
        m_recorder.close();
        if (!m_arguments.acknowledge) {
            const authoring::log_lines::counts& told = m_lines.told();
            std::cout << terminal_text(platform::from_utf8(m_arguments.file)) << ": " << told.features << " features, "
                      << told.properties << " properties, " << told.operations << " operations\n"
                      << std::flush;
        }
        if (is_stopped)
            std::cerr << "cwcab: stopped by a signal\n";
        return is_stopped || m_isWrong ? exit_failed : exit_done;
    }

private:
    /// Whether a signal ended it.
    bool read_input()
    {
        std::vector<char> room(read_size_in_bytes);
        for (;;) {
            input_state state = look_at_input(m_signals, 0);
            if (state == input_state::pausing) {
                acknowledge_all();
                state = look_at_input(m_signals, -1);
            }
            if (state == input_state::stopped)
                return true;
            const ssize_t got = ::read(STDIN_FILENO, room.data(), room.size());
            if (got < 0 && (errno == EINTR || errno == EAGAIN))
                continue;
            if (got < 0)
                throw std::system_error(errno, std::generic_category(), "standard input");
            if (got == 0) {
                if (!m_begun.empty() || m_isTooLong)
                    end_line({});
                return false;
            }
            take({room.data(), static_cast<std::size_t>(got)});
            if (m_isEnded)
                return false;
        }
    }

    void take(std::string_view bytes)
    {
        while (!m_isEnded) {
            const std::size_t end = bytes.find('\n');
            if (end == bytes.npos)
                break;
            end_line(bytes.substr(0, end));
            bytes.remove_prefix(end + 1);
        }
        if (m_isEnded)
            return;
        m_isTooLong = m_isTooLong || m_begun.size() + bytes.size() > longest_line_in_bytes;
        if (m_isTooLong)
            std::string().swap(m_begun);
        else
            m_begun += bytes;
    }

    /// The line is what was begun and the rest.
    void end_line(std::string_view rest)
    {
        ++m_lineNumber;
        if (m_isTooLong || m_begun.size() + rest.size() > longest_line_in_bytes) {
            complain("the line is longer than " + std::to_string(longest_line_in_bytes) + " bytes");
        } else if (m_begun.empty()) {
            take_line(rest);
        } else {
            m_begun += rest;
            take_line(m_begun);
        }
        m_begun.clear();
        m_isTooLong = false;
        if (m_isEnded)
            return;
        m_dealtWith = m_lineNumber;
        if (m_dealtWith - m_committed >= most_lines_uncommitted)
            acknowledge_all();
    }

    void take_line(std::string_view line)
    {
        if (line.find_first_not_of(blanks) == line.npos)
            return;
        try {
            m_lines.take(line);
        } catch (const authoring::log_storage_error&) {
            throw; // the log is at fault, and no further line would fare better
        } catch (const authoring::error& error) {
            complain(error.what());
        }
    }

    void complain(std::string_view reason)
    {
        std::string text = terminal_text(platform::from_utf8(reason.substr(0, longest_reason_in_bytes)));
        std::cerr << "cwcab: line " + std::to_string(m_lineNumber) + ": " + text + "\n";
        m_isWrong = true;
        m_isEnded = m_arguments.strict;
    }

    void acknowledge_all()
    {
        m_recorder.commit();
        if (m_arguments.acknowledge && m_committed != m_dealtWith)
            std::cout << m_dealtWith << '\n' << std::flush;
        m_committed = m_dealtWith;
    }

    const record_arguments& m_arguments;
    end_signals m_signals; // before the log is opened: from then on it has to be closed
    authoring::log_recorder m_recorder;
    authoring::log_lines m_lines;
    std::string m_begun; // a line without its end
    bool m_isTooLong = false;
    std::uint64_t m_lineNumber = 0; // of the last line that ended
    std::uint64_t m_dealtWith = 0;
    std::uint64_t m_committed = 0;
    bool m_isWrong = false;
    bool m_isEnded = false;
};

} // namespace

void add_record_command(CLI::App& app, action& chosen)
{
    auto arguments = std::make_shared<record_arguments>();
    CLI::App* command = app.add_subcommand("record", "Record an installation log from standard input");
    command->add_option("FILE", arguments->file, "The log to make, or to go on with")->required();
    command->add_flag("--strict", arguments->strict, "End at the first wrong line in place of passing over it");
    command->add_flag("--acknowledge", arguments->acknowledge,
                      "Print the number of the last line whenever all up to it is on the disk");
    command->callback([arguments, &chosen] { chosen = [arguments] { return recording(*arguments).run(); }; });
}

} // namespace cw::console
