// The search and the loading with real shared objects: folders are laid out with readers that work
// and with everything else that may stand under a reader's name.

#include "bridges/activation.h"
#include "bridges/media_objects.h"
#include "platform/posix_services.h"
#include "platform/utf8.h"
#include "tests/support/scripted_services.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>

namespace cw {
namespace {

namespace fs = std::filesystem;

constexpr std::uint16_t foreign_machine = 183; // AArch64; the tests do not run there
constexpr std::streamoff machine_offset = 18;

/// The system's loader in a program that lies elsewhere.
struct placed_loader final : platform::loader {
    std::unique_ptr<platform::loader> real = platform::make_posix_loader();
    std::u16string module_path;

    std::uint32_t module_file_name(char16_t* target, std::uint32_t room) noexcept override
    {
        const std::size_t count = module_path.copy(target, room - 1);
        target[count] = 0;
        return static_cast<std::uint32_t>(count);
    }
    void* load_library(const char16_t* path) noexcept override { return real->load_library(path); }
    void* find_export(void* library, const char* name) noexcept override { return real->find_export(library, name); }
    void* module_handle(const char16_t* name) noexcept override { return real->module_handle(name); }
    std::u16string load_failure() override { return real->load_failure(); }
};

class real_libraries : public testing::Test {
protected:
    real_libraries() : machine(calls)
    {
        std::string pattern = (fs::temp_directory_path() / "cw_readers_XXXXXX").string();
        top = fs::canonical(mkdtemp(pattern.data()));
        fs::create_directories(program_folder());
        loader.module_path = platform::path_from_bytes((program_folder() / "viewer").string());
        set.libraries = &loader;
        set.machine = &machine;
        in_use.emplace(set);
        machine.keys[u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion"][u"CommonFilesDir"] =
            platform::path_from_bytes((top / "common").string());
        forget_loaded_libraries();
        fs::current_path(top);
    }
    ~real_libraries() override
    {
        EXPECT_EQ(fs::current_path(), top);
        forget_loaded_libraries();
        fs::current_path(before);
        fs::remove_all(top);
    }
    [[nodiscard]] fs::path program_folder() const { return top / "outer" / "inner" / "bin"; }

    static fs::path module(const char* name) { return fs::path(CW_TEST_MODULES) / (std::string(name) + ".so"); }
    /// A library's file at a place, as a copy of its own.
    static void put(const fs::path& folder, const char* module_name)
    {
        fs::create_directories(folder);
        fs::copy_file(module(module_name), folder / "MediaForge40.dll");
    }
    static void write(const fs::path& file, std::string_view text)
    {
        fs::create_directories(file.parent_path());
        std::ofstream(file) << text;
    }

    HRESULT activate()
    {
        object.reset();
        return activate_media_factory(object, &report);
    }
    void expect_loaded_from(const fs::path& folder)
    {
        EXPECT_EQ(activate(), S_OK) << platform::to_utf8(report.refusal);
        EXPECT_EQ(report.loaded_path.view(), platform::path_from_bytes((folder / "MediaForge40.dll").string()));
        ASSERT_TRUE(object);
        constexpr media_member<VT_I4> number{1, u"Number"};
        EXPECT_EQ(get(object.get(), number), 7);
        EXPECT_EQ(fs::current_path(), top);
        forget_loaded_libraries();
    }
    /// The file beside the program does not load; a good one further on is not tried.
    void expect_refused(std::string_view words)
    {
        put(program_folder() / "System", "good_reader");
        EXPECT_EQ(activate(), make_hresult(0x80040154));
        EXPECT_FALSE(object);
        EXPECT_EQ(report.outcome, search_outcome::found);
        EXPECT_EQ(report.attempts.size(), 1u);
        EXPECT_FALSE(report.loaded);
        EXPECT_NE(platform::to_utf8(report.refusal).find(words), std::string::npos)
            << platform::to_utf8(report.refusal);
        EXPECT_EQ(fs::current_path(), top);
        // Nothing was cached: with the file out of the way the next one is found.
        fs::remove_all(program_folder() / "MediaForge40.dll");
        expect_loaded_from(program_folder() / "System");
    }

    fs::path before = fs::current_path();
    fs::path top;
    placed_loader loader;
    test_support::call_log calls;
    test_support::scripted_machine_settings machine;
    platform::services set = platform::current();
    std::optional<platform::scoped_services> in_use;
    automation::com_ptr<IDispatch> object;
    search_report report;
};

TEST_F(real_libraries, are_found_in_each_place_in_order)
{
    const fs::path places[] = {program_folder(),
                               program_folder() / "System",
                               top / "common" / "Cratewright",
                               top / "common" / "Cratewright" / "Demowright",
                               top / "outer" / "inner" / "System" / "x64",
                               top / "outer" / "System" / "x64"};
    for (std::size_t place = std::size(places); place-- > 0;) {
        put(places[place], "good_reader");
        expect_loaded_from(places[place]);
        EXPECT_EQ(report.attempts.size(), place + 1);
    }
}

TEST_F(real_libraries, are_loaded_once)
{
    put(program_folder(), "good_reader");
    EXPECT_EQ(activate(), S_OK);
    fs::remove(program_folder() / "MediaForge40.dll");
    EXPECT_EQ(activate(), S_OK);
    EXPECT_EQ(report.outcome, search_outcome::cached);
}

TEST_F(real_libraries, are_loaded_in_their_folder)
{
    struct watching_loader final : platform::loader {
        explicit watching_loader(platform::loader& inner) : real(inner) {}
        platform::loader& real;
        fs::path seen;
        std::uint32_t module_file_name(char16_t* target, std::uint32_t room) noexcept override
        {
            return real.module_file_name(target, room);
        }
        void* load_library(const char16_t* path) noexcept override
        {
            seen = fs::current_path();
            return real.load_library(path);
        }
        void* find_export(void* library, const char* name) noexcept override { return real.find_export(library, name); }
        void* module_handle(const char16_t* name) noexcept override { return real.module_handle(name); }
        std::u16string load_failure() override { return real.load_failure(); }
    } watching(loader);
    platform::services watched = platform::current();
    watched.libraries = &watching;
    const platform::scoped_services during(watched);
    put(program_folder() / "System", "good_reader");
    EXPECT_EQ(activate(), S_OK);
    EXPECT_EQ(watching.seen, program_folder() / "System");
    EXPECT_EQ(fs::current_path(), top);
}

TEST_F(real_libraries, that_are_nowhere_are_left_to_the_system)
{
    EXPECT_EQ(activate(), make_hresult(0x80040154));
    EXPECT_EQ(report.outcome, search_outcome::left_to_system);
    EXPECT_EQ(report.loaded_path, u"MediaForge40.dll");
    // The folders above the laid out ones are looked at as well.
    EXPECT_GT(report.attempts.size(), 6u);
    for (const auto& attempt : report.attempts)
        EXPECT_FALSE(attempt.present);
    EXPECT_FALSE(report.refusal.empty());
}

TEST_F(real_libraries, without_the_entry_point_stay_loaded_and_fail_the_same_way_again)
{
    put(program_folder(), "no_entry_point");
    EXPECT_EQ(activate(), make_hresult(0x80040154));
    EXPECT_TRUE(report.loaded);
    EXPECT_FALSE(report.has_entry_point);
    EXPECT_EQ(activate(), make_hresult(0x80040154));
    EXPECT_EQ(report.outcome, search_outcome::cached);
}

TEST_F(real_libraries, may_refuse_the_class)
{
    put(program_folder(), "refusing_reader");
    EXPECT_EQ(activate(), E_ACCESSDENIED);
    EXPECT_TRUE(report.has_entry_point);
    EXPECT_EQ(report.result, E_ACCESSDENIED);
    EXPECT_FALSE(object);
}

TEST_F(real_libraries, may_not_know_the_interface)
{
    put(program_folder(), "other_interface_reader");
    EXPECT_EQ(activate(), E_NOINTERFACE);
    EXPECT_EQ(report.result, S_OK);
    EXPECT_FALSE(object);
}

TEST_F(real_libraries, may_be_folders)
{
    fs::create_directories(program_folder() / "MediaForge40.dll");
    expect_refused("");
}

TEST_F(real_libraries, may_be_cut_short)
{
    put(program_folder(), "good_reader");
    const fs::path file = program_folder() / "MediaForge40.dll";
    fs::resize_file(file, fs::file_size(file) / 2);
    expect_refused("MediaForge40.dll");
}

TEST_F(real_libraries, may_be_made_for_another_processor)
{
    put(program_folder(), "good_reader");
    {
        std::fstream file(program_folder() / "MediaForge40.dll", std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(machine_offset);
        file.put(static_cast<char>(foreign_machine & 0xFF));
        file.put(static_cast<char>(foreign_machine >> 8));
    }
    expect_refused("MediaForge40.dll");
}

TEST_F(real_libraries, may_be_empty_files)
{
    write(program_folder() / "MediaForge40.dll", "");
    expect_refused("MediaForge40.dll");
}

TEST_F(real_libraries, may_be_texts)
{
    write(program_folder() / "MediaForge40.dll", "not a library at all\n");
    expect_refused("MediaForge40.dll");
}

TEST_F(real_libraries, are_taken_by_an_absolute_path)
{
    put(top / "elsewhere", "good_reader");
    put(program_folder(), "refusing_reader");
    const string path(platform::path_from_bytes((top / "elsewhere" / "MediaForge40.dll").string()));
    EXPECT_EQ(activate_library_object(path, CLSID_MediaFactory, IID_IMediaFactory, object.put_void(), &report), S_OK);
    EXPECT_EQ(report.outcome, search_outcome::given_path);
    EXPECT_EQ(fs::current_path(), top);
}

} // namespace
} // namespace cw
