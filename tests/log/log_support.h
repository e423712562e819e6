// A frame over the fixture log library: what the tests of the log's tree and presenters stand on.
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

class log_view_test : public testing::Test {
protected:
    log_view_test() { program.start(); }
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
    /// Opens a log whose main feature has the sub-feature "Sub" with these members; `types` are the
    /// types that the log lists.
    bool open_feature(std::string_view members, std::string_view types = R"("OPTYPE_FILE")")
    {
        return program.open_log(R"({"types": [)" + std::string(types) + R"(], "root": {"Name": "Main", "features": [)" +
                                R"({"Name": "Sub", )" + std::string(members) + "}]}}");
    }
    /// Selects an item below the top item, from nothing.
    void select_in_log(std::string_view path)
    {
        frame().Tree().SelectItem({});
        (void)program.take_trace();
        frame().Guard([&] { select(frame(), "log.clg/" + std::string(path)); });
    }
    lines rows_at(std::string_view path)
    {
        select_in_log(path);
        return rows_of(frame());
    }

    frame_harness program;
};

} // namespace cw::test_support
