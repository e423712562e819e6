#include "desktop/shortcut_notes.h"

#include "app/main_frame.h"
#include "app/menus.h"
#include "tests/desktop/desktop_support.h"

#include <gtest/gtest.h>

namespace cw {
namespace {

using namespace test_support;

constexpr key_message f7{0x76};

shortcut_note note_on(const key_message& key, std::uint32_t filtered = 0)
{
    return note_on_key(key, main_menu(), [filtered](const key_message&) { return filtered; });
}

TEST(ShortcutNotes, ThereIsNothingToTellOfMostKeys)
{
    for (const key_message& key :
         {f7, key_message{'R', true}, key_message{'R', true, true}, key_message{'3', false, false, true},
          key_message{0x2D}, key_message{0x60, true}, key_message{0x28, false, false, true}, key_message{0x79}}) {
        EXPECT_TRUE(note_on(key).assignable);
        EXPECT_EQ(note_on(key).text, QString()) << key.virtual_key;
    }
}

TEST(ShortcutNotes, KeysThatTypeAreRefused)
{
    for (const key_message& key : {key_message{'A'}, key_message{'Z', false, true}, key_message{'0'}, key_message{'9'},
                                   key_message{0x20}, key_message{0x65}, key_message{0x6B}}) {
        EXPECT_FALSE(note_on(key).assignable) << key.virtual_key;
        EXPECT_TRUE(note_on(key).text.contains("Ctrl or Alt"));
    }
}

TEST(ShortcutNotes, KeysOfTheMessageFilterAreTold)
{
    const shortcut_note note = note_on({0x73, true}, ID_FILE_SAVE);
    EXPECT_TRUE(note.assignable);
    EXPECT_TRUE(note.text.contains(QString::fromUtf8("always runs “Save”"))) << note.text.toStdString();
}

TEST(ShortcutNotes, KeysThatAreInUseAreTold)
{
    const struct {
        key_message key;
        const char* use;
    } cases[]{
        {{0x09}, "from pane to pane"},
        {{0x09, false, true}, "from pane to pane"},
        {{0x0D}, "items of the tree"},
        {{0x1B}, "leaves menus"},
        {{0x26}, "moves the selection"},
        {{0x24, true}, "moves the selection"},
        {{'1', true}, "sorts the list"},
        {{'9', true, true}, "sorts the list"},
        {{0x5D}, "menu of a row"},
        {{0x79, false, true}, "menu of a row"},
        {{0x73, false, false, true}, "closes the window"},
        {{'F', false, false, true}, "menu \u201CFile\u201D"},
        {{'H', false, true, true}, "menu \u201CHelp\u201D"},
    };
    for (const auto& test : cases) {
        const shortcut_note note = note_on(test.key);
        EXPECT_TRUE(note.assignable) << test.use;
        EXPECT_TRUE(note.text.contains(QString::fromUtf8(test.use))) << test.use << ": " << note.text.toStdString();
    }
}

TEST(ShortcutNotes, FixedKeysAreThoseOfTheFrame)
{
    program_window shown;
    ASSERT_TRUE(shown.start());
    ASSERT_EQ(fixed_keys().size(), 3u);
    for (const accelerator& key : fixed_keys())
        EXPECT_EQ(shown.frame().FilteredCommand(key_of(key)), key.command_id);
}

} // namespace
} // namespace cw
