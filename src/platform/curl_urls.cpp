#include "platform/curl_urls.h"

#include "platform/transfers.h"
#include "platform/utf8.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <curl/curl.h>
#include <memory>
#include <unicode/idna.h>
#include <unicode/unistr.h>

namespace cw::platform {

namespace {

constexpr std::size_t longest_address = 0x10000;
constexpr std::string_view upper_hex = "0123456789ABCDEF";

struct scheme_row {
    std::string_view name;
    std::int32_t number;
    std::uint16_t port;
};
constexpr std::array scheme_rows{
    scheme_row{"ftp", url_scheme_ftp, 21},
    scheme_row{"gopher", url_scheme_gopher, 70},
    scheme_row{"http", url_scheme_http, 80},
    scheme_row{"https", url_scheme_https, 443},
};
constexpr scheme_row unknown_scheme{"", url_scheme_unknown, 0};

const scheme_row& row_of_scheme(std::string_view name) noexcept
{
    const auto* row = std::find_if(scheme_rows.begin(), scheme_rows.end(),
                                   [name](const scheme_row& candidate) { return candidate.name == name; });
    return row == scheme_rows.end() ? unknown_scheme : *row;
}

bool is_digit(char32_t unit) noexcept
{
    return unit >= U'0' && unit <= U'9';
}

bool is_letter(char32_t unit) noexcept
{
    return (unit >= U'A' && unit <= U'Z') || (unit >= U'a' && unit <= U'z');
}

bool is_unreserved(char unit) noexcept
{
    const auto character = static_cast<unsigned char>(unit);
    return is_letter(character) || is_digit(character) || std::string_view("-._~").find(unit) != std::string_view::npos;
}

std::string lower_case(std::string text)
{
    for (char& unit : text)
        if (unit >= 'A' && unit <= 'Z')
            unit = static_cast<char>(unit - 'A' + 'a');
    return text;
}

/// 0 to 15, or -1.
int hex_value(char32_t unit) noexcept
{
    if (is_digit(unit))
        return static_cast<int>(unit - U'0');
    const char32_t lower = unit | 0x20;
    return lower >= U'a' && lower <= U'f' ? static_cast<int>(lower - U'a') + 10 : -1;
}

/// The byte that an escape at `place` stands for, or -1 where there is none.
int escaped_byte(std::string_view text, std::size_t place) noexcept
{
    if (text[place] != '%' || text.size() - place < 3)
        return -1;
    const int high = hex_value(static_cast<unsigned char>(text[place + 1]));
    const int low = hex_value(static_cast<unsigned char>(text[place + 2]));
    return high < 0 || low < 0 ? -1 : high * 16 + low;
}

/// Escapes what is neither unreserved nor in `allowed`; escapes that stand there stay.
std::string with_escapes(std::u16string_view piece, std::string_view allowed, bool undo_escapes)
{
    const std::string bytes = to_utf8(piece);
    std::string escaped;
    escaped.reserve(bytes.size());
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const int byte = escaped_byte(bytes, i);
        if (byte >= 0) {
            if (undo_escapes && is_unreserved(static_cast<char>(byte)))
                escaped += static_cast<char>(byte);
            else
                escaped.append(bytes, i, 3);
            i += 2;
        } else if (is_unreserved(bytes[i]) || allowed.find(bytes[i]) != std::string_view::npos) {
            escaped += bytes[i];
        } else {
            const auto plain = static_cast<unsigned char>(bytes[i]);
            escaped += {'%', upper_hex[plain >> 4], upper_hex[plain & 15]};
        }
    }
    return escaped;
}

/// Nothing where an escape stands for a control character, which has no place in a name or a password.
std::optional<std::u16string> without_escapes(std::u16string_view piece)
{
    const std::string bytes = to_utf8(piece);
    std::string plain;
    plain.reserve(bytes.size());
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const int byte = escaped_byte(bytes, i);
        if (byte < 0) {
            plain += bytes[i];
            continue;
        }
        if (byte < 0x20 || byte == 0x7F)
            return std::nullopt;
        plain += static_cast<char>(byte);
        i += 2;
    }
    return from_utf8(plain);
}

