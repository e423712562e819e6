#include "desktop/icons.h"

#include <QString>

#include <array>

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

const QIcon& application_icon()
{
    static const QIcon icon = load(QStringLiteral(":/icons/cwcabview.svg"));
    return icon;
}

} // namespace cw
