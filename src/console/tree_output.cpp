#include "console/tree_output.h"

#include "console/safe_text.h"

#include <nlohmann/json.hpp>

#include <ostream>

namespace cw::console {
namespace {

using json = nlohmann::ordered_json;

/// Calls `enter(item, depth)` for every item in the order of the screen. Walks by handles and needs
/// no stack of its own, however deep the tree.
template <class Enter>
void walk(const CTreeCtrl& tree, HTREEITEM top, Enter enter)
{
    std::size_t depth = 0;
    for (HTREEITEM item = top; item;) {
        enter(item, depth);
        if (const HTREEITEM child = tree.GetChildItem(item)) {
            item = child;
            ++depth;
            continue;
        }
        while (item && !tree.GetNextSiblingItem(item)) {
            item = tree.GetParentItem(item);
            --depth;
        }
        if (item)
            item = tree.GetNextSiblingItem(item);
    }
}

json node_fields(const CTreeCtrl& tree, const NavNodeMap& nodes, HTREEITEM item)
{
    json node;
    node["text"] = json_text(tree.GetItemText(item));
    const auto entry = nodes.find(item);
    node["kind"] = entry == nodes.end() ? json(nullptr) : json(entry->second.kind);
    const auto images = tree.GetItemImages(item);
    node["images"] = images ? json::array({images->normal, images->selected}) : json(nullptr);
    node["expanded"] = tree.IsExpanded(item);
    return node;
}

} // namespace

void print_tree(std::ostream& out, const CTreeCtrl& tree)
{
    walk(tree, tree.GetRootItem(), [&](HTREEITEM item, std::size_t depth) {
        for (std::size_t level = 0; level < depth; ++level)
            out << "  ";
        out << terminal_text(tree.GetItemText(item)) << '\n';
    });
}

void write_tree_json(std::ostream& out, const CTreeCtrl& tree, const NavNodeMap& nodes)
{
    // Written item by item rather than built up as a value: a tree of any depth and size goes out
    // in constant memory.
    out << '[';
    std::size_t open_levels = 0;
    bool first = true;
    walk(tree, tree.GetRootItem(), [&](HTREEITEM item, std::size_t depth) {
        if (!first) {
            const bool is_child = depth == open_levels + 1;
            if (!is_child) {
                out << "]}";
                for (; open_levels > depth; --open_levels)
                    out << "]}";
                out << ',';
            }
        }
        first = false;
        open_levels = depth;
        std::string fields = node_fields(tree, nodes, item).dump();
        fields.pop_back();
        out << fields << ",\"children\":[";
    });
    if (!first)
        for (std::size_t level = 0; level <= open_levels; ++level)
            out << "]}";
    out << ']';
}

void print_tree_json(std::ostream& out, const CTreeCtrl& tree, const NavNodeMap& nodes)
{
    write_tree_json(out, tree, nodes);
    out << '\n';
}

} // namespace cw::console
