// A frame over the fixture library with the view of one subject: what the tests of its builder and
// of its presenters stand on.
#pragma once

#include "app/main_frame.h"

#include "tests/support/frame_view_test.h"

#include <string>
#include <string_view>
#include <vector>

namespace cw::test_support {

class media_view_test : public frame_view_test {
protected:
    explicit media_view_test(std::u16string_view view) { frame_access::view_filter(program.frame()) = CString(view); }
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
};

/// A media that fails on the way: what stands behind it, and the code of the one unhandled error.
struct failing_media {
    const char* members;
    const char* tree;
    const char* code;
};

} // namespace cw::test_support
