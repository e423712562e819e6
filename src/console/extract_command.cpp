// `cwcab extract`: takes files out of a media, one or all of them.

#include "bridges/media_objects.h"
#include "console/commands.h"
#include "console/extract_folder.h"
#include "console/open_input.h"
#include "console/progress_line.h"
#include "console/reader_reason.h"
#include "console/safe_path.h"
#include "console/safe_text.h"
#include "console/stop_guard.h"
#include "platform/utf8.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <unordered_set>

namespace cw::console {
namespace {

struct extract_arguments {
    std::string file;
    std::string component;
    std::string name;
    std::string target;
    std::string folder; // of all files
    std::string password_file;
    bool only_component = false; // of all files, those of `component`
    bool force = false;
};

bool stands_for_no_file(const string& name)
{
    return name == u"\\";
}

/// What the reader says; the person knows the file by its own path and not by the one that it is written to.
std::string reason_of(std::exception_ptr failure, const std::string& working_path, const std::string& shown_path)
{
    std::string text = terminal_text(reader_reason(failure));
    for (std::size_t at = 0; (at = text.find(working_path, at)) != text.npos; at += shown_path.size())
        text.replace(at, working_path.size(), shown_path);
    return text;
}

/// Writes one file below a folder. What was written when a signal came is taken away again.
void extract_to(extract_folder& folder, const std::vector<std::string>& parts, bool force, IDispatch* file)
{
    folder.put(parts, force, [&] {
        extract(file, string(platform::path_from_bytes(folder.working_path())));
        if (stop_guard::is_asked())
            throw std::runtime_error(stopped_by_signal);
    });
}

// ---- one file ------------------------------------------------------------------------------------

/// An item by its name, and by no other that the reader takes for the same.
automation::com_ptr<IDispatch> item_named(IDispatch* collection, const std::string& name, std::string_view kind,
                                          const collection_members& members, const media_member<VT_BSTR>& name_member)
{
    const std::u16string wanted = platform::from_utf8(name);
    const std::string missing = "there is no " + std::string(kind) + " \"" + name + "\"";
    automation::com_ptr<IDispatch> item;
    try {
        item = collection_item(collection, wanted, members);
    } catch (const _com_error&) {
        throw std::runtime_error(missing + ": " + platform::to_utf8(reader_reason(std::current_exception())));
    }
    if (!item || get(item.get(), name_member) != wanted)
        throw std::runtime_error(missing);
    return item;
}

int extract_one(CMainFrame& frame, const extract_arguments& arguments)
{
    const auto components = get(frame.Media(), media::Components);
    const auto component =
        item_named(components.get(), arguments.component, "component", media_items, media_component::Name);
    const auto files = get(component.get(), media_component::Files);
    const auto file = item_named(files.get(), arguments.name, "file", component_files, media_file::Name);
    if (stands_for_no_file(get(file.get(), media_file::Name)))
        throw std::runtime_error("the row \"\\\" stands for no file");

    const std::filesystem::path target(arguments.target);
    const std::string name = target.filename().string();
    if (name.empty() || name == "." || name == "..")
        throw std::runtime_error(arguments.target + ": that is not the name of a file");
    const std::string shown = terminal_text(platform::from_utf8(arguments.target));
    extract_folder folder(target.has_parent_path() ? target.parent_path().string() : ".");
    try {
        extract_to(folder, {name}, arguments.force, file.get());
    } catch (...) {
        throw std::runtime_error(shown + ": " + reason_of(std::current_exception(), folder.working_path(), shown));
    }
    return exit_done;
}

// ---- all files -----------------------------------------------------------------------------------

struct component_entry {
    std::u16string name;
    automation::com_ptr<IDispatch> files;
    std::int32_t file_count;
};

class whole_extraction {
public:
    explicit whole_extraction(const extract_arguments& arguments)
        : m_arguments(arguments), m_shownFolder(terminal_text(platform::from_utf8(arguments.folder)))
    {
    }

    int run(IDispatch* media)
    {
        const std::vector<component_entry> components = list(media);
        make_folder(m_arguments.folder);
        {
            extract_folder folder(m_arguments.folder);
            for (const component_entry& component : components)
                extract_component(folder, component);
        }
        m_progress.clear();
        std::cout << m_shownFolder << ": " << m_extracted << " files";
        if (!m_failures.empty())
            std::cout << ", " << m_failures.size() << " failed";
        std::cout << '\n' << std::flush;
        for (const std::string& failure : m_failures)
            std::cerr << "cwcab: " + failure + "\n";
        return m_failures.empty() ? exit_done : exit_failed;
    }

private:
    /// The components in the order of the media, which is that of its volumes.
    std::vector<component_entry> list(IDispatch* media)
    {
        const std::u16string wanted = platform::from_utf8(m_arguments.component);
        const auto components = get(media, media::Components);
        std::vector<component_entry> entries;
        const std::int32_t count = collection_count(components.get());
        for (std::int32_t index = 1; index <= count; ++index) {
            std::u16string label = u"component number " + platform::from_utf8(std::to_string(index));
            try {
                const auto component = collection_item(components.get(), index);
                const string name = get(component.get(), media_component::Name);
                if (m_arguments.only_component && name != wanted)
                    continue;
                label = u"component \"" + std::u16string(name.view()) + u"\"";
                auto files = get(component.get(), media_component::Files);
                const std::int32_t file_count = std::max(0, collection_count(files.get(), component_files));
                m_total += static_cast<std::uint64_t>(file_count);
                entries.push_back({std::u16string(name.view()), std::move(files), file_count});
            } catch (...) {
                fail(terminal_text(label), terminal_text(reader_reason(std::current_exception())));
            }
        }
        if (m_arguments.only_component && entries.empty() && m_failures.empty())
            throw std::runtime_error("there is no component \"" + m_arguments.component + "\"");
        return entries;
    }

