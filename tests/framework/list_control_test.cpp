#include "framework/list_control.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace cw {
namespace {

using names = std::vector<std::u16string>;

/// Rows as lines, cells joined with a bar.
names drawn(const CListCtrl& list)
{
    names lines;
    for (std::size_t row = 0; row < list.GetItemCount(); ++row) {
        std::u16string line;
        for (std::size_t column = 0; column < list.GetColumnCount(); ++column)
            line.append(column ? u"|" : u"").append(list.GetItemText(row, column));
        lines.push_back(line);
    }
    return lines;
}

std::u16string number(std::size_t value)
{
    const std::string digits = std::to_string(value);
    return {digits.begin(), digits.end()};
}

class recording_observer final : public list_observer {
public:
    int changes = 0;
    int selections = 0;
    int images = 0;
    int styles = 0;
    std::vector<std::size_t> wanted;
    void list_changing() override { ++changes; }
    void list_selection_changed() override { ++selections; }
    void list_row_wanted_visible(std::size_t row) override { wanted.push_back(row); }
    void list_images_changed() override { ++images; }
    void list_style_changed() override { ++styles; }
};

class list_control : public testing::Test {
protected:
    void SetUp() override
    {
        list.InsertColumn(0, u"Property", 150);
        list.InsertColumn(1, u"Value", 400);
    }
    void add(std::u16string_view first, std::u16string_view second)
    {
        const std::size_t row = list.InsertItem(list.GetItemCount(), first);
        list.SetItemText(row, 1, second);
    }
    void sort_by(std::size_t column)
    {
        list.SortItems([&, column](std::size_t a, std::size_t b) {
            return list.GetItemText(a, column).compare(list.GetItemText(b, column));
        });
    }

