// What the tests of files behind addresses share.
#pragma once

#include "fileio/inet_file.h"
#include "platform/last_error.h"

#include "tests/support/scripted_services.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace cw::test_support {

/// A file in a session of its own, of no protocol: every answer can be read, unless it is told otherwise.
class plain_file : public inet_file {
public:
    plain_file() { session.open(string(u"agent"), 0, nullptr, nullptr, 0); }
    bool check_status() override { return status_is_good && inet_file::check_status(); }
    std::uint32_t seek(std::int32_t, std::uint32_t) override { return 0; }
    [[nodiscard]] std::uint32_t size() override { return 0; }
    [[nodiscard]] bool last_modified(std::uint64_t*) override { return false; }

    bool status_is_good = true;
};

/// Answers in order; after them `otherwise`.
struct scripted_error_handler final : transfer_error_handler {
    std::deque<std::uint32_t> answers;
    std::uint32_t otherwise = 0;
    std::vector<inet_file*> asked;
    std::function<void()> when_asked;

    std::uint32_t on_error(inet_file& failed) override
    {
        asked.push_back(&failed);
        if (when_asked)
            when_asked();
        if (answers.empty())
            return otherwise;
        const std::uint32_t answer = answers.front();
        answers.pop_front();
        return answer;
    }
};

/// A body in which every byte tells where it lies.
inline std::string body_of(std::size_t size)
{
    std::string body(size, 0);
    for (std::size_t i = 0; i < size; ++i)
        body[i] = static_cast<char>('!' + i % 90);
    return body;
}

class transfer_test : public testing::Test {
protected:
    scripted_services script;

    /// The lines of what goes out, since the last look.
    std::vector<std::string> requests()
    {
        const std::vector<std::string> lines = script.log.of(
            {"InternetConnectW", "InternetOpenUrlW", "HttpOpenRequestW", "HttpSendRequestW", "InternetCloseHandle"});
        script.log.lines.clear();
        return lines;
    }
    /// A person tries again for ever.
    void always_retry() { script.network.dialog_answers.assign(100, platform::error_internet_force_retry); }
};

/// One such file, without an address yet.
class plain_file_test : public transfer_test {
protected:
    static constexpr std::uint32_t usual_flags = 0x80400100;

    std::unique_ptr<plain_file> owner = std::make_unique<plain_file>();
    plain_file& file = *owner;

    void open(const char16_t* address = u"http://h/a", const char16_t* headers = u"", std::uint32_t flags = usual_flags)
    {
        EXPECT_TRUE(file.open(string(address), string(headers), flags));
        script.log.lines.clear();
    }
};

} // namespace cw::test_support
