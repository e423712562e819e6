#include "framework/recent_file_list.h"

#include "foundation/exceptions.h"
#include "tests/support/scripted_services.h"

#include <gtest/gtest.h>

namespace cw {
namespace {

constexpr const char16_t* section = u"Recent File List";
using paths = std::vector<std::u16string>;

class recent_file_list : public testing::Test {
protected:
    [[nodiscard]] paths entries() const
    {
        paths result;
        for (std::size_t index = 0; index < list.GetSize(); ++index)
            result.emplace_back(list[index].view());
        return result;
    }
    [[nodiscard]] paths stored(int count)
    {
        paths result;
        for (int number = 1; number <= count; ++number) {
            const std::string digits = std::to_string(number);
            result.push_back(
                services.user.read_text(section, u"File" + std::u16string(digits.begin(), digits.end()), u"-"));
        }
        return result;
    }

    test_support::scripted_services services;
    CRecentFileList list{0, section, u"File%d", 4, 20};
};

TEST_F(recent_file_list, begins_with_empty_places)
{
    EXPECT_EQ(list.GetSize(), 4u);
    EXPECT_EQ(list.GetFirstIndex(), 0u);
    EXPECT_EQ(entries(), (paths{u"", u"", u"", u""}));
}

TEST_F(recent_file_list, puts_paths_in_front_and_drops_the_last)
{
    for (const auto* path : {u"/a", u"/b", u"/c", u"/d", u"/e"})
        list.Add(path);
    EXPECT_EQ(entries(), (paths{u"/e", u"/d", u"/c", u"/b"}));
    list.Add(u"");
    EXPECT_EQ(entries(), (paths{u"/e", u"/d", u"/c", u"/b"}));
}

TEST_F(recent_file_list, moves_an_entry_of_the_same_file)
{
    for (const auto* path : {u"C:\\a.hdr", u"C:\\b.hdr", u"C:\\c.hdr"})
        list.Add(path);
    list.Add(u"c:\\A.HDR");
    EXPECT_EQ(entries(), (paths{u"c:\\A.HDR", u"C:\\c.hdr", u"C:\\b.hdr", u""}));
}

TEST_F(recent_file_list, tells_native_paths_apart_by_case)
{
    list.Add(u"/a.hdr");
    list.Add(u"/A.hdr");
    EXPECT_EQ(entries(), (paths{u"/A.hdr", u"/a.hdr", u"", u""}));
    list.Add(u"/a.hdr");
    EXPECT_EQ(entries(), (paths{u"/a.hdr", u"/A.hdr", u"", u""}));
}

TEST_F(recent_file_list, adds_the_text_of_one_of_its_own_entries)
{
    for (const auto* path : {u"/first/long/enough/for/the/heap", u"/b", u"/c"})
        list.Add(path);
    list.Add(list[2].view());
    EXPECT_EQ(entries(), (paths{u"/first/long/enough/for/the/heap", u"/c", u"/b", u""}));
    // A short text lies within its entry.
    list.Add(list[2].view());
    EXPECT_EQ(entries(), (paths{u"/b", u"/first/long/enough/for/the/heap", u"/c", u""}));
}

TEST_F(recent_file_list, moves_later_entries_up_on_removal)
{
    for (const auto* path : {u"/a", u"/b", u"/c", u"/d"})
        list.Add(path);
    list.Remove(1);
    EXPECT_EQ(entries(), (paths{u"/d", u"/b", u"/a", u""}));
    EXPECT_EQ(list.GetSize(), 4u);
    EXPECT_THROW(list.Remove(4), invalid_argument_exception);
}

TEST_F(recent_file_list, refuses_an_index_beyond_the_places)
{
    EXPECT_EQ(list[3], u"");
    EXPECT_THROW((void)list[4], invalid_argument_exception);
}

TEST_F(recent_file_list, reads_its_entries_and_leaves_empty_ones_out)
{
    for (const auto* path : {u"/old", u"/older", u"/oldest"})
        list.Add(path);
    services.user.write_text(section, u"File1", u"/a");
    services.user.write_text(section, u"File2", u"");
    services.user.write_text(section, u"File4", u"/d");
    services.user.write_text(section, u"File5", u"/beyond");
    services.user.write_text(u"Other", u"File3", u"/x");
    list.ReadList();
    EXPECT_EQ(entries(), (paths{u"/a", u"/d", u"", u""}));
}

TEST_F(recent_file_list, keeps_entries_of_any_text)
{
    const paths odd{std::u16string(10'000, u'x'), u"/a\nb\r\tc\x1B", std::u16string(u"\xD800/\xDFFF"),
                    std::u16string(u"/zero\0inside", 13)};
    for (std::size_t index = 0; index < odd.size(); ++index)
        services.user.write_text(section, u"File" + std::u16string(1, static_cast<char16_t>(u'1' + index)), odd[index]);
    list.ReadList();
    EXPECT_EQ(entries(), odd);
    list.Add(odd.front());
    list.WriteList();
    EXPECT_EQ(stored(4), odd);
    for (const std::u16string& entry : odd)
        list.Add(entry);
    EXPECT_EQ(entries(), (paths{odd[3], odd[2], odd[1], odd[0]}));
}

TEST_F(recent_file_list, untouched_leaves_what_another_window_wrote)
{
    services.user.write_text(section, u"File1", u"/a");
    list.ReadList();
    services.user.write_text(section, u"File1", u"/b");
    list.WriteList();
    EXPECT_EQ(stored(1), paths{u"/b"});
    list.Remove(0);
    list.WriteList();
    EXPECT_EQ(stored(1), paths{u"-"});
    list.Add(u"/c");
    list.WriteList();
    EXPECT_EQ(stored(1), paths{u"/c"});
    services.user.write_text(section, u"File1", u"/b");
    list.ReadList();
    list.Add(u"");
    services.user.write_text(section, u"File1", u"/d");
    list.WriteList();
    EXPECT_EQ(stored(1), paths{u"/d"});
}

TEST_F(recent_file_list, writes_its_entries_and_removes_those_of_empty_places)
{
    for (const auto* entry : {u"File1", u"File2", u"File3", u"File4", u"File5"})
        services.user.write_text(section, entry, u"/old");
    list.Add(u"/a");
    list.Add(u"/b");
    list.WriteList();
    EXPECT_EQ(stored(5), (paths{u"/b", u"/a", u"-", u"-", u"/old"}));
    CRecentFileList again{0, section, u"File%d", 4, 20};
    again.ReadList();
    EXPECT_EQ(again[0], u"/b");
    EXPECT_EQ(again[1], u"/a");
}

TEST_F(recent_file_list, shows_the_path_or_the_name_alone)
{
    CString name(u"before");
    list.Add(u"C:\\folder\\with\\a\\long\\name.hdr");
    list.Add(u"C:\\work\\a.hdr");
    list.Add(u"/work/b.hdr");
    list.Add(u"/b.hdr");

    EXPECT_FALSE(list.GetDisplayName(name, 2, nullptr, 0, true));
    EXPECT_EQ(name, u"before");
    EXPECT_TRUE(list.GetDisplayName(name, 2, u"C:\\other", 8, true));
    EXPECT_EQ(name, u"C:\\work\\a.hdr");
    EXPECT_TRUE(list.GetDisplayName(name, 2, u"c:\\WORK", 7, true));
    EXPECT_EQ(name, u"a.hdr");
    name = u"before";
    EXPECT_TRUE(list.GetDisplayName(name, 2, u"C:\\work\\", 8, true));
    EXPECT_EQ(name, u"a.hdr");
    EXPECT_TRUE(list.GetDisplayName(name, 1, u"/work/", 6, true));
    EXPECT_EQ(name, u"b.hdr");
    EXPECT_TRUE(list.GetDisplayName(name, 0, u"/", 1, true));
    EXPECT_EQ(name, u"b.hdr");
    EXPECT_TRUE(list.GetDisplayName(name, 3, u"C:\\other", 8, true));
    EXPECT_EQ(name, u"name.hdr");
    EXPECT_FALSE(list.GetDisplayName(name, 3, u"C:\\other", 8, false));
    EXPECT_EQ(name, u"");
    EXPECT_THROW(list.GetDisplayName(name, 4, u"", 0, true), invalid_argument_exception);
    list.Remove(0);
    EXPECT_FALSE(list.GetDisplayName(name, 3, u"C:\\other", 8, true));
}

TEST_F(recent_file_list, shows_a_path_that_is_just_as_long_as_may_be)
{
    CString name;
    const std::u16string longest(u"C:\\" + std::u16string(11, u'f') + u"\\a.hdr");
    ASSERT_EQ(longest.size(), 20u);
    list.Add(longest);
    EXPECT_TRUE(list.GetDisplayName(name, 0, u"", 0, true));
    EXPECT_EQ(name.view(), longest);
    list.Add(longest + u"x");
    EXPECT_TRUE(list.GetDisplayName(name, 0, u"", 0, true));
    EXPECT_EQ(name, u"a.hdrx");
}

TEST_F(recent_file_list, of_no_places_takes_nothing)
{
    CRecentFileList none{0, section, u"File%d", 0, 20};
    none.Add(u"/a");
    none.ReadList();
    none.WriteList();
    EXPECT_EQ(none.GetSize(), 0u);
}

} // namespace
} // namespace cw
