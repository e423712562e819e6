// A session: the viewer without a window, driven line by line. It is how a script uses the viewer as a
// person would, and how the whole is tested.
#pragma once

#include "console/headless_application.h"

#include <iosfwd>
#include <string_view>

namespace cw::console {

class session {
public:
    enum class form { text, json };

    /// `viewer` and `out` are borrowed for the session's life.
    session(headless_application& viewer, std::ostream& out, form answers) noexcept
        : m_viewer(viewer), m_out(out), m_form(answers)
    {
    }

    /// Does what a line says and writes the answer, in JSON exactly one line; blank lines and lines that
    /// begin with '#' have none. A line that cannot be done is answered with why, and the session
    /// goes on. `line` is UTF-8, paths in it are bytes, and stands without its line end.
    void take(std::string_view line);
    /// Whether `close` was among the lines. The command Exit closes the window alone: whoever drives the
    /// session gets an answer to each line up to `close`.
    [[nodiscard]] bool is_closed() const noexcept { return m_closed; }

private:
    headless_application& m_viewer;
    std::ostream& m_out;
    form m_form;
    bool m_closed = false;
};

} // namespace cw::console
