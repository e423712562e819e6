#include "tests/support/frame_harness.h"

#include "bridges/activation.h"
#include "platform/utf8.h"

#include <nlohmann/json.hpp>

#include <filesystem>
#include <sstream>

namespace cw::test_support {
namespace {

using nlohmann::json;

constexpr const char* trace_name = "trace.txt";

json& features_at(json& roots, std::size_t depth)
{
    json* list = &roots;
    for (; depth > 0; --depth)
        list = &list->back()["SubFeatures"];
    return *list;
}

std::u16string copy_cut(std::u16string_view text, std::uint32_t room)
{
    return std::u16string(text.substr(0, room == 0 ? 0 : room - 1));
}

} // namespace

library_folder::library_folder(const temporary_folder& folder)
    : m_folder(folder), m_real(*platform::current().libraries)
{
}

void library_folder::add_fixture_media()
{
    std::filesystem::create_symlink(CW_TEST_BUILD_DIR "/fixture/MediaForge40.dll", m_folder.file("MediaForge40.dll"));
}

void library_folder::add_fixture_logs()
{
    std::filesystem::create_symlink(CW_TEST_BUILD_DIR "/fixture/LogKit.dll", m_folder.file("LogKit.dll"));
}

void library_folder::add(std::string_view file_name, dll_get_class_object entry_point)
{
    // Written through its link, a fixture library would be emptied for everybody.
    remove(file_name);
    m_folder.write(file_name, "");
    m_entryPoints[m_folder.wide_file(file_name)] = entry_point;
}

void library_folder::remove(std::string_view file_name)
{
    std::filesystem::remove(m_folder.file(file_name));
}

std::uint32_t library_folder::module_file_name(char16_t* target, std::uint32_t room) noexcept
{
    const std::u16string path = copy_cut(m_folder.wide_file("program"), room);
    path.copy(target, path.size());
    target[path.size()] = 0;
    return static_cast<std::uint32_t>(path.size());
}

void* library_folder::load_library(const char16_t* path) noexcept
{
    const auto own = m_entryPoints.find(path);
    return own == m_entryPoints.end() ? m_real.load_library(path) : &own->second;
}

void* library_folder::find_export(void* library, const char* name) noexcept
{
    for (auto& [path, entry_point] : m_entryPoints)
        if (&entry_point == library)
            return reinterpret_cast<void*>(entry_point);
    return m_real.find_export(library, name);
}

std::u16string library_folder::load_failure()
{
    return m_real.load_failure();
}

std::uint32_t files_of_test::temp_folder(char16_t* target, std::uint32_t room) noexcept
{
    const std::u16string path = copy_cut(m_tempFolder, room);
    path.copy(target, path.size());
    target[path.size()] = 0;
    return static_cast<std::uint32_t>(path.size());
}

frame_harness::frame_harness() : m_inUse(made()), m_application(*this)
{
    forget_loaded_libraries();
    libraries.add_fixture_media();
    libraries.add_fixture_logs();
}

frame_harness::~frame_harness()
{
    if (m_application.MainWindow())
        frame().Close();
    forget_loaded_libraries();
}

platform::services frame_harness::made()
{
    platform::services set = platform::current();
    set.libraries = &libraries;
    set.files = &files;
    set.machine = &machine;
    set.user = &settings;
    return set;
}

bool frame_harness::start(std::vector<std::u16string> given)
{
    m_arguments = std::move(given);
    return m_application.InitInstance();
}

std::u16string frame_harness::write(std::string_view model, std::string_view name) const
{
    std::filesystem::create_directories((folder.path() / name).parent_path());
    folder.write(name, model);
    return folder.wide_file(name);
}

bool frame_harness::open(std::u16string_view path)
{
    bool opened = false;
    frame().Guard([&] { opened = frame().OpenFile(string(path)); });
    return opened;
}

bool frame_harness::open_media(std::string_view media_members)
{
    const std::string trace = json(folder.file(trace_name)).dump();
    std::string model = "{\"trace\": " + trace + ", \"media\": {";
    model.append(media_members).append("}}");
    return open(write(model));
}

bool frame_harness::open_log(std::string_view model)
{
    json traced = json::parse(model);
    traced["trace"] = folder.file(trace_name);
    return open(write(traced.dump(), "log.clg"));
}

std::string frame_harness::features_json(std::string_view picture)
{
    json roots = json::array();
    std::istringstream lines{std::string(picture)};
    for (std::string line; std::getline(lines, line);) {
        const std::size_t blanks = line.find_first_not_of(' ');
        if (blanks == std::string::npos)
            continue;
        features_at(roots, blanks / 2).push_back({{"Name", line.substr(blanks)}});
    }
    return roots.dump();
}

std::vector<std::string> frame_harness::take_trace()
{
    std::vector<std::string> lines;
    std::istringstream text(folder.read(trace_name));
    for (std::string line; std::getline(text, line);)
        lines.push_back(line);
    // Emptied, not removed: the library may hold it open.
    if (!lines.empty())
        std::filesystem::resize_file(folder.file(trace_name), 0);
    return lines;
}

std::vector<std::string> frame_harness::take_unhandled()
{
    return std::exchange(m_unhandled, {});
}

std::vector<std::u16string> frame_harness::recent()
{
    std::vector<std::u16string> paths;
    const CRecentFileList& list = *m_application.RecentFiles();
    for (std::size_t index = 0; index < list.GetSize(); ++index)
        if (!list[index].IsEmpty())
            paths.emplace_back(list[index].view());
    return paths;
}

void frame_harness::note(std::string line)
{
    if (on_call)
        on_call(line);
    calls.push_back(std::move(line));
}

void frame_harness::enable_control_container(void* factory)
{
    note(factory ? "enable_control_container" : "enable_control_container null");
}

bool frame_harness::ole_init()
{
    note("ole_init");
    return host_answers;
}

bool frame_harness::init_common_controls(std::uint32_t size_in_bytes, std::uint32_t classes)
{
    note("init_common_controls " + std::to_string(size_in_bytes) + " " + std::to_string(classes));
    return host_answers;
}

bool frame_harness::base_init_instance()
{
    note("base_init_instance");
    return host_answers;
}

void frame_harness::set_registry_key(std::u16string_view company)
{
    note("set_registry_key " + platform::to_utf8(company));
}

std::span<const std::u16string> frame_harness::arguments() const
{
    const_cast<frame_harness*>(this)->note("arguments");
    return m_arguments;
}

std::unique_ptr<CMainFrame> frame_harness::create_frame(CRecentFileList& recent_files)
{
    note("create_frame");
    if (!frame_can_be_made)
        return nullptr;
    auto made_frame = application_host::create_frame(recent_files);
    made_frame->SetUnhandledSink([this](std::u16string_view line) { m_unhandled.push_back(platform::to_utf8(line)); });
    return made_frame;
}

} // namespace cw::test_support
