// What the window is measured against: a plain Qt window with the same two views and nothing in them.
#pragma once

#include <memory>

class QMainWindow;

namespace cw::bench {

[[nodiscard]] std::unique_ptr<QMainWindow> make_empty_window();

} // namespace cw::bench
