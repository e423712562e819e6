// Seen through the conversions: which locale is the user's, and what is known of it.
#include "automation/variant.h"
#include "support.h"

#include <gtest/gtest.h>

#include <clocale>

using cw::automation::variant;
using namespace cw::automation::test;

namespace {

class LocaleForms : public testing::Test {
protected:
    environment_change all{"LC_ALL", nullptr};
    environment_change time{"LC_TIME", nullptr};
    environment_change numeric{"LC_NUMERIC", nullptr};
    environment_change language{"LANG", nullptr};

    static std::string number(LCID locale = 0) { return converted(variant(1.5), VT_BSTR, locale); }
    static std::string date(LCID locale = 0)
    {
        return converted(make(VT_DATE, &VARIANT::date, 36925.75), VT_BSTR, locale);
    }
};

constexpr const char* neutral_number = "'1.5'";
constexpr const char* neutral_date = "'2/3/2001 6:00:00 PM'";
constexpr const char* german_number = "'1,5'";
constexpr const char* german_date = "'03.02.2001 18:00:00'";

TEST_F(LocaleForms, AreNeutralWithoutAnEnvironment)
{
    EXPECT_EQ(number(), neutral_number);
    EXPECT_EQ(date(), neutral_date);
}

TEST_F(LocaleForms, AreNeutralForTheCLocaleAndUnknownOnes)
{
    for (const char* name :
         {"C", "C.UTF-8", "POSIX", "en_US", "en_US.UTF-8", "", "xx_YY", "nonsense", "/etc/passwd", ".", "@"}) {
        const environment_change change("LC_ALL", name);
        EXPECT_EQ(number(), neutral_number) << name;
        EXPECT_EQ(date(), neutral_date) << name;
    }
}

TEST_F(LocaleForms, FollowTheVariablesInTheirOrder)
{
    const environment_change lang("LANG", "de_DE.UTF-8");
    EXPECT_EQ(number(), german_number);
    EXPECT_EQ(date(), german_date);
    {
        const environment_change change("LC_TIME", "sv_SE.UTF-8");
        EXPECT_EQ(number(), german_number);
        EXPECT_EQ(date(), "'2001-02-03 18:00:00'");
    }
    {
        const environment_change change("LC_NUMERIC", "C");
        EXPECT_EQ(number(), neutral_number);
        EXPECT_EQ(date(), german_date);
        const environment_change above("LC_ALL", "fr_FR@euro");
        EXPECT_EQ(number(), german_number);
        EXPECT_EQ(date(), "'03/02/2001 18:00:00'");
    }
    const environment_change empty("LC_ALL", "");
    EXPECT_EQ(date(), german_date) << "an empty variable does not count";
}

TEST_F(LocaleForms, OfAGivenLocaleDoNotFollowTheEnvironment)
{
    const environment_change lang("LANG", "de_DE.UTF-8");
    for (const LCID neutral : {0x007Fu, 0x0409u}) {
        EXPECT_EQ(number(neutral), neutral_number);
        EXPECT_EQ(date(neutral), neutral_date);
    }
    for (const LCID of_user : {0u, 0x0400u, 0x0800u}) {
        EXPECT_EQ(number(of_user), german_number);
        EXPECT_EQ(date(of_user), german_date);
    }
    EXPECT_EQ(date(0x041D), "'2001-02-03 18:00:00'");
    EXPECT_EQ(number(0xFFFF), neutral_number) << "an unknown number";
}

TEST_F(LocaleForms, DoNotFollowTheLocaleOfTheProcess)
{
    // Whichever of these the machine has: none of them may show.
    for (const char* name : {"de_DE.UTF-8", "fr_FR.UTF-8", "C.UTF-8"}) {
        const std::string before = std::setlocale(LC_ALL, nullptr);
        std::setlocale(LC_ALL, name);
        EXPECT_EQ(number(), neutral_number);
        EXPECT_EQ(converted(variant(u"1.5"), VT_R8, 0), "1.5");
        std::setlocale(LC_ALL, before.c_str());
    }
}

TEST_F(LocaleForms, LeaveTheLocaleOfTheProcess)
{
    const environment_change lang("LANG", "de_DE.UTF-8");
    const std::string before = std::setlocale(LC_ALL, nullptr);
    EXPECT_EQ(number(), german_number);
    EXPECT_EQ(std::setlocale(LC_ALL, nullptr), before);
}

} // namespace
