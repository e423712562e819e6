// Addresses in their usual form, and taken apart. Nothing is sent for it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace cw::platform {

/// An address in its usual form; ASCII, everything else as escapes.
struct canonical_url {
    std::string scheme;                   // lower case
    std::int32_t scheme_number = 0;       // url_scheme_…
    std::optional<std::string> user_info; // as it stands before the "@", with its escapes
    std::string host;                     // lower case; with brackets where it is an IPv6 address
    std::string port;                     // empty for the scheme's own
    std::string path;                     // never empty
    std::string extra;                    // from "?" or "#" on; or empty

    /// The whole as text.
    [[nodiscard]] std::string text() const;
    /// What a request is sent to: without credentials and without the fragment.
    [[nodiscard]] std::string request_text() const;
};

/// Nothing for what is no address with a scheme, "://" and a host (files have none). With `undo_escapes`
/// escapes of characters that need none are undone before "?" and "#".
[[nodiscard]] std::optional<canonical_url> canonical_form(std::u16string_view address, bool undo_escapes);

/// An address taken apart.
struct cracked_url {
    std::u16string scheme_name; // lower case
    std::int32_t scheme = 0;
    std::u16string host;
    std::uint16_t port = 0; // the scheme's own where the address names none; 0 where it has none
    std::u16string user;    // without escapes
    std::u16string password;
    std::u16string path; // as it stands
    std::u16string extra;
};

/// Nothing for what `canonical_form` has nothing for, and for credentials with control characters.
[[nodiscard]] std::optional<cracked_url> take_apart(std::u16string_view address);

/// The address of an object of a host: its path and extra part. A port of 0 is the scheme's own; an IPv6
/// address as host may come without brackets.
[[nodiscard]] std::optional<canonical_url> address_of_object(bool secure, std::u16string_view host, std::uint16_t port,
                                                             std::u16string_view object);

} // namespace cw::platform
