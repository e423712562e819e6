#include "desktop/dialogs.h"

#include <QCheckBox>
#include <QClipboard>
#include <QDialogButtonBox>
#include <QGuiApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <gtest/gtest.h>

namespace cw {
namespace {

bool shows_text(const QWidget& dialog, const QString& text)
{
    for (const QLabel* label : dialog.findChildren<QLabel*>())
        if (label->text().contains(text))
            return true;
    return false;
}

QPushButton* button(QDialog& dialog, const QString& text)
{
    for (QPushButton* found : dialog.findChildren<QPushButton*>())
        if (found->text().remove(u'&') == text)
            return found;
    return nullptr;
}

TEST(PasswordDialog, HidesWhatIsTypedUntilAskedToShowIt)
{
    password_dialog dialog(QStringLiteral("/media/tour.hdr"), {}, nullptr);
    EXPECT_EQ(dialog.field().echoMode(), QLineEdit::Password);
    auto* shown = dialog.findChild<QCheckBox*>();
    ASSERT_NE(shown, nullptr);
    shown->setChecked(true);
    EXPECT_EQ(dialog.field().echoMode(), QLineEdit::Normal);
    shown->setChecked(false);
    EXPECT_EQ(dialog.field().echoMode(), QLineEdit::Password);
}

TEST(PasswordDialog, NamesTheFileAndTellsARefusal)
{
    password_dialog first(QStringLiteral("/media/a<b>.hdr"), {}, nullptr);
    EXPECT_TRUE(shows_text(first, QStringLiteral("a<b>.hdr")));
    EXPECT_FALSE(shows_text(first, QStringLiteral("/media")));
    EXPECT_EQ(first.findChild<QLabel*>(QStringLiteral("refusal")), nullptr);

    password_dialog again(QStringLiteral("/media/a.hdr"), QStringLiteral("Not that one."), nullptr);
    const auto* refusal = again.findChild<QLabel*>(QStringLiteral("refusal"));
    ASSERT_NE(refusal, nullptr);
    EXPECT_EQ(refusal->text(), "Not that one.");
    EXPECT_EQ(again.field().accessibleDescription(), "Not that one.");
}

TEST(PasswordDialog, AcceptsByReturnAndLeavesByEscape)
{
    password_dialog dialog(QStringLiteral("/a.hdr"), {}, nullptr);
    dialog.show();
    QTest::keyClicks(&dialog.field(), QStringLiteral("open sesame"));
    QTest::keyClick(&dialog.field(), Qt::Key_Return);
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_EQ(dialog.password(), "open sesame");

    dialog.show();
    QTest::keyClick(&dialog, Qt::Key_Escape);
    EXPECT_EQ(dialog.result(), QDialog::Rejected);
}

TEST(PasswordDialog, HasAccessibleNamesAndStandardButtons)
{
    password_dialog dialog(QStringLiteral("/a.hdr"), {}, nullptr);
    EXPECT_EQ(dialog.field().accessibleName(), "Password");
    EXPECT_NE(button(dialog, QStringLiteral("OK")), nullptr);
    EXPECT_NE(button(dialog, QStringLiteral("Cancel")), nullptr);
}

TEST(FindDialog, AsksForATextWithFindNextAsItsDefault)
{
    find_dialog dialog({}, nullptr);
    EXPECT_EQ(dialog.windowTitle(), "Find");
    EXPECT_EQ(dialog.field().accessibleName(), "Find what");
    EXPECT_TRUE(shows_text(dialog, QStringLiteral("Find what:")));
    EXPECT_EQ(dialog.text(), QString());
    ASSERT_NE(button(dialog, QStringLiteral("Find Next")), nullptr);
    EXPECT_EQ(button(dialog, QStringLiteral("Find Next"))->text(), "Find Next");
    EXPECT_TRUE(button(dialog, QStringLiteral("Find Next"))->isDefault());
    ASSERT_NE(button(dialog, QStringLiteral("Cancel")), nullptr);

    dialog.show();
    QTest::keyClicks(&dialog.field(), QStringLiteral("needle"));
    QTest::keyClick(&dialog.field(), Qt::Key_Return);
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_EQ(dialog.text(), "needle");
}

TEST(FindDialog, HasTheFocusInItsField)
{
    find_dialog dialog({}, nullptr);
    dialog.show();
    dialog.activateWindow();
    QCoreApplication::processEvents();
    EXPECT_EQ(dialog.focusWidget(), &dialog.field());
}

TEST(FindDialog, LeavesByCancelAndByEscape)
{
    find_dialog dialog({}, nullptr);
    dialog.show();
    button(dialog, QStringLiteral("Cancel"))->click();
    EXPECT_EQ(dialog.result(), QDialog::Rejected);
    dialog.setResult(QDialog::Accepted);
    dialog.show();
    QTest::keyClick(&dialog, Qt::Key_Escape);
    EXPECT_EQ(dialog.result(), QDialog::Rejected);
}

QString pasted(QDialog& dialog, QLineEdit& field, const QString& text)
{
    dialog.show();
    QGuiApplication::clipboard()->setText(text);
    field.clear();
    field.paste();
    return field.text();
}

TEST(FindDialog, TakesAPastedMegabyteWhole)
{
    find_dialog dialog({}, nullptr);
    const QString text = QStringLiteral("0123456789").repeated(100'000) + u'!';
    EXPECT_TRUE(pasted(dialog, dialog.field(), text) == text);
    EXPECT_TRUE(dialog.text() == text);
}

TEST(FindDialog, DropsTheLineBreaksAroundPastedLinesOnly)
{
    find_dialog dialog({}, nullptr);
    pasted(dialog, dialog.field(), QStringLiteral("\r\n one line \r\n"));
    EXPECT_EQ(dialog.text(), " one line ");
    pasted(dialog, dialog.field(), QStringLiteral("\none\ntwo\r\nthree\n"));
    EXPECT_EQ(dialog.text(), "one\ntwo\r\nthree");
    pasted(dialog, dialog.field(), QStringLiteral("cell\tcell"));
    EXPECT_EQ(dialog.text(), "cell\tcell");
    pasted(dialog, dialog.field(), QStringLiteral("\n"));
    EXPECT_EQ(dialog.text(), QString());
}

TEST(PasswordDialog, TakesALongPasswordWhole)
{
    password_dialog dialog(QStringLiteral("/a.hdr"), {}, nullptr);
    const QString text = QStringLiteral("0123456789").repeated(10'000);
    EXPECT_TRUE(pasted(dialog, dialog.field(), text) == text);
    EXPECT_TRUE(dialog.password() == text);
}

TEST(FindDialog, OffersTheInitialTextSelected)
{
    find_dialog dialog(QStringLiteral("before"), nullptr);
    EXPECT_EQ(dialog.text(), "before");
    EXPECT_EQ(dialog.field().selectedText(), "before");
}

TEST(AboutDialog, ShowsIconNameAndNotice)
{
    about_dialog dialog(nullptr);
    EXPECT_EQ(dialog.windowTitle(), "About Cratewright Cabinet and Log File Viewer");
    EXPECT_TRUE(shows_text(dialog, application_title()));
    const auto* notice = dialog.findChild<QLabel*>(QStringLiteral("notice"));
    ASSERT_NE(notice, nullptr);
    EXPECT_TRUE(notice->text().startsWith(QString::fromUtf8("Copyright © Cratewright. All rights reserved.")));
    bool has_picture = false;
    for (const QLabel* label : dialog.findChildren<QLabel*>())
        has_picture = has_picture || !label->pixmap(Qt::ReturnByValue).isNull();
    EXPECT_TRUE(has_picture);
    button(dialog, QStringLiteral("OK"))->click();
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
}

TEST(ApplicationTitle, IsTheProgramsName)
{
    EXPECT_EQ(application_title(), "Cratewright Cabinet and Log File Viewer");
}

} // namespace
} // namespace cw