bool is_clean(std::u16string_view address) noexcept
{
    for (std::size_t i = 0; i < address.size(); ++i) {
        const char16_t unit = address[i];
        if (unit < 0x20 || unit == 0x7F)
            return false;
        if ((unit & 0xF800) != 0xD800)
            continue;
        const bool is_pair = (unit & 0x0400) == 0 && i + 1 < address.size() && (address[i + 1] & 0xFC00) == 0xDC00;
        if (!is_pair)
            return false;
        ++i;
    }
    return true;
}

/// Pieces of an address as they stand.
struct url_pieces {
    std::u16string_view scheme;
    std::optional<std::u16string_view> user_info;
    std::u16string_view host_and_port;
    std::u16string_view path;
    std::u16string_view extra;
};

/// libcurl would take other numbers of slashes as well, and would look for a host behind them.
std::optional<url_pieces> split(std::u16string_view address)
{
    if (address.size() > longest_address || !is_clean(address))
        return std::nullopt;
    url_pieces pieces;
    const std::size_t colon = address.find(u"://");
    if (colon == std::u16string_view::npos)
        return std::nullopt;
    pieces.scheme = address.substr(0, colon);
    for (const char16_t unit : pieces.scheme)
        if (!is_letter(unit) && !is_digit(unit) && unit != u'+' && unit != u'-' && unit != u'.')
            return std::nullopt;
    if (pieces.scheme.empty() || !is_letter(pieces.scheme.front()))
        return std::nullopt;
    address.remove_prefix(colon + 3);

    const std::u16string_view authority = address.substr(0, address.find_first_of(u"/?#"));
    address.remove_prefix(authority.size());
    // The last "@": the ones before it are a careless password's.
    const std::size_t at = authority.rfind(u'@');
    if (at != std::u16string_view::npos)
        pieces.user_info = authority.substr(0, at);
    pieces.host_and_port = at == std::u16string_view::npos ? authority : authority.substr(at + 1);
    pieces.path = address.substr(0, address.find_first_of(u"?#"));
    pieces.extra = address.substr(pieces.path.size());
    return pieces;
}

struct free_url {
    void operator()(CURLU* url) const noexcept { curl_url_cleanup(url); }
};
using url_pointer = std::unique_ptr<CURLU, free_url>;

/// Nothing where libcurl refuses the text.
url_pointer read_url(const std::string& text)
{
    url_pointer url{curl_url()};
    if (!url)
        throw std::bad_alloc();
    const CURLUcode code = curl_url_set(url.get(), CURLUPART_URL, text.c_str(), CURLU_NON_SUPPORT_SCHEME);
    if (code == CURLUE_OUT_OF_MEMORY)
        throw std::bad_alloc();
    if (code != CURLUE_OK)
        return nullptr;
    return url;
}

/// Empty where the address has no such part.
std::string part_of(CURLU* url, CURLUPart part)
{
    char* text = nullptr;
    const CURLUcode code = curl_url_get(url, part, &text, 0);
    if (code == CURLUE_OUT_OF_MEMORY)
        throw std::bad_alloc();
    const std::unique_ptr<char, decltype(&curl_free)> owner{text, &curl_free};
    return text ? text : "";
}

/// The name that is looked up for a host with other letters than ASCII's. libcurl would read the name in the
/// charset of the environment.
std::optional<std::string> ascii_host(const std::string& host)
{
    if (std::all_of(host.begin(), host.end(), [](char unit) { return static_cast<unsigned char>(unit) < 0x80; }))
        return lower_case(host);
    UErrorCode code = U_ZERO_ERROR;
    const std::unique_ptr<icu::IDNA> names{icu::IDNA::createUTS46Instance(UIDNA_NONTRANSITIONAL_TO_ASCII, code)};
    if (U_FAILURE(code))
        return std::nullopt;
    icu::UnicodeString name;
    icu::IDNAInfo info;
    names->nameToASCII(icu::UnicodeString::fromUTF8(host), name, info, code);
    if (U_FAILURE(code) || info.hasErrors())
        return std::nullopt;
    std::string ascii;
    return lower_case(name.toUTF8String(ascii));
}

} // namespace

std::string canonical_url::text() const
{
    std::string whole = scheme + "://";
    if (user_info)
        whole += *user_info + '@';
    whole += host;
    if (!port.empty())
        whole += ':' + port;
    return whole + path + extra;
}

