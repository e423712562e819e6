#include "framework/control_window.h"

namespace cw {

void control_window::add_style(std::uint32_t bits)
{
    m_style |= bits;
    style_changed();
}

void control_window::set_extended_style(std::uint32_t bits)
{
    m_extendedStyle = bits;
    style_changed();
}

void control_window::notify_from(std::uint32_t control_id, std::uint32_t code) const
{
    if (m_parent)
        m_parent(control_id, code);
}

} // namespace cw
