#include "authoring/dpkg_records.h"

#include "authoring/error.h"
#include "authoring/stored_names.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <fcntl.h>
#include <new>
#include <optional>
#include <set>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <zlib.h>

namespace cw::authoring {
namespace fs = std::filesystem;
namespace {

constexpr std::string_view log_name = "dpkg.log";
constexpr std::size_t longest_line_in_bytes = 1u << 20;

std::string well_formed(std::string text)
{
    if (is_utf8(text))
        return text;
    constexpr std::size_t longest_character = 4;
    std::string result;
    for (std::string_view rest = text; !rest.empty();) {
        std::size_t length = 1;
        while (length <= longest_character && !is_utf8(rest.substr(0, length)))
            ++length;
        const bool is_character = length <= longest_character;
        result += is_character ? rest.substr(0, length) : std::string_view("\xEF\xBF\xBD");
        rest.remove_prefix(is_character ? std::min(length, rest.size()) : 1);
    }
    return result;
}

/// The lines of a file, plain or packed. The last one need not end.
class line_reader {
public:
    /// Throws `error` for what is there and no file, or may not be read.
    explicit line_reader(const fs::path& path) : m_path(path)
    {
        // A pipe would be waited for.
        const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
        if (descriptor < 0) {
            if (errno == ENOENT || errno == ENOTDIR)
                return;
            throw error(path.string() + ": the file cannot be read: " + std::generic_category().message(errno));
        }
        struct stat found {};
        const bool is_file = ::fstat(descriptor, &found) == 0 && S_ISREG(found.st_mode);
        m_file = is_file ? ::gzdopen(descriptor, "rb") : nullptr;
        if (m_file != nullptr)
            return;
        ::close(descriptor);
        if (is_file)
            throw std::bad_alloc();
        throw error(path.string() + ": that is no file");
    }
    ~line_reader()
    {
        if (m_file != nullptr)
            ::gzclose(m_file);
    }
    line_reader(const line_reader&) = delete;
    line_reader& operator=(const line_reader&) = delete;

    [[nodiscard]] bool is_open() const noexcept { return m_file != nullptr; }
    [[nodiscard]] std::optional<std::string> next()
    {
        for (;;) {
            const std::size_t end = m_text.find('\n', m_place);
            if (end != std::string::npos) {
                std::string line = m_text.substr(m_place, end - m_place);
                m_place = end + 1;
                return well_formed(std::move(line));
            }
            m_text.erase(0, m_place);
            m_place = 0;
            if (m_text.size() > longest_line_in_bytes)
                throw error(m_path.string() + ": a line is too long");
            if (!read_more())
                return m_text.empty() ? std::nullopt : std::optional(well_formed(std::exchange(m_text, {})));
        }
    }

private:
    bool read_more()
    {
        std::array<char, 1u << 16> room;
        const int got = ::gzread(m_file, room.data(), static_cast<unsigned>(room.size()));
        int failure = Z_OK;
        const char* const reason = ::gzerror(m_file, &failure);
        // A packed file that ends too early is told of by this alone.
        if (got < 0 || failure == Z_BUF_ERROR)
            throw error(m_path.string() + ": the file cannot be read: " + reason);
        m_text.append(room.data(), static_cast<std::size_t>(got));
        return got > 0;
    }

