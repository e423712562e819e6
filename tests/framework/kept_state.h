// A kept state of the command bars, for tests to spoil.
#pragma once

#include "framework/tool_items.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace cw::test_support {

// The smallest sound state, to be spoilt in one place each.
inline constexpr std::u16string_view sound =
    uR"({"version":1,"removed_keys":[{"key":67,"held":1,"command":57634}],"own_keys":[{"key":118,"held":0,)"
    uR"("command":32780}],"toolbars":[{"name":"T","shown":true,"items":[57601,null,{"popup":"&File"},)"
    uR"({"menu":"M","items":[57603,null]}]}],"options":{"large_icons":true,"button_text":"beside","menu_icons":false}})";

inline std::u16string replaced(std::u16string_view what, std::u16string_view by)
{
    std::u16string state(sound);
    const std::size_t place = state.find(what);
    EXPECT_NE(place, state.npos);
    return state.replace(place, what.size(), by);
}

inline tool_item own_menu(std::vector<tool_item> contents)
{
    tool_item made = tool_item::menu(u"Mine");
    made.contents = std::move(contents);
    return made;
}

} // namespace cw::test_support
