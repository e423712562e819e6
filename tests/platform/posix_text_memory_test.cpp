#include "platform/posix_services.h"

#include <gtest/gtest.h>

#include <cstring>

TEST(posix_text_memory, hands_out_bstrs)
{
    const auto memory = cw::platform::make_posix_text_memory();
    BSTR text = memory->allocate(u"abc", 3);
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(SysStringLen(text), 3u);
    EXPECT_EQ(memory->reallocate(&text, u"defgh", 5), 1);
    EXPECT_EQ(std::u16string_view(text), u"defgh");
    memory->release(text);
    memory->release(nullptr);
}

TEST(posix_text_memory, hands_out_bytes)
{
    const auto memory = cw::platform::make_posix_text_memory();
    char* bytes = memory->allocate_bytes(100);
    ASSERT_NE(bytes, nullptr);
    std::memset(bytes, 1, 100);
    memory->release_bytes(bytes);
    memory->release_bytes(nullptr);
}
