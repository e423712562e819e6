#include "formats/log_format.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

using namespace cw::formats;

TEST(log_format, knows_each_operation_type_once)
{
    ASSERT_EQ(operation_tables.size(), cw::log_operation_type::all.size());
    for (const std::u16string_view type : cw::log_operation_type::all) {
        const operation_table* table = find_operation_table(type);
        ASSERT_NE(table, nullptr);
        EXPECT_EQ(table->type, type);
    }
    EXPECT_EQ(find_operation_table(u"OPTYPE_"), nullptr);
    EXPECT_EQ(find_operation_table(u"optype_file"), nullptr);
    EXPECT_EQ(find_operation_table(u""), nullptr);
}

TEST(log_format, lists_the_registry_before_its_wide_side)
{
    EXPECT_LT(find_operation_table(cw::log_operation_type::registry),
              find_operation_table(cw::log_operation_type::registry64));
}

TEST(log_format, has_a_column_for_each_element_in_its_order)
{
    const auto expect_columns = [](std::u16string_view type, std::size_t count) {
        const operation_table& table = *find_operation_table(type);
        EXPECT_EQ(table.columns.size(), count) << table.name;
        for (std::size_t i = 0; i < table.columns.size(); ++i)
            EXPECT_EQ(table.columns[i].element.index, static_cast<LONG>(i)) << table.name;
    };
    expect_columns(cw::log_operation_type::file, cw::log_file_record::element_count);
    expect_columns(cw::log_operation_type::shell, cw::log_shell_record::element_count);
    expect_columns(cw::log_operation_type::registry, cw::log_registry_record::element_count);
    expect_columns(cw::log_operation_type::registry64, cw::log_registry_record::element_count64);
    expect_columns(cw::log_operation_type::progman, 4);
    expect_columns(cw::log_operation_type::ini, cw::log_ini_record::element_count);
    expect_columns(cw::log_operation_type::filereg, cw::log_filereg_record::element_count);
    expect_columns(cw::log_operation_type::dotnet, cw::log_dotnet_record::element_count);
    expect_columns(cw::log_operation_type::general, cw::log_general_record::element_count);
}

TEST(log_format, names_each_table_and_each_column_once)
{
    std::set<std::string_view> tables;
    for (const log_table& table : log_tables)
        EXPECT_TRUE(tables.insert(table.name).second) << table.name;
    for (const operation_table& table : operation_tables) {
        EXPECT_TRUE(tables.insert(table.name).second) << table.name;
        std::set<std::string_view> columns{"feature", "position"};
        for (const record_column& column : table.columns)
            EXPECT_TRUE(columns.insert(column.name).second) << table.name << " " << column.name;
    }
}

TEST(log_format, writes_the_statement_of_a_table)
{
    EXPECT_EQ(create_statement(log_tables[3]),
              "CREATE TABLE operation_type (id INTEGER PRIMARY KEY, name TEXT NOT NULL UNIQUE)");
    EXPECT_EQ(create_statement(log_table{"t", "a, PRIMARY KEY (a)", "WITHOUT ROWID"}),
              "CREATE TABLE t (a, PRIMARY KEY (a)) WITHOUT ROWID");
    EXPECT_EQ(create_statement(*find_operation_table(cw::log_operation_type::registry64)),
              "CREATE TABLE registry64_operation (feature INTEGER NOT NULL, position INTEGER NOT NULL, key TEXT, "
              "value_name, remote_name TEXT, hive INTEGER, permanent_or_created INTEGER, remote INTEGER, "
              "shared INTEGER, flags, PRIMARY KEY (feature, position)) WITHOUT ROWID");
}

TEST(log_format, lists_columns)
{
    EXPECT_EQ(column_list(shell_operation_columns), "folder_name, shortcut, permanent, created_directory");
    EXPECT_EQ(column_list({}), "");
}

} // namespace
