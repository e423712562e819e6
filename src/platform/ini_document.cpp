#include "platform/ini_document.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace cw::platform {

namespace {

// People write settings, and the program reads them before anything else.
constexpr std::size_t longest_file_in_bytes = 1 << 20;

std::string_view trimmed(std::string_view text)
{
    static constexpr std::string_view blanks = " \t\r";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

/// Not by the size that the system tells: a file may grow, and some are made as they are read.
std::optional<std::string> read_to_end(int file)
{
    std::string bytes;
    char block[4096];
    while (bytes.size() <= longest_file_in_bytes) {
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
    std::string section;
    while (!bytes.empty()) {
        const std::size_t end = std::min(bytes.find('\n'), bytes.size());
        const std::string_view text = bytes.substr(0, end);
        bytes.remove_prefix(std::min(end + 1, bytes.size()));

        const std::string_view content = trimmed(text);
        const std::size_t equals = content.find('=');
        line parsed{line_kind::other, std::string(text), {}, {}, {}};
        if (content.starts_with('[') && content.ends_with(']')) {
            parsed.kind = line_kind::section;
            section = trimmed(content.substr(1, content.size() - 2));
        } else if (equals != std::string_view::npos && content[0] != ';' && content[0] != '#') {
            parsed.kind = line_kind::entry;
            parsed.name = trimmed(content.substr(0, equals));
            parsed.value = trimmed(content.substr(equals + 1));
        }
        parsed.section = section;
        m_lines.push_back(std::move(parsed));
    }
}

std::vector<ini_document::entry> ini_document::entries() const
{
    std::vector<entry> found;
    for (const line& each : m_lines) {
        if (each.kind == line_kind::entry)
            found.push_back({each.section, each.name, each.value});
    }
    return found;
}

std::vector<ini_document::line>::iterator ini_document::find_line(std::string_view section, std::string_view name)
{
    const auto last = std::find_if(m_lines.rbegin(), m_lines.rend(), [&](const line& each) {
        return each.kind == line_kind::entry && each.section == section && each.name == name;
    });
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
    line changed{line_kind::entry, std::string(name) + "=" + std::string(value), std::string(section),
                 std::string(name), std::string(value)};
    if (const auto present = find_line(section, name); present != m_lines.end()) {
        *present = std::move(changed);
        return;
    }
    // Behind the last line that says something in this section, in front of the blank lines that part
    // it from the next one.
    const auto last = std::find_if(m_lines.rbegin(), m_lines.rend(), [&](const line& each) {
        return each.section == section && !trimmed(each.text).empty();
    });
    if (last != m_lines.rend()) {
        m_lines.insert(last.base(), std::move(changed));
        return;
    }
    if (section.empty()) {
        m_lines.insert(m_lines.begin(), std::move(changed));
        return;
    }
    m_lines.push_back({line_kind::section, "[" + std::string(section) + "]", std::string(section), {}, {}});
    m_lines.push_back(std::move(changed));
}

void ini_document::remove(std::string_view section, std::string_view name)
{
    std::erase_if(m_lines, [&](const line& each) {
        return each.kind == line_kind::entry && each.section == section && each.name == name;
    });
}

std::string ini_document::to_bytes() const
{
    std::string bytes;
    for (const line& each : m_lines)
        bytes += each.text + "\n";
    return bytes;
}

std::optional<std::string> read_whole_file(const std::string& path)
{
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    if (file < 0)
        return std::nullopt;
    struct stat status {};
    std::optional<std::string> bytes;
    if (fstat(file, &status) == 0 && S_ISREG(status.st_mode))
        bytes = read_to_end(file);
    close(file);
    return bytes;
}

} // namespace cw::platform
