// What tree and list have in common: a control id, style bits, image lists, and the parent window
// that gets their notifications.
#pragma once

#include <cstdint>
#include <functional>

namespace cw {

/// Images by index, drawn by whoever shows the control; the logic knows only which list is set.
struct image_list {
    int width = 0;
    int height = 0;
    int image_count = 0;
};

class control_window {
public:
    /// Called with the control's id and the notification code.
    using notification_sink = std::function<void(std::uint32_t control_id, std::uint32_t code)>;

    [[nodiscard]] std::uint32_t control_id() const noexcept { return m_controlId; }
    void set_control_id(std::uint32_t id) noexcept { m_controlId = id; }
    [[nodiscard]] std::uint32_t style() const noexcept { return m_style; }
    [[nodiscard]] std::uint32_t extended_style() const noexcept { return m_extendedStyle; }
    void add_style(std::uint32_t bits);
    void set_extended_style(std::uint32_t bits);
    void set_parent(notification_sink sink) { m_parent = std::move(sink); }

    control_window(const control_window&) = delete;
    control_window& operator=(const control_window&) = delete;

protected:
    control_window() = default;
    ~control_window() = default;
    void notify(std::uint32_t code) const { notify_from(m_controlId, code); }
    /// For a part with an id of its own, such as a list's header.
    void notify_from(std::uint32_t control_id, std::uint32_t code) const;
    virtual void style_changed() = 0;

private:
    std::uint32_t m_controlId = 0;
    std::uint32_t m_style = 0;
    std::uint32_t m_extendedStyle = 0;
    notification_sink m_parent;
};

} // namespace cw
