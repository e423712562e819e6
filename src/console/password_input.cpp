#include "console/password_input.h"

#include "platform/utf8.h"

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string_view>

namespace cw::console {
namespace {

constexpr std::size_t longest_password_in_bytes = 1024;
/// What ends or stops a program from a terminal.
constexpr auto terminal_signals = std::to_array<int>({SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP});

volatile std::sig_atomic_t caught_signal = 0;

void keep_signal(int number)
{
    caught_signal = number;
}

/// Room for a line that is overwritten at the end.
struct line_room {
    std::array<char, longest_password_in_bytes + 2> bytes{}; // a line end and one byte too much
    ~line_room() { explicit_bzero(bytes.data(), bytes.size()); }
};

/// Keeps the signals for later, so that none ends the program while the echo is off. They stay
/// blocked outside of `mask_outside`, so none can slip in between a look and a wait.
class signal_guard {
public:
    signal_guard()
    {
        caught_signal = 0;
        sigset_t blocked;
        sigemptyset(&blocked);
        struct sigaction action {};
        action.sa_handler = keep_signal;
        for (std::size_t i = 0; i < terminal_signals.size(); ++i) {
            sigaddset(&blocked, terminal_signals[i]);
            sigaction(terminal_signals[i], nullptr, &m_before[i]);
            // Who starts a program with a signal ignored means it.
            if (m_before[i].sa_handler != SIG_IGN)
                sigaction(terminal_signals[i], &action, nullptr);
        }
        sigprocmask(SIG_BLOCK, &blocked, &m_maskOutside);
    }
    ~signal_guard()
    {
        for (std::size_t i = 0; i < terminal_signals.size(); ++i)
            sigaction(terminal_signals[i], &m_before[i], nullptr);
        sigprocmask(SIG_SETMASK, &m_maskOutside, nullptr);
    }
    signal_guard(const signal_guard&) = delete;
    signal_guard& operator=(const signal_guard&) = delete;

    [[nodiscard]] const sigset_t& mask_outside() const noexcept { return m_maskOutside; }

private:
    std::array<struct sigaction, terminal_signals.size()> m_before{};
    sigset_t m_maskOutside{};
};

/// The terminal of the process with its echo off.
class silent_terminal {
public:
    silent_terminal() : m_descriptor(::open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC))
    {
        if (m_descriptor < 0 || tcgetattr(m_descriptor, &m_before) != 0)
            return;
        termios silent = m_before;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHONL);
        silent.c_lflag |= ICANON | ISIG;
        // What was typed ahead was typed with the echo on, and for somebody else.
        m_isSilent = tcsetattr(m_descriptor, TCSAFLUSH, &silent) == 0;
    }
    ~silent_terminal()
    {
        if (m_isSilent)
            tcsetattr(m_descriptor, TCSAFLUSH, &m_before);
        if (m_descriptor >= 0)
            ::close(m_descriptor);
    }
    silent_terminal(const silent_terminal&) = delete;
    silent_terminal& operator=(const silent_terminal&) = delete;

    [[nodiscard]] bool is_silent() const noexcept { return m_isSilent; }
    void write(std::string_view text) const
    {
        while (!text.empty()) {
            const ssize_t written = ::write(m_descriptor, text.data(), text.size());
            if (written < 0 && errno != EINTR)
                return; // the question stands even where it cannot be seen
            if (written > 0)
                text.remove_prefix(static_cast<std::size_t>(written));
        }
    }
    /// The bytes of one line, its end included; 0 at the end of the input and at a signal.
    [[nodiscard]] std::size_t read_line(line_room& room, const sigset_t& mask) const
    {
        pollfd waiting{m_descriptor, POLLIN, 0};
        int ready = -1;
        while (ready < 0 && caught_signal == 0) {
            ready = ppoll(&waiting, 1, nullptr, &mask);
            if (ready < 0 && errno != EINTR)
                break;
        }
        if (ready < 0)
            return 0;
        const ssize_t got = ::read(m_descriptor, room.bytes.data(), room.bytes.size());
        return got > 0 ? static_cast<std::size_t>(got) : 0;
    }

private:
    int m_descriptor;
    bool m_isSilent = false;
    termios m_before{};
};

/// One asking; a signal that cut it short stands in `caught_signal` afterwards.
std::optional<std::string> ask_once(const std::string& prompt, const sigset_t& mask)
{
    const silent_terminal terminal;
    if (!terminal.is_silent())
        return {};
    terminal.write(prompt);
    line_room room;
    const std::size_t length = terminal.read_line(room, mask);
    // The person's own line end was not echoed.
    terminal.write("\n");
    const std::string_view line(room.bytes.data(), length);
    if (line.empty() || caught_signal != 0)
        return {};
    if (line.size() > longest_password_in_bytes + 1)
        throw std::runtime_error("the password is too long");
    return std::string(line.substr(0, line.find('\n')));
}

} // namespace

std::string read_password(const std::string& file)
{
    line_room room;
    line_room buffered;
    std::ifstream stream;
    stream.rdbuf()->pubsetbuf(buffered.bytes.data(), static_cast<std::streamsize>(buffered.bytes.size()));
    stream.open(file, std::ios::binary);
    stream.getline(room.bytes.data(), static_cast<std::streamsize>(room.bytes.size()));
    auto length = static_cast<std::size_t>(stream.gcount());
    if (stream && !stream.eof())
        --length; // the line end counts as read
    if (length > longest_password_in_bytes)
        throw std::runtime_error(file + ": the password is too long");
    if (!stream)
        throw std::runtime_error(file + ": no password can be read");
    std::string_view line(room.bytes.data(), length);
    if (line.ends_with('\r'))
        line.remove_suffix(1);
    if (line.empty())
        throw std::runtime_error(file + ": the password is empty");
    if (line.find('\0') != line.npos)
        throw std::runtime_error(file + ": the password holds a zero, which nobody can type");
    std::u16string text = platform::from_utf8(line);
    std::string password = platform::to_utf8(text);
    wipe(text);
    if (password != line) {
        wipe(password);
        throw std::runtime_error(file + ": the password is not in UTF-8");
    }
    return password;
}

std::optional<std::string> ask_password(const std::string& prompt)
{
    for (;;) {
        std::optional<std::string> answer;
        {
            const signal_guard guard;
            answer = ask_once(prompt, guard.mask_outside());
        }
        const int number = caught_signal;
        if (number == 0)
            return answer;
        // Only now, with the echo back, it has its effect; who was stopped goes on and is asked again.
        raise(number);
        if (number != SIGTSTP)
            return {};
    }
}

void wipe(std::string& password) noexcept
{
    explicit_bzero(password.data(), password.size());
    password.clear();
}

void wipe(std::u16string& password) noexcept
{
    explicit_bzero(password.data(), password.size() * sizeof(char16_t));
    password.clear();
}

} // namespace cw::console
