#include "framework/office_border.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace cw {
namespace {

constexpr std::uint32_t outer_color = 0x00A0B0;
constexpr std::uint32_t inner_color = 0x0C0D0E;

/// Writes down what is asked of the window and its painter, in order.
class scripted_window final : public window_operations, public office_border_painter {
public:
    std::intptr_t default_procedure(const window_message& message) override
    {
        calls.push_back("default " + std::to_string(message.id) + " " + std::to_string(message.number));
        if (message.id == WM_NCCALCSIZE)
            static_cast<window_rectangle*>(message.pointer)->top += caption_height;
        return default_answer;
    }
    void modify_style(std::uint32_t removed, std::uint32_t added) override { note("style", removed, added); }
    void modify_extended_style(std::uint32_t removed, std::uint32_t added) override
    {
        note("extended style", removed, added);
    }
    void set_position(std::uint32_t flags) override { calls.push_back("position " + std::to_string(flags)); }
    std::uint32_t XTPOfficeBorder_GetBorderColor(bool outer) override
    {
        calls.push_back(outer ? "color true" : "color false");
        return outer ? outer_color : inner_color;
    }
    void XTPOfficeBorder_OnPaint(CWnd& window, std::uint32_t first, std::uint32_t second) override
    {
        painted = &window;
        note("paint", first, second);
    }

    static constexpr int caption_height = 20;
    std::intptr_t default_answer = 0;
    std::vector<std::string> calls;
    CWnd* painted = nullptr;

private:
    void note(const std::string& what, std::uint32_t first, std::uint32_t second)
    {
        calls.push_back(what + " " + std::to_string(first) + " " + std::to_string(second));
    }
};

template <class Base>
class office_border : public testing::Test {
protected:
    office_border() { border.Attach(window, window); }

    using lines = std::vector<std::string>;
    scripted_window window;
    CXTPOfficeBorder<Base> border;
};

using bases = testing::Types<CStatic, CEdit>;
TYPED_TEST_SUITE(office_border, bases);

TYPED_TEST(office_border, takes_the_systems_borders_away_when_it_is_created)
{
    this->window.default_answer = 5;
    EXPECT_EQ(this->border.WindowProc({WM_CREATE}), 0);
    EXPECT_EQ(this->window.calls,
              (std::vector<std::string>{"default 1 0", "style 8388608 0", "extended style 512 0", "position 55"}));
}

TYPED_TEST(office_border, is_not_created_where_the_default_refuses)
{
    this->window.default_answer = -1;
    EXPECT_EQ(this->border.WindowProc({WM_CREATE}), -1);
    EXPECT_EQ(this->window.calls, std::vector<std::string>{"default 1 0"});
}

TYPED_TEST(office_border, takes_every_other_answer_of_the_default_for_consent)
{
    for (const std::intptr_t answer : {std::intptr_t{-2}, std::intptr_t{1}, INTPTR_MIN}) {
        this->window.calls.clear();
        this->window.default_answer = answer;
        EXPECT_EQ(this->border.WindowProc({WM_CREATE}), 0);
        EXPECT_EQ(this->window.calls.size(), 4u);
    }
}

TYPED_TEST(office_border, takes_one_pixel_of_each_side_after_the_default)
{
    window_rectangle rectangle{10, 10, 110, 60};
    this->window.default_answer = 3;
    EXPECT_EQ(this->border.WindowProc({WM_NCCALCSIZE, 1, &rectangle}), 3);
    EXPECT_EQ(rectangle, (window_rectangle{11, 31, 109, 59}));
    EXPECT_EQ(this->window.calls, std::vector<std::string>{"default 131 1"});
}

TYPED_TEST(office_border, is_painted_in_its_two_colors_after_the_default)
{
    this->window.default_answer = 7;
    EXPECT_EQ(this->border.WindowProc({WM_NCPAINT}), 0);
    EXPECT_EQ(this->window.calls,
              (std::vector<std::string>{"default 133 0", "color true", "color false",
                                        "paint " + std::to_string(outer_color) + " " + std::to_string(inner_color)}));
    EXPECT_EQ(this->window.painted, &this->border);
}

TYPED_TEST(office_border, leaves_every_other_message_to_the_default)
{
    for (const std::uint32_t id : {0u, 2u, 0x0Fu, 0x82u, 0x84u, 0x86u, 0x110u}) {
        this->window.calls.clear();
        this->window.default_answer = -1;
        EXPECT_EQ(this->border.WindowProc({id, 9}), -1);
        EXPECT_EQ(this->window.calls, std::vector<std::string>{"default " + std::to_string(id) + " 9"});
    }
}

TYPED_TEST(office_border, asks_the_toolkit_for_its_colors)
{
    EXPECT_EQ(this->border.GetBorderColor(true), outer_color);
    EXPECT_EQ(this->border.GetBorderColor(false), inner_color);
    EXPECT_EQ(this->window.calls, (std::vector<std::string>{"color true", "color false"}));
}

/// Another colour than the toolkit's, for one kind of control.
class red_border final : public CXTPOfficeBorder<CEdit> {
public:
    std::uint32_t GetBorderColor(bool outer) override { return outer ? 0x0000FFu : 0x000080u; }
};

TEST(office_border_of_a_kind, can_have_colors_of_its_own)
{
    scripted_window window;
    red_border border;
    border.Attach(window, window);
    EXPECT_EQ(border.WindowProc({WM_NCPAINT}), 0);
    EXPECT_EQ(window.calls, (std::vector<std::string>{"default 133 0", "paint 255 128"}));
}

TEST(office_border_of_a_kind, is_made_without_a_window)
{
    const CXTPOfficeBorder<CStatic> border;
    EXPECT_FALSE(border.HasWindow());
}

} // namespace
} // namespace cw
