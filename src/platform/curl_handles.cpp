#include "platform/curl_handles.h"

#include <utility>

namespace cw::platform {

transfer_handle curl_handles::next() noexcept
{
    const std::lock_guard guard{m_lock};
    return reinterpret_cast<transfer_handle>(++m_last);
}

void curl_handles::put(transfer_handle handle, object thing)
{
    const std::lock_guard guard{m_lock};
    m_objects.emplace(handle, std::move(thing));
}

curl_handles::object curl_handles::find(transfer_handle handle)
{
    const std::lock_guard guard{m_lock};
    const auto found = m_objects.find(handle);
    return found == m_objects.end() ? object{} : found->second;
}

curl_handles::object curl_handles::take(transfer_handle handle) noexcept
{
    const std::lock_guard guard{m_lock};
    const auto found = m_objects.find(handle);
    if (found == m_objects.end())
        return {};
    object thing = std::move(found->second);
    m_objects.erase(found);
    return thing;
}

void curl_handles::close_all() noexcept
{
    std::map<transfer_handle, object> left;
    {
        const std::lock_guard guard{m_lock};
        left.swap(m_objects);
    }
    for (const auto& [handle, thing] : left)
        if (const auto* session = std::get_if<std::shared_ptr<curl_session>>(&thing))
            (*session)->close();
}

} // namespace cw::platform
