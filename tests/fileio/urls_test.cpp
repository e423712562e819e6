#include "fileio/urls.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using cw::string;

using test_of_url = bool (*)(const string&);

struct scheme {
    string lower;
    string mixed;
    test_of_url is_url;
};

const std::vector<scheme> schemes{
    {u"ftp://", u"fTP://", &cw::is_ftp_url},
    {u"http://", u"HTtp://", &cw::is_http_url},
    {u"https://", u"HttPS://", &cw::is_https_url},
};

TEST(urls, an_address_begins_with_its_scheme_in_any_case)
{
    for (const scheme& each : schemes) {
        EXPECT_TRUE(each.is_url(each.lower + u"x"));
        EXPECT_TRUE(each.is_url(each.mixed + u"x"));
    }
}

TEST(urls, a_scheme_alone_is_no_address)
{
    for (const scheme& each : schemes) {
        EXPECT_FALSE(each.is_url(each.lower));
        EXPECT_FALSE(each.is_url(each.lower.substr(0, each.lower.length() - 1)));
        EXPECT_FALSE(each.is_url(u""));
    }
}

TEST(urls, a_scheme_further_on_makes_no_address)
{
    for (const scheme& each : schemes) {
        EXPECT_FALSE(each.is_url(u" " + each.lower + u"x"));
        EXPECT_FALSE(each.is_url(u"C:\\" + each.lower + u"x"));
    }
}

TEST(urls, each_scheme_is_told_from_the_others)
{
    for (const scheme& asked : schemes) {
        for (const scheme& given : schemes)
            EXPECT_EQ(asked.is_url(given.lower + u"server/file"), &asked == &given);
    }
    for (const scheme& asked : schemes) {
        EXPECT_FALSE(asked.is_url(u"file://server/file"));
        EXPECT_FALSE(asked.is_url(asked.lower.substr(0, asked.lower.length() - 2) + u"\\\\x"));
        EXPECT_FALSE(asked.is_url(asked.lower.substr(0, asked.lower.length() - 1) + u"xyz"));
    }
}

} // namespace
