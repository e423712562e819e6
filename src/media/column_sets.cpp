#include "media/column_sets.h"

#include <array>

namespace cw {
namespace {

constexpr auto property_columns = std::to_array<column_definition>({{129, 150}, {130, 400}});
constexpr auto file_columns = std::to_array<column_definition>(
    {{131, 200}, {132, 200}, {133, 200}, {134, 200}, {135, 200}, {136, 200}, {137, 200}});
constexpr auto registry_set_columns = std::to_array<column_definition>({{138, 120}, {139, 300}});
constexpr auto registry_key_columns = std::to_array<column_definition>({{138, 120}, {139, 300}, {140, 100}});
constexpr auto log_file_columns =
    std::to_array<column_definition>({{249, 300}, {131, 120}, {250, 80}, {251, 80}, {252, 120}, {253, 80}, {262, 120}});
constexpr auto log_filereg_columns = std::to_array<column_definition>({{249, 400}, {131, 120}, {250, 80}});
constexpr auto log_registry_columns = std::to_array<column_definition>(
    {{254, 550}, {255, 120}, {256, 100}, {257, 160}, {253, 120}, {263, 80}, {258, 80}, {250, 80}, {137, 60}});
constexpr auto log_ini_columns =
    std::to_array<column_definition>({{249, 600}, {259, 120}, {254, 80}, {130, 80}, {260, 120}, {261, 80}});
constexpr auto log_shell_columns = std::to_array<column_definition>({{264, 400}, {265, 120}, {253, 80}, {262, 120}});
constexpr auto log_general_columns = std::to_array<column_definition>({{266, 200}, {139, 120}});
constexpr auto log_dotnet_columns =
    std::to_array<column_definition>({{249, 300}, {131, 120}, {267, 120}, {250, 80}, {268, 120}});

constexpr auto table = std::to_array<ColumnSet>({
    {NODEKIND_FEATURE, property_columns},
    {NODEKIND_COMPONENT, property_columns},
    {NODEKIND_SETUP_TYPE, property_columns},
    {NODEKIND_SHELL_FOLDER, property_columns},
    {NODEKIND_MEDIA_SETTINGS, property_columns},
    {NODEKIND_LOG_FEATURE, property_columns},
    {NODEKIND_SHELL_SHORTCUT, property_columns},
    {NODEKIND_COMPONENT_FILES, file_columns},
    {NODEKIND_REGISTRY_KEY, registry_set_columns},
    {NODEKIND_REGISTRY_VALUES, registry_key_columns},
    {NODEKIND_LOG_FILE, log_file_columns},
    {NODEKIND_LOG_FILEREG, log_filereg_columns},
    {NODEKIND_LOG_REGISTRY, log_registry_columns},
    {NODEKIND_LOG_INI, log_ini_columns},
    {NODEKIND_LOG_SHELL, log_shell_columns},
    {NODEKIND_LOG_GENERAL, log_general_columns},
    {NODEKIND_LOG_DOTNET, log_dotnet_columns},
});

} // namespace

std::span<const ColumnSet> column_sets() noexcept
{
    return table;
}

const ColumnSet* find_column_set(node_kind kind) noexcept
{
    for (const ColumnSet& entry : table)
        if (entry.kind == kind)
            return &entry;
    return nullptr;
}

} // namespace cw
