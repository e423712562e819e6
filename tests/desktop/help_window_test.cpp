#include "desktop/help_window.h"

#include "tests/desktop/desktop_support.h"
#include "tests/support/temporary_folder.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QDesktopServices>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <QTextBlock>
#include <QToolBar>
#include <QToolButton>
#include <gtest/gtest.h>

namespace cw {
namespace {

using namespace test_support;

/// Gets the addresses that are handed to the desktop.
class desktop_spy final : public QObject {
    Q_OBJECT
public:
    desktop_spy()
    {
        for (const QString& scheme : schemes())
            QDesktopServices::setUrlHandler(scheme, this, "open");
    }
    ~desktop_spy() override
    {
        for (const QString& scheme : schemes())
            QDesktopServices::unsetUrlHandler(scheme);
    }
    static QStringList schemes()
    {
        return {QStringLiteral("file"), QStringLiteral("https"), QStringLiteral("http"), QStringLiteral("mailto"),
                QStringLiteral("run")};
    }
    QStringList opened;
public slots:
    void open(const QUrl& url) { opened.append(url.toString()); }
};

struct HelpWindow : testing::Test {
    HelpWindow()
    {
        std::filesystem::create_directories(folder.path() / "help/more");
        folder.write("help/start.htm",
                     "<html><head><title>Start</title></head><body><h1>Start</h1><p>alpha beta</p>"
                     "<p><a href=\"more/one.htm\">One</a> <a href=\"two.htm\">Two</a> <a href=\"two.htm#end\">end</a> "
                     "<a href=\"https://walks.example/\">web</a> <a href=\"#below\">below</a></p>"
                     "<p>alpha gamma</p><p><a name=\"below\">below</a></p></body></html>");
        folder.write("help/more/one.htm", "<title>Page One</title><p>first <a href=\"../start.htm\">up</a></p>");
        std::string lines;
        for (int line = 0; line < 200; ++line)
            lines += "<p>line</p>";
        folder.write("help/two.htm", "<title>Page Two</title>" + lines + "<p><a name=\"end\">the end</a></p>");
    }
    void show(const char* page = "/start.htm")
    {
        window.show_topic(topic(page));
        pump();
    }
    [[nodiscard]] QString topic(const char* page) const
    {
        return QString::fromStdString(folder.file("help")) + QStringLiteral("::") + QString::fromLatin1(page);
    }
    [[nodiscard]] QString text() { return window.view().toPlainText(); }
    [[nodiscard]] QString marked() { return window.view().textCursor().selectedText(); }
    void key(Qt::Key code, Qt::KeyboardModifiers held = {})
    {
        QTest::keyClick(window.windowHandle(), code, held);
        pump();
    }
    QStringList contents()
    {
        QStringList entries;
        for (int row = 0; row < window.contents().count(); ++row)
            entries.append(window.contents().item(row)->text());
        return entries;
    }
    QAction* tool(const char* name)
    {
        for (QAction* action : window.actions())
            if (action->text().remove(u'&') == QLatin1String(name))
                return action;
        ADD_FAILURE() << name;
        return nullptr;
    }
    void follow(const char* link) { emit window.view().anchorClicked(window.view().source().resolved(QUrl(link))); }

