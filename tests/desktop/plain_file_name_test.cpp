#include "desktop/plain_file_name.h"

#include "tests/desktop/desktop_support.h"

#include <gtest/gtest.h>

namespace cw {
namespace {

TEST(PlainFileName, IsTheLastPartOfAPathOfEitherKind)
{
    EXPECT_EQ(plain_file_name("index.html"), "index.html");
    EXPECT_EQ(plain_file_name("stops\\ferry.html"), "ferry.html");
    EXPECT_EQ(plain_file_name("../../etc/passwd"), "passwd");
    EXPECT_EQ(plain_file_name("a/b\\c"), "c");
    EXPECT_EQ(plain_file_name("a\\b/c"), "c");
    EXPECT_EQ(plain_file_name(QString::fromUtf8("стоп\\маяк 🗺️.html")),
              QString::fromUtf8("маяк 🗺️.html"));
}

TEST(PlainFileName, IsEmptyWhereNoNameRemains)
{
    for (const char* text : {"", "\\", "folder/", "..", "a\\..", "."})
        EXPECT_EQ(plain_file_name(text), "") << text;
}

TEST(PlainFileName, HoldsNothingThatMeansMoreThanAName)
{
    EXPECT_EQ(plain_file_name(QString::fromUtf8("a\nb\tc\x7f")), "a_b_c_");
    EXPECT_EQ(plain_file_name(QString(u'a') + QChar(u'\0') + u'b'), "a_b");
    EXPECT_EQ(plain_file_name("a\"b\" c"), "a_b_ c");
    EXPECT_EQ(plain_file_name("~root"), "_root");
    EXPECT_EQ(plain_file_name(".hidden ~1 'x' $HOME *"), ".hidden ~1 'x' $HOME *");
}

TEST(PlainFileName, FitsIntoAFolder)
{
    EXPECT_EQ(plain_file_name(QString(1'000'000, u'x')), QString(255, u'x'));
    EXPECT_EQ(plain_file_name(QString(200, QChar(0x4E2D))), QString(85, QChar(0x4E2D)));
    // A pair is not cut in two.
    const QString map = QString::fromUtf8("🗺");
    EXPECT_EQ(plain_file_name(map.repeated(100)), map.repeated(63));
    EXPECT_EQ(plain_file_name(u'x' + map.repeated(200)), u'x' + map.repeated(63));
}

} // namespace
} // namespace cw
