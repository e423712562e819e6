// The two lists of the customise dialog between which things are dragged: what can be put on a
// toolbar, and what stands on it.
#pragma once

#include "desktop/tool_choices.h"
#include "framework/command_bars.h"

#include <QListWidget>
#include <QTreeWidget>

#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace cw {

/// What can be put on a toolbar.
class tool_choice_list final : public QListWidget {
public:
    explicit tool_choice_list(QWidget* parent = nullptr);

    void show_choices(std::vector<tool_choice> choices);
    /// Null where nothing is chosen.
    [[nodiscard]] const tool_choice* chosen() const;

protected:
    QMimeData* mimeData(const QList<QListWidgetItem*>& items) const override;

private:
    std::vector<tool_choice> m_choices;
};

/// What stands on a toolbar, with the contents of its menus below them.
class tool_tree final : public QTreeWidget {
public:
    explicit tool_tree(QWidget* parent = nullptr);

    /// The menu tells what things are called.
    void show_items(const std::vector<tool_item>& items, std::span<const menu_item> menu);
    [[nodiscard]] std::optional<tool_place> chosen() const;
    void choose(const tool_place& place);

    /// Called when something new is dropped at a place.
    void set_drop_sink(std::function<void(const tool_place& place, const tool_item& item)> sink)
    {
        m_dropped = std::move(sink);
    }
    /// Called when what stands at a place is dropped at another, which is counted before it is taken.
    void set_move_sink(std::function<void(const tool_place& from, const tool_place& to)> sink)
    {
        m_moved = std::move(sink);
    }

protected:
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QList<QTreeWidgetItem*>& items) const override;
    void dropEvent(QDropEvent* event) override;

private:
    [[nodiscard]] tool_place place_of(QTreeWidgetItem& item) const;
    [[nodiscard]] tool_place place_at(const QPoint& point) const;

    std::function<void(const tool_place& place, const tool_item& item)> m_dropped;
    std::function<void(const tool_place& from, const tool_place& to)> m_moved;
};

} // namespace cw
