// What a request is, in libcurl's options.
#pragma once

#include <cstdint>
#include <curl/curl.h>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace cw::platform {

/// What holds for all requests of a session.
struct curl_session_settings {
    std::string agent;
    std::uint32_t access_type = 0;
    std::string proxy;
    std::string proxy_bypass;
    std::string certificates; // a file of trusted authorities; empty for the system's
};

/// What holds for all sends of a request.
struct curl_request_plan {
    std::string url; // as `canonical_url::request_text`
    std::optional<std::pair<std::string, std::string>> credentials;
    std::string verb = "GET";
    std::string referrer;
    std::string accept;
    bool is_old_version = false; // HTTP/1.0
    std::uint32_t flags = 0;

    [[nodiscard]] bool begins_secure() const noexcept { return url.starts_with("https:"); }
};

struct free_curl_list {
    void operator()(curl_slist* list) const noexcept { curl_slist_free_all(list); }
};
/// A list of texts for libcurl, which does not copy it.
using curl_list = std::unique_ptr<curl_slist, free_curl_list>;

/// A list of `proxy_bypass` in libcurl's form.
[[nodiscard]] std::string bypass_list(std::string text);

/// Sets all options but the callbacks. `lines` are the headers of this send, `headers` becomes the list that must
/// live as long as the transfer. `body` may be empty. Throws `std::bad_alloc`.
[[nodiscard]] CURLcode set_options(CURL* easy, const curl_session_settings& session, const curl_request_plan& plan,
                                   const std::vector<std::string>& lines, const std::string& body, curl_list& headers);

} // namespace cw::platform
