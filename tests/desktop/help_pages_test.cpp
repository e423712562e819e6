#include "desktop/help_pages.h"

#include "tests/desktop/desktop_support.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace cw {
namespace {

using test_support::temporary_folder;

TEST(HelpTopic, IsTakenApartAtItsLastSeparator)
{
    const help_topic topic = parse_help_topic(QStringLiteral("/usr/Program/0409/HelpLib.chm::/library/A.htm"));
    EXPECT_EQ(topic.folder, "/usr/Program/0409/HelpLib.chm");
    EXPECT_EQ(topic.page, "/library/A.htm");
    const help_topic nested = parse_help_topic(QStringLiteral("/a::b/Help::/A.htm"));
    EXPECT_EQ(nested.folder, "/a::b/Help");
    EXPECT_EQ(nested.page, "/A.htm");
    const help_topic bare = parse_help_topic(QStringLiteral("C:"));
    EXPECT_EQ(bare.folder, "C:");
    EXPECT_EQ(bare.page, "");
    EXPECT_EQ(parse_help_topic({}).folder, "");
}

struct HelpPages : testing::Test {
    HelpPages()
    {
        std::filesystem::create_directories(folder.path() / "help/library");
        folder.write("help/library/a b.htm", "<p>caf\xC3\xA9</p>");
        folder.write("outside.htm", "<p>outside</p>");
    }
    [[nodiscard]] help_fault fault_of(const char* page) const
    {
        return pages.read(help_pages::address_of(QString::fromUtf8(page))).fault;
    }
    [[nodiscard]] QString path(const char* name) const { return QString::fromStdString(folder.file(name)); }

