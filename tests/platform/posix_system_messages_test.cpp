#include "platform/last_error.h"
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

TEST(posix_system_messages, has_a_text_for_every_number_of_transfers)
{
    for (const std::uint32_t code : {error_io_pending,
                                     error_cancelled,
                                     error_internet_timeout,
                                     error_internet_extended_error,
                                     error_internet_internal_error,
                                     error_internet_invalid_url,
                                     error_internet_unrecognized_scheme,
                                     error_internet_name_not_resolved,
                                     error_internet_operation_cancelled,
                                     error_internet_incorrect_handle_type,
                                     error_internet_incorrect_handle_state,
                                     error_internet_cannot_connect,
                                     error_internet_connection_aborted,
                                     error_internet_connection_reset,
                                     error_internet_force_retry,
                                     error_internet_certificate_date_invalid,
                                     error_internet_certificate_name_invalid,
                                     error_internet_https_to_http_on_redirect,
                                     error_internet_invalid_authority,
                                     error_http_header_not_found,
                                     error_http_invalid_server_response,
                                     error_http_redirect_failed,
                                     error_internet_security_channel_error})
        EXPECT_NE(message(code), u"<none>") << code;
    EXPECT_EQ(message(12029), u"A connection to the server could not be made.\r\n");
}

TEST(posix_system_messages, knows_statuses_in_the_form_of_result_codes)
{
    EXPECT_EQ(message(0x8004D554), u"The server has nothing at this address.\r\n"); // 404
    EXPECT_EQ(message(0x8004D5B7), u"The server cannot answer at the moment.\r\n"); // 503
    for (const std::uint32_t status : {400, 401, 403, 404, 407, 410, 416, 429, 500, 502, 503, 504})
        EXPECT_NE(message(failed_status(status)), u"<none>") << status;
    EXPECT_EQ(message(failed_status(418)), u"<none>");
    EXPECT_EQ(message(failed_status(200)), u"<none>");
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
