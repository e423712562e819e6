#include "console/list_output.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sstream>

namespace cw::console {
namespace {

using nlohmann::json;

class list_output : public testing::Test {
protected:
    list_output()
    {
        list.InsertColumn(0, u"Name", 120);
        list.InsertColumn(1, u"Data", 300);
    }
    void add(std::u16string_view name, std::u16string_view data, std::optional<int> image = {})
    {
        list.SetItemText(list.InsertItem(list.GetItemCount(), name, image), 1, data);
    }
    std::string text_of() const
    {
        std::ostringstream out;
        print_list(out, list);
        return out.str();
    }
    std::string fields_of() const
    {
        std::ostringstream out;
        write_list_fields(out, list);
        return out.str();
    }

    CListCtrl list;
};

TEST_F(list_output, aligns_columns_below_their_labels)
{
    add(u"a", u"1");
    add(u"longer than its label", u"two words");
    EXPECT_EQ(text_of(), "Name                   Data\n"
                         "a                      1\n"
                         "longer than its label  two words\n");
}

TEST_F(list_output, pads_no_row_to_an_endless_text)
{
    add(std::u16string(10'000, u'x'), u"1");
    add(u"a", u"2");
    add(std::u16string(200, u'y'), u"3");
    const std::string text = text_of();
    EXPECT_TRUE(text.starts_with("Name" + std::string(198, ' ') + "Data\n")) << text;
    EXPECT_NE(text.find("\n" + std::string(10'000, 'x') + "  1\na" + std::string(201, ' ') + "2\n"), text.npos);
    EXPECT_TRUE(text.ends_with("\n" + std::string(200, 'y') + "  3\n"));
}

TEST_F(list_output, ends_no_line_with_blanks)
{
    add(u"a", u"");
    add(u"", u"");
    EXPECT_EQ(text_of(), "Name  Data\na\n\n");
}

TEST_F(list_output, of_an_empty_list_is_its_labels)
{
    EXPECT_EQ(text_of(), "Name  Data\n");
    list.DeleteColumn(0);
    list.DeleteColumn(0);
    EXPECT_EQ(text_of(), "");
    EXPECT_EQ(fields_of(), R"("columns":[],"rows":[])");
}

TEST_F(list_output, aligns_by_what_a_terminal_shows)
{
    add(u"中文", u"wide");
    add(u"e\u0301\u0301", u"marks");
    add(u"\U0001F5FA", u"plane");
    EXPECT_EQ(text_of(), "Name  Data\n"
                         "中文  wide\n"
                         "e\u0301\u0301     marks\n"
                         "\U0001F5FA     plane\n");
}

TEST_F(list_output, measures_texts_as_shown)
{
    EXPECT_EQ(display_width(u""), 0u);
    EXPECT_EQ(display_width(u"abc"), 3u);
    EXPECT_EQ(display_width(u"\u200D"), 0u);
    EXPECT_EQ(display_width(u"\uFF21"), 2u);
    EXPECT_EQ(display_width(u"\U0001F600"), 2u);
    // What would steer the terminal stands there as a sign.
    EXPECT_EQ(display_width(u"\u202E\u001B"), 2u);
    // Half a character too.
    EXPECT_EQ(display_width(std::u16string(1, char16_t{0xD800})), 1u);
}

TEST_F(list_output, cannot_be_steered_by_a_cell)
{
    add(u"a\nb\x1B[2J", u"\u202E");
    EXPECT_EQ(text_of().find('\x1B'), std::string::npos);
    EXPECT_EQ(text_of(), "Name     Data\na\uFFFDb\uFFFD[2J  \uFFFD\n");
}

TEST_F(list_output, json_holds_columns_and_rows)
{
    add(u"a", u"x\ty", 17);
    add(u"b", u"");
    EXPECT_EQ(fields_of(), R"("columns":[{"label":"Name","width":120},{"label":"Data","width":300}],)"
                           R"("rows":[{"cells":["a","x\ty"],"image":17},{"cells":["b",""],"image":null}])");
    EXPECT_TRUE(json::accept("{" + fields_of() + "}"));
}

TEST_F(list_output, json_is_always_valid_text)
{
    add(std::u16string(1, char16_t{0xDC80}), u"\n\"\\");
    const json fields = json::parse("{" + fields_of() + "}");
    EXPECT_EQ(fields["rows"][0]["cells"], (json::array({"\uFFFD", "\n\"\\"})));
}

} // namespace
} // namespace cw::console
