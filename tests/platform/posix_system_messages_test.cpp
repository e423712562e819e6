#include "platform/posix_services.h"
#include "platform/system_message_table.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace cw::platform;

std::u16string message(std::uint32_t code)
{
    const auto messages = make_posix_system_messages();
    char16_t* text = messages->format_message(code);
    const std::u16string result = text ? text : u"<none>";
    messages->release(text);
    return result;
}

TEST(posix_system_messages, has_a_text_for_every_number_of_the_logic)
{
    for (const std::uint32_t code : {0, 2, 3, 4, 5, 8, 11, 31, 32, 87, 112, 122, 126, 127, 183, 234})
        EXPECT_NE(message(code), u"<none>") << code;
    EXPECT_EQ(message(2), u"The system cannot find the file specified.\r\n");
    EXPECT_EQ(message(5), u"Access is denied.\r\n");
}

TEST(posix_system_messages, knows_result_codes)
{
    EXPECT_EQ(message(0x80004005), u"Unspecified error\r\n");
    EXPECT_EQ(message(0x80040154), u"Class not registered\r\n");
    EXPECT_EQ(message(0x80020009), u"Exception occurred.\r\n");
    // System errors in the form of result codes.
    EXPECT_EQ(message(0x80070057), u"The parameter is incorrect.\r\n");
    EXPECT_EQ(message(0x80070005), u"Access is denied.\r\n");
    EXPECT_EQ(message(0x8007000E), u"Not enough memory resources are available to complete this operation.\r\n");
}

TEST(posix_system_messages, other_codes_have_none)
{
    for (const std::uint32_t code : {7u, 12345u, 0x80040201u, 0x8007FFFFu, 0xC0070005u})
        EXPECT_EQ(message(code), u"<none>") << code;
}

TEST(posix_system_messages, the_table_is_in_ascending_order)
{
    EXPECT_EQ(std::ranges::adjacent_find(system_message_rows, std::ranges::greater_equal(), &system_message_row::code),
              system_message_rows.end());
}

} // namespace
