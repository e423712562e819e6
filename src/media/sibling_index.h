// Children of tree items by their text, case ignored: answers what a search from sibling to sibling
// would, without the search. The registry tree is built with it.
#pragma once

#include "framework/tree_control.h"

#include <string>
#include <string_view>
#include <unordered_map>

namespace cw {

/// Knows the items that it was told of, each under its parent.
class sibling_index {
public:
    /// The first item told of under `parent` whose text has the same length and is the same but for
    /// case; null where there is none.
    [[nodiscard]] HTREEITEM find(HTREEITEM parent, std::u16string_view text);
    /// Takes note of an item behind its siblings. False where one of them had its text already: that
    /// one stays the one that is found.
    bool add(HTREEITEM parent, std::u16string_view text, HTREEITEM item);

private:
    const std::u16string& key_of(HTREEITEM parent, std::u16string_view text);

    std::u16string m_key; // kept for its memory
    std::unordered_map<std::u16string, HTREEITEM> m_items;
};

/// A text as comparisons that ignore case see it: two texts of one length are the same but for case
/// exactly where these are equal.
void fold_case(std::u16string_view text, std::u16string& folded);

} // namespace cw
