#include "fileio/file_operations.h"

#include "fileio/process_values.h"
#include "foundation/exceptions.h"
#include "platform/utf8.h"
#include "tests/foundation/printing.h"
#include "tests/support/scripted_services.h"
#include "tests/support/surroundings.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

namespace platform = cw::platform;
using cw::string;
using cw::test_support::failed;
using cw::test_support::temporary_folder;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

constexpr std::uint32_t any_kind = cw::accept_file | cw::accept_folder;
constexpr std::uint32_t largest_number = 0x7FFFFFFF;
constexpr GUID some_id{0xabcdef01, 0x2345, 0x6789, {0xab, 0xcd, 0xef, 0x01, 0x23, 0x45, 0x67, 0x89}};
constexpr GUID other_id{0x00000002, 0, 0, {}};

class file_operations : public testing::Test {
protected:
    file_operations()
    {
        cw::last_file_error = 0;
        cw::last_failed_path = u"";
        cw::file_failures.clear();
    }

    /// The calls since the last time, but for the looking up of entry points.
    std::vector<std::string> calls()
    {
        std::vector<std::string> lines = scripted.log.take();
        std::erase_if(lines, [](const std::string& line) {
            return line.starts_with("GetModuleHandleW") || line.starts_with("GetProcAddress");
        });
        return lines;
    }
    void take_away(const char* entry) { scripted.libraries.system_module.exports.erase(entry); }

    cw::test_support::scripted_services scripted;
};

/// What a call raises: the very kind, the error and the path.
struct raised {
    bool is_of_network;
    std::uint32_t code;
    std::u16string path;
    bool operator==(const raised&) const = default;
};

[[maybe_unused]] void PrintTo(const raised& value, std::ostream* stream)
{
    *stream << (value.is_of_network ? "internet_file_exception " : "file_exception ") << value.code << ' '
            << platform::to_utf8(value.path);
}

template <class Call>
std::optional<raised> raised_by(Call call)
{
    try {
        static_cast<void>(call());
    } catch (const cw::internet_file_exception& failure) {
        return raised{true, failure.code, std::u16string(failure.path.view())};
    } catch (const cw::file_exception& failure) {
        return raised{false, failure.code, std::u16string(failure.path.view())};
    }
    return std::nullopt;
}

// Temporary names

TEST_F(file_operations, a_temporary_file_name_is_below_the_users_temporary_folder)
{
    EXPECT_EQ(cw::make_temp_name(true, u"txt", u"", false), u"C:\\Temp\\_cwA1B2.txt");
    // The file that came with the name goes at once, and not through an entry point.
    EXPECT_EQ(scripted.log.count("GetProcAddress DeleteFileW"), 0u);
    EXPECT_THAT(calls(), ElementsAre("GetTempPathW", "CreateDirectoryW C:\\Temp\\", "GetTempFileNameW C:\\Temp\\ _cw 0",
                                     "DeleteFileW C:\\Temp\\_cwA1B2.tmp", "GetFileAttributesW C:\\Temp\\_cwA1B2.txt"));
    EXPECT_THAT(scripted.files.files, IsEmpty());
    EXPECT_THAT(cw::file_failures, IsEmpty());
}

TEST_F(file_operations, a_missing_temporary_folder_is_made)
{
    scripted.files.temp = u"C:\\Missing\\Temp\\";
    EXPECT_EQ(cw::make_temp_name(true, u"txt", u"", false), u"C:\\Missing\\Temp\\_cwA1B2.txt");
    EXPECT_THAT(scripted.files.folders, ElementsAre(u"C:\\Missing\\", u"C:\\Missing\\Temp\\"));
}

TEST_F(file_operations, an_unknown_temporary_folder_is_the_root)
{
    scripted.log.fail("GetTempPathW", platform::error_path_not_found);
    EXPECT_EQ(cw::make_temp_name(true, u"txt", u"", false), u"\\_cwA1B2.txt");
}

TEST_F(file_operations, temporary_names_have_room_for_260_code_units)
{
    // A folder of 246 code units leaves room for the longest chosen name, and the terminator.
    const std::u16string folder = u"C:\\" + std::u16string(242, u'f') + u"\\";
    scripted.files.temp = folder;
    EXPECT_EQ(cw::make_temp_name(true, u"txt", u"", false), folder + u"_cwA1B2.txt");
    scripted.files.temp = u"C:\\" + std::u16string(255, u'f') + u"\\";
    for (const char16_t* extension : {u"txt", u""}) {
        scripted.log.lines.clear();
        EXPECT_EQ(cw::make_temp_name(true, extension, u"", false), u"");
        // There is no name to look for, in the current directory neither.
        EXPECT_EQ(scripted.log.count("GetTempFileNameW"), 1u);
        EXPECT_EQ(scripted.log.count("GetTempFileNameW " + platform::to_utf8(scripted.files.temp)), 1u);
        EXPECT_EQ(scripted.log.count("DeleteFileW") + scripted.log.count("GetFileAttributesW"), 0u);
    }
}

