#include "fileio/paths.h"

#include "platform/services.h"
#include "tests/foundation/printing.h"

#include <gtest/gtest.h>

#include <string_view>

namespace {

using cw::string;

/// Rules by which '|' is another case of the backslash and '!' one of the dot: no true letter is, so
/// only these show where case is ignored.
struct folding_rules final : cw::platform::text_rules {
    char16_t to_upper(char16_t code_unit) noexcept override
    {
        return code_unit == u'|' ? u'\\' : code_unit == u'!' ? u'.' : code_unit;
    }
    char16_t to_lower(char16_t code_unit) noexcept override { return code_unit; }
    int compare_no_case(const char16_t*, const char16_t*, std::size_t) noexcept override { return 0; }
    std::string sort_key(std::u16string_view) override { return {}; }
};

class folded_paths : public testing::Test {
    folding_rules m_rules;
    cw::platform::services made()
    {
        cw::platform::services set = cw::platform::current();
        set.rules = &m_rules;
        return set;
    }
    cw::platform::scoped_services m_inUse{made()};
};

TEST(directory_of, ends_behind_the_last_separator_or_before_it)
{
    struct row {
        const char16_t* path;
        const char16_t* kept;
        const char16_t* stripped;
    };
    for (const row& each : {
             row{u"", u"", u""},
             row{u"file", u"", u""},
             row{u"a\\file", u"a\\", u"a"},
             row{u"a\\b\\file", u"a\\b\\", u"a\\b"},
             row{u"a\\b\\", u"a\\b\\", u"a\\b"},
             row{u"a\\\\file", u"a\\\\", u"a\\"},
             row{u"\\file", u"\\", u"\\"},
             row{u"\\\\", u"\\\\", u"\\"},
             row{u"C:\\a\\file", u"C:\\a\\", u"C:\\a"},
             row{u"C:\\file", u"C:\\", u"C:\\"},
             row{u"C:\\", u"C:\\", u"C:\\"},
             row{u"C:file", u"C:", u"C:"},
             row{u"C:", u"C:", u"C:"},
             row{u"\\:file", u"\\:", u"\\:"},
             row{u"\\\\server\\share\\file", u"\\\\server\\share\\", u"\\\\server\\share"},
             row{u"\\\\server\\share", u"\\\\server\\", u"\\\\server"},
             row{u"\\\\x", u"\\\\", u"\\"},
             row{u"a/b\\c/file", u"a/b\\", u"a/b"},
             row{u"/file", u"/", u"/"},
             row{u"/a/file", u"/a/", u"/a"},
             row{u"/a\\b/c\\file", u"/a\\b/", u"/a\\b"},
             row{u"//server/share/file", u"//server/share/", u"//server/share"},
             row{u"/:x/file", u"/:x/", u"/:x"},
         }) {
        EXPECT_EQ(cw::directory_of(each.path, true, false), each.kept) << string(each.path).narrow();
        EXPECT_EQ(cw::directory_of(each.path, false, false), each.stripped) << string(each.path).narrow();
    }
}

TEST(directory_of, strips_the_root_of_what_it_found)
{
    EXPECT_EQ(cw::directory_of(u"C:\\a\\file", true, true), u"\\a\\");
    EXPECT_EQ(cw::directory_of(u"C:\\a\\file", false, true), u"\\a");
    EXPECT_EQ(cw::directory_of(u"C:\\a\\C:\\file", false, true), u"\\a\\C:");
    EXPECT_EQ(cw::directory_of(u"C:file", false, true), u"");
    EXPECT_EQ(cw::directory_of(u"\\\\server\\share\\a\\file", false, true), u"\\a");
    EXPECT_EQ(cw::directory_of(u"\\\\server\\share\\file", true, true), u"\\");
    EXPECT_EQ(cw::directory_of(u"\\\\server\\share\\file", false, true), u"");
    // The root is that of the folder: of a share, whose folder is its server, nothing stays.
    EXPECT_EQ(cw::directory_of(u"\\\\server\\share", true, true), u"");
    EXPECT_EQ(cw::directory_of(u"\\\\server\\share", false, true), u"");
    EXPECT_EQ(cw::directory_of(u"a\\b\\file", false, true), u"a\\b");
    EXPECT_EQ(cw::directory_of(u"file", false, true), u"");
    EXPECT_EQ(cw::directory_of(u"/a/file", false, true), u"/a");
    EXPECT_EQ(cw::directory_of(u"//server/share/a/file", false, true), u"/a");
}

TEST(root_of, is_server_and_share_or_the_drive)
{
    struct row {
        const char16_t* path;
        const char16_t* root;
        const char16_t* with_backslash;
    };
    for (const row& each : {
             row{u"", u"", u"\\"},
             row{u"a", u"", u"\\"},
             row{u"a\\b", u"", u"\\"},
             row{u"\\a", u"", u"\\"},
             row{u"C", u"", u"\\"},
             row{u"C:", u"C:", u"C:\\"},
             row{u"C:\\a", u"C:", u"C:\\"},
             row{u"C:a", u"C:", u"C:\\"},
             row{u"\\:", u"\\:", u"\\:\\"},
             row{u"CC:", u"", u"\\"},
             row{u"\\\\", u"", u"\\"},
             row{u"\\\\s", u"\\\\s", u"\\\\s\\"},
             row{u"\\\\server\\", u"\\\\server\\", u"\\\\server\\"},
             row{u"\\\\server\\share", u"\\\\server\\share", u"\\\\server\\share\\"},
             row{u"\\\\server\\share\\", u"\\\\server\\share", u"\\\\server\\share\\"},
             row{u"\\\\server\\share\\a\\b", u"\\\\server\\share", u"\\\\server\\share\\"},
             row{u"\\\\\\share\\a", u"\\\\\\share", u"\\\\\\share\\"},
             row{u"\\\\server\\\\a", u"\\\\server\\", u"\\\\server\\"},
             row{u"/", u"", u"/"},
             row{u"/a/b", u"", u"/"},
             row{u"/:x", u"", u"/"},
             row{u"//", u"", u"/"},
             row{u"//server/share/a", u"//server/share", u"//server/share/"},
             row{u"//s\\h/a", u"//s\\h/a", u"//s\\h/a/"},
         }) {
        EXPECT_EQ(cw::root_of(each.path, false), each.root) << string(each.path).narrow();
        EXPECT_EQ(cw::root_of(each.path, true), each.with_backslash) << string(each.path).narrow();
    }
}

TEST(extension_of, runs_from_the_last_dot_of_the_last_component)
{
    struct row {
        const char16_t* path;
        const char16_t* extension;
        const char16_t* file;
        const char16_t* name;
    };
    for (const row& each : {
             row{u"", u"", u"", u""},
             row{u"file", u"", u"file", u"file"},
             row{u"file.txt", u".txt", u"file.txt", u"file"},
             row{u"file.tar.gz", u".gz", u"file.tar.gz", u"file.tar"},
             row{u"file.", u".", u"file.", u"file"},
             row{u".txt", u".txt", u".txt", u""},
             row{u"a.b\\file", u"", u"file", u"file"},
             row{u"a.b\\file.txt", u".txt", u"file.txt", u"file"},
             row{u"a.b\\", u"", u"", u""},
             row{u"a\\.txt", u".txt", u".txt", u""},
             row{u"C:.txt", u".txt", u".txt", u""},
             row{u"C:file", u"", u"file", u"file"},
             row{u"C:\\", u"", u"", u""},
             row{u"C:\\a.b\\file", u"", u"file", u"file"},
             row{u"\\\\server.x\\share", u"", u"share", u"share"},
             row{u"\\\\server\\share.x", u".x", u"share.x", u"share"},
             row{u"a.b/file", u".b/file", u"a.b/file", u"a"},
             row{u"/a.b/file", u"", u"file", u"file"},
             row{u"/a.b/file.txt", u".txt", u"file.txt", u"file"},
             row{u"/a/b.c\\file", u".c\\file", u"b.c\\file", u"b"},
         }) {
        EXPECT_EQ(cw::extension_of(each.path), each.extension) << string(each.path).narrow();
        EXPECT_EQ(cw::file_part(each.path, false), each.file) << string(each.path).narrow();
        EXPECT_EQ(cw::file_part(each.path, true), each.name) << string(each.path).narrow();
    }
}

TEST(extension_of, a_dot_right_behind_the_folder_counts)
{
    // A root keeps its separator, so what follows stands right at the end of the folder.
    EXPECT_EQ(cw::extension_of(u"\\.x"), u".x");
    EXPECT_EQ(cw::extension_of(u"C:\\.x"), u".x");
    EXPECT_EQ(cw::extension_of(u"a.\\b"), u"");
}

TEST(change_extension, replaces_adds_and_takes_away)
{
    struct row {
        const char16_t* path;
        const char16_t* changed;
        const char16_t* without;
    };
    for (const row& each : {
             row{u"file", u"file.log", u"file"},
             row{u"file.txt", u"file.log", u"file"},
             row{u"file.tar.gz", u"file.tar.log", u"file.tar"},
             row{u"a.b\\file", u"a.b\\file.log", u"a.b\\file"},
             row{u"C:\\a.b\\file.txt", u"C:\\a.b\\file.log", u"C:\\a.b\\file"},
             row{u"C:\\file.txt", u"C:\\file.log", u"C:\\file"},
             // A drive without a separator gets one at the join.
             row{u"C:file.txt", u"C:\\file.log", u"C:\\file"},
             row{u"\\\\server\\share\\file.txt", u"\\\\server\\share\\file.log", u"\\\\server\\share\\file"},
             row{u".txt", u".log", u""},
             row{u"", u".log", u""},
             row{u"a\\", u"a\\.log", u"a\\"},
             row{u"/a.b/file.txt", u"/a.b/file.log", u"/a.b/file"},
             row{u"/file", u"/file.log", u"/file"},
         }) {
        EXPECT_EQ(cw::change_extension(each.path, u"log"), each.changed) << string(each.path).narrow();
        EXPECT_EQ(cw::change_extension(each.path, u""), each.without) << string(each.path).narrow();
    }
}

TEST(add_backslash, puts_one_where_none_is)
{
    EXPECT_EQ(cw::add_backslash(u""), u"\\");
    EXPECT_EQ(cw::add_backslash(u"a"), u"a\\");
    EXPECT_EQ(cw::add_backslash(u"a\\"), u"a\\");
    EXPECT_EQ(cw::add_backslash(u"a/"), u"a/\\");
    EXPECT_EQ(cw::add_backslash(u"C:"), u"C:\\");
    EXPECT_EQ(cw::add_backslash(u"/"), u"/");
    EXPECT_EQ(cw::add_backslash(u"/a"), u"/a/");
    EXPECT_EQ(cw::add_backslash(u"/a\\"), u"/a\\/");
}

TEST(strip_backslash, takes_one_away)
{
    EXPECT_EQ(cw::strip_backslash(u""), u"");
    EXPECT_EQ(cw::strip_backslash(u"a"), u"a");
    EXPECT_EQ(cw::strip_backslash(u"a\\"), u"a");
    EXPECT_EQ(cw::strip_backslash(u"a\\\\"), u"a\\");
    EXPECT_EQ(cw::strip_backslash(u"a/"), u"a/");
    EXPECT_EQ(cw::strip_backslash(u"/a/"), u"/a");
    EXPECT_EQ(cw::strip_backslash(u"/a\\"), u"/a\\");
}

TEST(is_share_path, needs_two_separators_and_something_behind)
{
    EXPECT_TRUE(cw::is_share_path(u"\\\\s"));
    EXPECT_TRUE(cw::is_share_path(u"\\\\\\"));
    EXPECT_TRUE(cw::is_share_path(u"//s"));
    EXPECT_FALSE(cw::is_share_path(u"\\\\"));
    EXPECT_FALSE(cw::is_share_path(u"//"));
    EXPECT_FALSE(cw::is_share_path(u"\\s\\"));
    EXPECT_FALSE(cw::is_share_path(u"/\\s"));
    EXPECT_FALSE(cw::is_share_path(u"\\/s"));
    EXPECT_FALSE(cw::is_share_path(u"a\\\\"));
    EXPECT_FALSE(cw::is_share_path(u""));
}

TEST(find_folded, tells_the_next_place)
{
    EXPECT_EQ(cw::find_folded(u"a\\b\\c", u'\\', 0), 1u);
    EXPECT_EQ(cw::find_folded(u"a\\b\\c", u'\\', 1), 1u);
    EXPECT_EQ(cw::find_folded(u"a\\b\\c", u'\\', 2), 3u);
    EXPECT_EQ(cw::find_folded(u"a\\b\\c", u'\\', 4), string::npos);
    EXPECT_EQ(cw::find_folded(u"a\\b\\c", u'\\', 9), string::npos);
    EXPECT_EQ(cw::find_folded(u"", u'\\', 0), string::npos);
    EXPECT_EQ(cw::find_folded(u"xAa", u'a', 0), 1u);
}

TEST_F(folded_paths, separators_and_dots_are_searched_ignoring_case)
{
    EXPECT_EQ(cw::find_folded(u"a|b", u'\\', 0), 1u);
    EXPECT_EQ(cw::directory_of(u"a\\b|file", true, false), u"a\\b|");
    EXPECT_EQ(cw::root_of(u"\\\\server|share|a", false), u"\\\\server|share");
    EXPECT_EQ(cw::extension_of(u"a\\file!txt"), u"!txt");
    // What a path ends with is compared as it is.
    EXPECT_EQ(cw::add_backslash(u"a|"), u"a|\\");
    EXPECT_EQ(cw::strip_backslash(u"a|"), u"a|");
    EXPECT_EQ(cw::directory_of(u"a\\b|file", false, false), u"a\\b|");
}

} // namespace
