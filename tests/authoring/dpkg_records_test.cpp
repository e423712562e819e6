#include "authoring/dpkg_records.h"

#include "tests/authoring/authoring_support.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <zlib.h>

namespace {

using namespace cw::authoring;
using cw::test::error_of;
using cw::test::write_file;
using texts = std::vector<std::string>;

class dpkg_records : public testing::Test {
protected:
    void status(std::string_view content) { write_file(root / "var/lib/dpkg/status", content); }
    void packed(const char* name, const std::string& content)
    {
        const gzFile file = ::gzopen((root / name).c_str(), "wb");
        ASSERT_EQ(::gzwrite(file, content.data(), static_cast<unsigned>(content.size())),
                  static_cast<int>(content.size()));
        ::gzclose(file);
    }
    std::string failure()
    {
        return error_of([&] { (void)read_dpkg_packages(root.path()); });
    }
    texts actions()
    {
        texts lines;
        for_each_dpkg_action(root.path(), [&](const dpkg_action& action) {
            lines.push_back(action.moment + "|" + action.action + "|" + action.subject + "|" + action.details);
        });
        return lines;
    }

    cw::test::temporary_folder root;
};

TEST_F(dpkg_records, packages_have_fields)
{
    status("Package: b\nStatus: install ok installed\nArchitecture: amd64\nDescription: short\n long\n .\n\n\n"
           "Package: a\nStatus: deinstall ok config-files\nArchitecture: all\nVersion:1.0  ");
    const std::vector<dpkg_package> packages = read_dpkg_packages(root.path());
    ASSERT_EQ(packages.size(), 2u);
    EXPECT_EQ(packages[0].identifier(), "b:amd64");
    EXPECT_TRUE(packages[0].is_installed());
    EXPECT_EQ(packages[0].field("Description"), "short\nlong\n.");
    EXPECT_EQ(packages[0].field("Version"), "");
    EXPECT_EQ(packages[1].identifier(), "a:all");
    EXPECT_FALSE(packages[1].is_installed());
    EXPECT_EQ(packages[1].field("Version"), "1.0");
}

TEST_F(dpkg_records, not_installed_is_not_installed)
{
    status("Package: a\nStatus: purge ok not-installed\nArchitecture: all\n");
    EXPECT_FALSE(read_dpkg_packages(root.path()).front().is_installed());
}

TEST_F(dpkg_records, no_packages_are_none)
{
    status("\n\n");
    EXPECT_TRUE(read_dpkg_packages(root.path()).empty());
}

TEST_F(dpkg_records, tells_where_the_records_are_wrong)
{
    const std::string file = (root / "var/lib/dpkg/status").string() + ": ";
    EXPECT_EQ(failure(), file + "there is no record of packages");
    status("Package: a\nnonsense\n");
    EXPECT_EQ(failure(), file + "line 2: expected the name of a field");
    status(" goes on\n");
    EXPECT_EQ(failure(), file + "line 1: there is no field that goes on");
    status("Version: 1\n\n");
    EXPECT_EQ(failure(), file + "line 2: the package above has no name");
    status("Package: a\nArchitecture: x\n\nPackage: a\nArchitecture: x\n");
    EXPECT_EQ(failure(), file + "line 5: package a:x stands twice");
    status("Package: " + std::string(3u << 20, 'x'));
    EXPECT_EQ(failure(), file + "a line is too long");
    std::filesystem::remove(root / "var/lib/dpkg/status");
    std::filesystem::create_directory(root / "var/lib/dpkg/status");
    EXPECT_NE(failure(), "no error");
}

TEST_F(dpkg_records, bytes_that_are_no_text_are_replaced)
{
    status("Package: a\nMaintainer: caf\xE9 caf\xC3\xA9 \xF0\x9F\x90\x9F\xFF\n");
    EXPECT_EQ(read_dpkg_packages(root.path()).front().field("Maintainer"), "caf\uFFFD café 🐟\uFFFD");
}

TEST_F(dpkg_records, lists_name_files_with_and_without_architecture)
{
    dpkg_package package;
    package.name = "a";
    package.architecture = "amd64";
    EXPECT_TRUE(read_dpkg_file_list(root.path(), package).empty());
    write_file(root / "var/lib/dpkg/info/a.list", "/.\n/usr\n/usr/a b\n\nnonsense\n/\n/last");
    EXPECT_EQ(read_dpkg_file_list(root.path(), package), (texts{"/usr", "/usr/a b", "/last"}));
    write_file(root / "var/lib/dpkg/info/a:amd64.list", "/lib\n");
    EXPECT_EQ(read_dpkg_file_list(root.path(), package), texts{"/lib"});
    write_file(root / "var/lib/dpkg/info/a:amd64.conffiles", "/etc/a\nremove-on-upgrade /etc/b\n");
    EXPECT_EQ(read_dpkg_configuration_files(root.path(), package), texts{"/etc/a"});
}

TEST_F(dpkg_records, the_diary_is_read_from_its_oldest_part_on)
{
    EXPECT_TRUE(actions().empty());
    write_file(root / "var/log/dpkg.log", "2025-01-05 00:00:00 upgrade a:all 1 2\n");
    write_file(root / "var/log/dpkg.log.1", "2025-01-04 00:00:00 remove b:all 1 <none>");
    packed("var/log/dpkg.log.2.gz",
           "2025-01-02 00:00:00 install a:all <none> 1\n2025-01-03 00:00:00 startup archives\n");
    packed("var/log/dpkg.log.10.gz", "2025-01-01 10:20:30 install b:all <none> 1\n");
    write_file(root / "var/log/dpkg.log.old", "2024-01-01 00:00:00 install c:all <none> 1\n");
    write_file(root / "var/log/dpkg.logs", "2024-01-01 00:00:00 install c:all <none> 1\n");
    EXPECT_EQ(actions(), (texts{"2025-01-01 10:20:30|install|b:all|<none> 1",
                                "2025-01-02 00:00:00|install|a:all|<none> 1", "2025-01-03 00:00:00|startup|archives|",
                                "2025-01-04 00:00:00|remove|b:all|1 <none>", "2025-01-05 00:00:00|upgrade|a:all|1 2"}));
}

TEST_F(dpkg_records, lines_of_another_form_are_passed_over)
{
    write_file(root / "var/log/dpkg.log", "\n2025-01-05\nx y install a:all\n2025-01-05 00:00:00\n"
                                          "2025-01-05 00:00:00 install\n2025-1-05 00:00:00 install a:all\n"
                                          "2025-01-05 00:00:00 install a:all\n");
    EXPECT_EQ(actions(), texts{"2025-01-05 00:00:00|install|a:all|"});
}

TEST_F(dpkg_records, a_damaged_part_of_the_diary_is_an_error)
{
    packed("var/log/dpkg.log.1.gz", cw::test::noise(100'000));
    const std::string whole = cw::test::read_file(root / "var/log/dpkg.log.1.gz");
    write_file(root / "var/log/dpkg.log.1.gz", whole.substr(0, whole.size() / 2));
    EXPECT_NE(error_of([&] { (void)actions(); }).find("dpkg.log.1.gz"), std::string::npos);
}

TEST_F(dpkg_records, what_is_no_file_is_not_waited_for)
{
    const auto put_pipe = [this](const char* name) {
        std::filesystem::create_directories((root / name).parent_path());
        ASSERT_EQ(::mkfifo((root / name).c_str(), 0600), 0);
    };
    put_pipe("var/lib/dpkg/status");
    EXPECT_NE(failure().find("status: that is no file"), std::string::npos);
    put_pipe("var/lib/dpkg/info/a.list");
    dpkg_package package;
    package.name = "a";
    const auto list = [&] { (void)read_dpkg_file_list(root.path(), package); };
    EXPECT_NE(error_of(list).find("a.list: that is no file"), std::string::npos);
    put_pipe("var/log/dpkg.log");
    EXPECT_NE(error_of([&] { (void)actions(); }).find("dpkg.log: that is no file"), std::string::npos);
    put_pipe("etc/os-release");
    EXPECT_EQ(read_setting(root / "etc/os-release", "PRETTY_NAME"), "");
}

TEST_F(dpkg_records, a_list_that_cannot_be_read_is_not_an_empty_one)
{
    dpkg_package package;
    package.name = "a";
    std::filesystem::create_directories(root / "var/lib/dpkg/info");
    std::filesystem::create_symlink("a.list", root / "var/lib/dpkg/info/a.list");
    const auto list = [&] { (void)read_dpkg_file_list(root.path(), package); };
    EXPECT_NE(error_of(list).find("a.list: the file cannot be read"), std::string::npos);
}

TEST_F(dpkg_records, a_diary_that_cannot_be_read_is_not_an_empty_one)
{
    write_file(root / "var/log", "a file in the place of the folder");
    EXPECT_NE(error_of([&] { (void)actions(); }).find("var/log: the folder cannot be read"), std::string::npos);
}

TEST_F(dpkg_records, settings_are_read_from_the_first_section)
{
    write_file(root / "a", "Named=x\n[Desktop Entry]\nName[de]=y\nName = \"The \n# Name=z\n[Other]\nNo=1\n");
    EXPECT_EQ(read_setting(root / "a", "Name"), "\"The");
    EXPECT_EQ(read_setting(root / "a", "No"), "");
    write_file(root / "b", "A=\"quoted text\"\nB='x'\nC=\"\nD=\n");
    EXPECT_EQ(read_setting(root / "b", "A"), "quoted text");
    EXPECT_EQ(read_setting(root / "b", "B"), "x");
    EXPECT_EQ(read_setting(root / "b", "C"), "\"");
    EXPECT_EQ(read_setting(root / "b", "D"), "");
    EXPECT_EQ(read_setting(root / "absent", "A"), "");
    EXPECT_EQ(read_setting(root.path(), "A"), "");
}

} // namespace
