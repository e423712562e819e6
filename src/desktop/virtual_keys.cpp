#include "desktop/virtual_keys.h"

#include <QKeyEvent>
#include <QKeySequence>

#include <array>
#include <span>
#include <string_view>
#include <utility>

namespace cw {
namespace {

/// A run of keys whose codes follow each other in both worlds.
struct key_run {
    Qt::Key first;
    Qt::Key last;
    std::uint32_t first_virtual_key;
};

constexpr auto main_keys = std::to_array<key_run>({
    {Qt::Key_0, Qt::Key_9, 0x30},
    {Qt::Key_A, Qt::Key_Z, 0x41},
    {Qt::Key_F1, Qt::Key_F24, 0x70},
    {Qt::Key_Backspace, Qt::Key_Backspace, 0x08},
    {Qt::Key_Tab, Qt::Key_Tab, 0x09},
    {Qt::Key_Backtab, Qt::Key_Backtab, 0x09},
    {Qt::Key_Return, Qt::Key_Return, 0x0D},
    {Qt::Key_Enter, Qt::Key_Enter, 0x0D},
    {Qt::Key_Pause, Qt::Key_Pause, 0x13},
    {Qt::Key_Escape, Qt::Key_Escape, 0x1B},
    {Qt::Key_Space, Qt::Key_Space, 0x20},
    {Qt::Key_PageUp, Qt::Key_PageDown, 0x21},
    {Qt::Key_End, Qt::Key_End, 0x23},
    {Qt::Key_Home, Qt::Key_Home, 0x24},
    {Qt::Key_Left, Qt::Key_Down, 0x25},
    {Qt::Key_Insert, Qt::Key_Delete, 0x2D},
    {Qt::Key_Menu, Qt::Key_Menu, 0x5D},
});

// With Num Lock off the keypad sends the cursor keys above.
constexpr auto keypad_keys = std::to_array<key_run>({
    {Qt::Key_0, Qt::Key_9, 0x60},
    {Qt::Key_Asterisk, Qt::Key_Plus, 0x6A},
    {Qt::Key_Minus, Qt::Key_Slash, 0x6D},
    {Qt::Key_Comma, Qt::Key_Comma, 0x6E},
});

// Letters by place on the keyboard, in the scan codes that both window systems use: for layouts
// whose keys bear no Latin letters.
struct letter_row {
    std::uint32_t first_scan_code;
    std::string_view letters;
};
constexpr auto letter_rows = std::to_array<letter_row>({{24, "QWERTYUIOP"}, {38, "ASDFGHJKL"}, {52, "ZXCVBNM"}});

template <std::size_t Count>
std::uint32_t find_in(const std::array<key_run, Count>& runs, Qt::Key key) noexcept
{
    for (const key_run& run : runs)
        if (key >= run.first && key <= run.last)
            return run.first_virtual_key + static_cast<std::uint32_t>(key - run.first);
    return 0;
}

std::uint32_t letter_by_place(std::uint32_t scan_code) noexcept
{
    for (const letter_row& row : letter_rows)
        if (scan_code >= row.first_scan_code && scan_code - row.first_scan_code < row.letters.size())
            return static_cast<std::uint32_t>(row.letters[scan_code - row.first_scan_code]);
    return 0;
}

} // namespace

std::uint32_t virtual_key_of(Qt::Key key, bool on_keypad) noexcept
{
    const std::uint32_t from_keypad = on_keypad ? find_in(keypad_keys, key) : 0;
    return from_keypad != 0 ? from_keypad : find_in(main_keys, key);
}

std::optional<key_message> key_message_of(const QKeyEvent& event) noexcept
{
    const Qt::KeyboardModifiers held = event.modifiers();
    std::uint32_t code = virtual_key_of(static_cast<Qt::Key>(event.key()), held.testFlag(Qt::KeypadModifier));
    const bool non_latin_letter = code == 0 && event.key() > 0x7F && event.key() < Qt::Key_Escape;
    if (non_latin_letter)
        code = letter_by_place(event.nativeScanCode());
    if (code == 0)
        return std::nullopt;
    return key_message{code, held.testFlag(Qt::ControlModifier), held.testFlag(Qt::ShiftModifier),
                       held.testFlag(Qt::AltModifier)};
}

QString accelerator_text(const accelerator& key)
{
    const std::pair<std::span<const key_run>, Qt::KeyboardModifiers> places[]{{main_keys, Qt::NoModifier},
                                                                              {keypad_keys, Qt::KeypadModifier}};
    for (const auto& [runs, place] : places)
        for (const key_run& run : runs) {
            const std::uint32_t length = static_cast<std::uint32_t>(run.last - run.first);
            if (key.virtual_key < run.first_virtual_key || key.virtual_key - run.first_virtual_key > length)
                continue;
            const int qt_key = run.first + static_cast<int>(key.virtual_key - run.first_virtual_key);
            Qt::KeyboardModifiers held = place;
            held.setFlag(Qt::ControlModifier, key.control);
            held.setFlag(Qt::ShiftModifier, key.shift);
            held.setFlag(Qt::AltModifier, key.alt);
            return QKeySequence(QKeyCombination(held, static_cast<Qt::Key>(qt_key))).toString(QKeySequence::NativeText);
        }
    return {};
}

} // namespace cw
