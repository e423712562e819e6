#include "platform/shell_path.h"

#include "platform/path_style.h"
#include "platform/services.h"

#include <string>
#include <string_view>
#include <vector>

namespace cw::platform {

namespace {

bool has_drive(std::u16string_view path) noexcept
{
    return path.size() >= 2 && path[1] == u':';
}

/// The length of what `path_remove_file_spec` never cuts: leading separators, or a drive with the
/// backslash behind it.
std::size_t root_length(std::u16string_view path) noexcept
{
    if (path.starts_with(u'/'))
        return std::min(path.find_first_not_of(u'/'), path.size());
    if (path.starts_with(u"\\\\"))
        return 2;
    if (path.starts_with(u'\\'))
        return 1;
    if (has_drive(path))
        return path.size() > 2 && path[2] == u'\\' ? 3 : 2;
    return 0;
}

/// Resolves `.` and `..` by the text; `..` never climbs above the root.
std::u16string resolve_dots(const std::u16string& path)
{
    const std::size_t root = root_length(path);
    std::vector<std::u16string_view> parts;
    std::u16string_view rest = std::u16string_view(path).substr(root);
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find(u'\\'), rest.size());
        const std::u16string_view part = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        if (part == u"..") {
            if (!parts.empty())
                parts.pop_back();
        } else if (part != u".") {
            parts.push_back(part);
        }
    }
    std::u16string result = path.substr(0, root);
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (i > 0)
            result += u'\\';
        result += parts[i];
    }
    return result;
}

} // namespace

bool path_remove_file_spec(char16_t* path) noexcept
{
    const std::u16string_view text(path);
    const std::size_t root = root_length(text);
    const std::size_t separator = text.rfind(path_separator_of(text));
    const bool has_cut = separator != std::u16string_view::npos && separator >= root;
    const std::size_t length = has_cut ? separator : root;
    if (length >= text.size())
        return false;
    path[length] = 0;
    return true;
}

bool path_is_root(const char16_t* path) noexcept
{
    const std::u16string_view text(path);
    if (text.empty())
        return false;
    if (text.starts_with(u'/'))
        return text.find_first_not_of(u'/') == std::u16string_view::npos;
    if (text.starts_with(u"\\\\")) {
        const std::size_t share = text.find(u'\\', 2);
        return share == std::u16string_view::npos ||
               (share + 1 < text.size() && text.find(u'\\', share + 1) == std::u16string_view::npos);
    }
    return text == u"\\" || (text.size() == 3 && has_drive(text) && text[2] == u'\\');
}

bool path_append(char16_t* path, std::size_t room, const char16_t* more) noexcept
{
    const char16_t separator = path_separator_of(path);
    std::u16string_view rest(more);
    rest.remove_prefix(std::min(rest.find_first_not_of(separator), rest.size()));
    std::u16string joined(path);
    if (!rest.empty()) {
        if (!joined.empty() && joined.back() != separator)
            joined += separator;
        joined += rest;
    }
    if (separator == u'\\')
        joined = resolve_dots(joined);
    if (joined.size() >= room)
        return false;
    joined.copy(path, joined.size());
    path[joined.size()] = 0;
    return true;
}

bool path_file_exists(const char16_t* path) noexcept
{
    return current().files->attributes(path) != invalid_file_attributes;
}

} // namespace cw::platform
