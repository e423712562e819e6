#include "platform/last_error.h"
#include "platform/posix_services.h"
#include "platform/utf8.h"

#include "tests/support/surroundings.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <new>
#include <set>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

// Freeing memory may change `errno`; here it does while a test says so.
static thread_local int errno_left_by_delete = 0;

void* operator new(std::size_t size_in_bytes)
{
    void* memory = std::malloc(size_in_bytes ? size_in_bytes : 1);
    return memory ? memory : throw std::bad_alloc();
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
    if (memory && errno_left_by_delete)
        errno = errno_left_by_delete;
}

void operator delete(void* memory, std::size_t) noexcept
{
    operator delete(memory);
}

namespace {

using namespace cw::platform;
using cw::platform::file_handle; // the system's headers have one as well
using cw::test_support::as_nobody;
using cw::test_support::environment_variable;
using cw::test_support::file_mode_mask;
using cw::test_support::mode_of;
using cw::test_support::open_descriptors;
using cw::test_support::temporary_folder;

class posix_file_system : public testing::Test {
protected:
    temporary_folder folder;
    std::unique_ptr<file_system> files = make_posix_file_system();
    std::filesystem::path before = std::filesystem::current_path();
    ~posix_file_system() override
    {
        std::filesystem::current_path(before);
        std::filesystem::permissions(folder.path(), std::filesystem::perms(0755));
    }
};

TEST_F(posix_file_system, tells_files_from_folders)
{
    folder.write("\xC3\xA9.txt", "x");
    EXPECT_EQ(files->attributes(folder.wide_file("\xC3\xA9.txt").c_str()), file_attribute_normal);
    EXPECT_EQ(files->attributes(folder.path().u16string().c_str()), file_attribute_directory);
    chmod(folder.file("\xC3\xA9.txt").c_str(), 0444);
    EXPECT_EQ(files->attributes(folder.wide_file("\xC3\xA9.txt").c_str()), file_attribute_read_only);
}

TEST_F(posix_file_system, tells_why_there_is_none)
{
    const auto error_of = [&](const std::u16string& path) {
        set_last_error(0);
        EXPECT_EQ(files->attributes(path.c_str()), invalid_file_attributes);
        return get_last_error();
    };
    folder.write("file", "x");
    EXPECT_EQ(error_of(folder.wide_file("absent")), error_file_not_found);
    EXPECT_EQ(error_of(folder.wide_file("file/below")), error_path_not_found);
    EXPECT_EQ(error_of(u""), error_path_not_found);
    EXPECT_EQ(error_of(folder.wide_file(std::string(300, 'n'))), 206u);
}

TEST_F(posix_file_system, a_link_that_leads_nowhere_takes_its_name)
{
    folder.write("file", "x");
    for (const auto& [name, target] : {std::pair{"dangling", "nowhere"},
                                       {"circle", "circle"},
                                       {"there", "back"},
                                       {"back", "there"},
                                       {"through", "file/below"}})
        std::filesystem::create_symlink(target, folder.path() / name);
    for (const char* link : {"dangling", "circle", "there", "back", "through"})
        EXPECT_EQ(files->attributes(folder.wide_file(link).c_str()), file_attribute_normal) << link;
    // Behind it there is nothing.
    for (const auto& [path, error] : {std::pair{"dangling/file", 2u}, {"circle/file", 1921u}, {"through/file", 3u}}) {
        set_last_error(0);
        EXPECT_EQ(files->attributes(folder.wide_file(path).c_str()), invalid_file_attributes) << path;
        EXPECT_EQ(get_last_error(), error) << path;
    }
}

TEST_F(posix_file_system, a_backslash_path_is_one_relative_name)
{
    folder.write("a\\b", "x");
    std::filesystem::current_path(folder.path());
    EXPECT_EQ(files->attributes(u"a\\b"), file_attribute_normal);
    EXPECT_EQ(files->attributes(u"C:\\a"), invalid_file_attributes);
}

TEST_F(posix_file_system, reaches_names_that_are_no_utf8)
{
    folder.write("bad\xFFname", "x");
    const std::u16string path = path_from_bytes(folder.file("bad\xFFname"));
    EXPECT_EQ(files->attributes(path.c_str()), file_attribute_normal);
    EXPECT_TRUE(files->delete_file(path.c_str()));
    EXPECT_FALSE(std::filesystem::exists(folder.file("bad\xFFname")));
}

TEST_F(posix_file_system, changes_the_current_directory)
{
    const std::u16string wanted = folder.path().u16string();
    ASSERT_TRUE(files->set_current_directory(wanted.c_str()));
    char16_t target[260];
    EXPECT_EQ(files->current_directory(target, 260), wanted.size());
    EXPECT_EQ(target, wanted);

    const auto size = static_cast<std::uint32_t>(wanted.size());
    EXPECT_EQ(files->current_directory(target, size + 1), size);
    EXPECT_EQ(files->current_directory(target, size), 0u);
    EXPECT_EQ(get_last_error(), error_insufficient_buffer);
    EXPECT_EQ(files->current_directory(target, 0), 0u);
}

TEST_F(posix_file_system, a_folder_that_is_not_there_changes_nothing)
{
    set_last_error(0);
    EXPECT_FALSE(files->set_current_directory(folder.wide_file("absent").c_str()));
    EXPECT_EQ(get_last_error(), error_file_not_found);
    EXPECT_FALSE(files->set_current_directory(u""));
    EXPECT_EQ(std::filesystem::current_path(), before);
}

TEST_F(posix_file_system, a_current_directory_that_is_gone_has_no_name)
{
    std::filesystem::create_directory(folder.path() / "short");
    std::filesystem::current_path(folder.path() / "short");
    std::filesystem::remove(folder.path() / "short");
    char16_t target[260];
    set_last_error(0);
    EXPECT_EQ(files->current_directory(target, 260), 0u);
    EXPECT_EQ(get_last_error(), error_file_not_found);
}

TEST_F(posix_file_system, deletes_files_alone)
{
    folder.write("file", "x");
    EXPECT_TRUE(files->delete_file(folder.wide_file("file").c_str()));
    EXPECT_FALSE(std::filesystem::exists(folder.file("file")));
    EXPECT_FALSE(files->delete_file(folder.wide_file("file").c_str()));
    EXPECT_EQ(get_last_error(), error_file_not_found);
    EXPECT_FALSE(files->delete_file(folder.path().u16string().c_str()));
    EXPECT_EQ(get_last_error(), error_access_denied);
}

TEST_F(posix_file_system, deletes_nothing_that_is_read_only_or_no_file)
{
    const auto refuses = [&](std::string_view name) {
        set_last_error(0);
        return !files->delete_file(folder.wide_file(name).c_str()) && get_last_error() == error_access_denied &&
               std::filesystem::exists(std::filesystem::symlink_status(folder.path() / name));
    };
    folder.write("kept", "x");
    ASSERT_EQ(chmod(folder.file("kept").c_str(), 0444), 0);
    EXPECT_TRUE(refuses("kept"));
    ASSERT_EQ(mkfifo(folder.file("pipe").c_str(), 0600), 0);
    EXPECT_TRUE(refuses("pipe"));

    // A link goes by itself, wherever it leads.
    std::filesystem::create_symlink("kept", folder.file("link"));
    EXPECT_TRUE(files->delete_file(folder.wide_file("link").c_str()));
    EXPECT_FALSE(std::filesystem::exists(std::filesystem::symlink_status(folder.path() / "link")));
    EXPECT_TRUE(std::filesystem::exists(folder.file("kept")));

    folder.write("of another", "x");
    ASSERT_EQ(chmod(folder.file("of another").c_str(), 0644), 0);
    ASSERT_EQ(chmod(folder.path().c_str(), 0777), 0);
    const bool is_of_root = getuid() == 0;
    const as_nobody nobody;
    if (is_of_root && nobody.is_denied_things()) {
        EXPECT_TRUE(refuses("of another"));
    }
}

TEST_F(posix_file_system, makes_one_folder)
{
    const file_mode_mask mask(027);
    EXPECT_TRUE(files->create_folder(folder.wide_file("new").c_str()));
    EXPECT_EQ(mode_of(folder.file("new")), 0750u);
    EXPECT_TRUE(files->create_folder(folder.wide_file("new/below/").c_str()));
    EXPECT_EQ(files->attributes(folder.wide_file("new/below").c_str()), file_attribute_directory);
}

TEST_F(posix_file_system, tells_why_a_folder_cannot_be_made)
{
    const auto error_of = [&](const std::u16string& path) {
        set_last_error(0);
        EXPECT_FALSE(files->create_folder(path.c_str()));
        return get_last_error();
    };
    folder.write("file", "x");
    EXPECT_EQ(error_of(folder.path().u16string()), error_already_exists);
    EXPECT_EQ(error_of(u"/"), error_already_exists);
    EXPECT_EQ(error_of(folder.wide_file("file")), error_already_exists);
    EXPECT_EQ(error_of(folder.wide_file("file/below")), error_path_not_found);
    EXPECT_EQ(error_of(folder.wide_file("absent/below")), error_path_not_found);
    EXPECT_FALSE(std::filesystem::exists(folder.file("absent")));
    EXPECT_EQ(error_of(u""), error_path_not_found);
    EXPECT_EQ(error_of(folder.wide_file(std::string(300, 'n'))), 206u);

    std::filesystem::permissions(folder.path(), std::filesystem::perms(0555));
    const as_nobody nobody;
    if (nobody.is_denied_things()) {
        EXPECT_EQ(error_of(folder.wide_file("new")), error_access_denied);
    }
}

TEST_F(posix_file_system, tells_the_error_of_the_system_whatever_becomes_of_memory)
{
    folder.write("file", "x");
    const auto error_of = [](auto operation) {
        set_last_error(0);
        errno_left_by_delete = EIO;
        operation();
        errno_left_by_delete = 0;
        return get_last_error();
    };
    const std::u16string below = folder.wide_file("file/below");
    const std::u16string absent = folder.wide_file("absent");
    const std::u16string wide = folder.path().u16string();
    char16_t target[path_room];
    find_data found;
    EXPECT_EQ(error_of([&] { files->attributes(absent.c_str()); }), error_file_not_found);
    EXPECT_EQ(error_of([&] { files->set_current_directory(absent.c_str()); }), error_file_not_found);
    EXPECT_EQ(error_of([&] { files->delete_file(absent.c_str()); }), error_file_not_found);
    EXPECT_EQ(error_of([&] { files->create_folder(wide.c_str()); }), error_already_exists);
    EXPECT_EQ(error_of([&] { files->find_first_file(below.c_str(), &found); }), error_path_not_found);
    EXPECT_EQ(error_of([&] { files->find_first_file(absent.c_str(), &found); }), error_file_not_found);
    EXPECT_EQ(error_of([&] { files->temp_file_name(absent.c_str(), u"_cw", 0, target); }), error_path_not_found);
    const std::unique_ptr<open_files> opened = make_posix_open_files();
    const auto open = [&](const std::u16string& path) {
        opened->create_file(path.c_str(), generic_write, 0, nullptr, open_existing, 0, 0);
    };
    EXPECT_EQ(error_of([&] { open(absent); }), error_file_not_found);
    EXPECT_EQ(error_of([&] { open(wide); }), error_access_denied);
}

TEST_F(posix_file_system, finds_an_entry_by_its_name)
{
    folder.write("\xC3\xA9 *?.txt", "12345");
    std::filesystem::create_directory(folder.path() / "below");
    ASSERT_EQ(utimensat(AT_FDCWD, folder.file("\xC3\xA9 *?.txt").c_str(),
                        std::array{timespec{1'000'000'000, 500}, timespec{-1, 0}}.data(), 0),
              0);

    find_data found;
    found.reserved0 = 9;
    found.alternate_name[0] = u'#';
    file_handle search = files->find_first_file(folder.wide_file("\xC3\xA9 *?.txt").c_str(), &found);
    EXPECT_NE(search, invalid_file_handle);
    EXPECT_EQ(found.attributes, file_attribute_normal);
    EXPECT_EQ(std::u16string(found.file_name), u"\u00E9 *?.txt");
    EXPECT_EQ(found.size_low, 5u);
    EXPECT_EQ(found.size_high, 0u);
    EXPECT_EQ(found.creation_time, 0u);
    EXPECT_EQ(found.last_access_time, 126'444'736'000'000'005u);
    EXPECT_EQ(found.last_write_time, 116'444'735'990'000'000u);
    EXPECT_EQ(found.reserved0, 0u);
    EXPECT_EQ(found.alternate_name[0], u'\0');
    EXPECT_TRUE(files->find_close(search));

    search = files->find_first_file(folder.wide_file("below").c_str(), &found);
    EXPECT_NE(search, invalid_file_handle);
    EXPECT_EQ(found.attributes, file_attribute_directory);
    EXPECT_EQ(found.size_low, 0u);
    EXPECT_EQ(std::u16string(found.file_name), u"below");
    EXPECT_TRUE(files->find_close(search));

    std::filesystem::current_path(folder.path());
    EXPECT_NE(files->find_first_file(u"below", &found), invalid_file_handle);
    EXPECT_EQ(found.attributes, file_attribute_directory);
    EXPECT_NE(files->find_first_file(u"/tmp", &found), invalid_file_handle);
}

TEST_F(posix_file_system, tells_both_halves_of_a_large_size)
{
    folder.write("large", "");
    std::filesystem::resize_file(folder.path() / "large", 0x1'2345'6789);
    find_data found;
    EXPECT_NE(files->find_first_file(folder.wide_file("large").c_str(), &found), invalid_file_handle);
    EXPECT_EQ(found.size_high, 1u);
    EXPECT_EQ(found.size_low, 0x23456789u);
}

TEST_F(posix_file_system, a_name_stands_for_itself_alone)
{
    folder.write("file.txt", "x");
    find_data found;
    const auto error_of = [&](const std::u16string& path) {
        set_last_error(0);
        EXPECT_EQ(files->find_first_file(path.c_str(), &found), invalid_file_handle);
        return get_last_error();
    };
    EXPECT_EQ(error_of(folder.wide_file("*.txt")), error_file_not_found);
    EXPECT_EQ(error_of(folder.wide_file("FILE.TXT")), error_file_not_found);
    EXPECT_EQ(error_of(folder.wide_file("")), error_file_not_found);
    EXPECT_EQ(error_of(u"/"), error_file_not_found);
    EXPECT_EQ(error_of(u""), error_file_not_found);
    EXPECT_EQ(error_of(folder.wide_file(std::string(300, 'n'))), error_file_not_found);
    EXPECT_EQ(error_of(folder.wide_file("absent/file.txt")), error_path_not_found);
    EXPECT_EQ(error_of(folder.wide_file("file.txt/below")), error_path_not_found);
    EXPECT_EQ(error_of(folder.wide_file(std::string(300, 'n') + "/file.txt")), 206u);
}

TEST_F(posix_file_system, finds_what_links_lead_to)
{
    std::filesystem::create_directory(folder.path() / "below");
    std::filesystem::create_symlink("below", folder.path() / "link");
    std::filesystem::create_symlink("nowhere", folder.path() / "dangling");
    find_data found;
    EXPECT_NE(files->find_first_file(folder.wide_file("link").c_str(), &found), invalid_file_handle);
    EXPECT_EQ(found.attributes, file_attribute_directory);
    EXPECT_EQ(std::u16string(found.file_name), u"link");
    EXPECT_NE(files->find_first_file(folder.wide_file("dangling").c_str(), &found), invalid_file_handle);
    EXPECT_EQ(found.attributes, file_attribute_normal);
}

TEST_F(posix_file_system, finds_what_only_the_listing_tells_of)
{
    std::filesystem::create_directories(folder.path() / "closed" / "below");
    folder.write("closed/file", "x");
    std::filesystem::permissions(folder.path(), std::filesystem::perms(0755));
    std::filesystem::permissions(folder.path() / "closed", std::filesystem::perms(0444));
    {
        const as_nobody nobody;
        if (!nobody.is_denied_things())
            GTEST_SKIP() << "the rights of an administrator cannot be given up";
        find_data found;
        EXPECT_EQ(files->attributes(folder.wide_file("closed/file").c_str()), invalid_file_attributes);
        EXPECT_EQ(get_last_error(), error_access_denied);
        EXPECT_NE(files->find_first_file(folder.wide_file("closed/file").c_str(), &found), invalid_file_handle);
        EXPECT_EQ(found.attributes, file_attribute_normal);
        EXPECT_EQ(found.last_write_time, 0u);
        EXPECT_NE(files->find_first_file(folder.wide_file("closed/below").c_str(), &found), invalid_file_handle);
        EXPECT_EQ(found.attributes, file_attribute_directory);
    }
    std::filesystem::permissions(folder.path() / "closed", std::filesystem::perms(0111));
    {
        const as_nobody nobody;
        find_data found;
        set_last_error(0);
        EXPECT_EQ(files->find_first_file(folder.wide_file("closed/file").c_str(), &found), invalid_file_handle);
        EXPECT_EQ(get_last_error(), error_access_denied);
    }
    std::filesystem::permissions(folder.path() / "closed", std::filesystem::perms(0755));
}

TEST_F(posix_file_system, closes_nothing_but_searches)
{
    for (const file_handle handle : {invalid_file_handle, file_handle{0}, file_handle{12345}}) {
        set_last_error(0);
        EXPECT_FALSE(files->find_close(handle));
        EXPECT_EQ(get_last_error(), error_invalid_handle);
    }
}

TEST_F(posix_file_system, has_a_folder_for_temporary_files)
{
    const environment_variable variable("TMPDIR", folder.file("absent"));
    const std::u16string wanted = folder.wide_file("absent") + u"/";
    char16_t target[path_room] = {};
    EXPECT_EQ(files->temp_folder(target, path_room), wanted.size());
    EXPECT_EQ(target, wanted);
    EXPECT_FALSE(std::filesystem::exists(folder.file("absent")));

    set_last_error(0);
    target[0] = u'#';
    EXPECT_EQ(files->temp_folder(target, static_cast<std::uint32_t>(wanted.size())), 0u);
    EXPECT_EQ(get_last_error(), error_insufficient_buffer);
    EXPECT_EQ(target[0], u'#');
}

class posix_temp_names : public posix_file_system {
protected:
    std::u16string wide = folder.path().u16string();
    char16_t target[path_room] = {};

    /// Whether `target` is such a name with the number, or with any that may be chosen.
    void expect_name(std::uint32_t number)
    {
        char expected[32];
        std::snprintf(expected, sizeof expected, "/_cw%X.tmp", number);
        EXPECT_EQ(to_utf8(target), folder.path().native() + expected);
    }
    std::size_t count() const
    {
        const std::filesystem::directory_iterator all(folder.path());
        return static_cast<std::size_t>(std::distance(begin(all), end(all)));
    }
};

TEST_F(posix_temp_names, a_given_number_makes_just_a_name)
{
    EXPECT_EQ(files->temp_file_name(wide.c_str(), u"_cw", 1, target), 1u);
    EXPECT_EQ(target, wide + u"/_cw1.tmp");
    EXPECT_EQ(files->temp_file_name((wide + u"/").c_str(), u"x", 0xABC, target), 0xABCu);
    EXPECT_EQ(target, wide + u"/xABC.tmp");
    EXPECT_EQ(files->temp_file_name(u"C:\\Temp", u"", 0xFFFFFFFF, target), 0xFFFFFFFFu);
    EXPECT_EQ(std::u16string(target), u"C:\\Temp\\FFFFFFFF.tmp");
    EXPECT_EQ(files->temp_file_name(u"C:\\", u"_cw", 0x10000, target), 0x10000u);
    EXPECT_EQ(std::u16string(target), u"C:\\_cw10000.tmp");
    EXPECT_EQ(count(), 0u);
}

TEST_F(posix_temp_names, a_chosen_number_makes_an_empty_file_of_the_user_s_own)
{
    const file_mode_mask mask(0);
    std::set<std::uint32_t> numbers;
    for (int i = 0; i < 50; ++i) {
        const std::uint32_t number = files->temp_file_name(wide.c_str(), u"_cw", 0, target);
        EXPECT_GE(number, 1u);
        EXPECT_LE(number, 0xFFFFu);
        EXPECT_TRUE(numbers.insert(number).second);
        expect_name(number);
        EXPECT_EQ(mode_of(to_utf8(target)), 0600u);
        EXPECT_EQ(std::filesystem::file_size(to_utf8(target)), 0u);
    }
    EXPECT_EQ(count(), 50u);
    // Each search starts somewhere else.
    EXPECT_GT(*numbers.rbegin() - *numbers.begin(), 50u);
}

TEST_F(posix_temp_names, a_taken_name_is_passed_over)
{
    // A name for each number, in memory where that is possible: a disk takes seconds for them.
    const environment_variable variable("TMPDIR", std::filesystem::exists("/dev/shm") ? "/dev/shm" : folder.file(""));
    const temporary_folder full;
    const std::u16string where = full.path().u16string();
    for (unsigned number = 1; number <= 0xFFFF; ++number) {
        char name[32];
        std::snprintf(name, sizeof name, "_cw%X.tmp", number);
        if (number != 0x123) {
            ASSERT_EQ(symlink("nowhere", full.file(name).c_str()), 0);
        }
    }
    EXPECT_EQ(files->temp_file_name(where.c_str(), u"_cw", 0, target), 0x123u);
    EXPECT_EQ(target, where + u"/_cw123.tmp");
    EXPECT_EQ(std::filesystem::file_size(full.file("_cw123.tmp")), 0u);
    EXPECT_FALSE(std::filesystem::exists(full.file("nowhere")));

    set_last_error(0);
    EXPECT_EQ(files->temp_file_name(where.c_str(), u"_cw", 0, target), 0u);
    EXPECT_EQ(get_last_error(), error_file_exists);
    EXPECT_NE(files->temp_file_name(where.c_str(), u"y", 0, target), 0u);
}

TEST_F(posix_temp_names, a_name_is_there_where_no_file_can_be)
{
    const auto error_in = [&](const std::u16string& where) {
        target[0] = 0;
        set_last_error(0);
        EXPECT_EQ(files->temp_file_name(where.c_str(), u"_cw", 0, target), 0u);
        const std::uint32_t error = get_last_error();
        EXPECT_THAT(to_utf8(target), testing::MatchesRegex(to_utf8(where) + "/_cw[1-9A-F][0-9A-F]*\\.tmp"));
        return error;
    };
    folder.write("file", "");
    EXPECT_EQ(error_in(wide + u"/absent"), error_path_not_found);
    EXPECT_EQ(error_in(wide + u"/file"), error_path_not_found);
    std::filesystem::permissions(folder.path(), std::filesystem::perms(0555));
    const as_nobody nobody;
    if (nobody.is_denied_things()) {
        EXPECT_EQ(error_in(wide), error_access_denied);
    }
}

TEST_F(posix_temp_names, nothing_stays_open)
{
    const std::ptrdiff_t open_before = open_descriptors();
    find_data found;
    for (int i = 0; i < 5; ++i) {
        EXPECT_NE(files->temp_file_name(wide.c_str(), u"_cw", 0, target), 0u);
        EXPECT_EQ(files->temp_file_name((wide + u"/absent").c_str(), u"_cw", 0, target), 0u);
        EXPECT_EQ(files->find_first_file((wide + u"/absent").c_str(), &found), invalid_file_handle);
        EXPECT_NE(files->find_first_file(wide.c_str(), &found), invalid_file_handle);
    }
    EXPECT_EQ(open_descriptors(), open_before);
}

TEST_F(posix_temp_names, a_name_needs_no_file_of_the_process)
{
    // Nothing else than the limit below is in the way of a file.
    ASSERT_NE(files->temp_file_name(wide.c_str(), u"_cw", 0, target), 0u);
    rlimit limit_before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit_before), 0);
    const rlimit none{0, limit_before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    set_last_error(0);
    const std::uint32_t number = files->temp_file_name(wide.c_str(), u"_cw", 0, target);
    const std::uint32_t error = get_last_error();
    setrlimit(RLIMIT_NOFILE, &limit_before);
    EXPECT_EQ(number, 0u);
    EXPECT_EQ(error, error_too_many_open_files);
    EXPECT_THAT(to_utf8(target), testing::EndsWith(".tmp"));
}

TEST_F(posix_temp_names, a_name_that_does_not_fit_is_not_written)
{
    const auto folder_of = [](std::size_t length) { return u"/" + std::u16string(length - 1, u'n'); };
    // A separator, the prefix, one digit and the extension make nine, a chosen number up to twelve.
    EXPECT_EQ(files->temp_file_name(folder_of(250).c_str(), u"_cw", 0xF, target), 0xFu);
    EXPECT_EQ(std::u16string_view(target).size(), 259u);
    EXPECT_EQ(files->temp_file_name(folder_of(247).c_str(), u"_cw", 0, target), 0u);
    EXPECT_EQ(get_last_error(), error_path_not_found);
    EXPECT_TRUE(std::u16string_view(target).ends_with(u".tmp"));

    target[0] = u'#';
    for (const auto& [length, number] : {std::pair{251, 0xF}, {250, 0x10}, {248, 0}}) {
        set_last_error(0);
        const std::u16string where = folder_of(static_cast<std::size_t>(length));
        EXPECT_EQ(files->temp_file_name(where.c_str(), u"_cw", static_cast<std::uint32_t>(number), target), 0u);
        EXPECT_EQ(get_last_error(), error_name_too_long);
        EXPECT_EQ(target[0], u'#');
    }
}

} // namespace
