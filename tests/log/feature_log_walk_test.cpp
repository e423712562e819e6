#include "log/feature_log_walk.h"

#include "platform/utf8.h"
#include "tests/log/log_support.h"

namespace cw {
namespace {

using namespace test_support;

class feature_log_walk : public log_view_test {
protected:
    /// What a feature with these properties is told as: "scalar 0 label=text" and the like.
    lines walk(std::string_view properties)
    {
        EXPECT_TRUE(program.open_log(R"({"root": {"Name": "M", "properties": )" + std::string(properties) + "}}"));
        lines told;
        const auto sink = [&told](std::string kind) {
            return [&told, kind](std::size_t index, std::u16string_view label, std::u16string_view text) {
                told.push_back(kind + " " + std::to_string(index) + " " + platform::to_utf8(label) + "=" +
                               platform::to_utf8(text));
            };
        };
        frame().Guard([&] {
            walk_feature_properties(frame_access::root_feature_log(frame()).get(), sink("scalar"), sink("element"));
        });
        return told;
    }
};

TEST_F(feature_log_walk, counts_scalars_among_all_properties_and_elements_by_themselves)
{
    EXPECT_EQ(walk(R"([["A", "a"], ["T", {"array": ["One", "Two"]}], ["V", {"array": ["1", "2"]}], ["B", "b"],
                       ["W", {"array": ["3"]}]])"),
              (lines{"scalar 0 A=a", "element 0 One=1", "element 1 Two=2", "scalar 3 B=b", "element 0 One=3"}));
}

TEST_F(feature_log_walk, tells_states_by_name)
{
    EXPECT_EQ(walk(R"([["A", 0], ["B", 2], ["C", 1]])"),
              (lines{"scalar 0 A=Not Installed", "scalar 1 B=Installed", "scalar 2 C=1"}));
}

TEST_F(feature_log_walk, without_properties_tells_that_nothing_is_installed)
{
    EXPECT_EQ(walk("[]"), lines{"scalar 0 State=Not Installed"});
}

TEST_F(feature_log_walk, ends_where_a_visitor_says_so)
{
    ASSERT_TRUE(program.open_log(R"({"root": {"Name": "M", "properties":
        [["A", 2], ["T", {"array": ["One", "Two"]}], ["V", {"array": ["1", "2"]}], ["B", "b"]]}})"));
    lines told;
    std::size_t last = 0;
    const auto visit = [&] {
        told.clear();
        return visit_feature_properties(
            frame_access::root_feature_log(frame()).get(),
            [&](std::size_t, std::u16string_view name, const VARIANT& value) {
                told.push_back(platform::to_utf8(name) + "=" + std::to_string(value.vt));
                return told.size() != last;
            },
            [&](std::size_t, std::u16string_view label, std::u16string_view text) {
                told.push_back(platform::to_utf8(label) + "=" + platform::to_utf8(text));
                return told.size() != last;
            });
    };
    // Values come as the library gave them.
    EXPECT_EQ(visit(), property_walk_end::all_visited);
    EXPECT_EQ(told, (lines{"A=3", "One=1", "Two=2", "B=8"}));
    last = 1;
    EXPECT_EQ(visit(), property_walk_end::stopped);
    EXPECT_EQ(told, lines{"A=3"});
    last = 2;
    EXPECT_EQ(visit(), property_walk_end::stopped);
    EXPECT_EQ(told, (lines{"A=3", "One=1"}));
    ASSERT_TRUE(program.open_log(R"({"root": {"Name": "M"}})"));
    EXPECT_EQ(visit(), property_walk_end::no_properties);
    EXPECT_EQ(told, lines{});
}

TEST_F(feature_log_walk, raises_behind_the_last_title)
{
    EXPECT_EQ(walk(R"([["T", {"array": ["One"]}], ["V", {"array": ["1", "2"]}]])"), lines{"element 0 One=1"});
    EXPECT_EQ(program.take_unhandled(), lines{"cwcabview: unhandled error: invalid argument"});
}

TEST_F(feature_log_walk, raises_what_the_library_fails_with)
{
    EXPECT_EQ(walk(R"([["A", "a"], ["B", {"fail": "0x80004005"}], ["C", "c"]])"), lines{"scalar 0 A=a"});
    EXPECT_EQ(take_error_codes(), lines{"0x80004005"});
}

} // namespace
} // namespace cw
