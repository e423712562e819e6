#include "fileio/paths.h"

#include "platform/path_style.h"
#include "platform/services.h"

namespace cw {

namespace {

constexpr std::size_t network_prefix_length = 2;
constexpr std::size_t drive_length = 2; // the letter and the colon

bool ends_with(const string& text, char16_t character)
{
    return !text.empty() && text[text.length() - 1] == character;
}

/// Where a character last stands.
std::size_t find_last_folded(const string& text, char16_t character)
{
    platform::text_rules& rules = *platform::current().rules;
    const char16_t wanted = rules.to_upper(character);
    std::size_t at = text.length();
    while (at > 0 && rules.to_upper(text[at - 1]) != wanted)
        --at;
    return at == 0 ? string::npos : at - 1;
}

/// Server and share of a network path, without what is behind them.
string share_of(const string& path, char16_t separator)
{
    const std::size_t behind_server = find_folded(path, separator, network_prefix_length);
    if (behind_server == string::npos)
        return path;
    return path.substr(0, find_folded(path, separator, behind_server + 1));
}

} // namespace

std::size_t find_folded(const string& text, char16_t character, std::size_t start)
{
    platform::text_rules& rules = *platform::current().rules;
    const char16_t wanted = rules.to_upper(character);
    for (std::size_t at = start; at < text.length(); ++at) {
        if (rules.to_upper(text[at]) == wanted)
            return at;
    }
    return string::npos;
}

bool is_share_path(const string& path)
{
    const char16_t separator = path_separator_of(path);
    return path.length() > network_prefix_length && path[0] == separator && path[1] == separator;
}

string directory_of(const string& path, bool keep_backslash, bool strip_root)
{
    // A share counts as a folder of its server here, so `\\server\share` lies in `\\server`.
    const string root = is_share_path(path) ? string() : root_of(path, false);
    const std::size_t last = find_last_folded(path, path_separator_of(path));
    string result = last == string::npos || last < root.length() ? root : path.substr(0, last + 1);
    if (!keep_backslash && result.length() > root.length() + 1)
        result = strip_backslash(result);
    if (strip_root) {
        const string stripped = root_of(result, false);
        result.replace(result.find(stripped), stripped.length(), u"", 0);
    }
    return result;
}

string root_of(const string& path, bool with_backslash)
{
    const char16_t separator = path_separator_of(path);
    string root;
    if (is_share_path(path))
        root = share_of(path, separator);
    else if (separator == u'\\' && path.length() >= drive_length && path[1] == u':')
        root = path.substr(0, drive_length);
    if (with_backslash && !ends_with(root, separator))
        root.append(1, separator);
    return root;
}

string extension_of(const string& path)
{
    const std::size_t dot = find_last_folded(path, u'.');
    if (dot == string::npos || dot < directory_of(path, false, false).length())
        return {};
    return path.substr(dot);
}

string file_part(const string& path, bool strip_extension)
{
    const string kept = strip_extension ? path.substr(0, path.length() - extension_of(path).length()) : path;
    return kept.substr(directory_of(kept, true, false).length());
}

string change_extension(const string& path, const string& extension)
{
    string result = combine_path(directory_of(path, true, false), file_part(path, true));
    if (!extension.empty())
        result += u"." + extension;
    return result;
}

string add_backslash(const string& path)
{
    string result(path);
    if (!ends_with(path, path_separator_of(path)))
        result.append(1, path_separator_of(path));
    return result;
}

string strip_backslash(const string& path)
{
    return ends_with(path, path_separator_of(path)) ? path.substr(0, path.length() - 1) : path;
}

} // namespace cw
