#include "fileio/inet_session.h"

namespace cw {

inet_session::inet_session() : shared_count(new std::atomic<std::uint32_t>(1)) {}

inet_session::inet_session(const inet_session& other) noexcept
    : handle(other.handle), shared_count(other.shared_count), buffer(other.buffer)
{
    shared_count->fetch_add(1);
}

inet_session& inet_session::operator=(const inet_session& other) noexcept
{
    other.shared_count->fetch_add(1);
    give_up();
    handle = other.handle;
    shared_count = other.shared_count;
    buffer = other.buffer;
    return *this;
}

inet_session::~inet_session()
{
    give_up();
}

void inet_session::open(const string& agent, std::uint32_t access_type, const char16_t* proxy,
                        const char16_t* proxy_bypass, std::uint32_t flags)
{
    handle = platform::current().network->open_session(agent.c_str(), access_type, proxy, proxy_bypass,
                                                       flags | platform::transfer_asynchronous);
}

void inet_session::give_up() noexcept
{
    if (shared_count->fetch_sub(1) != 1)
        return;
    delete shared_count;
    delete[] buffer;
    if (handle)
        platform::current().network->close(handle);
}

} // namespace cw
