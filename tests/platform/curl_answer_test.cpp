#include "platform/curl_answer.h"

#include "platform/clocks.h"
#include "platform/last_error.h"
#include "platform/transfers.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <utility>

namespace {

using namespace cw::platform;

constexpr std::uint32_t status_level = query_status_code | query_as_number;
constexpr std::uint32_t length_level = query_content_length | query_as_number;
constexpr std::uint32_t modified_level = query_last_modified | query_as_system_time;

curl_answer answer_of(std::initializer_list<const char*> lines)
{
    curl_answer answer;
    for (const char* line : lines)
        EXPECT_FALSE(answer.add_line(std::string(line) + "\r\n"));
    EXPECT_TRUE(answer.add_line("\r\n"));
    return answer;
}

/// The value, or the error and "false".
std::pair<std::uint32_t, bool> ask(const curl_answer& answer, std::uint32_t level, std::uint32_t index = 0)
{
    std::uint32_t value = 0;
    std::uint32_t size = sizeof value;
    const std::uint32_t error = answer.query(level, &value, &size, index);
    return error == 0 ? std::pair{value, true} : std::pair{error, false};
}
std::pair<std::uint32_t, bool> value(std::uint32_t number)
{
    return {number, true};
}
std::pair<std::uint32_t, bool> failure(std::uint32_t error)
{
    return {error, false};
}

TEST(curl_answer, keeps_the_last_answers_headers)
{
    curl_answer answer = answer_of({"HTTP/1.1 103 Early", "Content-Length: 3"});
    EXPECT_TRUE(answer.is_interim());
    answer.add_line("HTTP/1.1 200 OK\r\n");
    answer.add_line("content-LENGTH:42 \r\n");
    answer.add_line("no header\r\n");
    answer.add_line("X-Content-Length: 4\r\n");
    EXPECT_TRUE(answer.add_line("\n"));
    EXPECT_FALSE(answer.is_interim());
    EXPECT_EQ(ask(answer, status_level), value(200));
    EXPECT_EQ(ask(answer, length_level), value(42));
    EXPECT_EQ(ask(answer, length_level, 1), failure(error_http_header_not_found));
    EXPECT_EQ(ask(answer, status_level, 1), failure(error_http_header_not_found));
}

TEST(curl_answer, takes_first_lines_however_they_are)
{
    EXPECT_EQ(ask(answer_of({"HTTP/2 404"}), status_level), value(404));
    EXPECT_EQ(ask(answer_of({"HTTP/1.0 200"}), status_level), value(200));
    EXPECT_EQ(ask(answer_of({"HTTP/1.1"}), status_level), value(0));
    EXPECT_EQ(ask(answer_of({"HTTP/1.1 99999999999999999999"}), status_level), value(0));
    EXPECT_EQ(ask(answer_of({"HTTP/1.1 1234567"}), status_level), value(1000));
}

TEST(curl_answer, begins_where_the_one_before_has_ended)
{
    // Amid headers it is one of them; what comes behind them and is no first line belongs to a body's chunks.
    curl_answer answer = answer_of({"HTTP/1.1 200 OK", "HTTP/1.1 404: x", "Content-Length: 5"});
    EXPECT_FALSE(answer.add_line("Content-Length: 6\r\n"));
    EXPECT_FALSE(answer.add_line("\r\n"));
    EXPECT_EQ(ask(answer, status_level), value(200));
    EXPECT_EQ(ask(answer, length_level), value(5));
    EXPECT_EQ(ask(answer, length_level, 1), failure(error_http_header_not_found));
    EXPECT_EQ(answer.settle(0), 0U);
}

TEST(curl_answer, is_none_before_its_headers_have_ended)
{
    curl_answer answer;
    answer.add_line("HTTP/1.1 200 OK\r\n");
    EXPECT_EQ(answer.settle(0), error_internet_connection_aborted);
    answer.add_line("Content-Length: 5\r\n");
    EXPECT_EQ(answer.settle(0), error_internet_connection_aborted);
    answer.add_line("\r\n");
    EXPECT_EQ(answer.settle(0), 0U);
    answer = answer_of({"HTTP/1.1 103 Early"});
    EXPECT_EQ(answer.settle(0), error_internet_connection_aborted);
}

TEST(curl_answer, refuses_statuses_that_are_no_final_ones)
{
    for (const char* line : {"HTTP/1.1 101 Switching", "HTTP/1.1", "HTTP/1.1 099 x", "HTTP/1.1 1000 x",
                             "HTTP/1.1 4294967496 x", "HTTP/1.1 99999999999999999999 x"}) {
        curl_answer answer = answer_of({line});
        EXPECT_FALSE(answer.is_interim()) << line;
        EXPECT_EQ(answer.settle(0), error_http_invalid_server_response) << line;
    }
    for (const char* line : {"HTTP/1.1 200 x", "HTTP/1.1 999 x"})
        EXPECT_EQ(answer_of({line}).settle(0), 0U) << line;
    EXPECT_EQ(curl_answer{}.settle(0), error_http_invalid_server_response);
}

TEST(curl_answer, refuses_what_contradicts_itself)
{
    constexpr std::uint32_t wrong = error_http_invalid_server_response;
    EXPECT_EQ(answer_of({"HTTP/1.1 200", "Content-Length: 5", "Content-Length: 6"}).settle(0), wrong);
    EXPECT_EQ(answer_of({"HTTP/1.1 200", "Content-Length: 5", "Content-Length: 5"}).settle(0), 0U);
    EXPECT_EQ(answer_of({"HTTP/1.1 404", "Content-Length: 5", "Content-Length: 5", "Content-Length: 6"}).settle(0),
              wrong);
    for (const char* length : {"", "0x10", "+5", "-1", "5 5", "5, 5", "9223372036854775808", "99999999999999999999"})
        EXPECT_EQ(answer_of({"HTTP/1.1 200", (std::string("Content-Length: ") + length).c_str()}).settle(0), wrong)
            << length;
    EXPECT_EQ(answer_of({"HTTP/1.1 200", "Content-Length: 9223372036854775807"}).settle(0), 0U);
}

TEST(curl_answer, knows_where_its_body_ends)
{
    EXPECT_TRUE(answer_of({"HTTP/1.1 200"}).ends_with_connection());
    EXPECT_TRUE(answer_of({"HTTP/1.1 206", "Transfer-Encoding: identity"}).ends_with_connection());
    EXPECT_FALSE(answer_of({"HTTP/1.1 200", "Content-Length: 0"}).ends_with_connection());
    EXPECT_FALSE(answer_of({"HTTP/1.1 200", "Transfer-Encoding: CHUNKED"}).ends_with_connection());
    EXPECT_FALSE(answer_of({"HTTP/1.1 204"}).ends_with_connection());
    EXPECT_FALSE(answer_of({"HTTP/1.1 304"}).ends_with_connection());
}

TEST(curl_answer, refuses_what_is_packed_on_the_way)
{
    for (const char* coding : {"gzip", "gzip, chunked", "chunked, gzip", "br", ""})
        EXPECT_EQ(answer_of({"HTTP/1.1 200", (std::string("Transfer-Encoding: ") + coding).c_str()}).settle(0),
                  error_http_invalid_server_response)
            << coding;
    EXPECT_EQ(answer_of({"HTTP/1.1 200", "Transfer-Encoding: chunked", "Transfer-Encoding: gzip"}).settle(0),
              error_http_invalid_server_response);
    for (const char* coding : {"chunked", "Chunked", "identity"})
        EXPECT_EQ(answer_of({"HTTP/1.1 200", (std::string("Transfer-Encoding: ") + coding).c_str()}).settle(0), 0U)
            << coding;
}

TEST(curl_answer, knows_what_may_lead_on)
{
    EXPECT_TRUE(answer_of({"HTTP/1.1 302 x", "Location: /"}).may_lead_on());
    EXPECT_TRUE(answer_of({"HTTP/1.1 302 x", "Location: /"}).is_redirect());
    EXPECT_FALSE(answer_of({"HTTP/1.1 302 x"}).may_lead_on());
    EXPECT_FALSE(answer_of({"HTTP/1.1 200 x", "Location: /"}).may_lead_on());
    EXPECT_TRUE(answer_of({"HTTP/1.1 401 x"}).may_lead_on());
    EXPECT_TRUE(answer_of({"HTTP/1.1 407 x"}).may_lead_on());
    EXPECT_FALSE(answer_of({"HTTP/1.1 404 x"}).may_lead_on());
}

TEST(curl_answer, reads_lengths_that_are_plain_numbers)
{
    struct {
        const char* text;
        std::pair<std::uint32_t, bool> answer;
    } const rows[] = {
        {"0", value(0)},
        {"00012", value(12)},
        {"4294967294", value(0xFFFFFFFE)},
        {"4294967295", failure(error_http_invalid_server_response)},
        {"99999999999999999999999", failure(error_http_invalid_server_response)},
        {"", failure(error_http_invalid_server_response)},
        {"-1", failure(error_http_invalid_server_response)},
        {"+1", failure(error_http_invalid_server_response)},
        {"0x10", failure(error_http_invalid_server_response)},
        {"1 2", failure(error_http_invalid_server_response)},
        {"1, 1", failure(error_http_invalid_server_response)},
    };
    for (const auto& row : rows)
        EXPECT_EQ(ask(answer_of({"HTTP/1.1 200", (std::string("Content-Length: ") + row.text).c_str()}), length_level),
                  row.answer)
            << row.text;
    EXPECT_EQ(ask(answer_of({"HTTP/1.1 200"}), length_level), failure(error_http_header_not_found));
    EXPECT_EQ(ask(answer_of({"HTTP/1.1 200", "Content-Length: 5", "Transfer-Encoding: chunked"}), length_level),
              failure(error_http_header_not_found));
}

TEST(curl_answer, reads_all_forms_of_dates)
{
    for (const char* text :
         {"Sun, 06 Nov 1994 08:49:37 GMT", "Sunday, 06-Nov-94 08:49:37 GMT", "Sun Nov  6 08:49:37 1994"}) {
        const curl_answer answer = answer_of({"HTTP/1.1 200", (std::string("Last-Modified: ") + text).c_str()});
        system_time time;
        std::uint32_t size = 99;
        ASSERT_EQ(answer.query(modified_level, &time, &size, 0), 0U) << text;
        EXPECT_EQ(size, sizeof time);
        EXPECT_EQ(time.year, 1994);
        EXPECT_EQ(time.month, 11);
        EXPECT_EQ(time.day_of_week, 0);
        EXPECT_EQ(time.day, 6);
        EXPECT_EQ(time.hour, 8);
        EXPECT_EQ(time.minute, 49);
        EXPECT_EQ(time.second, 37);
        EXPECT_EQ(time.milliseconds, 0);
    }
    const auto error_of = [](std::initializer_list<const char*> lines) {
        system_time time;
        std::uint32_t size = sizeof time;
        return answer_of(lines).query(modified_level, &time, &size, 0);
    };
    EXPECT_EQ(error_of({"HTTP/1.1 200"}), error_http_header_not_found);
    EXPECT_EQ(error_of({"HTTP/1.1 200", "Last-Modified: yesterday"}), error_http_invalid_server_response);
    EXPECT_EQ(error_of({"HTTP/1.1 200", "Last-Modified:"}), error_http_invalid_server_response);
}

TEST(curl_answer, wants_room_and_a_level_that_it_knows)
{
    const curl_answer answer = answer_of({"HTTP/1.1 200", "Content-Length: 5"});
    std::uint32_t number = 0;
    std::uint32_t size = 3;
    EXPECT_EQ(answer.query(status_level, &number, &size, 0), error_insufficient_buffer);
    EXPECT_EQ(size, 4U);
    EXPECT_EQ(answer.query(status_level, nullptr, &(size = 99), 0), error_insufficient_buffer);
    EXPECT_EQ(size, 4U);
    EXPECT_EQ(answer.query(modified_level, &number, &size, 0), error_insufficient_buffer);
    EXPECT_EQ(size, sizeof(system_time));
    EXPECT_EQ(answer.query(status_level, &number, nullptr, 0), error_invalid_parameter);
    for (const std::uint32_t level : {0U, query_status_code, query_content_length | query_as_system_time,
                                      query_last_modified | query_as_number, 22U})
        EXPECT_EQ(answer.query(level, &number, &size, 0), error_invalid_parameter);
}

TEST(curl_answer, holds_parts_against_the_offset)
{
    const auto settled = [](const char* range, const char* length, std::uint64_t offset) {
        curl_answer answer = answer_of({"HTTP/1.1 206", range, length});
        return answer.settle(offset);
    };
    constexpr std::uint32_t wrong = error_http_invalid_server_response;
    EXPECT_EQ(settled("Content-Range: bytes 10-19/20", "Content-Length: 10", 10), 0U);
    EXPECT_EQ(settled("Content-Range: BYTES 10-19/*", "Content-Length: 10", 10), 0U);
    EXPECT_EQ(settled("Content-Range: bytes 10-19/20", "Content-Length: 5", 10), 0U);
    EXPECT_EQ(settled("Content-Range: bytes 10-19/20", "Content-Length: 0", 10), 0U);
    EXPECT_EQ(settled("Content-Range: bytes 10-19/20", "Content-Length: 11", 10), wrong);
    EXPECT_EQ(settled("Content-Range: bytes 0-18446744073709551615/*", "Content-Length: 11", 0), 0U);
    EXPECT_EQ(settled("Content-Range: bytes 9-19/20", "X: y", 10), wrong);
    EXPECT_EQ(settled("Content-Range: bytes 11-19/20", "X: y", 10), wrong);
    EXPECT_EQ(settled("Content-Range: bytes 10-19/20", "X: y", 0), wrong);
    EXPECT_EQ(settled("Content-Range: bytes 10-9/20", "X: y", 10), wrong);
    EXPECT_EQ(settled("Content-Range: bytes */20", "X: y", 10), wrong);
    EXPECT_EQ(settled("Content-Range: lines 10-19/20", "X: y", 10), wrong);
    EXPECT_EQ(settled("Content-Range:", "X: y", 10), wrong);
    EXPECT_EQ(settled("X: y", "Content-Length: 5", 10), 0U);
}

TEST(curl_answer, leaves_out_what_was_not_asked_for)
{
    curl_answer answer = answer_of({"HTTP/1.1 200", "Content-Length: 30"});
    EXPECT_EQ(answer.settle(10), 0U);
    EXPECT_EQ(answer.bytes_to_skip(), 10U);
    EXPECT_EQ(ask(answer, length_level), value(20));
    EXPECT_EQ(ask(answer, status_level), value(200));

    answer = answer_of({"HTTP/1.1 200", "Content-Length: 10"});
    EXPECT_EQ(answer.settle(10), 0U);
    EXPECT_EQ(ask(answer, length_level), value(0));
    EXPECT_EQ(ask(answer, status_level), value(200));

    answer = answer_of({"HTTP/1.1 200", "Content-Length: 9"});
    EXPECT_EQ(answer.settle(10), 0U);
    EXPECT_EQ(ask(answer, length_level), value(0));
    EXPECT_EQ(ask(answer, status_level), value(416));

    answer = answer_of({"HTTP/1.1 200", "Transfer-Encoding: chunked"});
    EXPECT_EQ(answer.settle(10), 0U);
    EXPECT_EQ(answer.bytes_to_skip(), 10U);
    EXPECT_EQ(ask(answer, status_level), value(200));

    answer = answer_of({"HTTP/1.1 404", "Content-Length: 9"});
    EXPECT_EQ(answer.settle(10), 0U);
    EXPECT_EQ(answer.bytes_to_skip(), 0U);
    EXPECT_EQ(ask(answer, length_level), value(9));
}

} // namespace
