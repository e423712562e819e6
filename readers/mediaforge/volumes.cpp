#include "readers/mediaforge/volumes.h"

#include "readers/mediaforge/errors.h"
#include "readers/storage/text.h"

#include <limits>
#include <utility>

namespace cw::mediaforge {
namespace {

constexpr std::int64_t largest_set_id = 0xFFFF;
constexpr std::int64_t most_entries = 0xFFFF;

std::u16string sizes_text(std::u16string_view what, std::uint64_t found, std::int64_t expected)
{
    std::u16string text(what);
    return text.append(u" ")
        .append(storage::to_utf16(std::to_string(found)))
        .append(u" and not ")
        .append(storage::to_utf16(std::to_string(expected)));
}

} // namespace

std::string volumes::volume_name(int number) const
{
    const std::string own_name = file_name_of(m_headerPath);
    return m_plainStamps.empty() ? formats::volume_file_name(own_name, number) : own_name;
}

cabinet& volumes::open(int number)
{
    // A volume may have been mended or exchanged since it was used last.
    if (m_open && m_openNumber == number && m_open->is_unchanged())
        return *m_open;
    m_open.reset();
    if (m_plainStamps.empty())
        open_volume(number);
    else
        open_plain();
    m_openNumber = number;
    return *m_open;
}

void volumes::open_plain()
{
    const std::string name = file_name_of(m_headerPath);
    std::unique_ptr<cabinet> opened;
    try {
        opened = std::make_unique<cabinet>(m_headerPath);
        opened->join_neighbours();
    } catch (const cabinet_error& error) {
        throw media_failure(error_number::volume_damaged, name, error.reason, error.system_error);
    }
    // Entries were listed from the files as they were; a neighbour that came or went counts too.
    if (opened->stamps() != m_plainStamps)
        throw media_failure(error_number::volume_foreign, name, u"it or a neighbour has changed since it was opened");
    m_open = std::move(opened);
}

void volumes::open_volume(int number)
{
    row_cursor& row = m_rows[rows::volume];
    if (!row.find({number}))
        row.contradict(u"volume " + storage::to_utf16(std::to_string(number)) + u" is not listed");
    const std::int64_t size = row.natural(0, std::numeric_limits<std::int64_t>::max());
    const std::int64_t set_id = row.natural(1, largest_set_id);
    const std::int64_t entries = row.natural(2, most_entries);

    const std::string folder = folder_of(m_headerPath);
    const std::string name = volume_name(number);
    const std::string path = find_file(folder, name);
    if (path.empty())
        throw media_failure(error_number::volume_missing, name,
                            u"it should lie in \"" + storage::to_utf16(folder) + u"\"", ENOENT);
    std::unique_ptr<cabinet> opened;
    try {
        opened = std::make_unique<cabinet>(path);
    } catch (const cabinet_error& error) {
        throw media_failure(error_number::volume_damaged, name, error.reason, error.system_error);
    }
    if (opened->set_id() != set_id)
        throw media_failure(error_number::volume_foreign, name,
                            sizes_text(u"the number of its set is", opened->set_id(), set_id));
    if (opened->size_in_bytes() != static_cast<std::uint64_t>(size))
        throw media_failure(error_number::volume_foreign, name,
                            sizes_text(u"its size in bytes is", opened->size_in_bytes(), size));
    if (opened->entries().size() != static_cast<std::uint64_t>(entries))
        throw media_failure(error_number::volume_foreign, name,
                            sizes_text(u"its number of entries is", opened->entries().size(), entries));
    m_open = std::move(opened);
}

void volumes::read(std::int64_t number, std::int64_t entry, const byte_sink& sink)
{
    if (number < 1 || number > std::numeric_limits<int>::max())
        m_rows[rows::volume].contradict(u"there is no volume " + storage::to_utf16(std::to_string(number)));
    cabinet& source = open(static_cast<int>(number));
    if (entry < 0 || static_cast<std::uint64_t>(entry) >= source.entries().size())
        m_rows[rows::volume].contradict(u"volume " + storage::to_utf16(std::to_string(number)) + u" has no entry " +
                                        storage::to_utf16(std::to_string(entry)));
    try {
        source.read(static_cast<std::size_t>(entry), sink);
    } catch (const cabinet_error& error) {
        const std::unique_ptr<cabinet> failed = std::exchange(m_open, nullptr);
        const std::string name = volume_name(m_openNumber);
        if (!failed->missing_neighbour().empty())
            throw media_failure(error_number::continuation_missing, name, failed->missing_neighbour());
        throw media_failure(error_number::volume_damaged, name, error.reason, error.system_error);
    } catch (...) {
        // libmspack stopped in the middle of a folder.
        m_open.reset();
        throw;
    }
}

} // namespace cw::mediaforge
