// A frame over the fixture library with the view of one subject: what the tests of its builder and
// of its presenters stand on.
#pragma once

#include "app/main_frame.h"

#include "tests/support/frame_harness.h"
#include "tests/support/frame_pictures.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace cw::test_support {

using lines = std::vector<std::string>;

class media_view_test : public testing::Test {
protected:
    explicit media_view_test(std::u16string_view view)
    {
        program.start();
        frame_access::view_filter(program.frame()) = CString(view);
    }
    /// Errors that a test provokes it takes; no other came, nor a message about a media's model.
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
    /// The calls that opening a media with these members makes, the opening itself left out.
    lines trace_of_opening(std::string_view members)
    {
        (void)program.take_trace();
        program.open_media(members);
        lines trace = program.take_trace();
        EXPECT_FALSE(trace.empty());
        if (!trace.empty())
            trace.erase(trace.begin());
        return trace;
    }
    /// The calls that selecting an item makes.
    lines trace_of_selecting(std::string_view path)
    {
        frame().Tree().SelectItem({});
        (void)program.take_trace();
        select(frame(), path);
        return program.take_trace();
    }

    frame_harness program;
};

/// A media that fails on the way: what stands behind it, and the code of the one unhandled error.
struct failing_media {
    const char* members;
    const char* tree;
    const char* code;
};

} // namespace cw::test_support
