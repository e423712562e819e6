// Signals that ask the companion to stop, for commands that have something to take away first.
#pragma once

#include <csignal>
#include <cstddef>

namespace cw::console {

inline constexpr const char* stopped_by_signal = "stopped by a signal";

/// While one lives, a signal lets the file at hand be finished or taken away before it ends the
/// program. A second one ends it at once. Signals that are ignored stay so.
class stop_guard {
public:
    stop_guard() noexcept;
    ~stop_guard();
    stop_guard(const stop_guard&) = delete;
    stop_guard& operator=(const stop_guard&) = delete;

    /// Whether a signal came since the last guard was made.
    [[nodiscard]] static bool is_asked() noexcept;

private:
    static constexpr int numbers[] = {SIGINT, SIGTERM, SIGHUP};
    struct sigaction m_before[sizeof numbers / sizeof *numbers];
};

} // namespace cw::console
