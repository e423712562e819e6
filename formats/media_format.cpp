#include "formats/media_format.h"

namespace cw::formats {
namespace {

std::string_view storage_class(VARTYPE type)
{
    return type == VT_BSTR ? "TEXT" : "INTEGER";
}

} // namespace

std::string create_statement(const table& definition)
{
    std::string statement = "CREATE TABLE ";
    statement.append(definition.name).append(" (").append(definition.own_columns);
    for (const member_column& column : definition.members)
        statement.append(", ").append(column.name).append(" ").append(storage_class(column.member.type));
    if (!definition.constraints.empty())
        statement.append(", ").append(definition.constraints);
    statement.append(")");
    if (!definition.options.empty())
        statement.append(" ").append(definition.options);
    return statement;
}

std::string member_column_list(std::span<const member_column> members)
{
    std::string list;
    for (const member_column& column : members)
        list.append(", ").append(column.name);
    return list;
}

std::string volume_file_name(std::string_view header_file_name, int number)
{
    std::string name(header_file_name);
    constexpr std::string_view extension = ".hdr";
    if (name.size() >= extension.size()) {
        bool matches = true;
        for (std::size_t i = 0; i < extension.size(); ++i) {
            const char c = name[name.size() - extension.size() + i];
            matches = matches && (c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c) == extension[i];
        }
        if (matches)
            name.resize(name.size() - extension.size());
    }
    return name + std::to_string(number) + ".cab";
}

} // namespace cw::formats
