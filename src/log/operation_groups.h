// The groups that operations come in, by their type: what a group is called, in the tree and in
// reports, and which node it gets.
#pragma once

#include "bridges/log_interface.h"
#include "media/nav_node.h"

#include <array>
#include <string_view>

namespace cw {

struct operation_group {
    std::u16string_view type;
    std::u16string_view label;
    node_kind kind;
};

// Program groups are shown as files are, and so with the list of the files.
inline constexpr auto operation_groups = std::to_array<operation_group>({
    {log_operation_type::file, u"File Operations", NODEKIND_LOG_FILE},
    {log_operation_type::shell, u"Explorer Shell Operations", NODEKIND_LOG_SHELL},
    {log_operation_type::registry, u"Registry Operations", NODEKIND_LOG_REGISTRY},
    {log_operation_type::registry64, u"Registry Operations", NODEKIND_LOG_REGISTRY},
    {log_operation_type::progman, u"Progman Operations", NODEKIND_LOG_FILE},
    {log_operation_type::ini, u"INI File Operations", NODEKIND_LOG_INI},
    {log_operation_type::filereg, u"Self-Registration Operations", NODEKIND_LOG_FILEREG},
    {log_operation_type::dotnet, u".NET Operations", NODEKIND_LOG_DOTNET},
});

/// The group of a type. One that is not in the table is its own label, borrowed, and shows general
/// operations.
[[nodiscard]] constexpr operation_group group_of(std::u16string_view type) noexcept
{
    for (const operation_group& group : operation_groups)
        if (group.type == type)
            return group;
    return {type, type, NODEKIND_LOG_GENERAL};
}

} // namespace cw