    fs::path m_path;
    gzFile m_file = nullptr;
    std::string m_text;
    std::size_t m_place = 0;
};

std::string_view trimmed(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(" \t\r");
    if (first == text.npos)
        return {};
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

/// Reads records of fields as `status` has them.
class status_reader {
public:
    explicit status_reader(const fs::path& path) : m_path(path), m_lines(path) {}

    std::vector<dpkg_package> read()
    {
        if (!m_lines.is_open())
            throw error(m_path.string() + ": there is no record of packages");
        while (const std::optional<std::string> line = m_lines.next()) {
            ++m_number;
            if (trimmed(*line).empty())
                end_package();
            else if (line->front() == ' ' || line->front() == '\t')
                go_on(trimmed(*line));
            else
                begin_field(*line);
        }
        end_package();
        return std::move(m_packages);
    }

private:
    [[noreturn]] void fail(const std::string& why) const
    {
        throw error(m_path.string() + ": line " + std::to_string(m_number) + ": " + why);
    }
    void begin_field(std::string_view line)
    {
        const std::size_t colon = line.find(':');
        if (colon == line.npos)
            fail("expected the name of a field");
        m_field = line.substr(0, colon);
        m_fields[m_field] = trimmed(line.substr(colon + 1));
    }
    void go_on(std::string_view line)
    {
        if (m_field.empty())
            fail("there is no field that goes on");
        m_fields[m_field].append("\n").append(line);
    }
    void end_package()
    {
        if (m_fields.empty())
            return;
        dpkg_package package;
        package.fields = std::exchange(m_fields, {});
        m_field.clear();
        package.name = package.field("Package");
        package.architecture = package.field("Architecture");
        if (package.name.empty() || package.name.find('/') != std::string::npos)
            fail("the package above has no name");
        if (package.architecture.find('/') != std::string::npos)
            fail("the package above has no architecture");
        if (!m_identifiers.insert(package.identifier()).second)
            fail("package " + package.identifier() + " stands twice");
        m_packages.push_back(std::move(package));
    }

    fs::path m_path;
    line_reader m_lines;
    std::uint64_t m_number = 0;
    std::string m_field;
    std::map<std::string, std::string, std::less<>> m_fields;
    std::vector<dpkg_package> m_packages;
    std::set<std::string> m_identifiers;
};

fs::path info_file(const fs::path& root, const dpkg_package& package, const char* ending)
{
    const fs::path folder = root / "var/lib/dpkg/info";
    // Packages that can be there in several architectures have it in the name.
    fs::path file = folder / (package.identifier() + ending);
    std::error_code code;
    return fs::exists(file, code) ? file : folder / (package.name + ending);
}

std::vector<std::string> read_paths(const fs::path& file)
{
    std::vector<std::string> paths;
    line_reader lines(file);
    if (!lines.is_open())
        return paths;
    while (std::optional<std::string> line = lines.next())
        if (line->size() > 1 && line->front() == '/' && *line != "/.")
            paths.push_back(std::move(*line));
    return paths;
}

/// The parts of the diary, oldest first.
std::vector<fs::path> log_files(const fs::path& root)
{
    std::vector<std::pair<unsigned, fs::path>> parts; // with their age
    std::error_code code;
    const fs::path folder = root / "var/log";
    fs::directory_iterator entries(folder, code);
    if (code && code != std::errc::no_such_file_or_directory)
        throw error(folder.string() + ": the folder cannot be read: " + code.message());
    for (const fs::directory_entry& entry : entries) {
        const std::string name = entry.path().filename().string();
        if (!name.starts_with(log_name))
            continue;
        std::string_view ending = std::string_view(name).substr(log_name.size());
        if (ending.ends_with(".gz"))
            ending.remove_suffix(3);
        unsigned age = 0;
        if (!ending.empty()) {
            const char* const end = ending.data() + ending.size();
            const std::from_chars_result read = std::from_chars(ending.data() + 1, end, age);
            if (ending.front() != '.' || read.ec != std::errc() || read.ptr != end)
                continue;
        }
        parts.emplace_back(age, entry.path());
    }
    std::sort(parts.begin(), parts.end(), std::greater<>());
    std::vector<fs::path> files;
    for (auto& [age, path] : parts)
        files.push_back(std::move(path));
    return files;
}

std::string_view take_word(std::string_view& text)
{
    const std::size_t end = std::min(text.find(' '), text.size());
    const std::string_view word = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return word;
}

bool has_form(std::string_view text, std::string_view form)
{
    return std::ranges::equal(text, form, [](char character, char expected) {
        return expected == 'd' ? character >= '0' && character <= '9' : character == expected;
    });
}

} // namespace

std::string_view dpkg_package::field(std::string_view field_name) const
{
    const auto found = fields.find(field_name);
    return found != fields.end() ? std::string_view(found->second) : std::string_view();
}

bool dpkg_package::is_installed() const
{
    // What is wanted, whether it is in order, and what it is.
    const std::string_view status = field("Status");
    return status == "installed" || status.ends_with(" installed");
}

std::vector<dpkg_package> read_dpkg_packages(const fs::path& root)
{
    return status_reader(root / "var/lib/dpkg/status").read();
}

std::vector<std::string> read_dpkg_file_list(const fs::path& root, const dpkg_package& package)
{
    return read_paths(info_file(root, package, ".list"));
}

std::vector<std::string> read_dpkg_configuration_files(const fs::path& root, const dpkg_package& package)
{
    return read_paths(info_file(root, package, ".conffiles"));
}

void for_each_dpkg_action(const fs::path& root, const std::function<void(const dpkg_action&)>& visit)
{
    for (const fs::path& file : log_files(root)) {
        line_reader lines(file);
        if (!lines.is_open())
            throw error(file.string() + ": the file cannot be read");
        while (const std::optional<std::string> line = lines.next()) {
            std::string_view rest = *line;
            const std::string_view day = take_word(rest);
            const std::string_view time = take_word(rest);
            const std::string_view action = take_word(rest);
            const std::string_view subject = take_word(rest);
            if (has_form(day, "dddd-dd-dd") && has_form(time, "dd:dd:dd") && !action.empty() && !subject.empty())
                visit({std::string(day) + " " + std::string(time), std::string(action), std::string(subject),
                       std::string(trimmed(rest))});
        }
    }
}

std::string read_setting(const fs::path& file, std::string_view key)
{
    std::error_code code;
    if (!fs::is_regular_file(file, code) || ::access(file.c_str(), R_OK) != 0)
        return {};
    line_reader lines(file);
    if (!lines.is_open())
        return {};
    bool is_in_section = false;
    while (const std::optional<std::string> line = lines.next()) {
        std::string_view text = trimmed(*line);
        if (text.starts_with('[') && std::exchange(is_in_section, true))
            break;
        if (!text.starts_with(key))
            continue;
        text = trimmed(text.substr(key.size()));
        if (!text.starts_with('='))
            continue;
        text = trimmed(text.substr(1));
        if (text.size() >= 2 && (text.front() == '"' || text.front() == '\'') && text.back() == text.front())
            text = text.substr(1, text.size() - 2);
        return std::string(text);
    }
    return {};
}

} // namespace cw::authoring
