#include "authoring/dpkg_import.h"

#include "authoring/dpkg_records.h"
#include "authoring/error.h"
#include "authoring/log_file.h"
#include "authoring/log_recorder.h"
#include "authoring/staged_files.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unordered_map>
#include <vector>

namespace cw::authoring {
namespace fs = std::filesystem;
namespace {

constexpr std::string_view main_feature = "dpkg";
constexpr std::string_view desktop_folder = "/usr/share/applications/";
constexpr std::string_view desktop_ending = ".desktop";
constexpr std::string_view start_menu = "Start Menu";

constexpr std::string_view file_type = "OPTYPE_FILE";
constexpr std::string_view shell_type = "OPTYPE_SHELL";
constexpr std::string_view general_type = "OPTYPE_GENERAL";

struct shown_field {
    std::string_view field;
    std::string_view unit = {};
};
constexpr auto shown_fields = std::to_array<shown_field>({
    {"Version"},
    {"Architecture"},
    {"Status"},
    {"Source"},
    {"Priority"},
    {"Installed-Size", " KiB"},
    {"Maintainer"},
    {"Homepage"},
    {"Description"},
});
constexpr auto relation_fields = std::to_array<std::string_view>(
    {"Pre-Depends", "Depends", "Recommends", "Suggests", "Enhances", "Provides", "Replaces", "Breaks", "Conflicts"});

typed_value text(std::string_view value)
{
    return {VT_BSTR, std::string(value), 0, {}};
}

typed_value flag(bool value)
{
    return {VT_BOOL, std::int64_t{value ? VARIANT_TRUE : VARIANT_FALSE}, 0, {}};
}

typed_value state(bool is_installed)
{
    return {VT_I4, std::int64_t{is_installed ? log_state::installed : log_state::not_installed}, 0, {}};
}

/// "a, b (>= 2), c | d" in its parts.
void append_relations(std::string_view list, std::vector<typed_value>& parts)
{
    while (!list.empty()) {
        const std::size_t end = std::min(list.find(','), list.size());
        std::string part(list.substr(0, end));
        list.remove_prefix(std::min(end + 1, list.size()));
        std::replace(part.begin(), part.end(), '\n', ' ');
        const std::size_t first = part.find_first_not_of(' ');
        if (first != part.npos)
            parts.push_back(text(std::string_view(part).substr(first, part.find_last_not_of(' ') - first + 1)));
    }
}

/// What the system says of a path; the records tell only its name.
struct path_kind {
    bool is_there = false;
    bool is_folder = false;
    bool is_executable = false;
};

path_kind kind_of(const fs::path& root, const std::string& path)
{
    struct stat found {};
    if (::lstat((root.string() + path).c_str(), &found) != 0)
        return {};
    return {true, S_ISDIR(found.st_mode), S_ISREG(found.st_mode) && (found.st_mode & 0111) != 0};
}

/// "libx.so", "libx.so.1.2".
bool is_shared_object(std::string_view name)
{
    const std::size_t place = name.rfind(".so");
    return place != name.npos && name.find_first_not_of(".0123456789", place + 3) == name.npos;
}

class importer {
public:
    importer(const fs::path& root, log_recorder& recorder)
        : m_root(root), m_recorder(recorder), m_packages(read_dpkg_packages(root))
    {
        for (const dpkg_package& package : m_packages) {
            m_identifiers.insert(package.identifier());
            m_lists.push_back(read_dpkg_file_list(root, package));
            for (const std::string& path : m_lists.back())
                ++m_ownerCounts[path];
        }
        // Every folder of a path is told before what lies in it, by one package or another.
        for (const auto& [path, count] : m_ownerCounts)
            m_parents.insert(path.substr(0, path.rfind('/')));
    }

    dpkg_import_result run()
    {
        add_features();
        for (std::size_t i = 0; i < m_packages.size(); ++i)
            add_files(m_packages[i], m_lists[i]);
        for_each_dpkg_action(m_root, [this](const dpkg_action& action) { add_action(action); });
        m_result.packages = m_packages.size();
        return m_result;
    }

private:
    void add_features()
    {
        const std::string system = read_setting(m_root / "etc/os-release", "PRETTY_NAME");
        m_recorder.add_feature(main_feature, system.empty() ? "This machine" : system, {});
        std::map<std::string, std::vector<const dpkg_package*>> sections;
        for (const dpkg_package& package : m_packages)
            sections[std::string(package.field("Section"))].push_back(&package);
        add_summary(main_feature, m_packages.size());
        for (const auto& [name, packages] : sections) {
            // A package cannot be called so.
            const std::string identifier = "section/" + name;
            m_recorder.add_feature(identifier, name.empty() ? "without section" : name, main_feature);
            add_summary(identifier, packages.size());
            for (const dpkg_package* package : packages)
                add_package(*package, identifier);
        }
    }

    void add_summary(std::string_view feature, std::size_t package_count)
    {
        m_recorder.set_property(feature, "State", state(true));
        // As a number it could be taken for a state.
        m_recorder.set_property(feature, "Packages", text(std::to_string(package_count)));
    }

