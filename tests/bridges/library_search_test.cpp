#include "bridges/library_search.h"

#include "tests/support/scripted_services.h"

#include <gtest/gtest.h>

namespace cw {
namespace {

constexpr const char16_t* version_key = u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion";
constexpr const char16_t* library = u"Lib.dll";
using lines = std::vector<std::string>;
using paths = std::vector<std::u16string>;

class library_search : public testing::Test {
protected:
    void set_common_files(std::u16string folder) { services.machine.keys[version_key][u"CommonFilesDir"] = folder; }
    /// The places that the existence test was asked about, in order.
    paths asked()
    {
        paths result;
        constexpr std::string_view operation = "GetFileAttributesW ";
        for (const std::string& line : services.log.take())
            if (line.starts_with(operation))
                result.emplace_back(line.begin() + operation.size(), line.end());
        return result;
    }
    [[nodiscard]] static paths attempts(const search_report& report)
    {
        paths result;
        for (const auto& attempt : report.attempts)
            result.emplace_back(attempt.path.view());
        return result;
    }

    test_support::scripted_services services;
};

TEST_F(library_search, tells_the_folder_of_a_path)
{
    const std::pair<const char16_t*, const char16_t*> expected[] = {
        {u"C:\\app\\x.dll", u"C:\\app"},
        {u"C:\\x.dll", u"C:\\"},
        {u"C:\\a\\b\\", u"C:\\a\\b"},
        {u"x.dll", u""},
        {u"C:x.dll", u""},
        {u"a/x.dll", u""},
        {u"", u""},
        {u"a\\x.dll", u"a"},
        {u"\\x.dll", u"\\"},
        {u"\\a\\x.dll", u"\\a"},
        {u"\\:x.dll", u"\\"},
        {u"\\\\server\\share\\x.dll", u"\\\\server\\share"},
        {u"\\\\server\\x.dll", u"\\\\server"},
        {u"\\\\x.dll", u"\\"},
        {u"/usr/lib/x.dll", u"/usr/lib"},
        {u"/x.dll", u"/"},
        {u"/a\\b/x.dll", u"/a\\b"},
        {u"/:x/y", u"/:x"},
    };
    for (const auto& [path, folder] : expected)
        EXPECT_EQ(folder_of(path), folder) << string(path).narrow();
}

TEST_F(library_search, reads_the_common_files_folder)
{
    set_common_files(u"C:\\Program Files\\Common Files");
    EXPECT_EQ(common_files_folder(), u"C:\\Program Files\\Common Files\\");
    EXPECT_EQ(services.log.take(), (lines{"RegOpenKeyExW SOFTWARE\\Microsoft\\Windows\\CurrentVersion 0x00020019",
                                          "RegQueryValueExW CommonFilesDir", "RegCloseKey"}));
    set_common_files(u"C:\\Common\\");
    EXPECT_EQ(common_files_folder(), u"C:\\Common\\");
    set_common_files(u"/usr/lib/cratewright");
    EXPECT_EQ(common_files_folder(), u"/usr/lib/cratewright/");
    set_common_files(u"/");
    EXPECT_EQ(common_files_folder(), u"/");
}

TEST_F(library_search, takes_a_backslash_for_a_missing_common_files_folder)
{
    EXPECT_EQ(common_files_folder(), u"\\");
    EXPECT_EQ(services.log.take(), lines{"RegOpenKeyExW SOFTWARE\\Microsoft\\Windows\\CurrentVersion 0x00020019"});
    services.machine.keys[version_key];
    EXPECT_EQ(common_files_folder(), u"\\");
    EXPECT_EQ(services.log.count("RegCloseKey"), 1u);
    set_common_files(u"");
    EXPECT_EQ(common_files_folder(), u"\\");
    // More than the buffer holds: the result of the read is not looked at.
    set_common_files(std::u16string(300, u'x'));
    EXPECT_EQ(common_files_folder(), u"\\");
    set_common_files(std::u16string(259, u'x'));
    EXPECT_EQ(common_files_folder().length(), 260u);
}

TEST_F(library_search, tries_the_places_in_their_order)
{
    services.libraries.module_path = u"C:\\a\\b\\c\\viewer.exe";
    set_common_files(u"C:\\Common");
    search_report report;
    EXPECT_EQ(find_library(library, &report), library);
    EXPECT_EQ(report.outcome, search_outcome::left_to_system);
    EXPECT_EQ(services.log.count("RegOpenKeyExW"), 2u); // read afresh for the second place
    EXPECT_EQ(asked(), (paths{
                           u"C:\\a\\b\\c\\Lib.dll", u"C:\\a\\b\\c\\System\\Lib.dll",
                           u"C:\\Common\\Cratewright\\Lib.dll", u"C:\\Common\\Cratewright\\Demowright\\Lib.dll",
                           u"C:\\a\\b\\System\\x64\\Lib.dll", u"C:\\a\\System\\x64\\Lib.dll",
                           u"C:\\a\\b\\c\\Lib.dll", // the walk answers the first candidate, which fails again
                       }));
    EXPECT_EQ(attempts(report), (paths{
                                    u"C:\\a\\b\\c\\Lib.dll",
                                    u"C:\\a\\b\\c\\System\\Lib.dll",
                                    u"C:\\Common\\Cratewright\\Lib.dll",
                                    u"C:\\Common\\Cratewright\\Demowright\\Lib.dll",
                                    u"C:\\a\\b\\System\\x64\\Lib.dll",
                                    u"C:\\a\\System\\x64\\Lib.dll",
                                }));
    for (const auto& attempt : report.attempts)
        EXPECT_FALSE(attempt.present);
    EXPECT_EQ(report.attempts[0].place, search_place::module_folder);
    EXPECT_EQ(report.attempts[1].place, search_place::module_system_folder);
    EXPECT_EQ(report.attempts[2].place, search_place::common_files_folder);
    EXPECT_EQ(report.attempts[3].place, search_place::common_files_demowright_folder);
    EXPECT_EQ(report.attempts[4].place, search_place::ancestor_x64_folder);
    EXPECT_EQ(report.attempts[5].place, search_place::ancestor_x64_folder);
}

TEST_F(library_search, ends_at_the_first_place_that_holds_the_name)
{
    services.libraries.module_path = u"C:\\a\\b\\c\\viewer.exe";
    set_common_files(u"C:\\Common");
    (void)find_library(library);
    const paths all = asked();
    ASSERT_EQ(all.size(), 7u);
    // From the last place up: each wins over all that come behind it.
    for (std::size_t place = 6; place-- > 0;) {
        services.files.files.insert(all[place]);
        search_report report;
        EXPECT_EQ(find_library(library, &report), all[place]);
        EXPECT_EQ(report.outcome, search_outcome::found);
        ASSERT_EQ(report.attempts.size(), place + 1);
        EXPECT_TRUE(report.attempts.back().present);
        const paths seen = asked();
        EXPECT_EQ(paths(seen.begin(), seen.begin() + static_cast<std::ptrdiff_t>(place) + 1),
                  paths(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(place) + 1));
        // The walk's own hit is tested once more.
        EXPECT_EQ(seen.size(), place >= 4 ? place + 2 : place + 1);
    }
}

TEST_F(library_search, takes_a_folder_of_the_name_for_present)
{
    services.libraries.module_path = u"C:\\app\\viewer.exe";
    services.files.folders.insert(u"C:\\app\\Lib.dll");
    services.files.files.insert(u"C:\\app\\System\\Lib.dll");
    EXPECT_EQ(find_library(library), u"C:\\app\\Lib.dll");
}

TEST_F(library_search, takes_a_name_with_a_separator_as_it_stands)
{
    services.libraries.module_path = u"C:\\app\\viewer.exe";
    for (const auto* name : {u"C:\\x\\Lib.dll", u"x\\Lib.dll", u"\\Lib.dll", u"/opt/Lib.dll"}) {
        search_report report;
        EXPECT_EQ(find_library(name, &report), name);
        EXPECT_EQ(report.outcome, search_outcome::given_path);
    }
    EXPECT_EQ(services.log.take(), lines{});
}

TEST_F(library_search, leaves_the_bare_name_to_the_system_where_the_program_has_no_name)
{
    services.files.files.insert(u"\\Lib.dll");
    search_report report;
    EXPECT_EQ(find_library(library, &report), library);
    EXPECT_EQ(report.outcome, search_outcome::no_module_name);
    EXPECT_EQ(services.log.take(), lines{"GetModuleFileNameW"});
}

TEST_F(library_search, asks_below_the_root_of_the_drive_without_a_common_files_folder)
{
    services.libraries.module_path = u"C:\\viewer.exe";
    (void)find_library(library);
    EXPECT_EQ(asked(), (paths{u"C:\\Lib.dll", u"C:\\System\\Lib.dll", u"\\Cratewright\\Lib.dll",
                              u"\\Cratewright\\Demowright\\Lib.dll", u"C:\\Lib.dll"}));
}

TEST_F(library_search, knows_a_program_of_a_whole_path)
{
    const std::u16string folder = u"C:\\" + std::u16string(254, u'f');
    services.libraries.module_path = folder + u"\\v";
    ASSERT_EQ(services.libraries.module_path.size(), 259u);
    (void)find_library(library);
    EXPECT_EQ(asked().front(), folder + u"\\Lib.dll");
}

TEST_F(library_search, joins_to_the_empty_folder_of_a_bare_module_name)
{
    services.libraries.module_path = u"viewer.exe";
    (void)find_library(library);
    const paths seen = asked();
    EXPECT_EQ(seen[0], u"\\Lib.dll");
    EXPECT_EQ(seen[1], u"\\System\\Lib.dll");
}

TEST_F(library_search, walks_native_paths_by_their_own_separator)
{
    services.libraries.module_path = u"/opt/cw/bin/cwcabview";
    set_common_files(u"/opt/cw/lib");
    (void)find_library(library);
    EXPECT_EQ(asked(), (paths{
                           u"/opt/cw/bin/Lib.dll",
                           u"/opt/cw/bin/System/Lib.dll",
                           u"/opt/cw/lib/Cratewright/Lib.dll",
                           u"/opt/cw/lib/Cratewright/Demowright/Lib.dll",
                           u"/opt/cw/System/x64/Lib.dll",
                           u"/opt/System/x64/Lib.dll",
                           u"/opt/cw/bin/Lib.dll",
                       }));
}

TEST_F(library_search, probes_the_ancestors_between_the_folder_and_the_root)
{
    struct row {
        const char16_t* path;
        paths probes;
    };
    const row rows[] = {
        {u"C:\\Lib.dll", {}},
        {u"C:\\a\\Lib.dll", {}},
        {u"C:\\a\\b\\Lib.dll", {u"C:\\a\\System\\x64\\Lib.dll"}},
        {u"C:\\a\\b\\c\\Lib.dll", {u"C:\\a\\b\\System\\x64\\Lib.dll", u"C:\\a\\System\\x64\\Lib.dll"}},
        {u"Lib.dll", {}},
        {u"/Lib.dll", {}},
        {u"/a/Lib.dll", {}},
        {u"/a/b/Lib.dll", {u"/a/System/x64/Lib.dll"}},
        {u"/a/b/c/Lib.dll", {u"/a/b/System/x64/Lib.dll", u"/a/System/x64/Lib.dll"}},
        {u"\\\\server\\share\\a\\b\\Lib.dll",
         {u"\\\\server\\share\\a\\System\\x64\\Lib.dll", u"\\\\server\\share\\System\\x64\\Lib.dll"}},
        {u"\\\\server\\share\\Lib.dll", {}},
    };
    for (const row& expected : rows) {
        search_report report;
        EXPECT_EQ(find_in_x64_system_folders(expected.path, library, &report), expected.path);
        EXPECT_EQ(asked(), expected.probes) << string(expected.path).narrow();
        EXPECT_EQ(attempts(report), expected.probes);
    }
}

TEST_F(library_search, takes_the_nearest_ancestor)
{
    services.files.files = {u"C:\\a\\System\\x64\\Lib.dll"};
    EXPECT_EQ(find_in_x64_system_folders(u"C:\\a\\b\\c\\Lib.dll", library), u"C:\\a\\System\\x64\\Lib.dll");
    services.files.files.insert(u"C:\\a\\b\\System\\x64\\Lib.dll");
    EXPECT_EQ(find_in_x64_system_folders(u"C:\\a\\b\\c\\Lib.dll", library), u"C:\\a\\b\\System\\x64\\Lib.dll");
    // Not beside the folder itself and not in the root.
    services.files.files = {u"C:\\a\\b\\c\\System\\x64\\Lib.dll", u"C:\\System\\x64\\Lib.dll"};
    EXPECT_EQ(find_in_x64_system_folders(u"C:\\a\\b\\c\\Lib.dll", library), u"C:\\a\\b\\c\\Lib.dll");
}

TEST_F(library_search, tries_no_place_that_does_not_fit_in_a_path)
{
    const string long_name(std::u16string(240, u'n'));
    const string path = u"C:\\a\\b\\" + long_name;
    EXPECT_EQ(find_in_x64_system_folders(path, long_name), path);
    EXPECT_EQ(asked(), paths{u"C:\\a\\System\\x64\\" + std::u16string(long_name.view())});
    const string longer(std::u16string(250, u'n'));
    EXPECT_EQ(find_in_x64_system_folders(u"C:\\a\\b\\" + longer, longer), u"C:\\a\\b\\" + longer);
    EXPECT_EQ(asked(), paths{});
}

TEST_F(library_search, needs_no_report)
{
    services.libraries.module_path = u"C:\\a\\b\\viewer.exe";
    services.files.files = {u"C:\\a\\System\\x64\\Lib.dll"};
    EXPECT_EQ(find_library(library), u"C:\\a\\System\\x64\\Lib.dll");
}

} // namespace
} // namespace cw