    temporary_folder folder;
    help_pages pages{QString::fromStdString(folder.file("help"))};
};

TEST_F(HelpPages, AreReadAsUtf8)
{
    const help_page page = pages.read(help_pages::address_of(QStringLiteral("/library/a b.htm")));
    EXPECT_EQ(page.fault, help_fault::none);
    EXPECT_EQ(page.html, QString::fromUtf8("<p>café</p>"));
    EXPECT_EQ(page.file, path("help/library/a b.htm"));
    folder.write("help/mark.htm", "\xEF\xBB\xBFtext");
    EXPECT_EQ(pages.read(help_pages::address_of(QStringLiteral("mark.htm"))).html, "text");
    EXPECT_EQ(pages.read(QUrl(QStringLiteral("help:/library/../library/a%20b.htm#place"))).fault, help_fault::none);
}

TEST_F(HelpPages, NoAddressLeadsOutOfTheFolder)
{
    const QUrl page(QStringLiteral("help:/library/a.htm"));
    for (const char* link :
         {"../../outside.htm", "/../outside.htm", "help:/../outside.htm", "..%2F..%2Foutside.htm",
          "%2e%2e/%2e%2e/outside.htm", "/%2e%2e/outside.htm", "help:../outside.htm", "//host/outside.htm",
          "help://host/library/a%20b.htm", "file:../outside.htm", "a%00b.htm", "/", ""}) {
        const help_page found = pages.read(page.resolved(QUrl(QString::fromLatin1(link))));
        EXPECT_EQ(found.fault, help_fault::no_page) << link;
        EXPECT_EQ(found.html, "") << link;
    }
    const QUrl absolute = page.resolved(QUrl::fromLocalFile(path("outside.htm")));
    EXPECT_EQ(pages.read(absolute).fault, help_fault::no_page);
    EXPECT_TRUE(pages.read(absolute).file.isEmpty());
}

TEST_F(HelpPages, NoLinkOfTheFileSystemLeadsOutOfTheFolder)
{
    std::filesystem::create_symlink(folder.path() / "outside.htm", folder.path() / "help/out.htm");
    std::filesystem::create_symlink(folder.path() / "help/library/a b.htm", folder.path() / "help/in.htm");
    EXPECT_EQ(fault_of("/out.htm"), help_fault::no_page);
    EXPECT_EQ(fault_of("/in.htm"), help_fault::none);
    // The folder as a whole may lie elsewhere.
    std::filesystem::create_directory_symlink(folder.path() / "help", folder.path() / "link");
    const help_pages linked(path("link"));
    EXPECT_EQ(linked.read(help_pages::address_of(QStringLiteral("/library/a b.htm"))).fault, help_fault::none);
}

TEST_F(HelpPages, TellWhyThereIsNone)
{
    EXPECT_EQ(fault_of("/b.htm"), help_fault::no_page);
    EXPECT_EQ(fault_of("/library/A B.htm"), help_fault::no_page) << "capitals count";
    EXPECT_EQ(fault_of("/library"), help_fault::unreadable) << "a folder";
    folder.write("help/long.htm", std::string(longest_help_page_in_bytes + 1, 'x'));
    EXPECT_EQ(fault_of("/long.htm"), help_fault::too_long);
    folder.write("help/fits.htm", std::string(longest_help_page_in_bytes, 'x'));
    EXPECT_EQ(fault_of("/fits.htm"), help_fault::none);
    for (const char* bytes : {"caf\xE9", "\xFF\xFE<", "\xC3", "\xED\xA0\x80", "\x83\x65\x83\x58"}) {
        folder.write("help/other.htm", bytes);
        EXPECT_EQ(fault_of("/other.htm"), help_fault::not_utf8) << testing::PrintToString(std::string(bytes));
    }
    folder.write("help/empty.htm", "");
    EXPECT_EQ(fault_of("/empty.htm"), help_fault::none);
    ASSERT_EQ(mkfifo(folder.file("help/pipe.htm").c_str(), 0600), 0);
    const help_page pipe = pages.read(help_pages::address_of(QStringLiteral("/pipe.htm")));
    EXPECT_EQ(pipe.fault, help_fault::unreadable) << "nobody waits for a writer";
    EXPECT_FALSE(pipe.reason.isEmpty());
}

TEST_F(HelpPages, TellWhatTheSystemSays)
{
    folder.write("help/closed.htm", "text");
    std::filesystem::permissions(folder.path() / "help/closed.htm", std::filesystem::perms::none);
    const help_page page = pages.read(help_pages::address_of(QStringLiteral("/closed.htm")));
    if (geteuid() == 0)
        return; // nothing is closed to this user
    EXPECT_EQ(page.fault, help_fault::unreadable);
    EXPECT_FALSE(page.reason.isEmpty());
}

TEST_F(HelpPages, WithoutAFolderThereIsNothing)
{
    for (const QString& none : {path("nowhere"), path("outside.htm"), QString(), QStringLiteral("C:")}) {
        const help_page page = help_pages(none).read(help_pages::address_of(QStringLiteral("/a.htm")));
        EXPECT_EQ(page.fault, help_fault::no_folder) << none.toStdString();
        EXPECT_EQ(page.file, none + "/a.htm");
    }
}

TEST_F(HelpPages, PicturesComeInThePixelsOfTheDevice)
{
    QImage picture(20, 10, QImage::Format_RGB32);
    picture.fill(Qt::red);
    ASSERT_TRUE(picture.save(path("help/library/p.png"), "PNG"));
    ASSERT_TRUE(picture.save(path("outside.png"), "PNG"));
    const QUrl address = help_pages::address_of(QStringLiteral("/library/p.png"));
    EXPECT_EQ(pages.read_picture(address, 20, 1).size(), QSize(20, 10));
    EXPECT_EQ(pages.read_picture(address, 12, 1).size(), QSize(12, 6)) << "as wide as there is room";
    EXPECT_EQ(pages.read_picture(address, 12, 2).size(), QSize(24, 12));
    EXPECT_EQ(pages.read_picture(address, 1, 1).size(), QSize(1, 1));
    const QImage sharp = pages.read_picture(address, 100, 1.5);
    EXPECT_EQ(sharp.size(), QSize(30, 15));
    EXPECT_EQ(sharp.devicePixelRatio(), 1.5);
    EXPECT_EQ(sharp.deviceIndependentSize(), QSizeF(20, 10));
    EXPECT_EQ(sharp.pixelColor(15, 7), QColor(Qt::red));

    EXPECT_TRUE(pages.read_picture(help_pages::address_of(QStringLiteral("/none.png")), 100, 1).isNull());
    EXPECT_TRUE(pages.read_picture(help_pages::address_of(QStringLiteral("/library/a b.htm")), 100, 2).isNull());
    EXPECT_TRUE(pages.read_picture(QUrl::fromLocalFile(path("outside.png")), 100, 1).isNull());
    std::filesystem::create_symlink(folder.path() / "outside.png", folder.path() / "help/out.png");
    EXPECT_TRUE(pages.read_picture(help_pages::address_of(QStringLiteral("/out.png")), 100, 1).isNull());
    std::filesystem::resize_file(folder.file("help/library/p.png"),
                                 static_cast<std::uintmax_t>(longest_help_picture_in_bytes) + 1);
    EXPECT_TRUE(pages.read_picture(address, 100, 1).isNull()) << "too long";
}

} // namespace
} // namespace cw
