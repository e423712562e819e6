#include "desktop/icons.h"

#include "app/menus.h"

#include <QString>

#include <array>
#include <map>

// The resources lie in a static library: without this call the linker would leave them out.
static void register_icons()
{
    Q_INIT_RESOURCE(icons);
}

namespace cw {
namespace {

constexpr std::array<const char*, tree_icon_count> names{
    "operation",         //  0 general operations, and items that were given no image
    "node",              //  1 default
    "node_selected",     //  2 default, selected
    "files",             //  3
    "shortcut",          //  4
    "registry",          //  5
    "computer",          //  6 not referred to
    "disc",              //  7 not referred to
    "network",           //  8 not referred to
    "assembly",          //  9
    "setup_types",       // 10
    "features",          // 11
    "components",        // 12
    "explorer_shell",    // 13
    "desktop",           // 14
    "start_menu",        // 15
    "data",              // 16
    "multi_string",      // 17 registry values from here on
    "expandable_string", // 18
    "binary",            // 19
    "number",            // 20
    "string",            // 21 also the default value
};

struct command_picture {
    std::uint32_t command_id;
    const char* path; // below the icons, without its extension
};

// A view's picture is that of its root in the tree.
constexpr auto command_pictures = std::to_array<command_picture>({
    {ID_FILE_OPEN, "commands/open"},
    {ID_FILE_SAVE, "commands/save"},
    {ID_APP_EXIT, "commands/exit"},
    {ID_SEARCH_FIND, "commands/find"},
    {ID_SEARCH_FIND_NEXT, "commands/find_next"},
    {ID_VIEW_ALL, "commands/view_all"},
    {ID_VIEW_FEATURES, "tree/features"},
    {ID_VIEW_COMPONENTS, "tree/components"},
    {ID_VIEW_SETUP_TYPES, "tree/setup_types"},
    {ID_VIEW_SHELL_OBJECTS, "tree/explorer_shell"},
    {ID_VIEW_REGISTRY_SETS, "tree/registry"},
    {ID_VIEW_MEDIA_SETTINGS, "commands/media_settings"},
    {ID_VIEW_EXPERT_MODE, "commands/expert_mode"},
    {ID_TOOLS_EXTRACT, "commands/extract"},
    {ID_TOOLS_REPORT, "commands/report"},
    {ID_HELP_TOPIC, "commands/help"},
    {ID_APP_ABOUT, "commands/about"},
});

QIcon load(const QString& path)
{
    static const bool registered = (register_icons(), true);
    (void)registered;
    QIcon icon;
    // The same picture for selected items: the style would otherwise tint it.
    for (const QIcon::Mode mode : {QIcon::Normal, QIcon::Selected})
        icon.addFile(path, {}, mode);
    return icon;
}

} // namespace

const QIcon& tree_icon(int index)
{
    static std::array<QIcon, tree_icon_count> icons;
    static const QIcon none;
    if (index < 0 || index >= tree_icon_count)
        return none;
    QIcon& icon = icons[static_cast<std::size_t>(index)];
    if (icon.isNull())
        icon = load(QStringLiteral(":/icons/tree/%1.svg").arg(QLatin1String(tree_icon_name(index))));
    return icon;
}

const char* tree_icon_name(int index)
{
    return names.at(static_cast<std::size_t>(index));
}

const QIcon& command_icon(std::uint32_t command_id)
{
    static std::map<std::uint32_t, QIcon> icons;
    static const QIcon none;
    for (const command_picture& picture : command_pictures) {
        if (picture.command_id != command_id)
            continue;
        QIcon& icon = icons[command_id];
        if (icon.isNull())
            icon = load(QStringLiteral(":/icons/%1.svg").arg(QLatin1String(picture.path)));
        return icon;
    }
    return none;
}

const QIcon& application_icon()
{
    static const QIcon icon = load(QStringLiteral(":/icons/cwcabview.svg"));
    return icon;
}

} // namespace cw
