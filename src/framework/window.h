// Windows of controls as messages see them: a procedure with a default, styles and a place. What is
// behind them is somebody else's: a window system, or a script of a test.
#pragma once

#include <cstdint>

namespace cw {

constexpr std::uint32_t WM_CREATE = 0x0001;
constexpr std::uint32_t WM_NCCALCSIZE = 0x0083;
constexpr std::uint32_t WM_NCPAINT = 0x0085;

constexpr std::uint32_t WS_BORDER = 0x00800000;
constexpr std::uint32_t WS_EX_CLIENTEDGE = 0x00000200;

constexpr std::uint32_t SWP_NOSIZE = 0x01;
constexpr std::uint32_t SWP_NOMOVE = 0x02;
constexpr std::uint32_t SWP_NOZORDER = 0x04;
constexpr std::uint32_t SWP_NOACTIVATE = 0x10;
constexpr std::uint32_t SWP_FRAMECHANGED = 0x20;

struct window_rectangle {
    int left;
    int top;
    int right;
    int bottom;

    /// Moves all four sides in.
    constexpr void deflate(int pixels) noexcept
    {
        left += pixels;
        top += pixels;
        right -= pixels;
        bottom -= pixels;
    }
    friend bool operator==(const window_rectangle&, const window_rectangle&) = default;
};

struct window_message {
    std::uint32_t id;
    std::uintptr_t number = 0;
    /// WM_NCCALCSIZE: a `window_rectangle`, that of the whole window, to be made that of its client area.
    void* pointer = nullptr;
};

/// What a window asks of whoever made it.
class window_operations {
public:
    virtual ~window_operations() = default;
    virtual std::intptr_t default_procedure(const window_message& message) = 0;
    virtual void modify_style(std::uint32_t removed, std::uint32_t added) = 0;
    virtual void modify_extended_style(std::uint32_t removed, std::uint32_t added) = 0;
    /// Keeps place, size and order where the flags say so.
    virtual void set_position(std::uint32_t flags) = 0;
};

/// Made without a window; it gets messages once it has been given one.
class CWnd {
public:
    CWnd() = default;
    virtual ~CWnd() = default;
    CWnd(const CWnd&) = delete;
    CWnd& operator=(const CWnd&) = delete;

    /// Gives it its window, borrowed.
    void Attach(window_operations& window) noexcept { m_window = &window; }
    [[nodiscard]] bool HasWindow() const noexcept { return m_window != nullptr; }

    /// The answer to a message. Needs a window, like all that follows.
    virtual std::intptr_t WindowProc(const window_message& message) { return m_window->default_procedure(message); }
    void ModifyStyle(std::uint32_t removed, std::uint32_t added) { m_window->modify_style(removed, added); }
    void ModifyStyleEx(std::uint32_t removed, std::uint32_t added) { m_window->modify_extended_style(removed, added); }
    void SetWindowPos(std::uint32_t flags) { m_window->set_position(flags); }

private:
    window_operations* m_window = nullptr;
};

class CStatic : public CWnd {};
class CEdit : public CWnd {};

} // namespace cw
