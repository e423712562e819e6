#include "desktop/name_dialog.h"

#include "tests/desktop/desktop_support.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <gtest/gtest.h>

namespace cw {
namespace {

using namespace test_support;

TEST(NameDialog, TakesANameThatNothingElseBears)
{
    name_dialog dialog(QStringLiteral("New Toolbar"), QStringLiteral("Toolbar 2"),
                       {QStringLiteral("Toolbar 1"), QStringLiteral("A")}, nullptr);
    EXPECT_EQ(dialog.windowTitle(), "New Toolbar");
    EXPECT_EQ(dialog.field().selectedText(), "Toolbar 2");
    EXPECT_EQ(dialog.field().accessibleName(), "Name");
    QPushButton* ok = button_of(dialog, QStringLiteral("OK"));
    ASSERT_NE(ok, nullptr);
    EXPECT_TRUE(ok->isEnabled());
    dialog.field().setText(QStringLiteral(" A "));
    EXPECT_FALSE(ok->isEnabled()) << "blanks make no difference";
    EXPECT_FALSE(dialog.field().accessibleDescription().isEmpty());
    dialog.field().setText(QStringLiteral("  "));
    EXPECT_FALSE(ok->isEnabled());
    dialog.field().setText(QStringLiteral(" B "));
    EXPECT_TRUE(ok->isEnabled());
    EXPECT_EQ(dialog.field().accessibleDescription(), QString());
    EXPECT_EQ(dialog.name(), "B");
}

TEST(NameDialog, ANameIsOneLine)
{
    name_dialog dialog(QStringLiteral("N"), {}, {}, nullptr);
    dialog.field().setText(QStringLiteral("\ta\tb\u0001c\u007F "));
    EXPECT_EQ(dialog.name(), "a b c");
    dialog.field().setText(QStringLiteral("\u0001"));
    EXPECT_FALSE(button_of(dialog, QStringLiteral("OK"))->isEnabled());
}

TEST(NameDialog, ANameHasAnEnd)
{
    name_dialog dialog(QStringLiteral("N"), {}, {}, nullptr);
    dialog.field().setText(QString(500, u'x'));
    EXPECT_EQ(dialog.name().size(), 64);
}

TEST(NameDialog, AnswersOrDoesWithout)
{
    when_modal([](QWidget& shown) {
        QTest::keyClicks(shown.findChild<QLineEdit*>(), QStringLiteral("Mine"));
        QTest::keyClick(shown.findChild<QLineEdit*>(), Qt::Key_Return);
    });
    EXPECT_EQ(ask_for_name(QStringLiteral("N"), QStringLiteral("Old"), {}, nullptr), QStringLiteral("Mine"));
    when_modal([](QWidget& shown) { QTest::keyClick(&shown, Qt::Key_Escape); });
    EXPECT_EQ(ask_for_name(QStringLiteral("N"), QStringLiteral("Old"), {}, nullptr), std::nullopt);
}

} // namespace
} // namespace cw
