#include "platform/posix_services.h"

#include "platform/utf8.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

namespace {

using namespace cw::platform;

const auto ids = make_random_unique_ids();

TEST(random_unique_ids, are_never_the_same)
{
    std::set<GUID> seen;
    for (int i = 0; i < 1000; ++i) {
        GUID id{};
        ASSERT_EQ(ids->create(&id), 0u);
        EXPECT_TRUE(seen.insert(id).second);
    }
}

TEST(random_unique_ids, say_that_they_are_random)
{
    GUID every_bit_set{};
    GUID every_bit_clear{0xFFFFFFFF, 0xFFFF, 0xFFFF, {255, 255, 255, 255, 255, 255, 255, 255}};
    for (int i = 0; i < 200; ++i) {
        GUID id{};
        ASSERT_EQ(ids->create(&id), 0u);
        EXPECT_EQ(id.Data3 >> 12, 4);
        EXPECT_EQ(id.Data4[0] >> 6, 2);
        every_bit_set.Data1 |= id.Data1;
        every_bit_set.Data2 |= id.Data2;
        every_bit_set.Data3 |= id.Data3;
        every_bit_clear.Data1 &= id.Data1;
        every_bit_clear.Data3 &= id.Data3;
        for (int at = 0; at < 8; ++at)
            every_bit_set.Data4[at] |= id.Data4[at];
    }
    EXPECT_EQ(every_bit_set, (GUID{0xFFFFFFFF, 0xFFFF, 0x4FFF, {0xBF, 255, 255, 255, 255, 255, 255, 255}}));
    EXPECT_EQ(every_bit_clear.Data1, 0u);
    EXPECT_EQ(every_bit_clear.Data3, 0x4000);
}

TEST(random_unique_ids, have_a_text_in_lower_case_without_braces)
{
    const GUID id{0x0123ABCD, 0x45EF, 0x4678, {0x9A, 0xBC, 0xDE, 0xF0, 0x12, 0x34, 0x56, 0x78}};
    char16_t* text = nullptr;
    ASSERT_EQ(ids->to_text(&id, &text), 0u);
    EXPECT_EQ(std::u16string(text), u"0123abcd-45ef-4678-9abc-def012345678");
    ids->release(&text);
    EXPECT_EQ(text, nullptr);
}

} // namespace