    void extract_component(extract_folder& folder, const component_entry& component)
    {
        const safe_path component_path = safe_path_of(component.name);
        const std::string component_label = m_shownFolder + "/" + terminal_text(component.name);
        for (std::int32_t index = 1; index <= component.file_count; ++index) {
            if (stop_guard::is_asked()) {
                stop();
                return;
            }
            ++m_done;
            std::string label = component_label + ", file number " + std::to_string(index);
            try {
                const auto file = collection_item(component.files.get(), index, component_files);
                const string name = get(file.get(), media_file::Name);
                if (stands_for_no_file(name))
                    continue;
                label = component_label + "/" + terminal_text(name.view());
                m_progress.show(m_done, m_total, label);
                extract_file(folder, component_path, safe_path_of(name.view()), file.get());
                ++m_extracted;
            } catch (...) {
                fail(label, reason_of(std::current_exception(), folder.working_path(), label));
            }
        }
    }

    void extract_file(extract_folder& folder, const safe_path& component, const safe_path& name, IDispatch* file)
    {
        if (!component.refusal.empty())
            throw std::runtime_error("its component: " + std::string(component.refusal));
        if (!name.refusal.empty())
            throw std::runtime_error(std::string(name.refusal));
        std::vector<std::string> parts = component.parts;
        parts.insert(parts.end(), name.parts.begin(), name.parts.end());
        std::string path;
        for (const std::string& part : parts)
            path += "/" + part;
        // Not even with --force may one file of the media take the place of another.
        if (m_written.contains(path))
            throw std::runtime_error("another file of the media has the same place");
        extract_to(folder, parts, m_arguments.force, file);
        m_written.insert(std::move(path));
    }

    void stop()
    {
        if (std::exchange(m_isStopped, true))
            return;
        fail(m_shownFolder, stopped_by_signal);
    }

    void fail(const std::string& label, const std::string& reason) { m_failures.push_back(label + ": " + reason); }

    const extract_arguments& m_arguments;
    std::string m_shownFolder;
    progress_line m_progress;
    std::unordered_set<std::string> m_written;
    std::vector<std::string> m_failures;
    std::uint64_t m_total = 0;
    std::uint64_t m_done = 0;
    std::uint64_t m_extracted = 0;
    bool m_isStopped = false;
};

int extract_files(const extract_arguments& arguments)
{
    headless_application viewer;
    const std::string file = terminal_text(platform::from_utf8(arguments.file)) + ": ";
    // A tree that cannot be built is no reason: the files are asked of the media itself.
    const auto failure = open_input(viewer, arguments.file, arguments.password_file);
    if (failure && !viewer.frame().HasMedia())
        throw std::runtime_error(file + platform::to_utf8(*failure));
    if (!viewer.frame().HasMedia())
        throw std::runtime_error(file + "that is not a setup media, so there are no files in it");
    const stop_guard signals;
    try {
        return arguments.folder.empty() ? extract_one(viewer.frame(), arguments)
                                        : whole_extraction(arguments).run(viewer.frame().Media());
    } catch (const _com_error&) {
        throw std::runtime_error(file + platform::to_utf8(reader_reason(std::current_exception())));
    }
}

/// The two ways to call it need different arguments.
void check_usage(const CLI::App& command, bool all)
{
    for (const char* name : {"COMPONENT", "NAME", "TARGET"}) {
        const bool given = command.get_option(name)->count() != 0;
        if (given && all)
            throw CLI::ExcludesError("--all", name);
        if (!given && !all)
            throw CLI::RequiredError(std::string(name) + " (or --all)");
    }
}

} // namespace

void add_extract_command(CLI::App& app, action& chosen)
{
    auto arguments = std::make_shared<extract_arguments>();
    CLI::App* command = app.add_subcommand("extract", "Take one file or all files out of a setup media");
    command->add_option("FILE", arguments->file, "A setup media (.hdr, .cab)")->required();
    command->add_option("COMPONENT", arguments->component, "The component that the file belongs to");
    command->add_option("NAME", arguments->name, "The name of the file in the component");
    command->add_option("TARGET", arguments->target, "The file to write");
    CLI::Option* all = command->add_option("--all", arguments->folder,
                                           "Take all files out, into a folder for each component below this one");
    CLI::Option* one_component =
        command->add_option("--component", arguments->component, "Only the files of this component")->needs(all);
    command->add_flag("--force", arguments->force, "Replace files that exist");
    add_password_option(*command, arguments->password_file);
    command->callback([arguments, command, all, one_component, &chosen] {
        check_usage(*command, all->count() != 0);
        if (all->count() != 0 && arguments->folder.empty())
            throw CLI::ValidationError("--all", "the name of the folder is empty");
        arguments->only_component = one_component->count() != 0;
        chosen = [arguments] { return extract_files(*arguments); };
    });
}

} // namespace cw::console
