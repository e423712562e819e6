#include "desktop/customize_keyboard_page.h"

#include "app/menus.h"
#include "tests/desktop/desktop_support.h"

#include <QComboBox>
#include <QLabel>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <gtest/gtest.h>

namespace cw {
namespace {

using namespace test_support;

struct CustomizeKeyboardPage : testing::Test, program_bars {
    CustomizeKeyboardPage()
    {
        for (tool_category& category : commands_by_popup(main_menu()))
            page.add_category(std::move(category));
        page.show();
        page.activateWindow();
        pump();
    }
    QListWidget& list(const char* name)
    {
        for (QListWidget* found : page.findChildren<QListWidget*>())
            if (found->accessibleName() == QLatin1String(name))
                return *found;
        throw std::runtime_error(name);
    }
    QPushButton& button(const char* text) { return *button_of(page, QLatin1String(text)); }
    void choose(int category, int command)
    {
        page.findChild<QComboBox*>()->setCurrentIndex(category);
        list("Commands").setCurrentRow(command);
    }
    void press(int key, Qt::KeyboardModifiers held = {})
    {
        page.field().setFocus();
        QTest::keyClick(&page.field(), static_cast<Qt::Key>(key), held);
    }
    QStringList keys()
    {
        QStringList texts;
        for (int row = 0; row < list("Current keys").count(); ++row)
            texts.append(list("Current keys").item(row)->text());
        return texts;
    }
    [[nodiscard]] QString note() { return page.field().accessibleDescription(); }

