#include "readers/mediaforge/plain_cabinet.h"

#include "automation/date.h"
#include "readers/storage/text.h"

#include <algorithm>
#include <array>
#include <string>
#include <unordered_map>
#include <vector>

namespace cw::mediaforge {
namespace {

// Format 1.03, the only one that cabinets have, in a number that is shown as a Unicode format's.
constexpr std::int64_t cabinet_format_version = 0x4000000 + 103;

struct code_point_range {
    char32_t first, last;
};
/// Characters that are not shown but change how others are.
constexpr auto unshown = std::to_array<code_point_range>({
    {0x00, 0x1F},
    {0x7F, 0x9F},
    {0x200B, 0x200F},
    {0x2028, 0x202E},
    {0x2060, 0x2069},
    {0xFEFF, 0xFEFF},
    {0xFFF9, 0xFFFB},
});

std::string shown_text(std::string_view text)
{
    std::string result;
    while (!text.empty()) {
        const storage::decoded_code_point point = storage::decode_utf8(text);
        text.remove_prefix(point.length);
        const bool hidden = std::any_of(unshown.begin(), unshown.end(), [&](const code_point_range& range) {
            return point.value >= range.first && point.value <= range.last;
        });
        storage::append_utf8(result, point.valid && !hidden ? point.value : 0xFFFD);
    }
    return result;
}

/// The names of one component. Files are found by name, so a name that comes again is numbered.
class name_set {
public:
    std::string add(const std::string& name)
    {
        if (m_uses.try_emplace(name, 1).second)
            return name;
        for (;;) {
            std::string numbered = name + " (" + std::to_string(++m_uses[name]) + ")";
            if (m_uses.try_emplace(numbered, 1).second)
                return numbered;
        }
    }

private:
    std::unordered_map<std::string, unsigned> m_uses;
};

double entry_date(const mscabd_file& entry)
{
    SYSTEMTIME fields{};
    fields.wYear = static_cast<WORD>(entry.date_y);
    fields.wMonth = static_cast<WORD>(entry.date_m);
    fields.wDay = static_cast<WORD>(entry.date_d);
    fields.wHour = static_cast<WORD>(entry.time_h);
    fields.wMinute = static_cast<WORD>(entry.time_m);
    fields.wSecond = static_cast<WORD>(entry.time_s);
    DATE date = 0;
    return SystemTimeToVariantTime(&fields, &date) ? date : 0;
}

/// "INSERT INTO table (a, b, c) VALUES (?, ?, ?)".
storage::statement insertion(storage::database& target, const std::string& table, const std::string& columns)
{
    std::string values = "?";
    for (const char c : columns)
        if (c == ',')
            values += ", ?";
    return {target, "INSERT INTO " + table + " (" + columns + ") VALUES (" + values + ")"};
}

void insert(storage::statement& row)
{
    (void)row.step();
    row.reset();
}

std::string file_stem(const std::string& path)
{
    const std::string name = shown_text(file_name_of(path));
    const std::size_t dot = name.rfind('.');
    return dot == 0 || dot == std::string::npos ? name : name.substr(0, dot);
}

void fill_single_rows(storage::database& target, const std::string& stem)
{
    target.execute(("INSERT INTO media (id, media_id, format_version) VALUES (1, zeroblob(16), " +
                    std::to_string(cabinet_format_version) + ")")
                       .c_str());
    target.execute("INSERT INTO arp_info (id) VALUES (1)");
    storage::statement settings = insertion(target, "media_settings", "id, product_name");
    settings.bind(1, std::int64_t{1});
    settings.bind(2, stem);
    insert(settings);
    storage::statement feature = insertion(target, "feature", "id, parent, position, visible, name, display_name");
    for (const int column : {1, 4})
        feature.bind(column, std::int64_t{1});
    for (const int column : {2, 3})
        feature.bind(column, std::int64_t{0});
    for (const int column : {5, 6})
        feature.bind(column, stem);
    insert(feature);
}

void fill_files(storage::database& target, const cabinet& content)
{
    storage::statement component = insertion(target, "component", "id, file_count, compressed, name");
    storage::statement included = insertion(target, "feature_component", "feature, position, component");
    storage::statement file =
        insertion(target, "file", "component, position, volume, entry, name, size, date, compressed_size");
    file.bind(3, std::int64_t{1});
    file.bind(8, std::int64_t{0});
    included.bind(1, std::int64_t{1});

    std::unordered_map<const mscabd_folder*, std::vector<std::size_t>> by_folder;
    for (std::size_t i = 0; i < content.entries().size(); ++i)
        by_folder[content.entries()[i]->folder].push_back(i);
    std::int64_t id = 0;
    for (const mscabd_folder* folder = content.folders(); folder; folder = folder->next) {
        const std::vector<std::size_t>& entries = by_folder[folder];
        ++id;
        component.bind(1, id);
        component.bind(2, static_cast<std::int64_t>(entries.size()));
        component.bind(3, std::int64_t{MSCABD_COMP_METHOD(folder->comp_type) != MSCAB_COMP_NONE});
        component.bind(4, "Folder " + std::to_string(id));
        insert(component);
        included.bind(2, id - 1);
        included.bind(3, id);
        insert(included);
        name_set names;
        std::int64_t position = 0;
        for (const std::size_t entry : entries) {
            const mscabd_file& stored = *content.entries()[entry];
            file.bind(1, id);
            file.bind(2, position++);
            file.bind(4, static_cast<std::int64_t>(entry));
            file.bind(5, names.add(harmless_name(stored.filename, (stored.attribs & MSCAB_ATTRIB_UTF_NAME) != 0)));
            file.bind(6, static_cast<std::int64_t>(stored.length));
            file.bind(7, entry_date(stored));
            insert(file);
        }
    }
}

} // namespace

std::string harmless_name(std::string_view stored, bool is_utf8)
{
    std::string text = shown_text(is_utf8 || storage::is_well_formed_utf8(stored) ? std::string(stored)
                                                                                  : storage::latin1_to_utf8(stored));
    std::replace(text.begin(), text.end(), '/', '\\');
    std::replace(text.begin(), text.end(), ':', '_');
    std::string name;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find('\\', start), text.size());
        std::string part = text.substr(start, end - start);
        start = end + 1;
        if (part.empty() || part == ".")
            continue;
        if (part == "..")
            part = "__";
        if (!name.empty())
            name += '\\';
        name += part;
    }
    return name.empty() ? "_" : name;
}

media_handle open_plain_cabinet(const std::string& path, const std::shared_ptr<error_record>& last_error)
{
    std::unique_ptr<cabinet> content;
    try {
        content = std::make_unique<cabinet>(path);
        content->join_neighbours();
    } catch (const cabinet_error& error) {
        throw media_failure(error_number::not_a_media, path, error.reason, error.system_error);
    }
    std::unique_ptr<storage::database> source = storage::database::make_empty(path, &raise_fault);
    source->execute("BEGIN");
    for (const formats::table& table : formats::header_tables)
        source->execute(formats::create_statement(table).c_str());
    fill_single_rows(*source, file_stem(path));
    fill_files(*source, *content);
    for (const std::string_view index : formats::header_indexes)
        source->execute(std::string(index).c_str());
    source->execute("COMMIT");
    source->execute("PRAGMA query_only = ON");
    return std::make_shared<media_store>(std::move(source), path, std::move(content), last_error);
}

} // namespace cw::mediaforge
