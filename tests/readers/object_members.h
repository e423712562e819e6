// The members of each object below a media, by the name of its interface: for tests that walk or
// make whole media.
#pragma once

#include "bridges/media_interface.h"

#include <array>
#include <span>
#include <string_view>

namespace cw::reader_tests {

struct object_members {
    std::u16string_view interface_name;
    std::span<const media_member_row> members;
};

inline constexpr auto all_objects = std::to_array<object_members>({
    {media::interface_name, media::all},
    {media_feature::interface_name, media_feature::all},
    {media_feature_property::interface_name, media_feature_property::all},
    {media_component::interface_name, media_component::all},
    {media_file::interface_name, media_file::all},
    {media_setup_type::interface_name, media_setup_type::all},
    {media_shell_folder::interface_name, media_shell_folder::all},
    {media_shortcut::interface_name, media_shortcut::all},
    {media_registry_set::interface_name, media_registry_set::all},
    {media_registry_key::interface_name, media_registry_key::all},
    {media_registry_value::interface_name, media_registry_value::all},
    {media_settings::interface_name, media_settings::all},
    {media_arp_info::interface_name, media_arp_info::all},
    {media_report::interface_name, media_report::all},
});

/// Empty for an interface that is none of these.
[[nodiscard]] constexpr std::span<const media_member_row> members_of(std::u16string_view interface_name)
{
    for (const object_members& entry : all_objects)
        if (entry.interface_name == interface_name)
            return entry.members;
    return {};
}

} // namespace cw::reader_tests
