#include "console/stop_guard.h"

#include <iterator>

namespace cw::console {
namespace {

volatile std::sig_atomic_t stop_signal = 0;

} // namespace

stop_guard::stop_guard() noexcept : m_before{}
{
    stop_signal = 0;
    struct sigaction action {};
    action.sa_handler = [](int number) { stop_signal = number; };
    action.sa_flags = static_cast<int>(SA_RESETHAND) | SA_RESTART;
    for (std::size_t i = 0; i < std::size(numbers); ++i) {
        sigaction(numbers[i], nullptr, &m_before[i]);
        if (m_before[i].sa_handler != SIG_IGN)
            sigaction(numbers[i], &action, nullptr);
    }
}

stop_guard::~stop_guard()
{
    for (std::size_t i = 0; i < std::size(numbers); ++i)
        sigaction(numbers[i], &m_before[i], nullptr);
}

bool stop_guard::is_asked() noexcept
{
    return stop_signal != 0;
}

} // namespace cw::console
