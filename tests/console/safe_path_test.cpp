#include "console/safe_path.h"

#include "platform/utf8.h"

#include <gtest/gtest.h>

namespace cw {
namespace {

using console::safe_path;
using console::safe_path_of;
using parts = std::vector<std::string>;

parts parts_of(std::u16string_view name)
{
    const safe_path path = safe_path_of(name);
    EXPECT_EQ(path.refusal, "");
    return path.parts;
}

void expect_refusal(std::u16string_view name, std::string_view reason)
{
    const safe_path path = safe_path_of(name);
    EXPECT_TRUE(path.parts.empty());
    EXPECT_NE(path.refusal.find(reason), std::string_view::npos) << path.refusal << " and not " << reason;
}

TEST(safe_path, divides_at_both_separators)
{
    EXPECT_EQ(parts_of(u"a.txt"), parts({"a.txt"}));
    EXPECT_EQ(parts_of(u"a\\b/c.txt"), parts({"a", "b", "c.txt"}));
}

TEST(safe_path, keeps_every_name_that_a_folder_can_hold_as_it_stands)
{
    for (const char* name : {"<Engine>Core", "a b ",    " a",      " ",       "a.",
                             "...",          "..a",     "a..",     ".hidden", ".cwx0123456789abcdef.tmp",
                             "CON",          "nul.txt", "ab:c",     "1:",      ":",
                             "a?*|\"",       "~",       "-rf",     "$HOME",   "%2e%2e",
                             "Ärger",        "页面",    "🗺️", "e\u0301", "\u202etxt.exe"})
        EXPECT_EQ(parts_of(platform::from_utf8(name)), parts({name}));
    // Names that look alike stay apart.
    EXPECT_NE(parts_of(u"\u00E9"), parts_of(u"e\u0301"));
    EXPECT_NE(parts_of(u"a"), parts_of(u"A"));
    EXPECT_NE(parts_of(u"a"), parts_of(u"a "));
}

TEST(safe_path, leads_nowhere_but_down)
{
    for (const char16_t* name : {u"..", u"../a", u"..\\a", u"a/..", u"a\\..\\..\\b", u"a/../b", u"a\\../b"})
        expect_refusal(name, "leads out of its folder");
    for (const char16_t* name : {u".", u"./a", u"a\\.", u"a/./b"})
        expect_refusal(name, "is \".\"");
    for (const char16_t* name : {u"/", u"/etc/passwd", u"\\", u"\\\\server\\share\\a", u"//a", u"\\a"})
        expect_refusal(name, "at the root");
    for (const char16_t* name : {u"C:", u"C:\\a", u"c:a", u"z:/a", u"a\\C:\\b"})
        expect_refusal(name, "at a drive");
}

TEST(safe_path, refuses_names_without_a_name)
{
    expect_refusal(u"", "is empty");
    for (const char16_t* name : {u"a//b", u"a\\\\b", u"a\\/b", u"a/", u"a\\"})
        expect_refusal(name, "a part of the name is empty");
}

TEST(safe_path, refuses_what_is_no_text)
{
    for (const std::u16string_view name : {u"a\nb", u"\x1b[31m", u"a\u007f", u"a\u0085", u"\t"})
        expect_refusal(name, "control character");
    expect_refusal({u"a\0b", 3}, "control character");
    expect_refusal({u"..\0", 3}, "control character");
    const char16_t half_first[] = {u'a', 0xD800};
    const char16_t half_second[] = {0xDC80, u'a'};
    const char16_t byte_of_a_path[] = {0xDC2F}; // would not come out as a separator either
    expect_refusal({half_first, 2}, "no valid text");
    expect_refusal({half_second, 2}, "no valid text");
    expect_refusal({byte_of_a_path, 1}, "no valid text");
}

TEST(safe_path, counts_the_bytes_that_a_file_system_counts)
{
    EXPECT_EQ(parts_of(std::u16string(255, u'a')).size(), 1u);
    expect_refusal(std::u16string(256, u'a'), "longer than 255 bytes");
    EXPECT_EQ(parts_of(std::u16string(127, u'é')).size(), 1u);
    expect_refusal(std::u16string(128, u'é'), "longer than 255 bytes");
    expect_refusal(u"a/" + std::u16string(256, u'a') + u"/b", "longer than 255 bytes");
    std::u16string deep = u"a";
    while (deep.size() < 3999)
        deep += u"/a";
    EXPECT_EQ(parts_of(deep).size(), 2000u);
    expect_refusal(deep + u"/a", "longer than 4000 bytes");
}

} // namespace
} // namespace cw
