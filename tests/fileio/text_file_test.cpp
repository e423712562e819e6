#include "fileio/text_file.h"

#include "fileio/file.h"
#include "foundation/exceptions.h"
#include "platform/last_error.h"

#include "tests/foundation/printing.h"
#include "tests/support/scripted_services.h"
#include "tests/support/surroundings.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

using cw::string;
using cw::write_text_file;
using cw::test_support::as_nobody;
using cw::test_support::scripted_services;
using cw::test_support::temporary_folder;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace cw::platform;
using cw::platform::file_handle; // the system's headers have one as well
using namespace std::string_literals;

constexpr std::uint32_t io_device = 1117;
const std::u16string target = u"C:\\out\\report.txt";

using failure_pair = std::pair<std::uint32_t, std::u16string>;

/// The code and the path of the `file_exception` that an operation throws.
template <class Operation>
failure_pair failure_of(Operation operation)
{
    try {
        operation();
    } catch (const cw::internet_file_exception&) {
        return {0, u"an error of the network"};
    } catch (const cw::file_exception& error) {
        return {error.code, std::u16string(error.path.view())};
    }
    return {0, u"none"};
}

class text_file : public testing::Test {
protected:
    scripted_services script;
    text_file() { script.files.folders.insert(u"C:\\out\\"); }

    std::uint32_t write(std::u16string_view text, std::uint32_t code_page, bool write_mark)
    {
        return write_text_file(string(target), string(text), code_page, write_mark);
    }
    /// The bytes that come out.
    std::string written(std::u16string_view text, std::uint32_t code_page, bool write_mark)
    {
        EXPECT_EQ(write(text, code_page, write_mark), 0u);
        EXPECT_EQ(script.open.open_handles(), 0u);
        return script.files.contents[target];
    }
    /// The calls since the last look, without the look-ups of entry points.
    std::vector<std::string> calls()
    {
        std::vector<std::string> lines = script.log.take();
        std::erase_if(lines, [](const std::string& line) {
            return line.starts_with("GetModuleHandleW") || line.starts_with("GetProcAddress");
        });
        return lines;
    }
};

TEST_F(text_file, makes_the_folders_then_the_file_and_writes_mark_and_text)
{
    EXPECT_EQ(write_text_file(string(u"C:\\new\\deep\\report.txt"), string(u"abc"), 1200, true), 0u);
    EXPECT_THAT(calls(),
                ElementsAre("CreateDirectoryW C:\\new\\", "CreateDirectoryW C:\\new\\deep\\",
                            "CreateFileW C:\\new\\deep\\report.txt 0x40000000 0x00000001 2 0x00000080", "GetFileSize",
                            "GetFileSize", "SetFilePointer 0 null 0", "WriteFile 2", "WriteFile 6", "CloseHandle"));
    EXPECT_EQ(script.files.contents[u"C:\\new\\deep\\report.txt"], "\xFF\xFE"s + "a\0b\0c\0"s);
}

TEST_F(text_file, goes_on_where_folders_cannot_be_made)
{
    script.log.fail("CreateDirectoryW", error_access_denied);
    EXPECT_EQ(written(u"a", 65001, false), "a");
}

TEST_F(text_file, writes_in_the_page_that_it_is_given_with_its_mark)
{
    const std::u16string_view text = u"a\u00E9";
    EXPECT_EQ(written(text, 1200, true), "\xFF\xFE"s + "a\0\xE9\0"s);
    EXPECT_EQ(written(text, 1201, true), "\xFE\xFF"s + "\0a\0\xE9"s);
    EXPECT_EQ(written(text, 65001, true), "\xEF\xBB\xBF"s + "a\xC3\xA9");
    EXPECT_EQ(written(text, 1252, true), "a\xE9");
}

TEST_F(text_file, writes_no_mark_where_none_is_wanted)
{
    const std::u16string_view text = u"a\u00E9";
    EXPECT_EQ(written(text, 1200, false), "a\0\xE9\0"s);
    EXPECT_EQ(written(text, 1201, false), "\0a\0\xE9"s);
    EXPECT_EQ(written(text, 65001, false), "a\xC3\xA9");
    EXPECT_EQ(written(text, 1252, false), "a\xE9");
}

TEST_F(text_file, a_page_without_a_mark_takes_one_call)
{
    write(u"abc", 1252, true);
    EXPECT_EQ(script.log.count("WriteFile"), 1u);
    EXPECT_EQ(script.log.count("WriteFile 3"), 1u);
}

