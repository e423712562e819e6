// Keys of the window system as the numbers that the frame knows, and back into the texts that menus
// show behind their items.
#pragma once

#include "framework/commands.h"

#include <QString>
#include <QtCore/qnamespace.h>

#include <cstdint>
#include <optional>

class QKeyEvent;

namespace cw {

/// The virtual key code of a key; 0 where it has none.
[[nodiscard]] std::uint32_t virtual_key_of(Qt::Key key, bool on_keypad) noexcept;

/// A key press as the frame gets it; empty for keys without a code.
[[nodiscard]] std::optional<key_message> key_message_of(const QKeyEvent& event) noexcept;

/// "Ctrl+S", "Shift+F6", "Num+5"; empty for a code that no key has.
[[nodiscard]] QString accelerator_text(const accelerator& key);

} // namespace cw
