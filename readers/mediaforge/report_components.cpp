// Components and their files, which can be a million: a file is one line, and its row is read once.

#include "readers/mediaforge/report_sections.h"

#include "formats/md5.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string>

namespace cw::mediaforge {
namespace {

constexpr unsigned own_columns = 2;
constexpr unsigned file_count_column = 1;

constexpr unsigned of_component(const media_member_row& member)
{
    return column_of(formats::component_columns, member, own_columns);
}

/// The number of a language, which is stored in hexadecimal digits.
bool write_language(report_text& text, const storage::typed_row& row, unsigned column)
{
    constexpr std::size_t most_digits = 8;
    const std::string_view stored = row.text(column);
    std::uint64_t number = 0;
    for (const char c : stored) {
        const char lower = static_cast<char>(c | 0x20);
        if (stored.size() > most_digits || !((c >= '0' && c <= '9') || (lower >= 'a' && lower <= 'f'))) {
            text.add_shown(stored);
            return true;
        }
        number = number * 16 + static_cast<std::uint64_t>(c <= '9' ? c - '0' : lower - 'a' + 10);
    }
    text.add_number(number);
    return number != 0;
}

struct overwrite_word {
    std::uint32_t bit;
    std::u16string_view word;
};
constexpr auto overwrite_words = std::to_array<overwrite_word>({
    {0x200, u"NEWER_VERSION"},
    {0x400, u"OLDER_VERSION"},
    {0x100, u"SAME_VERSION"},
    {0x20, u"NEWER_DATE"},
    {0x40, u"OLDER_DATE"},
    {0x10, u"SAME_DATE"},
});
constexpr std::uint32_t all_overwrite_bits()
{
    std::uint32_t bits = 0;
    for (const overwrite_word& each : overwrite_words)
        bits |= each.bit;
    return bits;
}
constexpr auto whole_overwrite_values = std::to_array<value_name>({{1, u"ALWAYS_OVERWRITE"}, {2, u"NEVER_OVERWRITE"}});
const value_name* whole_overwrite_value(const storage::typed_row& row, unsigned column)
{
    const auto value = static_cast<std::int32_t>(row.integer(column, 0));
    const auto found = std::ranges::find(whole_overwrite_values, value, &value_name::value);
    return found != whole_overwrite_values.end() ? &*found : nullptr;
}

/// When a file takes the place of one that is there: always, never, or as the words say.
bool write_overwrite(report_text& text, const storage::typed_row& row, unsigned column)
{
    if (const value_name* whole = whole_overwrite_value(row, column)) {
        text.add(whole->name);
        return true;
    }
    const auto flags = static_cast<std::uint32_t>(row.integer(column, 0));
    bool any = false;
    for (const overwrite_word& each : overwrite_words) {
        if (!(flags & each.bit))
            continue;
        if (any)
            text.add(u", ");
        text.add(each.word);
        any = true;
    }
    return any;
}

bool write_other_overwrite(report_text& text, const storage::typed_row& row, unsigned column)
{
    return !whole_overwrite_value(row, column) && write_flags_but(text, row, column, all_overwrite_bits());
}

/// A number that says more than yes or no.
bool write_number_beyond_yes(report_text& text, const storage::typed_row& row, unsigned column)
{
    return static_cast<std::int32_t>(row.integer(column, 0)) != 1 && write_number_but_zero(text, row, column);
}

constexpr auto component_lines = std::to_array<member_line>({
    {u"Destination", of_component(media_component::Destination), write_text},
    {u"Overwrite", of_component(media_component::Overwrite), write_overwrite},
    {u"Other Overwrite Flags", of_component(media_component::Overwrite), write_other_overwrite},
    {u"Operating System(s)", of_component(media_component::OperatingSystems), write_text},
    {u"Platform Suites", of_component(media_component::PlatformSuites), write_number_but_zero},
    {u"Language", of_component(media_component::Language), write_language},
    {u"FTP Location", of_component(media_component::FtpLocation), write_text},
    {u"HTTP Location", of_component(media_component::HttpLocation), write_text},
    {u"Miscellaneous", of_component(media_component::Miscellaneous), write_text},
});
constexpr std::uint32_t encrypted_flag = 2;
constexpr std::uint32_t data_as_files_flag = 8;
constexpr auto component_words = std::to_array<member_word>({
    {u"Shared", of_component(media_component::Shared)},
    {u"Uninstall", of_component(media_component::Uninstall)},
    {u"Self-Registering", of_component(media_component::SelfRegistering)},
    {u"Potentially Locked", of_component(media_component::PotentiallyLocked)},
    {u"Compressed", of_component(media_component::Compressed)},
    {u"Encrypted", of_component(media_component::StorageFlags), encrypted_flag},
    {u"Data as files", of_component(media_component::StorageFlags), data_as_files_flag},
    {u".NET Assembly", of_component(media_component::DotNetAssembly), any_bit_of_32},
    {u"64-Bit", of_component(media_component::SixtyFourBit)},
});
constexpr auto component_rest = std::to_array<member_line>({
    {u".NET Assembly", of_component(media_component::DotNetAssembly), write_number_beyond_yes},
    {u"Other Storage Flags", of_component(media_component::StorageFlags),
     write_other_flags<encrypted_flag | data_as_files_flag>},
});

// ---- files ----------------------------------------------------------------------------------

/// A column of the lines of files, behind their names.
struct file_column {
    std::u16string_view heading;
    std::size_t width;
    bool is_number;
    bool has_any_in_plain_cabinets;
    unsigned column;
    void (*write)(report_text& text, const child_rows& file, const file_column& shape);
};

void write_size(report_text& text, const child_rows& file, const file_column& shape)
{
    text.add_right(file.natural(shape.column, std::numeric_limits<std::int64_t>::max()), shape.width);
}

void write_date(report_text& text, const child_rows& file, const file_column& shape)
{
    const double date = file.real(shape.column);
    if (!text.add_date(date))
        text.add_real(date);
}

void write_shown(report_text& text, const child_rows& file, const file_column& shape)
{
    text.add_shown(file.text(shape.column));
}

void write_signature(report_text& text, const child_rows& file, const file_column& shape)
{
    const formats::byte_view stored = file.blob(shape.column);
    if (!file.is_null(shape.column) && stored.size() != std::tuple_size_v<formats::md5_digest>)
        file.contradict(u"a signature is not 16 bytes");
    text.add_bytes(stored);
}

void write_flags(report_text& text, const child_rows& file, const file_column& shape)
{
    const auto flags = static_cast<std::uint32_t>(file.integer(shape.column, 0));
    if (flags != 0)
        text.add_flags(flags);
}

constexpr char file_query[] = "SELECT component, position, name, size, compressed_size, date, version, md5, flags "
                              "FROM file ORDER BY component, position";
constexpr unsigned name_column = 2;
constexpr auto file_columns = std::to_array<file_column>({
    {u"Size", 11, true, true, 3, write_size},
    {u"Compressed Size", 15, true, false, 4, write_size},
    {u"Date", 19, false, true, 5, write_date},
    {u"Version", 15, false, false, 6, write_shown},
    {u"MD5 Signature", 32, false, false, 7, write_signature},
    {u"Flags", 10, false, false, 8, write_flags},
});
constexpr std::u16string_view name_heading = u"Filename";
constexpr std::size_t name_width = 36;
constexpr std::size_t column_gap = 2;
/// A row of this name stands for no file.
constexpr std::string_view no_file = "\\";

class file_lines {
public:
    explicit file_lines(media_store& media)
        : m_files(media.source(), "file", file_query), m_isPlainCabinet(media.is_plain_cabinet())
    {
    }
    /// `count` is how many there are to be.
    void add(report_text& text, std::size_t indent, std::int64_t component, std::int64_t count)
    {
        std::int64_t told = 0;
        for (; m_files.next(component); ++told) {
            if (told == 0)
                add_headings(text, indent);
            add_file(text, indent);
        }
        if (told != count)
            m_files.contradict(u"the rows are not as many as their component says");
        if (told != 0)
            return;
        begin_value(text, indent, u"Files");
        text.add(u"(none)");
        text.end_line();
    }
    void finish() { m_files.finish(); }

private:
    void add_file(report_text& text, std::size_t indent) const
    {
        const std::string_view name = m_files.text(name_column);
        const bool is_file = name != no_file;
        text.add_blanks(indent);
        text.add_shown(name);
        if (is_file) {
            // What does not fit leaves the line to itself, so that the columns stand.
            std::size_t reached = text.column();
            if (reached > indent + name_width) {
                text.end_line();
                reached = 0;
            }
            add_cells(text, indent + name_width - reached,
                      [&](const file_column& column) { column.write(text, m_files, column); });
        }
        text.end_line();
    }
    void add_headings(report_text& text, std::size_t indent) const
    {
        text.end_line();
        text.add_blanks(indent);
        text.add(name_heading);
        add_cells(text, name_width - name_heading.size(), [&](const file_column& column) {
            if (column.is_number)
                text.add_blanks(column.width - column.heading.size());
            text.add(column.heading);
        });
        text.end_line();
    }
    /// `missing` blanks lead up to where the name's column ends. None are left behind the last cell that
    /// has something.
    template <class Write>
    void add_cells(report_text& text, std::size_t missing, Write write) const
    {
        for (const file_column& column : file_columns) {
            if (m_isPlainCabinet && !column.has_any_in_plain_cabinets)
                continue;
            const std::size_t begin = text.size();
            text.add_blanks(missing + column_gap);
            const std::size_t cell = text.size();
            write(column);
            if (text.size() == cell) {
                text.cut(begin);
                missing += column_gap + column.width;
            } else {
                const std::size_t used = text.width_from(cell);
                missing = used < column.width ? column.width - used : 0;
            }
        }
    }

    child_rows m_files;
    bool m_isPlainCabinet;
};

} // namespace

void compose_components(report_text& text, media_store& media)
{
    storage::typed_row component(media.source(), "component",
                                 "SELECT id, file_count" + formats::member_column_list(formats::component_columns) +
                                     " FROM component ORDER BY id");
    file_lines files(media);
    const std::size_t indent = indent_of(1) + indent_a_level;
    while (component.step()) {
        add_heading(text, 1, u"Component", component.text(of_component(media_component::Name)));
        add_lines(text, indent, component, component_lines);
        add_words(text, indent, u"Options", component, component_words);
        add_lines(text, indent, component, component_rest);
        files.add(text, indent, component.integer(0), component.integer(file_count_column));
    }
    files.finish();
}

} // namespace cw::mediaforge
