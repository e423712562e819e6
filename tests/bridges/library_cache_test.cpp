#include "bridges/library_cache.h"

#include "fake_library.h"
#include "tests/support/scripted_services.h"

#include <gtest/gtest.h>

namespace cw {
namespace {

using automation::com_ptr;
using lines = std::vector<std::string>;

constexpr CLSID sample_class = automation::guid_from_literal("471340C5-6A34-4191-9A18-EE68A1A9169B");
constexpr const char* entry_point = "DllGetClassObject";

class library_cache_test : public testing::Test {
protected:
    library_cache_test()
    {
        services.libraries.module_path = u"C:\\app\\viewer.exe";
        test::asked::calls = 0;
    }
    ~library_cache_test() override { EXPECT_EQ(test::fake_object::living, 0); }

    void add_good(std::u16string path)
    {
        services.files.files.insert(path);
        services.libraries.add_library(path, entry_point, test::as_export(&test::good_entry_point));
    }
    HRESULT get(std::u16string_view name, search_report* report = nullptr)
    {
        factory.reset();
        return get_library_class_factory(cache, string(name), sample_class, factory.put(), report);
    }

    test_support::scripted_services services;
    library_cache cache;
    com_ptr<IClassFactory> factory;
};

TEST_F(library_cache_test, orders_keys_by_unsigned_code_units)
{
    for (const auto* key : {u"b", u"ab", u"a", u"\uFFFD", u"\u007F", u"B", u"A"})
        cache[key] = nullptr;
    std::vector<std::u16string> keys;
    for (const auto& [key, handle] : cache)
        keys.emplace_back(key.view());
    EXPECT_EQ(keys, (std::vector<std::u16string>{u"A", u"B", u"a", u"ab", u"b", u"\u007F", u"\uFFFD"}));
}

TEST_F(library_cache_test, loads_in_the_folder_of_the_library_and_asks_for_its_factory)
{
    add_good(u"C:\\app\\Lib.dll");
    EXPECT_EQ(get(u"Lib.dll"), S_OK);
    EXPECT_TRUE(factory);
    EXPECT_EQ(test::asked::class_id, sample_class);
    EXPECT_EQ(test::asked::iid, IID_IClassFactory);
    EXPECT_EQ(services.log.take(),
              (lines{"GetModuleFileNameW", "GetFileAttributesW C:\\app\\Lib.dll", "GetCurrentDirectoryW",
                     "SetCurrentDirectoryW C:\\app", "LoadLibraryW C:\\app\\Lib.dll", "SetCurrentDirectoryW C:\\start",
                     "GetProcAddress DllGetClassObject"}));
    EXPECT_EQ(services.files.directory, u"C:\\start");
    ASSERT_EQ(cache.size(), 1u);
    EXPECT_EQ(cache.begin()->first, u"Lib.dll");
    EXPECT_EQ(cache.begin()->second, &services.libraries.libraries[u"C:\\app\\Lib.dll"]);
}

TEST_F(library_cache_test, loads_once_and_goes_straight_to_the_export_afterwards)
{
    add_good(u"C:\\app\\Lib.dll");
    EXPECT_EQ(get(u"Lib.dll"), S_OK);
    (void)services.log.take();
    services.files.files.clear();
    EXPECT_EQ(get(u"Lib.dll"), S_OK);
    EXPECT_EQ(services.log.take(), lines{"GetProcAddress DllGetClassObject"});
    EXPECT_EQ(test::asked::calls, 2);
}

TEST_F(library_cache_test, keeps_names_that_differ_in_case_apart)
{
    add_good(u"C:\\app\\LogKit.dll");
    add_good(u"C:\\app\\logkit.dll");
    EXPECT_EQ(get(u"LogKit.dll"), S_OK);
    EXPECT_EQ(get(u"logkit.dll"), S_OK);
    EXPECT_EQ(services.log.count("LoadLibraryW"), 2u);
    ASSERT_EQ(cache.size(), 2u);
    EXPECT_EQ(cache.begin()->first, u"LogKit.dll");
    EXPECT_NE(cache.begin()->second, cache.rbegin()->second);
}

TEST_F(library_cache_test, loads_a_path_as_given_in_its_folder)
{
    services.libraries.add_library(u"D:\\x\\Lib.dll", entry_point, test::as_export(&test::good_entry_point));
    EXPECT_EQ(get(u"D:\\x\\Lib.dll"), S_OK);
    EXPECT_EQ(services.log.take(),
              (lines{"GetCurrentDirectoryW", "SetCurrentDirectoryW D:\\x", "LoadLibraryW D:\\x\\Lib.dll",
                     "SetCurrentDirectoryW C:\\start", "GetProcAddress DllGetClassObject"}));
    EXPECT_EQ(cache.begin()->first, u"D:\\x\\Lib.dll");
}

TEST_F(library_cache_test, leaves_a_bare_name_to_the_system_without_a_change_of_directory)
{
    services.libraries.add_library(u"Lib.dll", entry_point, test::as_export(&test::good_entry_point));
    EXPECT_EQ(get(u"Lib.dll"), S_OK);
    const lines seen = services.log.take();
    ASSERT_GE(seen.size(), 5u);
    EXPECT_EQ(lines(seen.end() - 5, seen.end()),
              (lines{"GetCurrentDirectoryW", "SetCurrentDirectoryW", "LoadLibraryW Lib.dll",
                     "SetCurrentDirectoryW C:\\start", "GetProcAddress DllGetClassObject"}));
    EXPECT_EQ(services.files.directory, u"C:\\start");
}

TEST_F(library_cache_test, loads_the_bare_name_where_the_program_has_no_name)
{
    services.libraries.module_path.clear();
    services.libraries.add_library(u"Lib.dll", entry_point, test::as_export(&test::good_entry_point));
    EXPECT_EQ(get(u"Lib.dll"), S_OK);
    EXPECT_EQ(services.log.count("GetFileAttributesW"), 0u);
}

TEST_F(library_cache_test, ends_where_the_found_file_does_not_load_and_searches_again_next_time)
{
    services.files.folders.insert(u"C:\\app\\Lib.dll");
    add_good(u"C:\\app\\System\\Lib.dll");
    EXPECT_EQ(get(u"Lib.dll"), make_hresult(0x80040154));
    EXPECT_FALSE(factory);
    EXPECT_TRUE(cache.empty());
    EXPECT_EQ(services.log.take(), (lines{"GetModuleFileNameW", "GetFileAttributesW C:\\app\\Lib.dll",
                                          "GetCurrentDirectoryW", "SetCurrentDirectoryW C:\\app",
                                          "LoadLibraryW C:\\app\\Lib.dll", "SetCurrentDirectoryW C:\\start"}));
    EXPECT_EQ(services.files.directory, u"C:\\start");
    services.files.folders.clear();
    EXPECT_EQ(get(u"Lib.dll"), S_OK);
    EXPECT_EQ(services.log.count("LoadLibraryW C:\\app\\System\\Lib.dll"), 1u);
}

TEST_F(library_cache_test, keeps_a_library_without_the_export)
{
    services.files.files.insert(u"C:\\app\\Lib.dll");
    services.libraries.add_library(u"C:\\app\\Lib.dll", "Other", test::as_export(&test::good_entry_point));
    EXPECT_EQ(get(u"Lib.dll"), REGDB_E_CLASSNOTREG);
    EXPECT_EQ(cache.size(), 1u);
    (void)services.log.take();
    EXPECT_EQ(get(u"Lib.dll"), REGDB_E_CLASSNOTREG);
    EXPECT_EQ(services.log.take(), lines{"GetProcAddress DllGetClassObject"});
}

TEST_F(library_cache_test, answers_what_the_entry_point_answers)
{
    services.files.files.insert(u"C:\\app\\Lib.dll");
    services.libraries.add_library(u"C:\\app\\Lib.dll", entry_point, test::as_export(&test::refusing_entry_point));
    EXPECT_EQ(get(u"Lib.dll"), E_ACCESSDENIED);
    EXPECT_FALSE(factory);
    EXPECT_EQ(cache.size(), 1u);
}

TEST_F(library_cache_test, leaves_the_directory_alone_where_it_cannot_be_saved)
{
    add_good(u"C:\\app\\Lib.dll");
    services.files.directory.clear();
    EXPECT_EQ(get(u"Lib.dll"), S_OK);
    EXPECT_EQ(services.log.count("SetCurrentDirectoryW"), 0u);
}

TEST_F(library_cache_test, saves_a_directory_of_a_whole_path)
{
    add_good(u"C:\\app\\Lib.dll");
    const std::u16string longest = u"C:\\" + std::u16string(256, u'd');
    services.files.directory = longest;
    EXPECT_EQ(get(u"Lib.dll"), S_OK);
    EXPECT_EQ(services.log.count("SetCurrentDirectoryW C:\\app"), 1u);
    EXPECT_EQ(services.files.directory, longest);
}

TEST_F(library_cache_test, reports_what_it_did)
{
    search_report report;
    EXPECT_EQ(get(u"Lib.dll", &report), REGDB_E_CLASSNOTREG);
    EXPECT_EQ(report.outcome, search_outcome::left_to_system);
    EXPECT_EQ(report.attempts.size(), 4u);
    EXPECT_EQ(report.loaded_path, u"Lib.dll");
    EXPECT_FALSE(report.loaded);
    EXPECT_EQ(report.refusal, u"Lib.dll: does not load");
    EXPECT_FALSE(report.has_entry_point);
    EXPECT_EQ(report.result, REGDB_E_CLASSNOTREG);

    add_good(u"C:\\app\\System\\Lib.dll");
    EXPECT_EQ(get(u"Lib.dll", &report), S_OK);
    EXPECT_EQ(report.outcome, search_outcome::found);
    ASSERT_EQ(report.attempts.size(), 2u);
    EXPECT_FALSE(report.attempts[0].present);
    EXPECT_TRUE(report.attempts[1].present);
    EXPECT_EQ(report.loaded_path, u"C:\\app\\System\\Lib.dll");
    EXPECT_TRUE(report.loaded);
    EXPECT_EQ(report.refusal, u"");
    EXPECT_TRUE(report.has_entry_point);
    EXPECT_EQ(report.result, S_OK);

    EXPECT_EQ(get(u"Lib.dll", &report), S_OK);
    EXPECT_EQ(report.outcome, search_outcome::cached);
    EXPECT_TRUE(report.attempts.empty());
    EXPECT_EQ(report.loaded_path, u"");
    EXPECT_TRUE(report.has_entry_point);
}

} // namespace
} // namespace cw
