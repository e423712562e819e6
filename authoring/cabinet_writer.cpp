#include "authoring/cabinet_writer.h"

#include "authoring/dates.h"
#include "authoring/error.h"
#include "authoring/mszip.h"

#include <algorithm>
#include <cstdio>
#include <system_error>

namespace cw::authoring {
namespace {

constexpr std::size_t cabinet_header_size = 36;
constexpr std::size_t folder_record_size = 8;
constexpr std::size_t file_record_size = 16;
constexpr std::size_t largest_file_record_size = file_record_size + formats::largest_stored_name_in_bytes + 1;
// Numbers from 0xFFFD on mark continued files.
constexpr std::size_t largest_folder_count = 60'000;
constexpr std::uint16_t attribute_archive = 0x20;
constexpr std::uint16_t attribute_utf8_name = 0x80;

bool is_ascii(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

std::string part_name(const std::string& name, std::uint32_t part)
{
    char number[16];
    std::snprintf(number, sizeof number, ".%03u", part + 1);
    const std::string whole = name + number;
    return whole.size() <= formats::largest_stored_name_in_bytes ? whole : with_addition(name, number);
}

} // namespace

struct cabinet_writer::volume {
    struct folder {
        std::uint64_t data_offset;
        std::size_t blocks;
    };

    int number;
    std::filesystem::path data_path;
    output_file data;
    std::uint64_t data_size = 0;
    std::vector<folder> folders;
    std::vector<std::uint8_t> entries;
    std::uint32_t entry_count = 0;
    stored_name_set names;

