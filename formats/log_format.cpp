#include "formats/log_format.h"

namespace cw::formats {
namespace {

/// Texts that are converted keep the type that they were recorded with.
std::string_view storage_class(log_element_form form)
{
    switch (form) {
    case log_element_form::text:
        return " TEXT";
    case log_element_form::converted_text:
        return "";
    default:
        return " INTEGER";
    }
}

} // namespace

const operation_table* find_operation_table(std::u16string_view type) noexcept
{
    for (const operation_table& candidate : operation_tables)
        if (candidate.type == type)
            return &candidate;
    return nullptr;
}

std::string create_statement(const log_table& definition)
{
    std::string statement = "CREATE TABLE ";
    statement.append(definition.name).append(" (").append(definition.columns).append(")");
    if (!definition.options.empty())
        statement.append(" ").append(definition.options);
    return statement;
}

std::string create_statement(const operation_table& definition)
{
    std::string columns = "feature INTEGER NOT NULL, position INTEGER NOT NULL";
    for (const record_column& column : definition.columns)
        columns.append(", ").append(column.name).append(storage_class(column.element.form));
    columns.append(", PRIMARY KEY (feature, position)");
    return create_statement(log_table{definition.name, columns, "WITHOUT ROWID"});
}

std::string column_list(std::span<const record_column> columns)
{
    std::string list;
    for (const record_column& column : columns) {
        if (!list.empty())
            list.append(", ");
        list.append(column.name);
    }
    return list;
}

} // namespace cw::formats