TEST_F(file_operations, a_given_folder_gets_its_backslash_and_is_made)
{
    for (const char16_t* folder : {u"C:\\a\\b", u"C:\\a\\b\\"}) {
        scripted.files.folders.clear();
        scripted.files.temp_number = 0xC;
        scripted.log.lines.clear();
        EXPECT_EQ(cw::make_temp_name(true, u"txt", folder, false), u"C:\\a\\b\\_cwC.txt");
        EXPECT_THAT(calls(), ElementsAre("CreateDirectoryW C:\\a\\", "CreateDirectoryW C:\\a\\b\\",
                                         "GetTempFileNameW C:\\a\\b\\ _cw 0", "DeleteFileW C:\\a\\b\\_cwC.tmp",
                                         "GetFileAttributesW C:\\a\\b\\_cwC.txt"));
    }
}

TEST_F(file_operations, a_given_native_folder_keeps_its_separator)
{
    EXPECT_EQ(cw::make_temp_name(true, u"txt", u"/a/b", false), u"/a/b/_cwA1B2.txt");
    EXPECT_THAT(scripted.files.folders, ElementsAre(u"/a/", u"/a/b/"));
    EXPECT_EQ(cw::make_temp_name(false, u"", u"/a/b", true), u"/a/b/{00000001}/");
}

TEST_F(file_operations, a_name_comes_also_where_its_folder_cannot_be_made)
{
    scripted.log.fail("CreateDirectoryW", platform::error_access_denied);
    EXPECT_EQ(cw::make_temp_name(true, u"txt", u"C:\\a", false), u"C:\\a\\_cwA1B2.txt");
    EXPECT_EQ(cw::last_file_error, platform::error_access_denied);
    EXPECT_EQ(cw::last_failed_path, u"C:\\a\\");
}

TEST_F(file_operations, a_name_whose_file_cannot_be_made_is_used_and_nothing_deleted)
{
    scripted.log.fail("GetTempFileNameW", platform::error_access_denied);
    EXPECT_EQ(cw::make_temp_name(true, u"txt", u"C:\\a", false), u"C:\\a\\_cwA1B2.txt");
    EXPECT_EQ(scripted.log.count("DeleteFileW"), 0u);
}

TEST_F(file_operations, numbers_follow_where_a_name_is_taken)
{
    // Files and folders both take a name.
    scripted.files.files = {u"C:\\a\\_cwA1B2.txt", u"C:\\a\\_cw2.txt"};
    scripted.files.folders = {u"C:\\a\\", u"C:\\a\\_cw1.txt"};
    EXPECT_EQ(cw::make_temp_name(true, u"txt", u"C:\\a\\", false), u"C:\\a\\_cw3.txt");
    EXPECT_THAT(calls(), ElementsAre("CreateDirectoryW C:\\a\\", "GetTempFileNameW C:\\a\\ _cw 0",
                                     "DeleteFileW C:\\a\\_cwA1B2.tmp", "GetFileAttributesW C:\\a\\_cwA1B2.txt",
                                     "GetTempFileNameW C:\\a\\ _cw 1", "GetFileAttributesW C:\\a\\_cw1.txt",
                                     "GetTempFileNameW C:\\a\\ _cw 2", "GetFileAttributesW C:\\a\\_cw2.txt",
                                     "GetTempFileNameW C:\\a\\ _cw 3", "GetFileAttributesW C:\\a\\_cw3.txt"));
    EXPECT_THAT(scripted.files.files, ElementsAre(u"C:\\a\\_cw2.txt", u"C:\\a\\_cwA1B2.txt"));
}

TEST_F(file_operations, no_name_is_left_behind_the_last_number)
{
    EXPECT_EQ(cw::make_temp_name(true, u"txt", u"C:\\a", false, largest_number), u"C:\\a\\_cw7FFFFFFF.txt");
    scripted.files.files = {u"C:\\a\\_cw7FFFFFFF.txt"};
    EXPECT_EQ(cw::make_temp_name(true, u"txt", u"C:\\a", false, largest_number), u"");
    scripted.files.files.insert(u"C:\\a\\_cw7FFFFFFE.txt");
    EXPECT_EQ(cw::make_temp_name(true, u"txt", u"C:\\a", false, largest_number - 1), u"");
    EXPECT_EQ(scripted.log.count("GetTempFileNameW C:\\a\\ _cw 2147483648"), 0u);

    scripted.ids.ids = {some_id};
    scripted.files.folders = {u"C:\\a\\", u"C:\\a\\{ABCDEF01}\\"};
    scripted.log.lines.clear();
    EXPECT_EQ(cw::make_temp_name(false, u"", u"C:\\a", true, largest_number), u"");
    EXPECT_EQ(scripted.log.count("CreateDirectoryW"), 1u);
}

TEST_F(file_operations, an_empty_extension_takes_the_first_tmp_away)
{
    EXPECT_EQ(cw::make_temp_name(true, u"", u"C:\\a", false), u"C:\\a\\_cwA1B2");
    EXPECT_EQ(cw::make_temp_name(true, u"", u"C:\\a.TmP\\b", false), u"C:\\a\\b\\_cwA1B3.tmp");
    EXPECT_EQ(cw::make_temp_name(false, u"", u"C:\\a.tMp\\b", true), u"C:\\a\\b\\{00000001}\\");
}

