#include "framework/file_filter.h"

#include <gtest/gtest.h>

namespace cw {
namespace {

using filters = std::vector<file_filter>;

TEST(file_filter, takes_labels_and_patterns_apart)
{
    EXPECT_EQ(parse_file_filter(u"All Supported Types|*.hdr; *.cab; *.clg|Cratewright Log Files (*.clg)|*.clg||"),
              (filters{{u"All Supported Types", {u"*.hdr", u"*.cab", u"*.clg"}},
                       {u"Cratewright Log Files (*.clg)", {u"*.clg"}}}));
}

TEST(file_filter, ends_at_an_empty_label)
{
    EXPECT_EQ(parse_file_filter(u"A|*.a||B|*.b|"), (filters{{u"A", {u"*.a"}}}));
    EXPECT_EQ(parse_file_filter(u""), filters{});
    EXPECT_EQ(parse_file_filter(u"|*.a"), filters{});
}

TEST(file_filter, needs_no_closing_bars)
{
    EXPECT_EQ(parse_file_filter(u"A|*.a"), (filters{{u"A", {u"*.a"}}}));
}

TEST(file_filter, leaves_out_labels_without_patterns_and_empty_patterns)
{
    EXPECT_EQ(parse_file_filter(u"A| ; |B|;*.b;|C"), (filters{{u"B", {u"*.b"}}}));
}

} // namespace
} // namespace cw
