#include "platform/ini_user_settings.h"

#include "platform/ini_document.h"
#include "platform/utf8.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sys/stat.h>
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

/// Writes beside the file and renames; the old file stands where anything fails.
bool replace_file(const std::string& path, std::string_view bytes)
{
    std::error_code failure;
    // The file behind a link is replaced, not the link.
    std::filesystem::path target = std::filesystem::weakly_canonical(path, failure);
    if (failure)
        return false;
    if (target.has_parent_path())
        std::filesystem::create_directories(target.parent_path(), failure);
    std::string temporary = target.native() + ".XXXXXX";
    const int file = mkstemp(temporary.data());
    if (file < 0)
        return false;
    struct stat before {};
    const mode_t mode = stat(target.c_str(), &before) == 0 ? before.st_mode & 07777 : mode_of_new_file;
    bool good = fchmod(file, mode) == 0 && write_all(file, bytes) && fsync(file) == 0;
    good = close(file) == 0 && good;
    if (good && std::rename(temporary.c_str(), target.c_str()) == 0)
        return true;
    unlink(temporary.c_str());
    return false;
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

ini_user_settings::ini_user_settings(std::string path) : m_path(std::move(path))
{
    const ini_document document(read_whole_file(m_path).value_or(""));
    for (const ini_document::entry& entry : document.entries())
        m_values.write_text(unescape_setting(entry.section), unescape_setting(entry.name),
                            unescape_setting(entry.value));
}

template <class Change>
void ini_user_settings::change_file(Change change)
{
    // Read afresh: another run may have written in the meantime.
    std::error_code failure;
    std::optional<std::string> bytes = read_whole_file(m_path);
    if (!bytes && std::filesystem::exists(m_path, failure))
        return;
    ini_document document(bytes.value_or(""));
    change(document);
    std::string changed = document.to_bytes();
    if (bytes != changed)
        replace_file(m_path, changed);
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
