// A started program whose views a test looks at, and the errors that no site caught.
#pragma once

#include "tests/support/frame_harness.h"
#include "tests/support/frame_pictures.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace cw::test_support {

using lines = std::vector<std::string>;

class frame_view_test : public testing::Test {
protected:
    frame_view_test() { program.start(); }
    /// Errors that a test provokes it takes; no other came, nor a message.
    void TearDown() override
    {
        EXPECT_EQ(program.take_unhandled(), lines{});
        EXPECT_TRUE(program.person.take_messages().empty());
    }
    CMainFrame& frame() { return program.frame(); }

    /// The result codes of the errors that no site caught since the last call of this.
    lines take_error_codes()
    {
        constexpr std::string_view head = "cwcabview: unhandled error: ";
        constexpr std::size_t code_length = 10;
        lines codes = program.take_unhandled();
        for (std::string& line : codes)
            line = line.starts_with(head) ? line.substr(head.size(), code_length) : line;
        return codes;
    }

    frame_harness program;
};

} // namespace cw::test_support
