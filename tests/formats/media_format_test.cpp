#include "formats/media_format.h"

#include <gtest/gtest.h>

#include <cctype>
#include <set>
#include <string>

namespace {

using namespace cw::formats;

TEST(media_format, names_volumes_after_the_header)
{
    EXPECT_EQ(volume_file_name("tour.hdr", 1), "tour1.cab");
    EXPECT_EQ(volume_file_name("tour.HDR", 12), "tour12.cab");
    EXPECT_EQ(volume_file_name("tour.Hdr", 2), "tour2.cab");
    EXPECT_EQ(volume_file_name("tour", 1), "tour1.cab");
    EXPECT_EQ(volume_file_name("tour.hdr.hdr", 1), "tour.hdr1.cab");
    EXPECT_EQ(volume_file_name("tour.hdr.bak", 1), "tour.hdr.bak1.cab");
    EXPECT_EQ(volume_file_name(".hdr", 3), "3.cab");
    EXPECT_EQ(volume_file_name("Прогулки.hdr", 1), "Прогулки1.cab");
}

TEST(media_format, writes_the_statement_of_a_table)
{
    const table definition{"t", "id INTEGER PRIMARY KEY", arp_info_columns, "UNIQUE (id)", "WITHOUT ROWID"};
    EXPECT_EQ(create_statement(definition),
              "CREATE TABLE t (id INTEGER PRIMARY KEY, publisher_url TEXT, support_contact TEXT, support_url TEXT, "
              "support_phone TEXT, read_me TEXT, product_update_url TEXT, comments TEXT, display_icon TEXT, "
              "disable_change_button INTEGER, disable_remove_button INTEGER, combined_buttons INTEGER, UNIQUE (id)) "
              "WITHOUT ROWID");
    const table plain{"p", "a", {}, "", ""};
    EXPECT_EQ(create_statement(plain), "CREATE TABLE p (a)");
}

TEST(media_format, lists_member_columns_behind_own_ones)
{
    EXPECT_EQ(member_column_list(shell_folder_columns), ", name, display_name, shared");
    EXPECT_EQ(member_column_list({}), "");
}

TEST(media_format, names_each_table_and_each_column_once)
{
    std::set<std::string_view> tables;
    for (const table& definition : header_tables) {
        EXPECT_TRUE(tables.insert(definition.name).second) << definition.name;
        std::set<std::string_view> columns;
        for (const member_column& column : definition.members)
            EXPECT_TRUE(columns.insert(column.name).second) << definition.name << " " << column.name;
    }
}

/// "ReadMe" as a column is "read_me".
std::string column_name_of(std::u16string_view member)
{
    std::string name;
    for (const char16_t c : member) {
        const bool upper = c >= u'A' && c <= u'Z';
        if (upper && !name.empty())
            name += '_';
        name += static_cast<char>(upper ? c + 32 : c);
    }
    return name;
}

TEST(media_format, calls_columns_like_their_members)
{
    for (const table& definition : header_tables) {
        for (const member_column& column : definition.members)
            EXPECT_EQ(column.name, column_name_of(column.member.name)) << definition.name;
    }
}

/// Every member of an object that is a text, a number or a boolean has a column.
void expect_all_members(std::span<const cw::media_member_row> members, std::span<const member_column> columns,
                        const std::set<std::u16string_view>& kept_elsewhere = {})
{
    for (const cw::media_member_row& member : members) {
        if (member.type == VT_DISPATCH || member.type == VT_VARIANT || kept_elsewhere.contains(member.name))
            continue;
        bool found = false;
        for (const member_column& column : columns)
            found = found || (column.member.name == member.name && column.member.id == member.id);
        EXPECT_TRUE(found) << column_name_of(member.name);
    }
}

TEST(media_format, has_a_column_for_every_member)
{
    expect_all_members(cw::media::all, media_columns);
    expect_all_members(cw::media_settings::all, media_settings_columns, {u"OldVersionCount"});
    expect_all_members(cw::media_arp_info::all, arp_info_columns);
    expect_all_members(cw::media_feature::all, feature_columns);
    expect_all_members(cw::media_component::all, component_columns);
    expect_all_members(cw::media_shell_folder::all, shell_folder_columns);
    expect_all_members(cw::media_shortcut::all, shortcut_columns);
    expect_all_members(cw::media_setup_type::all, setup_type_columns);
    expect_all_members(cw::media_registry_set::all, registry_set_columns);
    expect_all_members(cw::media_registry_key::all, registry_key_columns);
    expect_all_members(cw::media_registry_value::all, registry_value_columns);
}

TEST(media_format, orders_the_hives)
{
    ASSERT_EQ(registry_hives.size(), 5u);
    EXPECT_EQ(registry_hives[0].name, u"ClassesRootKeys");
    EXPECT_EQ(registry_hives[4].name, u"UserSelectableKeys");
}

} // namespace
