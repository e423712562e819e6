#include "fileio/file.h"

#include "fileio/http_file.h"
#include "foundation/exceptions.h"
#include "platform/last_error.h"

#include "tests/fileio/transfer_files.h"
#include "tests/foundation/printing.h"
#include "tests/support/scripted_services.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using cw::file;
using cw::string;
using cw::test_support::scripted_services;
using cw::test_support::temporary_folder;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace cw::platform;

constexpr std::uint32_t io_device = 1117;

/// How an operation fails: the kind of exception, its code and its path.
struct failure {
    std::string kind;
    std::uint32_t code = 0;
    std::u16string path;
    bool operator==(const failure&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const failure& shown)
{
    return stream << shown.kind << ' ' << shown.code << ' ' << to_utf8(shown.path);
}

template <class Operation>
failure failure_of(Operation operation)
{
    try {
        operation();
    } catch (const cw::internet_file_exception& error) {
        return {"network", error.code, std::u16string(error.path.view())};
    } catch (const cw::file_exception& error) {
        return {"file", error.code, std::u16string(error.path.view())};
    } catch (...) {
        return {"other", 0, {}};
    }
    return {"none", 0, {}};
}

const failure none{"none", 0, {}};

std::uint32_t open_for_reading(file& target, std::u16string_view path)
{
    return target.open(string(path), generic_read, file_share_read, file_attribute_normal, open_existing, nullptr, 0);
}

class file_test : public testing::Test {
protected:
    scripted_services script;

    void add(std::u16string_view path, std::string_view bytes) { script.files.add_file(path, bytes); }

    /// The calls since the last look, without the look-ups of entry points.
    std::vector<std::string> calls()
    {
        std::vector<std::string> lines = script.log.take();
        std::erase_if(lines, [](const std::string& line) {
            return line.starts_with("GetModuleHandleW") || line.starts_with("GetProcAddress");
        });
        return lines;
    }

