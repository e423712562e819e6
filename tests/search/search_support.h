// A frame over the fixture log library whose Search menu a test uses.
#pragma once

#include "app/menus.h"
#include "platform/utf8.h"
#include "tests/log/log_support.h"

#include <string>
#include <string_view>

namespace cw::test_support {

inline constexpr std::string_view not_found = " - Search item not found";

class search_test : public log_view_test {
protected:
    /// Opens a log with these types and members of its main feature.
    void open(std::string_view members, std::string_view types = R"("OPTYPE_FILE")")
    {
        ASSERT_TRUE(program.open_log(R"({"types": [)" + std::string(types) + R"(], "root": {"Name": "Main", )" +
                                     std::string(members) + "}}"));
        frame().FocusMoved(nullptr);
    }

    /// Answers the dialog with a text; where the search has come to, see `place`.
    std::string find(std::u16string_view text)
    {
        program.person.answer(question_kind::find, std::u16string(text));
        return after(ID_SEARCH_FIND);
    }
    std::string next() { return after(ID_SEARCH_FIND_NEXT); }

    /// "Main/Sub row 2 list": the selected item below the top item, the selected row if there is one, and
    /// which control has the focus; then the message that came, if one did.
    std::string place()
    {
        const CTreeCtrl& tree = frame().Tree();
        std::string text;
        for (HTREEITEM item = tree.GetSelectedItem(); item; item = tree.GetParentItem(item))
            text = platform::to_utf8(tree.GetItemText(item)) + (text.empty() ? "" : "/") + text;
        text = text.substr(std::min(text.size(), std::string_view("log.clg/").size()));
        if (const std::size_t row = frame().List().GetSelectedRow(); row != CListCtrl::no_row)
            text += " row " + std::to_string(row);
        if (const control_window* focus = frame().GetFocus())
            text += focus == &frame().Tree() ? " tree" : " list";
        for (const auto& message : program.person.take_messages())
            text += " - " + platform::to_utf8(message.text);
        return text;
    }

private:
    std::string after(std::uint32_t command)
    {
        frame().FocusMoved(nullptr);
        frame().RunCommand(command);
        return place();
    }
};

} // namespace cw::test_support
