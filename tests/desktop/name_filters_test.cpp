#include "desktop/name_filters.h"

#include <gtest/gtest.h>

namespace cw {
namespace {

TEST(NameFilters, WritesPatternsInBrackets)
{
    EXPECT_EQ(name_filters(u"All Supported Types|*.hdr; *.cab; *.clg|"
                           u"Cratewright Header Files (*.hdr)|*.hdr|"
                           u"Cratewright Log Files (*.clg)|*.clg||"),
              (QStringList{"All Supported Types (*.hdr *.cab *.clg)", "Cratewright Header Files (*.hdr)",
                           "Cratewright Log Files (*.clg)"}));
}

TEST(NameFilters, KeepsBracketsThatAreNoPatterns)
{
    EXPECT_EQ(name_filters(u"Texts (plain)|*.txt||"), QStringList{"Texts (plain) (*.txt)"});
    EXPECT_EQ(name_filters(u"All (*.*)|*||"), QStringList{"All (*.*) (*)"});
}

TEST(NameFilters, OfNothingIsNothing)
{
    EXPECT_TRUE(name_filters(u"").isEmpty());
    EXPECT_TRUE(name_filters(u"||").isEmpty());
}

} // namespace
} // namespace cw