    /// What is told of the encoding of a file that holds `bytes`, and where the position is then.
    std::tuple<bool, std::uint32_t, std::uint64_t> encoding_of(std::string_view bytes)
    {
        add(u"C:\\encoded", bytes);
        file opened;
        opened.has_mark = true;
        opened.code_page = 7;
        EXPECT_EQ(open_for_reading(opened, u"C:\\encoded"), 0u);
        return {opened.has_mark, opened.code_page, script.open.position(opened.handle)};
    }
};

using encoding = std::tuple<bool, std::uint32_t, std::uint64_t>;
const encoding no_mark{false, 0, 0};

// --- opening ---

TEST_F(file_test, a_new_object_is_open_on_nothing)
{
    const file made;
    EXPECT_EQ(made.network_file, nullptr);
    EXPECT_EQ(made.handle, invalid_file_handle);
    EXPECT_EQ(made.path, u"");
    EXPECT_EQ(made.shared_count->load(), 1u);
    EXPECT_EQ(made.error_handler, nullptr);
    EXPECT_EQ(made.code_page, 0u);
    EXPECT_FALSE(made.has_mark);
}

TEST_F(file_test, opens_a_local_file_and_looks_for_a_mark)
{
    add(u"C:\\a", "abc");
    file opened;
    EXPECT_EQ(open_for_reading(opened, u"C:\\a"), 0u);
    EXPECT_THAT(calls(), ElementsAre("CreateFileW C:\\a 0x80000000 0x00000001 3 0x00000080", "GetFileSize",
                                     "SetFilePointer 0 null 0", "ReadFile 2", "GetFileSize", "SetFilePointer 0 null 0",
                                     "ReadFile 3", "SetFilePointer 0 null 0"));
    EXPECT_NE(opened.handle, invalid_file_handle);
    EXPECT_EQ(opened.network_file, nullptr);
    EXPECT_EQ(opened.shared_count->load(), 1u);
    EXPECT_EQ(opened.path, u"C:\\a");
}

struct create_file_arguments {
    std::u16string path;
    std::uint32_t access, share_mode;
    const void* security;
    std::uint32_t disposition, flags;
    file_handle file_template;
};
create_file_arguments last_create_file;

file_handle recording_create_file(const char16_t* path, std::uint32_t access, std::uint32_t share_mode,
                                  const void* security, std::uint32_t disposition, std::uint32_t flags,
                                  file_handle file_template) noexcept
{
    last_create_file = {path, access, share_mode, security, disposition, flags, file_template};
    set_last_error(error_access_denied);
    return invalid_file_handle;
}

TEST_F(file_test, hands_all_arguments_to_the_entry_point)
{
    script.libraries.system_module.exports["CreateFileW"] = reinterpret_cast<void*>(&recording_create_file);
    file opened;
    const int security = 0;
    EXPECT_EQ(opened.open(string(u"C:\\a"), 1, 2, 3, 4, &security, 5), error_access_denied);
    EXPECT_EQ(last_create_file.path, u"C:\\a");
    EXPECT_EQ(last_create_file.access, 1u);
    EXPECT_EQ(last_create_file.share_mode, 2u);
    EXPECT_EQ(last_create_file.flags, 3u);
    EXPECT_EQ(last_create_file.disposition, 4u);
    EXPECT_EQ(last_create_file.security, &security);
    EXPECT_EQ(last_create_file.file_template, 5);
}

TEST_F(file_test, a_failed_open_answers_the_error_and_looks_for_nothing)
{
    script.log.fail("CreateFileW", error_sharing_violation);
    file opened;
    EXPECT_EQ(open_for_reading(opened, u"C:\\a"), error_sharing_violation);
    EXPECT_THAT(calls(), ElementsAre("CreateFileW C:\\a 0x80000000 0x00000001 3 0x00000080"));
    EXPECT_EQ(opened.handle, invalid_file_handle);
    EXPECT_EQ(opened.network_file, nullptr);
    EXPECT_EQ(opened.shared_count->load(), 1u);
    EXPECT_EQ(opened.path, u"C:\\a");
    opened.close();
    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_EQ(opened.shared_count, nullptr);
}

TEST_F(file_test, opening_closes_what_is_open)
{
    add(u"C:\\a", "\xFF\xFE");
    add(u"C:\\b", "x");
    file opened;
    EXPECT_EQ(open_for_reading(opened, u"C:\\a"), 0u);
    const file_handle first = opened.handle;
    calls();
    EXPECT_EQ(open_for_reading(opened, u"C:\\b"), 0u);
    EXPECT_THAT(calls(), ElementsAre("CloseHandle", "CreateFileW C:\\b 0x80000000 0x00000001 3 0x00000080",
                                     "GetFileSize", "GetFileSize", "SetFilePointer 0 null 0"));
    EXPECT_NE(opened.handle, first);
    EXPECT_EQ(opened.shared_count->load(), 1u);
    EXPECT_EQ(opened.path, u"C:\\b");
    EXPECT_FALSE(opened.has_mark);
    EXPECT_EQ(script.open.open_handles(), 1u);
}

TEST_F(file_test, a_closed_object_can_be_opened_again)
{
    add(u"C:\\a", "x");
    file opened;
    opened.close();
    EXPECT_EQ(open_for_reading(opened, u"C:\\a"), 0u);
    EXPECT_NE(opened.handle, invalid_file_handle);
    EXPECT_EQ(opened.shared_count->load(), 1u);
    EXPECT_EQ(open_for_reading(opened, opened.path.view()), 0u);
    EXPECT_EQ(opened.path, u"C:\\a");
}

TEST_F(file_test, what_cannot_be_closed_keeps_the_next_from_being_opened_once)
{
    add(u"C:\\a", "x");
    add(u"C:\\b", "x");
    file opened;
    EXPECT_EQ(open_for_reading(opened, u"C:\\a"), 0u);
    script.log.fail("CloseHandle", io_device, 1);
    calls();
    EXPECT_EQ(failure_of([&] { open_for_reading(opened, u"C:\\b"); }), (failure{"file", io_device, u"C:\\a"}));
    EXPECT_THAT(calls(), ElementsAre("CloseHandle"));
    EXPECT_EQ(opened.path, u"C:\\a");
    EXPECT_EQ(opened.shared_count, nullptr);
    EXPECT_EQ(open_for_reading(opened, u"C:\\b"), 0u);
}

TEST_F(file_test, without_a_system_call_nothing_opens)
{
    script.log.fail("GetModuleHandleW", error_mod_not_found);
    file opened;
    EXPECT_EQ(open_for_reading(opened, u"C:\\a"), error_mod_not_found);
    EXPECT_THAT(calls(), IsEmpty());
}

// --- which paths are addresses ---

TEST_F(file_test, schemes_of_the_web_make_a_network_file_whatever_their_case)
{
    for (const char16_t* path : {u"http://example.org/a", u"HTTP://EXAMPLE.ORG", u"hTtP://x", u"http://",
                                 u"https://example.org/a", u"HTTPS://x", u"https://"}) {
        file opened;
        EXPECT_EQ(open_for_reading(opened, path), 0u) << to_utf8(path);
        EXPECT_NE(opened.network_file, nullptr) << to_utf8(path);
        EXPECT_EQ(script.log.count("CreateFileW"), 0u) << to_utf8(path);
    }
}

TEST_F(file_test, every_other_path_goes_to_the_system)
{
    std::size_t opened_so_far = 0;
    for (const char16_t* path : {u"ftp://example.org/a", u"http:/x", u"https:/x", u"httpss://x", u"http", u"",
                                 u" http://x", u"file://x", u"C:\\http://x"}) {
        file opened;
        EXPECT_EQ(open_for_reading(opened, path), error_file_not_found) << to_utf8(path);
        EXPECT_EQ(opened.network_file, nullptr) << to_utf8(path);
        EXPECT_EQ(script.log.count("CreateFileW"), ++opened_so_far) << to_utf8(path);
    }
    EXPECT_EQ(script.log.count("InternetOpenW"), 0u);
}

// --- marks ---

TEST_F(file_test, tells_the_encoding_by_the_mark_and_does_not_skip_it)
{
    EXPECT_EQ(encoding_of("\xFF\xFE"), (encoding{true, 1200, 0}));
    EXPECT_EQ(encoding_of("\xFF\xFEx"), (encoding{true, 1200, 0}));
    EXPECT_EQ(encoding_of("\xFE\xFF"), (encoding{true, 1201, 0}));
    EXPECT_EQ(encoding_of("\xFE\xFFxyz"), (encoding{true, 1201, 0}));
    EXPECT_EQ(encoding_of("\xEF\xBB\xBF"), (encoding{true, 65001, 0}));
    EXPECT_EQ(encoding_of("\xEF\xBB\xBFx"), (encoding{true, 65001, 0}));
}

TEST_F(file_test, other_beginnings_are_no_mark)
{
    for (const char* bytes : {"", "x", "\xFF", "\xEF\xBB", "\xEF\xBBx", "\xFFx", "x\xFF\xFE", "\xFE\xFE", "plain"})
        EXPECT_EQ(encoding_of(bytes), no_mark) << bytes;
}

TEST_F(file_test, a_file_of_one_byte_is_not_read)
{
    encoding_of("\xFF");
    EXPECT_EQ(script.log.count("ReadFile"), 0u);
}

TEST_F(file_test, a_file_of_two_bytes_is_read_once)
{
    encoding_of("\xEF\xBB");
    EXPECT_EQ(script.log.count("ReadFile 2"), 1u);
    EXPECT_EQ(script.log.count("ReadFile 3"), 0u);
}

TEST_F(file_test, a_mark_of_two_bytes_ends_the_search)
{
    encoding_of("\xFF\xFEx");
    EXPECT_THAT(calls(),
                ElementsAre("CreateFileW C:\\encoded 0x80000000 0x00000001 3 0x00000080", "GetFileSize",
                            "SetFilePointer 0 null 0", "ReadFile 2", "SetFilePointer 0 null 0", "CloseHandle"));
}

TEST_F(file_test, the_search_goes_on_where_the_first_look_fails)
{
    script.log.fail("SetFilePointer", io_device, 1);
    EXPECT_EQ(encoding_of("\xEF\xBB\xBF"), (encoding{true, 65001, 0}));
    script.log.fail_nothing();
    script.log.fail("ReadFile 2", io_device);
    EXPECT_EQ(encoding_of("\xEF\xBB\xBF"), (encoding{true, 65001, 0}));
    EXPECT_EQ(encoding_of("\xFF\xFEx"), no_mark);
}

TEST_F(file_test, a_second_look_that_fails_finds_no_mark)
{
    script.log.fail("SetFilePointer", io_device, 2);
    EXPECT_EQ(encoding_of("\xEF\xBB\xBF"), no_mark);
    script.log.fail_nothing();
    script.log.fail("ReadFile 3", io_device);
    EXPECT_EQ(encoding_of("\xEF\xBB\xBF"), no_mark);
}

TEST_F(file_test, bytes_of_a_read_that_fails_are_no_mark)
{
    script.open.kept_of_failed_read = 3;
    script.log.fail("ReadFile", io_device);
    for (const char* bytes : {"\xFF\xFE", "\xFE\xFFx", "\xEF\xBB\xBF"})
        EXPECT_EQ(encoding_of(bytes), no_mark) << bytes;
}

TEST_F(file_test, half_a_mark_that_is_read_is_none)
{
    script.open.longest_read = 1;
    EXPECT_EQ(encoding_of("\xFF\xFE"), no_mark);
    script.open.longest_read = 2;
    EXPECT_EQ(encoding_of("\xEF\xBB\xBF"), no_mark);
}

TEST_F(file_test, a_size_that_cannot_be_told_fails_the_opening)
{
    add(u"C:\\a", "abc");
    for (const int nth : {1, 2}) {
        script.log.fail_nothing();
        script.log.fail("GetFileSize", io_device, nth);
        {
            file opened;
            EXPECT_EQ(failure_of([&] { open_for_reading(opened, u"C:\\a"); }), (failure{"file", io_device, u"C:\\a"}))
                << nth;
            EXPECT_NE(opened.handle, invalid_file_handle);
        }
        EXPECT_EQ(script.open.open_handles(), 0u);
    }
}

TEST_F(file_test, a_start_that_cannot_be_reached_fails_the_opening)
{
    // The first move that is no part of a look at the beginning: the third, or behind a mark the second.
    // What was found out by then stands.
    for (const auto& [bytes, nth, code_page] :
         {std::tuple("abc", 3, 0u), {"\xFF\xFEx", 2, 1200u}, {"\xEF\xBB\xBF", 3, 65001u}, {"x", 1, 0u}}) {
        add(u"C:\\a", bytes);
        script.log.fail_nothing();
        script.log.fail("SetFilePointer", io_device, nth);
        file opened;
        opened.code_page = 7;
        opened.has_mark = code_page == 0;
        EXPECT_EQ(failure_of([&] { open_for_reading(opened, u"C:\\a"); }), (failure{"file", io_device, u"C:\\a"}))
            << bytes;
        EXPECT_EQ(opened.code_page, code_page) << bytes;
        EXPECT_EQ(opened.has_mark, code_page != 0) << bytes;
    }
}

TEST_F(file_test, a_file_beyond_4_gib_has_its_mark_too)
{
    for (const std::uint64_t size : {0x100000000u, 0x100000001u}) {
        script.open.sizes[u"C:\\encoded"] = size;
        EXPECT_EQ(encoding_of("\xFE\xFFx"), (encoding{true, 1201, 0}));
    }
}

// --- reading ---

TEST_F(file_test, reads_on_from_the_position)
{
    add(u"C:\\a", "abcde");
    file opened;
    open_for_reading(opened, u"C:\\a");
    char buffer[8] = {};
    EXPECT_EQ(opened.read(buffer, 3), 3u);
    EXPECT_STREQ(buffer, "abc");
    EXPECT_EQ(opened.read(buffer, 8), 2u);
    EXPECT_EQ(opened.read(buffer, 8), 0u);
}

TEST_F(file_test, the_largest_count_is_taken_as_one)
{
    add(u"C:\\a", "abcde");
    file opened;
    open_for_reading(opened, u"C:\\a");
    calls();
    char byte = 0;
    EXPECT_EQ(opened.read(&byte, 0xFFFFFFFF), 1u);
    EXPECT_EQ(byte, 'a');
    EXPECT_THAT(calls(), ElementsAre("ReadFile 1"));
}

TEST_F(file_test, what_cannot_be_read_is_an_error_of_the_file)
{
    add(u"C:\\a", "abc");
    file opened;
    open_for_reading(opened, u"C:\\a");
    script.log.fail("ReadFile", io_device);
    char byte = 0;
    EXPECT_EQ(failure_of([&] { opened.read(&byte, 1); }), (failure{"file", io_device, u"C:\\a"}));
    opened.close();
    script.log.fail_nothing();
    EXPECT_EQ(failure_of([&] { opened.read(&byte, 1); }), (failure{"file", error_invalid_handle, u"C:\\a"}));
}

// --- position and size ---

class file_position : public file_test {
protected:
    // Owned through a pointer: a fixture's end throws nothing.
    std::unique_ptr<file> owner = std::make_unique<file>();
    file& opened = *owner;
    file_position()
    {
        add(u"C:\\a", "abcde");
        EXPECT_EQ(open_for_reading(opened, u"C:\\a"), 0u);
        calls();
    }
};

TEST_F(file_position, moves_by_a_method)
{
    EXPECT_EQ(opened.seek(4, seek_begin, nullptr), 4u);
    EXPECT_EQ(opened.seek(-1, seek_current, nullptr), 3u);
    EXPECT_EQ(opened.seek(-5, seek_end, nullptr), 0u);
    EXPECT_THAT(calls(),
                ElementsAre("SetFilePointer 4 null 0", "SetFilePointer -1 null 1", "SetFilePointer -5 null 2"));
}

TEST_F(file_position, moves_by_a_distance_of_two_halves)
{
    std::int32_t high = 1;
    EXPECT_EQ(opened.seek(2, seek_begin, &high), 2u);
    EXPECT_EQ(high, 1);
    EXPECT_EQ(script.open.position(opened.handle), 0x100000002u);
}

TEST_F(file_position, a_failed_move_is_an_error_of_the_file)
{
    script.log.fail("SetFilePointer", io_device);
    EXPECT_EQ(failure_of([&] { opened.seek(0, seek_begin, nullptr); }), (failure{"file", io_device, u"C:\\a"}));
    std::int32_t high = 0;
    EXPECT_EQ(failure_of([&] { opened.seek(0, seek_begin, &high); }), (failure{"file", io_device, u"C:\\a"}));
}

TEST_F(file_position, the_last_error_tells_a_true_position_where_there_is_a_high_half)
{
    std::int32_t high = 0;
    set_last_error(error_access_denied);
    EXPECT_EQ(opened.seek(-1, seek_begin, &high), 0xFFFFFFFFu);
    EXPECT_EQ(script.open.position(opened.handle), 0xFFFFFFFFu);
    // Without one, such an answer is a failure even where the last error is none.
    script.log.fail("SetFilePointer", error_success);
    EXPECT_EQ(failure_of([&] { opened.seek(0, seek_begin, nullptr); }), (failure{"file", 0, u"C:\\a"}));
    EXPECT_EQ(failure_of([&] { opened.seek(0, seek_begin, &high); }), none);
}

TEST_F(file_position, tells_the_size_in_two_halves)
{
    EXPECT_EQ(opened.size(nullptr), 5u);
    script.open.sizes[u"C:\\a"] = 0x300000007;
    std::uint32_t high = 0;
    EXPECT_EQ(opened.size(&high), 7u);
    EXPECT_EQ(high, 3u);
    EXPECT_EQ(opened.size(nullptr), 7u);
}

TEST_F(file_position, the_last_error_tells_a_true_size)
{
    script.open.sizes[u"C:\\a"] = 0x2FFFFFFFF;
    std::uint32_t high = 0;
    set_last_error(error_access_denied);
    EXPECT_EQ(opened.size(&high), 0xFFFFFFFFu);
    EXPECT_EQ(high, 2u);
    set_last_error(error_access_denied);
    EXPECT_EQ(opened.size(nullptr), 0xFFFFFFFFu);
    script.log.fail("GetFileSize", io_device);
    EXPECT_EQ(failure_of([&] { static_cast<void>(opened.size(&high)); }), (failure{"file", io_device, u"C:\\a"}));
    EXPECT_EQ(failure_of([&] { static_cast<void>(opened.size(nullptr)); }), (failure{"file", io_device, u"C:\\a"}));
}

// --- closing ---

TEST_F(file_test, closes_once)
{
    add(u"C:\\a", "x");
    {
        file opened;
        open_for_reading(opened, u"C:\\a");
        calls();
        opened.close();
        EXPECT_THAT(calls(), ElementsAre("CloseHandle"));
        EXPECT_EQ(opened.handle, invalid_file_handle);
        EXPECT_EQ(opened.network_file, nullptr);
        EXPECT_EQ(opened.shared_count, nullptr);
        EXPECT_EQ(opened.path, u"C:\\a");
        opened.close();
    }
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(file_test, an_object_that_was_never_opened_closes_nothing)
{
    file made;
    made.close();
    EXPECT_EQ(made.shared_count, nullptr);
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(file_test, its_end_closes)
{
    add(u"C:\\a", "x");
    {
        file opened;
        open_for_reading(opened, u"C:\\a");
        calls();
    }
    EXPECT_THAT(calls(), ElementsAre("CloseHandle"));
}

TEST_F(file_test, a_failed_close_is_told_once)
{
    add(u"C:\\a", "x");
    script.log.fail("CloseHandle", io_device);
    {
        file opened;
        open_for_reading(opened, u"C:\\a");
        EXPECT_EQ(failure_of([&] { opened.close(); }), (failure{"file", io_device, u"C:\\a"}));
        EXPECT_EQ(opened.handle, invalid_file_handle);
        EXPECT_EQ(opened.shared_count, nullptr);
        EXPECT_EQ(failure_of([&] { opened.close(); }), none);
    }
    EXPECT_EQ(script.log.count("CloseHandle"), 1u);
}

TEST_F(file_test, its_end_tells_a_failed_close)
{
    add(u"C:\\a", "x");
    script.log.fail("CloseHandle", io_device);
    EXPECT_EQ(failure_of([&] {
                  file opened;
                  open_for_reading(opened, u"C:\\a");
              }),
              (failure{"file", io_device, u"C:\\a"}));
}

TEST_F(file_test, a_failed_close_gives_way_to_an_exception_that_is_on_its_way)
{
    add(u"C:\\a", "x");
    script.log.fail("CloseHandle", io_device);
    EXPECT_THROW(
        {
            file opened;
            open_for_reading(opened, u"C:\\a");
            throw std::runtime_error("first");
        },
        std::runtime_error);
    EXPECT_EQ(script.log.count("CloseHandle"), 1u);
}

// --- copies ---

TEST_F(file_test, copies_share_the_file_and_the_last_closes_it)
{
    add(u"C:\\a", "\xEF\xBB\xBF");
    file opened;
    cw::test_support::scripted_error_handler handler;
    opened.error_handler = &handler;
    open_for_reading(opened, u"C:\\a");
    calls();
    {
        file copy(opened);
        EXPECT_EQ(copy.handle, opened.handle);
        EXPECT_EQ(copy.network_file, nullptr);
        EXPECT_EQ(copy.shared_count, opened.shared_count);
        EXPECT_EQ(copy.shared_count->load(), 2u);
        EXPECT_EQ(copy.path, u"C:\\a");
        EXPECT_EQ(copy.error_handler, &handler);
        EXPECT_EQ(copy.code_page, 65001u);
        EXPECT_TRUE(copy.has_mark);
        opened.close();
        EXPECT_EQ(opened.shared_count, nullptr);
        EXPECT_EQ(opened.handle, invalid_file_handle);
        EXPECT_EQ(copy.shared_count->load(), 1u);
        EXPECT_THAT(calls(), IsEmpty());
    }
    EXPECT_THAT(calls(), ElementsAre("CloseHandle"));
}

TEST_F(file_test, a_copy_that_opens_another_file_leaves_the_first_open)
{
    add(u"C:\\a", "x");
    add(u"C:\\b", "x");
    file opened;
    open_for_reading(opened, u"C:\\a");
    file copy(opened);
    open_for_reading(copy, u"C:\\b");
    EXPECT_EQ(script.open.open_handles(), 2u);
    EXPECT_EQ(opened.shared_count->load(), 1u);
    EXPECT_EQ(copy.shared_count->load(), 1u);
    char byte = 0;
    EXPECT_EQ(opened.read(&byte, 1), 1u);
}

TEST_F(file_test, a_copy_of_a_closed_object_is_closed)
{
    file made;
    made.close();
    const file copy(made);
    EXPECT_EQ(copy.shared_count, nullptr);
}

TEST_F(file_test, copies_come_and_go_on_any_thread)
{
    file made;
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&made] {
            for (int round = 0; round < 1000; ++round)
                file(made).close();
        });
    threads.clear();
    EXPECT_EQ(made.shared_count->load(), 1u);
}

// --- addresses ---

TEST_F(file_test, a_network_file_that_takes_no_address_answers_why)
{
    script.log.fail("InternetOpenW", 12002);
    script.log.fail("InternetCanonicalizeUrlW", error_internet_invalid_url);
    file opened;
    EXPECT_EQ(open_for_reading(opened, u"http://example.org/a"), error_invalid_handle); // without a session
    EXPECT_EQ(opened.handle, invalid_file_handle);
    EXPECT_NE(opened.network_file, nullptr);
    EXPECT_EQ(opened.shared_count->load(), 1u);
    EXPECT_EQ(opened.path, u"http://example.org/a");
    opened.close();
    EXPECT_EQ(opened.network_file, nullptr);
    EXPECT_EQ(script.log.count("InternetCloseHandle"), 0u);
    script.log.fail_nothing();
    script.log.fail("InternetCanonicalizeUrlW", error_internet_invalid_url);
    EXPECT_EQ(open_for_reading(opened, u"http://example.org/a"), error_internet_invalid_url);
}

class network_file : public file_test {
protected:
    // Owned through a pointer: a fixture's end throws nothing.
    std::unique_ptr<file> owner = std::make_unique<file>();
    file& opened = *owner;
    cw::test_support::scripted_error_handler handler;
    network_file()
    {
        opened.error_handler = &handler;
        handler.otherwise = error_cancelled;
        script.network.answer.body = "\xFF\xFEsome text";
        EXPECT_EQ(open_for_reading(opened, u"HTTPS://example.org/a"), 0u);
    }
};

TEST_F(network_file, is_asked_for_past_every_cache_and_not_searched_for_a_mark)
{
    EXPECT_THAT(calls(),
                ElementsAre("InternetQueryOptionW 0x00000028 8", "InternetOpenW toys::file 0 null null 0x10000000",
                            "InternetSetStatusCallbackW 101", "InternetCanonicalizeUrlW 41 0x12000000"));
    EXPECT_EQ(opened.handle, invalid_file_handle);
    EXPECT_EQ(opened.shared_count->load(), 1u);
    EXPECT_FALSE(opened.has_mark);
    EXPECT_EQ(opened.code_page, 0u);
    ASSERT_NE(opened.network_file, nullptr);
    EXPECT_EQ(opened.network_file->url, u"HTTPS://example.org/a");
    EXPECT_EQ(opened.network_file->extra_headers, u"");
    EXPECT_EQ(opened.network_file->open_flags, 0x80400100u);
    EXPECT_EQ(opened.network_file->timeout_ms, 30000u);
    EXPECT_EQ(opened.network_file->error_handler, &handler);
    EXPECT_FALSE(opened.network_file->shares_session);
}

TEST_F(network_file, reads_sizes_and_moves)
{
    char bytes[20] = {};
    EXPECT_EQ(opened.read(bytes, 6), 6u);
    EXPECT_EQ(std::string(bytes), "\xFF\xFEsome");
    std::uint32_t high = 9;
    EXPECT_EQ(opened.size(&high), 11u);
    EXPECT_EQ(high, 0u);
    EXPECT_EQ(opened.read(bytes, 20), 5u);
    EXPECT_EQ(std::string(bytes, 5), " text");
    EXPECT_EQ(opened.seek(-4, seek_end, nullptr), 7u);
    EXPECT_EQ(opened.read(bytes, 0xFFFFFFFF), 1u);
    EXPECT_EQ(bytes[0], 't');
    opened.detect_text_encoding();
    EXPECT_TRUE(opened.has_mark);
    EXPECT_EQ(opened.code_page, 1200u);
}

TEST_F(network_file, has_no_mark_of_the_file_before)
{
    script.files.add_file(u"C:\\marked", "\xFF\xFEtext");
    EXPECT_EQ(open_for_reading(opened, u"C:\\marked"), 0u);
    EXPECT_TRUE(opened.has_mark);
    EXPECT_EQ(open_for_reading(opened, u"http://example.org/a"), 0u);
    EXPECT_FALSE(opened.has_mark);
    EXPECT_EQ(opened.code_page, 0u);
}

TEST_F(network_file, fails_with_errors_of_the_network)
{
    script.network.answer.status = 404;
    const failure not_found{"network", 0x8004D554, u"HTTPS://example.org/a"};
    EXPECT_EQ(failure_of([&] { static_cast<void>(opened.size(nullptr)); }), not_found);
    EXPECT_EQ(failure_of([&] { opened.seek(0, seek_end, nullptr); }), not_found);
    char byte = 0;
    EXPECT_EQ(failure_of([&] { opened.read(&byte, 1); }), not_found);
    EXPECT_EQ(script.log.count("ReadFile") + script.log.count("GetFileSize") + script.log.count("SetFilePointer"), 0u);
    EXPECT_EQ(handler.asked.size(), 3u);
    EXPECT_EQ(script.log.count("InternetErrorDlg"), 0u);
}

TEST_F(network_file, moves_by_the_low_half_alone)
{
    std::int32_t high = 9;
    EXPECT_EQ(opened.seek(70, seek_begin, &high), 70u);
    EXPECT_EQ(opened.seek(5, seek_current, nullptr), 75u);
    EXPECT_EQ(high, 9);
    EXPECT_EQ(failure_of([&] { opened.seek(-1, seek_begin, &high); }),
              (failure{"network", error_negative_seek, u"HTTPS://example.org/a"}));
}

TEST_F(network_file, has_no_high_half_of_its_size)
{
    script.network.answer.tells_length = false;
    std::uint32_t high = 9;
    EXPECT_EQ(failure_of([&] { static_cast<void>(opened.size(&high)); }),
              (failure{"network", error_http_header_not_found, u"HTTPS://example.org/a"}));
    EXPECT_EQ(high, 0u);
}

TEST_F(network_file, gives_all_up_with_its_last_copy)
{
    char byte = 0;
    opened.read(&byte, 1);
    calls();
    {
        const file copy(opened);
        EXPECT_EQ(copy.network_file, opened.network_file);
        opened.close();
        EXPECT_THAT(calls(), IsEmpty());
    }
    EXPECT_THAT(calls(), ElementsAre("InternetCloseHandle 102", "InternetCloseHandle 103", "InternetCloseHandle 101"));
    EXPECT_EQ(script.network.open_handles(), 0u);
    EXPECT_EQ(script.waits.open_events(), 0u);
}

TEST_F(file_test, network_files_give_their_part_in_a_shared_session_up)
{
    script.network.minor_version = 1;
    file one;
    file other;
    EXPECT_EQ(open_for_reading(one, u"http://example.org/a"), 0u);
    EXPECT_EQ(open_for_reading(other, u"http://example.org/b"), 0u);
    EXPECT_EQ(script.log.count("InternetOpenW"), 1u);
    EXPECT_EQ(cw::shared_session_users, 2u);
    one.close();
    EXPECT_EQ(cw::shared_session_users, 1u);
    EXPECT_EQ(script.network.open_handles(), 1u);
    other.close();
    EXPECT_EQ(cw::shared_session_users, 0u);
    EXPECT_EQ(cw::shared_session, nullptr);
    EXPECT_EQ(script.network.open_handles(), 0u);
}

/// One that answers: what the file object hands over and hands back.
class answering_http_file final : public cw::http_file {
public:
    answering_http_file() : http_file(string(u"agent"), 1, 0, nullptr, nullptr, 0) {}
    [[nodiscard]] std::uint32_t seek(std::int32_t distance, std::uint32_t method) override
    {
        return static_cast<std::uint32_t>(distance) * 10 + method;
    }
    [[nodiscard]] std::uint32_t size() override { return 1234; }
};

TEST_F(file_test, hands_answers_of_a_network_file_back)
{
    file made;
    made.network_file = new answering_http_file;
    std::uint32_t high = 9;
    EXPECT_EQ(made.size(&high), 1234u);
    EXPECT_EQ(high, 0u);
    EXPECT_EQ(made.size(nullptr), 1234u);
    EXPECT_EQ(made.seek(7, seek_end, nullptr), 72u);
}

// --- on this system ---

class file_on_this_system : public testing::Test {
protected:
    temporary_folder folder;
};

TEST_F(file_on_this_system, tells_marks)
{
    const auto page_of = [&](std::string_view bytes) {
        folder.write("marked", bytes);
        file opened;
        EXPECT_EQ(open_for_reading(opened, folder.wide_file("marked")), 0u);
        char first = 0;
        EXPECT_EQ(opened.read(&first, 1), 1u);
        EXPECT_EQ(first, bytes[0]);
        EXPECT_EQ(opened.has_mark, opened.code_page != 0);
        return opened.code_page;
    };
    EXPECT_EQ(page_of("\xFF\xFE"), 1200u);
    EXPECT_EQ(page_of("\xFE\xFFtext"), 1201u);
    EXPECT_EQ(page_of("\xEF\xBB\xBFtext"), 65001u);
    EXPECT_EQ(page_of("text"), 0u);
    EXPECT_EQ(page_of("\xFF"), 0u);
}

TEST_F(file_on_this_system, tells_why_nothing_opens)
{
    file opened;
    EXPECT_EQ(open_for_reading(opened, folder.wide_file("absent")), error_file_not_found);
    EXPECT_EQ(open_for_reading(opened, folder.path().u16string()), error_access_denied);
    EXPECT_NE(open_for_reading(opened, u"ftp://127.0.0.1/a"), 0u);
    EXPECT_EQ(opened.network_file, nullptr);
}

TEST_F(file_on_this_system, moves_in_files_beyond_4_gib)
{
    folder.write("long", "start");
    std::filesystem::resize_file(folder.file("long"), 0x1FFFFFFFF);
    file opened;
    ASSERT_EQ(open_for_reading(opened, folder.wide_file("long")), 0u);
    set_last_error(error_access_denied);
    std::uint32_t size_high = 0;
    EXPECT_EQ(opened.size(&size_high), 0xFFFFFFFFu);
    EXPECT_EQ(size_high, 1u);
    std::int32_t high = 0;
    set_last_error(error_access_denied);
    EXPECT_EQ(opened.seek(0, seek_end, &high), 0xFFFFFFFFu);
    EXPECT_EQ(high, 1);
    EXPECT_EQ(failure_of([&] { opened.seek(-1, seek_begin, nullptr); }).kind, "file");
}

TEST_F(file_on_this_system, a_file_opened_for_writing_alone_is_searched_and_stays_open)
{
    folder.write("kept", "\xFF\xFEtext");
    file opened;
    EXPECT_EQ(opened.open(string(folder.wide_file("kept")), generic_write, file_share_read, file_attribute_normal,
                          open_existing, nullptr, 0),
              0u);
    EXPECT_FALSE(opened.has_mark);
    EXPECT_EQ(opened.size(nullptr), 6u);
    EXPECT_EQ(opened.seek(0, seek_current, nullptr), 0u);
}

} // namespace
