#include "platform/shell_path.h"

#include "tests/support/scripted_services.h"

#include <gtest/gtest.h>

namespace {

using namespace cw::platform;

/// A zero-terminated buffer of 260 code units, as the library search uses.
struct buffer {
    explicit buffer(std::u16string_view text) { text.copy(units, text.size()); }
    char16_t units[260] = {};
};

std::u16string without_file_spec(std::u16string_view path)
{
    buffer text(path);
    const bool cut = path_remove_file_spec(text.units);
    EXPECT_EQ(cut, path != text.units) << testing::PrintToString(path);
    return text.units;
}

std::u16string appended(std::u16string_view path, const char16_t* more)
{
    buffer text(path);
    EXPECT_TRUE(path_append(text.units, 260, more));
    return text.units;
}

TEST(path_remove_file_spec, cuts_the_last_component)
{
    EXPECT_EQ(without_file_spec(u"C:\\a\\b.dll"), u"C:\\a");
    EXPECT_EQ(without_file_spec(u"C:\\a\\"), u"C:\\a");
    EXPECT_EQ(without_file_spec(u"C:\\a"), u"C:\\");
    EXPECT_EQ(without_file_spec(u"C:\\"), u"C:\\");
    EXPECT_EQ(without_file_spec(u"C:a"), u"C:");
    EXPECT_EQ(without_file_spec(u"C:"), u"C:");
    EXPECT_EQ(without_file_spec(u"\\a"), u"\\");
    EXPECT_EQ(without_file_spec(u"\\"), u"\\");
    EXPECT_EQ(without_file_spec(u"a\\b"), u"a");
    EXPECT_EQ(without_file_spec(u"a"), u"");
    EXPECT_EQ(without_file_spec(u""), u"");
    EXPECT_EQ(without_file_spec(u"\\\\server\\share\\x"), u"\\\\server\\share");
    EXPECT_EQ(without_file_spec(u"\\\\server\\share"), u"\\\\server");
    EXPECT_EQ(without_file_spec(u"\\\\server"), u"\\\\");
    EXPECT_EQ(without_file_spec(u"\\\\"), u"\\\\");
    EXPECT_EQ(without_file_spec(u"a/b"), u"");
}

TEST(path_remove_file_spec, keeps_to_slashes_in_native_paths)
{
    EXPECT_EQ(without_file_spec(u"/usr/bin/viewer"), u"/usr/bin");
    EXPECT_EQ(without_file_spec(u"/usr/bin/"), u"/usr/bin");
    EXPECT_EQ(without_file_spec(u"/usr"), u"/");
    EXPECT_EQ(without_file_spec(u"/"), u"/");
    EXPECT_EQ(without_file_spec(u"/a\\b/c\\d"), u"/a\\b");
}

TEST(path_is_root, knows_roots_of_backslash_paths)
{
    for (const char16_t* root : {u"\\", u"C:\\", u"z:\\", u"\\\\", u"\\\\server", u"\\\\server\\share"})
        EXPECT_TRUE(path_is_root(root)) << testing::PrintToString(std::u16string(root));
    for (const char16_t* other : {u"", u"C:", u"C:\\a", u"C:/", u"\\a", u"a", u"\\\\server\\", u"\\\\server\\share\\",
                                  u"\\\\server\\share\\x", u"..\\path"})
        EXPECT_FALSE(path_is_root(other)) << testing::PrintToString(std::u16string(other));
}

TEST(path_is_root, knows_the_native_root)
{
    EXPECT_TRUE(path_is_root(u"/"));
    EXPECT_TRUE(path_is_root(u"//"));
    EXPECT_FALSE(path_is_root(u"/a"));
    EXPECT_FALSE(path_is_root(u"/a/"));
}

TEST(path_append, puts_exactly_one_separator_between)
{
    EXPECT_EQ(appended(u"C:\\a", u"System"), u"C:\\a\\System");
    EXPECT_EQ(appended(u"C:\\a\\", u"System"), u"C:\\a\\System");
    EXPECT_EQ(appended(u"C:\\a", u"\\System"), u"C:\\a\\System");
    EXPECT_EQ(appended(u"C:\\", u"x64"), u"C:\\x64");
    EXPECT_EQ(appended(u"/a", u"System"), u"/a/System");
    EXPECT_EQ(appended(u"/a/", u"/System"), u"/a/System");
    EXPECT_EQ(appended(u"/", u"x64"), u"/x64");
    EXPECT_EQ(appended(u"", u"x64"), u"x64");
    EXPECT_EQ(appended(u"C:\\a", u""), u"C:\\a");
}

TEST(path_append, resolves_dots_in_backslash_paths_alone)
{
    EXPECT_EQ(appended(u"C:\\a\\b", u"..\\c"), u"C:\\a\\c");
    EXPECT_EQ(appended(u"C:\\a", u".\\c"), u"C:\\a\\c");
    EXPECT_EQ(appended(u"C:\\", u"..\\..\\c"), u"C:\\c");
    EXPECT_EQ(appended(u"\\\\server\\share", u"x\\..\\y"), u"\\\\server\\share\\y");
    EXPECT_EQ(appended(u"a", u"..\\..\\c"), u"c");
    EXPECT_EQ(appended(u"/a/b", u"../c"), u"/a/b/../c");
}

TEST(path_append, refuses_what_does_not_fit)
{
    buffer text(u"/abc");
    EXPECT_FALSE(path_append(text.units, 9, u"defg"));
    EXPECT_EQ(std::u16string(text.units), u"/abc");
    EXPECT_TRUE(path_append(text.units, 10, u"defg"));
    EXPECT_EQ(std::u16string(text.units), u"/abc/defg");
}

TEST(path_file_exists, asks_for_the_attributes)
{
    cw::test_support::scripted_services script;
    script.files.files.insert(u"C:\\a\\file");
    script.files.folders.insert(u"C:\\a");
    EXPECT_TRUE(path_file_exists(u"C:\\a\\file"));
    EXPECT_TRUE(path_file_exists(u"C:\\a"));
    EXPECT_FALSE(path_file_exists(u"C:\\b"));
    EXPECT_EQ(script.log.lines.back(), "GetFileAttributesW C:\\b");
}

} // namespace
