#include "framework/control_window.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace cw {
namespace {

class sample_control final : public control_window {
public:
    void send(std::uint32_t code) const { notify(code); }
    void send_from(std::uint32_t id, std::uint32_t code) const { notify_from(id, code); }
    int style_changes = 0;

private:
    void style_changed() override { ++style_changes; }
};

TEST(control_window, adds_style_bits_and_replaces_extended_ones)
{
    sample_control control;
    control.add_style(0x10);
    control.add_style(0x3);
    control.set_extended_style(0x421);
    control.set_extended_style(0x20);
    EXPECT_EQ(control.style(), 0x13u);
    EXPECT_EQ(control.extended_style(), 0x20u);
    EXPECT_EQ(control.style_changes, 4);
}

TEST(control_window, notifies_its_parent_with_its_id_and_a_part_with_its_own)
{
    sample_control control;
    control.send(1); // nobody listens yet
    std::vector<std::pair<std::uint32_t, std::uint32_t>> got;
    control.set_parent([&](std::uint32_t id, std::uint32_t code) { got.emplace_back(id, code); });
    control.set_control_id(59648);
    control.send(7);
    control.send_from(0, 8);
    EXPECT_EQ(got, (std::vector<std::pair<std::uint32_t, std::uint32_t>>{{59648, 7}, {0, 8}}));
}

} // namespace
} // namespace cw
