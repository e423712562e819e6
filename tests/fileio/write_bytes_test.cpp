#include "fileio/write_bytes.h"

#include "platform/last_error.h"
#include "tests/support/scripted_services.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace {

using cw::write_bytes;
using cw::test_support::scripted_services;
using testing::ElementsAre;
using namespace cw::platform;
using cw::platform::file_handle; // the system's headers have one as well

const std::u16string target = u"C:\\a";

class write_bytes_in_pieces : public testing::Test {
protected:
    write_bytes_in_pieces() { (void)script.log.take(); }
    /// What is in the file.
    std::string content() { return script.files.contents.at(target); }

    scripted_services script;
    file_handle file = script.open.create_file(target.c_str(), generic_write, file_share_none, nullptr, create_always,
                                               file_attribute_normal, 0);
};

TEST_F(write_bytes_in_pieces, is_one_call)
{
    EXPECT_TRUE(write_bytes(file, "abcdefg"));
    EXPECT_TRUE(write_bytes(file, ""));
    EXPECT_THAT(script.log.take(), ElementsAre("WriteFile 7", "WriteFile 0"));
    EXPECT_EQ(content(), "abcdefg");
}

TEST_F(write_bytes_in_pieces, is_more_where_one_cannot_count_them)
{
    EXPECT_TRUE(write_bytes(file, "abcdefg", 3));
    EXPECT_TRUE(write_bytes(file, "hij", 3));
    EXPECT_THAT(script.log.take(), ElementsAre("WriteFile 3", "WriteFile 3", "WriteFile 1", "WriteFile 3"));
    EXPECT_EQ(content(), "abcdefghij");
}

TEST_F(write_bytes_in_pieces, ends_where_a_call_fails)
{
    script.log.fail("WriteFile", error_disk_full, 2);
    EXPECT_FALSE(write_bytes(file, "abcdefg", 3));
    EXPECT_EQ(get_last_error(), error_disk_full);
    EXPECT_THAT(script.log.take(), ElementsAre("WriteFile 3", "WriteFile 3"));
    EXPECT_EQ(content(), "abc");
    EXPECT_FALSE(write_bytes(invalid_file_handle, "a"));
}

TEST(write_bytes_limit, holds_whole_characters)
{
    EXPECT_EQ(cw::largest_write_in_bytes % 2, 0u);
    EXPECT_GT(cw::largest_write_in_bytes, 0xFFFFFF00u);
}

} // namespace
