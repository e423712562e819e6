#include "platform/curl_errors.h"

#include "platform/last_error.h"
#include "platform/transfers.h"

#include <array>

namespace cw::platform {

namespace {

struct error_row {
    long from;
    std::uint32_t to;
};

constexpr std::array error_rows{
    error_row{CURLE_OK, error_success},
    error_row{CURLE_UNSUPPORTED_PROTOCOL, error_internet_unrecognized_scheme},
    error_row{CURLE_URL_MALFORMAT, error_internet_invalid_url},
    error_row{CURLE_COULDNT_RESOLVE_PROXY, error_internet_name_not_resolved},
    error_row{CURLE_COULDNT_RESOLVE_HOST, error_internet_name_not_resolved},
    error_row{CURLE_COULDNT_CONNECT, error_internet_cannot_connect},
    error_row{CURLE_WEIRD_SERVER_REPLY, error_http_invalid_server_response},
    error_row{CURLE_PARTIAL_FILE, error_internet_connection_aborted},
    error_row{CURLE_OUT_OF_MEMORY, error_not_enough_memory},
    error_row{CURLE_OPERATION_TIMEDOUT, error_internet_timeout},
    error_row{CURLE_SSL_CONNECT_ERROR, error_internet_security_channel_error},
    error_row{CURLE_ABORTED_BY_CALLBACK, error_internet_operation_cancelled},
    error_row{CURLE_INTERFACE_FAILED, error_internet_cannot_connect},
    error_row{CURLE_TOO_MANY_REDIRECTS, error_http_redirect_failed},
    error_row{CURLE_GOT_NOTHING, error_internet_connection_aborted},
    error_row{CURLE_SSL_ENGINE_NOTFOUND, error_internet_security_channel_error},
    error_row{CURLE_SSL_ENGINE_SETFAILED, error_internet_security_channel_error},
    error_row{CURLE_SEND_ERROR, error_internet_connection_reset},
    error_row{CURLE_RECV_ERROR, error_internet_connection_reset},
    error_row{CURLE_SSL_CERTPROBLEM, error_internet_security_channel_error},
    error_row{CURLE_SSL_CIPHER, error_internet_security_channel_error},
    error_row{CURLE_PEER_FAILED_VERIFICATION, error_internet_invalid_authority},
    error_row{CURLE_BAD_CONTENT_ENCODING, error_http_invalid_server_response},
    error_row{CURLE_USE_SSL_FAILED, error_internet_security_channel_error},
    error_row{CURLE_SSL_ENGINE_INITFAILED, error_internet_security_channel_error},
    error_row{CURLE_SSL_CACERT_BADFILE, error_internet_security_channel_error},
    error_row{CURLE_SSL_SHUTDOWN_FAILED, error_internet_security_channel_error},
    error_row{CURLE_SSL_CRL_BADFILE, error_internet_security_channel_error},
    error_row{CURLE_SSL_ISSUER_ERROR, error_internet_invalid_authority},
    error_row{CURLE_NO_CONNECTION_AVAILABLE, error_internet_cannot_connect},
    error_row{CURLE_SSL_PINNEDPUBKEYNOTMATCH, error_internet_invalid_authority},
    error_row{CURLE_SSL_INVALIDCERTSTATUS, error_internet_invalid_authority},
    error_row{CURLE_PROXY, error_internet_cannot_connect},
    error_row{CURLE_SSL_CLIENTCERT, error_internet_security_channel_error},
};

// The numbers of X.509 verification. libcurl looks at the host itself; a chain that nothing is told of was well.
constexpr std::array verify_rows{
    error_row{0, error_internet_certificate_name_invalid},
    error_row{1, error_internet_certificate_name_invalid},  // as it stands before anything is told
    error_row{9, error_internet_certificate_date_invalid},  // not yet valid
    error_row{10, error_internet_certificate_date_invalid}, // no longer valid
    error_row{62, error_internet_certificate_name_invalid}, // another host
    error_row{64, error_internet_certificate_name_invalid}, // another address
};

template <std::size_t count>
std::uint32_t find(const std::array<error_row, count>& rows, long number, std::uint32_t otherwise) noexcept
{
    for (const error_row& row : rows)
        if (row.from == number)
            return row.to;
    return otherwise;
}

/// libcurl refuses schemes and answers without headers by the same number.
std::uint32_t error_of_protocol(const transfer_outcome& outcome) noexcept
{
    if (outcome.last_scheme == "http" && outcome.began_secure && !outcome.may_leave_security)
        return error_internet_https_to_http_on_redirect;
    const bool is_known = outcome.last_scheme == "http" || outcome.last_scheme == "https";
    return is_known ? error_http_invalid_server_response : error_internet_unrecognized_scheme;
}

} // namespace

bool tells_of_header_fault(std::string_view trace) noexcept
{
    return trace.find("oo large response headers") <= 1; // not in what a server says
}

std::uint32_t error_of_transfer(const transfer_outcome& outcome) noexcept
{
    if (outcome.code != CURLE_OK && outcome.says_header_fault)
        return error_http_invalid_server_response;
    switch (outcome.code) {
    case CURLE_UNSUPPORTED_PROTOCOL:
        return error_of_protocol(outcome);
    case CURLE_PEER_FAILED_VERIFICATION:
        return find(verify_rows, outcome.verify_result, error_internet_invalid_authority);
    case CURLE_URL_MALFORMAT:
        if (outcome.was_redirected)
            return error_http_redirect_failed;
        break;
    case CURLE_OUT_OF_MEMORY:
        // Also its word for a header line that never ends.
        if (outcome.was_sent && !outcome.has_answer)
            return error_http_invalid_server_response;
        break;
    default:
        break;
    }
    return find(error_rows, outcome.code, error_internet_internal_error);
}

} // namespace cw::platform
