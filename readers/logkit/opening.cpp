#include "readers/logkit/opening.h"

#include "formats/media_format.h"
#include "readers/logkit/errors.h"
#include "readers/storage/database_prefix.h"
#include "readers/storage/file_stamp.h"
#include "readers/storage/read_only_files.h"
#include "readers/storage/text.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string_view>

namespace cw::logkit {
namespace {

namespace fs = std::filesystem;
using storage::database;
using storage::fault;
using storage::file_use;

constexpr const char* pending_changes = "-wal";
constexpr const char* pending_index = "-shm";
constexpr const char* undo_journal = "-journal";
constexpr useconds_t moment_in_microseconds = 10'000;

[[noreturn]] void refuse(const std::string& path, std::u16string_view what)
{
    throw log_failure(error_number::not_a_log, path, what);
}

bool is_present(const std::string& path) noexcept
{
    struct stat status;
    return ::stat(path.c_str(), &status) == 0;
}

/// Whether the file can be opened without waiting for somebody.
bool is_file(const std::string& path) noexcept
{
    struct stat status;
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

/// What cannot be opened is told before anybody waits for a pipe's other end.
void check_kind(const std::string& path)
{
    if (path.empty() || path.find('\0') != std::string::npos)
        raise_fault(fault::not_found, path, {}, ENOENT);
    struct stat status;
    if (::stat(path.c_str(), &status) != 0)
        raise_fault(storage::fault_of(errno), path, {}, errno);
    if (S_ISDIR(status.st_mode))
        raise_fault(fault::is_a_folder, path, {}, EISDIR);
    if (!S_ISREG(status.st_mode))
        raise_fault(fault::not_a_file, path, {}, 0);
}

/// Refuses what cannot be a log, whatever state it is in.
void check_first_bytes(const storage::file_look& file, const std::string& path)
{
    constexpr std::string_view cabinet_magic = "MSCF";
    if (file.first_bytes.empty())
        refuse(path, u"it is empty");
    if (formats::is_sealed(file.first_bytes))
        refuse(path, u"it is a protected setup media");
    if (file.first_bytes.size() >= cabinet_magic.size() &&
        std::memcmp(file.first_bytes.data(), cabinet_magic.data(), cabinet_magic.size()) == 0)
        refuse(path, u"it is a cabinet");
    if (!storage::is_database(file.first_bytes))
        refuse(path, u"it is a file of another kind");
    if (file.first_bytes.size() < storage::database_prefix_size_in_bytes)
        refuse(path, u"it is cut short");
    const storage::database_prefix prefix = storage::read_prefix(file.first_bytes);
    if (prefix.application_id == static_cast<std::uint32_t>(formats::header_application_id))
        refuse(path, u"it is the header of a setup media");
    if (!prefix.has_sensible_page_size)
        refuse(path, u"its page size makes no sense");
    // While changes are under way the size is the database library's to judge.
    if (prefix.size_in_bytes() > file.size_in_bytes && !is_present(path + pending_changes) &&
        !is_present(path + undo_journal))
        refuse(path, u"it is cut short");
}

/// A folder that nobody else looks into, gone with all that lies in it at the end.
class private_folder {
public:
    private_folder()
    {
        std::string name = (fs::temp_directory_path() / "cratewright-log-XXXXXX").native();
        if (!::mkdtemp(name.data()))
            throw fs::filesystem_error("no temporary folder", name, std::error_code(errno, std::generic_category()));
        m_path = name;
    }
    ~private_folder()
    {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
    }
    private_folder(const private_folder&) = delete;
    private_folder& operator=(const private_folder&) = delete;

    [[nodiscard]] const fs::path& path() const noexcept { return m_path; }

private:
    fs::path m_path;
};

/// The journal of a change of several files ends with the name of one that they share, and whoever undoes
/// the change takes that file away, wherever it lies. Recorders change one file.
void check_journal(const std::string& journal, const std::string& path)
{
    constexpr std::string_view name_follows("\xd9\xd5\x05\xf9\x20\xa1\x63\xd7", 8);
    std::ifstream file(journal, std::ios::binary);
    std::array<char, name_follows.size()> end{};
    if (file.seekg(-static_cast<std::streamoff>(end.size()), std::ios::end) && file.read(end.data(), end.size()) &&
        std::string_view(end.data(), end.size()) == name_follows)
        throw log_failure(error_number::unfinished, path, u"the change concerns other files too");
}

/// What a recorder changes when it begins or ends: the file and all that it has beside it.
using recording_state = std::array<storage::file_stamp, 4>;

recording_state state_of(const std::string& path)
{
    return {storage::stamp_of(path), storage::stamp_of(path + pending_changes), storage::stamp_of(path + pending_index),
            storage::stamp_of(path + undo_journal)};
}

log_handle open_as(const std::string& path, file_use use)
{
    return std::make_shared<log_store>(database::open_file(path, use, &raise_fault));
}

/// A log whose recorder was killed in the middle of a change. Only who may write can undo the change,
/// so it is undone in a copy.
log_handle open_undone(const std::string& path)
{
    try {
        const storage::file_stamp before = storage::stamp_of(path);
        const private_folder folder;
        const std::string copy = (folder.path() / "log").native();
        fs::copy_file(path, copy);
        fs::copy_file(path + undo_journal, copy + undo_journal);
        check_journal(copy + undo_journal, path);
        // Somebody who may write has undone it meanwhile.
        if (storage::stamp_of(path) != before || !is_present(path + undo_journal))
            return open_as(path, file_use::shared);
        // A copy has the rights of what it was copied from.
        for (const char* ending : {"", undo_journal})
            fs::permissions(copy + ending, fs::perms::owner_read | fs::perms::owner_write);
        return std::make_shared<log_store>(database::open_copy(copy, path, &raise_fault));
    } catch (const fs::filesystem_error& error) {
        if (!is_present(path + undo_journal))
            return open_as(path, file_use::shared);
        throw log_failure(error_number::unfinished, path, storage::system_error_text(error.code().value()));
    }
}

/// Opens what nobody seems to write, unless somebody is about to: a recorder is between two files for less
/// than a moment.
log_handle open_unattended(const std::string& path, file_use use, const recording_state& before)
{
    log_handle opened = open_as(path, use);
    ::usleep(moment_in_microseconds);
    if (state_of(path) != before)
        raise_fault(fault::overwritten, path, {}, 0);
    return opened;
}

/// Whether anything can follow what the file of pending changes begins with: a number that tells the order
/// of bytes of its sums, that of its form, and the size of pages.
bool has_changes(const std::string& path)
{
    constexpr std::size_t prefix_size_in_bytes = 32;
    std::array<char, prefix_size_in_bytes + 1> begin{};
    std::ifstream file(path, std::ios::binary);
    if (!file.read(begin.data(), begin.size()))
        return false;
    const auto number = [&begin](std::size_t at) {
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < sizeof value; ++i)
            value = value << 8 | static_cast<unsigned char>(begin[at + i]);
        return value;
    };
    const std::uint32_t page_size = number(8);
    return (number(0) & ~1u) == 0x377F0682 && page_size >= 512 && page_size <= 65536 && std::has_single_bit(page_size);
}

/// A recorder that was killed before its first change, or with the machine, leaves a file of changes that
/// has none, and the database library waits long for somebody to fill it if there is an index. One at work
/// has written its first change after a moment.
bool waits_in_vain(const std::string& path)
{
    constexpr int most_looks = 20;
    for (int looks = 0; looks < most_looks; ++looks) {
        if (!is_file(path) || storage::stamp_of(path).size_in_bytes == 0 || has_changes(path))
            return false;
        ::usleep(moment_in_microseconds);
    }
    return true;
}

/// A log beside which its recorder keeps changes that are not yet brought in.
log_handle open_with_pending_changes(const std::string& path, const storage::file_look& file,
                                     const recording_state& before)
{
    if (is_file(path + pending_index) && !waits_in_vain(path + pending_changes)) {
        try {
            return open_as(path, file_use::shared);
        } catch (const log_failure& failure) {
            // An index that is of no use, or may not be read, is done without.
            constexpr auto of_the_index = std::to_array({error_number::unfinished, error_number::not_found,
                                                         error_number::access_denied, error_number::read_failed});
            if (std::ranges::find(of_the_index, failure.number()) == of_the_index.end())
                throw;
        }
    }
    // Without an index nobody records, unless somebody keeps it to himself and the file locked.
    if (file.is_locked)
        raise_fault(fault::locked, path, {}, 0);
    return open_unattended(path, file_use::left_open, before);
}

log_handle open_as_it_is(const std::string& path, const recording_state& before)
{
    const storage::file_look file = storage::look_at(path, &raise_fault);
    check_first_bytes(file, path);
    if (storage::read_prefix(file.first_bytes).writes_ahead) {
        if (is_present(path + pending_changes))
            return open_with_pending_changes(path, file, before);
        // Whoever has it locked is about to make that file, or to leave the mode.
        if (file.is_locked)
            raise_fault(fault::locked, path, {}, 0);
        return open_unattended(path, file_use::frozen, before);
    }
    try {
        return open_as(path, file_use::shared);
    } catch (const log_failure& failure) {
        if (failure.number() != error_number::unfinished)
            throw;
    }
    return open_undone(path);
}

} // namespace

log_handle open_log(const std::string& given_path)
{
    check_kind(given_path);
    // The files beside it stand beside what a link leads to.
    std::error_code unresolved; // a folder on the way may not be looked into
    std::string path = fs::canonical(given_path, unresolved).native();
    if (unresolved)
        path = given_path;
    // A recorder that begins or ends just then changes what there is to open.
    constexpr int most_attempts = 20;
    for (int attempt = 1;; ++attempt) {
        const recording_state before = state_of(path);
        try {
            return open_as_it_is(path, before);
        } catch (const log_failure&) {
            ::usleep(moment_in_microseconds);
            if (attempt == most_attempts || state_of(path) == before)
                throw;
        }
    }
}

} // namespace cw::logkit