TEST_F(file_operations, an_extension_takes_the_place_of_tmp)
{
    EXPECT_EQ(cw::make_temp_name(true, u"tar.gz", u"C:\\a.tmp", false), u"C:\\a.tmp\\_cwA1B2.tar.gz");
    EXPECT_EQ(cw::make_temp_name(false, u"txt", u"C:\\a.b", true), u"C:\\a.b\\{00000001}.txt\\");
}

TEST_F(file_operations, a_temporary_folder_is_there_on_return)
{
    scripted.ids.ids = {some_id};
    EXPECT_EQ(cw::make_temp_name(false, u"", u"", false), u"C:\\Temp\\{ABCDEF01-2345-6789-ABCD-EF0123456789}\\");
    EXPECT_THAT(calls(),
                ElementsAre("GetTempPathW", "CreateDirectoryW C:\\Temp\\", "UuidCreate", "UuidToStringW",
                            "RpcStringFreeW", "GetFileAttributesW C:\\Temp\\{ABCDEF01-2345-6789-ABCD-EF0123456789}\\",
                            "CreateDirectoryW C:\\Temp\\",
                            "CreateDirectoryW C:\\Temp\\{ABCDEF01-2345-6789-ABCD-EF0123456789}\\"));
    EXPECT_TRUE(scripted.files.folders.contains(u"C:\\Temp\\{ABCDEF01-2345-6789-ABCD-EF0123456789}\\"));
}

TEST_F(file_operations, a_taken_temporary_folder_makes_way_for_another)
{
    scripted.ids.ids = {some_id, some_id, other_id};
    scripted.files.files = {u"C:\\Temp\\{ABCDEF01}\\"};
    EXPECT_EQ(cw::make_temp_name(false, u"", u"", true), u"C:\\Temp\\{00000002}\\");
    EXPECT_EQ(scripted.log.count("UuidCreate"), 3u);
    EXPECT_FALSE(scripted.files.folders.contains(u"C:\\Temp\\{ABCDEF01}\\"));
    EXPECT_TRUE(scripted.files.folders.contains(u"C:\\Temp\\{00000002}\\"));
}

// Identifiers

TEST_F(file_operations, an_identifier_is_in_upper_case_without_braces)
{
    scripted.ids.ids = {some_id};
    EXPECT_EQ(cw::new_guid_text(), u"ABCDEF01-2345-6789-ABCD-EF0123456789");
    EXPECT_THAT(calls(), ElementsAre("UuidCreate", "UuidToStringW", "RpcStringFreeW"));
    EXPECT_EQ(scripted.ids.texts_not_released(), 0u);
}

TEST_F(file_operations, a_failed_identifier_is_used_all_the_same)
{
    scripted.log.fail("UuidCreate", 1739);
    EXPECT_EQ(cw::new_guid_text(), u"00000000-0000-0000-0000-000000000000");
}

TEST_F(file_operations, an_identifier_without_text_is_empty)
{
    scripted.log.fail("UuidToStringW", 14);
    EXPECT_EQ(cw::new_guid_text(), u"");
    EXPECT_THAT(calls(), ElementsAre("UuidCreate", "UuidToStringW"));
}

// Existence

TEST_F(file_operations, a_path_exists_as_one_of_the_accepted_kinds)
{
    scripted.files.files = {u"C:\\file"};
    scripted.files.folders = {u"C:\\folder"};
    struct row {
        std::uint32_t flags;
        bool file;
        bool folder;
    };
    for (const row& each :
         {row{0, false, false}, row{cw::accept_file, true, false}, row{cw::accept_folder, false, true},
          row{any_kind, true, true}, row{~any_kind, false, false}}) {
        EXPECT_EQ(cw::path_exists(u"C:\\file", each.flags), each.file) << each.flags;
        EXPECT_EQ(cw::path_exists(u"C:\\folder", each.flags), each.folder) << each.flags;
    }
    EXPECT_EQ(scripted.log.count("FindFirstFileW"), 0u);
}

TEST_F(file_operations, what_is_not_found_does_not_exist_and_raises_nothing)
{
    for (const std::uint32_t code : {platform::error_file_not_found, platform::error_path_not_found}) {
        scripted.files.missing_error = code;
        EXPECT_FALSE(cw::path_exists(u"C:\\absent", any_kind));
        EXPECT_EQ(raised_by([] { return cw::path_exists(u"C:\\absent", any_kind | cw::raise_on_error); }),
                  std::nullopt);
    }
    EXPECT_EQ(scripted.log.count("FindFirstFileW"), 0u);
}

