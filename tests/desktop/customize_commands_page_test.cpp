#include "desktop/customize_commands_page.h"

#include "app/menus.h"
#include "desktop/qt_text.h"
#include "desktop/tool_drag.h"
#include "desktop/tool_lists.h"
#include "tests/desktop/desktop_support.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QTest>
#include <gtest/gtest.h>

namespace cw {
namespace {

using namespace test_support;

enum category { file, search, view, tools, help, all, built_in, fresh };

struct CustomizeCommandsPage : testing::Test, program_bars {
    CustomizeCommandsPage()
    {
        for (tool_category& entry : commands_by_popup(main_menu()))
            page.insert_category(std::move(entry), -1);
        page.insert_category(all_commands(main_menu(), QStringLiteral("All Commands")), -1);
        page.insert_category(all_popups(main_menu(), QStringLiteral("Built-in Menus")), -1);
        page.insert_category(empty_menu(QStringLiteral("New Menu")), -1);
        bars.set_changed_sink([this] { page.refresh(); });
    }
    [[nodiscard]] QListWidget& categories()
    {
        for (QListWidget* found : page.findChildren<QListWidget*>())
            if (found->accessibleName() == "Categories")
                return *found;
        throw std::runtime_error("categories");
    }
    [[nodiscard]] tool_choice_list& choices() { return *dynamic_cast<tool_choice_list*>(find_list("Commands")); }
    [[nodiscard]] QListWidget* find_list(const char* name)
    {
        for (QListWidget* found : page.findChildren<QListWidget*>())
            if (found->accessibleName() == QLatin1String(name))
                return found;
        return nullptr;
    }
    [[nodiscard]] tool_tree& contents() { return *dynamic_cast<tool_tree*>(page.findChild<QTreeWidget*>()); }
    [[nodiscard]] QComboBox& bar_box() { return *page.findChild<QComboBox*>(); }
    [[nodiscard]] QPushButton& button(const QString& text) { return *button_of(page, text); }
    void click(const QString& text)
    {
        ASSERT_TRUE(button(text).isEnabled()) << text.toStdString();
        button(text).click();
    }
    void choose(category wanted, int row)
    {
        categories().setCurrentRow(wanted);
        choices().setCurrentRow(row);
    }
    void add(category wanted, int row)
    {
        choose(wanted, row);
        click(QStringLiteral("Add \u2192"));
    }
    /// Types a name into the next dialog.
    static void answer_name(const char* name)
    {
        when_modal([name](QWidget& shown) {
            shown.findChild<QLineEdit*>()->setText(QLatin1String(name));
            QTest::keyClick(shown.findChild<QLineEdit*>(), Qt::Key_Return);
        });
    }
    static void answer_question(QMessageBox::StandardButton wanted)
    {
        when_modal([wanted](QWidget& box) { dynamic_cast<QMessageBox&>(box).button(wanted)->click(); });
    }
    /// The toolbars as a text: "Name: thing thing (thing)".
    [[nodiscard]] QString picture() const
    {
        QStringList lines;
        for (const tool_bar& bar : bars.tool_bars()) {
            QString line = to_qt(bar.name) + (bar.shown ? ":" : " hidden:");
            for (const tool_item& item : bar.items) {
                line += u' ' + tool_name(main_menu(), item);
                if (item.kind != tool_kind::menu)
                    continue;
                QStringList within;
                for (const tool_item& entry : item.contents)
                    within.append(tool_name(main_menu(), entry));
                line += u'(' + within.join(u' ') + u')';
            }
            lines.append(line);
        }
        return lines.join(u'\n');
    }

