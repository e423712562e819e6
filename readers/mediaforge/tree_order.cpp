#include "readers/mediaforge/tree_order.h"

#include <algorithm>

namespace cw::mediaforge {

std::vector<ordered_row> tree_order(storage::database& source, const std::string& table)
{
    std::vector<ordered_row> by_parent;
    storage::statement query(source, "SELECT parent, id FROM " + table + " ORDER BY parent, position");
    while (query.step())
        by_parent.push_back({query.integer(1), query.integer(0)});
    return tree_order(by_parent);
}

std::vector<ordered_row> tree_order(std::span<const ordered_row> by_parent)
{
    const auto less = [](const ordered_row& a, const ordered_row& b) { return a.parent < b.parent; };

    // A stack of rows still to be visited, the next one on top.
    std::vector<ordered_row> order;
    std::vector<ordered_row> waiting{{0, 0}};
    while (!waiting.empty()) {
        const ordered_row next = waiting.back();
        waiting.pop_back();
        if (next.id != 0)
            order.push_back(next);
        const auto [begin, end] = std::equal_range(by_parent.begin(), by_parent.end(), ordered_row{0, next.id}, less);
        waiting.insert(waiting.end(), std::reverse_iterator(end), std::reverse_iterator(begin));
    }
    return order;
}

std::vector<unsigned> levels_of(std::span<const ordered_row> order)
{
    std::vector<unsigned> levels;
    levels.reserve(order.size());
    std::vector<std::int64_t> above; // the rows that the next one may stand below
    for (const ordered_row& row : order) {
        while (!above.empty() && above.back() != row.parent)
            above.pop_back();
        above.push_back(row.id);
        levels.push_back(static_cast<unsigned>(above.size()));
    }
    return levels;
}

std::vector<tree_place> places_by_id(std::span<const ordered_row> order)
{
    const std::vector<unsigned> levels = levels_of(order);
    std::vector<tree_place> places;
    places.reserve(order.size());
    for (std::size_t rank = 0; rank < order.size(); ++rank)
        places.push_back({order[rank].id, levels[rank], rank});
    std::ranges::sort(places, {}, &tree_place::id);
    return places;
}

} // namespace cw::mediaforge