TEST_F(text_file, an_empty_text_leaves_the_mark_alone)
{
    EXPECT_EQ(written(u"", 1200, true), "\xFF\xFE");
    EXPECT_EQ(written(u"", 1201, true), "\xFE\xFF");
    EXPECT_EQ(written(u"", 65001, true), "\xEF\xBB\xBF");
    EXPECT_EQ(written(u"", 65001, false), "");
    EXPECT_TRUE(script.files.files.contains(target));
    EXPECT_EQ(script.log.count("WriteFile 0"), 4u);
}

TEST_F(text_file, the_terminator_stays_behind_and_zeros_within_do_not)
{
    EXPECT_EQ(written(std::u16string_view(u"a\0b", 3), 1200, false), "a\0\0\0b\0"s);
    EXPECT_EQ(written(std::u16string_view(u"a\0b", 3), 65001, false), "a\0b"s);
}

TEST_F(text_file, writes_long_texts_in_one_call)
{
    const std::u16string text(1 << 20, u'x');
    EXPECT_EQ(written(text, 1200, false).size(), 2u << 20);
    EXPECT_EQ(script.log.count("WriteFile"), 1u);
}

TEST_F(text_file, replaces_what_is_there)
{
    script.files.add_file(target, "\xEF\xBB\xBFsomething longer");
    EXPECT_EQ(written(u"a", 1200, true), "\xFF\xFE"s + "a\0"s);
}

TEST_F(text_file, the_page_of_a_file_that_has_none_is_the_systems)
{
    EXPECT_EQ(written(u"abc", 0xFFFFFFFF, true), "abc");
}

scripted_services* script_in_use = nullptr;

/// Opens what is there as it is, also for reading: a system that does not empty the file.
file_handle create_file_that_keeps(const char16_t* path, std::uint32_t access, std::uint32_t share_mode,
                                   const void* security, std::uint32_t, std::uint32_t flags,
                                   file_handle file_template) noexcept
{
    return script_in_use->open.create_file(path, access | generic_read, share_mode, security, open_existing, flags,
                                           file_template);
}

TEST_F(text_file, the_page_of_a_file_that_has_one_stays)
{
    script_in_use = &script;
    script.libraries.system_module.exports["CreateFileW"] = reinterpret_cast<void*>(&create_file_that_keeps);
    for (const std::uint32_t given : {0xFFFFFFFFu, 1200u, 1252u}) {
        script.files.add_file(target, "\xEF\xBB\xBFx");
        EXPECT_EQ(written(u"\u00E9", given, true), "\xEF\xBB\xBF\xC3\xA9") << given;
        script.files.add_file(target, "\xFE\xFFx");
        EXPECT_EQ(written(u"\u00E9", given, true), "\xFE\xFF"s + "\0\xE9"s) << given;
    }
    script.files.add_file(target, "plain");
    EXPECT_EQ(written(u"\u00E9", 1252, true), "\xE9lain");
}

// --- conversion ---

/// Answers what the test tells, the calls one after the other, and keeps their arguments.
struct told_pages final : code_pages {
    std::vector<int> answers;
    std::uint32_t error = error_invalid_parameter; // of an answer that is 0
    std::vector<int> lengths;
    std::vector<int> rooms;

    int to_narrow(std::uint32_t, const char16_t*, int length, char*, int room) noexcept override
    {
        lengths.push_back(length);
        rooms.push_back(room);
        const int answer = answers[lengths.size() - 1];
        if (answer == 0)
            set_last_error(error);
        return answer;
    }
    int to_wide(std::uint32_t, const char*, int, char16_t*, int) noexcept override { return 0; }
    std::size_t character_count(const char*) noexcept override { return 0; }
};

class text_file_conversion : public text_file {
protected:
    told_pages pages;

    std::string written_with(std::vector<int> answers)
    {
        services set = current();
        pages.answers = std::move(answers);
        set.pages = &pages;
        const scoped_services in_use(set);
        return written(u"abc", 1252, true);
    }
};

TEST_F(text_file_conversion, is_asked_for_its_size_and_then_done_with_the_terminator)
{
    EXPECT_EQ(written_with({4, 4}), std::string(3, '\0'));
    EXPECT_THAT(pages.lengths, ElementsAre(4, 4));
    EXPECT_THAT(pages.rooms, ElementsAre(0, 4));
}

TEST_F(text_file_conversion, counts_what_was_converted_and_not_what_was_asked_for)
{
    EXPECT_EQ(written_with({10, 4}), std::string(3, '\0'));
}

