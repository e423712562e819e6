// The wait cursor while the frame works. Work may nest and may ask questions: the cursor is set once
// and taken away for as long as a dialog is open.
#pragma once

namespace cw {

/// Shows the wait cursor for its lifetime.
class busy_cursor {
public:
    busy_cursor();
    ~busy_cursor();
    busy_cursor(const busy_cursor&) = delete;
    busy_cursor& operator=(const busy_cursor&) = delete;
};

/// Shows the ordinary cursors for its lifetime, within work that is going on.
class busy_pause {
public:
    busy_pause();
    ~busy_pause();
    busy_pause(const busy_pause&) = delete;
    busy_pause& operator=(const busy_pause&) = delete;

private:
    int m_depthBefore;
};

} // namespace cw
