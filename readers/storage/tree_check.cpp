#include "readers/storage/tree_check.h"

#include "readers/storage/text.h"

#include <algorithm>
#include <vector>

namespace cw::storage {

void check_tree(const database& source, std::span<const tree_row> tree, const std::string& table, int deepest_level)
{
    const auto contradict = [&](const std::string& what) {
        source.raise(fault::contradiction, to_utf16("table " + table + what));
    };
    for (std::size_t i = 0; i < tree.size(); ++i) {
        if (i > 0 && tree[i].parent < tree[i - 1].parent)
            contradict(", its index is out of order");
        const bool first = i == 0 || tree[i - 1].parent != tree[i].parent;
        if (tree[i].position != (first ? 0 : tree[i - 1].position + 1))
            contradict(", the positions below " + std::to_string(tree[i].parent) + " have a gap");
    }
    // Level by level from the root; what is not reached is a cycle or hangs below nothing. Each
    // row has one parent, so none is reached twice, unless the root's own number is an id.
    const auto by_parent = [](const tree_row& a, const tree_row& b) { return a.parent < b.parent; };
    std::vector<std::int64_t> level{0};
    std::size_t reached = 0;
    int depth = 0;
    for (; !level.empty(); ++depth) {
        std::vector<std::int64_t> next;
        for (const std::int64_t parent : level) {
            const auto [begin, end] = std::equal_range(tree.begin(), tree.end(), tree_row{parent, 0, 0}, by_parent);
            for (auto child = begin; child != end; ++child) {
                if (child->id == 0)
                    contradict(", a row has the number of the root");
                // A table whose key is none would double its rows level by level.
                if (++reached > tree.size())
                    contradict(", rows share a number");
                next.push_back(child->id);
            }
        }
        if (depth == deepest_level && !next.empty())
            contradict(" is nested deeper than " + std::to_string(deepest_level) + " levels");
        level = std::move(next);
    }
    if (reached != tree.size())
        contradict(", " + std::to_string(tree.size() - reached) +
                   " rows stand below themselves or below rows that are not there");
}

void check_tree(database& source, const std::string& table, int deepest_level)
{
    std::vector<tree_row> tree;
    statement query(source, "SELECT parent, position, id, typeof(parent) = 'integer' AND typeof(position) = 'integer' "
                            "FROM " +
                                table + " ORDER BY parent, position");
    while (query.step()) {
        if (!query.integer(3))
            source.raise(fault::contradiction, to_utf16("table " + table + ", a place is not a number"));
        tree.push_back({query.integer(0), query.integer(1), query.integer(2)});
    }
    check_tree(source, tree, table, deepest_level);
}

} // namespace cw::storage
