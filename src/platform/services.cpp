#include "platform/services.h"

#include "platform/posix_services.h"

namespace cw::platform {

services& current() noexcept
{
    static services in_use = posix_services();
    return in_use;
}

scoped_services::scoped_services(const services& replacement) noexcept : m_before(current())
{
    current() = replacement;
}

scoped_services::~scoped_services()
{
    current() = m_before;
}

} // namespace cw::platform