TEST_F(file_operations, what_may_not_be_looked_at_is_searched_for)
{
    scripted.files.files = {u"C:\\file"};
    scripted.files.folders = {u"C:\\folder"};
    scripted.log.fail("GetFileAttributesW", platform::error_access_denied);
    EXPECT_TRUE(cw::path_exists(u"C:\\file", cw::accept_file));
    EXPECT_THAT(calls(), ElementsAre("GetFileAttributesW C:\\file", "FindFirstFileW C:\\file", "FindClose"));
    EXPECT_EQ(scripted.files.open_searches(), 0u);
    EXPECT_FALSE(cw::path_exists(u"C:\\file", cw::accept_folder | cw::raise_on_error));
    EXPECT_FALSE(cw::path_exists(u"C:\\file", 0));
    EXPECT_TRUE(cw::path_exists(u"C:\\folder", cw::accept_folder));
    EXPECT_FALSE(cw::path_exists(u"C:\\folder", cw::accept_file));
}

TEST_F(file_operations, a_failed_search_tells_its_own_error)
{
    scripted.log.fail("GetFileAttributesW", platform::error_access_denied);
    const auto exists = [] { return cw::path_exists(u"C:\\a", any_kind | cw::raise_on_error); };
    for (const std::uint32_t code : {platform::error_access_denied, platform::error_file_not_found, 21u}) {
        scripted.log.fail("FindFirstFileW", code);
        EXPECT_FALSE(cw::path_exists(u"C:\\a", any_kind));
        EXPECT_EQ(raised_by(exists), (raised{false, code, u"C:\\a"}));
    }
    EXPECT_EQ(scripted.log.count("FindClose"), 0u);
}

TEST_F(file_operations, any_other_error_raises_where_wanted)
{
    scripted.log.fail("GetFileAttributesW", 21);
    EXPECT_FALSE(cw::path_exists(u"C:\\a", any_kind));
    EXPECT_EQ(raised_by([] { return cw::path_exists(u"C:\\a", any_kind | cw::raise_on_error); }),
              (raised{false, 21, u"C:\\a"}));
    EXPECT_EQ(scripted.log.count("FindFirstFileW"), 0u);
}

TEST_F(file_operations, a_system_that_tells_no_attributes_raises_where_wanted)
{
    take_away("GetFileAttributesW");
    EXPECT_FALSE(cw::path_exists(u"C:\\a", any_kind));
    EXPECT_EQ(raised_by([] { return cw::path_exists(u"C:\\a", any_kind | cw::raise_on_error); }),
              (raised{false, platform::error_proc_not_found, u"C:\\a"}));
}

TEST_F(file_operations, an_address_is_a_path_unless_the_network_is_wanted)
{
    scripted.files.folders = {u"http://server/x"};
    EXPECT_TRUE(cw::path_exists(u"http://server/x", cw::accept_folder));
    EXPECT_THAT(calls(), ElementsAre("GetFileAttributesW http://server/x"));
    scripted.network.answer.body = "";
    EXPECT_FALSE(cw::path_exists(u"http://server/x", cw::accept_folder | cw::check_url));
    EXPECT_EQ(scripted.log.count("GetFileAttributesW"), 0u);
    EXPECT_TRUE(cw::path_exists(u"http://server/x", cw::accept_folder));
    scripted.files.files = {u"C:\\file"};
    EXPECT_TRUE(cw::path_exists(u"C:\\file", cw::accept_file | cw::check_url));
}

TEST_F(file_operations, each_kind_of_address_is_tested_over_the_network)
{
    for (const char16_t* address : {u"http://server/x", u"HTTPS://server/x"}) {
        scripted.log.lines.clear();
        scripted.network.answer.body = "1";
        EXPECT_TRUE(cw::path_exists(address, cw::accept_file | cw::check_url));
        EXPECT_EQ(scripted.log.count("InternetOpenW"), 1u);
        scripted.network.requests = {failed(platform::error_internet_cannot_connect)};
        EXPECT_EQ(raised_by([&] { return cw::path_exists(address, cw::check_url | cw::raise_on_error); }),
                  (raised{true, platform::error_internet_cannot_connect, address}));
    }
    scripted.files.add_file(u"ftp://server/x", "bytes");
    EXPECT_TRUE(cw::path_exists(u"ftp://server/x", cw::check_url));
}

// Existence over a network