    [[nodiscard]] std::uint64_t size() const
    {
        return cabinet_header_size + folders.size() * folder_record_size + entries.size() + data_size;
    }
};

cabinet_writer::cabinet_writer(staged_files& stage, std::string stem, const cabinet_options& options,
                               placed_callback placed)
    : m_stage(stage), m_stem(std::move(stem)), m_options(options), m_placed(std::move(placed))
{
    const auto check = [](const char* what, std::uint64_t value, std::uint64_t low, std::uint64_t high) {
        if (value < low || value > high)
            throw error(std::string(what) + " must be from " + std::to_string(low) + " to " + std::to_string(high) +
                        ", not " + std::to_string(value));
    };
    check("the folder size", m_options.folder_size_in_bytes, smallest_folder_size_in_bytes,
          largest_folder_size_in_bytes);
    check("the volume size", m_options.volume_size_in_bytes, smallest_volume_size_in_bytes,
          formats::largest_volume_size_in_bytes);
    check("the number of files in a volume", m_options.files_per_volume, 1, formats::largest_volume_file_count);
}

cabinet_writer::~cabinet_writer() = default;

/// How many clear bytes a folder may hold so that it goes into an empty volume even where nothing
/// of it can be compressed.
std::size_t cabinet_writer::folder_limit(std::size_t file_count) const
{
    const std::uint64_t records = cabinet_header_size + folder_record_size + file_count * largest_file_record_size;
    if (records >= m_options.volume_size_in_bytes)
        return 0;
    const std::uint64_t room = m_options.volume_size_in_bytes - records;
    const std::uint64_t blocks = room / (block_size_in_bytes + largest_block_growth_in_bytes) + 1;
    const std::uint64_t growth = blocks * largest_block_growth_in_bytes;
    return static_cast<std::size_t>(std::min(m_options.folder_size_in_bytes, room > growth ? room - growth : 0));
}

void cabinet_writer::begin_file(std::string_view name, double date)
{
    const std::uint64_t least_limit = std::max<std::uint64_t>(m_folder.size(), smallest_folder_size_in_bytes);
    if (m_pending.size() == m_options.files_per_volume || folder_limit(m_pending.size() + 1) < least_limit)
        write_folder(m_folder.size(), m_pending.size());
    m_pending.push_back({m_fileCount++, std::string(name), dos_date_time(date), 0, m_folder.size(), false});
}

void cabinet_writer::write(std::span<const std::uint8_t> data)
{
    while (!data.empty()) {
        const std::size_t limit = folder_limit(m_pending.size());
        const std::size_t taken = std::min(data.size(), limit - std::min(limit, m_folder.size()));
        m_folder.insert(m_folder.end(), data.begin(), data.begin() + static_cast<std::ptrdiff_t>(taken));
        data = data.subspan(taken);
        if (data.empty())
            return;
        // The folder is full and the file goes on: into a folder of its own first, and where it
        // begins one already, into the next as a further part.
        if (m_pending.back().offset != 0) {
            write_folder(m_pending.back().offset, m_pending.size() - 1);
        } else {
            pending_file next = m_pending.back();
            m_pending.back().continues = true;
            write_folder(m_folder.size(), m_pending.size());
            ++next.part;
            m_pending.push_back(std::move(next));
        }
    }
}

/// Writes the first `length` bytes of the folder with the first `file_count` files as a folder; what
/// is left begins the next.
void cabinet_writer::write_folder(std::size_t length, std::size_t file_count)
{
    if (file_count == 0)
        return;
    const std::span<const std::uint8_t> clear(m_folder.data(), length);
    std::vector<std::uint8_t> blocks;
    const bool compressed = m_options.compression == cabinet_compression::mszip;
    const std::size_t block_count = compressed ? m_encoder.encode(clear, blocks) : store_blocks(clear, blocks);

    const std::size_t largest_size = folder_record_size + file_count * largest_file_record_size + blocks.size();
    if (m_volume && (m_volume->size() + largest_size > m_options.volume_size_in_bytes ||
                     m_volume->entry_count + file_count > m_options.files_per_volume ||
                     m_volume->folders.size() == largest_folder_count))
        write_volume();
    if (!m_volume) {
        const int number = static_cast<int>(m_written.size()) + 1;
        const std::filesystem::path data_path = m_stage.scratch("volume data");
        m_volume.reset(new volume{
            number, data_path, {data_path, formats::volume_file_name(m_stem + ".hdr", number)}, 0, {}, {}, 0, {}});
    }

    const std::size_t folder_index = m_volume->folders.size();
    m_volume->folders.push_back({m_volume->data_size, block_count});
    m_volume->data.write(blocks);
    m_volume->data_size += blocks.size();
    for (std::size_t i = 0; i < file_count; ++i) {
        const pending_file& file = m_pending[i];
        const std::size_t end = i + 1 < file_count ? m_pending[i + 1].offset : length;
        const bool is_part = file.part != 0 || file.continues;
        const std::string name = m_volume->names.add(is_part ? part_name(file.name, file.part) : file.name);
        std::vector<std::uint8_t>& entries = m_volume->entries;
        append_number(entries, end - file.offset, 4);
        append_number(entries, file.offset, 4);
        append_number(entries, folder_index, 2);
        append_number(entries, file.dos_date_time >> 16, 2);
        append_number(entries, file.dos_date_time & 0xFFFF, 2);
        append_number(entries, attribute_archive | (is_ascii(name) ? 0 : attribute_utf8_name), 2);
        entries.insert(entries.end(), name.begin(), name.end());
        entries.push_back(0);
        // Differences of running shares: all shares of a folder make its size exactly.
        const auto share = [&](std::size_t offset) {
            return length == 0 ? 0 : static_cast<std::uint64_t>(blocks.size()) * offset / length;
        };
        m_placed({file.file, m_volume->number, m_volume->entry_count++, end - file.offset,
                  share(end) - share(file.offset), !file.continues});
    }

    m_folder.erase(m_folder.begin(), m_folder.begin() + static_cast<std::ptrdiff_t>(length));
    m_pending.erase(m_pending.begin(), m_pending.begin() + static_cast<std::ptrdiff_t>(file_count));
    for (pending_file& file : m_pending)
        file.offset -= length;
}

void cabinet_writer::write_volume()
{
    volume& done = *m_volume;
    done.data.close();
    const std::uint64_t entries_offset = cabinet_header_size + done.folders.size() * folder_record_size;
    const std::uint64_t data_offset = entries_offset + done.entries.size();
    std::vector<std::uint8_t> head{'M', 'S', 'C', 'F'};
    append_number(head, 0, 4);
    append_number(head, done.size(), 4);
    append_number(head, 0, 4);
    append_number(head, entries_offset, 4);
    append_number(head, 0, 4);
    append_number(head, 0x0103, 2); // version 1.3
    append_number(head, done.folders.size(), 2);
    append_number(head, done.entry_count, 2);
    append_number(head, 0, 2);
    append_number(head, m_options.set_id, 2);
    append_number(head, static_cast<std::uint64_t>(done.number) - 1, 2);
    for (const volume::folder& folder : done.folders) {
        append_number(head, data_offset + folder.data_offset, 4);
        append_number(head, folder.blocks, 2);
        append_number(head, m_options.compression == cabinet_compression::mszip ? 1 : 0, 2);
    }
    const std::string name = formats::volume_file_name(m_stem + ".hdr", done.number);
    output_file file(m_stage.add(name), name);
    file.write(head);
    file.write(done.entries);
    file.append_file(done.data_path);
    file.close();
    std::error_code ignored;
    std::filesystem::remove(done.data_path, ignored);
    m_written.push_back({done.number, done.size(), done.entry_count});
    m_volume.reset();
}

std::vector<written_volume> cabinet_writer::finish()
{
    write_folder(m_folder.size(), m_pending.size());
    if (m_volume)
        write_volume();
    return m_written;
}

} // namespace cw::authoring
