#include "automation/bstr.h"

#include <gtest/gtest.h>

#include <cstring>

using cw::automation::bstr;

TEST(Bstr, NullCountsAsEmpty)
{
    EXPECT_EQ(SysStringLen(nullptr), 0u);
    EXPECT_EQ(SysStringByteLen(nullptr), 0u);
    SysFreeString(nullptr);
    EXPECT_EQ(SysAllocString(nullptr), nullptr);
    EXPECT_EQ(bstr().view(), u"");
    EXPECT_EQ(bstr().get(), nullptr);
}

TEST(Bstr, CopiesAZeroTerminatedText)
{
    bstr text;
    text.attach(SysAllocString(u"abc"));
    EXPECT_EQ(text.view(), u"abc");
    EXPECT_EQ(text.get()[3], 0);
    EXPECT_EQ(SysStringByteLen(text.get()), 6u);
}

TEST(Bstr, AnEmptyTextIsNotNull)
{
    bstr text;
    text.attach(SysAllocString(u""));
    ASSERT_NE(text.get(), nullptr);
    EXPECT_EQ(SysStringLen(text.get()), 0u);
    EXPECT_EQ(text.get()[0], 0);
    EXPECT_NE(bstr(std::u16string_view{}).get(), nullptr);
}

TEST(Bstr, KeepsEmbeddedZeros)
{
    const bstr text(std::u16string_view(u"a\0b", 3));
    EXPECT_EQ(text.view(), std::u16string_view(u"a\0b", 3));
}

TEST(Bstr, TheLengthInBytesStandsBeforeTheText)
{
    const bstr text(u"four");
    std::uint32_t bytes;
    std::memcpy(&bytes, reinterpret_cast<const char*>(text.get()) - 4, 4);
    EXPECT_EQ(bytes, 8u);
}

TEST(Bstr, WithoutASourceTheTextIsZeroed)
{
    bstr text;
    text.attach(SysAllocStringLen(nullptr, 100));
    ASSERT_EQ(SysStringLen(text.get()), 100u);
    for (int i = 0; i <= 100; ++i)
        ASSERT_EQ(text.get()[i], 0) << i;
}

TEST(Bstr, RefusesLengthsThatTheByteCountCannotHold)
{
    for (const UINT length : {0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu})
        EXPECT_EQ(SysAllocStringLen(nullptr, length), nullptr) << length;
    const char16_t letter = u'x';
    EXPECT_EQ(bstr(std::u16string_view(&letter, std::size_t{1} << 32)).get(), nullptr)
        << "the length must not lose its upper bits";
}

TEST(Bstr, ReallocationReplacesTheText)
{
    BSTR text = SysAllocString(u"old");
    EXPECT_EQ(SysReAllocStringLen(&text, u"longer text", 6), 1);
    EXPECT_EQ(bstr(std::u16string_view(text, SysStringLen(text))).view(), u"longer");
    EXPECT_EQ(text[6], 0);
    SysFreeString(text);
}

TEST(Bstr, ReallocationFromWithinTheOldText)
{
    BSTR text = SysAllocString(u"0123456789");
    EXPECT_EQ(SysReAllocStringLen(&text, text + 4, 3), 1);
    EXPECT_EQ(std::u16string_view(text), u"456");
    SysFreeString(text);
}

TEST(Bstr, ReallocationWithoutASourceKeepsTheCommonPart)
{
    BSTR text = SysAllocString(u"abcd");
    EXPECT_EQ(SysReAllocStringLen(&text, nullptr, 6), 1);
    EXPECT_EQ(std::u16string_view(text, 7), std::u16string_view(u"abcd\0\0\0", 7));
    EXPECT_EQ(SysReAllocStringLen(&text, nullptr, 2), 1);
    EXPECT_EQ(std::u16string_view(text), u"ab");
    EXPECT_EQ(SysStringLen(text), 2u);
    SysFreeString(text);
}

TEST(Bstr, ReallocationOfNothingAllocates)
{
    BSTR text = nullptr;
    EXPECT_EQ(SysReAllocStringLen(&text, u"new", 3), 1);
    EXPECT_EQ(std::u16string_view(text), u"new");
    SysFreeString(text);
    EXPECT_EQ(SysReAllocStringLen(nullptr, u"new", 3), 0);
}

TEST(Bstr, AFailedReallocationLeavesTheOldText)
{
    BSTR text = SysAllocString(u"old");
    BSTR before = text;
    EXPECT_EQ(SysReAllocStringLen(&text, nullptr, 0xFFFFFFFF), 0);
    EXPECT_EQ(text, before);
    EXPECT_EQ(std::u16string_view(text), u"old");
    SysFreeString(text);
}

TEST(Bstr, TheHolderHandsOver)
{
    bstr first(u"text");
    bstr second(std::move(first));
    EXPECT_EQ(first.get(), nullptr);
    first = std::move(second);
    EXPECT_EQ(first.view(), u"text");
    EXPECT_EQ(second.get(), nullptr);
    BSTR raw = first.detach();
    EXPECT_EQ(first.get(), nullptr);
    second.attach(raw);
    *second.put() = SysAllocString(u"other");
    EXPECT_EQ(second.view(), u"other");
}