TEST_F(file_operations, what_is_no_address_does_not_exist)
{
    for (const char16_t* address : {u"", u"C:\\file", u"http://", u"ftp://", u"https://", u"file://server/x"})
        EXPECT_FALSE(cw::url_exists(address, any_kind | cw::raise_on_error));
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(file_operations, an_address_exists_where_something_can_be_read)
{
    scripted.files.add_file(u"ftp://server/x", "1");
    EXPECT_TRUE(cw::url_exists(u"ftp://server/x", 0));
    EXPECT_EQ(scripted.log.count("CreateFileW ftp://server/x 0x80000000 0x00000001 3 0x00000080"), 1u);
    EXPECT_EQ(scripted.log.count("ReadFile 5"), 1u);
    EXPECT_EQ(scripted.open.open_handles(), 0u);
    scripted.files.add_file(u"ftp://server/x", "123456");
    EXPECT_TRUE(cw::url_exists(u"ftp://server/x", cw::raise_on_error));
    scripted.files.add_file(u"ftp://server/x", "");
    EXPECT_FALSE(cw::url_exists(u"ftp://server/x", cw::raise_on_error));
}

TEST_F(file_operations, an_address_that_cannot_be_opened_raises_where_wanted)
{
    scripted.log.fail("CreateFileW", 123);
    EXPECT_FALSE(cw::url_exists(u"ftp://server/x", any_kind));
    EXPECT_EQ(raised_by([] { return cw::url_exists(u"ftp://server/x", cw::raise_on_error); }),
              (raised{true, 123, u"ftp://server/x"}));
    scripted.log.fail("InternetSetStatusCallbackW", platform::error_internet_cannot_connect);
    EXPECT_FALSE(cw::url_exists(u"http://server/x", any_kind));
    EXPECT_EQ(raised_by([] { return cw::url_exists(u"http://server/x", cw::raise_on_error); }),
              (raised{true, platform::error_internet_cannot_connect, u"http://server/x"}));
}

TEST_F(file_operations, an_address_of_the_web_exists_where_something_can_be_read)
{
    for (const auto& [body, exists] : {std::pair{"1", true}, {"123456", true}, {"", false}}) {
        scripted.network.answer.body = body;
        EXPECT_EQ(cw::url_exists(u"http://server/x", cw::raise_on_error), exists);
        EXPECT_EQ(cw::url_exists(u"HTTPS://server/x", 0), exists);
    }
    EXPECT_EQ(scripted.log.count("InternetOpenUrlW"), 3u);
    EXPECT_EQ(scripted.log.count("HttpOpenRequestW"), 3u);
    EXPECT_EQ(scripted.log.count("InternetReadFile 5"), 6u);
    EXPECT_EQ(scripted.network.open_handles(), 0u);
}

TEST_F(file_operations, an_address_that_a_server_does_not_know_raises_nothing)
{
    scripted.network.answer.status = 404;
    EXPECT_FALSE(cw::url_exists(u"http://server/x", cw::raise_on_error));
    EXPECT_FALSE(cw::url_exists(u"https://server/x", cw::raise_on_error));
    EXPECT_EQ(scripted.network.open_handles(), 0u);
    // The low half alone tells it.
    for (const std::uint32_t code : {0x8004D554u, 0xD554u, 0x1234D554u}) {
        scripted.network.requests = {failed(code)};
        EXPECT_FALSE(cw::url_exists(u"http://server/x", cw::raise_on_error)) << code;
    }
}

TEST_F(file_operations, an_address_that_cannot_be_read_raises_where_wanted)
{
    for (const std::uint32_t code : {0x8004D555u, 0x8004D454u, 0xD5540000u, 12007u}) {
        scripted.network.requests = {failed(code)};
        EXPECT_EQ(raised_by([] { return cw::url_exists(u"http://server/x", cw::raise_on_error); }),
                  (raised{true, code, u"http://server/x"}));
        scripted.network.requests = {failed(code)};
        EXPECT_FALSE(cw::url_exists(u"http://server/x", any_kind));
    }
    scripted.network.answer.status = 403;
    EXPECT_EQ(raised_by([] { return cw::url_exists(u"http://server/x", cw::raise_on_error); }),
              (raised{true, 0x8004D553, u"http://server/x"}));
    EXPECT_FALSE(cw::url_exists(u"http://server/x", any_kind));
    EXPECT_EQ(scripted.log.count("InternetOpenW"), 10u);
    EXPECT_EQ(scripted.network.open_handles(), 0u);
}

TEST_F(file_operations, only_failures_of_the_network_are_caught)
{
    scripted.files.add_file(u"ftp://server/x", "1");
    scripted.log.fail("ReadFile", 30);
    EXPECT_EQ(raised_by([] { return cw::url_exists(u"ftp://server/x", any_kind); }),
              (raised{false, 30, u"ftp://server/x"}));
    scripted.log.fail("ReadFile", 0xD554);
    EXPECT_EQ(raised_by([] { return cw::url_exists(u"ftp://server/x", any_kind); }),
              (raised{false, 0xD554, u"ftp://server/x"}));
}

// Folder chains

TEST_F(file_operations, a_folder_chain_is_made_from_the_root_on)
{
    struct row {
        const char16_t* path;
        std::vector<std::string> made;
    };
    for (const row& each : {
             row{u"C:\\a\\b", {"C:\\a\\", "C:\\a\\b\\"}},
             row{u"C:\\a\\b\\", {"C:\\a\\", "C:\\a\\b\\"}},
             row{u"C:\\", {}},
             row{u"C:", {}},
             row{u"", {}},
             row{u"\\", {}},
             // Without a root the first segment is skipped all the same.
             row{u"a", {}},
             row{u"a\\b\\c", {"a\\b\\", "a\\b\\c\\"}},
             row{u"\\a\\b", {"\\a\\", "\\a\\b\\"}},
             // Of separators that follow each other one is left.
             row{u"a\\\\b", {"a\\", "a\\b\\"}},
             row{u"C:\\a\\\\\\b", {"C:\\a\\", "C:\\a\\", "C:\\a\\", "C:\\a\\b\\"}},
             row{u"\\\\", {"\\"}},
             // Server and share are there beforehand. Of a folder below them the name comes out wrong.
             row{u"\\\\server", {}},
             row{u"\\\\server\\share", {}},
             row{u"\\\\server\\share\\", {}},
             row{u"\\\\server\\share\\a", {"\\server\\share\\a\\"}},
             row{u"\\\\server\\share\\a\\b", {"\\server\\share\\a\\", "\\server\\share\\a\\b\\"}},
             row{u"/", {}},
             row{u"/a", {"/a/"}},
             row{u"/a/b\\c/", {"/a/", "/a/b\\c/"}},
             row{u"//server/share", {}},
             row{u"//server/share/a", {"/server/share/a/"}},
             row{u"a/b\\c", {"a/b\\c\\"}},
         }) {
        scripted.files.folders.clear();
        scripted.log.lines.clear();
        EXPECT_TRUE(cw::create_folders(each.path));
        std::vector<std::string> expected;
        for (const std::string& folder : each.made)
            expected.push_back("CreateDirectoryW " + folder);
        EXPECT_THAT(calls(), ElementsAreArray(expected)) << string(each.path).narrow();
        EXPECT_EQ(cw::last_file_error, 0u);
    }
}

TEST_F(file_operations, folders_that_are_there_are_no_failure)
{
    scripted.files.folders = {u"C:\\a\\", u"C:\\a\\b\\"};
    EXPECT_TRUE(cw::create_folders(u"C:\\a\\b\\c"));
    EXPECT_TRUE(scripted.files.folders.contains(u"C:\\a\\b\\c\\"));
    EXPECT_TRUE(cw::create_folders(u"C:\\a\\b\\c"));
    EXPECT_EQ(cw::last_file_error, 0u);
    EXPECT_EQ(cw::last_failed_path, u"");
}

TEST_F(file_operations, a_chain_ends_at_the_folder_that_fails)
{
    scripted.files.folders = {u"C:\\a\\"};
    scripted.log.fail("CreateDirectoryW C:\\a\\b\\", platform::error_access_denied);
    EXPECT_FALSE(cw::create_folders(u"C:\\a\\b\\c"));
    EXPECT_THAT(calls(), ElementsAre("CreateDirectoryW C:\\a\\", "CreateDirectoryW C:\\a\\b\\"));
    EXPECT_EQ(cw::last_file_error, platform::error_access_denied);
    EXPECT_EQ(cw::last_failed_path, u"C:\\a\\b\\");
    EXPECT_THAT(cw::file_failures, IsEmpty());
}

TEST_F(file_operations, a_folder_below_a_share_fails_as_the_system_says)
{
    scripted.log.fail("CreateDirectoryW \\server\\share\\a\\", platform::error_path_not_found);
    EXPECT_FALSE(cw::create_folders(u"\\\\server\\share\\a\\b"));
    EXPECT_EQ(cw::last_file_error, platform::error_path_not_found);
    EXPECT_EQ(cw::last_failed_path, u"\\server\\share\\a\\");
}

TEST_F(file_operations, a_chain_starts_with_a_clean_record)
{
    cw::last_file_error = 5;
    cw::last_failed_path = u"C:\\old";
    cw::file_failures = {{5, u"C:\\old"}};
    EXPECT_TRUE(cw::create_folders(u"C:\\"));
    EXPECT_EQ(cw::last_file_error, 0u);
    EXPECT_THAT(cw::file_failures, IsEmpty());
    EXPECT_EQ(cw::last_failed_path, u"C:\\old");
}

TEST_F(file_operations, a_system_that_makes_no_folders_fails)
{
    take_away("CreateDirectoryW");
    EXPECT_TRUE(cw::create_folders(u"C:\\"));
    EXPECT_FALSE(cw::create_folders(u"C:\\a"));
    EXPECT_EQ(cw::last_failed_path, u"C:\\a\\");
    EXPECT_EQ(cw::last_file_error, platform::error_proc_not_found);
}

TEST_F(file_operations, segments_end_where_a_separator_stands_in_any_case)
{
    // No true letter is another case of the backslash: only these rules show that case is ignored.
    struct folding_rules final : platform::text_rules {
        char16_t to_upper(char16_t code_unit) noexcept override { return code_unit == u'|' ? u'\\' : code_unit; }
        char16_t to_lower(char16_t code_unit) noexcept override { return code_unit; }
        int compare_no_case(const char16_t*, const char16_t*, std::size_t) noexcept override { return 1; }
        std::string sort_key(std::u16string_view) override { return {}; }
    } rules;
    platform::services set = platform::current();
    set.rules = &rules;
    const platform::scoped_services in_use(set);
    EXPECT_TRUE(cw::create_folders(u"C:\\a|b"));
    EXPECT_THAT(calls(), ElementsAre("CreateDirectoryW C:\\a|", "CreateDirectoryW C:\\a|b\\"));
}

TEST_F(file_operations, the_folders_of_a_path_are_those_above_it)
{
    EXPECT_TRUE(cw::create_folders_of(u"C:\\a\\b\\file"));
    EXPECT_THAT(calls(), ElementsAre("CreateDirectoryW C:\\a\\", "CreateDirectoryW C:\\a\\b\\"));
    EXPECT_TRUE(cw::create_folders_of(u"C:\\a\\"));
    EXPECT_THAT(calls(), ElementsAre("CreateDirectoryW C:\\a\\"));
    EXPECT_TRUE(cw::create_folders_of(u"/x/file"));
    EXPECT_THAT(calls(), ElementsAre("CreateDirectoryW /x/"));
    EXPECT_TRUE(cw::create_folders_of(u"file"));
    EXPECT_TRUE(cw::create_folders_of(u""));
    EXPECT_THAT(calls(), IsEmpty());
    scripted.log.fail("CreateDirectoryW", 5);
    EXPECT_FALSE(cw::create_folders_of(u"C:\\a\\file"));
}

// Deletion

TEST_F(file_operations, a_file_is_deleted_through_its_entry_point)
{
    scripted.files.files = {u"C:\\file"};
    cw::delete_file(u"C:\\file");
    EXPECT_EQ(scripted.log.count("GetProcAddress DeleteFileW"), 1u);
    EXPECT_THAT(calls(), ElementsAre("DeleteFileW C:\\file"));
    EXPECT_THAT(cw::file_failures, IsEmpty());
    EXPECT_EQ(cw::last_file_error, 0u);
    EXPECT_EQ(cw::last_failed_path, u"");
}

TEST_F(file_operations, a_failed_deletion_is_recorded_and_nothing_else)
{
    cw::delete_file(u"C:\\absent");
    EXPECT_THAT(calls(), ElementsAre("DeleteFileW C:\\absent"));
    scripted.log.fail("DeleteFileW C:\\kept", platform::error_access_denied);
    scripted.files.files = {u"C:\\kept"};
    cw::delete_file(u"C:\\kept");
    EXPECT_THAT(calls(), ElementsAre("DeleteFileW C:\\kept"));
    EXPECT_EQ(cw::last_file_error, platform::error_access_denied);
    EXPECT_EQ(cw::last_failed_path, u"C:\\kept");
    ASSERT_EQ(cw::file_failures.size(), 2u);
    EXPECT_EQ(cw::file_failures[0].code, platform::error_file_not_found);
    EXPECT_EQ(cw::file_failures[0].path, u"C:\\absent");
    EXPECT_EQ(cw::file_failures[1].code, platform::error_access_denied);
    EXPECT_EQ(cw::file_failures[1].path, u"C:\\kept");
}

TEST_F(file_operations, a_system_that_deletes_nothing_records_nothing)
{
    take_away("DeleteFileW");
    cw::delete_file(u"C:\\file");
    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_THAT(cw::file_failures, IsEmpty());
    EXPECT_EQ(cw::last_file_error, 0u);
}

// On this system

class native_file_operations : public testing::Test {
protected:
    [[nodiscard]] string path(std::string_view name) const { return string(folder.wide_file(name)); }
    [[nodiscard]] std::size_t entries(std::string_view name) const
    {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder.path() / name), {}));
    }

    temporary_folder folder;
};

