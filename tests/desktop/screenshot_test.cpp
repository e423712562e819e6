#include "desktop/screenshot.h"

#include "desktop/main_window_host.h"
#include "desktop/qt_text.h"
#include "tests/desktop/desktop_support.h"

#include <QFile>
#include <QImage>
#include <gtest/gtest.h>

#include <set>

namespace cw {
namespace {

using namespace test_support;

TEST(Screenshot, ArrangesTwoLevelsAndTheFirstFeature)
{
    program_window shown;
    ASSERT_TRUE(shown.start());
    ASSERT_TRUE(shown.open_features("Main\n"
                                    "  Help\n"
                                    "    Deep\n"
                                    "Other\n"));
    arrange_for_picture(shown.frame());
    CTreeCtrl& tree = shown.frame().Tree();
    const HTREEITEM features = tree.GetRootItem();
    const HTREEITEM main = tree.GetChildItem(features);
    EXPECT_TRUE(tree.IsExpanded(features));
    EXPECT_TRUE(tree.IsExpanded(main));
    EXPECT_FALSE(tree.IsExpanded(tree.GetChildItem(main)));
    EXPECT_EQ(tree.GetSelectedItem(), main);
    EXPECT_GT(shown.frame().List().GetItemCount(), 0u) << "the feature's properties";
}

TEST(Screenshot, AnEmptyWindowStaysAsItIs)
{
    program_window shown;
    ASSERT_TRUE(shown.start());
    arrange_for_picture(shown.frame());
    EXPECT_EQ(shown.frame().Tree().GetSelectedItem(), HTREEITEM{});
}

TEST(Screenshot, WritesAPictureOfTheWindow)
{
    const temporary_folder folder;
    const QString path = QString::fromStdString(folder.file("view.png"));
    main_window_host host({folder.wide_file("a.clg")});
    EXPECT_EQ(run_for_picture(host, path), 0);

    const QImage picture(path);
    EXPECT_EQ(picture.size(), QSize(1100, 700));
    std::set<QRgb> colours;
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x)
            colours.insert(picture.pixel(x, y));
    EXPECT_GT(colours.size(), 20u) << "text, icons, frames";
}

TEST(Screenshot, LeavesTheRecentFilesAlone)
{
    const temporary_folder folder;
    {
        main_window_host host({folder.wide_file("pictured.clg")});
        EXPECT_EQ(run_for_picture(host, QString::fromStdString(folder.file("view.png"))), 0);
    }
    main_window_host host({});
    host.set_registry_key(u"Cratewright");
    EXPECT_EQ(platform::current().user->read_text(u"Recent File List", u"File1", u"").find(u"pictured"),
              std::u16string::npos);
}

TEST(Screenshot, TellsWhereItCannotWrite)
{
    const temporary_folder folder;
    main_window_host host({});
    testing::internal::CaptureStderr();
    EXPECT_EQ(run_for_picture(host, QString::fromStdString(folder.file("none/view.png"))), 1);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("cannot be written"), std::string::npos);
}

TEST(Screenshot, TellsOfAFileThatDoesNotOpenAndAsksNobody)
{
    const temporary_folder folder;
    library_folder libraries(folder);
    libraries.add_fixture_media();
    platform::services set = platform::current();
    set.libraries = &libraries;
    const platform::scoped_services in_use(set);
    folder.write("bad.hdr", R"({"open_error": {"Number": 7, "Description": "no such volume"}, "media": {}})");
    folder.write("safe.hdr", R"({"password": "secret", "media": {}})");

    const QString path = QString::fromStdString(folder.file("view.png"));
    testing::internal::CaptureStderr();
    {
        main_window_host host({folder.wide_file("bad.hdr")});
        EXPECT_EQ(run_for_picture(host, path), 1);
    }
    EXPECT_NE(testing::internal::GetCapturedStderr().find("no such volume"), std::string::npos);
    EXPECT_TRUE(QFile::exists(path)) << "the picture shows the window all the same";
    main_window_host host({folder.wide_file("safe.hdr")});
    testing::internal::CaptureStderr();
    EXPECT_EQ(run_for_picture(host, path), 1) << "the password prompt is refused";
    EXPECT_NE(testing::internal::GetCapturedStderr().find("a password is needed"), std::string::npos);
}

} // namespace
} // namespace cw
