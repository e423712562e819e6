#include "fileio/http_file.h"

#include "tests/fileio/transfer_files.h"
#include "tests/foundation/printing.h"

#include <gmock/gmock.h>

#include <memory>
#include <utility>

namespace {

using cw::http_file;
using cw::string;
using cw::test_support::body_of;
using cw::test_support::endless;
using cw::test_support::failed;
using cw::test_support::pending;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::StartsWith;
using namespace cw::platform;

constexpr std::uint32_t unknown_size = 0xFFFFFFFF;
/// Counts its ends.
class watched_file final : public http_file {
public:
    explicit watched_file(int& ends) : http_file(string(u"agent"), 500, 0, nullptr, nullptr, 0), m_ends(ends) {}
    ~watched_file() override { ++m_ends; }

private:
    int& m_ends;
};

class http_file_test : public cw::test_support::transfer_test {
protected:
    static std::unique_ptr<http_file> make(std::uint32_t flags = 0)
    {
        return std::make_unique<http_file>(string(u"agent"), 500, 0, nullptr, nullptr, flags);
    }
    /// A file in a session, its address taken.
    std::unique_ptr<http_file> opened(std::string body = body_of(100))
    {
        script.network.answer.body = std::move(body);
        auto made = make();
        EXPECT_TRUE(made->open(string(u"http://h/a"), string(), 0x100));
        script.log.lines.clear();
        return made;
    }
    static std::string read(http_file& file, std::uint32_t size)
    {
        std::string bytes(size, 0);
        std::uint32_t count = 0;
        EXPECT_TRUE(file.read(bytes.data(), size, &count));
        bytes.resize(count);
        return bytes;
    }
};

TEST_F(http_file_test, opens_a_session_of_its_own)
{
    {
        const http_file file(string(u"agent"), 700, access_by_proxy, u"proxy:80", u"<local>", 0x8);
        EXPECT_EQ(file.timeout_ms, 700u);
        EXPECT_FALSE(file.shares_session);
        EXPECT_EQ(file.session.handle, reinterpret_cast<transfer_handle>(101));
        EXPECT_EQ(file.session.shared_count->load(), 1u);
        EXPECT_EQ(file.position, 0u);
        EXPECT_EQ(file.max_retries, 5u);
    }
    EXPECT_THAT(script.log.lines,
                ElementsAre("InternetQueryOptionW 0x00000028 8", "InternetOpenW agent 3 proxy:80 <local> 0x10000008",
                            "InternetCloseHandle 101"));
}

TEST_F(http_file_test, takes_no_address_without_a_session)
{
    script.log.fail("InternetOpenW", error_internet_cannot_connect);
    const auto file = make();
    EXPECT_EQ(file->session.handle, nullptr);
    EXPECT_FALSE(file->open(string(u"http://h/a"), string(), 0));
    EXPECT_EQ(get_last_error(), error_invalid_handle);
}

TEST_F(http_file_test, has_a_hook_that_does_nothing)
{
    const auto file = opened();
    file->reserved_hook();
    EXPECT_THAT(script.log.lines, IsEmpty());
}

// --- status ---

TEST_F(http_file_test, reads_answers_with_a_good_status_alone)
{
    struct row {
        std::uint32_t status;
        std::uint32_t error;
    };
    for (const row& expected :
         {row{199, 0x8004D487}, row{200, 0}, row{206, 0}, row{299, 0}, row{300, 0x8004D4EC}, row{304, 0x8004D4F0},
          row{404, 0x8004D554}, row{500, 0x8004D5B4}, row{0, 0x8004D3C0}, row{0x12345, 0x8005F705}}) {
        for (const auto& step : {cw::test_support::done(), pending(), pending().here()}) {
            SCOPED_TRACE(expected.status);
            const auto file = opened();
            script.network.answer.status = expected.status;
            script.network.requests = {step};
            EXPECT_EQ(file->connect(), expected.error == 0);
            EXPECT_EQ(file->last_error, expected.error);
            EXPECT_EQ(script.log.count("HttpQueryInfoW 0x20000013"), 1u);
            if (expected.error != 0) {
                EXPECT_EQ(get_last_error(), expected.error);
                const std::string asked = " " + std::to_string(expected.error) + " 0x00000007";
                EXPECT_THAT(script.log.lines, Contains(AllOf(StartsWith("InternetErrorDlg 0 "), EndsWith(asked))));
                EXPECT_THAT(script.log.lines.back(), StartsWith("InternetCloseHandle "));
                EXPECT_EQ(file->handle, nullptr); // the next call must not read the page of the error
            }
        }
    }
}

TEST_F(http_file_test, reads_an_answer_whose_status_nobody_knows)
{
    const auto file = opened("x");
    script.network.answer.status = std::nullopt;
    EXPECT_EQ(read(*file, 10), "x");
    EXPECT_EQ(file->last_error, 0u);
    EXPECT_EQ(script.log.count("InternetErrorDlg"), 0u);
    file->handle = reinterpret_cast<transfer_handle>(9);
    set_last_error(77);
    EXPECT_TRUE(file->check_status());
    EXPECT_EQ(get_last_error(), 77u);
    file->handle = nullptr;
    file->reference_count = 1;
    current().network->close(reinterpret_cast<transfer_handle>(102));
}

TEST_F(http_file_test, checks_the_status_of_what_was_sent_again)
{
    const auto file = opened();
    script.network.answers = {{.status = 503}, {.status = 503}, {}};
    always_retry();
    EXPECT_TRUE(file->connect());
    EXPECT_EQ(script.log.count("InternetOpenUrlW"), 1u);
    EXPECT_EQ(script.log.count("HttpSendRequestW"), 2u);
}

TEST_F(http_file_test, checks_the_status_after_each_wait)
{
    const auto file = opened();
    EXPECT_TRUE(file->connect());
    script.log.lines.clear();
    script.network.reads = {pending()};
    EXPECT_EQ(read(*file, 5), body_of(5));
    EXPECT_THAT(script.log.of({"MsgWait", "HttpQueryInfoW"}).back(), "HttpQueryInfoW 0x20000013");
    script.log.lines.clear();
    script.network.reads = {pending(12030)};
    char byte = 0;
    std::uint32_t count = 0;
    EXPECT_FALSE(file->read(&byte, 1, &count));
    EXPECT_EQ(script.log.count("HttpQueryInfoW"), 0u);
}

TEST_F(http_file_test, keeps_the_last_error_over_the_question_what_to_do)
{
    const auto file = opened();
    cw::test_support::scripted_error_handler handler;
    handler.when_asked = [] { set_last_error(5); };
    handler.otherwise = error_cancelled;
    file->error_handler = &handler;
    set_last_error(77);
    EXPECT_EQ(file->handle_error(), error_cancelled);
    EXPECT_EQ(get_last_error(), 77u);
    handler.otherwise = 0;
    EXPECT_EQ(file->handle_error(), error_cancelled);
    EXPECT_EQ(get_last_error(), 77u);
    EXPECT_EQ(script.log.count("InternetErrorDlg"), 1u);
}

// --- position ---

TEST_F(http_file_test, moves_from_the_start_from_where_it_is_and_from_the_end)
{
    const auto file = opened();
    EXPECT_EQ(file->seek(70, seek_begin), 70u);
    EXPECT_EQ(file->position, 70u);
    EXPECT_EQ(file->start_offset, 70u);
    EXPECT_EQ(file->seek(20, seek_current), 90u);
    EXPECT_EQ(file->seek(-50, seek_current), 40u);
    EXPECT_THAT(requests(), IsEmpty());
    EXPECT_EQ(file->seek(-10, seek_end), 90u);
    EXPECT_EQ(file->position, 90u);
    EXPECT_EQ(file->start_offset, 90u);
    EXPECT_EQ(file->seek(0, seek_end), 100u);
    EXPECT_EQ(file->seek(std::int32_t(0x80000000), seek_begin), 0x80000000u);
}

TEST_F(http_file_test, asks_anew_from_where_it_moved_to)
{
    const auto file = opened();
    EXPECT_EQ(read(*file, 10), body_of(10));
    EXPECT_EQ(file->seek(0, seek_current), 10u);
    EXPECT_EQ(file->seek(10, seek_begin), 10u);
    EXPECT_NE(file->handle, nullptr); // it is there already
    EXPECT_EQ(file->seek(50, seek_begin), 50u);
    EXPECT_EQ(file->handle, nullptr);
    EXPECT_EQ(read(*file, 10), body_of(60).substr(50));
    EXPECT_EQ(file->seek(0, seek_begin), 0u);
    EXPECT_EQ(read(*file, 1), "!");
    EXPECT_THAT(requests(), ElementsAre("InternetOpenUrlW 101 http://h/a \"\" 0x00000100", "InternetCloseHandle 102",
                                        "InternetOpenUrlW 101 http://h/a Range: bytes=50- 0x00000100",
                                        "InternetCloseHandle 103", "InternetOpenUrlW 101 http://h/a \"\" 0x00000100"));
}

TEST_F(http_file_test, stays_where_it_is_if_nobody_knows_the_end)
{
    const auto file = opened();
    file->seek(70, seek_begin);
    script.network.answer.tells_length = false;
    EXPECT_EQ(file->seek(10, seek_end), unknown_size);
    EXPECT_EQ(get_last_error(), error_http_header_not_found);
    EXPECT_EQ(file->position, 70u);
    EXPECT_EQ(file->start_offset, 70u);
    script.network.requests = {failed(12007)};
    EXPECT_EQ(file->seek(1, seek_end), unknown_size);
    EXPECT_EQ(get_last_error(), 12007u);
    EXPECT_EQ(file->position, 70u);
}

TEST_F(http_file_test, does_not_move_to_the_number_that_tells_a_failure)
{
    const auto file = opened();
    EXPECT_EQ(read(*file, 10), body_of(10));
    set_last_error(0);
    EXPECT_EQ(file->seek(-1, seek_begin), unknown_size);
    EXPECT_EQ(get_last_error(), error_negative_seek);
    set_last_error(0);
    EXPECT_EQ(file->seek(-11, seek_current), unknown_size);
    EXPECT_EQ(get_last_error(), error_negative_seek);
    EXPECT_EQ(file->position, 10u);
    EXPECT_NE(file->handle, nullptr);
    set_last_error(0);
    EXPECT_EQ(file->seek(-101, seek_end), unknown_size);
    EXPECT_EQ(get_last_error(), error_negative_seek);
    EXPECT_EQ(file->position, 10u);
}

// --- size and date ---

TEST_F(http_file_test, knows_its_size)
{
    const auto file = opened();
    EXPECT_EQ(file->size(), 100u);
    EXPECT_EQ(file->handle, nullptr);
    EXPECT_EQ(script.log.count("HttpQueryInfoW 0x20000005"), 1u);
    EXPECT_THAT(requests(), ElementsAre("InternetOpenUrlW 101 http://h/a \"\" 0x00000100", "InternetCloseHandle 102"));
    file->seek(30, seek_begin);
    EXPECT_EQ(file->size(), 100u); // the server tells the 70 that are left
    EXPECT_THAT(requests(),
                ElementsAre("InternetOpenUrlW 101 http://h/a Range: bytes=30- 0x00000100", "InternetCloseHandle 103"));
}

TEST_F(http_file_test, reads_on_after_telling_its_size)
{
    const auto file = opened();
    EXPECT_EQ(read(*file, 10), body_of(10));
    EXPECT_EQ(file->size(), 100u);
    EXPECT_EQ(read(*file, 10), body_of(20).substr(10));
    EXPECT_EQ(script.log.count("InternetOpenUrlW 101 http://h/a Range: bytes=10- 0x00000100"), 1u);
}

TEST_F(http_file_test, reads_on_from_where_a_timeout_found_it)
{
    const auto file = opened(body_of(3000));
    EXPECT_EQ(read(*file, 1000), body_of(1000));
    script.network.reads = {endless()};
    char byte = 0;
    std::uint32_t count = 0;
    EXPECT_FALSE(file->read(&byte, 1, &count));
    EXPECT_EQ(get_last_error(), error_internet_timeout);
    EXPECT_EQ(read(*file, 1000), body_of(2000).substr(1000));
}

TEST_F(http_file_test, tells_why_it_has_no_size)
{
    const auto file = opened();
    script.network.answer.tells_length = false;
    EXPECT_EQ(file->size(), unknown_size);
    EXPECT_EQ(get_last_error(), error_http_header_not_found);
    EXPECT_EQ(file->handle, nullptr);
    script.network.requests = {failed(12007)};
    EXPECT_EQ(file->size(), unknown_size);
    EXPECT_EQ(get_last_error(), 12007u);
    script.network.answer.status = 404;
    EXPECT_EQ(file->size(), unknown_size);
    EXPECT_EQ(get_last_error(), 0x8004D554u);
    EXPECT_EQ(file->handle, nullptr);
}

TEST_F(http_file_test, keeps_the_last_error_over_the_closing)
{
    const auto file = opened();
    script.log.fail("InternetCloseHandle", error_io_pending);
    script.network.answer.tells_length = false;
    EXPECT_EQ(file->size(), unknown_size);
    EXPECT_EQ(get_last_error(), error_http_header_not_found);
    std::uint64_t file_time = 0;
    EXPECT_FALSE(file->last_modified(&file_time));
    EXPECT_EQ(get_last_error(), error_http_header_not_found);
    EXPECT_EQ(script.log.count("MsgWaitForMultipleObjects"), 2u);
    script.network.answer.status = 404;
    script.network.tells_closing = false;
    EXPECT_FALSE(file->connect());
    EXPECT_EQ(get_last_error(), 0x8004D554u);
    EXPECT_EQ(script.log.count("MsgWaitForMultipleObjects"), 3u);
    script.log.fail_nothing();
}

TEST_F(http_file_test, has_no_size_that_its_number_cannot_hold)
{
    struct row {
        std::uint32_t position;
        std::uint32_t length;
        std::uint32_t size;
    };
    const auto file = opened();
    for (const row& expected : {row{0, 0xFFFFFFFE, 0xFFFFFFFE}, row{0, 0xFFFFFFFF, unknown_size},
                                row{10, 0xFFFFFFF4, 0xFFFFFFFE}, row{10, 0xFFFFFFF5, unknown_size},
                                row{10, 0xFFFFFFFF, unknown_size}, row{0x80000000, 0x80000000, unknown_size}}) {
        SCOPED_TRACE(expected.length);
        file->position = expected.position;
        script.network.answer.length = expected.length;
        set_last_error(0);
        EXPECT_EQ(file->size(), expected.size);
        if (expected.size == unknown_size) {
            EXPECT_EQ(get_last_error(), error_arithmetic_overflow);
        }
        EXPECT_EQ(file->handle, nullptr);
    }
}

TEST_F(http_file_test, knows_its_date)
{
    const auto file = opened();
    script.network.answer.modified = system_time{1970, 1, 4, 1, 0, 0, 0, 0};
    std::uint64_t file_time = 0;
    EXPECT_TRUE(file->last_modified(&file_time));
    EXPECT_EQ(file_time, 116'444'736'000'000'000u);
    EXPECT_EQ(file->handle, nullptr);
    EXPECT_THAT(script.log.of({"HttpQueryInfoW 0x4", "SystemTime", "InternetClose"}),
                ElementsAre("HttpQueryInfoW 0x4000000B", "SystemTimeToFileTime 1970-01-01 00:00:00.000",
                            "InternetCloseHandle 102"));
}

TEST_F(http_file_test, tells_why_it_has_no_date)
{
    const auto file = opened();
    std::uint64_t file_time = 7;
    EXPECT_FALSE(file->last_modified(&file_time));
    EXPECT_EQ(get_last_error(), error_http_header_not_found);
    EXPECT_EQ(script.log.count("SystemTimeToFileTime"), 0u);
    EXPECT_EQ(file->handle, nullptr);
    script.network.answer.modified = system_time{2023, 2, 0, 30, 0, 0, 0, 0};
    EXPECT_FALSE(file->last_modified(&file_time));
    EXPECT_EQ(get_last_error(), error_invalid_parameter);
    script.network.requests = {failed(12007)};
    EXPECT_FALSE(file->last_modified(&file_time));
    EXPECT_EQ(get_last_error(), 12007u);
    EXPECT_EQ(file_time, 7u);
}

// --- the end ---

TEST_F(http_file_test, ends_once_with_all_that_it_has_open)
{
    int ends = 0;
    auto* const file = new watched_file(ends);
    EXPECT_TRUE(file->open(string(u"https://h/a"), string(), 0));
    EXPECT_TRUE(file->connect());
    EXPECT_EQ(file->add_ref(), 3u);
    EXPECT_EQ(file->release(), 2u);
    EXPECT_EQ(ends, 0);
    script.log.lines.clear();
    file->release();
    EXPECT_EQ(ends, 1);
    EXPECT_THAT(requests(),
                ElementsAre("InternetCloseHandle 103", "InternetCloseHandle 102", "InternetCloseHandle 101"));
    EXPECT_EQ(script.network.open_handles(), 0u);
    EXPECT_EQ(script.waits.open_events(), 0u);
}

TEST_F(http_file_test, ends_once_while_its_closing_is_pending)
{
    int ends = 0;
    auto* const file = new watched_file(ends);
    EXPECT_TRUE(file->open(string(u"http://h/a"), string(), 0));
    EXPECT_TRUE(file->connect());
    script.log.fail("InternetCloseHandle 102", error_io_pending);
    file->release();
    EXPECT_EQ(ends, 1);
    EXPECT_EQ(script.log.count("MsgWaitForMultipleObjects"), 1u);
    EXPECT_EQ(script.waits.open_events(), 0u);
}

} // namespace
