#include "console/index_path.h"

#include <charconv>

namespace cw::console {

std::optional<std::vector<std::size_t>> parse_index_path(std::string_view text)
{
    std::vector<std::size_t> places;
    const char* at = text.data();
    const char* const end = at + text.size();
    for (;;) {
        std::size_t place = 0;
        const auto [behind, failure] = std::from_chars(at, end, place);
        if (failure != std::errc{})
            return {};
        places.push_back(place);
        if (behind == end)
            return places;
        if (*behind != '/')
            return {};
        at = behind + 1;
    }
}

HTREEITEM item_at(const CTreeCtrl& tree, std::span<const std::size_t> places)
{
    HTREEITEM item;
    for (const std::size_t place : places) {
        item = tree.GetChildAt(item, place);
        if (!item)
            break;
    }
    return item;
}

std::string index_path_of(const CTreeCtrl& tree, HTREEITEM item)
{
    std::vector<std::size_t> places;
    for (; item; item = tree.GetParentItem(item))
        places.push_back(tree.GetRow(item));
    std::string path;
    for (auto place = places.rbegin(); place != places.rend(); ++place) {
        if (!path.empty())
            path += '/';
        path += std::to_string(*place);
    }
    return path;
}

} // namespace cw::console