    void add_package(const dpkg_package& package, std::string_view section)
    {
        const std::string identifier = package.identifier();
        m_recorder.add_feature(identifier, package.name, section);
        m_recorder.set_property(identifier, "State", state(package.is_installed()));
        for (const shown_field& shown : shown_fields) {
            const std::string_view value = package.field(shown.field);
            if (!value.empty())
                m_recorder.set_property(identifier, shown.field,
                                        text(std::string(value.substr(0, value.find('\n'))) + std::string(shown.unit)));
        }
        // A row for each relation: what it is, and with what.
        typed_value titles{VT_ARRAY | VT_BSTR, {}, 0, {}};
        typed_value values{VT_ARRAY | VT_BSTR, {}, 0, {}};
        for (const std::string_view field : relation_fields) {
            append_relations(package.field(field), values.elements);
            titles.elements.resize(values.elements.size(), text(field));
        }
        if (values.elements.empty())
            return;
        m_recorder.set_property(identifier, "Relation fields", titles);
        m_recorder.set_property(identifier, "Relations", values);
    }

    void add_files(const dpkg_package& package, const std::vector<std::string>& paths)
    {
        const std::string identifier = package.identifier();
        const std::vector<std::string> configuration = read_dpkg_configuration_files(m_root, package);
        const std::set<std::string_view> kept(configuration.begin(), configuration.end());
        for (const std::string& path : paths) {
            const std::size_t slash = path.rfind('/');
            const std::string_view name = std::string_view(path).substr(slash + 1);
            const path_kind kind = kind_of(m_root, path);
            const bool is_folder = kind.is_folder || (!kind.is_there && m_parents.contains(path));
            const bool is_shared = m_ownerCounts[path] > 1;
            const bool is_loaded = !is_folder && (kind.is_executable || is_shared_object(name));
            m_recorder.add_operation(file_type, identifier,
                                     std::array{text(slash == 0 ? "/" : std::string_view(path).substr(0, slash)),
                                                text(name), flag(is_shared), flag(is_folder), flag(is_loaded),
                                                flag(is_folder ? !is_shared : kept.contains(path))});
            ++m_result.files;
            if (!is_folder && path.starts_with(desktop_folder) && path.ends_with(desktop_ending))
                add_shortcut(identifier, path);
        }
    }

    void add_shortcut(std::string_view feature, const std::string& path)
    {
        std::string name;
        try {
            name = read_setting(m_root.string() + path, "Name");
        } catch (const error&) {
            // The package manager knows of the file, whatever stands in it.
        }
        if (name.empty())
            name = path.substr(path.rfind('/') + 1, path.size() - path.rfind('/') - 1 - desktop_ending.size());
        m_recorder.add_operation(shell_type, feature,
                                 std::array{text(start_menu), text(name), flag(false), flag(false)});
    }

    void add_action(const dpkg_action& action)
    {
        // Only the steps of the other lines.
        if (action.action == "status")
            return;
        std::string data = action.moment;
        const bool is_known = m_identifiers.contains(action.subject);
        if (!is_known)
            data += ", " + action.subject;
        if (const std::string details = details_of(action); !details.empty())
            data += ", " + details;
        // What is not known any more, and dpkg's own doings, belong to the machine.
        m_recorder.add_operation(general_type, is_known ? action.subject : main_feature,
                                 std::array{text(action.action), text(data)});
        ++m_result.actions;
    }

    /// Versions before and after, where both are there.
    static std::string details_of(const dpkg_action& action)
    {
        constexpr std::string_view none = "<none>";
        const std::size_t space = action.details.find(' ');
        if (space == std::string::npos)
            return action.details == none ? std::string() : action.details;
        const std::string before = action.details.substr(0, space);
        const std::string after = action.details.substr(space + 1);
        if (before == none || after == none)
            return before != none ? before : after != none ? after : std::string();
        return action.action == "upgrade" ? before + " to " + after : action.details;
    }

    fs::path m_root;
    log_recorder& m_recorder;
    std::vector<dpkg_package> m_packages;
    std::vector<std::vector<std::string>> m_lists; // by package
    std::set<std::string, std::less<>> m_identifiers;
    std::unordered_map<std::string, unsigned> m_ownerCounts; // by path
    std::set<std::string> m_parents;
    dpkg_import_result m_result;
};

} // namespace

dpkg_import_result import_dpkg(const fs::path& root, const fs::path& log, bool replace)
{
    std::error_code code;
    const fs::path target = fs::absolute(log, code);
    if (target.filename().empty() || !fs::is_directory(target.parent_path(), code))
        throw error(log.string() + ": there is no such folder");
    if (!replace && fs::exists(fs::symlink_status(target, code)))
        throw error(log.string() + ": the file is there already");
    const staged_files stage(target.parent_path());
    const fs::path unfinished = stage.scratch(target.filename().string());
    dpkg_import_result result;
    {
        log_recorder recorder(unfinished);
        result = importer(root, recorder).run();
        recorder.close();
    }
    put_into_place(unfinished, target, replace);
    return result;
}

} // namespace cw::authoring
