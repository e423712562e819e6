// The question for the text to search for.
#pragma once

#include "foundation/string.h"
#include "framework/frame_services.h"

namespace cw {

class CFindDlg {
public:
    /// `services` is borrowed.
    explicit CFindDlg(frame_services& services) noexcept : m_services(services) {}

    /// Asks, with an empty field: what was searched for before is not offered again. False when the
    /// person gives up.
    bool DoModal();
    /// What was typed at the last `DoModal` that answered true.
    [[nodiscard]] const string& Text() const noexcept { return m_text; }

private:
    frame_services& m_services;
    string m_text;
};

} // namespace cw
