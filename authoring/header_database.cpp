#include "authoring/header_database.h"

#include "authoring/error.h"

#include <sqlite3.h>

#include <algorithm>
#include <stdexcept>

namespace cw::authoring {

row make_row(std::span<const formats::member_column> columns,
             std::initializer_list<std::pair<std::u16string_view, cell>> members)
{
    row result;
    for (const formats::member_column& column : columns)
        result.push_back(column.member.type == VT_BSTR ? cell() : cell(std::int64_t{0}));
    for (const auto& [name, value] : members) {
        const auto found = std::find_if(columns.begin(), columns.end(), [&](const formats::member_column& column) {
            return column.member.name == name;
        });
        if (found == columns.end())
            throw std::invalid_argument("no such member");
        result[static_cast<std::size_t>(found - columns.begin())] = value;
    }
    return result;
}

header_database::header_database(const std::filesystem::path& file)
{
    const std::string name = file.empty() ? ":memory:" : file.string();
    const int result = sqlite3_open_v2(name.c_str(), &m_database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    try {
        if (result != SQLITE_OK)
            fail();
        // Nobody reads the file before it is whole, so nothing is needed to take a step back. The
        // fixed numbers keep the bytes of equal inputs equal.
        for (const char* setting :
             {"page_size = 4096", "auto_vacuum = NONE", "encoding = 'UTF-8'", "journal_mode = OFF", "synchronous = OFF",
              "locking_mode = EXCLUSIVE", "temp_store = MEMORY", "cache_size = -16384"})
            run(std::string("PRAGMA ") + setting);
        run("PRAGMA application_id = " + std::to_string(formats::header_application_id));
        run("PRAGMA user_version = " + std::to_string(formats::header_schema_version));
        run("BEGIN");
        for (const formats::table& table : formats::header_tables)
            run(formats::create_statement(table));
    } catch (...) {
        sqlite3_close(m_database);
        throw;
    }
    m_inserts.resize(formats::header_tables.size());
}

header_database::~header_database()
{
    for (sqlite3_stmt* statement : m_inserts)
        sqlite3_finalize(statement);
    sqlite3_close(m_database);
}

void header_database::fail()
{
    throw error(std::string("cannot write the header: ") +
                (m_database != nullptr ? sqlite3_errmsg(m_database) : sqlite3_errstr(SQLITE_NOMEM)));
}

void header_database::run(const std::string& statement)
{
    if (sqlite3_exec(m_database, statement.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK)
        fail();
}

void header_database::insert(std::size_t table, std::initializer_list<cell> own, const row& members)
{
    sqlite3_stmt*& statement = m_inserts.at(table);
    const int count = static_cast<int>(own.size() + members.size());
    if (statement == nullptr) {
        std::string text = "INSERT INTO ";
        text.append(formats::header_tables[table].name).append(" VALUES (?");
        for (int i = 1; i < count; ++i)
            text.append(", ?");
        text.append(")");
        if (sqlite3_prepare_v3(m_database, text.c_str(), -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr) !=
            SQLITE_OK)
            fail();
    }
    int place = 0;
    const auto bind = [&](const cell& value) {
        ++place;
        struct binder {
            sqlite3_stmt* statement;
            int place;
            int operator()(std::monostate) const { return sqlite3_bind_null(statement, place); }
            int operator()(std::int64_t number) const { return sqlite3_bind_int64(statement, place, number); }
            int operator()(double number) const { return sqlite3_bind_double(statement, place, number); }
            int operator()(const std::string& text) const
            {
                return sqlite3_bind_text64(statement, place, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8);
            }
            int operator()(const formats::bytes& blob) const
            {
                return sqlite3_bind_blob64(statement, place, blob.data(), blob.size(), SQLITE_STATIC);
            }
        };
        if (std::visit(binder{statement, place}, value) != SQLITE_OK)
            fail();
    };
    std::for_each(own.begin(), own.end(), bind);
    std::for_each(members.begin(), members.end(), bind);
    const bool done = sqlite3_step(statement) == SQLITE_DONE;
    if (sqlite3_reset(statement) != SQLITE_OK || !done)
        fail();
}

void header_database::finish()
{
    for (const std::string_view index : formats::header_indexes)
        run(std::string(index));
    run("COMMIT");
}

formats::bytes header_database::image()
{
    sqlite3_int64 size = 0;
    unsigned char* data = sqlite3_serialize(m_database, "main", &size, 0);
    if (data == nullptr)
        fail();
    const formats::bytes result(data, data + size);
    sqlite3_free(data);
    return result;
}

} // namespace cw::authoring
