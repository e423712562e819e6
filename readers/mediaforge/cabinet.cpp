#include "readers/mediaforge/cabinet.h"

#include "readers/mediaforge/cabinet_system.h"
#include "readers/storage/text.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <new>
#include <utility>

namespace cw::mediaforge {
namespace {

constexpr int decompression_buffer_in_bytes = 64 * 1024;
// A set that names its own members again and again must come to an end.
constexpr std::size_t most_cabinets_of_a_set = 1000;

std::u16string_view reason_of(int code)
{
    switch (code) {
    case MSPACK_ERR_OPEN:
        return u"it cannot be opened";
    case MSPACK_ERR_READ:
    case MSPACK_ERR_SEEK:
        return u"it ends too early or cannot be read";
    case MSPACK_ERR_SIGNATURE:
        return u"it is not a cabinet";
    case MSPACK_ERR_CHECKSUM:
        return u"a checksum does not match";
    case MSPACK_ERR_DECRUNCH:
        return u"its data cannot be unpacked";
    default:
        return u"its tables make no sense";
    }
}

/// Neighbours are named inside the cabinet; only a plain file name is followed.
bool is_plain_name(std::string_view name)
{
    return !name.empty() && name != "." && name != ".." && name.find_first_of("/\\") == std::string_view::npos;
}

std::size_t folder_count_of(const mscabd_cabinet* cabinet)
{
    std::size_t count = 0;
    for (const mscabd_folder* folder = cabinet->folders; folder; folder = folder->next)
        ++count;
    return count;
}

mscabd_folder* last_folder(const mscabd_cabinet* cabinet)
{
    mscabd_folder* last = cabinet->folders;
    while (last && last->next)
        last = last->next;
    return last;
}

bool has_file(const mscabd_file* files, const mscabd_folder* folder, const mscabd_file& wanted)
{
    for (const mscabd_file* file = files; file; file = file->next)
        if (file->folder == folder && file->offset == wanted.offset && file->length == wanted.length)
            return true;
    return false;
}

} // namespace

bool is_cabinet(formats::byte_view first_bytes) noexcept
{
    constexpr std::uint8_t magic[] = {'M', 'S', 'C', 'F'};
    return first_bytes.size() >= sizeof magic && std::equal(std::begin(magic), std::end(magic), first_bytes.begin());
}

std::string folder_of(const std::string& path)
{
    const std::size_t separator = path.rfind('/');
    if (separator == std::string::npos)
        return ".";
    return path.substr(0, std::max<std::size_t>(separator, 1));
}

std::string file_name_of(const std::string& path)
{
    return path.substr(path.rfind('/') + 1);
}

std::string find_file(const std::string& folder, const std::string& name)
{
    const std::string exact = folder + "/" + name;
    struct stat status;
    if (::stat(exact.c_str(), &status) == 0)
        return exact;
    std::error_code ignored;
    std::string best;
    for (std::filesystem::directory_iterator entry(folder, ignored), end; !ignored && entry != end;
         entry.increment(ignored)) {
        const std::string candidate = entry->path().filename().string();
        // The order of a folder is accidental; the choice among spellings is not.
        if (storage::equal_ignoring_ascii_case(candidate, name) && (best.empty() || candidate < best))
            best = candidate;
    }
    return best.empty() ? best : folder + "/" + best;
}

cabinet::cabinet(const std::string& path) : m_system(std::make_unique<cabinet_system>())
{
    m_decompressor = mspack_create_cab_decompressor(m_system.get());
    if (!m_decompressor)
        throw std::bad_alloc();
    m_decompressor->set_param(m_decompressor, MSCABD_PARAM_DECOMPBUF, decompression_buffer_in_bytes);
    try {
        m_cabinet = open_one(path);
        if (m_cabinet->length > size_in_bytes())
            throw cabinet_error{u"it is cut short"};
        collect_entries();
    } catch (...) {
        if (m_cabinet)
            m_decompressor->close(m_decompressor, m_cabinet);
        mspack_destroy_cab_decompressor(m_decompressor);
        throw;
    }
}

cabinet::~cabinet()
{
    m_decompressor->close(m_decompressor, m_cabinet);
    mspack_destroy_cab_decompressor(m_decompressor);
}

mscabd_cabinet* cabinet::open_one(const std::string& path)
{
    m_paths.push_back(path);
    m_stamps.push_back(storage::stamp_of(path));
    m_system->system_error = 0;
    mscabd_cabinet* opened = m_decompressor->open(m_decompressor, m_paths.back().c_str());
    if (opened)
        return opened;
    const int code = m_decompressor->last_error(m_decompressor);
    if (code == MSPACK_ERR_NOMEMORY)
        throw std::bad_alloc();
    throw cabinet_error{std::u16string(reason_of(code)), m_system->system_error};
}

mscabd_cabinet* cabinet::join_next(mscabd_cabinet* end, bool before)
{
    const char* name = before ? end->prevname : end->nextname;
    if (!name)
        return nullptr;
    const std::string path = is_plain_name(name) ? find_file(folder_of(m_paths.front()), name) : std::string();
    const bool followed = std::find(m_paths.begin(), m_paths.end(), path) == m_paths.end();
    std::u16string_view problem = path.empty() ? u" is not there" : u" does not continue this set";
    if (!path.empty() && followed && m_paths.size() < most_cabinets_of_a_set) {
        mscabd_cabinet* other = nullptr;
        try {
            other = open_one(path);
        } catch (const cabinet_error&) {
            problem = u" cannot be read";
        }
        if (other && other->set_id == m_cabinet->set_id && (before ? merge(other, end) : merge(end, other)))
            return other;
        if (other)
            m_decompressor->close(m_decompressor, other);
    }
    if (!m_missingNeighbour.empty())
        m_missingNeighbour += u"; ";
    m_missingNeighbour.append(u"\"").append(storage::to_utf16(name)).append(u"\"").append(problem);
    return nullptr;
}

/// Joins two neighbours of a set. Where a folder goes from one into the other, libmspack takes all
/// files that the right one has in it for those that the left one has too, and drops them; those
/// that only begin in the right one are kept here.
bool cabinet::merge(mscabd_cabinet* left, mscabd_cabinet* right)
{
    mscabd_folder* left_folder = last_folder(left);
    const mscabd_folder* right_folder = right->folders;
    const std::size_t folder_count = folder_count_of(left) + folder_count_of(right);
    std::list<kept_file> begun;
    for (const mscabd_file* file = right->files; file; file = file->next)
        if (file->folder == right_folder)
            begun.push_back({file->filename, *file});
    if (m_decompressor->append(m_decompressor, left, right) != MSPACK_ERR_OK)
        return false;
    if (folder_count_of(left) == folder_count)
        return true;
    for (kept_file& kept : m_kept)
        if (kept.file.folder == right_folder)
            kept.file.folder = left_folder;
    for (auto kept = begun.begin(); kept != begun.end();) {
        const auto next = std::next(kept);
        if (!has_file(left->files, left_folder, kept->file)) {
            kept->file.folder = left_folder;
            kept->file.filename = kept->name.data();
            m_kept.splice(m_kept.end(), begun, kept);
        }
        kept = next;
    }
    return true;
}

void cabinet::join_neighbours()
{
    mscabd_cabinet* last = m_cabinet;
    while (mscabd_cabinet* other = join_next(m_cabinet, true))
        m_cabinet = other;
    while (mscabd_cabinet* other = join_next(last, false))
        last = other;
    collect_entries();
}

bool cabinet::is_unchanged() const noexcept
{
    return std::ranges::equal(m_paths, m_stamps, {}, storage::stamp_of);
}

void cabinet::collect_entries()
{
    m_entries.clear();
    for (const mscabd_file* file = m_cabinet->files; file; file = file->next)
        m_entries.push_back(file);
    for (const kept_file& kept : m_kept)
        m_entries.push_back(&kept.file);
}

void cabinet::read(std::size_t entry, const byte_sink& sink)
{
    const mscabd_file& file = *m_entries.at(entry);
    const bool stands_alone = m_paths.size() == 1 && m_cabinet->flags == 0;
    m_system->system_error = 0;
    const int code = stands_alone && MSCABD_COMP_METHOD(file.folder->comp_type) == MSCAB_COMP_MSZIP
                         ? read_mszip(file, sink)
                         : read_by_libmspack(file, sink);
    if (code == MSPACK_ERR_NOMEMORY)
        throw std::bad_alloc();
    if (code != MSPACK_ERR_OK)
        throw cabinet_error{std::u16string(reason_of(code)), m_system->system_error};
}

int cabinet::read_mszip(const mscabd_file& file, const byte_sink& sink)
{
    if (!m_mszip)
        m_mszip.emplace(m_paths.front());
    std::size_t index = 0;
    for (const mscabd_folder* folder = m_cabinet->folders; folder != file.folder; folder = folder->next)
        ++index;
    const int code = m_mszip->read(index, file.offset, file.length, sink);
    m_system->system_error = m_mszip->system_error();
    return code;
}

int cabinet::read_by_libmspack(const mscabd_file& file, const byte_sink& sink)
{
    m_system->sink = &sink;
    m_system->failure = nullptr;
    // libmspack does not write to the entries that it hands out as writable.
    const int code = m_decompressor->extract(m_decompressor, const_cast<mscabd_file*>(&file), "");
    m_system->sink = nullptr;
    if (m_system->failure)
        std::rethrow_exception(std::exchange(m_system->failure, nullptr));
    return code;
}

} // namespace cw::mediaforge