    temporary_folder folder;
    help_window window;
};

TEST_F(HelpWindow, ShowsTheTopicAndTheContents)
{
    show();
    EXPECT_TRUE(window.isVisible());
    EXPECT_EQ(window.windowTitle(), QString::fromUtf8("Start – Cratewright Help"));
    EXPECT_TRUE(text().contains(QStringLiteral("alpha beta")));
    EXPECT_EQ(contents(), (QStringList{"Contents", "One", "Two"})) << "each page once, and nothing of the web";
    EXPECT_EQ(window.contents().currentRow(), 0);
    EXPECT_EQ(window.focusWidget(), &window.view());
}

TEST_F(HelpWindow, GoesByLinksAndByTheContents)
{
    show();
    follow("more/one.htm");
    EXPECT_EQ(window.windowTitle(), QString::fromUtf8("Page One – Cratewright Help"));
    EXPECT_EQ(window.contents().currentRow(), 1);
    follow("../start.htm");
    EXPECT_EQ(window.contents().currentRow(), 0);
    emit window.contents().itemClicked(window.contents().item(2));
    EXPECT_EQ(window.windowTitle(), QString::fromUtf8("Page Two – Cratewright Help"));
    EXPECT_EQ(window.view().verticalScrollBar()->value(), 0);
    follow("start.htm");
    follow("two.htm#end");
    pump();
    EXPECT_EQ(window.contents().currentRow(), 2) << "a place in a page is the page";
    EXPECT_GT(window.view().verticalScrollBar()->value(), 0);
    window.contents().setCurrentRow(1);
    window.contents().setFocus();
    key(Qt::Key_Return);
    EXPECT_EQ(window.windowTitle(), QString::fromUtf8("Page One – Cratewright Help"));
}

TEST_F(HelpWindow, GoesBackAndForthAndHome)
{
    show();
    EXPECT_FALSE(tool("Back")->isEnabled());
    EXPECT_FALSE(tool("Forward")->isEnabled());
    follow("two.htm");
    key(Qt::Key_Left, Qt::AltModifier);
    EXPECT_TRUE(text().contains(QStringLiteral("alpha")));
    EXPECT_FALSE(tool("Back")->isEnabled());
    key(Qt::Key_Right, Qt::AltModifier);
    EXPECT_TRUE(text().contains(QStringLiteral("the end")));
    key(Qt::Key_Home, Qt::AltModifier);
    EXPECT_TRUE(text().contains(QStringLiteral("alpha")));
    EXPECT_TRUE(tool("Back")->isEnabled());
}

TEST_F(HelpWindow, LinksAreFollowedByKeys)
{
    show();
    key(Qt::Key_Tab);
    key(Qt::Key_Return);
    EXPECT_EQ(window.windowTitle(), QString::fromUtf8("Page One – Cratewright Help"));
}

TEST_F(HelpWindow, TheDesktopGetsLinksOfTheWebAndNoOthers)
{
    desktop_spy desktop;
    show();
    for (const char* link : {"https://walks.example/a", "http://walks.example/", "mailto:a@walks.example",
                             "file:///etc/passwd", "run:/bin/true", "//host/share"})
        follow(link);
    EXPECT_EQ(desktop.opened,
              (QStringList{"https://walks.example/a", "http://walks.example/", "mailto:a@walks.example"}));
    EXPECT_TRUE(text().contains(QStringLiteral("help has no such page"))) << "the last one is an address of the help";
}

TEST_F(HelpWindow, AskedAgainItShowsTheTopicAgain)
{
    show();
    follow("two.htm");
    window.close();
    EXPECT_FALSE(window.isVisible());
    show();
    EXPECT_TRUE(window.isVisible());
    EXPECT_TRUE(text().contains(QStringLiteral("alpha")));
    EXPECT_TRUE(tool("Back")->isEnabled()) << "the way is kept";

    folder.write("help/start.htm", "<title>Start</title>new <a href=\"two.htm\">Two only</a>");
    show();
    EXPECT_TRUE(text().startsWith(QStringLiteral("new"))) << "read anew";
    EXPECT_EQ(contents(), (QStringList{"Contents", "Two only"}));

    window.showMinimized();
    show();
    EXPECT_FALSE(window.isMinimized());

    std::filesystem::create_directory(folder.path() / "other");
    folder.write("other/start.htm", "other help");
    window.show_topic(QString::fromStdString(folder.file("other")) + QStringLiteral("::/start.htm"));
    EXPECT_EQ(text(), "other help");
    EXPECT_FALSE(tool("Back")->isEnabled()) << "no way leads from one help to another";
}

TEST_F(HelpWindow, TellsWhatIsNotThere)
{
    const auto told = [this](const char* words) { return text().contains(QString::fromUtf8(words)); };
    window.show_topic(QStringLiteral("/nowhere/<b>/HelpLib.chm::/library/A.htm"));
    EXPECT_TRUE(window.isVisible());
    EXPECT_TRUE(told("The help is not there"));
    EXPECT_TRUE(told("/nowhere/<b>/HelpLib.chm::/library/A.htm")) << "as it was asked for";
    EXPECT_TRUE(told("/nowhere/<b>/HelpLib.chm/library/A.htm")) << "as it was looked for";
    EXPECT_FALSE(window.contents().isVisible());
    EXPECT_TRUE(window.windowTitle().startsWith(QStringLiteral("The help is not there")));

    show("/none.htm");
    EXPECT_TRUE(told("The page is not there"));
    EXPECT_TRUE(told(folder.file("help/none.htm").c_str()));
    show("/more");
    EXPECT_TRUE(told("The page cannot be read"));
    EXPECT_TRUE(told("not a plain file"));
    folder.write("help/latin.htm", "caf\xE9");
    show("/latin.htm");
    EXPECT_TRUE(told("not a text in UTF-8"));
    folder.write("help/long.htm", std::string(longest_help_page_in_bytes + 1, 'x'));
    show("/long.htm");
    EXPECT_TRUE(told("The page is too long"));
    for (const char* path : {"", "C:", "::", "/"}) {
        window.show_topic(QString::fromLatin1(path));
        EXPECT_TRUE(told("not there")) << path;
    }
    show();
    EXPECT_TRUE(told("alpha beta")) << "it comes back";
    EXPECT_TRUE(window.contents().isVisible());
}

TEST_F(HelpWindow, FindsInThePageAndOnceAround)
{
    show();
    auto* result = window.findChild<QLabel*>(QStringLiteral("find_result"));
    ASSERT_NE(result, nullptr);
    EXPECT_FALSE(window.find_field().isVisible());
    key(Qt::Key_F, Qt::ControlModifier);
    ASSERT_TRUE(window.find_field().isVisible());
    QTest::keyClicks(&window.find_field(), QStringLiteral("alpha"));
    EXPECT_EQ(marked(), "alpha") << "while it is typed";
    const int first = window.view().textCursor().selectionStart();
    key(Qt::Key_Return);
    const int second = window.view().textCursor().selectionStart();
    EXPECT_GT(second, first);
    EXPECT_EQ(result->text(), "");
    key(Qt::Key_F3);
    EXPECT_EQ(window.view().textCursor().selectionStart(), first);
    EXPECT_EQ(result->text(), "Went on from the start of the page");
    key(Qt::Key_F3, Qt::ShiftModifier);
    EXPECT_EQ(window.view().textCursor().selectionStart(), second);
    EXPECT_EQ(result->text(), "Went on from the end of the page");
    QTest::keyClicks(&window.find_field(), QStringLiteral("x"));
    EXPECT_EQ(result->text(), "Not found in this page");
    EXPECT_EQ(window.view().textCursor().selectionStart(), second) << "the place is kept";
}

TEST_F(HelpWindow, F3WithoutATextAsksForOne)
{
    show();
    key(Qt::Key_F3);
    EXPECT_TRUE(window.find_field().isVisible());
    EXPECT_EQ(window.focusWidget(), &window.find_field());
}

TEST_F(HelpWindow, EscapeClosesTheSearchAndThenTheWindow)
{
    show();
    key(Qt::Key_F, Qt::ControlModifier);
    key(Qt::Key_Escape);
    EXPECT_FALSE(window.find_field().isVisible());
    EXPECT_TRUE(window.isVisible());
    EXPECT_EQ(window.focusWidget(), &window.view());
    key(Qt::Key_Escape);
    EXPECT_FALSE(window.isVisible());
}

TEST_F(HelpWindow, GrowsAndShrinksWithinLimits)
{
    show();
    const double ordinary = window.view().font().pointSizeF();
    key(Qt::Key_Plus, Qt::ControlModifier);
    key(Qt::Key_Equal, Qt::ControlModifier);
    EXPECT_EQ(window.view().font().pointSizeF(), ordinary + 2);
    key(Qt::Key_Minus, Qt::ControlModifier);
    EXPECT_EQ(window.view().font().pointSizeF(), ordinary + 1);
    for (int step = 0; step < 50; ++step)
        key(Qt::Key_Plus, Qt::ControlModifier);
    EXPECT_EQ(window.view().font().pointSizeF(), 36);
    for (int step = 0; step < 50; ++step)
        key(Qt::Key_Minus, Qt::ControlModifier);
    EXPECT_EQ(window.view().font().pointSizeF(), 6);
    key(Qt::Key_0, Qt::ControlModifier);
    EXPECT_EQ(window.view().font().pointSizeF(), ordinary);
}

TEST_F(HelpWindow, TextIsCopied)
{
    show();
    key(Qt::Key_F, Qt::ControlModifier);
    QTest::keyClicks(&window.find_field(), QStringLiteral("gamma"));
    key(Qt::Key_Escape);
    QGuiApplication::clipboard()->clear();
    key(Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "gamma");

    folder.write("help/list.htm", "<ul><li>run <code>this</code></li></ul>");
    follow("list.htm");
    key(Qt::Key_F3);
    window.find_field().setText(QStringLiteral("this"));
    key(Qt::Key_F3);
    key(Qt::Key_Escape);
    key(Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "this") << "without a line end";
    show();
    window.find_field().setText(QStringLiteral("gamma"));
    key(Qt::Key_F3);

    EXPECT_FALSE(window.view().textInteractionFlags().testFlag(Qt::TextSelectableByKeyboard));
    key(Qt::Key_F7);
    EXPECT_TRUE(window.view().textInteractionFlags().testFlag(Qt::TextSelectableByKeyboard));
    EXPECT_TRUE(window.view().isReadOnly());
    key(Qt::Key_Home);
    key(Qt::Key_End, Qt::ShiftModifier);
    key(Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "alpha gamma");
    key(Qt::Key_F7);
    EXPECT_FALSE(window.view().textInteractionFlags().testFlag(Qt::TextSelectableByKeyboard));
}

TEST_F(HelpWindow, FollowsThePalette)
{
    const auto link_colour = [this] {
        for (QTextBlock block = window.view().document()->begin(); block.isValid(); block = block.next())
            for (auto at = block.begin(); !at.atEnd(); ++at)
                if (!at.fragment().charFormat().anchorHref().isEmpty())
                    return at.fragment().charFormat().foreground().color();
        return QColor();
    };
    show("/start.htm");
    QPalette dark = window.palette();
    dark.setColor(QPalette::Base, QColor(20, 20, 20));
    dark.setColor(QPalette::Text, QColor(230, 230, 230));
    dark.setColor(QPalette::Link, QColor(1, 200, 255));
    window.setPalette(dark);
    pump();
    EXPECT_EQ(link_colour(), QColor(1, 200, 255));
    follow("two.htm");
    window.view().verticalScrollBar()->setValue(500);
    dark.setColor(QPalette::Link, QColor(2, 200, 255));
    window.setPalette(dark);
    pump();
    EXPECT_EQ(window.view().verticalScrollBar()->value(), 500) << "the place in the page is kept";
    key(Qt::Key_Left, Qt::AltModifier);
    EXPECT_EQ(link_colour(), QColor(2, 200, 255));
}

TEST_F(HelpWindow, ShowsPicturesOfTheHelpAlone)
{
    QImage picture(8, 8, QImage::Format_RGB32);
    picture.fill(Qt::red);
    ASSERT_TRUE(picture.save(QString::fromStdString(folder.file("help/p.png"))));
    ASSERT_TRUE(picture.save(QString::fromStdString(folder.file("out.png"))));
    show();
    const auto loaded = [this](const QString& name) {
        return !window.view().loadResource(QTextDocument::ImageResource, QUrl(name)).value<QImage>().isNull();
    };
    EXPECT_TRUE(loaded(QStringLiteral("p.png")));
    follow("more/one.htm");
    EXPECT_TRUE(loaded(QStringLiteral("../p.png")));
    EXPECT_FALSE(loaded(QStringLiteral("../../out.png")));
    EXPECT_FALSE(loaded(QUrl::fromLocalFile(QString::fromStdString(folder.file("out.png"))).toString()));
    EXPECT_FALSE(
        window.view().loadResource(QTextDocument::StyleSheetResource, QUrl(QStringLiteral("s.css"))).isValid());
}

TEST_F(HelpWindow, PicturesShrinkWithTheWindow)
{
    QImage picture(700, 70, QImage::Format_RGB32);
    picture.fill(Qt::red);
    ASSERT_TRUE(picture.save(QString::fromStdString(folder.file("help/p.png"))));
    folder.write("help/picture.htm", "<p>above</p><div><img src=\"p.png\" alt=\"a picture\"></div>");
    show("/picture.htm");
    for (const int width : {1000, 500, 400, 1000}) {
        window.resize(width, 500);
        pump();
        EXPECT_EQ(window.view().horizontalScrollBar()->maximum(), 0) << width;
        const double picture_width =
            window.view().document()->idealWidth() - 2 * window.view().document()->documentMargin();
        EXPECT_EQ(picture_width == 700, width == 1000) << picture_width;
        EXPECT_GT(picture_width, width / 4) << "no smaller than need be";
    }
}

TEST_F(HelpWindow, EveryPartHasANameAndIsReachedByKeys)
{
    show();
    key(Qt::Key_F, Qt::ControlModifier);
    EXPECT_EQ(window.view().accessibleName(), "Help text");
    EXPECT_EQ(window.contents().accessibleName(), "Contents");
    EXPECT_EQ(window.find_field().accessibleName(), "Find in page");
    EXPECT_EQ(window.findChild<QToolBar*>()->accessibleName(), "Help tools");
    QStringList tools;
    for (const QToolButton* button : window.findChild<QToolBar*>()->findChildren<QToolButton*>())
        if (!button->text().isEmpty()) {
            tools.append(button->text());
            EXPECT_NE(button->focusPolicy() & Qt::TabFocus, 0) << button->text().toStdString();
            EXPECT_TRUE(button->toolTip().contains(u'(')) << "with its key: " << button->toolTip().toStdString();
        }
    EXPECT_EQ(tools, (QStringList{"Back", "Forward", "Home", "Find", "Larger", "Smaller", "Ordinary Size"}));
    for (const QPushButton* button : window.findChildren<QPushButton*>())
        EXPECT_FALSE(button->text().isEmpty());
}

TEST(ShippedHelp, OpensWithAllOfItsPages)
{
    help_window window;
    window.show_topic(QStringLiteral(CW_TEST_SOURCE_DIR "/resources/help/0409::/helplibrary/CwCabView.htm"));
    pump();
    ASSERT_GT(window.contents().count(), 10);
    for (int row = 1; row < window.contents().count(); ++row) {
        emit window.contents().itemClicked(window.contents().item(row));
        EXPECT_EQ(window.view().documentTitle(), window.contents().item(row)->text()) << "links are called like pages";
        EXPECT_EQ(window.contents().currentRow(), row);
        // Wider pages would have to be scrolled sideways.
        pump();
        EXPECT_EQ(window.view().horizontalScrollBar()->maximum(), 0) << row;
    }
}

} // namespace
} // namespace cw

#include "help_window_test.moc"