TEST_F(text_file_conversion, one_that_fails_is_one_byte)
{
    EXPECT_EQ(written_with({0, 0}), std::string(1, '\0'));
}

TEST_F(text_file_conversion, one_that_fails_behind_its_size_is_one_byte)
{
    EXPECT_EQ(written_with({4, 0}), std::string(1, '\0'));
}

TEST_F(text_file_conversion, one_that_is_too_long_is_an_error_of_the_file)
{
    for (const std::vector<int>& answers : {std::vector{0, 0}, {4, 0}}) {
        for (const std::uint32_t error : {error_arithmetic_overflow, error_insufficient_buffer}) {
            pages.error = error;
            pages.lengths.clear();
            EXPECT_EQ(failure_of([&] { written_with(answers); }), std::pair(error, target));
            EXPECT_EQ(script.open.open_handles(), 0u);
            EXPECT_EQ(script.log.count("WriteFile"), 0u);
        }
    }
}

TEST_F(text_file_conversion, a_size_that_no_memory_has_leaves_the_file_closed)
{
    EXPECT_THROW(written_with({-1, 0}), std::length_error);
    EXPECT_EQ(script.open.open_handles(), 0u);
    EXPECT_TRUE(script.files.files.contains(target));
}

TEST_F(text_file, a_page_that_the_system_does_not_know_writes_one_byte)
{
    EXPECT_EQ(written(u"abc", 64999, true), std::string(1, '\0'));
}

// --- failures ---

TEST_F(text_file, a_file_that_cannot_be_opened_is_no_exception)
{
    script.files.add_file(target, "kept");
    script.log.fail("CreateFileW", error_sharing_violation);
    EXPECT_EQ(write(u"abc", 1200, true), error_sharing_violation);
    EXPECT_EQ(script.log.count("WriteFile") + script.log.count("CloseHandle"), 0u);
    EXPECT_EQ(script.files.contents[target], "kept");
}

TEST_F(text_file, an_opened_file_that_cannot_be_looked_at_is_one)
{
    script.log.fail("GetFileSize", io_device);
    EXPECT_EQ(failure_of([&] { write(u"abc", 1200, true); }), std::pair(io_device, target));
    EXPECT_EQ(script.open.open_handles(), 0u);
    EXPECT_EQ(script.log.count("WriteFile"), 0u);
}

TEST_F(text_file, a_mark_that_cannot_be_written_ends_the_writing)
{
    script.log.fail("WriteFile", error_disk_full, 1);
    script.open.kept_of_failed_write = 1;
    EXPECT_EQ(failure_of([&] { write(u"abc", 1200, true); }), std::pair(error_disk_full, target));
    EXPECT_EQ(script.log.count("WriteFile"), 1u);
    EXPECT_EQ(script.files.contents[target], "\xFF");
    EXPECT_EQ(script.open.open_handles(), 0u);
}

TEST_F(text_file, a_text_that_cannot_be_written_leaves_what_was)
{
    script.log.fail("WriteFile", error_disk_full, 2);
    script.open.kept_of_failed_write = 3;
    EXPECT_EQ(failure_of([&] { write(u"abc", 1200, true); }), std::pair(error_disk_full, target));
    EXPECT_EQ(script.files.contents[target], "\xFF\xFE"s + "a\0b"s);
    EXPECT_EQ(script.open.open_handles(), 0u);
}

TEST_F(text_file, a_failed_close_is_told)
{
    script.log.fail("CloseHandle", io_device);
    EXPECT_EQ(failure_of([&] { write(u"a", 65001, false); }), std::pair(io_device, target));
    EXPECT_EQ(script.log.count("CloseHandle"), 1u);
    EXPECT_EQ(script.files.contents[target], "a");
}

TEST_F(text_file, a_failed_write_is_told_before_a_failed_close)
{
    script.log.fail("WriteFile", error_disk_full);
    script.log.fail("CloseHandle", io_device);
    EXPECT_EQ(failure_of([&] { write(u"a", 65001, false); }), std::pair(error_disk_full, target));
    EXPECT_EQ(script.log.count("CloseHandle"), 1u);
}

TEST_F(text_file, an_address_that_cannot_be_reached_answers_why)
{
    script.log.fail("InternetSetStatusCallbackW", error_internet_cannot_connect);
    EXPECT_EQ(write_text_file(string(u"http://example.org/a"), string(u"abc"), 1200, true),
              error_internet_cannot_connect);
    EXPECT_EQ(script.log.count("WriteFile"), 0u);
}

