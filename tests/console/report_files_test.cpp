#include "console/report_files.h"

#include "platform/last_error.h"
#include "tests/support/forwarding_files.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace cw::console {
namespace {

using test_support::temporary_folder;

/// Files each of whose operations fails by its number.
struct broken_files final : test_support::forwarding_open_files_in_use {
    platform::file_handle create_file(const char16_t*, std::uint32_t, std::uint32_t, const void*, std::uint32_t,
                                      std::uint32_t, platform::file_handle) noexcept override
    {
        platform::set_last_error(1);
        return creates ? 5 : platform::invalid_file_handle;
    }
    bool read(platform::file_handle, void*, std::uint32_t, std::uint32_t*) noexcept override { return fail(2); }
    bool write(platform::file_handle, const void*, std::uint32_t, std::uint32_t*) noexcept override { return fail(3); }
    bool close(platform::file_handle) noexcept override { return fail(4); }
    static bool fail(std::uint32_t error) noexcept
    {
        platform::set_last_error(error);
        return false;
    }
    bool creates = false;
};

platform::file_handle create(platform::open_files& files, const char16_t* path)
{
    return files.create_file(path, platform::generic_write, platform::file_share_none, nullptr, platform::create_always,
                             platform::file_attribute_normal, 0);
}

TEST(watched_files, are_the_files_in_use)
{
    const temporary_folder folder;
    watched_files files;
    const platform::file_handle file = create(files, folder.wide_file("a").c_str());
    ASSERT_NE(file, platform::invalid_file_handle);
    std::uint32_t written = 0;
    EXPECT_TRUE(files.write(file, "abc", 3, &written));
    EXPECT_EQ(written, 3u);
    std::uint32_t high = 1;
    EXPECT_EQ(files.size(file, &high), 3u);
    EXPECT_EQ(high, 0u);
    EXPECT_EQ(files.seek(file, 1, nullptr, platform::seek_begin), 1u);
    EXPECT_TRUE(files.write(file, "x", 1, &written));
    EXPECT_TRUE(files.close(file));
    EXPECT_EQ(folder.read("a"), "axc");

    const platform::file_handle again =
        files.create_file(folder.wide_file("a").c_str(), platform::generic_read, platform::file_share_read, nullptr,
                          platform::open_existing, platform::file_attribute_normal, 0);
    char bytes[4] = {};
    std::uint32_t count = 0;
    EXPECT_TRUE(files.read(again, bytes, 3, &count));
    EXPECT_STREQ(bytes, "axc");
    EXPECT_TRUE(files.close(again));
    EXPECT_EQ(files.first_error(), 0u);
}

TEST(watched_files, keep_the_first_error)
{
    broken_files broken;
    {
        watched_files files;
        EXPECT_EQ(create(files, u"a"), platform::invalid_file_handle);
        EXPECT_EQ(files.first_error(), 1u);
        std::uint32_t count = 0;
        EXPECT_FALSE(files.write(5, "a", 1, &count));
        EXPECT_EQ(files.first_error(), 1u);
    }
    broken.creates = true;
    const auto error_of = [](auto operation) {
        watched_files files;
        EXPECT_EQ(create(files, u"a"), 5);
        EXPECT_EQ(files.first_error(), 0u);
        operation(files);
        return files.first_error();
    };
    std::uint32_t count = 0;
    char byte = 0;
    EXPECT_EQ(error_of([&](watched_files& files) { EXPECT_FALSE(files.read(5, &byte, 1, &count)); }), 2u);
    EXPECT_EQ(error_of([&](watched_files& files) { EXPECT_FALSE(files.write(5, &byte, 1, &count)); }), 3u);
    EXPECT_EQ(error_of([&](watched_files& files) { EXPECT_FALSE(files.close(5)); }), 4u);
}

TEST(watched_files, tell_errors_in_words)
{
    const std::u16string text = watched_files::text_of(platform::error_disk_full);
    EXPECT_NE(text, u"");
    EXPECT_NE(text.back(), u'.');
    EXPECT_NE(text.back(), u'\n');
    EXPECT_EQ(watched_files::text_of(987654), u"error 987654");
}

std::string printed(std::u16string_view text, bool is_terminal)
{
    std::ostringstream out;
    files_to_stream files(out, is_terminal);
    const platform::file_handle file = create(files, u"anything");
    EXPECT_NE(file, platform::invalid_file_handle);
    std::uint32_t written = 0;
    const auto size_in_bytes = static_cast<std::uint32_t>(text.size() * 2);
    EXPECT_TRUE(files.write(file, text.data(), size_in_bytes, &written));
    EXPECT_EQ(written, size_in_bytes);
    EXPECT_TRUE(files.close(file));
    return out.str();
}

TEST(files_to_stream, print_what_is_written)
{
    EXPECT_EQ(printed(u"a\u00E9\U0001F600\r\n\tb\u001B[", false), "a\u00E9\U0001F600\r\n\tb\x1B[");
    EXPECT_EQ(printed(u"", false), "");
}

TEST(files_to_stream, leave_a_terminal_its_line_ends_alone)
{
    EXPECT_EQ(printed(u"a\r\n\tb\u001B[\u009B\r\n", true), "a\r\n\uFFFDb\uFFFD[\uFFFD\r\n");
    // Half of a line end would lead back over the line, or down.
    EXPECT_EQ(printed(u"a\rb\nc\r", true), "a\uFFFDb\uFFFDc\uFFFD");
    EXPECT_EQ(printed(u"\n", true), "\uFFFD");
}

TEST(files_to_descriptor, write_where_it_stands_and_leave_it_open)
{
    const temporary_folder folder;
    const int file = ::open(folder.file("a").c_str(), O_RDWR | O_CREAT, 0600);
    ASSERT_GE(file, 0);
    ASSERT_EQ(::write(file, "\xFF\xFEx", 3), 3);
    files_to_descriptor files(file);
    const platform::file_handle opened = create(files, u"anything");
    ASSERT_NE(opened, platform::invalid_file_handle);
    std::uint32_t high = 7;
    EXPECT_EQ(files.size(opened, &high), 0u);
    EXPECT_EQ(high, 0u);
    EXPECT_EQ(files.size(opened, nullptr), 0u);
    EXPECT_EQ(files.seek(opened, 0, nullptr, platform::seek_begin), 0u);
    std::uint32_t written = 0;
    EXPECT_TRUE(files.write(opened, "yz", 2, &written));
    EXPECT_TRUE(files.close(opened));
    EXPECT_EQ(files.first_error(), 0u);
    EXPECT_EQ(::write(file, "!", 1), 1);
    ::close(file);
    EXPECT_EQ(folder.read("a"), "\xFF\xFExyz!");
    EXPECT_EQ(create(files, u"anything"), platform::invalid_file_handle);
    EXPECT_EQ(files.first_error(), platform::error_invalid_handle);
}

TEST(files_to_stream, fail_with_the_stream)
{
    std::ostringstream out;
    files_to_stream files(out, false);
    out.setstate(std::ios::badbit);
    std::uint32_t written = 7;
    EXPECT_FALSE(files.write(0, u"a", 2, &written));
    EXPECT_EQ(written, 0u);
}

} // namespace
} // namespace cw::console
