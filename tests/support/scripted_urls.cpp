#include "tests/support/scripted_urls.h"

#include "platform/last_error.h"
#include "platform/services.h"

#include "tests/support/call_log.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace cw::test_support {

namespace {

struct known_scheme {
    std::u16string_view name;
    std::int32_t number;
    std::uint16_t port;
};

constexpr known_scheme known_schemes[] = {
    {u"ftp", platform::url_scheme_ftp, 21},
    {u"gopher", platform::url_scheme_gopher, 70},
    {u"http", platform::url_scheme_http, 80},
    {u"https", platform::url_scheme_https, 443},
};

/// What is in front of `separator`, which goes from `rest` with it; all and nothing left where there is none.
std::u16string_view take_until(std::u16string_view& rest, std::u16string_view separator)
{
    const std::size_t end = rest.find(separator);
    const std::u16string_view taken = rest.substr(0, end);
    rest = end == rest.npos ? std::u16string_view() : rest.substr(end + separator.size());
    return taken;
}

std::uint16_t port_of(std::u16string_view digits)
{
    std::uint16_t port = 0;
    for (const char16_t digit : digits)
        port = static_cast<std::uint16_t>(port * 10 + (digit - u'0'));
    return port;
}

bool fill(platform::url_part& part, std::u16string_view text)
{
    const auto length = static_cast<std::uint32_t>(text.size());
    if (part.text) {
        if (part.length <= length) {
            part.length = length + 1;
            return fail_with(platform::error_insufficient_buffer);
        }
        text.copy(part.text, length);
        part.text[length] = 0;
    }
    part.length = length;
    return true;
}

} // namespace

bool crack_plain_url(std::u16string_view url, platform::url_components& components)
{
    if (url.find(u"://") == url.npos)
        return fail_with(platform::error_internet_unrecognized_scheme);
    std::u16string_view rest = url;
    const std::u16string_view scheme = take_until(rest, u"://");
    std::u16string_view authority = rest.substr(0, rest.find_first_of(u"/?#"));
    rest.remove_prefix(authority.size());
    const std::u16string_view path = rest.substr(0, rest.find_first_of(u"?#"));
    const std::u16string_view extra = rest.substr(path.size());
    std::u16string_view credentials;
    if (authority.find(u'@') != authority.npos)
        credentials = take_until(authority, u"@");
    const std::u16string_view user = take_until(credentials, u":");
    const std::u16string_view host = take_until(authority, u":");

    const auto known = std::ranges::find_if(known_schemes, [&](const known_scheme& one) {
        return one.name.size() == scheme.size() &&
               platform::current().rules->compare_no_case(one.name.data(), scheme.data(), scheme.size()) == 0;
    });
    const bool is_known = known != std::end(known_schemes);
    components.scheme = is_known ? known->number : platform::url_scheme_unknown;
    components.port = !authority.empty() ? port_of(authority) : is_known ? known->port : std::uint16_t{0};
    const std::pair<platform::url_part*, std::u16string_view> parts[] = {
        {&components.scheme_name, scheme},   {&components.host, host}, {&components.user, user},
        {&components.password, credentials}, {&components.path, path}, {&components.extra, extra},
    };
    return std::ranges::all_of(parts, [](const auto& part) { return fill(*part.first, part.second); });
}

} // namespace cw::test_support
