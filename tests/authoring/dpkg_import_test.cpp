#include "authoring/dpkg_import.h"

#include "authoring/log_recorder.h"
#include "tests/authoring/authoring_support.h"

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;
using namespace cw::authoring;
using namespace cw::test;
using rows = std::vector<std::string>;

class dpkg_import_test : public testing::Test {
protected:
    dpkg_import_test()
    {
        write_file(root / "etc/os-release", "NAME=Harbour\nPRETTY_NAME=\"Harbour Linux 3\"\n");
        write_file(root / "var/lib/dpkg/status",
                   "Package: tour\nStatus: install ok installed\nSection: games\nArchitecture: amd64\nVersion: 3.2\n"
                   "Installed-Size: 17\nDepends: libtide (>= 2),\n libc6 | musl\nSuggests: maps\n"
                   "Description: walks\n more\n\n"
                   "Package: libtide\nStatus: deinstall ok config-files\nSection: libs\nArchitecture: amd64\n\n"
                   "Package: odd\nStatus: install ok installed\nArchitecture: all\n");
        write_file(root / "var/lib/dpkg/info/tour.list",
                   "/.\n/usr\n/usr/games\n/usr/games/tour\n/etc\n/etc/tour.conf\n/usr/share/applications/tour.desktop\n"
                   "/usr/share/applications/gone.desktop\n/opt\n/opt/tour\n");
        write_file(root / "var/lib/dpkg/info/tour.conffiles", "/etc/tour.conf\n");
        write_file(root / "var/lib/dpkg/info/libtide:amd64.list",
                   "/usr\n/usr/lib\n/usr/lib/libtide.so.2\n/usr/x.some\n");
        write_file(root / "usr/games/tour", "#!");
        fs::permissions(root / "usr/games/tour", fs::perms::owner_all);
        write_file(root / "usr/share/applications/tour.desktop", "[Desktop Entry]\nName=The Tour ⚓\n");
        write_file(root / "var/log/dpkg.log", "2025-01-01 08:00:00 startup archives unpack\n"
                                              "2025-01-01 08:00:01 install tour:amd64 <none> 3.1\n"
                                              "2025-01-01 08:00:02 status unpacked tour:amd64 3.1\n"
                                              "2025-01-01 08:00:03 upgrade tour:amd64 3.1 3.2\n"
                                              "2025-01-01 08:00:04 configure tour:amd64 3.2 <none>\n"
                                              "2025-01-01 08:00:05 purge away:all <none> <none>\n");
    }
    dpkg_import_result import(bool replace = false) { return import_dpkg(root.path(), log, replace); }
    std::string failure(bool replace = false)
    {
        return error_of([&] { (void)import(replace); });
    }
    [[nodiscard]] rows operations(const std::string& columns, const std::string& table,
                                  const std::string& feature) const
    {
        return query(log, "SELECT " + columns + " FROM " + table + " AS o JOIN feature AS f ON f.id = o.feature " +
                              "WHERE f.identifier = '" + feature + "' ORDER BY o.position");
    }

    temporary_folder root;
    temporary_folder target;
    fs::path log = target / "a.clg";
};

TEST_F(dpkg_import_test, the_machine_has_sections_and_these_have_packages)
{
    const dpkg_import_result result = import();
    EXPECT_EQ(result.packages, 3u);
    EXPECT_EQ(result.files, 13u);
    EXPECT_EQ(result.actions, 5u);
    EXPECT_EQ(query(log, "SELECT parent, name, identifier FROM feature ORDER BY id"),
              (rows{"0|Harbour Linux 3|dpkg", "1|without section|section/", "2|odd|odd:all", "1|games|section/games",
                    "4|tour|tour:amd64", "1|libs|section/libs", "6|libtide|libtide:amd64"}));
    EXPECT_EQ(query(log, "SELECT name, type, value FROM property WHERE feature = 1"),
              (rows{"State|3|2", "Packages|8|3"}));
    EXPECT_EQ(names_in(target.path()), std::vector<std::string>{"a.clg"});
}

TEST_F(dpkg_import_test, packages_have_properties)
{
    (void)import();
    EXPECT_EQ(
        query(log, "SELECT name, type, value FROM property WHERE feature = 5 ORDER BY position"),
        (rows{"State|3|2", "Version|8|3.2", "Architecture|8|amd64", "Status|8|install ok installed",
              "Installed-Size|8|17 KiB", "Description|8|walks", "Relation fields|8200|null", "Relations|8200|null"}));
    EXPECT_EQ(query(log, "SELECT t.text, v.text FROM property_element AS t JOIN property_element AS v USING (feature, "
                         "position) WHERE t.feature = 5 AND t.property = 6 AND v.property = 7"),
              (rows{"Depends|libtide (>= 2)", "Depends|libc6 | musl", "Suggests|maps"}));
    EXPECT_EQ(query(log, "SELECT value FROM property WHERE feature = 7 AND name = 'State'"), rows{"0"});
}

