#include "framework/cstring.h"

#include "foundation/string_table.h"

#include <gtest/gtest.h>

namespace cw {
namespace {

TEST(cstring, holds_text_and_takes_null_for_empty)
{
    CString text(u"All");
    EXPECT_EQ(text, u"All");
    EXPECT_EQ(text.GetLength(), 3);
    EXPECT_FALSE(text.IsEmpty());
    EXPECT_EQ(std::u16string_view(text.GetString()), u"All");
    text.Empty();
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_EQ(CString(static_cast<const char16_t*>(nullptr)), CString());
}

TEST(cstring, loads_every_resource_and_empties_itself_for_an_unknown_one)
{
    ASSERT_FALSE(string_table().empty());
    for (const string_resource& resource : string_table()) {
        CString text;
        EXPECT_EQ(text.LoadString(resource.id), !resource.text.empty()) << resource.id;
        EXPECT_EQ(text, resource.text) << resource.id;
    }
    CString text(u"before");
    EXPECT_FALSE(text.LoadString(65500));
    EXPECT_TRUE(text.IsEmpty());
}

} // namespace
} // namespace cw
