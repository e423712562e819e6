#include "automation/guid.h"

#include <gtest/gtest.h>

namespace {

constexpr GUID sample{0x471340C5, 0x6A34, 0x4191, {0x9A, 0x18, 0xEE, 0x68, 0xA1, 0xA9, 0x16, 0x9B}};
constexpr GUID something{1, 2, 3, {4}};

TEST(Guid, LiteralsHaveTheirFieldsInOrder)
{
    EXPECT_EQ(cw::automation::guid_from_literal("471340C5-6A34-4191-9A18-EE68A1A9169B"), sample);
    EXPECT_EQ(cw::automation::guid_from_literal("471340c5-6a34-4191-9a18-ee68a1a9169b"), sample);
}

TEST(Guid, ReadsBothCases)
{
    for (const char16_t* text :
         {u"{471340C5-6A34-4191-9A18-EE68A1A9169B}", u"{471340c5-6a34-4191-9a18-ee68a1a9169b}"}) {
        GUID guid = something;
        EXPECT_EQ(CLSIDFromString(text, &guid), S_OK);
        EXPECT_EQ(guid, sample);
    }
}

TEST(Guid, NullTextIsTheNullGuid)
{
    GUID guid = something;
    EXPECT_EQ(CLSIDFromString(nullptr, &guid), S_OK);
    EXPECT_EQ(guid, GUID_NULL);
    EXPECT_EQ(CLSIDFromString(u"{471340C5-6A34-4191-9A18-EE68A1A9169B}", nullptr), E_INVALIDARG);
}

TEST(Guid, RefusesEverythingElse)
{
    const char16_t* const texts[] = {
        u"",
        u"{",
        u"471340C5-6A34-4191-9A18-EE68A1A9169B",    // no braces
        u"{471340C5-6A34-4191-9A18-EE68A1A9169B",   // no end
        u"{471340C5-6A34-4191-9A18-EE68A1A9169B}x", // too long
        u" {471340C5-6A34-4191-9A18-EE68A1A9169B}",
        u"{471340C56-A34-4191-9A18-EE68A1A9169B}", // a hyphen at another place
        u"{471340C5-6A34-4191-9A18-EE68A1A9169G}",
        u"{471340C5-6A34-4191-9A18-EE68A1A9169é}",
        u"(471340C5-6A34-4191-9A18-EE68A1A9169B)",
        u"{471340C5-6A34-4191-9A18EEE68A1A9169B}",
        u"{-71340C5-6A34-4191-9A18-EE68A1A9169B}",
    };
    for (const char16_t* text : texts) {
        GUID guid = something;
        EXPECT_EQ(CLSIDFromString(text, &guid), CO_E_CLASSSTRING);
        EXPECT_EQ(guid, GUID_NULL);
    }
}

TEST(Guid, WritesUpperCaseWithItsTerminator)
{
    WCHAR text[40];
    std::fill(std::begin(text), std::end(text), u'#');
    EXPECT_EQ(StringFromGUID2(sample, text, 40), 39);
    EXPECT_EQ(std::u16string_view(text), u"{471340C5-6A34-4191-9A18-EE68A1A9169B}");
    EXPECT_EQ(text[39], u'#') << "nothing is written past the terminator";
    EXPECT_EQ(StringFromGUID2(GUID_NULL, text, 39), 39);
    EXPECT_EQ(std::u16string_view(text), u"{00000000-0000-0000-0000-000000000000}");
}

TEST(Guid, WritesNothingWhereTheRoomIsTooSmall)
{
    WCHAR text[39] = {u'#'};
    for (const int room : {38, 1, 0, -1})
        EXPECT_EQ(StringFromGUID2(sample, text, room), 0) << room;
    EXPECT_EQ(text[0], u'#');
    EXPECT_EQ(StringFromGUID2(sample, nullptr, 39), 0);
}

} // namespace