TEST_F(dpkg_import_test, files_are_told_with_what_is_known_of_them)
{
    (void)import();
    // Folder, name, shared, folder, potentially locked, permanent or created.
    EXPECT_EQ(operations("folder, file_name, shared, is_directory, potentially_locked, permanent_or_created",
                         "file_operation", "tour:amd64"),
              (rows{"/|usr|1|1|0|0", "/usr|games|0|1|0|1", "/usr/games|tour|0|0|1|0", "/|etc|0|1|0|1",
                    "/etc|tour.conf|0|0|0|1", "/usr/share/applications|tour.desktop|0|0|0|0",
                    "/usr/share/applications|gone.desktop|0|0|0|0", "/|opt|0|1|0|1", "/opt|tour|0|0|0|0"}));
    EXPECT_EQ(operations("folder, file_name, is_directory, potentially_locked", "file_operation", "libtide:amd64"),
              (rows{"/|usr|1|0", "/usr|lib|1|0", "/usr/lib|libtide.so.2|0|1", "/usr|x.some|0|0"}));
    EXPECT_EQ(operations("folder_name, shortcut, permanent, created_directory", "shell_operation", "tour:amd64"),
              (rows{"Start Menu|The Tour ⚓|0|0", "Start Menu|gone|0|0"}));
}

TEST_F(dpkg_import_test, a_shortcut_whose_file_cannot_be_made_out_has_the_files_name)
{
    write_file(root / "usr/share/applications/tour.desktop", "[Desktop Entry]\nName=" + std::string(2 << 20, 'x'));
    (void)import();
    EXPECT_EQ(operations("shortcut", "shell_operation", "tour:amd64"), (rows{"tour", "gone"}));
}

TEST_F(dpkg_import_test, the_diary_is_told_without_its_small_steps)
{
    (void)import();
    EXPECT_EQ(operations("operation, data", "general_operation", "tour:amd64"),
              (rows{"install|2025-01-01 08:00:01, 3.1", "upgrade|2025-01-01 08:00:03, 3.1 to 3.2",
                    "configure|2025-01-01 08:00:04, 3.2"}));
    EXPECT_EQ(operations("operation, data", "general_operation", "dpkg"),
              (rows{"startup|2025-01-01 08:00:00, archives, unpack", "purge|2025-01-01 08:00:05, away:all"}));
}

TEST_F(dpkg_import_test, without_a_diary_there_are_no_actions)
{
    fs::remove_all(root / "var/log");
    fs::remove(root / "etc/os-release");
    EXPECT_EQ(import().actions, 0u);
    EXPECT_EQ(query(log, "SELECT name FROM feature WHERE id = 1"), rows{"This machine"});
}

TEST_F(dpkg_import_test, a_log_that_is_there_is_replaced_only_when_told_to)
{
    write_file(log, "precious");
    EXPECT_EQ(failure(), log.string() + ": the file is there already");
    EXPECT_EQ(read_file(log), "precious");
    EXPECT_EQ(failure(true), "no error");
    EXPECT_EQ(query(log, "SELECT COUNT(*) FROM feature"), rows{"7"});
    EXPECT_EQ(names_in(target.path()), std::vector<std::string>{"a.clg"});
}

TEST_F(dpkg_import_test, a_log_that_is_being_recorded_is_not_replaced)
{
    log_recorder recorder(log);
    recorder.add_feature("A", "a", {});
    recorder.commit();
    EXPECT_NE(failure(true).find("a.clg-wal"), std::string::npos);
    recorder.close();
    EXPECT_EQ(query(log, "SELECT COUNT(*) FROM feature"), rows{"1"});
}

TEST_F(dpkg_import_test, what_goes_wrong_leaves_nothing)
{
    write_file(root / "var/lib/dpkg/status", "nonsense\n");
    EXPECT_NE(failure(), "no error");
    fs::remove(root / "var/lib/dpkg/status");
    EXPECT_NE(failure().find("there is no record of packages"), std::string::npos);
    EXPECT_TRUE(names_in(target.path()).empty());
    log = target.path() / "no" / "a.clg";
    EXPECT_NE(failure().find("there is no such folder"), std::string::npos);
    EXPECT_TRUE(names_in(target.path()).empty());
    log.clear();
    EXPECT_NE(failure().find("there is no such folder"), std::string::npos);
}

} // namespace