    customize_commands_page page{bars};
};

TEST_F(CustomizeCommandsPage, CategoriesStandWhereTheyArePut)
{
    const auto names = [this] {
        QStringList texts;
        for (int row = 0; row < categories().count(); ++row)
            texts.append(categories().item(row)->text());
        return texts;
    };
    EXPECT_EQ(names(),
              (QStringList{"File", "Search", "View", "Tools", "Help", "All Commands", "Built-in Menus", "New Menu"}));
    page.insert_category(empty_menu(QStringLiteral("First")), 0);
    page.insert_category(empty_menu(QStringLiteral("Last")), 99);
    EXPECT_EQ(names().front(), "First");
    EXPECT_EQ(names().back(), "Last");
    categories().setCurrentRow(0);
    EXPECT_EQ(choices().item(0)->text(), "First");
    categories().setCurrentRow(1);
    EXPECT_EQ(choices().count(), 3);
}

TEST_F(CustomizeCommandsPage, BeginsWithoutToolbars)
{
    EXPECT_TRUE(button("Add \u2192").isEnabled());
    EXPECT_TRUE(button("New...").isEnabled());
    for (const char* text : {"Rename...", "Delete", "Reset...", "Separator", "Move Up", "Move Down", "Menu Name..."})
        EXPECT_FALSE(button(QLatin1String(text)).isEnabled()) << text;
    EXPECT_FALSE(page.findChild<QCheckBox*>()->isEnabled());
}

TEST_F(CustomizeCommandsPage, AddMakesTheFirstToolbarAndFillsIt)
{
    add(file, 0);
    click("Separator");
    add(tools, 1);
    EXPECT_EQ(picture(), "Toolbar 1: Open Separator Report");
    EXPECT_EQ(contents().chosen(), (tool_place{2, {}}));
    // Behind what is chosen.
    contents().choose({0, {}});
    add(search, 1);
    EXPECT_EQ(picture(), "Toolbar 1: Open Find Next Separator Report");
    emit choices().itemActivated(choices().item(1));
    EXPECT_EQ(picture(), "Toolbar 1: Open Find Next Find Next Separator Report");
}

TEST_F(CustomizeCommandsPage, ThingsMoveAndGo)
{
    add(file, 0);
    add(file, 1);
    add(file, 2);
    EXPECT_FALSE(button("Move Down").isEnabled());
    click("Move Up");
    click("Move Up");
    EXPECT_EQ(picture(), "Toolbar 1: Exit Open Save");
    EXPECT_FALSE(button("Move Up").isEnabled());
    click("Move Down");
    EXPECT_EQ(picture(), "Toolbar 1: Open Exit Save");
    click(QStringLiteral("\u2190 Remove"));
    EXPECT_EQ(picture(), "Toolbar 1: Open Save");
    EXPECT_EQ(contents().chosen(), (tool_place{1, {}}));
    click(QStringLiteral("\u2190 Remove"));
    click(QStringLiteral("\u2190 Remove"));
    EXPECT_EQ(picture(), "Toolbar 1:");
    EXPECT_FALSE(button(QStringLiteral("\u2190 Remove")).isEnabled());
}

TEST_F(CustomizeCommandsPage, AMenuOfOnesOwnIsFilledAndNamed)
{
    add(fresh, 0);
    add(file, 0);
    add(file, 1);
    click("Separator");
    EXPECT_EQ(picture(), "Toolbar 1: New Menu(Open Save Separator)");
    EXPECT_EQ(contents().chosen(), (tool_place{0, 2}));
    click("Move Up");
    EXPECT_EQ(picture(), "Toolbar 1: New Menu(Open Separator Save)");
    click("Move Up");
    EXPECT_FALSE(button("Move Up").isEnabled()) << "it does not leave its menu";
    click("Move Down");
    EXPECT_EQ(picture(), "Toolbar 1: New Menu(Open Separator Save)");
    EXPECT_EQ(contents().chosen(), (tool_place{0, 1}));
    EXPECT_FALSE(button("Menu Name...").isEnabled());
    // A whole popup stands beside it: one level is all.
    add(built_in, 1);
    EXPECT_EQ(picture(), "Toolbar 1: New Menu(Open Separator Save) Recent Files");
    contents().choose({0, {}});
    answer_name("Mine");
    click("Menu Name...");
    EXPECT_EQ(picture(), "Toolbar 1: Mine(Open Separator Save) Recent Files");
    contents().choose({0, 2});
    click(QStringLiteral("\u2190 Remove"));
    EXPECT_EQ(picture(), "Toolbar 1: Mine(Open Separator) Recent Files");
    EXPECT_EQ(contents().chosen(), (tool_place{0, 1}));
}

TEST_F(CustomizeCommandsPage, ToolbarsAreMadeNamedHiddenAndDeleted)
{
    answer_name("One");
    click("New...");
    answer_name("Two");
    click("New...");
    EXPECT_EQ(picture(), "One:\nTwo:");
    EXPECT_EQ(bar_box().currentText(), "Two");
    add(file, 0);
    EXPECT_EQ(picture(), "One:\nTwo: Open");
    when_modal([](QWidget& shown) {
        EXPECT_TRUE(button_of(shown, QStringLiteral("OK"))->isEnabled()) << "its own name is not taken";
        shown.findChild<QLineEdit*>()->setText(QStringLiteral("One"));
        EXPECT_FALSE(button_of(shown, QStringLiteral("OK"))->isEnabled());
    });
    click("Rename...");
    EXPECT_EQ(picture(), "One:\nTwo: Open");
    answer_name("Too");
    click("Rename...");
    EXPECT_EQ(picture(), "One:\nToo: Open");
    EXPECT_EQ(bar_box().currentText(), "Too");
    contents().choose({0, {}});
    page.findChild<QCheckBox*>()->click();
    EXPECT_EQ(picture(), "One:\nToo hidden: Open");
    EXPECT_EQ(contents().chosen(), (tool_place{0, {}})) << "what is chosen stays so";
    bar_box().setCurrentIndex(0);
    EXPECT_TRUE(page.findChild<QCheckBox*>()->isChecked());
    click("Delete");
    EXPECT_EQ(picture(), "Too hidden: Open") << "nothing is lost with an empty one, so nobody is asked";
    EXPECT_FALSE(page.findChild<QCheckBox*>()->isChecked());
    when_modal([](QWidget& box) {
        EXPECT_EQ(dynamic_cast<QMessageBox&>(box).textFormat(), Qt::PlainText) << "a name is no markup";
    });
    click("Delete");
    EXPECT_EQ(picture(), "Too hidden: Open");
    answer_question(QMessageBox::Yes);
    click("Delete");
    EXPECT_EQ(picture(), QString());
}

TEST_F(CustomizeCommandsPage, ANewToolbarIsOfferedAFreeName)
{
    add(file, 0);
    QString offered;
    when_modal([&](QWidget& shown) {
        offered = shown.findChild<QLineEdit*>()->text();
        shown.close();
    });
    click("New...");
    EXPECT_EQ(offered, "Toolbar 2");
    EXPECT_EQ(picture(), "Toolbar 1: Open") << "the person did without";
}

TEST_F(CustomizeCommandsPage, ResetTakesAllToolbarsAway)
{
    add(file, 0);
    answer_question(QMessageBox::No);
    click("Reset...");
    EXPECT_EQ(picture(), "Toolbar 1: Open");
    answer_question(QMessageBox::Yes);
    click("Reset...");
    EXPECT_EQ(picture(), QString());
    EXPECT_EQ(contents().topLevelItemCount(), 0);
}

TEST_F(CustomizeCommandsPage, ThingsAreDraggedIntoTheContentsAndWithinThem)
{
    add(file, 0);
    add(file, 1);
    add(fresh, 0);
    page.resize(900, 500);
    page.show();
    pump();
    const auto drag = [this](const QPoint& point, const QMimeData& data) {
        EXPECT_TRUE(drop(*contents().viewport(), point, data));
    };
    const auto line = [this](int index) { return contents().visualItemRect(contents().topLevelItem(index)); };
    drag(line(0).topLeft() + QPoint(30, 1), *drag_of(tool_item::command(ID_TOOLS_REPORT)));
    EXPECT_EQ(picture(), "Toolbar 1: Report Open Save New Menu()");
    drag(QPoint(30, line(3).bottom() + 30), *drag_from({0, {}}));
    EXPECT_EQ(picture(), "Toolbar 1: Open Save New Menu() Report");
    drag(line(2).center(), *drag_from({0, {}}));
    EXPECT_EQ(picture(), "Toolbar 1: Save New Menu(Open) Report");
    drag(line(1).center(), *drag_from({2, {}}));
    EXPECT_EQ(picture(), "Toolbar 1: Save New Menu(Open Report)");
    drag(line(1).bottomLeft() + QPoint(30, 0), *drag_from({1, 1}));
    EXPECT_EQ(picture(), "Toolbar 1: Save New Menu(Report Open)");
    drag(QPoint(30, line(1).bottom() + 100), *drag_from({1, 0}));
    EXPECT_EQ(picture(), "Toolbar 1: Save New Menu(Open) Report");
    // A menu cannot go into itself, nor anywhere into another.
    drag(line(1).center(), *drag_from({1, {}}));
    drag(line(1).center(), *drag_of(tool_item::popup(u"&File")));
    EXPECT_EQ(picture(), "Toolbar 1: Save New Menu(Open) Report");
}

TEST_F(CustomizeCommandsPage, TooMuchIsTold)
{
    ASSERT_TRUE(bars.set_tool_bars({{u"Full", true, std::vector<tool_item>(tool_limits::items)}}));
    add(file, 0);
    EXPECT_EQ(bars.tool_bars()[0].items.size(), tool_limits::items);
    const auto told = [this] {
        for (const QLabel* label : page.findChildren<QLabel*>())
            if (label->text().contains("64 things"))
                return true;
        return false;
    };
    EXPECT_TRUE(told());
    contents().choose({0, {}});
    click(QStringLiteral("\u2190 Remove"));
    EXPECT_FALSE(told());
    add(file, 0);
    EXPECT_FALSE(told());
}

TEST_F(CustomizeCommandsPage, MnemonicsAreThereOnce)
{
    QString mnemonics;
    for (const QPushButton* found : page.findChildren<QPushButton*>())
        mnemonics += found->text().section(u'&', 1, 1).left(1).toLower();
    for (const QLabel* found : page.findChildren<QLabel*>())
        mnemonics += found->text().section(u'&', 1, 1).left(1).toLower();
    mnemonics += page.findChild<QCheckBox*>()->text().section(u'&', 1, 1).left(1).toLower();
    EXPECT_EQ(mnemonics.size(), 14) << mnemonics.toStdString();
    for (const QChar letter : mnemonics)
        EXPECT_EQ(mnemonics.count(letter), 1) << mnemonics.toStdString();
    EXPECT_FALSE(contents().accessibleName().isEmpty());
    EXPECT_FALSE(bar_box().accessibleName().isEmpty());
}

} // namespace
} // namespace cw