TEST_F(native_file_operations, a_folder_chain_is_made_and_then_there)
{
    EXPECT_TRUE(cw::create_folders(path("a/b\\c/\xC3\xA9")));
    EXPECT_TRUE(std::filesystem::is_directory(folder.file("a/b\\c/\xC3\xA9")));
    EXPECT_TRUE(cw::create_folders(path("a/b\\c/\xC3\xA9/")));
    EXPECT_EQ(cw::last_file_error, 0u);
    EXPECT_TRUE(cw::create_folders_of(path("of/file")));
    EXPECT_EQ(entries("of"), 0u);
}

TEST_F(native_file_operations, a_folder_chain_ends_at_a_file)
{
    folder.write("file", "x");
    EXPECT_FALSE(cw::create_folders(path("file/below/it")));
    EXPECT_EQ(cw::last_file_error, platform::error_path_not_found);
    EXPECT_EQ(cw::last_failed_path, path("file/below/"));
}

TEST_F(native_file_operations, a_folder_that_may_not_be_written_to_gets_no_folder)
{
    ASSERT_TRUE(cw::create_folders(path("kept")));
    std::filesystem::permissions(folder.file("kept"), std::filesystem::perms{0555});
    std::filesystem::permissions(folder.path(), std::filesystem::perms{0755});
    const cw::test_support::as_nobody nobody;
    if (!nobody.is_denied_things())
        GTEST_SKIP() << "the rights of an administrator cannot be given up";
    EXPECT_FALSE(cw::create_folders(path("kept/new")));
    EXPECT_EQ(cw::last_file_error, platform::error_access_denied);
    EXPECT_EQ(cw::last_failed_path, path("kept/new/"));
    // The name comes nevertheless, well formed.
    const string name = cw::make_temp_name(true, u"txt", path("kept"), false);
    EXPECT_TRUE(name.view().starts_with(folder.wide_file("kept/_cw")));
    EXPECT_TRUE(name.view().ends_with(u".txt"));
    EXPECT_EQ(entries("kept"), 0u);
}

