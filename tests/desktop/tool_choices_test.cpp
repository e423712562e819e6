#include "desktop/tool_choices.h"

#include "app/menus.h"
#include "tests/desktop/desktop_support.h"

#include <gtest/gtest.h>

namespace cw {
namespace {

QStringList texts_of(const tool_category& category)
{
    QStringList texts;
    for (const tool_choice& choice : category.choices)
        texts.append(choice.text);
    return texts;
}

TEST(ToolChoices, EachPopupIsACategoryOfItsCommands)
{
    const std::vector<tool_category> categories = commands_by_popup(main_menu());
    QStringList names;
    for (const tool_category& category : categories)
        names.append(category.name);
    EXPECT_EQ(names, (QStringList{"File", "Search", "View", "Tools", "Help"}));
    EXPECT_EQ(texts_of(categories[0]), (QStringList{"Open", "Save", "Exit"})) << "no place of a recent file";
    EXPECT_EQ(texts_of(categories[4]), (QStringList{"Cratewright Help...", "About Cab and Log File Viewer..."}));
    EXPECT_EQ(categories[3].choices[1].item, tool_item::command(ID_TOOLS_REPORT));
}

TEST(ToolChoices, AllCommandsStandInOneCategoryByTheirTexts)
{
    const tool_category all = all_commands(main_menu(), QStringLiteral("All Commands"));
    EXPECT_EQ(all.name, "All Commands");
    EXPECT_EQ(texts_of(all),
              (QStringList{"About Cab and Log File Viewer...", "All", "Components", "Cratewright Help...", "Exit",
                           "Expert Mode", "Extract File", "Features", "Find", "Find Next", "Media Settings", "Open",
                           "Registry Sets", "Report", "Save", "Setup Types", "Shell Objects"}));
    const std::array<menu_item, 2> twice{{{u"&Open", 5}, {u"&Open", 5}}};
    EXPECT_EQ(texts_of(all_commands(twice, {})), QStringList{"Open"});
}

TEST(ToolChoices, PopupsAndAnEmptyMenuCanBeChosenToo)
{
    const tool_category popups = all_popups(main_menu(), QStringLiteral("Built-in Menus"));
    EXPECT_EQ(texts_of(popups), (QStringList{"File", "Recent Files", "Search", "View", "Tools", "Help"}));
    EXPECT_EQ(popups.choices[1].item, tool_item::popup(u"&Recent Files"));
    const tool_category fresh = empty_menu(QStringLiteral("New Menu"));
    ASSERT_EQ(fresh.choices.size(), 1u);
    EXPECT_EQ(fresh.choices[0].item, tool_item::menu(u"New Menu"));
}

TEST(ToolChoices, EverythingHasAName)
{
    EXPECT_EQ(command_name(main_menu(), ID_VIEW_SHELL_OBJECTS), "Shell Objects");
    EXPECT_EQ(command_name(main_menu(), 57634), "Copy (standard)");
    EXPECT_EQ(command_name(main_menu(), 7), "Command 7");
    EXPECT_EQ(command_name(main_menu(), 0), "Command 0") << "popups are no command";
    for (const accelerator& key : main_accelerators())
        EXPECT_FALSE(command_name(main_menu(), key.command_id).startsWith("Command")) << key.command_id;
    EXPECT_EQ(tool_name(main_menu(), tool_item::command(ID_FILE_OPEN)), "Open");
    EXPECT_EQ(tool_name(main_menu(), tool_item::popup(u"&Recent Files")), "Recent Files");
    EXPECT_EQ(tool_name(main_menu(), tool_item::menu(u"A & B")), "A & B");
    EXPECT_EQ(tool_name(main_menu(), tool_item::separator()), "Separator");
}

} // namespace
} // namespace cw
