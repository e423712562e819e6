#include "platform/curl_options.h"

#include "platform/transfers.h"

#include <new>

namespace cw::platform {

namespace {

constexpr long most_redirects = 20;
constexpr long receive_buffer_in_bytes = 512 * 1024;
constexpr const char* both_protocols = "http,https";

/// Options one after another until one is refused.
class option_setter {
public:
    explicit option_setter(CURL* easy) : m_easy(easy) {}

    template <class T>
    void set(CURLoption option, T value)
    {
        if (m_code == CURLE_OK)
            m_code = curl_easy_setopt(m_easy, option, value);
    }
    void set(CURLoption option, const std::string& value) { set(option, value.c_str()); }
    [[nodiscard]] CURLcode code() const noexcept { return m_code; }

private:
    CURL* m_easy;
    CURLcode m_code = CURLE_OK;
};

void append(curl_list& list, const std::string& line)
{
    curl_slist* longer = curl_slist_append(list.get(), line.c_str());
    if (!longer)
        throw std::bad_alloc();
    list.release();
    list.reset(longer);
}

/// libcurl's way to say that a header has no value; with a colon it would be left out.
std::string in_libcurls_form(std::string line)
{
    const std::size_t colon = line.find(':');
    if (line.find_first_not_of(' ', colon + 1) != std::string::npos)
        return line;
    return line.substr(0, colon) + ';';
}

curl_list header_list(const curl_request_plan& plan, const std::vector<std::string>& lines, bool has_body)
{
    curl_list list;
    if ((plan.flags & transfer_reload) != 0)
        append(list, "Cache-Control: no-cache");
    if ((plan.flags & (transfer_reload | transfer_pragma_no_cache)) != 0)
        append(list, "Pragma: no-cache");
    if (!plan.accept.empty())
        append(list, "Accept: " + plan.accept);
    if (has_body) {
        // What libcurl would say of a body by itself: that it is a form, and whether it is welcome.
        append(list, "Content-Type:");
        append(list, "Expect:");
    }
    for (const std::string& line : lines)
        append(list, in_libcurls_form(line));
    return list;
}

void set_proxy(option_setter& options, const curl_session_settings& session)
{
    // Without these libcurl follows the environment.
    if (session.access_type == access_direct) {
        options.set(CURLOPT_PROXY, "");
        options.set(CURLOPT_NOPROXY, "*");
    } else if (session.access_type == access_by_proxy) {
        options.set(CURLOPT_PROXY, session.proxy);
        options.set(CURLOPT_NOPROXY, session.proxy_bypass);
    }
}

void set_security(option_setter& options, const curl_session_settings& session, const curl_request_plan& plan)
{
    const bool stays_secure = plan.begins_secure() && (plan.flags & transfer_ignore_redirect_to_http) == 0;
    options.set(CURLOPT_PROTOCOLS_STR, both_protocols);
    options.set(CURLOPT_REDIR_PROTOCOLS_STR, stays_secure ? "https" : both_protocols);
    options.set(CURLOPT_SSL_VERIFYPEER, 1L);
    options.set(CURLOPT_SSL_VERIFYHOST, 2L);
    if (!session.certificates.empty())
        options.set(CURLOPT_CAINFO, session.certificates);
    if (plan.credentials) {
        options.set(CURLOPT_USERNAME, plan.credentials->first);
        options.set(CURLOPT_PASSWORD, plan.credentials->second);
    }
    options.set(CURLOPT_HTTPAUTH, static_cast<long>(CURLAUTH_BASIC | CURLAUTH_DIGEST));
    options.set(CURLOPT_UNRESTRICTED_AUTH, 0L);
    options.set(CURLOPT_NETRC, static_cast<long>(CURL_NETRC_IGNORED));
}

void set_method(option_setter& options, const curl_request_plan& plan, const std::string& body)
{
    if (plan.verb == "HEAD")
        options.set(CURLOPT_NOBODY, 1L);
    else if (plan.verb == "POST" || !body.empty())
        options.set(CURLOPT_POST, 1L);
    if (plan.verb == "POST" || !body.empty()) {
        options.set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
        options.set(CURLOPT_COPYPOSTFIELDS, body.data());
    }
    if (plan.verb != "GET" && plan.verb != "HEAD" && plan.verb != "POST")
        options.set(CURLOPT_CUSTOMREQUEST, plan.verb);
    else if (plan.verb == "GET" && !body.empty())
        options.set(CURLOPT_CUSTOMREQUEST, plan.verb);
}

} // namespace

std::string bypass_list(std::string text)
{
    for (char& unit : text)
        if (unit == ';' || unit == ' ' || unit == '\t' || unit == '\r' || unit == '\n')
            unit = ',';
    return text;
}

CURLcode set_options(CURL* easy, const curl_session_settings& session, const curl_request_plan& plan,
                     const std::vector<std::string>& lines, const std::string& body, curl_list& headers)
{
    option_setter options{easy};
    options.set(CURLOPT_URL, plan.url);
    options.set(CURLOPT_NOSIGNAL, 1L);
    // A name server that does not answer must not hold up the thread, and with it the end of the session.
    options.set(CURLOPT_QUICK_EXIT, 1L);
    options.set(CURLOPT_BUFFERSIZE, receive_buffer_in_bytes);
    // Version 2 would keep filling its windows while a transfer is paused.
    options.set(CURLOPT_HTTP_VERSION,
                static_cast<long>(plan.is_old_version ? CURL_HTTP_VERSION_1_0 : CURL_HTTP_VERSION_1_1));
    options.set(CURLOPT_FOLLOWLOCATION, 1L);
    options.set(CURLOPT_MAXREDIRS, most_redirects);
    options.set(CURLOPT_FORBID_REUSE, (plan.flags & transfer_keep_connection) == 0 ? 1L : 0L);
    // What a proxy says about the way to a server is no answer of that server.
    options.set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    set_proxy(options, session);
    set_security(options, session, plan);
    set_method(options, plan, body);
    if (!session.agent.empty())
        options.set(CURLOPT_USERAGENT, session.agent);
    if (!plan.referrer.empty())
        options.set(CURLOPT_REFERER, plan.referrer);
    headers = header_list(plan, lines, plan.verb == "POST" || !body.empty());
    options.set(CURLOPT_HTTPHEADER, headers.get());
    return options.code();
}

} // namespace cw::platform
