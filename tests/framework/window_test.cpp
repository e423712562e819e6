#include "framework/window.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace cw {
namespace {

class scripted_operations final : public window_operations {
public:
    std::intptr_t default_procedure(const window_message& message) override
    {
        calls.push_back("default " + std::to_string(message.id));
        return 42;
    }
    void modify_style(std::uint32_t removed, std::uint32_t added) override
    {
        calls.push_back("style " + std::to_string(removed) + " " + std::to_string(added));
    }
    void modify_extended_style(std::uint32_t removed, std::uint32_t added) override
    {
        calls.push_back("extended " + std::to_string(removed) + " " + std::to_string(added));
    }
    void set_position(std::uint32_t flags) override { calls.push_back("position " + std::to_string(flags)); }

    std::vector<std::string> calls;
};

TEST(window, passes_everything_on_to_what_is_behind_it)
{
    scripted_operations operations;
    CStatic window;
    EXPECT_FALSE(window.HasWindow());
    window.Attach(operations);
    EXPECT_TRUE(window.HasWindow());
    EXPECT_EQ(window.WindowProc({WM_CREATE}), 42);
    window.ModifyStyle(1, 2);
    window.ModifyStyleEx(3, 4);
    window.SetWindowPos(SWP_NOSIZE | SWP_FRAMECHANGED);
    EXPECT_EQ(operations.calls, (std::vector<std::string>{"default 1", "style 1 2", "extended 3 4", "position 33"}));
}

TEST(window_rectangle, deflates_by_all_sides)
{
    window_rectangle rectangle{0, 1, 10, 11};
    rectangle.deflate(2);
    EXPECT_EQ(rectangle, (window_rectangle{2, 3, 8, 9}));
    // Nothing keeps one from turning inside out.
    rectangle.deflate(10);
    EXPECT_EQ(rectangle, (window_rectangle{12, 13, -2, -1}));
}

} // namespace
} // namespace cw
