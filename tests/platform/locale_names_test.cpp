#include "platform/locale_names.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <optional>
#include <string>

namespace {

/// The variables that name a locale, as a test wants them, and back as they were at its end.
class locale_names : public testing::Test {
protected:
    locale_names()
    {
        for (const char* name : {"LC_ALL", "LC_CTYPE", "LC_COLLATE", "LANG"}) {
            const char* value = std::getenv(name);
            m_before[name] = value ? std::optional<std::string>(value) : std::nullopt;
            unsetenv(name);
        }
    }
    ~locale_names() override
    {
        for (const auto& [name, value] : m_before)
            value ? setenv(name.c_str(), value->c_str(), 1) : unsetenv(name.c_str());
    }

private:
    std::map<std::string, std::optional<std::string>> m_before;
};

TEST_F(locale_names, without_a_charset_it_is_utf8)
{
    EXPECT_EQ(cw::platform::charset_of_environment(), "UTF-8");
    setenv("LC_ALL", "C", 1);
    EXPECT_EQ(cw::platform::charset_of_environment(), "UTF-8");
    setenv("LC_ALL", "POSIX", 1);
    EXPECT_EQ(cw::platform::charset_of_environment(), "UTF-8");
    setenv("LC_ALL", "xx_XX", 1);
    EXPECT_EQ(cw::platform::charset_of_environment(), "UTF-8");
    setenv("LC_ALL", "xx_XX.nonsense", 1);
    EXPECT_EQ(cw::platform::charset_of_environment(), "UTF-8");
}

TEST_F(locale_names, takes_the_charset_of_the_locale)
{
    setenv("LC_ALL", "C.UTF-8", 1);
    EXPECT_EQ(cw::platform::charset_of_environment(), "UTF-8");
    // Not installed anywhere, but its name tells.
    setenv("LC_ALL", "xx_XX.ISO-8859-15@euro", 1);
    EXPECT_EQ(cw::platform::charset_of_environment(), "ISO-8859-15");
    unsetenv("LC_ALL");
    setenv("LANG", "xx_XX.KOI8-R", 1);
    EXPECT_EQ(cw::platform::charset_of_environment(), "KOI8-R");
    setenv("LC_CTYPE", "xx_XX.ISO-8859-1", 1);
    EXPECT_EQ(cw::platform::charset_of_environment(), "ISO-8859-1");
}

TEST_F(locale_names, takes_the_language_of_order_by_rank)
{
    EXPECT_EQ(cw::platform::collation_of_environment(), "");
    setenv("LANG", "de_DE.UTF-8", 1);
    EXPECT_EQ(cw::platform::collation_of_environment(), "de_DE");
    setenv("LC_COLLATE", "sv_SE@euro", 1);
    EXPECT_EQ(cw::platform::collation_of_environment(), "sv_SE");
    setenv("LC_ALL", "C.UTF-8", 1);
    EXPECT_EQ(cw::platform::collation_of_environment(), "");
    setenv("LC_ALL", "POSIX", 1);
    EXPECT_EQ(cw::platform::collation_of_environment(), "");
    setenv("LC_ALL", "", 1);
    EXPECT_EQ(cw::platform::collation_of_environment(), "sv_SE");
}

} // namespace