std::string canonical_url::request_text() const
{
    canonical_url plain = *this;
    plain.user_info.reset();
    plain.extra.resize(std::min(plain.extra.size(), plain.extra.find('#')));
    return plain.text();
}

std::optional<canonical_url> canonical_form(std::u16string_view address, bool undo_escapes)
{
    const std::optional<url_pieces> pieces = split(address);
    if (!pieces)
        return std::nullopt;
    canonical_url form;
    form.scheme = lower_case(to_utf8(pieces->scheme));
    const bool is_file = form.scheme == "file" && pieces->host_and_port.empty() && !pieces->user_info;
    if (pieces->host_and_port.empty() && !is_file)
        return std::nullopt;
    const scheme_row& row = row_of_scheme(form.scheme);
    form.scheme_number = row.number;
    if (pieces->user_info)
        form.user_info = with_escapes(*pieces->user_info, "!$&'()*+,;=:", undo_escapes);

    // Host and path are libcurl's to judge, so that what is shown is what is connected to.
    const std::string path = with_escapes(pieces->path, "!$&'()*+,;=:@/", undo_escapes);
    const std::string host_and_port = with_escapes(pieces->host_and_port, "!$&'()*+,;=:[]", undo_escapes);
    url_pointer url = read_url(form.scheme + "://" + host_and_port + (path.empty() ? "/" : path));
    if (!url)
        return std::nullopt;
    form.path = part_of(url.get(), CURLUPART_PATH);
    form.extra = with_escapes(pieces->extra, "!$&'()*+,;=:@/?#", false);
    if (is_file)
        return form;

    const std::string port = part_of(url.get(), CURLUPART_PORT);
    if (port != std::to_string(row.port))
        form.port = port;
    if (host_and_port.front() == '[') {
        // As it stands, with the zone that libcurl keeps apart.
        form.host = lower_case(host_and_port.substr(0, host_and_port.find(']') + 1));
        return form;
    }
    std::optional<std::string> host = ascii_host(part_of(url.get(), CURLUPART_HOST));
    // What other letters stand for may be no host.
    if (!host || host->empty() || !(url = read_url(form.scheme + "://" + *host + '/')) ||
        part_of(url.get(), CURLUPART_HOST) != *host)
        return std::nullopt;
    form.host = std::move(*host);
    return form;
}

std::optional<cracked_url> take_apart(std::u16string_view address)
{
    const std::optional<canonical_url> form = canonical_form(address, false);
    if (!form)
        return std::nullopt;
    const url_pieces pieces = *split(address);
    cracked_url parts;
    parts.scheme_name = from_utf8(form->scheme);
    parts.scheme = form->scheme_number;
    parts.host = from_utf8(form->host);
    parts.port = row_of_scheme(form->scheme).port;
    if (!form->port.empty())
        std::from_chars(form->port.data(), form->port.data() + form->port.size(), parts.port);
    parts.path = pieces.path;
    parts.extra = pieces.extra;
    if (!pieces.user_info)
        return parts;
    const std::size_t colon = std::min(pieces.user_info->find(u':'), pieces.user_info->size());
    std::optional<std::u16string> user = without_escapes(pieces.user_info->substr(0, colon));
    std::optional<std::u16string> password =
        without_escapes(pieces.user_info->substr(std::min(colon + 1, pieces.user_info->size())));
    if (!user || !password)
        return std::nullopt;
    parts.user = std::move(*user);
    parts.password = std::move(*password);
    return parts;
}

std::optional<canonical_url> address_of_object(bool secure, std::u16string_view host, std::uint16_t port,
                                               std::u16string_view object)
{
    if (host.find_first_of(u"/?#@") != std::u16string_view::npos)
        return std::nullopt;
    std::u16string address = secure ? u"https://" : u"http://";
    const bool is_bare_address = !host.starts_with(u'[') && host.find(u':') != std::u16string_view::npos;
    if (is_bare_address)
        address += u'[';
    address += host;
    if (is_bare_address)
        address += u']';
    // An end of the host's brackets that something else follows would be taken for a port.
    if (host.starts_with(u'[') && !host.ends_with(u']'))
        return std::nullopt;
    if (port != 0)
        address += u':' + from_utf8(std::to_string(port));
    if (!object.starts_with(u'/'))
        address += u'/';
    address += object;
    return canonical_form(address, false);
}

} // namespace cw::platform
