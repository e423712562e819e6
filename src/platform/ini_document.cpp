#include "platform/ini_document.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace cw::platform {

namespace {

std::string_view trimmed(std::string_view text)
{
    static constexpr std::string_view blanks = " \t\r";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

/// Not by the size that the system tells: a file may grow, and some are made as they are read.
std::optional<std::string> read_to_end(int file, std::size_t longest_in_bytes)
{
    std::string bytes;
    char block[16384];
    while (bytes.size() <= longest_in_bytes) {
        const ssize_t count = read(file, block, sizeof block);
        if (count == 0)
            return bytes;
        if (count < 0 && errno != EINTR)
            return std::nullopt;
        if (count > 0)
            bytes.append(block, static_cast<std::size_t>(count));
    }
    return std::nullopt;
}

} // namespace

ini_document::ini_document(std::string_view bytes)
{
    if (bytes.starts_with("\xEF\xBB\xBF"))
        bytes.remove_prefix(3);
    std::uint32_t section = 0;
    while (!bytes.empty()) {
        const std::size_t end = std::min(bytes.find('\n'), bytes.size());
        const std::string_view text = bytes.substr(0, end);
        bytes.remove_prefix(std::min(end + 1, bytes.size()));

        const std::string_view content = trimmed(text);
        const bool opens_section = content.starts_with('[') && content.ends_with(']');
        if (opens_section) {
            section = static_cast<std::uint32_t>(m_sections.size());
            m_sections.emplace_back(trimmed(content.substr(1, content.size() - 2)));
        }
        const bool is_entry =
            !opens_section && content.find('=') != std::string_view::npos && content[0] != ';' && content[0] != '#';
        m_lines.push_back({std::string(text), section, is_entry});
    }
}

ini_document::entry ini_document::entry_of(const line& each) const
{
    const std::string_view content = trimmed(each.text);
    const std::size_t equals = content.find('=');
    return {m_sections[each.section], trimmed(content.substr(0, equals)), trimmed(content.substr(equals + 1))};
}

std::vector<ini_document::entry> ini_document::entries() const
{
    std::vector<entry> found;
    for (const line& each : m_lines) {
        if (each.is_entry)
            found.push_back(entry_of(each));
    }
    return found;
}

bool ini_document::is_named(const line& each, std::string_view section, std::string_view name) const
{
    return each.is_entry && m_sections[each.section] == section && entry_of(each).name == name;
}

std::vector<ini_document::line>::iterator ini_document::find_line(std::string_view section, std::string_view name)
{
    const auto last =
        std::find_if(m_lines.rbegin(), m_lines.rend(), [&](const line& each) { return is_named(each, section, name); });
    return last == m_lines.rend() ? m_lines.end() : std::prev(last.base());
}

std::optional<std::string> ini_document::find(std::string_view section, std::string_view name) const
{
    std::optional<std::string> found;
    for (const entry& each : entries()) {
        if (each.section == section && each.name == name)
            found = each.value;
    }
    return found;
}

void ini_document::set(std::string_view section, std::string_view name, std::string_view value)
{
    std::string text = std::string(name) + "=" + std::string(value);
    if (const auto present = find_line(section, name); present != m_lines.end()) {
        present->text = std::move(text);
        return;
    }
    // Behind the last line that says something in this section, in front of the blank lines that part
    // it from the next one.
    const auto last = std::find_if(m_lines.rbegin(), m_lines.rend(), [&](const line& each) {
        return m_sections[each.section] == section && !trimmed(each.text).empty();
    });
    if (last != m_lines.rend()) {
        m_lines.insert(last.base(), {std::move(text), last->section, true});
        return;
    }
    if (section.empty()) {
        m_lines.insert(m_lines.begin(), {std::move(text), 0, true});
        return;
    }
    const auto added = static_cast<std::uint32_t>(m_sections.size());
    m_sections.emplace_back(section);
    m_lines.push_back({"[" + std::string(section) + "]", added, false});
    m_lines.push_back({std::move(text), added, true});
}

void ini_document::remove(std::string_view section, std::string_view name)
{
    std::erase_if(m_lines, [&](const line& each) { return is_named(each, section, name); });
}

std::string ini_document::to_bytes() const
{
    std::string bytes;
    for (const line& each : m_lines) {
        bytes += each.text;
        bytes += '\n';
    }
    return bytes;
}

std::optional<std::string> read_whole_file(const std::string& path, std::size_t longest_in_bytes)
{
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    if (file < 0)
        return std::nullopt;
    struct stat status {};
    std::optional<std::string> bytes;
    if (fstat(file, &status) == 0 && S_ISREG(status.st_mode))
        bytes = read_to_end(file, longest_in_bytes);
    close(file);
    return bytes;
}

} // namespace cw::platform
