// The tree of the left pane as a plain model: items with stable handles, a selection, expansion.
// Builders fill it, the window and the companion show it.
#pragma once

#include "framework/control_window.h"

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cw {

/// Names a tree item while it lives. Handles are never used again: asking anything of a deleted
/// item's handle answers "none".
struct HTREEITEM {
    std::uint64_t value = 0;

    explicit constexpr operator bool() const noexcept { return value != 0; }
    friend constexpr auto operator<=>(HTREEITEM, HTREEITEM) noexcept = default;
};

/// Image indices of an item, normal and selected.
struct tree_item_images {
    int normal;
    int selected;
    friend bool operator==(const tree_item_images&, const tree_item_images&) = default;
};

inline constexpr std::uint32_t TVN_SELCHANGEDW = static_cast<std::uint32_t>(-451);

/// What a view of the control wants to know. Calls come synchronously, before or after the change
/// as named.
class tree_observer {
public:
    /// Items are about to be inserted, deleted or put in another order. May come many times in a
    /// row; handles of items that stay remain valid.
    virtual void tree_structure_changing() = 0;
    virtual void tree_selection_changed() = 0;
    virtual void tree_item_expanded(HTREEITEM item, bool expanded) = 0;
    virtual void tree_item_wanted_visible(HTREEITEM item) = 0;
    virtual void tree_style_changed() = 0;

protected:
    ~tree_observer() = default;
};

class CTreeCtrl : public control_window {
public:
    CTreeCtrl();

    /// Inserts behind the last child of `parent`, or behind the last root for a null parent.
    /// `images` empty: the item shows the control's default. Answers a null handle for a parent that
    /// no longer lives. Constant time.
    HTREEITEM InsertItem(std::u16string_view text, std::optional<tree_item_images> images, HTREEITEM parent);
    /// Deletes an item and all below it; no notification, also where the selection goes with it. A
    /// parent that loses its last child collapses.
    /// False for a handle that does not live.
    bool DeleteItem(HTREEITEM item);
    void DeleteAllItems();

    [[nodiscard]] HTREEITEM GetRootItem() const noexcept;
    [[nodiscard]] HTREEITEM GetParentItem(HTREEITEM item) const noexcept;
    [[nodiscard]] HTREEITEM GetChildItem(HTREEITEM item) const noexcept;
    [[nodiscard]] HTREEITEM GetNextSiblingItem(HTREEITEM item) const noexcept;
    [[nodiscard]] HTREEITEM GetPrevSiblingItem(HTREEITEM item) const noexcept;
    /// The first item that the pane shows, scrolled to its top: the first root.
    [[nodiscard]] HTREEITEM GetFirstVisibleItem() const noexcept { return GetRootItem(); }
    [[nodiscard]] HTREEITEM GetSelectedItem() const noexcept { return m_selected; }
    [[nodiscard]] bool IsLive(HTREEITEM item) const noexcept;

    [[nodiscard]] std::u16string_view GetItemText(HTREEITEM item) const noexcept;
    [[nodiscard]] std::optional<tree_item_images> GetItemImages(HTREEITEM item) const noexcept;
    [[nodiscard]] bool IsExpanded(HTREEITEM item) const noexcept;
    /// TVE_EXPAND or its reverse. An item without children stays collapsed.
    void Expand(HTREEITEM item, bool expanded = true);
    /// Selects an item, or none for a null handle, and notifies the parent window (TVN_SELCHANGEDW)
    /// before it returns; selecting what is selected notifies nobody. Ancestors stay as they are. A
    /// handle that does not live changes nothing.
    void SelectItem(HTREEITEM item);
    /// Expands the ancestors and asks the view to scroll there.
    void EnsureVisible(HTREEITEM item);
    /// Sorts the direct children (the roots for null) by text, case ignored, in the user's dictionary
    /// order; stable.
    void SortChildren(HTREEITEM parent);

    /// The image list that item images index; the frame keeps it alive. Null before one is set.
    void SetImages(const image_list* images) noexcept { m_images = images; }
    [[nodiscard]] const image_list* GetImages() const noexcept { return m_images; }

    // Rows, for views: constant time once the children's rows have been counted.
    [[nodiscard]] std::size_t GetChildCount(HTREEITEM item) const; // of the root level for null
    [[nodiscard]] HTREEITEM GetChildAt(HTREEITEM item, std::size_t row) const;
    [[nodiscard]] std::size_t GetRow(HTREEITEM item) const;
    [[nodiscard]] std::size_t GetItemCount() const noexcept { return m_liveCount; }

    /// Null for none. The observer must outlive its registration.
    void SetObserver(tree_observer* observer) noexcept { m_observer = observer; }

private:
    static constexpr std::uint32_t none = 0;
    struct entry {
        std::u16string text;
        std::optional<tree_item_images> images;
        std::uint32_t generation = 1;
        std::uint32_t parent = none;
        std::uint32_t first_child = none;
        std::uint32_t last_child = none;
        std::uint32_t next = none;
        std::uint32_t previous = none;
        std::uint32_t row = 0;
        bool expanded = false;
        bool live = false;
        bool rows_known = false;
        std::vector<std::uint32_t> rows;
    };

    void style_changed() override;
    void changing();
    void clear_selection();
    [[nodiscard]] HTREEITEM handle(std::uint32_t index) const noexcept;
    /// The entry of a live item, or `none`.
    [[nodiscard]] std::uint32_t index_of(HTREEITEM item) const noexcept;
    void unlink(std::uint32_t index);
    void release(std::uint32_t index);
    /// Frees one entry; its handle never lives again.
    void retire(std::uint32_t index);
    const std::vector<std::uint32_t>& rows_of(std::uint32_t parent) const;

    // Index 0 is the invisible parent of the roots. Freed entries raise their generation and are
    // used again, so a stale handle never matches.
    mutable std::vector<entry> m_items;
    std::vector<std::uint32_t> m_free;
    std::size_t m_liveCount = 0;
    HTREEITEM m_selected;
    const image_list* m_images = nullptr;
    tree_observer* m_observer = nullptr;
};

} // namespace cw