    customize_keyboard_page page{bars, [](const key_message& key) -> std::uint32_t {
                                     return key.virtual_key == 'O' && key.control ? ID_FILE_OPEN : 0;
                                 }};
};

TEST_F(CustomizeKeyboardPage, ShowsTheKeysOfACommand)
{
    const auto& combo = *page.findChild<QComboBox*>();
    EXPECT_EQ(combo.count(), 5);
    EXPECT_EQ(combo.accessibleName(), "Category");
    choose(0, 0);
    EXPECT_EQ(keys(), QStringList{"Ctrl+O (always)"});
    EXPECT_FALSE(button("Remove").isEnabled()) << "nobody can take it away";
    choose(0, 1);
    EXPECT_EQ(keys(), QStringList{"Ctrl+S"});
    EXPECT_TRUE(button("Remove").isEnabled());
    choose(1, 1);
    EXPECT_EQ(keys(), QStringList{"F3"});
    choose(3, 1);
    EXPECT_EQ(keys(), QStringList());
    EXPECT_FALSE(button("Remove").isEnabled());
}

TEST_F(CustomizeKeyboardPage, AssignsAKeyAndTakesItFromItsCommand)
{
    choose(3, 1);
    EXPECT_FALSE(button("Assign").isEnabled()) << "no key yet";
    press(Qt::Key_R, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(page.field().text(), "Ctrl+Shift+R");
    EXPECT_EQ(note(), "Currently assigned to: no command");
    button("Assign").click();
    EXPECT_EQ(bars.command_of({'R', true, true}), ID_TOOLS_REPORT);
    EXPECT_EQ(keys(), QStringList{"Ctrl+Shift+R"});
    EXPECT_EQ(page.field().text(), QString());
    EXPECT_FALSE(button("Assign").isEnabled());

    press(Qt::Key_S, Qt::ControlModifier);
    EXPECT_EQ(note(), "Currently assigned to: Save");
    press(Qt::Key_Enter, Qt::KeypadModifier);
    EXPECT_EQ(bars.command_of({'S', true}), ID_TOOLS_REPORT);
    EXPECT_EQ(keys(), (QStringList{"Ctrl+Shift+R", "Ctrl+S"})) << "in the order in which they were given";
    choose(0, 1);
    EXPECT_EQ(keys(), QStringList{"Ctrl+S (always)"}) << "the message filter keeps running it";
}

TEST_F(CustomizeKeyboardPage, AKeyOfTheSameCommandIsNotAssignedAgain)
{
    choose(0, 1);
    press(Qt::Key_S, Qt::ControlModifier);
    EXPECT_EQ(note(), "Currently assigned to: Save");
    EXPECT_FALSE(button("Assign").isEnabled());
    choose(3, 1);
    EXPECT_TRUE(button("Assign").isEnabled()) << "for another command it is";
}

TEST_F(CustomizeKeyboardPage, TellsOfSpecialKeysAndRefusesThoseThatType)
{
    choose(3, 1);
    press(Qt::Key_O, Qt::ControlModifier);
    EXPECT_TRUE(note().startsWith("Currently assigned to: Open\n\nThis key always runs")) << note().toStdString();
    EXPECT_TRUE(button("Assign").isEnabled());
    press(Qt::Key_F, Qt::AltModifier);
    EXPECT_TRUE(note().contains("opens the menu"));
    press(Qt::Key_X);
    EXPECT_EQ(page.field().text(), "X");
    EXPECT_FALSE(button("Assign").isEnabled());
    press(Qt::Key_Return);
    EXPECT_EQ(bars.command_of({'X'}), 0u);
    EXPECT_TRUE(note().contains("Ctrl or Alt"));
    const auto labels = page.findChildren<QLabel*>();
    EXPECT_TRUE(
        std::any_of(labels.begin(), labels.end(), [this](const QLabel* label) { return label->text() == note(); }));
}

TEST_F(CustomizeKeyboardPage, TheFieldLetsGo)
{
    choose(3, 1);
    press(Qt::Key_Tab);
    EXPECT_FALSE(page.field().hasFocus());
    EXPECT_FALSE(page.field().key());
    press(Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_FALSE(page.field().hasFocus());
    press(Qt::Key_Control, Qt::ControlModifier);
    EXPECT_FALSE(page.field().key()) << "nothing is held alone";
    press(Qt::Key_F7);
    EXPECT_TRUE(page.field().key());
    page.field().forget();
    EXPECT_FALSE(page.field().key());
    EXPECT_EQ(note(), QString());
}

TEST_F(CustomizeKeyboardPage, RemovesTheChosenKey)
{
    choose(1, 1);
    bars.assign_key({0x76}, ID_SEARCH_FIND_NEXT);
    page.refresh();
    EXPECT_EQ(keys(), (QStringList{"F3", "F7"}));
    list("Current keys").setCurrentRow(1);
    button("Remove").click();
    EXPECT_EQ(keys(), QStringList{"F3"});
    button("Remove").click();
    EXPECT_EQ(keys(), QStringList{"F3 (always)"});
    EXPECT_FALSE(button("Remove").isEnabled());
    EXPECT_EQ(page.focusWidget(), &list("Current keys")) << "the focus stays near";
}

TEST_F(CustomizeKeyboardPage, ResetsAllKeysByYesAlone)
{
    choose(1, 1);
    button("Remove").click();
    for (const auto& [answer, expected] :
         {std::pair(QMessageBox::No, 0u), std::pair(QMessageBox::Yes, ID_SEARCH_FIND_NEXT)}) {
        when_modal([wanted = answer](QWidget& box) { dynamic_cast<QMessageBox&>(box).button(wanted)->click(); });
        button("Reset All...").click();
        EXPECT_EQ(bars.command_of({0x72}), expected);
    }
    EXPECT_EQ(keys(), QStringList{"F3"});
}

TEST_F(CustomizeKeyboardPage, EverythingHasANameAndAKeyOfItsOwn)
{
    for (const char* text : {"Assign", "Remove", "Reset All..."})
        EXPECT_TRUE(button(text).text().contains(u'&')) << text;
    EXPECT_EQ(page.field().accessibleName(), "Press new shortcut key");
    customize_keyboard_page empty(bars, [](const key_message&) { return 0u; });
    EXPECT_FALSE(button_of(empty, QStringLiteral("Assign"))->isEnabled()) << "without a category";
}

} // namespace
} // namespace cw
