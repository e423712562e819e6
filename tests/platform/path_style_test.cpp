#include "platform/path_style.h"

#include <gtest/gtest.h>

TEST(path_style, a_leading_slash_makes_a_native_path)
{
    EXPECT_EQ(cw::path_separator_of(u"/a/b"), u'/');
    EXPECT_EQ(cw::path_separator_of(u"/"), u'/');
    EXPECT_EQ(cw::path_separator_of(u"a/b"), u'\\');
    EXPECT_EQ(cw::path_separator_of(u"C:\\a"), u'\\');
    EXPECT_EQ(cw::path_separator_of(u"\\\\server\\share"), u'\\');
    EXPECT_EQ(cw::path_separator_of(u""), u'\\');
}
