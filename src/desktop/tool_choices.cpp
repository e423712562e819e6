#include "desktop/tool_choices.h"

#include "app/menus.h"
#include "desktop/qt_text.h"

#include <algorithm>
#include <array>

namespace cw {
namespace {

struct standard_command {
    std::uint32_t id;
    const char* name;
};

// The class library's own: they stand in the accelerator table and in no menu.
constexpr auto standard_commands = std::to_array<standard_command>({
    {57634, "Copy (standard)"},
    {57635, "Cut (standard)"},
    {57637, "Paste (standard)"},
    {57643, "Undo (standard)"},
    {57680, "Next Pane (standard)"},
    {57681, "Previous Pane (standard)"},
});

template <class Visit>
void for_each_item(std::span<const menu_item> menu, const Visit& visit)
{
    for (const menu_item& item : menu) {
        visit(item);
        for_each_item(item.popup, visit);
    }
}

/// The commands of a menu and of all popups in it.
std::vector<tool_choice> commands_of(std::span<const menu_item> menu)
{
    std::vector<tool_choice> commands;
    for_each_item(menu, [&](const menu_item& item) {
        // The recent files take the place of this one.
        if (item.id != 0 && item.id != ID_FILE_MRU_FIRST)
            commands.push_back({plain_text(item.text), tool_item::command(item.id)});
    });
    return commands;
}

} // namespace

QString plain_text(std::u16string_view menu_text)
{
    return to_qt(menu_text).remove(u'&');
}

QString command_name(std::span<const menu_item> menu, std::uint32_t command_id)
{
    QString name;
    for_each_item(menu, [&](const menu_item& item) {
        if (command_id != 0 && item.id == command_id)
            name = plain_text(item.text);
    });
    for (const standard_command& command : standard_commands)
        if (command.id == command_id)
            name = QLatin1String(command.name);
    return name.isEmpty() ? QStringLiteral("Command %1").arg(command_id) : name;
}

QString tool_name(std::span<const menu_item> menu, const tool_item& item)
{
    switch (item.kind) {
    case tool_kind::command:
        return command_name(menu, item.command_id);
    case tool_kind::popup:
        return plain_text(item.text);
    case tool_kind::menu:
        return to_qt(item.text);
    case tool_kind::separator:
        break;
    }
    return QStringLiteral("Separator");
}

std::vector<tool_category> commands_by_popup(std::span<const menu_item> menu)
{
    std::vector<tool_category> categories;
    for (const menu_item& popup : menu)
        categories.push_back({plain_text(popup.text), commands_of(popup.popup)});
    return categories;
}

tool_category all_commands(std::span<const menu_item> menu, const QString& name)
{
    std::vector<tool_choice> commands = commands_of(menu);
    std::ranges::stable_sort(commands, [](const tool_choice& left, const tool_choice& right) {
        return QString::compare(left.text, right.text, Qt::CaseInsensitive) < 0;
    });
    const auto repeated = std::ranges::unique(commands, {}, [](const tool_choice& choice) { return choice.text; });
    commands.erase(repeated.begin(), repeated.end());
    return {name, std::move(commands)};
}

tool_category all_popups(std::span<const menu_item> menu, const QString& name)
{
    tool_category popups{name, {}};
    for_each_item(menu, [&](const menu_item& item) {
        if (item.is_popup())
            popups.choices.push_back({plain_text(item.text), tool_item::popup(item.text)});
    });
    return popups;
}

tool_category empty_menu(const QString& name)
{
    return {name, {{name, tool_item::menu(from_qt(name))}}};
}

} // namespace cw
