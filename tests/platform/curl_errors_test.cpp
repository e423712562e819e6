#include "platform/curl_errors.h"

#include "platform/last_error.h"
#include "platform/transfers.h"

#include <gtest/gtest.h>

namespace {

using namespace cw::platform;

TEST(curl_errors, has_a_number_for_what_libcurl_says)
{
    struct {
        CURLcode from;
        std::uint32_t to;
    } constexpr rows[] = {
        {CURLE_OK, 0},
        {CURLE_URL_MALFORMAT, error_internet_invalid_url},
        {CURLE_COULDNT_RESOLVE_HOST, error_internet_name_not_resolved},
        {CURLE_COULDNT_RESOLVE_PROXY, error_internet_name_not_resolved},
        {CURLE_COULDNT_CONNECT, error_internet_cannot_connect},
        {CURLE_OPERATION_TIMEDOUT, error_internet_timeout},
        {CURLE_PARTIAL_FILE, error_internet_connection_aborted},
        {CURLE_GOT_NOTHING, error_internet_connection_aborted},
        {CURLE_RECV_ERROR, error_internet_connection_reset},
        {CURLE_SEND_ERROR, error_internet_connection_reset},
        {CURLE_SSL_CONNECT_ERROR, error_internet_security_channel_error},
        {CURLE_SSL_CACERT_BADFILE, error_internet_security_channel_error},
        {CURLE_TOO_MANY_REDIRECTS, error_http_redirect_failed},
        {CURLE_WEIRD_SERVER_REPLY, error_http_invalid_server_response},
        {CURLE_ABORTED_BY_CALLBACK, error_internet_operation_cancelled},
        {CURLE_OUT_OF_MEMORY, error_not_enough_memory},
        {CURLE_FAILED_INIT, error_internet_internal_error},
        {CURLE_FTP_WEIRD_PASS_REPLY, error_internet_internal_error},
    };
    for (const auto& row : rows)
        EXPECT_EQ(error_of_transfer({.code = row.from}), row.to) << row.from;
}

TEST(curl_errors, tells_why_a_certificate_was_refused)
{
    struct {
        long verify_result;
        std::uint32_t error;
    } constexpr rows[] = {
        {0, error_internet_certificate_name_invalid},  {1, error_internet_certificate_name_invalid},
        {9, error_internet_certificate_date_invalid},  {10, error_internet_certificate_date_invalid},
        {62, error_internet_certificate_name_invalid}, {18, error_internet_invalid_authority},
        {20, error_internet_invalid_authority},
    };
    for (const auto& row : rows)
        EXPECT_EQ(error_of_transfer({.code = CURLE_PEER_FAILED_VERIFICATION, .verify_result = row.verify_result}),
                  row.error);
}

TEST(curl_errors, tells_protocols_apart)
{
    transfer_outcome outcome{.code = CURLE_UNSUPPORTED_PROTOCOL, .began_secure = true, .last_scheme = "http"};
    EXPECT_EQ(error_of_transfer(outcome), error_internet_https_to_http_on_redirect);
    outcome.may_leave_security = true;
    EXPECT_EQ(error_of_transfer(outcome), error_http_invalid_server_response);
    outcome.last_scheme = "ftp";
    EXPECT_EQ(error_of_transfer(outcome), error_internet_unrecognized_scheme);
    outcome = {.code = CURLE_UNSUPPORTED_PROTOCOL, .last_scheme = "http"};
    EXPECT_EQ(error_of_transfer(outcome), error_http_invalid_server_response);
    outcome = {.code = CURLE_UNSUPPORTED_PROTOCOL, .began_secure = true, .last_scheme = "https"};
    EXPECT_EQ(error_of_transfer(outcome), error_http_invalid_server_response);
}

TEST(curl_errors, looks_at_how_far_the_transfer_was)
{
    EXPECT_EQ(error_of_transfer({.code = CURLE_URL_MALFORMAT, .was_redirected = true}), error_http_redirect_failed);
    EXPECT_EQ(error_of_transfer({.code = CURLE_OUT_OF_MEMORY, .was_sent = true}), error_http_invalid_server_response);
    EXPECT_EQ(error_of_transfer({.code = CURLE_OUT_OF_MEMORY, .has_answer = true, .was_sent = true}),
              error_not_enough_memory);
    EXPECT_EQ(error_of_transfer({.code = CURLE_RECV_ERROR, .says_header_fault = true}),
              error_http_invalid_server_response);
    EXPECT_EQ(error_of_transfer({.code = CURLE_OK, .says_header_fault = true}), 0U);
}

TEST(curl_errors, reads_of_header_faults)
{
    EXPECT_TRUE(tells_of_header_fault("Too large response headers: 307214 > 307200\n"));
    EXPECT_FALSE(tells_of_header_fault("Connected to host\n"));
    EXPECT_FALSE(tells_of_header_fault("Location: Too large response headers\n"));
}

} // namespace
