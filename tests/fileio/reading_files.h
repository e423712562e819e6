// A file with a body that can be read, for the tests of reading and of its rate.
#pragma once

#include "tests/fileio/transfer_files.h"

#include <string>
#include <vector>

namespace cw::test_support {

inline constexpr char untouched = '\x01';

class reading_test : public transfer_test {
protected:
    plain_file file;
    std::vector<char> buffer;
    std::uint32_t came = 77;

    explicit reading_test(std::size_t size = 10000) { open(size); }
    /// A body of `size` behind the address.
    void open(std::size_t size)
    {
        script.network.answer.body = body_of(size);
        EXPECT_TRUE(file.open(string(u"http://h/a"), string(), 0));
        script.log.lines.clear();
    }
    /// Reads into the start of a buffer that has untouched bytes behind it.
    bool read(std::uint32_t size)
    {
        buffer.assign(size + 1000, untouched);
        return file.read(buffer.data(), size, &came);
    }
    /// What of the body lies from `start` on in the buffer, whose bytes behind `size` must be untouched.
    void expect_bytes(std::size_t start, std::size_t size, std::size_t from)
    {
        ASSERT_LE(start + size, buffer.size());
        EXPECT_EQ(std::string(buffer.data() + start, size), body_of(from + size).substr(from));
    }
    void expect_untouched(std::size_t start, std::size_t end)
    {
        EXPECT_EQ(std::string(buffer.data() + start, end - start), std::string(end - start, untouched));
    }
    std::vector<std::string> chunks() { return script.log.of({"InternetReadFile"}); }
};

} // namespace cw::test_support
