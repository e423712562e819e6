#include "desktop/qt_services.h"

#include "app/menus.h"
#include "desktop/dialogs.h"
#include "desktop/help_window.h"
#include "desktop/qt_text.h"
#include "tests/desktop/desktop_support.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QDesktopServices>
#include <QFileDialog>
#include <QFileInfo>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QUrl>
#include <gtest/gtest.h>

#include <stdexcept>

namespace cw {
namespace {

using namespace test_support;

constexpr std::u16string_view open_filter =
    u"All Supported Types|*.hdr; *.cab|Cratewright Header Files (*.hdr)|*.hdr||";

/// Gets the files that are handed to the desktop.
class desktop_spy final : public QObject {
    Q_OBJECT
public:
    desktop_spy() { QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "open"); }
    ~desktop_spy() override { QDesktopServices::unsetUrlHandler(QStringLiteral("file")); }
    QStringList opened;
public slots:
    void open(const QUrl& url) { opened.append(url.toLocalFile()); }
};

/// A key to the native window of a window that is not the frame's.
void press_in(QWidget& window, Qt::Key key, Qt::KeyboardModifiers held = {})
{
    QTest::keyClick(window.windowHandle(), key, held);
    pump();
}

struct QtServices : testing::Test {
    QtServices() { services.use_native_dialogs(false); }

    recording_window shown;
    qt_services services{shown.toolkit};
    temporary_folder folder;
};

TEST_F(QtServices, ChoosesAFileToOpenAndRemembersItsFolder)
{
    folder.write("a.hdr", "");
    QStringList filters;
    when_modal([&](QWidget& widget) {
        auto& dialog = static_cast<QFileDialog&>(widget);
        EXPECT_EQ(dialog.fileMode(), QFileDialog::ExistingFile);
        filters = dialog.nameFilters();
        dialog.selectFile(QString::fromStdString(folder.file("a.hdr")));
        QMetaObject::invokeMethod(&dialog, "accept");
    });
    EXPECT_EQ(services.choose_file_to_open({open_filter}), folder.wide_file("a.hdr"));
    EXPECT_EQ(filters, (QStringList{"All Supported Types (*.hdr *.cab)", "Cratewright Header Files (*.hdr)"}));
    EXPECT_EQ(services.last_folder(), QString::fromStdString(folder.path().native()));

    QString next_folder;
    when_modal([&](QWidget& widget) { next_folder = static_cast<QFileDialog&>(widget).directory().absolutePath(); });
    EXPECT_EQ(services.choose_file_to_open({open_filter}), std::nullopt) << "closed without an answer";
    EXPECT_EQ(next_folder, services.last_folder());
}

TEST_F(QtServices, ChoosesWhereToSave)
{
    when_modal([&](QWidget& widget) {
        auto& dialog = static_cast<QFileDialog&>(widget);
        EXPECT_EQ(dialog.acceptMode(), QFileDialog::AcceptSave);
        EXPECT_TRUE(dialog.testOption(QFileDialog::DontConfirmOverwrite));
        EXPECT_EQ(dialog.defaultSuffix(), "txt");
        EXPECT_EQ(QFileInfo(dialog.selectedFiles().value(0)).fileName(), "passwd.txt") << "no way into another folder";
        dialog.setDirectory(QString::fromStdString(folder.path().native()));
        dialog.selectFile(QStringLiteral("report"));
        QMetaObject::invokeMethod(&dialog, "accept");
    });
    const auto answer = services.choose_file_to_save({u"../../etc/passwd", u"txt", u"Texts|*.txt||"});
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->folder, folder.path().u16string());
    EXPECT_EQ(answer->file_name, u"report.txt");
    EXPECT_EQ(answer->path, folder.wide_file("report.txt"));
}

TEST_F(QtServices, SavingCanAskBeforeItOverwrites)
{
    when_modal([&](QWidget& widget) {
        EXPECT_FALSE(static_cast<QFileDialog&>(widget).testOption(QFileDialog::DontConfirmOverwrite));
    });
    EXPECT_FALSE(services.choose_file_to_save({u"a.txt", u"", u"", true}));
}

TEST_F(QtServices, ProposesAPlainNameInTheFolderLastUsed)
{
    folder.write("before.txt", "");
    const auto save = [&](std::u16string_view proposed, const std::function<void(QFileDialog&)>& answer) {
        when_modal([&](QWidget& widget) { answer(static_cast<QFileDialog&>(widget)); });
        return services.choose_file_to_save({proposed, u"", u"", true});
    };
    ASSERT_TRUE(save(u"first", [&](QFileDialog& dialog) {
        dialog.setDirectory(QString::fromStdString(folder.path().native()));
        dialog.selectFile(QStringLiteral("first"));
        QMetaObject::invokeMethod(&dialog, "accept");
    }));

    const auto answer = save(u"stops\\ferry.html", [&](QFileDialog& dialog) {
        EXPECT_EQ(dialog.directory().absolutePath(), services.last_folder());
        EXPECT_EQ(dialog.findChild<QLineEdit*>()->text(), "ferry.html");
        EXPECT_EQ(dialog.nameFilters(), QStringList("All Files (*)"));
        QMetaObject::invokeMethod(&dialog, "accept");
    });
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->path, folder.wide_file("ferry.html"));

    EXPECT_FALSE(save(u"..", [&](QFileDialog& dialog) { EXPECT_EQ(dialog.findChild<QLineEdit*>()->text(), ""); }));
    const auto split = save(u"a\"b\" c", [](QFileDialog& dialog) { QMetaObject::invokeMethod(&dialog, "accept"); });
    ASSERT_TRUE(split);
    EXPECT_EQ(split->file_name, u"a_b_ c") << "one file and not several";
}

