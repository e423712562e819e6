#include "platform/ini_user_settings.h"

#include "platform/ini_document.h"
#include "platform/utf8.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unicode/utf16.h>
#include <unistd.h>

namespace cw::platform {

namespace {

constexpr mode_t mode_of_new_file = 0600;

// Backslash begins an escape; the others mean something to the reader of lines.
constexpr std::u16string_view special = u"\\=[];#";

constexpr bool is_plain(char16_t code_unit)
{
    return code_unit >= 0x20 && code_unit != 0x7F && code_unit != 0xFEFF && !U16_IS_SURROGATE(code_unit) &&
           special.find(code_unit) == std::u16string_view::npos;
}

void append_escape(std::string& bytes, char16_t code_unit)
{
    char escape[7];
    std::snprintf(escape, sizeof escape, "\\u%04X", static_cast<unsigned>(code_unit));
    bytes += escape;
}

bool write_all(int file, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = write(file, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

/// Whether a file's owner has marked it as one that is not to be changed. A rename would go through all
/// the same, and the administrator may write anything.
bool is_write_protected(const std::filesystem::path& file)
{
    struct stat status {};
    return stat(file.c_str(), &status) == 0 && ((status.st_mode & 0222) == 0 || access(file.c_str(), W_OK) != 0);
}

constexpr int longest_wait_ms = 2000;

/// Keeps other programs from changing settings in the same folder.
class folder_lock {
public:
    explicit folder_lock(const std::filesystem::path& folder, int patience_ms)
        : m_folder(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
    {
        constexpr int pause_ms = 10;
        while (flock(m_folder, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
            m_waitedInVain = patience_ms <= 0;
            if (m_waitedInVain)
                return;
            std::this_thread::sleep_for(std::chrono::milliseconds(pause_ms));
            patience_ms -= pause_ms;
        }
    }
    ~folder_lock()
    {
        if (m_folder >= 0)
            close(m_folder);
    }
    folder_lock(const folder_lock&) = delete;
    folder_lock& operator=(const folder_lock&) = delete;
    [[nodiscard]] bool waited_in_vain() const noexcept { return m_waitedInVain; }

private:
    int m_folder;
    bool m_waitedInVain = false;
};

/// Writes beside the file and renames; the old file stands where anything fails.
void replace_file(const std::filesystem::path& target, std::string_view bytes)
{
    std::string temporary = target.native() + ".XXXXXX";
    const int file = mkstemp(temporary.data());
    if (file < 0)
        return;
    struct stat before {};
    const mode_t mode = stat(target.c_str(), &before) == 0 ? before.st_mode & 07777 : mode_of_new_file;
    bool good = fchmod(file, mode) == 0 && write_all(file, bytes) && fsync(file) == 0;
    good = close(file) == 0 && good;
    if (!good || std::rename(temporary.c_str(), target.c_str()) != 0)
        unlink(temporary.c_str());
}

} // namespace

std::string escape_setting(std::u16string_view text)
{
    std::string bytes;
    std::u16string plain;
    auto flush = [&] {
        bytes += to_utf8(plain);
        plain.clear();
    };
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool at_edge = i == 0 || i + 1 == text.size();
        if (U16_IS_LEAD(text[i]) && i + 1 < text.size() && U16_IS_TRAIL(text[i + 1])) {
            plain.append(text, i, 2);
            ++i;
        } else if (is_plain(text[i]) && !(at_edge && text[i] == u' ')) {
            plain += text[i];
        } else {
            flush();
            append_escape(bytes, text[i]);
        }
    }
    flush();
    return bytes;
}

std::u16string unescape_setting(std::string_view bytes)
{
    std::u16string text;
    std::size_t plain_from = 0;
    for (std::size_t at = bytes.find("\\u"); at != std::string_view::npos; at = bytes.find("\\u", at)) {
        const std::string digits(bytes.substr(at + 2, 4));
        if (digits.size() != 4 || digits.find_first_not_of("0123456789ABCDEFabcdef") != std::string::npos) {
            at += 2;
            continue;
        }
        text += from_utf8(bytes.substr(plain_from, at - plain_from));
        text += static_cast<char16_t>(std::strtoul(digits.c_str(), nullptr, 16));
        at += 6;
        plain_from = at;
    }
    text += from_utf8(bytes.substr(plain_from));
    return text;
}

ini_user_settings::ini_user_settings(std::string path) : m_path(std::move(path)), m_patienceMs(longest_wait_ms)
{
    const ini_document document(read_whole_file(m_path, longest_user_settings_in_bytes).value_or(""));
    for (const ini_document::entry& entry : document.entries())
        m_values.write_text(unescape_setting(entry.section), unescape_setting(entry.name),
                            unescape_setting(entry.value));
}

template <class Change>
void ini_user_settings::change_file(Change change)
{
    std::error_code failure;
    // The file behind a link is replaced, not the link.
    const std::filesystem::path target = std::filesystem::weakly_canonical(m_path, failure);
    if (failure)
        return;
    if (target.has_parent_path())
        std::filesystem::create_directories(target.parent_path(), failure);
    // Read afresh: another run may have written in the meantime.
    const folder_lock lock(target.has_parent_path() ? target.parent_path() : ".", m_patienceMs);
    // Somebody who holds the folder for other reasons makes the program wait once and no more.
    if (lock.waited_in_vain())
        m_patienceMs = 0;
    const std::optional<std::string> bytes = read_whole_file(target, longest_user_settings_in_bytes);
    if (bytes ? is_write_protected(target) : std::filesystem::exists(target, failure))
        return;
    ini_document document(bytes.value_or(""));
    change(document);
    const std::string changed = document.to_bytes();
    if (bytes != changed && changed.size() <= longest_user_settings_in_bytes)
        replace_file(target, changed);
}

int ini_user_settings::read_number(std::u16string_view section, std::u16string_view entry, int default_value)
{
    return m_values.read_number(section, entry, default_value);
}

void ini_user_settings::write_number(std::u16string_view section, std::u16string_view entry, int value)
{
    write_text(section, entry, setting_from_number(value));
}

std::u16string ini_user_settings::read_text(std::u16string_view section, std::u16string_view entry,
                                            std::u16string_view default_value)
{
    return m_values.read_text(section, entry, default_value);
}

void ini_user_settings::write_text(std::u16string_view section, std::u16string_view entry, std::u16string_view value)
{
    m_values.write_text(section, entry, value);
    change_file([&](ini_document& document) {
        document.set(escape_setting(section), escape_setting(entry), escape_setting(value));
    });
}

void ini_user_settings::remove(std::u16string_view section, std::u16string_view entry)
{
    m_values.remove(section, entry);
    change_file([&](ini_document& document) { document.remove(escape_setting(section), escape_setting(entry)); });
}

} // namespace cw::platform
