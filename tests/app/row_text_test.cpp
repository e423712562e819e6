#include "app/row_text.h"

#include <gtest/gtest.h>

#include <array>

namespace cw {
namespace {

class row_text_of_a_list : public testing::Test {
protected:
    row_text_of_a_list()
    {
        for (const char16_t* label : {u"Name", u"Data", u"Uninstall"})
            list.InsertColumn(list.GetColumnCount(), label, 100);
        add(u"a", u"", u"Yes");
        add(u"b", u"two words", u"No");
        add(u"", u"", u"");
    }
    void add(std::u16string_view first, std::u16string_view second, std::u16string_view third)
    {
        const std::size_t row = list.InsertItem(list.GetItemCount(), first);
        list.SetItemText(row, 1, second);
        list.SetItemText(row, 2, third);
    }
    CListCtrl list;
};

TEST_F(row_text_of_a_list, joins_cells_with_one_tab_each)
{
    EXPECT_EQ(row_text(list, std::array{std::size_t{1}}), u"b\ttwo words\tNo");
}

TEST_F(row_text_of_a_list, keeps_the_place_of_an_empty_cell)
{
    EXPECT_EQ(row_text(list, std::array{std::size_t{0}}), u"a\t\tYes");
    EXPECT_EQ(row_text(list, std::array{std::size_t{2}}), u"\t\t");
}

TEST_F(row_text_of_a_list, joins_rows_with_line_ends_and_ends_without_one)
{
    EXPECT_EQ(row_text(list, std::array{std::size_t{0}, std::size_t{1}, std::size_t{2}}),
              u"a\t\tYes\r\nb\ttwo words\tNo\r\n\t\t");
}

TEST_F(row_text_of_a_list, is_empty_without_rows)
{
    EXPECT_EQ(row_text(list, {}), u"");
}

TEST_F(row_text_of_a_list, of_one_column_has_no_tab)
{
    list.DeleteColumn(2);
    list.DeleteColumn(1);
    EXPECT_EQ(row_text(list, std::array{std::size_t{0}, std::size_t{1}}), u"a\r\nb");
}

} // namespace
} // namespace cw
