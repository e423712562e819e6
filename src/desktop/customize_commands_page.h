// The page of the customise dialog on which toolbars are made and filled. What is done holds at once.
#pragma once

#include "desktop/tool_choices.h"
#include "framework/command_bars.h"

#include <QWidget>

#include <functional>
#include <optional>
#include <vector>

class QCheckBox;
class QComboBox;
class QLabel;
class QListWidget;
class QPushButton;

namespace cw {

class tool_choice_list;
class tool_tree;

class customize_commands_page final : public QWidget {
public:
    /// `bars` is borrowed.
    explicit customize_commands_page(command_bars& bars, QWidget* parent = nullptr);

    /// Puts a category in before the one at that place; behind all others where `place` is negative.
    void insert_category(tool_category category, int place);
    /// Shows what holds now.
    void refresh();

private:
    void lay_out();
    void connect_all();
    void show_category();
    void show_bar();
    void update_buttons();

    void make_bar();
    void rename_bar();
    void delete_bar();
    void delete_all_bars();

    void add_chosen();
    void add_separator();
    /// Puts a thing behind what is chosen on the toolbar, into the menu that is chosen there, or at
    /// the end; makes a toolbar where there is none.
    void add(const tool_item& item);
    void put(const tool_place& place, const tool_item& item);
    void remove_chosen();
    void move_chosen(int step);
    void move(const tool_place& from, tool_place to);
    void rename_menu();

    [[nodiscard]] const tool_bar* chosen_bar() const;
    [[nodiscard]] tool_place place_for(const tool_item& item) const;
    [[nodiscard]] QString free_name() const;
    [[nodiscard]] QStringList names_but(std::optional<std::size_t> place) const;
    /// Changes the toolbars; a note tells where that is too much. Whether it was done.
    bool change(std::vector<tool_bar> bars);
    /// Changes what stands on the chosen toolbar, and chooses a place there.
    void change_items(std::vector<tool_item> items, const tool_place& chosen);

    command_bars& m_bars;
    std::vector<tool_category> m_categories;
    QListWidget* m_categoryList;
    tool_choice_list* m_choices;
    QComboBox* m_bar;
    QCheckBox* m_shown;
    tool_tree* m_contents;
    QLabel* m_note;
    QPushButton* m_new;
    QPushButton* m_rename;
    QPushButton* m_delete;
    QPushButton* m_reset;
    QPushButton* m_add;
    QPushButton* m_remove;
    QPushButton* m_up;
    QPushButton* m_down;
    QPushButton* m_separator;
    QPushButton* m_menuName;
};

} // namespace cw
