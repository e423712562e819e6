#include "desktop/virtual_keys.h"

#include "app/menus.h"

#include <QKeyEvent>
#include <gtest/gtest.h>

namespace cw {
namespace {

TEST(VirtualKeys, TranslatesTheKeysOfTheTable)
{
    const struct {
        Qt::Key key;
        std::uint32_t code;
    } cases[]{
        {Qt::Key_A, 0x41},      {Qt::Key_O, 0x4F},         {Qt::Key_S, 0x53},      {Qt::Key_Z, 0x5A},
        {Qt::Key_0, 0x30},      {Qt::Key_9, 0x39},         {Qt::Key_F1, 0x70},     {Qt::Key_F3, 0x72},
        {Qt::Key_F4, 0x73},     {Qt::Key_F6, 0x75},        {Qt::Key_F24, 0x87},    {Qt::Key_Insert, 0x2D},
        {Qt::Key_Delete, 0x2E}, {Qt::Key_Backspace, 0x08}, {Qt::Key_Tab, 0x09},    {Qt::Key_Backtab, 0x09},
        {Qt::Key_Return, 0x0D}, {Qt::Key_Enter, 0x0D},     {Qt::Key_Escape, 0x1B}, {Qt::Key_Space, 0x20},
        {Qt::Key_PageUp, 0x21}, {Qt::Key_PageDown, 0x22},  {Qt::Key_End, 0x23},    {Qt::Key_Home, 0x24},
        {Qt::Key_Left, 0x25},   {Qt::Key_Up, 0x26},        {Qt::Key_Right, 0x27},  {Qt::Key_Down, 0x28},
        {Qt::Key_Menu, 0x5D},   {Qt::Key_Slash, 0},        {Qt::Key_VolumeUp, 0},
    };
    for (const auto& test : cases)
        EXPECT_EQ(virtual_key_of(test.key, false), test.code) << test.key;
}

TEST(VirtualKeys, TheKeypadHasCodesOfItsOwn)
{
    EXPECT_EQ(virtual_key_of(Qt::Key_Slash, true), 0x6Fu);
    EXPECT_EQ(virtual_key_of(Qt::Key_Asterisk, true), 0x6Au);
    EXPECT_EQ(virtual_key_of(Qt::Key_Plus, true), 0x6Bu);
    EXPECT_EQ(virtual_key_of(Qt::Key_Minus, true), 0x6Du);
    EXPECT_EQ(virtual_key_of(Qt::Key_Period, true), 0x6Eu);
    EXPECT_EQ(virtual_key_of(Qt::Key_5, true), 0x65u);
    EXPECT_EQ(virtual_key_of(Qt::Key_Home, true), 0x24u) << "without Num Lock";
}

TEST(VirtualKeys, AKeyPressCarriesItsModifiers)
{
    const QKeyEvent event(QEvent::KeyPress, Qt::Key_Insert, Qt::ShiftModifier | Qt::AltModifier);
    const auto key = key_message_of(event);
    ASSERT_TRUE(key);
    EXPECT_EQ(key->virtual_key, 0x2Du);
    EXPECT_FALSE(key->control);
    EXPECT_TRUE(key->shift);
    EXPECT_TRUE(key->alt);
    EXPECT_FALSE(key_message_of(QKeyEvent(QEvent::KeyPress, Qt::Key_VolumeUp, Qt::NoModifier)));
    const auto from_keypad =
        key_message_of(QKeyEvent(QEvent::KeyPress, Qt::Key_Slash, Qt::ControlModifier | Qt::KeypadModifier));
    ASSERT_TRUE(from_keypad);
    EXPECT_EQ(from_keypad->virtual_key, 0x6Fu);
    EXPECT_TRUE(from_keypad->control);
}

TEST(VirtualKeys, LettersOfOtherScriptsGoByTheirPlace)
{
    // The key left of D on a Cyrillic layout.
    constexpr quint32 place_of_s = 39;
    const QKeyEvent event(QEvent::KeyPress, 0x042B, Qt::ControlModifier, place_of_s, 0, 0);
    const auto key = key_message_of(event);
    ASSERT_TRUE(key);
    EXPECT_EQ(key->virtual_key, std::uint32_t{'S'});
    EXPECT_FALSE(key_message_of(QKeyEvent(QEvent::KeyPress, 0x042B, Qt::NoModifier, 10, 0, 0)));
}

TEST(VirtualKeys, EveryAcceleratorHasAText)
{
    for (const accelerator& key : main_accelerators())
        EXPECT_FALSE(accelerator_text(key).isEmpty()) << key.command_id;
    EXPECT_EQ(accelerator_text({'S', true, false, false, 0}), "Ctrl+S");
    EXPECT_EQ(accelerator_text({0x72, false, false, false, 0}), "F3");
    EXPECT_EQ(accelerator_text({0x75, false, true, false, 0}), "Shift+F6");
    EXPECT_EQ(accelerator_text({0x08, false, false, true, 0}), "Alt+Backspace");
    EXPECT_EQ(accelerator_text({0x65, true, false, false, 0}), "Ctrl+Num+5");
    EXPECT_EQ(accelerator_text({0x6F, false, false, false, 0}), "Num+/");
    EXPECT_EQ(accelerator_text({0xFE, false, false, false, 0}), QString());
}

} // namespace
} // namespace cw
