// User settings in an INI file, for the window and the companion. Each change replaces the file as a
// whole, so a program that is killed leaves the old file or the new one.
#pragma once

#include "platform/memory_user_settings.h"

#include <string>

namespace cw::platform {

/// Enough for a text of a million characters that all need an escape. A file that is longer, and a
/// change that would make it longer, are left alone.
constexpr std::size_t longest_user_settings_in_bytes = 8 << 20;

/// Where the file cannot be read or may not be written, the settings live in memory for the run, and
/// what stands in its place stays as it is. Lines that the program did not write stay in any case.
/// Programs that change the same file at the same time wait for each other and lose nothing.
class ini_user_settings final : public user_settings {
public:
    /// `path` in bytes; the folder is made at the first write.
    explicit ini_user_settings(std::string path);

    int read_number(std::u16string_view section, std::u16string_view entry, int default_value) override;
    void write_number(std::u16string_view section, std::u16string_view entry, int value) override;
    std::u16string read_text(std::u16string_view section, std::u16string_view entry,
                             std::u16string_view default_value) override;
    void write_text(std::u16string_view section, std::u16string_view entry, std::u16string_view value) override;
    void remove(std::u16string_view section, std::u16string_view entry) override;

private:
    template <class Change>
    void change_file(Change change);

    std::string m_path;
    int m_patienceMs;
    memory_user_settings m_values;
};

/// The form of a section name, an entry name or a value in the file: printable ASCII and well-formed
/// characters stand for themselves, all else as `\uXXXX` by code unit.
[[nodiscard]] std::string escape_setting(std::u16string_view text);
/// The reverse. A backslash that begins no escape stands for itself.
[[nodiscard]] std::u16string unescape_setting(std::string_view bytes);

} // namespace cw::platform
