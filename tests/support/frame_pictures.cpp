#include "tests/support/frame_pictures.h"

#include "platform/utf8.h"

#include <functional>
#include <stdexcept>

namespace cw::test_support {
namespace {

using describe_item = std::function<std::string(HTREEITEM)>;

void add_lines(std::string& lines, const CTreeCtrl& tree, HTREEITEM item, int depth, const describe_item& describe)
{
    lines.append(static_cast<std::size_t>(depth) * 2, ' ');
    lines += platform::to_utf8(tree.GetItemText(item)) + describe(item) + "\n";
    for (HTREEITEM child = tree.GetChildItem(item); child; child = tree.GetNextSiblingItem(child))
        add_lines(lines, tree, child, depth + 1, describe);
}

std::string picture(CMainFrame& frame, std::string_view root, const describe_item& describe)
{
    std::string lines;
    const CTreeCtrl& tree = frame.Tree();
    for (HTREEITEM item = tree.GetRootItem(); item; item = tree.GetNextSiblingItem(item))
        if (root.empty() || tree.GetItemText(item) == platform::from_utf8(root))
            add_lines(lines, tree, item, 0, describe);
    return lines;
}

std::string details_of(CMainFrame& frame, HTREEITEM item)
{
    const auto node = frame.NavNodes().find(item);
    const auto images = frame.Tree().GetItemImages(item);
    std::string text = " (" + (node == frame.NavNodes().end() ? "-" : std::to_string(node->second.kind)) + "; ";
    text += images ? std::to_string(images->normal) + ", " + std::to_string(images->selected) : "-";
    return text + (frame.Tree().IsExpanded(item) ? ") expanded" : ")");
}

} // namespace

std::string tree_of(CMainFrame& frame, std::string_view root)
{
    return picture(frame, root, [](HTREEITEM) { return std::string(); });
}

std::string detailed_tree_of(CMainFrame& frame, std::string_view root)
{
    return picture(frame, root, [&](HTREEITEM item) { return details_of(frame, item); });
}

std::vector<std::string> roots_of(CMainFrame& frame)
{
    std::vector<std::string> texts;
    const CTreeCtrl& tree = frame.Tree();
    for (HTREEITEM item = tree.GetRootItem(); item; item = tree.GetNextSiblingItem(item))
        texts.push_back(platform::to_utf8(tree.GetItemText(item)));
    return texts;
}

HTREEITEM item_at(CMainFrame& frame, std::string_view path)
{
    CTreeCtrl& tree = frame.Tree();
    HTREEITEM item = tree.GetRootItem();
    for (std::string_view rest = path;;) {
        const std::size_t end = rest.find('/');
        const std::u16string wanted = platform::from_utf8(rest.substr(0, end));
        while (item && tree.GetItemText(item) != wanted)
            item = tree.GetNextSiblingItem(item);
        if (!item)
            throw std::out_of_range("the tree has no " + std::string(path));
        if (end == std::string_view::npos)
            return item;
        rest = rest.substr(end + 1);
        item = tree.GetChildItem(item);
    }
}

void select(CMainFrame& frame, std::string_view path)
{
    frame.Tree().SelectItem(item_at(frame, path));
}

std::string columns_of(CMainFrame& frame)
{
    std::string text;
    for (std::size_t index = 0; index < frame.List().GetColumnCount(); ++index) {
        const list_column& column = frame.List().GetColumn(index);
        text += (index == 0 ? "" : " | ") + platform::to_utf8(column.label) + " (" +
                std::to_string(column.width_in_pixels) + ")";
    }
    return text;
}

std::vector<std::string> rows_of(CMainFrame& frame)
{
    CListCtrl& list = frame.List();
    std::vector<std::string> rows;
    for (std::size_t row = 0; row < list.GetItemCount(); ++row) {
        std::string text;
        for (std::size_t column = 0; column < list.GetColumnCount(); ++column)
            text += (column == 0 ? "" : " | ") + platform::to_utf8(list.GetItemText(row, column));
        rows.push_back(std::move(text));
    }
    return rows;
}

void put_marked_row(CMainFrame& frame)
{
    frame.List().DeleteAllItems();
    frame.List().InsertItem(0, u"marked");
}

} // namespace cw::test_support
