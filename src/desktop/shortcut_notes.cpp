#include "desktop/shortcut_notes.h"

#include "app/menus.h"
#include "desktop/tool_choices.h"

#include <QChar>

#include <array>

namespace cw {
namespace {

constexpr auto filter_keys = std::to_array<accelerator>({
    {u'O', true, false, false, ID_FILE_OPEN},
    {u'S', true, false, false, ID_FILE_SAVE},
    {0x72, false, false, false, ID_SEARCH_FIND_NEXT},
});

/// Codes that follow each other.
struct key_range {
    std::uint32_t first;
    std::uint32_t last;
};

// Space, digits, letters, and the keypad's digits and signs.
constexpr auto typing_keys = std::to_array<key_range>({{0x20, 0x20}, {0x30, 0x39}, {0x41, 0x5A}, {0x60, 0x6F}});

enum class held { no, yes, either };

/// A key that something in the window or around it already answers.
struct used_key {
    key_range keys;
    held control;
    held shift;
    held alt;
    const char* use;
};

constexpr auto used_keys = std::to_array<used_key>({
    {{0x09, 0x09}, held::no, held::either, held::no, "goes from pane to pane"},
    {{0x0D, 0x0D}, held::no, held::no, held::no, "opens and closes items of the tree"},
    {{0x1B, 0x1B}, held::no, held::no, held::no, "leaves menus and dialogs"},
    {{0x21, 0x28}, held::either, held::either, held::no, "moves the selection in the panes"},
    {{0x31, 0x39}, held::yes, held::either, held::no, "sorts the list by a column"},
    {{0x5D, 0x5D}, held::no, held::either, held::no, "opens the menu of a row"},
    {{0x79, 0x79}, held::no, held::yes, held::no, "opens the menu of a row"},
    {{0x73, 0x73}, held::no, held::no, held::yes, "closes the window"},
});

bool within(const key_range& keys, std::uint32_t virtual_key) noexcept
{
    return virtual_key >= keys.first && virtual_key <= keys.last;
}

bool fits(held wanted, bool is_held) noexcept
{
    return wanted == held::either || (wanted == held::yes) == is_held;
}

bool types_something(const key_message& key) noexcept
{
    if (key.control || key.alt)
        return false;
    for (const key_range& keys : typing_keys)
        if (within(keys, key.virtual_key))
            return true;
    return false;
}

/// The popup of the menu bar whose mnemonic a key is; null where there is none.
const menu_item* popup_opened_by(const key_message& key, std::span<const menu_item> menu)
{
    if (!key.alt || key.control)
        return nullptr;
    for (const menu_item& item : menu) {
        const std::size_t mark = item.text.find(u'&');
        if (mark != item.text.npos && mark + 1 < item.text.size() &&
            QChar(item.text[mark + 1]).toUpper().unicode() == key.virtual_key)
            return &item;
    }
    return nullptr;
}

} // namespace

std::span<const accelerator> fixed_keys() noexcept
{
    return filter_keys;
}

shortcut_note note_on_key(const key_message& key, std::span<const menu_item> menu,
                          const std::function<std::uint32_t(const key_message& key)>& filtered_command)
{
    if (types_something(key))
        return {false, QStringLiteral("Letters, digits and signs search in the panes. Hold Ctrl or Alt as well.")};
    if (const std::uint32_t command = filtered_command(key))
        return {true, QStringLiteral(
                          "This key always runs \u201C%1\u201D. A command that it is assigned to runs behind that.")
                          .arg(command_name(menu, command))};
    QString use;
    if (const menu_item* popup = popup_opened_by(key, menu))
        use = QStringLiteral("opens the menu \u201C%1\u201D").arg(plain_text(popup->text));
    for (const used_key& used : used_keys)
        if (within(used.keys, key.virtual_key) && fits(used.control, key.control) && fits(used.shift, key.shift) &&
            fits(used.alt, key.alt))
            use = QLatin1String(used.use);
    if (use.isEmpty())
        return {};
    return {true, QStringLiteral("This key %1. Assigned to a command it no longer does.").arg(use)};
}

} // namespace cw