TEST_F(native_file_operations, files_and_folders_exist_as_what_they_are)
{
    folder.write("file", "x");
    std::filesystem::create_directory(folder.file("folder"));
    EXPECT_TRUE(cw::path_exists(path("file"), cw::accept_file));
    EXPECT_FALSE(cw::path_exists(path("file"), cw::accept_folder));
    EXPECT_FALSE(cw::path_exists(path("folder"), cw::accept_file));
    EXPECT_TRUE(cw::path_exists(path("folder/"), cw::accept_folder));
    EXPECT_FALSE(cw::path_exists(path("absent"), any_kind | cw::raise_on_error));
    EXPECT_FALSE(cw::path_exists(path("file/below"), any_kind | cw::raise_on_error));
    const string too_long = path(std::string(300, 'n'));
    EXPECT_FALSE(cw::path_exists(too_long, any_kind));
    EXPECT_EQ(raised_by([&] { return cw::path_exists(too_long, any_kind | cw::raise_on_error); }),
              (raised{false, 206, std::u16string(too_long.view())}));
}

TEST_F(native_file_operations, a_temporary_file_name_leaves_no_file_behind)
{
    const string name = cw::make_temp_name(true, u"txt", path("new/temp"), false);
    EXPECT_TRUE(name.view().starts_with(folder.wide_file("new/temp/_cw"))) << name.view().size();
    EXPECT_TRUE(name.view().ends_with(u".txt"));
    EXPECT_FALSE(cw::path_exists(name, any_kind));
    EXPECT_EQ(entries("new/temp"), 0u);
}

