#include "fileio/urls.h"

#include "platform/services.h"

namespace cw {

namespace {

bool is_url(const string& text, std::u16string_view scheme)
{
    return text.length() > scheme.size() &&
           platform::current().rules->compare_no_case(text.c_str(), scheme.data(), scheme.size()) == 0;
}

} // namespace

bool is_ftp_url(const string& text)
{
    return is_url(text, u"ftp://");
}

bool is_http_url(const string& text)
{
    return is_url(text, u"http://");
}

bool is_https_url(const string& text)
{
    return is_url(text, u"https://");
}

} // namespace cw