TEST_F(QtServices, AFolderThatHasGoneIsNotOpened)
{
    {
        const temporary_folder gone;
        when_modal([&](QWidget& widget) {
            auto& dialog = static_cast<QFileDialog&>(widget);
            dialog.setDirectory(QString::fromStdString(gone.path().native()));
            dialog.selectFile(QStringLiteral("a"));
            QMetaObject::invokeMethod(&dialog, "accept");
        });
        ASSERT_TRUE(services.choose_file_to_save({u"a", u"", u"", true}));
    }
    when_modal([&](QWidget& widget) {
        EXPECT_TRUE(static_cast<QFileDialog&>(widget).directory().exists());
        EXPECT_EQ(widget.findChild<QLineEdit*>()->text(), "b");
    });
    EXPECT_FALSE(services.choose_file_to_save({u"b", u"", u"", true}));
}

TEST_F(QtServices, AsksForThePassword)
{
    when_modal([](QWidget& widget) {
        auto& dialog = static_cast<password_dialog&>(widget);
        EXPECT_EQ(dialog.findChild<QLabel*>(QStringLiteral("refusal"))->text(), "Wrong.");
        dialog.field().setText(QStringLiteral("secret"));
        dialog.accept();
    });
    EXPECT_EQ(services.ask_password({u"/a.hdr", u"Wrong."}), u"secret");
    when_modal([](QWidget& widget) { static_cast<QDialog&>(widget).reject(); });
    EXPECT_EQ(services.ask_password({u"/a.hdr", u""}), std::nullopt);
}

TEST_F(QtServices, AsksForTheTextToFind)
{
    when_modal([](QWidget& widget) {
        auto& dialog = static_cast<find_dialog&>(widget);
        EXPECT_EQ(dialog.text(), "before");
        dialog.field().setText(QStringLiteral("needle"));
        dialog.accept();
    });
    EXPECT_EQ(services.ask_find_text({u"before"}), u"needle");
    when_modal([](QWidget& widget) { static_cast<QDialog&>(widget).reject(); });
    EXPECT_EQ(services.ask_find_text({u""}), std::nullopt);
}

TEST_F(QtServices, ShowsMessagesAsPlainText)
{
    for (const message_icon icon : {message_icon::error, message_icon::none}) {
        when_modal([&](QWidget& widget) {
            auto& box = static_cast<QMessageBox&>(widget);
            EXPECT_EQ(box.text(), "Error <b>7</b>");
            EXPECT_EQ(box.textFormat(), Qt::PlainText);
            EXPECT_TRUE(box.textInteractionFlags().testFlag(Qt::TextSelectableByKeyboard));
            EXPECT_EQ(box.focusWidget(), static_cast<QWidget*>(box.button(QMessageBox::Ok)))
                << "Enter closes it all the same";
            EXPECT_EQ(box.icon(), icon == message_icon::error ? QMessageBox::Critical : QMessageBox::Warning);
            box.accept();
        });
        services.show_message(u"Error <b>7</b>", icon);
    }
}

TEST_F(QtServices, ShowsTheAboutBox)
{
    QString title;
    when_modal([&](QWidget& widget) { title = widget.windowTitle(); });
    services.show_about();
    EXPECT_EQ(title, "About Cratewright Cabinet and Log File Viewer");
}

