// A frame over the fixture log library: what the tests of the log's tree and presenters stand on.
#pragma once

#include "app/main_frame.h"

#include "tests/support/frame_view_test.h"

#include <string>
#include <string_view>
#include <vector>

namespace cw::test_support {

class log_view_test : public frame_view_test {
protected:
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
};

} // namespace cw::test_support
