#include "platform/posix_services.h"

#include "platform/ini_document.h"
#include "platform/last_error.h"
#include "platform/utf8.h"

#include <cstring>
#include <map>
#include <unicode/uchar.h>

namespace cw::platform {

namespace {

// People write them, and the program reads them before anything else.
constexpr std::size_t longest_settings_in_bytes = 1 << 20;

constexpr const char16_t* current_version_key = u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion";
constexpr const char16_t* common_files_value = u"CommonFilesDir";

/// Names of keys and values are matched without regard to case.
std::u16string folded(std::u16string_view text)
{
    std::u16string result(text);
    for (char16_t& code_unit : result)
        code_unit = static_cast<char16_t>(u_toupper(code_unit) & 0xFFFF);
    return result;
}

using key_values = std::map<std::u16string, std::u16string>;

class ini_machine_settings final : public machine_settings {
public:
    ini_machine_settings(const std::string& file, const std::u16string& common_files_folder)
    {
        if (!common_files_folder.empty())
            m_keys[folded(current_version_key)][folded(common_files_value)] = common_files_folder;
        const ini_document document(read_whole_file(file, longest_settings_in_bytes).value_or(""));
        for (const ini_document::entry& entry : document.entries())
            m_keys[folded(from_utf8(entry.section))][folded(from_utf8(entry.name))] = path_from_bytes(entry.value);
    }

    std::uint32_t open_key(const char16_t* path, std::uint32_t, settings_key* key) noexcept override
    {
        const auto found = m_keys.find(folded(path));
        *key = found == m_keys.end() ? nullptr : &found->second;
        return *key ? error_success : error_file_not_found;
    }

    std::uint32_t query_value(settings_key key, const char16_t* name, char16_t* target,
                              std::uint32_t* size_in_bytes) noexcept override
    {
        const auto& values = *static_cast<const key_values*>(key);
        const auto found = values.find(folded(name));
        if (found == values.end())
            return error_file_not_found;
        const auto needed = static_cast<std::uint32_t>((found->second.size() + 1) * sizeof(char16_t));
        const bool fits = target && *size_in_bytes >= needed;
        *size_in_bytes = needed;
        if (!fits)
            return target ? error_more_data : error_success;
        std::memcpy(target, found->second.c_str(), needed);
        return error_success;
    }

    void close_key(settings_key) noexcept override {}

private:
    std::map<std::u16string, key_values> m_keys;
};

} // namespace

std::unique_ptr<machine_settings> make_ini_machine_settings(const std::string& file,
                                                            const std::u16string& common_files_folder)
{
    return std::make_unique<ini_machine_settings>(file, common_files_folder);
}

} // namespace cw::platform