TEST_F(QtServices, AContextMenusCommandArrivesWhenTheMenuHasGone)
{
    shown.frame.on_command = [](std::uint32_t) {
        EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
        throw std::runtime_error("on the way");
    };
    when_modal([](QWidget& widget) {
        auto& menu = static_cast<QMenu&>(widget);
        ASSERT_EQ(menu.actions().size(), 1);
        EXPECT_EQ(menu.actions().front()->text(), "&Copy");
        menu.setActiveAction(menu.actions().front());
        QKeyEvent enter(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
        QCoreApplication::sendEvent(&menu, &enter);
    });
    services.show_context_menu(list_context_menu());
    EXPECT_EQ(shown.frame.commands, std::vector{ID_EDIT_COPY_ROW});
    EXPECT_EQ(shown.unhandled.size(), 1u);
}

TEST_F(QtServices, AContextMenuOfAKeyOpensAtItsFirstItem)
{
    CListCtrl& list = shown.frame.list;
    shown.frame.Guard([&] {
        list.InsertColumn(0, u"Name", 100);
        list.InsertItem(0, u"row");
        list.SelectRow(0);
    });
    shown.frame.on_notify = [&](std::uint32_t) { services.show_context_menu(list_context_menu()); };
    const QRect row = shown.list().visualRect(shown.list().model()->index(0, 0));
    when_modal([&](QWidget& widget) {
        EXPECT_EQ(static_cast<QMenu&>(widget).activeAction(), widget.actions().front());
        EXPECT_EQ(widget.pos(), shown.list().viewport()->mapToGlobal(row.bottomLeft() + QPoint(0, 1)));
    });
    shown.list().setFocus();
    press(shown.window(), Qt::Key_F10, Qt::ShiftModifier);
    when_modal([](QWidget& widget) { EXPECT_EQ(static_cast<QMenu&>(widget).activeAction(), nullptr); });
    services.show_context_menu(list_context_menu());
}

TEST_F(QtServices, AContextMenuShowsWhatIsDisabled)
{
    shown.frame.enabled[ID_EDIT_COPY_ROW] = false;
    when_modal([](QWidget& widget) { EXPECT_FALSE(widget.actions().front()->isEnabled()); });
    services.show_context_menu(list_context_menu());
    EXPECT_TRUE(shown.frame.commands.empty());
}

TEST_F(QtServices, AnErrorWhileAQuestionIsOpenDoesNotPassThroughIt)
{
    // An entry from a timer, say, while the frame waits for its answer.
    when_modal([&](QWidget& widget) {
        shown.frame.Guard([] { throw std::runtime_error("inside"); });
        static_cast<QDialog&>(widget).reject();
    });
    bool went_on = false;
    shown.frame.Guard([&] {
        services.ask_find_text({u""});
        went_on = true;
    });
    EXPECT_TRUE(went_on);
    EXPECT_EQ(shown.unhandled.size(), 1u);
}

TEST_F(QtServices, QuestionsHaveOrdinaryCursors)
{
    const QCursor* during = nullptr;
    when_modal([&](QWidget&) { during = QGuiApplication::overrideCursor(); });
    shown.toolkit.enter([&] {
        EXPECT_NE(QGuiApplication::overrideCursor(), nullptr);
        services.show_about();
    });
    EXPECT_EQ(during, nullptr);
}

TEST_F(QtServices, PutsTextOnTheClipboard)
{
    services.put_on_clipboard(u"a\tb\r\nc\t\u00E9");
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QString::fromUtf8("a\tb\r\nc\té"));
}

TEST_F(QtServices, HandsFilesToTheDesktop)
{
    desktop_spy desktop;
    services.open_with_desktop(u"/tmp/a #1 %41.txt");
    services.open_with_desktop(u"");
    EXPECT_EQ(desktop.opened, QStringList("/tmp/a #1 %41.txt"));
}

TEST_F(QtServices, ShowsHelpInOneWindowBesideTheFrames)
{
    std::filesystem::create_directory(folder.path() / "HelpLib.chm");
    folder.write("HelpLib.chm/a.htm", "<title>First</title>one");
    folder.write("HelpLib.chm/b.htm", "<title>Second</title>two");
    EXPECT_EQ(services.help(), nullptr);
    services.show_help(folder.wide_file("HelpLib.chm") + u"::/a.htm");
    help_window* const window = services.help();
    ASSERT_NE(window, nullptr);
    EXPECT_TRUE(window->isVisible());
    EXPECT_FALSE(window->isModal());
    EXPECT_EQ(window->windowTitle(), QString::fromUtf8("First – Cratewright Help"));
    services.show_help(folder.wide_file("HelpLib.chm") + u"::/b.htm");
    EXPECT_EQ(services.help(), window);
    EXPECT_EQ(window->windowTitle(), QString::fromUtf8("Second – Cratewright Help"));

    press_in(*window, Qt::Key_F3);
    press_in(*window, Qt::Key_S, Qt::ControlModifier);
    EXPECT_TRUE(shown.frame.keys.empty()) << "its keys are its own";
    window->close();
    services.show_help(folder.wide_file("HelpLib.chm") + u"::/a.htm");
    EXPECT_TRUE(window->isVisible());
}

TEST_F(QtServices, HelpGoesWithTheFramesWindow)
{
    services.show_help(u"/nowhere/HelpLib.chm::/a.htm");
    ASSERT_TRUE(services.help()->isVisible());
    shown.frame.Close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_FALSE(services.help()->isVisible());
}

TEST_F(QtServices, UnattendedNobodyIsAsked)
{
    QStringList messages;
    services.set_unattended([&](const QString& message) { messages.append(message); });
    EXPECT_FALSE(services.choose_file_to_open({open_filter}));
    EXPECT_FALSE(services.choose_file_to_save({u"a", u"", u""}));
    EXPECT_FALSE(services.ask_password({u"/a.hdr", u""}));
    EXPECT_FALSE(services.ask_find_text({u""}));
    services.show_about();
    services.show_help(u"/nowhere/HelpLib.chm::/a.htm");
    EXPECT_EQ(services.help(), nullptr);
    services.show_context_menu(list_context_menu());
    services.show_message(u"told", message_icon::error);
    EXPECT_EQ(messages, (QStringList{"/a.hdr: a password is needed to open it", "told"}));
}

} // namespace
} // namespace cw

#include "qt_services_test.moc"