TEST_F(text_file, an_address_that_opens_cannot_be_written_to)
{
    EXPECT_EQ(failure_of([&] { write_text_file(string(u"http://example.org/a"), string(u"abc"), 1200, true); }),
              std::pair(error_invalid_handle, u"http://example.org/a"s));
    EXPECT_EQ(script.log.count("InternetCloseHandle"), 1u);
}

// --- on this system ---

class text_file_on_this_system : public testing::Test {
protected:
    temporary_folder folder;

    std::uint32_t write(std::string_view name, std::u16string_view text, std::uint32_t code_page, bool write_mark)
    {
        return write_text_file(string(folder.wide_file(name)), string(text), code_page, write_mark);
    }
};

TEST_F(text_file_on_this_system, writes_whole_texts_with_each_mark)
{
    const std::u16string_view text = u"\u20AC\r\n";
    EXPECT_EQ(write("new/deep/le", text, 1200, true), 0u);
    EXPECT_EQ(folder.read("new/deep/le"), "\xFF\xFE\xAC\x20\r\0\n\0"s);
    EXPECT_EQ(write("new/deep/be", text, 1201, true), 0u);
    EXPECT_EQ(folder.read("new/deep/be"), "\xFE\xFF\x20\xAC\0\r\0\n"s);
    EXPECT_EQ(write("new/deep/utf8", text, 65001, true), 0u);
    EXPECT_EQ(folder.read("new/deep/utf8"), "\xEF\xBB\xBF\xE2\x82\xAC\r\n"s);
    EXPECT_EQ(write("new/deep/utf8", u"", 1200, true), 0u);
    EXPECT_EQ(folder.read("new/deep/utf8"), "\xFF\xFE");
}

TEST_F(text_file_on_this_system, tells_why_a_file_cannot_be_opened)
{
    folder.write("file", "kept");
    EXPECT_EQ(write("", u"abc", 1200, true), error_access_denied);
    EXPECT_EQ(write("file/below", u"abc", 1200, true), error_path_not_found);
    EXPECT_EQ(folder.read("file"), "kept");
    // Takes nothing from the superuser either.
    EXPECT_NE(write_text_file(string(u"/proc/report"), string(u"abc"), 1200, true), 0u);
}

TEST_F(text_file_on_this_system, tells_that_a_folder_takes_no_files)
{
    std::filesystem::create_directory(folder.path() / "closed");
    chmod(folder.file("closed").c_str(), 0555);
    chmod(folder.path().c_str(), 0755);
    const as_nobody nobody;
    if (!nobody.is_denied_things())
        GTEST_SKIP() << "the rights of an administrator cannot be given up";
    EXPECT_EQ(write("closed/report", u"abc", 1200, true), error_access_denied);
    EXPECT_FALSE(std::filesystem::exists(folder.file("closed/report")));
}

TEST_F(text_file_on_this_system, fills_a_pipe_that_is_read_elsewhere)
{
    ASSERT_EQ(mkfifo(folder.file("pipe").c_str(), 0600), 0);
    const int reader = open(folder.file("pipe").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    fcntl(reader, F_SETFL, O_RDONLY);
    // More than a pipe holds at once.
    const std::u16string text(200'000, u'x');
    std::uint32_t error = 99;
    failure_pair failure;
    std::thread writing([&] { failure = failure_of([&] { error = write("pipe", text, 1200, true); }); });
    // Until a writer comes a pipe looks read out.
    pollfd awaited{reader, POLLIN, 0};
    poll(&awaited, 1, 10'000);
    std::string got;
    char bytes[4096];
    for (ssize_t count = 0; (count = read(reader, bytes, sizeof bytes)) > 0;)
        got.append(bytes, static_cast<std::size_t>(count));
    writing.join();
    close(reader);
    EXPECT_EQ(failure.second, u"none");
    EXPECT_EQ(error, 0u);
    std::string expected = "\xFF\xFE";
    for (std::size_t i = 0; i < text.size(); ++i)
        expected += "x\0"s;
    EXPECT_TRUE(got == expected) << got.size();
}

TEST(text_file_on_a_full_disk, is_an_error_of_the_file)
{
    EXPECT_EQ(failure_of([] { write_text_file(string(u"/dev/full"), string(u"abc"), 1200, true); }),
              std::pair(error_disk_full, u"/dev/full"s));
}

} // namespace
