#include "desktop/window_options.h"

#include <gtest/gtest.h>

namespace cw {
namespace {

window_options parse(std::initializer_list<const char*> arguments)
{
    return parse_window_options({arguments.begin(), arguments.size()});
}

using texts = std::vector<std::u16string>;

TEST(WindowOptions, FilesGoToTheApplication)
{
    const window_options options = parse({"a.hdr", "-p", "/b"});
    EXPECT_EQ(options.arguments, (texts{u"a.hdr", u"-p", u"/b"}));
    EXPECT_TRUE(options.error.empty());
    EXPECT_TRUE(options.picture_path.empty());
    EXPECT_FALSE(options.show_help || options.show_version);
}

TEST(WindowOptions, APictureTakesItsNameInBothForms)
{
    EXPECT_EQ(parse({"--screenshot", "o.png", "a.hdr"}).picture_path, u"o.png");
    EXPECT_EQ(parse({"--screenshot", "o.png", "a.hdr"}).arguments, texts{u"a.hdr"});
    EXPECT_EQ(parse({"a.hdr", "--screenshot=o.png"}).picture_path, u"o.png");
}

TEST(WindowOptions, APictureNeedsAName)
{
    for (const window_options& options : {parse({"--screenshot"}), parse({"--screenshot="})}) {
        EXPECT_NE(options.error.find("--screenshot"), std::string::npos);
        EXPECT_TRUE(options.picture_path.empty());
    }
}

TEST(WindowOptions, HelpAndVersionInShortAndLong)
{
    EXPECT_TRUE(parse({"--help"}).show_help);
    EXPECT_TRUE(parse({"-h"}).show_help);
    EXPECT_TRUE(parse({"--version"}).show_version);
    EXPECT_TRUE(parse({"-v"}).show_version);
    EXPECT_NE(std::string(window_help_text()).find("--screenshot"), std::string::npos);
}

TEST(WindowOptions, UnknownLongOptionsAreRefused)
{
    const window_options options = parse({"--frobnicate", "a.hdr", "--help"});
    EXPECT_EQ(options.error, "unknown option --frobnicate");
    EXPECT_EQ(options.arguments, texts{u"a.hdr"});
    EXPECT_TRUE(options.show_help) << "what follows is read all the same";
}

TEST(WindowOptions, NothingIsAnOptionBehindTwoDashes)
{
    const window_options options = parse({"--", "--help", "--screenshot"});
    EXPECT_FALSE(options.show_help);
    EXPECT_TRUE(options.error.empty());
    EXPECT_EQ(options.arguments, (texts{u"--", u"--help", u"--screenshot"}));
}

TEST(WindowOptions, NamesThatAreNoUtf8Survive)
{
    EXPECT_EQ(parse({"a\xFF.hdr"}).arguments, texts{u"a\xDCFF.hdr"});
}

} // namespace
} // namespace cw