    CListCtrl list;
};

TEST_F(list_control, keeps_columns)
{
    EXPECT_EQ(list.GetColumnCount(), 2u);
    EXPECT_EQ(list.GetColumn(0).label, u"Property");
    EXPECT_EQ(list.GetColumn(0).width_in_pixels, 150);
    EXPECT_EQ(list.GetColumn(1).label, u"Value");
    list.InsertColumn(99, u"Last", 3);
    EXPECT_EQ(list.GetColumn(2).label, u"Last");
    EXPECT_THROW((void)list.GetColumn(3), std::out_of_range);
    EXPECT_FALSE(list.DeleteColumn(3));
    EXPECT_TRUE(list.DeleteColumn(0));
    EXPECT_EQ(list.GetColumn(0).label, u"Value");
}

TEST_F(list_control, inserts_and_changes_cells)
{
    add(u"b", u"2");
    EXPECT_EQ(list.InsertItem(0, u"a"), 0u);
    EXPECT_EQ(list.InsertItem(99, u"d"), 2u);
    EXPECT_EQ(list.InsertItem(2, u"c"), 2u);
    EXPECT_EQ(drawn(list), (names{u"a|", u"b|2", u"c|", u"d|"}));
    EXPECT_TRUE(list.SetItemText(2, 0, u"C"));
    EXPECT_TRUE(list.SetItemText(2, 1, u"3"));
    EXPECT_TRUE(list.SetItemText(1, 1, u""));
    EXPECT_EQ(drawn(list), (names{u"a|", u"b|", u"C|3", u"d|"}));
    EXPECT_FALSE(list.SetItemText(4, 0, u"x"));
    EXPECT_FALSE(list.SetItemText(0, 2, u"x"));
    EXPECT_EQ(list.GetItemText(4, 0), u"");
    EXPECT_EQ(list.GetItemText(0, 2), u"");
}

TEST_F(list_control, keeps_texts_with_zeros_and_of_any_length)
{
    const std::u16string odd(u"a\0b", 3);
    const std::u16string text_of_a_megabyte(500'000, u'x');
    add(odd, text_of_a_megabyte);
    EXPECT_EQ(list.GetItemText(0, 0), odd);
    EXPECT_EQ(list.GetItemText(0, 1), text_of_a_megabyte);
}

TEST_F(list_control, takes_the_text_of_one_of_its_own_cells)
{
    add(u"first", u"a longer text of a cell");
    for (std::size_t i = 1; i < 200; ++i) {
        list.InsertItem(i, list.GetItemText(i - 1, 0));
        list.SetItemText(i, 1, list.GetItemText(i - 1, 1));
    }
    EXPECT_EQ(drawn(list), names(200, u"first|a longer text of a cell"));
}

TEST_F(list_control, drops_and_adds_columns_of_rows)
{
    list.InsertColumn(2, u"Third", 1);
    for (const auto* row : {u"a", u"b"}) {
        const std::size_t at = list.InsertItem(99, row);
        list.SetItemText(at, 1, std::u16string(row) + u"1");
        list.SetItemText(at, 2, std::u16string(row) + u"2");
    }
    EXPECT_TRUE(list.DeleteColumn(1));
    EXPECT_EQ(drawn(list), (names{u"a|a2", u"b|b2"}));
    list.InsertColumn(0, u"New", 1);
    EXPECT_EQ(drawn(list), (names{u"|a|a2", u"|b|b2"}));
    list.InsertColumn(2, u"Between", 1);
    list.SetItemText(1, 2, u"x");
    EXPECT_EQ(drawn(list), (names{u"|a||a2", u"|b|x|b2"}));
    while (list.DeleteColumn(0)) {
    }
    EXPECT_EQ(drawn(list), (names{u"", u""}));
    EXPECT_EQ(list.InsertItem(1, u"no cell"), 1u);
    EXPECT_EQ(list.GetItemCount(), 3u);
    list.InsertColumn(0, u"Again", 1);
    EXPECT_EQ(drawn(list), (names{u"", u"", u""}));
}

TEST_F(list_control, keeps_images_of_rows)
{
    list.InsertItem(0, u"none");
    EXPECT_EQ(list.GetItemImage(0), std::nullopt);
    list.InsertItem(1, u"x", 17);
    list.InsertItem(0, u"y", 0);
    list.InsertItem(1, u"none too");
    EXPECT_EQ(list.GetItemImage(0), 0);
    EXPECT_EQ(list.GetItemImage(1), std::nullopt);
    EXPECT_EQ(list.GetItemImage(2), std::nullopt);
    EXPECT_EQ(list.GetItemImage(3), 17);
    EXPECT_EQ(list.GetItemImage(4), std::nullopt);
    sort_by(0);
    EXPECT_EQ(drawn(list), (names{u"none|", u"none too|", u"x|", u"y|"}));
    EXPECT_EQ(list.GetItemImage(2), 17);
    EXPECT_EQ(list.GetItemImage(3), 0);
}

TEST_F(list_control, selects_one_row_and_keeps_it_on_the_same_record)
{
    EXPECT_EQ(list.GetSelectedRow(), CListCtrl::no_row);
    EXPECT_EQ(list.GetSelectedCount(), 0u);
    add(u"b", u"");
    add(u"a", u"");
    list.SelectRow(0);
    EXPECT_EQ(list.GetSelectedRow(), 0u);
    EXPECT_EQ(list.GetSelectedCount(), 1u);
    list.SelectRow(2);
    EXPECT_EQ(list.GetSelectedRow(), 0u);
    list.InsertItem(1, u"behind");
    EXPECT_EQ(list.GetSelectedRow(), 0u);
    list.InsertItem(0, u"before");
    EXPECT_EQ(list.GetItemText(list.GetSelectedRow(), 0), u"b");
    sort_by(0);
    EXPECT_EQ(drawn(list), (names{u"a|", u"b|", u"before|", u"behind|"}));
    EXPECT_EQ(list.GetSelectedRow(), 1u);
    list.SelectRow(CListCtrl::no_row);
    EXPECT_EQ(list.GetSelectedCount(), 0u);
    sort_by(0);
    EXPECT_EQ(list.GetSelectedRow(), CListCtrl::no_row);
}

TEST_F(list_control, empties_itself_and_gives_the_memory_back)
{
    for (int i = 0; i < 1000; ++i)
        list.InsertItem(0, u"text", 1);
    list.SelectRow(3);
    list.DeleteAllItems();
    EXPECT_EQ(list.GetItemCount(), 0u);
    EXPECT_EQ(list.GetColumnCount(), 2u);
    EXPECT_EQ(list.GetSelectedRow(), CListCtrl::no_row);
    EXPECT_EQ(list.storage_in_bytes(), 0u);
    add(u"new", u"row");
    EXPECT_EQ(drawn(list), names{u"new|row"});
    EXPECT_EQ(list.GetItemImage(0), std::nullopt);
}

TEST_F(list_control, sorts_stably_by_rows_as_they_stand_before)
{
    for (const auto& [first, second] : {std::pair{u"1", u"b"}, {u"2", u"a"}, {u"3", u"b"}, {u"4", u"a"}})
        add(first, second);
    sort_by(1);
    EXPECT_EQ(drawn(list), (names{u"2|a", u"4|a", u"1|b", u"3|b"}));
    list.SortItems(
        [&](std::size_t a, std::size_t b) { return list.GetItemText(b, 1).compare(list.GetItemText(a, 1)); });
    EXPECT_EQ(drawn(list), (names{u"1|b", u"3|b", u"2|a", u"4|a"}));
    list.SetItemText(0, 0, u"changed");
    EXPECT_EQ(drawn(list).front(), u"changed|b");
}

TEST_F(list_control, stays_as_it_is_where_a_comparison_throws)
{
    add(u"b", u"");
    add(u"a", u"");
    EXPECT_THROW(list.SortItems([](std::size_t, std::size_t) -> int { throw std::runtime_error("x"); }),
                 std::runtime_error);
    EXPECT_EQ(drawn(list), (names{u"b|", u"a|"}));
}

TEST_F(list_control, notifies_of_header_clicks_from_id_0_and_of_right_clicks_from_its_own)
{
    std::vector<std::pair<std::uint32_t, std::uint32_t>> got;
    list.set_control_id(59728);
    list.set_parent([&](std::uint32_t id, std::uint32_t code) {
        got.emplace_back(id, code);
        if (code == HDN_ITEMCLICKW) {
            EXPECT_EQ(list.GetClickedColumn(), 1u);
        }
    });
    EXPECT_EQ(list.GetClickedColumn(), 0u);
    list.ClickHeader(1);
    list.RightClick();
    EXPECT_EQ(got, (std::vector<std::pair<std::uint32_t, std::uint32_t>>{{0, HDN_ITEMCLICKW}, {59728, NM_RCLICK}}));
}

TEST_F(list_control, tells_its_observer)
{
    recording_observer observer;
    list.SetObserver(&observer);
    constexpr image_list tree_images{16, 16, 22};
    constexpr image_list spacer{1, 1, 0};
    add(u"a", u"b");
    EXPECT_EQ(observer.changes, 2);
    sort_by(0);
    list.InsertColumn(0, u"x", 1);
    list.DeleteColumn(0);
    EXPECT_EQ(observer.changes, 5);
    list.SelectRow(0);
    list.SelectRow(0);
    EXPECT_EQ(observer.selections, 1);
    list.EnsureVisible(0);
    list.EnsureVisible(1);
    EXPECT_EQ(observer.wanted, (std::vector<std::size_t>{0}));
    list.DeleteAllItems();
    EXPECT_EQ(observer.changes, 6);
    EXPECT_EQ(observer.selections, 2);
    EXPECT_EQ(list.GetSmallImages(), nullptr);
    list.SetSmallImages(&tree_images);
    list.SetSmallImages(&tree_images);
    list.SetSmallImages(&spacer);
    list.SetNormalImages(&tree_images);
    EXPECT_EQ(observer.images, 2);
    EXPECT_EQ(list.GetSmallImages(), &spacer);
    EXPECT_EQ(list.GetNormalImages(), &tree_images);
    list.add_style(5);
    EXPECT_EQ(observer.styles, 1);
}

/// The bytes that the list may take.
std::size_t allowed_bytes(const CListCtrl& list)
{
    std::size_t text_bytes = 0;
    for (std::size_t row = 0; row < list.GetItemCount(); ++row)
        for (std::size_t column = 0; column < list.GetColumnCount(); ++column)
            text_bytes += list.GetItemText(row, column).size() * sizeof(char16_t);
    return text_bytes + text_bytes / 2 + 16 * list.GetItemCount() * list.GetColumnCount();
}

class list_storage : public testing::TestWithParam<std::pair<std::size_t, bool>> {};

TEST_P(list_storage, stays_within_its_bound_from_a_thousand_rows_up)
{
    const auto [columns, with_images] = GetParam();
    CListCtrl list;
    for (std::size_t column = 0; column < columns; ++column)
        list.InsertColumn(column, u"Column", 100);
    std::size_t text_bytes = 0;
    constexpr std::size_t row_count = 100'000;
    for (std::size_t row = 0; row < row_count; ++row) {
        const std::u16string name = u"file" + number(row);
        list.InsertItem(row, name, with_images ? std::optional(1) : std::nullopt);
        text_bytes += name.size() * sizeof(char16_t);
        for (std::size_t column = 1; column < columns; ++column) {
            const std::u16string text = number(row * column);
            list.SetItemText(row, column, text);
            text_bytes += text.size() * sizeof(char16_t);
        }
        if (row >= 999) {
            ASSERT_LE(list.storage_in_bytes(), text_bytes + text_bytes / 2 + 16 * (row + 1) * columns) << row;
        }
    }
    EXPECT_EQ(list.GetItemText(row_count - 1, 0), u"file99999");

    list.SortItems(
        [&](std::size_t a, std::size_t b) { return list.GetItemText(a, 0).compare(list.GetItemText(b, 0)); });
    EXPECT_LE(list.storage_in_bytes(), allowed_bytes(list));
    for (std::size_t row = 0; row < row_count; ++row) {
        list.SetItemText(row, 0, number(row));
        if (row % 10'000 == 0) {
            ASSERT_LE(list.storage_in_bytes(), allowed_bytes(list)) << row;
        }
    }
    EXPECT_LE(list.storage_in_bytes(), allowed_bytes(list));
    EXPECT_EQ(list.GetItemText(row_count - 1, 0), number(row_count - 1));
    while (list.GetColumnCount() > 1) {
        list.DeleteColumn(1);
        ASSERT_LE(list.storage_in_bytes(), allowed_bytes(list));
    }
    EXPECT_EQ(list.GetItemText(17, 0), u"17");
}

INSTANTIATE_TEST_SUITE_P(columns, list_storage,
                         testing::Values(std::pair{1, false}, std::pair{1, true}, std::pair{2, false},
                                         std::pair{2, true}, std::pair{7, false}));

TEST_F(list_control, does_not_grow_by_changing_cells_over_and_over)
{
    for (std::size_t row = 0; row < 1000; ++row)
        add(u"name", u"value");
    for (std::size_t round = 0; round < 200; ++round)
        for (std::size_t row = 0; row < 1000; ++row)
            list.SetItemText(row, 1, number(round));
    EXPECT_LE(list.storage_in_bytes(), allowed_bytes(list));
    EXPECT_EQ(drawn(list), names(1000, u"name|199"));
}

} // namespace
} // namespace cw
