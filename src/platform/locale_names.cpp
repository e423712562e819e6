#include "platform/locale_names.h"

#include <cstdlib>
#include <langinfo.h>
#include <locale.h>
#include <string_view>
#include <unicode/ucnv.h>

namespace cw::platform {

namespace {

/// The locale of a category, as POSIX ranks the variables.
std::string locale_of_environment(const char* category)
{
    for (const char* name : {"LC_ALL", category, "LANG"}) {
        const char* value = std::getenv(name);
        if (value && *value)
            return value;
    }
    return {};
}

/// The text between '.' and '@', which names a charset also where the locale is not installed.
std::string charset_suffix(const std::string& locale)
{
    const std::size_t dot = locale.find('.');
    if (dot == std::string::npos)
        return {};
    return locale.substr(dot + 1, locale.find('@', dot) - dot - 1);
}

bool is_known_charset(const std::string& name)
{
    UErrorCode failure = U_ZERO_ERROR;
    UConverter* converter = name.empty() ? nullptr : ucnv_open(name.c_str(), &failure);
    ucnv_close(converter);
    return converter && U_SUCCESS(failure);
}

} // namespace

std::string charset_of_environment()
{
    std::string charset;
    if (const locale_t locale = newlocale(LC_CTYPE_MASK, "", nullptr)) {
        charset = nl_langinfo_l(CODESET, locale);
        freelocale(locale);
    } else {
        charset = charset_suffix(locale_of_environment("LC_CTYPE"));
    }
    // The plain C locale names ASCII for want of anything better; files there hold UTF-8 all the same.
    if (charset == "ANSI_X3.4-1968" || !is_known_charset(charset))
        return "UTF-8";
    return charset;
}

std::string collation_of_environment()
{
    const std::string locale = locale_of_environment("LC_COLLATE");
    const std::string language = locale.substr(0, locale.find_first_of(".@"));
    return language == "C" || language == "POSIX" ? std::string() : language;
}

} // namespace cw::platform
