#include "authoring/stored_names.h"

#include "formats/media_format.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace cw::authoring {
namespace {

using formats::largest_stored_name_in_bytes;

/// Length of the well-formed code point that the text begins with, or 0. `value` takes it.
std::size_t code_point_length(std::string_view text, char32_t& value)
{
    const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
    const std::uint8_t first = byte(0);
    const std::size_t length = first < 0x80   ? 1
                               : first < 0xC2 ? 0
                               : first < 0xE0 ? 2
                               : first < 0xF0 ? 3
                               : first < 0xF5 ? 4
                                              : 0;
    if (length == 0 || length > text.size())
        return 0;
    value = length == 1 ? first : first & (0xFFu >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80)
            return 0;
        value = value << 6 | (byte(i) & 0x3Fu);
    }
    const bool overlong = (length == 3 && value < 0x800) || (length == 4 && value < 0x10000);
    return overlong || value > 0x10FFFF || (value >= 0xD800 && value < 0xE000) ? 0 : length;
}

/// One part of a path, made harmless; empty where nothing is left of it.
std::string harmless(std::string_view segment)
{
    std::string result;
    while (!segment.empty()) {
        char32_t value = 0;
        const std::size_t length = code_point_length(segment, value);
        const bool refused =
            length == 0 || value < 0x20 || (value >= 0x7F && value < 0xA0) || value == 0x2028 || value == 0x2029 ||
            (value < 0x80 && std::string_view("<>:\"|?*/\\").find(static_cast<char>(value)) != std::string_view::npos);
        if (refused)
            result += '_';
        else
            result.append(segment.substr(0, length));
        segment.remove_prefix(std::max<std::size_t>(length, 1));
    }
    // "." and ".." go with this, and so do ends that some systems drop.
    while (!result.empty() && (result.back() == '.' || result.back() == ' '))
        result.pop_back();
    return result;
}

std::string_view cut(std::string_view text, std::size_t size)
{
    if (text.size() <= size)
        return text;
    while (size > 0 && (static_cast<std::uint8_t>(text[size]) & 0xC0) == 0x80)
        --size;
    while (size > 0 && (text[size - 1] == '.' || text[size - 1] == ' ' || text[size - 1] == '\\'))
        --size;
    return text.substr(0, size);
}

std::string lower(std::string_view text)
{
    std::string result(text);
    for (char& c : result)
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    return result;
}

} // namespace

bool is_utf8(std::string_view text)
{
    char32_t value = 0;
    while (!text.empty()) {
        const std::size_t length = code_point_length(text, value);
        if (length == 0)
            return false;
        text.remove_prefix(length);
    }
    return true;
}

std::string with_addition(std::string_view name, std::string_view addition)
{
    constexpr std::size_t longest_extension = 16;
    const std::size_t dot = name.find_last_of(".\\");
    std::string_view extension;
    if (dot != std::string_view::npos && dot > 0 && name[dot] == '.' && name[dot - 1] != '\\' &&
        name.size() - dot <= longest_extension)
        extension = name.substr(dot);
    const std::string_view stem = cut(name.substr(0, name.size() - extension.size()),
                                      largest_stored_name_in_bytes - addition.size() - extension.size());
    return std::string(stem.empty() ? "file" : stem).append(addition).append(extension);
}

std::string stored_name(std::string_view component, std::string_view file_name)
{
    std::string result = harmless(component);
    while (!file_name.empty()) {
        const std::size_t end = std::min(file_name.find_first_of("/\\"), file_name.size());
        const std::string segment = harmless(file_name.substr(0, end));
        file_name.remove_prefix(std::min(end + 1, file_name.size()));
        if (segment.empty())
            continue;
        if (!result.empty())
            result += '\\';
        result += segment;
    }
    return result.empty() ? "file" : with_addition(result, "");
}

bool stored_name_set::is_under_a_file(const std::string& name) const
{
    for (std::size_t end = name.find('\\'); end != std::string::npos; end = name.find('\\', end + 1)) {
        if (m_files.contains(name.substr(0, end)))
            return true;
    }
    return false;
}

bool stored_name_set::take(const std::string& name)
{
    if (m_files.contains(name) || m_folders.contains(name) || is_under_a_file(name))
        return false;
    m_files.insert(name);
    for (std::size_t end = name.find('\\'); end != std::string::npos; end = name.find('\\', end + 1))
        m_folders.insert(name.substr(0, end));
    return true;
}

std::string stored_name_set::add(std::string_view name)
{
    if (take(lower(name)))
        return std::string(name);
    std::string base(name);
    if (is_under_a_file(lower(base)))
        std::replace(base.begin(), base.end(), '\\', '_');
    unsigned& number = m_lastNumber.try_emplace(lower(base), 1).first->second;
    for (;;) {
        std::string numbered = with_addition(base, "~" + std::to_string(++number));
        if (take(lower(numbered)))
            return numbered;
    }
}

void stored_name_set::clear()
{
    m_files.clear();
    m_folders.clear();
    m_lastNumber.clear();
}

} // namespace cw::authoring
