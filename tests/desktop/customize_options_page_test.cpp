#include "desktop/customize_options_page.h"

#include "app/menus.h"
#include "tests/desktop/desktop_support.h"

#include <QAbstractButton>
#include <QMessageBox>
#include <QTest>
#include <gtest/gtest.h>

namespace cw {
namespace {

using namespace test_support;

struct CustomizeOptionsPage : testing::Test, program_bars {
    QAbstractButton& button(const char* text)
    {
        for (QAbstractButton* found : page.findChildren<QAbstractButton*>())
            if (found->text().remove(u'&') == QLatin1String(text))
                return *found;
        throw std::runtime_error(text);
    }

    customize_options_page page{bars};
};

TEST_F(CustomizeOptionsPage, ShowsWhatHolds)
{
    EXPECT_TRUE(button("Small").isChecked());
    EXPECT_TRUE(button("Icons alone").isChecked());
    EXPECT_FALSE(button("Show icons in menus").isChecked());
    bars.set_options({true, tool_button_text::under, true});
    page.refresh();
    EXPECT_TRUE(button("Large").isChecked());
    EXPECT_FALSE(button("Small").isChecked());
    EXPECT_TRUE(button("Icons with text under them").isChecked());
    EXPECT_TRUE(button("Show icons in menus").isChecked());
    EXPECT_EQ(bars.options(), (bar_options{true, tool_button_text::under, true})) << "to show is not to change";
}

TEST_F(CustomizeOptionsPage, WhatIsChosenHoldsAtOnce)
{
    button("Large").click();
    EXPECT_EQ(bars.options(), (bar_options{true, tool_button_text::none, false}));
    button("Icons with text beside them").click();
    EXPECT_EQ(bars.options(), (bar_options{true, tool_button_text::beside, false}));
    button("Show icons in menus").click();
    EXPECT_EQ(bars.options(), (bar_options{true, tool_button_text::beside, true}));
    button("Small").click();
    button("Icons alone").click();
    button("Show icons in menus").click();
    EXPECT_EQ(bars.options(), bar_options{});
}

TEST_F(CustomizeOptionsPage, EverythingIsResetByYesAlone)
{
    bars.set_changed_sink([this] { page.refresh(); });
    button("Large").click();
    bars.remove_key({0x72});
    ASSERT_TRUE(bars.set_tool_bars({{u"T", true, {}}}));
    const auto answer = [this](QMessageBox::StandardButton wanted) {
        when_modal([wanted](QWidget& box) {
            QAbstractButton* yes = dynamic_cast<QMessageBox&>(box).button(wanted);
            ASSERT_NE(yes, nullptr);
            yes->click();
        });
        button("Reset Everything...").click();
    };
    answer(QMessageBox::No);
    EXPECT_TRUE(bars.options().large_icons);
    when_modal([](QWidget& box) { QTest::keyClick(&box, Qt::Key_Return); });
    button("Reset Everything...").click();
    EXPECT_TRUE(bars.options().large_icons) << "a hasty Return loses nothing";
    answer(QMessageBox::Yes);
    EXPECT_EQ(bars.options(), bar_options{});
    EXPECT_TRUE(bars.tool_bars().empty());
    EXPECT_EQ(bars.command_of({0x72}), ID_SEARCH_FIND_NEXT);
    EXPECT_TRUE(button("Small").isChecked());
}

} // namespace
} // namespace cw
