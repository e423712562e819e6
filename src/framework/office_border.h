// A control with a border of one pixel that the toolkit paints, in place of the system's own.
#pragma once

#include "framework/window.h"

#include <cstdint>

namespace cw {

/// What the toolkit does for every such border.
class office_border_painter {
public:
    virtual ~office_border_painter() = default;
    [[nodiscard]] virtual std::uint32_t XTPOfficeBorder_GetBorderColor(bool outer) = 0;
    virtual void XTPOfficeBorder_OnPaint(CWnd& window, std::uint32_t outer_color, std::uint32_t inner_color) = 0;
};

/// `Base` is a control's class. Without a window of its own it gets no messages and needs no painter.
template <class Base>
class CXTPOfficeBorder : public Base {
public:
    /// Gives it its window and who paints the border there; both are borrowed.
    void Attach(window_operations& window, office_border_painter& painter) noexcept
    {
        Base::Attach(window);
        m_painter = &painter;
    }

    std::intptr_t WindowProc(const window_message& message) override
    {
        const std::intptr_t result = Base::WindowProc(message);
        switch (message.id) {
        case WM_CREATE:
            if (result == -1)
                return -1;
            this->ModifyStyle(WS_BORDER, 0);
            this->ModifyStyleEx(WS_EX_CLIENTEDGE, 0);
            this->SetWindowPos(SWP_NOSIZE | SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE | SWP_FRAMECHANGED);
            return 0;
        case WM_NCCALCSIZE:
            static_cast<window_rectangle*>(message.pointer)->deflate(border_width_in_pixels);
            return result;
        case WM_NCPAINT: {
            const std::uint32_t outer = GetBorderColor(true);
            const std::uint32_t inner = GetBorderColor(false);
            m_painter->XTPOfficeBorder_OnPaint(*this, outer, inner);
            return 0;
        }
        default:
            return result;
        }
    }

    [[nodiscard]] virtual std::uint32_t GetBorderColor(bool outer)
    {
        return m_painter->XTPOfficeBorder_GetBorderColor(outer);
    }

private:
    static constexpr int border_width_in_pixels = 1;

    office_border_painter* m_painter = nullptr;
};

} // namespace cw
