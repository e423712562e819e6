#include "platform/curl_urls.h"

#include "platform/transfers.h"

#include <gtest/gtest.h>

namespace {

using namespace cw::platform;

std::string form_of(std::u16string_view address, bool undo_escapes = true)
{
    const auto form = canonical_form(address, undo_escapes);
    return form ? form->text() : "refused";
}

TEST(curl_urls, brings_addresses_into_their_usual_form)
{
    struct {
        const char16_t* address;
        const char* form;
    } constexpr rows[] = {
        {u"HTTP://Example.COM", "http://example.com/"},
        {u"http://h?Q", "http://h/?Q"},
        {u"http://h#F", "http://h/#F"},
        {u"http://h:80/", "http://h/"},
        {u"http://h:0080/", "http://h/"},
        {u"http://h:/", "http://h/"},
        {u"https://h:443/x", "https://h/x"},
        {u"https://h:80/x", "https://h:80/x"},
        {u"ftp://h:21/x", "ftp://h/x"},
        {u"gopher://h:70/x", "gopher://h/x"},
        {u"XYZ+1://Host:7/a/../b", "xyz+1://host:7/b"},
        {u"file:///etc/./x", "file:///etc/x"},
        {u"http://h/a/./b/../c/..", "http://h/a/"},
        {u"http://h/../../x", "http://h/x"},
        {u"http://h/x?a/../b#c/../d", "http://h/x?a/../b#c/../d"},
        {u"http://h/a b\"<>\\^`{|}", "http://h/a%20b%22%3C%3E%5C%5E%60%7B%7C%7D"},
        {u"http://h/\u00E4?\u00E4#\u00E4", "http://h/%C3%A4?%C3%A4#%C3%A4"},
        {u"http://h/\U0001F600", "http://h/%F0%9F%98%80"},
        {u"http://h/100%", "http://h/100%25"},
        {u"http://h/%zz?%2", "http://h/%25zz?%252"},
        {u"http://h/?", "http://h/?"},
        {u"http://u:p@h/", "http://u:p@h/"},
        {u"http://@h/", "http://@h/"},
        {u"http://a@b:c@h/", "http://a%40b:c@h/"},
        {u"http://u:p\\w d@h/", "http://u:p%5Cw%20d@h/"},
        {u"http://[::1]:80/x", "http://[::1]/x"},
        {u"http://[FE80::A]:81/x", "http://[fe80::a]:81/x"},
        {u"http://127.1/", "http://127.0.0.1/"},
        {u"http://b\u00FCcher.example/", "http://xn--bcher-kva.example/"},
        {u"http://%48ost/", "http://host/"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(form_of(row.address), row.form);
}

TEST(curl_urls, undoes_escapes_that_change_nothing)
{
    constexpr std::u16string_view address = u"http://%75:%2f%70@h/%41%2D%2e%5F%7e%30%2F%3f%25%41?%41#%41";
    EXPECT_EQ(form_of(address), "http://u:%2fp@h/A-._~0%2F%3f%25A?%41#%41");
    EXPECT_EQ(form_of(address, false), "http://%75:%2f%70@h/%41%2D%2e%5F%7e%30%2F%3f%25%41?%41#%41");
    // Only once: what comes of it is no escape again.
    EXPECT_EQ(form_of(u"http://h/%2541"), "http://h/%2541");
    // Dots count as what they are.
    EXPECT_EQ(form_of(u"http://h/a/%2e%2E/x"), "http://h/x");
}

TEST(curl_urls, is_stable)
{
    for (const char16_t* address : {u"HTTP://U:p%2Fw@H:81/a/../%41%zz?x y#\u00E4", u"http://b\u00FCcher.example/%",
                                    u"http://[::1]/", u"xyz://h?%"}) {
        const auto once = canonical_form(address, true);
        ASSERT_TRUE(once);
        const std::string text = once->text();
        EXPECT_EQ(form_of({std::u16string(text.begin(), text.end())}), text);
    }
}

TEST(curl_urls, refuses_what_is_no_address)
{
    const std::u16string with_null(u"http://h/\0x", 11);
    const std::u16string too_long = u"http://h/" + std::u16string(0x10000, u'x');
    for (const std::u16string_view address : std::initializer_list<std::u16string_view>{u"",
                                                                                        u"h",
                                                                                        u"//h/",
                                                                                        u"http:",
                                                                                        u"http:/h/",
                                                                                        u"http:h",
                                                                                        u"://h/",
                                                                                        u"1x://h/",
                                                                                        u"h ttp://h/",
                                                                                        u"http://",
                                                                                        u"http:///x",
                                                                                        u"http://?x",
                                                                                        u"http://@/",
                                                                                        u"http://h:x/",
                                                                                        u"http://h:65536/",
                                                                                        u"http://h:-1/",
                                                                                        u"http://h h/",
                                                                                        u"http://h\\x/",
                                                                                        u"http://%00/",
                                                                                        u"http://[::1",
                                                                                        u"http://[::1/x",
                                                                                        u"http://::1/",
                                                                                        u"http://[x]/",
                                                                                        u"http://u:p/w@h/",
                                                                                        u"http://h/\x1F",
                                                                                        u"http://h/\x7F",
                                                                                        u"http://h/\t",
                                                                                        u"mailto:x@y",
                                                                                        u"http://h/\xD800",
                                                                                        u"http://h/\xDC00x",
                                                                                        u"http://a\uFF0Fb/",
                                                                                        with_null,
                                                                                        too_long})
        EXPECT_EQ(form_of(address), "refused");
}

TEST(curl_urls, sends_neither_credentials_nor_fragments)
{
    EXPECT_EQ(canonical_form(u"http://u:p@h:81/a?q#f", false)->request_text(), "http://h:81/a?q");
    EXPECT_EQ(canonical_form(u"http://h#f?q", false)->request_text(), "http://h/");
    EXPECT_EQ(canonical_form(u"http://h/a", false)->request_text(), "http://h/a");
}

TEST(curl_urls, takes_addresses_apart)
{
    const auto parts = take_apart(u"HTTPS://us%65r:pa%2Fs%3As:@Host:8443/a/../%41?q=%41#f");
    ASSERT_TRUE(parts);
    EXPECT_EQ(parts->scheme_name, u"https");
    EXPECT_EQ(parts->scheme, url_scheme_https);
    EXPECT_EQ(parts->host, u"host");
    EXPECT_EQ(parts->port, 8443);
    EXPECT_EQ(parts->user, u"user");
    EXPECT_EQ(parts->password, u"pa/s:s:");
    EXPECT_EQ(parts->path, u"/a/../%41");
    EXPECT_EQ(parts->extra, u"?q=%41#f");
}

TEST(curl_urls, takes_apart_what_is_left_out)
{
    struct {
        const char16_t* address;
        std::int32_t scheme;
        std::uint16_t port;
        const char16_t* host;
        const char16_t* user;
        const char16_t* path;
        const char16_t* extra;
    } constexpr rows[] = {
        {u"http://h", url_scheme_http, 80, u"h", u"", u"", u""},
        {u"https://h#x?y", url_scheme_https, 443, u"h", u"", u"", u"#x?y"},
        {u"ftp://u@h/", url_scheme_ftp, 21, u"h", u"u", u"/", u""},
        {u"gopher://h/", url_scheme_gopher, 70, u"h", u"", u"/", u""},
        {u"xyz://h/", url_scheme_unknown, 0, u"h", u"", u"/", u""},
        {u"xyz://h:9/", url_scheme_unknown, 9, u"h", u"", u"/", u""},
        {u"file:///x", url_scheme_unknown, 0, u"", u"", u"/x", u""},
        {u"http://[::1]:8/", url_scheme_http, 8, u"[::1]", u"", u"/", u""},
        {u"http://a\\b%5Cc%@h/", url_scheme_http, 80, u"h", u"a\\b\\c%", u"/", u""},
    };
    for (const auto& row : rows) {
        const auto parts = take_apart(row.address);
        ASSERT_TRUE(parts);
        EXPECT_EQ(parts->scheme, row.scheme);
        EXPECT_EQ(parts->port, row.port);
        EXPECT_EQ(parts->host, row.host);
        EXPECT_EQ(parts->user, row.user);
        EXPECT_EQ(parts->password, u"");
        EXPECT_EQ(parts->path, row.path);
        EXPECT_EQ(parts->extra, row.extra);
    }
    for (const char16_t* address : {u"http://", u"http://u%00@h/", u"http://u:%0D%0A@h/", u"http://u:%7f@h/"})
        EXPECT_FALSE(take_apart(address));
}

TEST(curl_urls, puts_addresses_of_objects_together)
{
    const auto text_of = [](bool secure, const char16_t* host, std::uint16_t port, const char16_t* object) {
        const auto form = address_of_object(secure, host, port, object);
        return form ? form->text() : "refused";
    };
    EXPECT_EQ(text_of(false, u"h", 0, u""), "http://h/");
    EXPECT_EQ(text_of(true, u"h", 443, u"x"), "https://h/x");
    EXPECT_EQ(text_of(true, u"h", 80, u"/x?y#z"), "https://h:80/x?y#z");
    EXPECT_EQ(text_of(false, u"::1", 8, u"?q"), "http://[::1]:8/?q");
    EXPECT_EQ(text_of(false, u"[::1]", 8, u"/"), "http://[::1]:8/");
    EXPECT_EQ(text_of(false, u"h", 0, u"//other/x"), "http://h//other/x");
    EXPECT_EQ(text_of(false, u"h", 0, u"@other/x"), "http://h/@other/x");
    for (const char16_t* host : {u"", u"a/b", u"a?b", u"a#b", u"u@h", u"h:1", u"[::1]:1", u"a b", u"a\x01"})
        EXPECT_EQ(text_of(false, host, 0, u"/"), "refused");
}

} // namespace