TEST_F(native_file_operations, numbers_follow_where_names_are_taken)
{
    std::filesystem::create_directory(folder.file("temp"));
    folder.write("temp/_cw1.txt", "x");
    std::filesystem::create_directory(folder.file("temp/_cw2.txt"));
    EXPECT_EQ(cw::make_temp_name(true, u"txt", path("temp"), false, 1), path("temp/_cw3.txt"));
    EXPECT_EQ(entries("temp"), 2u);
}

TEST_F(native_file_operations, a_link_takes_its_name_wherever_it_leads)
{
    std::filesystem::create_directory(folder.file("temp"));
    std::filesystem::create_symlink("nowhere", folder.file("temp/_cw1.txt"));
    std::filesystem::create_symlink("_cw2.txt", folder.file("temp/_cw2.txt"));
    for (const char* link : {"temp/_cw1.txt", "temp/_cw2.txt"}) {
        EXPECT_TRUE(cw::path_exists(path(link), cw::accept_file | cw::raise_on_error)) << link;
        EXPECT_FALSE(cw::path_exists(path(link), cw::accept_folder | cw::raise_on_error)) << link;
    }
    EXPECT_EQ(cw::make_temp_name(true, u"txt", path("temp"), false, 1), path("temp/_cw3.txt"));
}

TEST_F(native_file_operations, a_temporary_folder_is_new_and_there)
{
    const string first = cw::make_temp_name(false, u"", path("temp"), false);
    const string second = cw::make_temp_name(false, u"", path("temp"), true);
    EXPECT_TRUE(cw::path_exists(first, cw::accept_folder));
    EXPECT_TRUE(cw::path_exists(second, cw::accept_folder));
    EXPECT_EQ(first.length(), folder.wide_file("temp/").size() + 39);
    EXPECT_EQ(second.length(), folder.wide_file("temp/").size() + 11);
    EXPECT_EQ(entries("temp"), 2u);
}

TEST_F(native_file_operations, a_missing_temporary_folder_is_made)
{
    const cw::test_support::environment_variable variable("TMPDIR", folder.file("missing/temp"));
    const string name = cw::make_temp_name(true, u"txt", u"", false);
    EXPECT_TRUE(name.view().starts_with(folder.wide_file("missing/temp/_cw")));
    EXPECT_EQ(entries("missing/temp"), 0u);
}

TEST_F(native_file_operations, deletion_takes_files_and_records_the_rest)
{
    cw::file_failures.clear();
    folder.write("file", "x");
    cw::delete_file(path("file"));
    EXPECT_FALSE(std::filesystem::exists(folder.file("file")));
    EXPECT_THAT(cw::file_failures, IsEmpty());
    cw::delete_file(path("file"));
    ASSERT_EQ(cw::file_failures.size(), 1u);
    EXPECT_EQ(cw::file_failures[0].code, platform::error_file_not_found);
    EXPECT_EQ(cw::file_failures[0].path, path("file"));
}

TEST_F(native_file_operations, identifiers_differ)
{
    const string first = cw::new_guid_text();
    EXPECT_EQ(first.length(), 36u);
    EXPECT_FALSE(first == cw::new_guid_text());
}

} // namespace
